/* LAPACK from C over whichever BLAS the process has: a solve and a Hermitian eigenproblem, by their residuals.
 * Backward errors within 10 n eps of the norms (Anderson et al. 1999, ch. 4). */
#include <complex.h>
#include <float.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

enum { n = 150 };

void dgesv_(const int*, const int*, double*, const int*, int*, double*, const int*, int*);
void zheev_(const char*, const char*, const int*, double complex*, const int*, double*, double complex*, const int*,
            double*, int*, size_t, size_t);

static double next(void)
{
    static unsigned long long state = 1;
    state = state * 6364136223846793005u + 1442695040888963407u;
    return (double)(state >> 33) / (1u << 30) - 1;
}

static double a[n * n], lu[n * n], x[n], b[n];
static double complex h[n * n], z[n * n];

int main(void)
{
    static double w[n], rwork[3 * n];
    static double complex work[64 * n];
    static int pivots[n];
    const int size = n, one = 1, room = 64 * n;
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
    const double solve = worst / (10 * n * DBL_EPSILON * norm_a * norm_x);

    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) {
            h[i + j * n] = i == j ? next() : next() + next() * I;
            h[j + i * n] = conj(h[i + j * n]);
        }
    memcpy(z, h, sizeof z);
    int info2 = 0;
    zheev_("V", "L", &size, z, &size, w, work, &room, rwork, &info2, 1, 1);
    worst = 0;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            double complex r = -w[j] * z[i + j * n];
            for (int k = 0; k < n; ++k) r += h[i + k * n] * z[k + j * n];
            worst = fmax(worst, cabs(r));
        }
    const double eigen = worst / (10 * n * DBL_EPSILON * fmax(fabs(w[0]), fabs(w[n - 1])));
    printf("%g %g\n", solve, eigen);
    return !(info == 0 && info2 == 0 && solve <= 1 && eigen <= 1);
}
