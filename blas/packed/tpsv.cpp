// blas/packed/tpsv.cpp - exported names of the triangular packed solution.
#include "blas/banded/triangular.hpp"

#define VRN_TPSV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const E* ap, E* x, \
                         const vrn_int* incx)                                                                        \
    {                                                                                                                \
        vrn::blas::banded::triangular_packed<true>(*uplo, *trans, *diag, *n, ap, x, *incx);                          \
    }

VRN_TPSV(vrn_blas_s42_stpsv, float)
VRN_TPSV(vrn_blas_s42_dtpsv, double)
VRN_TPSV(vrn_blas_s42_ctpsv, vrn::simd::cplx<float>)
VRN_TPSV(vrn_blas_s42_ztpsv, vrn::simd::cplx<double>)
