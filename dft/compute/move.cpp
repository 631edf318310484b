// dft/compute/move.cpp - copies, scales and scatters by their exported names. The first two have the calling form of
// the vector kernels: everything by pointer, a negative increment begins at the far end.

#include "dft/compute/move.hpp"
#include "dft/descriptor/functions.hpp"
#include "frame/export.hpp"

using namespace vrn::dft;

namespace {

template <class E>
E* first_of(E* x, vrn_int n, vrn_int inc)
{
    return inc < 0 ? x + (1 - n) * inc : x;
}

template <class E>
void copy(const vrn_int* count, const E* x, const vrn_int* incx, E* y, const vrn_int* incy)
{
    const vrn_int n = *count;
    if (n < 1) return;
    if (*incx == 1 && *incy == 1) {
        std::memmove(y, x, static_cast<std::size_t>(n) * sizeof(E));
        return;
    }
    const E* from = first_of(x, n, *incx);
    E* to = first_of(y, n, *incy);
    for (vrn_int i = 0; i < n; ++i) move_element(from + i * *incx, to + i * *incy);
}

template <class R>
void scale(const vrn_int* count, const R* alpha, cplx<R>* x, const vrn_int* incx)
{
    const R a = *alpha;
    cplx<R>* p = first_of(x, *count, *incx);
    for (vrn_int i = 0; i < *count; ++i, p += *incx) *p = a * *p;
}

template <class E>
void scatter_elements(std::int64_t count, std::int64_t width, const E* src, std::int64_t src_stride, E* dst,
                      std::int64_t dst_stride, std::int64_t dst_distance)
{
    constexpr std::int64_t parts = vrn::simd::element<E>::parts;
    scatter(count, width, src, src_stride, dst, parts * dst_stride, parts * dst_distance);
}

} // namespace

#define COPY(name, E)                                                                                                \
    VRN_EXPORT void name(const vrn_int* n, const E* x, const vrn_int* incx, E* y, const vrn_int* incy)               \
    {                                                                                                                \
        copy(n, x, incx, y, incy);                                                                                   \
    }
COPY(vrn_dft_s42_dft_zcopy, cplx<double>)
COPY(vrn_dft_s42_dft_dcopy, double)
COPY(vrn_dft_s42_dft_scopy, float)
// Eight-byte elements need no telling apart.
VRN_ALIAS(vrn_dft_s42_dft_ccopy, vrn_dft_s42_dft_dcopy);

#define SCALE(name, R)                                                                                               \
    VRN_EXPORT void name(const vrn_int* n, const R* alpha, cplx<R>* x, const vrn_int* incx)                          \
    {                                                                                                                \
        scale(n, alpha, x, incx);                                                                                    \
    }
SCALE(vrn_dft_s42_dft_zdscal, double)
SCALE(vrn_dft_s42_dft_csscal, float)

#define SCATTER(name, E)                                                                                             \
    VRN_EXPORT void name(std::int64_t count, std::int64_t width, const E* src, std::int64_t src_stride, E* dst,      \
                         std::int64_t dst_stride, std::int64_t dst_distance)                                         \
    {                                                                                                                \
        scatter_elements(count, width, src, src_stride, dst, dst_stride, dst_distance);                              \
    }
SCATTER(vrn_dft_s42_scatter_z_z, cplx<double>)
SCATTER(vrn_dft_s42_scatter_c_c, cplx<float>)
