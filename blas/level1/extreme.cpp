// blas/level1/extreme.cpp - exported names of the index of the extreme element.
#include "blas/level1/extreme.hpp"

#define VRN_EXTREME(name, which, E)                                                                           \
    VRN_EXPORT vrn_int name(const vrn_int* n, const E* x, const vrn_int* incx)                                \
    {                                                                                                         \
        return vrn::blas::index_of_extreme<vrn::blas::extreme::which, E>(*n, x, *incx);                       \
    }

VRN_EXTREME(vrn_blas_s42_isamax, largest, float)
VRN_EXTREME(vrn_blas_s42_idamax, largest, double)
VRN_EXTREME(vrn_blas_s42_icamax, largest, vrn::simd::cplx<float>)
VRN_EXTREME(vrn_blas_s42_izamax, largest, vrn::simd::cplx<double>)
VRN_EXTREME(vrn_blas_s42_isamin, smallest, float)
VRN_EXTREME(vrn_blas_s42_idamin, smallest, double)
VRN_EXTREME(vrn_blas_s42_icamin, smallest, vrn::simd::cplx<float>)
VRN_EXTREME(vrn_blas_s42_izamin, smallest, vrn::simd::cplx<double>)
