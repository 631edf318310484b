// blas/packed/tpmv.cpp - exported names of the triangular packed product.
#include "blas/banded/triangular.hpp"

#define VRN_TPMV(name, E)                                                                                            \
    VRN_EXPORT void name(const char* uplo, const char* trans, const char* diag, const vrn_int* n, const E* ap, E* x, \
                         const vrn_int* incx)                                                                        \
    {                                                                                                                \
        vrn::blas::banded::triangular_packed<false>(*uplo, *trans, *diag, *n, ap, x, *incx);                         \
    }

VRN_TPMV(vrn_blas_s42_stpmv, float)
VRN_TPMV(vrn_blas_s42_dtpmv, double)
VRN_TPMV(vrn_blas_s42_ctpmv, vrn::simd::cplx<float>)
VRN_TPMV(vrn_blas_s42_ztpmv, vrn::simd::cplx<double>)
