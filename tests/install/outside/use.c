#include <stdio.h>
#include <vrn/blas.h>

int main(void)
{
    const int64_t n = 4, one = 1;
    const double alpha = 2, x[] = {1, 2, 3, 4};
    double y[] = {10, 20, 30, 40};
    vrn_blas_daxpy(&n, &alpha, x, &one, y, &one);
    printf("%g %g %g %g\n", y[0], y[1], y[2], y[3]);
    return 0;
}
