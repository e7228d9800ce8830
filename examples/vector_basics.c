/* Adds double arrays and takes absolute values of floats: plain, strided and by table slot. */
#include <math.h>
#include <stdio.h>

#include <qor/tem.h>

#define COUNT(array) ((int)(sizeof(array) / sizeof((array)[0])))

static int failures = 0;

/* Exact comparison; zeros must agree in sign too. */
static void check_double(const char* what, int i, double got, double want) {
  if (got != want || !signbit(got) != !signbit(want)) {
    printf("  WRONG %s[%d]: got %.17g, want %.17g\n", what, i, got, want);
    ++failures;
  }
}

static void check_float(const char* what, int i, float got, float want) {
  if (got != want || !signbit(got) != !signbit(want)) {
    printf("  WRONG %s[%d]: got %.9g, want %.9g\n", what, i, got, want);
    ++failures;
  }
}

static void add_doubles(void) {
  /* 1e308 + 1e308 overflows to +inf, which addition does not report as an error. */
  const double a[] = {1.5, 0.1, -0.5, 1e308, -4.0, 3.0, 2.5};
  const double b[] = {2.25, 0.2, 0.5, 1e308, -0.0, -3.0, 1e-300};
  double r[COUNT(a)];
  int i;

  _temdAdd(COUNT(a), a, b, r);
  printf("_temdAdd: r = a + b\n");
  for (i = 0; i < COUNT(a); ++i) {
    printf("  %g + %g = %.17g\n", a[i], b[i], r[i]);
    check_double("dAdd", i, r[i], a[i] + b[i]);
  }
}

static void add_strided(void) {
  /* Every second element of a, every third of b, into every second slot of r; the slots in
     between keep their sentinel value. */
  const double a[] = {1, -1, 2, -1, 3, -1, 4};
  const double b[] = {10, -1, -1, 20, -1, -1, 30, -1, -1, 40};
  const double sentinel = -99;
  double r[] = {sentinel, sentinel, sentinel, sentinel, sentinel, sentinel, sentinel};
  const int n = 4;
  int i;

  _temdAddI(n, a, 2, b, 3, r, 2);
  printf("_temdAddI: r[2i] = a[2i] + b[3i], i < %d\n", n);
  for (i = 0; i < COUNT(r); ++i) {
    const double want = i % 2 == 0 ? a[i] + b[3 * (i / 2)] : sentinel;
    printf("  r[%d] = %g\n", i, r[i]);
    check_double("dAddI", i, r[i], want);
  }
}

static void abs_floats(void) {
  const float a[] = {-3.5f, 2.0f, -0.0f, -INFINITY, -1e-45f, 7.25f};
  const float want[] = {3.5f, 2.0f, 0.0f, INFINITY, 1e-45f, 7.25f};
  float r[COUNT(a)];
  int i;

  _temsAbs(COUNT(a), a, r);
  printf("_temsAbs: r = |a|\n");
  for (i = 0; i < COUNT(a); ++i) {
    printf("  |%g| = %g\n", a[i], r[i]);
    check_float("sAbs", i, r[i], want[i]);
  }
}

/* The accuracy of the mode word picks the table slot: 0 low, 1 high, 2 enhanced performance. */
static void add_through_table(unsigned int accuracy, int want_slot) {
  const double a[] = {0.25, -7.0, 1e16};
  const double b[] = {0.5, 7.0, 1.0};
  double r[COUNT(a)];
  const unsigned int previous = _temSetMode(accuracy);
  const int slot = qor_tem_kernel_GetTTableIndex();
  int i;

  printf("mode 0x%x: slot %d\n", _temGetMode(), slot);
  if (slot != want_slot) {
    printf("  WRONG slot: want %d\n", want_slot);
    ++failures;
  } else {
    qor_tem_kernel_dAdd_ttab[slot](COUNT(a), a, b, r);
    for (i = 0; i < COUNT(a); ++i) {
      printf("  %g + %g = %.17g\n", a[i], b[i], r[i]);
      check_double("dAdd_ttab", i, r[i], a[i] + b[i]);
    }
  }
  _temSetMode(previous);
}

int main(void) {
  printf("mode word 0x%x (seeded from QOR_TEM_MODE), slot %d\n", _temGetMode(),
         qor_tem_kernel_GetTTableIndex());
  add_doubles();
  add_strided();
  abs_floats();
  add_through_table(TEM_LA, 0);
  add_through_table(TEM_EP, 2);

  printf("error status %d\n", _temGetErrStatus());
  if (_temGetErrStatus() != TEM_STATUS_OK) ++failures;
  if (failures != 0) {
    printf("%d wrong results\n", failures);
    return 1;
  }
  printf("all results right\n");
  return 0;
}
