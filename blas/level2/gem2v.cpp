// blas/level2/gem2v.cpp - exported names of z := alpha A x + beta z and w := alpha op(A) y + beta w.
#include "blas/level2/gem2v.hpp"

using vrn::simd::cplx;

#define VRN_GEM2V(name, E)                                                                                           \
    VRN_EXPORT void name(const vrn_int* m, const vrn_int* n, const E* alpha, const E* a, const vrn_int* lda,         \
                         const E* x, const vrn_int* incx, const E* y, const vrn_int* incy, const E* beta, E* z,      \
                         const vrn_int* incz, E* w, const vrn_int* incw)                                             \
    {                                                                                                                \
        vrn::blas::gem2v(*m, *n, *alpha, a, *lda, x, *incx, y, *incy, *beta, z, *incz, w, *incw);                    \
    }

VRN_GEM2V(vrn_blas_s42_sgem2vu, float)
VRN_GEM2V(vrn_blas_s42_dgem2vu, double)
VRN_GEM2V(vrn_blas_s42_cgem2vc, cplx<float>)
VRN_GEM2V(vrn_blas_s42_zgem2vc, cplx<double>)
