/* Summary statistics: means, variances and the correlation of three series, in two chunks */
#include <math.h>
#include <stdio.h>

#include "qor/ss.h"

#define P 3
#define N 1000

int main(void) {
  /* Three series, a ramp, its square root and a sawtooth, arrive in two chunks of N/2
     observations, each with one row a variable. */
  static double chunks[2][P * (N / 2)];
  for (int i = 0; i < N; ++i) {
    double* row = chunks[i / (N / 2)] + i % (N / 2);
    row[0] = i;
    row[N / 2] = sqrt((double)i);
    row[N] = i % 10;
  }

  /* The task reads the first chunk; the second continues the run from the results and the
     accumulated weights. */
  int p = P, n = N / 2, storage = ROF_SS_OBSERV_ROWS, full = ROF_SS_MATRIX_FULL;
  double mean[P], raw2[P], var[P], cov[P * P], cor[P * P], accum[2] = {0, 0};
  rofSSTask* task = NULL;
  int status = __rofdSSNewTask(&task, &p, &n, &storage, chunks[0], NULL, NULL, 0);
  if (status == 0) status = __rofdSSEditMoments(task, mean, raw2, NULL, NULL, var, NULL, NULL);
  if (status == 0) status = __rofdSSEditCovCor(task, NULL, cov, &full, cor, &full);
  if (status == 0) status = __rofdSSEditTask(task, ROF_SS_ED_ACCUM_WEIGHT, accum);
  const unsigned long long estimates = ROF_SS_MEAN | ROF_SS_CEN_MOM2 | ROF_SS_COV | ROF_SS_COR;
  if (status == 0) status = _rofdSSBasic(task, estimates, ROF_SS_METHOD_ONE_PASS, NULL);
  if (status == 0) status = __rofdSSEditTask(task, ROF_SS_ED_OBSERV, chunks[1]);
  if (status == 0) status = _rofdSSBasic(task, estimates, ROF_SS_METHOD_ONE_PASS, NULL);
  __rofSSDeleteTask(&task);
  if (status != 0) {
    printf("status %d\n", status);
    return 1;
  }

  printf("observations %.0f\n", accum[0]);
  for (int v = 0; v < P; ++v)
    printf("variable %d: mean %9.4f  variance %10.4f\n", v, mean[v], var[v]);
  printf("correlation of ramp and root %.4f, of ramp and sawtooth %.4f\n", cor[1], cor[2]);

  /* The ramp 0..N-1: mean (N-1)/2, variance N(N+1)/12. */
  const double want_mean = (N - 1) / 2.0, want_var = N * (N + 1) / 12.0;
  if (fabs(mean[0] - want_mean) > 1e-9 * want_mean || fabs(var[0] - want_var) > 1e-9 * want_var)
    return 1;
  if (cov[1] != cov[P] || cor[1] < 0.9 || cor[1] > 1) return 1;
  return 0;
}
