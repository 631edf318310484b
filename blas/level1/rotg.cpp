// blas/level1/rotg.cpp - exported names of the generators of plane rotations.
#include "blas/level1/rotg.hpp"

using vrn::simd::cplx;

#define VRN_ROTG(name, E, R, B)                                                                                      \
    VRN_EXPORT void name(E* a, B* b, R* c, E* s) { vrn::blas::rotg(*a, *b, *c, *s); }

VRN_ROTG(vrn_blas_s42_srotg, float, float, float)
VRN_ROTG(vrn_blas_s42_drotg, double, double, double)
VRN_ROTG(vrn_blas_s42_crotg, cplx<float>, float, const cplx<float>)
VRN_ROTG(vrn_blas_s42_zrotg, cplx<double>, double, const cplx<double>)
