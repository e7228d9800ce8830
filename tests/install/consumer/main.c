/* A program built against an installed qor, calling only vector functions as most users do:
   the headers compile as C99, libqor.so loads and finds libqor_core.so by itself, and a few
   results come out right. */
#include <stdio.h>
#include <string.h>

#include <qor/qor.h>

static int failures = 0;

static void expect(int ok, const char* what) {
  if (!ok) {
    fprintf(stderr, "wrong: %s\n", what);
    ++failures;
  }
}

int main(void) {
  const double a[] = {1.5, -2.0, 0.1};
  const double b[] = {2.25, 2.0, 0.2};
  const float x[] = {-3.5f, -0.0f};
  const float positive_zero = 0.0f;
  double sum[3];
  float magnitude[2];

  _temdAdd(3, a, b, sum);
  expect(sum[0] == 3.75 && sum[1] == 0.0 && sum[2] == 0.1 + 0.2, "_temdAdd");
  _temsAbs(2, x, magnitude);
  expect(magnitude[0] == 3.5f, "_temsAbs of -3.5");
  expect(memcmp(&magnitude[1], &positive_zero, sizeof positive_zero) == 0, "_temsAbs of -0");
  expect(_temGetErrStatus() == TEM_STATUS_OK, "error status");
  expect(dll_cpu_version() == 1, "dll_cpu_version");

  if (failures == 0) printf("consumer: results right\n");
  return failures == 0 ? 0 : 1;
}
