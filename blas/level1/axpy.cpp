#include "frame/export.hpp"

VRN_EXPORT void vrn_blas_s42_xdaxpy(const vrn_int* n, const double* alpha, const double* x, const vrn_int*, double* y, const vrn_int*)
{
    for (vrn_int i = 0; i < *n; ++i) y[i] += *alpha * x[i];
}
