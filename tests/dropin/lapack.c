/* LAPACK from C over whichever BLAS the process has: a solve, by its residual. The backward error is within 10 n eps of the
 * norms (Anderson et al. 1999, ch. 4). */
#include <float.h>
#include <math.h>
#include <stdio.h>

enum { n = 200 };

void dgesv_(const int*, const int*, double*, const int*, int*, double*, const int*, int*);

static double next(void)
{
    static unsigned long long state = 1;
    state = state * 6364136223846793005u + 1442695040888963407u;
    return (double)(state >> 33) / (1u << 30) - 1;
}

static double a[n * n], lu[n * n], x[n], b[n];

int main(void)
{
    static int pivots[n];
    const int size = n, one = 1;
    int info = 0;
    double worst = 0, norm_a = 0, norm_x = 0;
    for (int i = 0; i < n * n; ++i) lu[i] = a[i] = next();
    for (int i = 0; i < n; ++i) x[i] = b[i] = next();
    dgesv_(&size, &one, lu, &size, pivots, x, &size, &info);
    for (int i = 0; i < n; ++i) {
        double r = -b[i], row = 0;
        for (int j = 0; j < n; ++j) r += a[i + j * n] * x[j], row += fabs(a[i + j * n]);
        worst = fmax(worst, fabs(r)), norm_a = fmax(norm_a, row), norm_x = fmax(norm_x, fabs(x[i]));
    }
    const double units = worst / (10 * n * DBL_EPSILON * norm_a * norm_x);
    printf("%g\n", units);
    return !(info == 0 && units <= 1);
}
