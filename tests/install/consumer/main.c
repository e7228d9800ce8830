/* A program built against an installed qor: the headers compile as C99, libqor.so loads and
   finds libqor_core.so by itself, and a vector function gives the right results. */
#include <stdio.h>

#include <qor/qor.h>

int main(void) {
  const double a[] = {1.5, -2.0, 0.1}, b[] = {2.25, 2.0, 0.2};
  double sum[3];
  _temdAdd(3, a, b, sum);
  const int right = sum[0] == 3.75 && sum[1] == 0.0 && sum[2] == 0.1 + 0.2 &&
                    _temGetErrStatus() == TEM_STATUS_OK;
  puts(right ? "consumer: results right" : "consumer: wrong results");
  return right ? 0 : 1;
}
