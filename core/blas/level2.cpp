// core/blas/level2.cpp - the division of dense level 2 over threads.
//
//     gemv                       rows of y, or columns where A is transposed
//     ger, geru, gerc            columns of A
//     syr, syr2                  columns of the triangle, cut to equal areas
//     symv, hemv, trmv           columns of the triangle, each slice into a vector of its own, then the sum of them;
//                                trmv transposed: each slice into its part of one vector
//
// All but the third group have the same bits for any number of threads: cuts fall between the kernels' groups of
// columns. There the sum depends on the slices: as many as threads, or a fixed number, even on one thread, where
// reproducibility is asked for. A solve is threaded through the gemv that it calls. her and her2 stay on one thread:
// the back-end has no slices of them, and rectangles by gerc would not skip the columns that they skip.

#include "core/blas/level2.hpp"

#include "blas/level2/slices.hpp"
#include "core/loader/loader.hpp"
#include "core/threads/threads.hpp"
#include "frame/services.hpp"
#include "vrn/blas.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace vrn::blas {

template <class T>
using gemv_kernel = void(const char*, pint, pint, const T*, const T*, pint, const T*, pint, const T*, T*, pint);
template <class T>
using ger_kernel = void(pint, pint, const T*, const T*, pint, const T*, pint, T*, pint);
template <class T>
using symv_kernel = void(const char*, pint, const T*, const T*, pint, const T*, pint, const T*, T*, pint);
template <class T>
using gem2v_kernel = void(pint, pint, const T*, const T*, pint, const T*, pint, const T*, pint, const T*, T*, pint,
                          T*, pint);
template <class T>
using trmv_kernel = void(const char*, const char*, const char*, pint, const T*, pint, T*, pint);

} // namespace vrn::blas

VRN_KERNEL(vrn_blas_s42_xsgemv, vrn::blas::gemv_kernel<float>);
VRN_KERNEL(vrn_blas_s42_xdgemv, vrn::blas::gemv_kernel<double>);
VRN_KERNEL(vrn_blas_s42_xcgemv, vrn::blas::gemv_kernel<vrn_complex8>);
VRN_KERNEL(vrn_blas_s42_xzgemv, vrn::blas::gemv_kernel<vrn_complex16>);
VRN_KERNEL(vrn_blas_s42_xsger, vrn::blas::ger_kernel<float>);
VRN_KERNEL(vrn_blas_s42_xdger, vrn::blas::ger_kernel<double>);
VRN_KERNEL(vrn_blas_s42_xcgeru, vrn::blas::ger_kernel<vrn_complex8>);
VRN_KERNEL(vrn_blas_s42_xzgeru, vrn::blas::ger_kernel<vrn_complex16>);
VRN_KERNEL(vrn_blas_s42_xcgerc, vrn::blas::ger_kernel<vrn_complex8>);
VRN_KERNEL(vrn_blas_s42_xzgerc, vrn::blas::ger_kernel<vrn_complex16>);
VRN_KERNEL(vrn_blas_s42_xssymv, vrn::blas::symv_kernel<float>);
VRN_KERNEL(vrn_blas_s42_xdsymv, vrn::blas::symv_kernel<double>);
VRN_KERNEL(vrn_blas_s42_chemv, vrn::blas::symv_kernel<vrn_complex8>);
VRN_KERNEL(vrn_blas_s42_zhemv, vrn::blas::symv_kernel<vrn_complex16>);
VRN_KERNEL(vrn_blas_s42_xssymv_kernel, vrn::blas::symv_slice_function<float>);
VRN_KERNEL(vrn_blas_s42_xdsymv_kernel, vrn::blas::symv_slice_function<double>);
VRN_KERNEL(vrn_blas_s42_cgem2vc, vrn::blas::gem2v_kernel<vrn_complex8>);
VRN_KERNEL(vrn_blas_s42_zgem2vc, vrn::blas::gem2v_kernel<vrn_complex16>);
VRN_KERNEL(vrn_blas_s42_xssyr_in_thread, vrn::blas::syr_slice_function<float>);
VRN_KERNEL(vrn_blas_s42_xdsyr_in_thread, vrn::blas::syr_slice_function<double>);
VRN_KERNEL(vrn_blas_s42_xssyr2_in_thread, vrn::blas::syr2_slice_function<float>);
VRN_KERNEL(vrn_blas_s42_xdsyr2_in_thread, vrn::blas::syr2_slice_function<double>);
VRN_KERNEL(vrn_blas_s42_xstrmv, vrn::blas::trmv_kernel<float>);
VRN_KERNEL(vrn_blas_s42_xdtrmv, vrn::blas::trmv_kernel<double>);
VRN_KERNEL(vrn_blas_s42_xctrmv, vrn::blas::trmv_kernel<vrn_complex8>);
VRN_KERNEL(vrn_blas_s42_xztrmv, vrn::blas::trmv_kernel<vrn_complex16>);
VRN_KERNEL(vrn_blas_s42_xstrmv_in_thread, vrn::blas::trmv_slice_function<float>);
VRN_KERNEL(vrn_blas_s42_xdtrmv_in_thread, vrn::blas::trmv_slice_function<double>);

namespace vrn::blas {
namespace {

using loader::backend;

// The back-end's names by element type; gem2v where there is no slice entry of hemv.
template <class T>
struct names;
#define VRN_NAMES(T, gemv_name, ger_name, gerc_name, symv_name, symv_slice_name, trmv_name)                          \
    template <>                                                                                                      \
    struct names<T> {                                                                                                \
        static constexpr auto& gemv = vrn_slot_vrn_blas_s42_##gemv_name;                                             \
        static constexpr auto& ger = vrn_slot_vrn_blas_s42_##ger_name;                                               \
        [[maybe_unused]] static constexpr auto& gerc = vrn_slot_vrn_blas_s42_##gerc_name;                            \
        static constexpr auto& symv = vrn_slot_vrn_blas_s42_##symv_name;                                             \
        static constexpr auto& symv_slice = vrn_slot_vrn_blas_s42_##symv_slice_name;                                 \
        static constexpr auto& trmv = vrn_slot_vrn_blas_s42_##trmv_name;                                             \
    };
VRN_NAMES(float, xsgemv, xsger, xsger, xssymv, xssymv_kernel, xstrmv)
VRN_NAMES(double, xdgemv, xdger, xdger, xdsymv, xdsymv_kernel, xdtrmv)
VRN_NAMES(vrn_complex8, xcgemv, xcgeru, xcgerc, chemv, cgem2vc, xctrmv)
VRN_NAMES(vrn_complex16, xzgemv, xzgeru, xzgerc, zhemv, zgem2vc, xztrmv)
#undef VRN_NAMES

template <class T>
struct real_names;
#define VRN_REAL_NAMES(T, syr_name, syr2_name, trmv_name)                                                            \
    template <>                                                                                                      \
    struct real_names<T> {                                                                                           \
        static constexpr auto& syr_slice = vrn_slot_vrn_blas_s42_##syr_name;                                         \
        static constexpr auto& syr2_slice = vrn_slot_vrn_blas_s42_##syr2_name;                                       \
        static constexpr auto& trmv_slice = vrn_slot_vrn_blas_s42_##trmv_name;                                       \
    };
VRN_REAL_NAMES(float, xssyr_in_thread, xssyr2_in_thread, xstrmv_in_thread)
VRN_REAL_NAMES(double, xdsyr_in_thread, xdsyr2_in_thread, xdtrmv_in_thread)
#undef VRN_REAL_NAMES

using vrn_int = std::int64_t;

template <class T>
inline constexpr bool is_real = std::is_floating_point_v<T>;

template <class T>
T unity()
{
    T one{};
    if constexpr (is_real<T>) one = 1;
    else one.real = 1;
    return one;
}

template <class T>
bool is_zero(const T& t)
{
    if constexpr (is_real<T>) return t == 0;
    else return t.real == 0 && t.imag == 0;
}

template <class T>
T plus(T a, T b)
{
    if constexpr (is_real<T>) return a + b;
    else return {a.real + b.real, a.imag + b.imag};
}

bool is_letter(const char* option, char letter) { return (*option & ~0x20) == letter; }

// Bytes of A from which a second thread pays: below, one thread is done within some 15 microseconds.
constexpr double threads_from = 512 * 1024;
// Slices of a triangle where their number may not follow the threads, and the order from which there are any.
constexpr vrn_int fixed_slices = 8, fixed_slices_from = 512;
// Cuts fall on multiples of the widest group of columns; of trmv's blocks where it is transposed.
constexpr vrn_int cut_unit = 8, trmv_unit = 64;

template <class T>
int team_for(vrn_int elements)
{
    return static_cast<double>(elements) * sizeof(T) < threads_from ? 1 : threads::available();
}

// A part of a vector as a routine takes it: of a negative stride the last element is the first in memory.
template <class T>
T* part_of(T* x, vrn_int n, vrn_int from, vrn_int count, vrn_int inc)
{
    return inc < 0 ? x - (n - from - count) * inc : x + from * inc;
}

// work(from, count) for equal parts of 0 .. length-1, cut at multiples of `unit`.
template <class Work>
void divide(vrn_int length, vrn_int unit, int team, Work&& work)
{
    threads::run(team, [&](int thread, int threads) {
        const vrn_int units = (length + unit - 1) / unit;
        const vrn_int from = units * thread / threads * unit;
        const vrn_int to = std::min(length, units * (thread + 1) / threads * unit);
        if (from < to) work(from, to - from);
    });
}

// Where slice s of `slices` of a triangle's columns begins: equal areas.
vrn_int cut(bool lower, vrn_int n, vrn_int s, vrn_int slices, vrn_int unit)
{
    if (s == 0 || s == slices) return s == 0 ? 0 : n;
    const double share = static_cast<double>(s) / static_cast<double>(slices);
    const double at = static_cast<double>(n) * (lower ? 1 - std::sqrt(1 - share) : std::sqrt(share));
    return std::min(n, (static_cast<vrn_int>(at) + unit / 2) / unit * unit);
}

// The reduction of slices into private vectors. slice(first, count, p) adds to nothing: it fills the part of p that
// its columns reach, rows first .. n-1 of a lower triangle and 0 .. first+count-1 of an upper one (disjoint: its own
// columns, in one shared vector). store(from, to, sum) takes rows of the sum once no slice runs any more. False, with
// nothing done, without memory.
template <class T, class Slice, class Store>
bool in_slices(bool lower, bool disjoint, vrn_int n, vrn_int unit, vrn_int slices, int team, Slice&& slice,
               Store&& store)
{
    const vrn_int length = (n + 15) / 16 * 16; // private vectors begin on lines of their own
    T* const all = static_cast<T*>(
        vrn_serv_allocate(sizeof(T) * static_cast<std::uint64_t>((disjoint ? 1 : slices) * length), 64));
    if (all == nullptr) return false;
    // The slice that reaches every row comes first, and the others are added to it in turn.
    const auto slice_of = [&](vrn_int rank) { return lower ? rank : slices - 1 - rank; };
    const auto own = [&](vrn_int s) { return disjoint ? all : all + s * length; };
    threads::run(team, [&](int thread, int threads) {
        for (vrn_int s = thread; s < slices; s += threads) {
            const vrn_int first = cut(lower, n, s, slices, unit), end = cut(lower, n, s + 1, slices, unit);
            if (first < end) slice(first, end - first, own(s));
        }
        threads::barrier();
        const vrn_int from = n * thread / threads, to = n * (thread + 1) / threads;
        using R = std::conditional_t<sizeof(T) == 4 || std::is_same_v<T, vrn_complex8>, float, double>;
        constexpr vrn_int parts = sizeof(T) / sizeof(R);
        T* const sum = own(slice_of(0));
        if (!disjoint)
            for (vrn_int rank = 1; rank < slices; ++rank) {
                const vrn_int s = slice_of(rank);
                const vrn_int first = cut(lower, n, s, slices, unit), end = cut(lower, n, s + 1, slices, unit);
                if (first == end) continue;
                const vrn_int reach_from = std::max(from, lower ? first : 0),
                              reach_to = std::min(to, lower ? n : end);
                R* const a = reinterpret_cast<R*>(sum);
                const R* const b = reinterpret_cast<const R*>(own(s));
                for (vrn_int i = reach_from * parts; i < reach_to * parts; ++i) a[i] += b[i];
            }
        store(from, to, static_cast<const T*>(sum));
    });
    vrn_serv_deallocate(all);
    return true;
}

// How many slices a reduction takes; 1 stands for the kernel itself.
vrn_int slices_for(vrn_int n, int team)
{
    if (vrn_serv_cbwr_get(1) == 1) return team;
    return n < fixed_slices_from ? 1 : fixed_slices;
}

// The rows beside the diagonal block of columns first .. first+count-1.
struct beside {
    vrn_int from, count;
    beside(bool lower, vrn_int n, vrn_int first, vrn_int columns)
        : from(lower ? first + columns : 0), count(lower ? n - from : first)
    {
    }
};

template <class T>
void symv_road(const char* uplo, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx, const T* beta,
               T* y, pint incy)
{
    const bool lower = is_letter(uplo, 'L');
    const int team = team_for<T>(*n * *n / 2);
    const vrn_int slices = slices_for(*n, team), order = *n, unit_stride = 1;
    const auto kernel = backend(names<T>::symv);
    const T zero{}, one = unity<T>();
    const auto slice = [&](vrn_int first, vrn_int count, T* p) {
        const vrn_int last = first + count - 1;
        if constexpr (is_real<T>) {
            backend(names<T>::symv_slice)(uplo, &last, &first, alpha, a, lda, x, incx, p, n);
        } else {
            const beside rows(lower, order, first, count);
            std::fill(p + (lower ? first : 0), p + (lower ? order : first + count), zero);
            const T* const own = part_of(x, order, first, count, *incx);
            backend(names<T>::symv_slice)(&rows.count, &count, alpha, a + rows.from + first * *lda, lda, own, incx,
                                          part_of(x, order, rows.from, rows.count, *incx), incx, &one, p + rows.from,
                                          &unit_stride, p + first, &unit_stride);
            kernel(uplo, &count, alpha, a + first + first * *lda, lda, own, incx, &one, p + first, &unit_stride);
        }
    };
    const auto store = [&](vrn_int from, vrn_int to, const T* sum) {
        T* const begin = *incy < 0 ? y + (1 - order) * *incy : y;
        for (vrn_int i = from; i < to; ++i) {
            begin[i * *incy] = plus(begin[i * *incy], sum[i]);
        }
    };
    if (slices == 1 || is_zero(*alpha)) return kernel(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
    kernel(uplo, n, &zero, a, lda, x, incx, beta, y, incy); // beta alone
    if (!in_slices<T>(lower, false, order, cut_unit, slices, team, slice, store))
        kernel(uplo, n, alpha, a, lda, x, incx, &one, y, incy);
}

template <class T>
void ger_road(loader::slot<ger_kernel<T>>& kernel, pint m, pint n, const T* alpha, const T* x, pint incx, const T* y,
              pint incy, T* a, pint lda)
{
    const int team = team_for<T>(*m * *n);
    if (team == 1) return backend(kernel)(m, n, alpha, x, incx, y, incy, a, lda);
    divide(*n, cut_unit, team, [&](vrn_int from, vrn_int count) {
        backend(kernel)(m, &count, alpha, x, incx, part_of(y, *n, from, count, *incy), incy, a + from * *lda, lda);
    });
}

// work(first, count) for columns of a triangle of order n in parts of equal area.
template <class T, class Work>
void divide_triangle(const char* uplo, vrn_int n, Work&& work)
{
    const bool lower = is_letter(uplo, 'L');
    threads::run(team_for<T>(n * n / 2), [&](int thread, int threads) {
        const vrn_int first = cut(lower, n, thread, threads, cut_unit),
                      end = cut(lower, n, thread + 1, threads, cut_unit);
        if (first < end) work(first, end - first);
    });
}

} // namespace

template <class T>
void gemv(const char* trans, pint m, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx,
          const T* beta, T* y, pint incy)
{
    const auto kernel = backend(names<T>::gemv);
    const int team = team_for<T>(*m * *n);
    if (team == 1) return kernel(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
    const bool normal = is_letter(trans, 'N');
    divide(normal ? *m : *n, cut_unit, team, [&](vrn_int from, vrn_int count) {
        T* const own = part_of(y, normal ? *m : *n, from, count, *incy);
        if (normal) kernel(trans, &count, n, alpha, a + from, lda, x, incx, beta, own, incy);
        else kernel(trans, m, &count, alpha, a + from * *lda, lda, x, incx, beta, own, incy);
    });
}

template <class T>
void ger(pint m, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda)
{
    ger_road(names<T>::ger, m, n, alpha, x, incx, y, incy, a, lda);
}
template <class T>
void geru(pint m, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda)
{
    ger_road(names<T>::ger, m, n, alpha, x, incx, y, incy, a, lda);
}
template <class T>
void gerc(pint m, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda)
{
    ger_road(names<T>::gerc, m, n, alpha, x, incx, y, incy, a, lda);
}

template <class T>
void symv(const char* uplo, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx, const T* beta, T* y,
          pint incy)
{
    symv_road(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}
template <class T>
void hemv(const char* uplo, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx, const T* beta, T* y,
          pint incy)
{
    symv_road(uplo, n, alpha, a, lda, x, incx, beta, y, incy);
}

template <class T>
void syr(const char* uplo, pint n, const T* alpha, const T* x, pint incx, T* a, pint lda)
{
    divide_triangle<T>(uplo, *n, [&](vrn_int first, vrn_int count) {
        backend(real_names<T>::syr_slice)(uplo, &count, alpha, x, incx, a, lda, &first, n);
    });
}
template <class T>
void syr2(const char* uplo, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda)
{
    divide_triangle<T>(uplo, *n, [&](vrn_int first, vrn_int count) {
        backend(real_names<T>::syr2_slice)(uplo, &count, alpha, x, incx, y, incy, a, lda, &first, n);
    });
}

template <class T>
void trmv(const char* uplo, const char* trans, const char* diag, pint n, const T* a, pint lda, T* x, pint incx)
{
    const bool lower = is_letter(uplo, 'L'), transposed = !is_letter(trans, 'N');
    const int team = team_for<T>(*n * *n / 2);
    const vrn_int slices = transposed ? team : slices_for(*n, team), order = *n, unit_stride = 1;
    const T zero{}, one = unity<T>();
    const auto slice = [&](vrn_int first, vrn_int count, T* p) {
        const vrn_int last = first + count - 1;
        if constexpr (is_real<T>) {
            backend(real_names<T>::trmv_slice)(uplo, trans, diag, n, a, lda, x, incx, &first, &last, p);
        } else {
            // By the kernel's own blocks, so that a transposed product has its sums.
            std::fill(p + (lower || transposed ? first : 0), p + (lower && !transposed ? order : last + 1), zero);
            const T* const begin = *incx < 0 ? x + (1 - order) * *incx : x;
            for (vrn_int j = first; j <= last; j += trmv_unit) {
                const vrn_int columns = std::min(trmv_unit, last + 1 - j);
                const beside rows(lower, order, j, columns);
                const T* const own = part_of(x, order, j, columns, *incx);
                const T* const rest = part_of(x, order, rows.from, rows.count, *incx);
                backend(names<T>::gemv)(trans, &rows.count, &columns, &one, a + rows.from + j * *lda, lda,
                                        transposed ? rest : own, incx, &one, transposed ? p + j : p + rows.from,
                                        &unit_stride);
                T block[trmv_unit];
                for (vrn_int i = 0; i < columns; ++i) block[i] = begin[(j + i) * *incx];
                backend(names<T>::trmv)(uplo, trans, diag, &columns, a + j + j * *lda, lda, block, &unit_stride);
                for (vrn_int i = 0; i < columns; ++i) p[j + i] = plus(p[j + i], block[i]);
            }
        }
    };
    const auto store = [&](vrn_int from, vrn_int to, const T* sum) {
        T* const begin = *incx < 0 ? x + (1 - order) * *incx : x;
        for (vrn_int i = from; i < to; ++i) begin[i * *incx] = sum[i];
    };
    if (slices > 1 && in_slices<T>(lower, transposed, order, trmv_unit, slices, team, slice, store)) return;
    backend(names<T>::trmv)(uplo, trans, diag, n, a, lda, x, incx);
}

#define VRN_ANY(T)                                                                                                   \
    template void gemv(const char*, pint, pint, const T*, const T*, pint, const T*, pint, const T*, T*, pint);       \
    template void trmv(const char*, const char*, const char*, pint, const T*, pint, T*, pint);
#define VRN_REAL(T)                                                                                                  \
    VRN_ANY(T)                                                                                                       \
    template void ger(pint, pint, const T*, const T*, pint, const T*, pint, T*, pint);                               \
    template void symv(const char*, pint, const T*, const T*, pint, const T*, pint, const T*, T*, pint);             \
    template void syr(const char*, pint, const T*, const T*, pint, T*, pint);                                        \
    template void syr2(const char*, pint, const T*, const T*, pint, const T*, pint, T*, pint);
#define VRN_COMPLEX(T)                                                                                               \
    VRN_ANY(T)                                                                                                       \
    template void geru(pint, pint, const T*, const T*, pint, const T*, pint, T*, pint);                              \
    template void gerc(pint, pint, const T*, const T*, pint, const T*, pint, T*, pint);                              \
    template void hemv(const char*, pint, const T*, const T*, pint, const T*, pint, const T*, T*, pint);
VRN_REAL(float)
VRN_REAL(double)
VRN_COMPLEX(vrn_complex8)
VRN_COMPLEX(vrn_complex16)

} // namespace vrn::blas
