/* The standard names: CBLAS by its header, Fortran by declarations of one's own, and reports of one's own. */
#include <stdio.h>
#include <string.h>
#include <vrn/cblas.h>

void dscal_(const int* n, const double* alpha, double* x, const int* incx);
void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*, const double*, const int*,
            const double*, const int*, const double*, double*, const int*, size_t, size_t);

static int fortran_reports, c_reports;

void xerbla_(const char* routine, const int* argument, size_t length)
{
    fortran_reports += length == 6 && memcmp(routine, "DGEMM ", 6) == 0 && *argument == 3;
}

void cblas_xerbla(CBLAS_INT argument, const char* routine, const char* form, ...)
{
    (void)form;
    c_reports += argument == 4 && strcmp(routine, "cblas_dgemm") == 0;
}

int main(void)
{
    const int four = 4, one = 1, bad = -1;
    const double half = 0.5, x[] = {1, 2, 3, 4};
    double y[] = {20, 40, 60, 80};
    dscal_(&four, &half, y, &one);
    cblas_daxpy(4, 2, x, 1, y, 1);
    dgemm_("N", "N", &bad, &one, &one, &half, x, &one, x, &one, &half, y, &one, 1, 1);
    cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, bad, 1, 1, half, x, 1, x, 1, half, y, 1);
    if (fortran_reports == 1 && c_reports == 1) printf("%g %g %g %g\n", y[0], y[1], y[2], y[3]);
    return 0;
}
