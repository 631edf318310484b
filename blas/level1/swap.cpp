// blas/level1/swap.cpp - exported names of the exchange of two vectors.
#include "blas/level1/swap.hpp"

#define VRN_SWAP(name, E)                                                                                     \
    VRN_EXPORT void name(const vrn_int* n, E* x, const vrn_int* incx, E* y, const vrn_int* incy)              \
    {                                                                                                         \
        vrn::blas::swap(*n, x, *incx, y, *incy);                                                              \
    }

VRN_SWAP(vrn_blas_s42_xsswap, float)
VRN_SWAP(vrn_blas_s42_xdswap, double)
VRN_SWAP(vrn_blas_s42_xcswap, vrn::simd::cplx<float>)
VRN_SWAP(vrn_blas_s42_xzswap, vrn::simd::cplx<double>)
