/* A natural cubic spline through samples of sin(x), evaluated between the samples. */
#include <math.h>
#include <stdio.h>

#include <qor/df.h>

#define NX 21
#define NSITE 7

int main(void) {
  double x[NX], y[NX], coeff[4 * (NX - 1)], site[NSITE], value[NSITE];
  dfTask* task = NULL;
  const int32_t value_only[1] = {1};
  double worst = 0.0;
  int i, status;

  /* Breakpoints on [0, 3], closer together towards the right end. */
  for (i = 0; i < NX; ++i) {
    x[i] = 3.0 * sqrt((double)i / (NX - 1));
    y[i] = sin(x[i]);
  }
  for (i = 0; i < NSITE; ++i) site[i] = 0.1 + 0.45 * i;

  status = qor_df_kernel_dNewTask1D(&task, NX, x, dfXNonUniform, 1, y, dfYNoHint, 0);
  if (status == 0)
    status = qor_df_kernel_dEditPPSpline1D(task, dfOrderCubic, dfCubicNatural, dfBcFreeEnd, NULL,
                                           0, NULL, coeff, 0);
  if (status == 0) status = qor_df_kernel_dDFNaturalCubicSpline1D(task, 0, 0, NULL);
  if (status == 0)
    status = qor_df_kernel_dDFInterpolate1D(task, dfInterpValues, 0, NSITE, site, 0, 1, value_only,
                                            NULL, value, dfOutSFD, NULL, NULL, NULL, NULL, NULL,
                                            NULL, NULL, NULL, NULL, NULL);
  if (status != 0) {
    printf("  WRONG: status %d\n", status);
    qor_df_kernel_DeleteTask(&task);
    return 1;
  }

  printf("natural cubic spline of sin on %d breakpoints:\n", NX);
  for (i = 0; i < NSITE; ++i) {
    const double error = fabs(value[i] - sin(site[i]));
    if (error > worst) worst = error;
    printf("  s(%.2f) = %.9f   sin = %.9f   difference %.1e\n", site[i], value[i], sin(site[i]),
           error);
  }
  status = qor_df_kernel_DeleteTask(&task);
  /* The breakpoints are sparse near 0, so the spline is least accurate there. */
  if (status != 0 || task != NULL || worst > 2e-3) {
    printf("  WRONG: delete status %d, worst difference %.1e\n", status, worst);
    return 1;
  }
  return 0;
}
