/* Exponentials and logarithms with an error callback that records each element it sees. */
#include <math.h>
#include <stdio.h>
#include <string.h>

#include <qor/tem.h>

#define COUNT(array) ((int)(sizeof(array) / sizeof((array)[0])))

/* What the callback saw, one entry per reported element. */
typedef struct {
  char function[64];
  int code;
  int index;
  double argument;
  double result;
} Sighting;

static Sighting seen[16];
static int seen_count = 0;

static int record(temErrorContext* context) {
  if (seen_count < COUNT(seen)) {
    Sighting* s = &seen[seen_count++];
    snprintf(s->function, sizeof s->function, "%.*s", (int)context->FuncNameLen, context->FuncName);
    s->code = context->Code;
    s->index = context->Index;
    s->argument = context->Arg1;
    s->result = context->Res1;
  }
  return 0; /* the library's own reaction (the status word) still applies */
}

static const char* code_name(int code) {
  switch (code) {
    case TEM_STATUS_ERRDOM: return "domain error";
    case TEM_STATUS_SING: return "singularity";
    case TEM_STATUS_OVERFLOW: return "overflow";
    case TEM_STATUS_UNDERFLOW: return "underflow";
    default: return "other";
  }
}

/* The expected sightings, in call order. */
static const struct {
  const char* function;
  int code;
  int index;
} expected[] = {
    {"vdExp", TEM_STATUS_OVERFLOW, 2},
    {"vdExp", TEM_STATUS_UNDERFLOW, 3},
    {"vdLn", TEM_STATUS_ERRDOM, 1},
    {"vdLn", TEM_STATUS_SING, 2},
};

int main(void) {
  const double x[] = {1.0, -2.5, 710.0, -720.0, 0.5};
  const double y[] = {2.718281828459045, -1.0, 0.0, 1e-300};
  double ex[COUNT(x)], ly[COUNT(y)];
  int i, failures = 0;

  _temSetMode(TEM_HA | TEM_ERRMODE_CALLBACK);
  _temSetErrorCallBack(record);
  _temClearErrStatus();

  _temdExp(COUNT(x), x, ex);
  printf("_temdExp:\n");
  for (i = 0; i < COUNT(x); ++i) printf("  exp(%g) = %.17g\n", x[i], ex[i]);
  _temdLn(COUNT(y), y, ly);
  printf("_temdLn:\n");
  for (i = 0; i < COUNT(y); ++i) printf("  ln(%g) = %.17g\n", y[i], ly[i]);

  printf("the callback saw %d elements:\n", seen_count);
  for (i = 0; i < seen_count; ++i) {
    printf("  %s[%d]: %s (code %d), argument %g, result %g\n", seen[i].function, seen[i].index,
           code_name(seen[i].code), seen[i].code, seen[i].argument, seen[i].result);
  }
  printf("status word after the calls: %d\n", _temGetErrStatus());

  if (seen_count != COUNT(expected)) {
    printf("  WRONG: expected %d sightings\n", COUNT(expected));
    ++failures;
  }
  for (i = 0; i < seen_count && i < COUNT(expected); ++i) {
    if (strcmp(seen[i].function, expected[i].function) != 0 || seen[i].code != expected[i].code ||
        seen[i].index != expected[i].index) {
      printf("  WRONG sighting %d: want %s[%d] code %d\n", i, expected[i].function,
             expected[i].index, expected[i].code);
      ++failures;
    }
  }
  if (!isinf(ex[2]) || ex[3] <= 0.0 || ex[3] >= 2.2250738585072014e-308 || !isnan(ly[1]) ||
      !isinf(ly[2]) || ly[2] > 0.0 || fabs(ex[0] - 2.718281828459045) > 1e-15) {
    printf("  WRONG special results\n");
    ++failures;
  }
  _temClearErrorCallBack();
  return failures == 0 ? 0 : 1;
}
