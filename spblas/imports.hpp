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
#define VRN_SPARSE_DOT(prefix, I, t, T)                                                                              \
    extern "C" T prefix##t##dot(const I* n, const T* x, const I* incx, const T* y, const I* incy);                   \
    inline T dot(const I* n, const T* x, const I* incx, const T* y, const I* incy)                                   \
    {                                                                                                                \
        return prefix##t##dot(n, x, incx, y, incy);                                                                  \
    }
// A complex result goes through a first pointer. Without conjugation.
#define VRN_SPARSE_DOTU(prefix, I, t, T)                                                                             \
    extern "C" void prefix##t##dotu(T* result, const I* n, const T* x, const I* incx, const T* y, const I* incy);    \
    inline T dot(const I* n, const T* x, const I* incx, const T* y, const I* incy)                                   \
    {                                                                                                                \
        T result;                                                                                                    \
        prefix##t##dotu(&result, n, x, incx, y, incy);                                                               \
        return result;                                                                                               \
    }
#define VRN_SPARSE_IMPORTS(prefix, I)                                                                                \
    VRN_SPARSE_IMPORT(prefix, I, s, float)                                                                           \
    VRN_SPARSE_IMPORT(prefix, I, d, double)                                                                          \
    VRN_SPARSE_IMPORT(prefix, I, c, simd::cplx<float>)                                                               \
    VRN_SPARSE_IMPORT(prefix, I, z, simd::cplx<double>)                                                              \
    VRN_SPARSE_DOT(prefix, I, s, float)                                                                              \
    VRN_SPARSE_DOT(prefix, I, d, double)                                                                             \
    VRN_SPARSE_DOTU(prefix, I, c, simd::cplx<float>)                                                                 \
    VRN_SPARSE_DOTU(prefix, I, z, simd::cplx<double>)
// Some of these names are exported again: hidden declarations would un-export them.
#pragma GCC visibility push(default)
VRN_SPARSE_IMPORTS(vrn_blas_, std::int64_t)
VRN_SPARSE_IMPORTS(vrn_blas_lp64_, std::int32_t)
#pragma GCC visibility pop
#undef VRN_SPARSE_IMPORTS
#undef VRN_SPARSE_IMPORT
#undef VRN_SPARSE_DOT
#undef VRN_SPARSE_DOTU

} // namespace vrn::spblas
