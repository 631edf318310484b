// blas/level1/dot.cpp - exported names of the dots. Complex results go through a first pointer.
#include "blas/level1/dot.hpp"

using vrn::simd::cplx;

#define VRN_DOT(name, body, E, Result)                                                                        \
    VRN_EXPORT Result name(const vrn_int* n, const E* x, const vrn_int* incx, const E* y, const vrn_int* incy) \
    {                                                                                                         \
        return vrn::blas::body(*n, x, *incx, y, *incy);                                                       \
    }

#define VRN_COMPLEX_DOT(name, R, Conjugate)                                                                   \
    VRN_EXPORT void name(cplx<R>* result, const vrn_int* n, const cplx<R>* x, const vrn_int* incx,            \
                         const cplx<R>* y, const vrn_int* incy)                                               \
    {                                                                                                         \
        *result = vrn::blas::complex_dot<Conjugate>(*n, x, *incx, y, *incy);                                  \
    }

VRN_DOT(vrn_blas_s42_xsdot, dot, float, float)
VRN_DOT(vrn_blas_s42_xddot, dot, double, double)
VRN_DOT(vrn_blas_s42_xdsdot, dsdot, float, double)

VRN_EXPORT float vrn_blas_s42_sdsdot(const vrn_int* n, const float* sb, const float* x, const vrn_int* incx,
                                     const float* y, const vrn_int* incy)
{
    return vrn::blas::sdsdot(*n, *sb, x, *incx, y, *incy);
}

VRN_COMPLEX_DOT(vrn_blas_s42_cdotu, float, false)
VRN_COMPLEX_DOT(vrn_blas_s42_xcdotc, float, true)
VRN_COMPLEX_DOT(vrn_blas_s42_zdotu, double, false)
VRN_COMPLEX_DOT(vrn_blas_s42_zdotc, double, true)
