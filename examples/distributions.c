/* Draws Gaussian, exponential and Rayleigh variates from an MT19937 stream; checks the moments. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <qor/rof.h>

#define COUNT 200000

static int failures = 0;

/* Prints the sample mean and variance beside the exact ones; a mean or variance more than six
   standard errors away counts as a failure (the variance's error needs the excess kurtosis). */
static void report(const char* what, int status, const double* x, double mean, double variance,
                   double excess_kurtosis) {
  double sum = 0, squares = 0, m, v, mean_error, variance_error;
  int i;
  if (status != ROF_STATUS_OK) {
    printf("  %s failed with status %d\n", what, status);
    ++failures;
    return;
  }
  for (i = 0; i < COUNT; ++i) sum += x[i];
  m = sum / COUNT;
  for (i = 0; i < COUNT; ++i) squares += (x[i] - m) * (x[i] - m);
  v = squares / (COUNT - 1);
  mean_error = sqrt(variance / COUNT);
  variance_error = variance * sqrt(excess_kurtosis / COUNT + 2.0 / (COUNT - 1));
  printf("  %-30s mean %9.5f (exact %9.5f)  variance %9.5f (exact %9.5f)\n", what, m, mean, v,
         variance);
  if (fabs(m - mean) > 6 * mean_error || fabs(v - variance) > 6 * variance_error) ++failures;
}

int main(void) {
  const uint32_t seed = 2024;
  const double pi = 3.14159265358979323846;
  void* stream = NULL;
  double* x = malloc(COUNT * sizeof *x);
  if (x == NULL || __rofNewStreamEx(&stream, ROF_BRNG_MT19937, 1, &seed) != ROF_STATUS_OK) {
    printf("  no stream\n");
    return 1;
  }

  /* Normal with mean 10 and standard deviation 2, by Box-Muller with the second value of each
     pair carried to the next call. */
  report("Gaussian (Box-Muller2) 10, 2",
         _rofdRngGaussian(ROF_GAUSSIAN_BOXMULLER2, stream, COUNT, x, 10.0, 2.0), x, 10.0, 4.0,
         0.0);

  /* Exponential shifted by 1 with scale 0.5: mean 1.5, variance 0.25. */
  report("Exponential a 1, beta 0.5", _rofdRngExponential(0, stream, COUNT, x, 1.0, 0.5), x,
         1.5, 0.25, 6.0);

  /* Rayleigh a + beta sqrt(-ln u): mean a + beta sqrt(pi) / 2, variance beta^2 (1 - pi / 4). */
  report("Rayleigh a 0, beta 3", _rofdRngRayleigh(0, stream, COUNT, x, 0.0, 3.0), x,
         3.0 * sqrt(pi) / 2, 9.0 * (1 - pi / 4),
         -(6 * pi * pi - 24 * pi + 16) / ((4 - pi) * (4 - pi)));

  __rofDeleteStream(&stream);
  free(x);
  return failures == 0 ? 0 : 1;
}
