// blas/sparsevec/exports.cpp - exported names of level 1 with a compressed vector. Complex dots go through a first
// pointer.
#include "blas/sparsevec/sparsevec.hpp"

using vrn::simd::cplx;
namespace sparsevec = vrn::blas::sparsevec;

#define VRN_AXPYI(name, E)                                                                                           \
    VRN_EXPORT void name(const vrn_int* nz, const E* alpha, const E* x, const vrn_int* indx, E* y)                   \
    {                                                                                                                \
        sparsevec::axpyi(*nz, *alpha, x, indx, y);                                                                   \
    }
VRN_AXPYI(vrn_blas_s42_saxpyi, float)
VRN_AXPYI(vrn_blas_s42_daxpyi, double)
VRN_AXPYI(vrn_blas_s42_caxpyi, cplx<float>)
VRN_AXPYI(vrn_blas_s42_zaxpyi, cplx<double>)

VRN_EXPORT float vrn_blas_s42_sdoti(const vrn_int* nz, const float* x, const vrn_int* indx, const float* y)
{
    return sparsevec::doti<false>(*nz, x, indx, y);
}
VRN_EXPORT double vrn_blas_s42_ddoti(const vrn_int* nz, const double* x, const vrn_int* indx, const double* y)
{
    return sparsevec::ddoti(*nz, x, indx, y);
}

#define VRN_COMPLEX_DOTI(name, E, conjugate)                                                                         \
    VRN_EXPORT void name(E* result, const vrn_int* nz, const E* x, const vrn_int* indx, const E* y)                  \
    {                                                                                                                \
        *result = sparsevec::doti<conjugate>(*nz, x, indx, y);                                                       \
    }
VRN_COMPLEX_DOTI(vrn_blas_s42_cdotui, cplx<float>, false)
VRN_COMPLEX_DOTI(vrn_blas_s42_cdotci, cplx<float>, true)
VRN_COMPLEX_DOTI(vrn_blas_s42_zdotui, cplx<double>, false)
VRN_COMPLEX_DOTI(vrn_blas_s42_zdotci, cplx<double>, true)

#define VRN_GTHR(name, E, Y, clear)                                                                                  \
    VRN_EXPORT void name(const vrn_int* nz, Y* y, E* x, const vrn_int* indx)                                         \
    {                                                                                                                \
        sparsevec::gather<clear, E>(*nz, y, x, indx);                                                                \
    }
VRN_GTHR(vrn_blas_s42_sgthr, float, const float, false)
VRN_GTHR(vrn_blas_s42_dgthr, double, const double, false)
VRN_GTHR(vrn_blas_s42_cgthr, cplx<float>, const cplx<float>, false)
VRN_GTHR(vrn_blas_s42_zgthr, cplx<double>, const cplx<double>, false)
VRN_GTHR(vrn_blas_s42_sgthrz, float, float, true)
VRN_GTHR(vrn_blas_s42_dgthrz, double, double, true)
VRN_GTHR(vrn_blas_s42_cgthrz, cplx<float>, cplx<float>, true)
VRN_GTHR(vrn_blas_s42_zgthrz, cplx<double>, cplx<double>, true)

#define VRN_SCTR(name, E)                                                                                            \
    VRN_EXPORT void name(const vrn_int* nz, const E* x, const vrn_int* indx, E* y)                                   \
    {                                                                                                                \
        sparsevec::scatter(*nz, x, indx, y);                                                                         \
    }
VRN_SCTR(vrn_blas_s42_ssctr, float)
VRN_SCTR(vrn_blas_s42_dsctr, double)
VRN_SCTR(vrn_blas_s42_csctr, cplx<float>)
VRN_SCTR(vrn_blas_s42_zsctr, cplx<double>)

#define VRN_ROTI(name, R)                                                                                            \
    VRN_EXPORT void name(const vrn_int* nz, R* x, const vrn_int* indx, R* y, const R* c, const R* s)                 \
    {                                                                                                                \
        sparsevec::roti(*nz, x, indx, y, *c, *s);                                                                    \
    }
VRN_ROTI(vrn_blas_s42_sroti, float)
VRN_ROTI(vrn_blas_s42_droti, double)
