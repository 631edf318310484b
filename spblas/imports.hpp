// spblas/imports.hpp - the public routines of the host that sparse kernels call: level 1 of the kernel's integer
// width, so that the public routine's checks and threads apply.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::spblas {

// The host takes complex numbers as they lie in memory, so that our own type serves.
#define VRN_SPARSE_IMPORT(prefix, I, t, T)                                                                           \
    extern "C" void prefix##t##axpy(const I* n, const T* alpha, const T* x, const I* incx, T* y, const I* incy);     \
    inline void axpy(const I* n, const T* alpha, const T* x, const I* incx, T* y, const I* incy)                     \
    {                                                                                                                \
        prefix##t##axpy(n, alpha, x, incx, y, incy);                                                                 \
    }
#define VRN_SPARSE_IMPORTS(prefix, I)                                                                                \
    VRN_SPARSE_IMPORT(prefix, I, s, float)                                                                           \
    VRN_SPARSE_IMPORT(prefix, I, d, double)                                                                          \
    VRN_SPARSE_IMPORT(prefix, I, c, simd::cplx<float>)                                                               \
    VRN_SPARSE_IMPORT(prefix, I, z, simd::cplx<double>)
// Some of these names are exported again: hidden declarations would un-export them.
#pragma GCC visibility push(default)
VRN_SPARSE_IMPORTS(vrn_blas_, std::int64_t)
VRN_SPARSE_IMPORTS(vrn_blas_lp64_, std::int32_t)
#pragma GCC visibility pop
#undef VRN_SPARSE_IMPORTS
#undef VRN_SPARSE_IMPORT

} // namespace vrn::spblas
