// core/blas/level3.cpp - triangular and symmetric level 3 over threads.
//
//     trsm trmm symm hemm                  columns (left) or rows (right) of B and C, which do not know each other
//     syrk herk syr2k her2k gemmt          strips of C's triangle: squares on the diagonal by the same kernel,
//                                          the rectangle beside each by the matrix product
//
// Each element comes out with the bits that one thread gives: pieces are cut where the kernels may be cut (their sums
// do not know rows and columns; SYR2K between its blocks of 128, GEMMT where its recursion halves), and are never so
// small that the matrix product would take another path.

#include "core/blas/level3.hpp"

#include "core/loader/loader.hpp"
#include "core/threads/threads.hpp"
#include "vrn/blas.h"

#include <algorithm>
#include <atomic>
#include <type_traits>

namespace vrn::blas {
namespace {

// Signatures by what varies: V are the values alpha and beta point to.
using P = const char*;
using I = const vrn_int*;
template <class T>
using triangular_kernel = void(P, P, P, P, I, I, const T*, const T*, I, T*, I);
template <class T>
using symmetric_kernel = void(P, P, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);
template <class T, class V>
using rank_kernel = void(P, P, I, I, const V*, const T*, I, const V*, T*, I);
template <class T, class V>
using rank_2_kernel = void(P, P, I, I, const T*, const T*, I, const T*, I, const V*, T*, I);
template <class T>
using gemm_kernel = void(P, P, I, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);
template <class T>
using mscale_kernel = void(I, I, const T*, T*, I);
template <class T>
using gemmt_kernel = void(P, P, P, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);

} // namespace
} // namespace vrn::blas

#define VRN_SLOTS(t, T)                                                                                              \
    VRN_KERNEL(vrn_blas_s42_x##t##trsm, vrn::blas::triangular_kernel<T>);                                            \
    VRN_KERNEL(vrn_blas_s42_x##t##trmm, vrn::blas::triangular_kernel<T>);                                            \
    VRN_KERNEL(vrn_blas_s42_x##t##symm, vrn::blas::symmetric_kernel<T>);                                             \
    VRN_KERNEL(vrn_blas_s42_x##t##syrk, vrn::blas::rank_kernel<T, T>);                                               \
    VRN_KERNEL(vrn_blas_s42_x##t##syr2k, vrn::blas::rank_2_kernel<T, T>);                                            \
    VRN_KERNEL(vrn_blas_s42_x##t##gemmt, vrn::blas::gemmt_kernel<T>);                                                \
    VRN_KERNEL(vrn_blas_s42_##t##gemm_mscale, vrn::blas::mscale_kernel<T>);                                          \
    VRN_KERNEL(vrn_blas_s42_x##t##gemm, vrn::blas::gemm_kernel<T>)
#define VRN_HERMITIAN_SLOTS(t, T, R)                                                                                 \
    VRN_KERNEL(vrn_blas_s42_x##t##hemm, vrn::blas::symmetric_kernel<T>);                                             \
    VRN_KERNEL(vrn_blas_s42_x##t##herk, vrn::blas::rank_kernel<T, R>);                                               \
    VRN_KERNEL(vrn_blas_s42_x##t##her2k, vrn::blas::rank_2_kernel<T, R>)
VRN_SLOTS(s, float);
VRN_SLOTS(d, double);
VRN_SLOTS(c, vrn_complex8);
VRN_SLOTS(z, vrn_complex16);
VRN_HERMITIAN_SLOTS(c, vrn_complex8, float);
VRN_HERMITIAN_SLOTS(z, vrn_complex16, double);

namespace vrn::blas {
namespace {

using loader::backend;

template <class T>
struct names;
#define VRN_NAMES(t)                                                                                                 \
    static constexpr auto &trsm = vrn_slot_vrn_blas_s42_x##t##trsm, &trmm = vrn_slot_vrn_blas_s42_x##t##trmm;        \
    static constexpr auto& symm = vrn_slot_vrn_blas_s42_x##t##symm;                                                  \
    static constexpr auto& syrk = vrn_slot_vrn_blas_s42_x##t##syrk;                                                  \
    static constexpr auto& syr2k = vrn_slot_vrn_blas_s42_x##t##syr2k;                                                \
    static constexpr auto& gemmt = vrn_slot_vrn_blas_s42_x##t##gemmt;                                                \
    static constexpr auto& mscale = vrn_slot_vrn_blas_s42_##t##gemm_mscale;                                          \
    static constexpr auto& gemm = vrn_slot_vrn_blas_s42_x##t##gemm;
#define VRN_HERMITIAN_NAMES(t)                                                                                       \
    static constexpr auto& hemm = vrn_slot_vrn_blas_s42_x##t##hemm;                                                  \
    static constexpr auto& herk = vrn_slot_vrn_blas_s42_x##t##herk;                                                  \
    static constexpr auto& her2k = vrn_slot_vrn_blas_s42_x##t##her2k;
template <>
struct names<float> {
    VRN_NAMES(s)
};
template <>
struct names<double> {
    VRN_NAMES(d)
};
template <>
struct names<vrn_complex8> {
    VRN_NAMES(c)
    VRN_HERMITIAN_NAMES(c)
};
template <>
struct names<vrn_complex16> {
    VRN_NAMES(z)
    VRN_HERMITIAN_NAMES(z)
};

// Pieces below this many rows or columns could fall under a bound of the kernels' paths without buffers (48 and
// less), and would pack too much for what they multiply.
constexpr vrn_int least_piece = 64;
// Sums this shallow take the path without buffers off the diagonal and not on it.
constexpr vrn_int least_depth = 4;
// Below this many multiply-adds a second thread does not pay.
constexpr double threads_from = 1e6;
template <class T>
constexpr double multiply_adds = std::is_floating_point_v<T> ? 1 : 4; // of reals, in one of T

bool is_letter(const char* option, char letter) { return (*option & ~0x20) == letter; }
constexpr vrn_int pieces(vrn_int whole, vrn_int piece) { return (whole + piece - 1) / piece; }

template <class T>
int threads_for(vrn_int m, vrn_int n, vrn_int k)
{
    const double work = multiply_adds<T> * static_cast<double>(m) * static_cast<double>(n) * static_cast<double>(k);
    return work >= threads_from ? threads::available() : 1;
}

// Runs visit(from, count) for pieces of `items`, a multiple of 8 but for the last.
template <class Visit>
void over_items(int threads, vrn_int items, Visit&& visit)
{
    threads = static_cast<int>(std::min<vrn_int>(threads, items / least_piece));
    if (threads <= 1) return visit(vrn_int{0}, items);
    const vrn_int step = pieces(pieces(items, threads), 8) * 8;
    threads::run(threads, [&](int thread, int team) {
        for (vrn_int from = thread * step; from < items; from += team * step)
            visit(from, std::min(step, items - from));
    });
}

// C's triangle in `count` strips, strip j from bound(j) on. Largest pieces first: what a strip shares with all behind
// it, in falling size, then the squares on the diagonal.
template <class Bound, class Square, class Beside>
void over_strips(int threads, vrn_int count, Bound&& bound, Square&& square, Beside&& beside)
{
    std::atomic<vrn_int> next{0};
    threads::run(threads, [&](int, int) {
        for (vrn_int i; (i = next.fetch_add(1, std::memory_order_relaxed)) < 2 * count - 1;) {
            if (i < count - 1) beside(bound(i), bound(i + 1));
            else square(bound(i - count + 1), bound(i - count + 2));
        }
    });
}

// Two strips a thread even out, as far as no strip is shorter than `shortest`.
vrn_int strips_for(int threads, vrn_int n, vrn_int shortest) { return std::min<vrn_int>(2 * threads, n / shortest); }

// Element (i, depth 0) of op(X), n by k.
template <class T>
const T* row(bool normal, const T* x, vrn_int ldx, vrn_int i)
{
    return normal ? x + i : x + i * ldx;
}

template <class T>
void triangular(loader::slot<triangular_kernel<T>>& kernel, P side, P uplo, P transa, P diag, I m, I n,
                const T* alpha, const T* a, I lda, T* b, I ldb)
{
    const bool left = is_letter(side, 'L');
    const vrn_int order = left ? *m : *n, items = left ? *n : *m;
    over_items(threads_for<T>(order, order, items), items, [&](vrn_int from, vrn_int count) {
        backend(kernel)(side, uplo, transa, diag, left ? m : &count, left ? &count : n, alpha, a, lda,
                        left ? b + from * *ldb : b + from, ldb);
    });
}

template <class T>
void symmetric(loader::slot<symmetric_kernel<T>>& kernel, P side, P uplo, I m, I n, const T* alpha, const T* a, I lda,
               const T* b, I ldb, const T* beta, T* c, I ldc)
{
    const bool left = is_letter(side, 'L');
    const vrn_int order = left ? *m : *n, items = left ? *n : *m;
    over_items(threads_for<T>(order, order, items), items, [&](vrn_int from, vrn_int count) {
        backend(kernel)(side, uplo, left ? m : &count, left ? &count : n, alpha, a, lda,
                        left ? b + from * *ldb : b + from, ldb, beta, left ? c + from * *ldc : c + from, ldc);
    });
}

template <class T>
auto real_part(T x)
{
    if constexpr (std::is_floating_point_v<T>) return x;
    else return x.real;
}
template <class T>
using real = decltype(real_part(T{}));
template <class V, class T>
T widened(V x)
{
    if constexpr (std::is_same_v<V, T>) return x;
    else return {x, 0};
}
template <class T>
T conjugate(T x)
{
    if constexpr (!std::is_floating_point_v<T>) x.imag = -x.imag;
    return x;
}
template <class T>
bool is_zero(T x)
{
    if constexpr (std::is_floating_point_v<T>) return x == 0;
    else return x.real == 0 && x.imag == 0;
}
bool operator==(vrn_complex8 x, vrn_complex8 y) { return x.real == y.real && x.imag == y.imag; }
bool operator==(vrn_complex16 x, vrn_complex16 y) { return x.real == y.real && x.imag == y.imag; }

// The operands of an update of one triangle, for its strips.
template <class T>
struct update_of {
    bool upper, normal;
    const char* mirror; // the letter of the transposed side
    vrn_int n, k, lda, ldb;
    const T *a, *b;
    T* c;
    vrn_int ldc;

    T* square(vrn_int from) const { return c + from * (ldc + 1); }
    const T* a_row(vrn_int i) const { return row(normal, a, lda, i); }
    const T* b_row(vrn_int i) const { return row(normal, b, ldb, i); }
    // The rectangle of strip [from, to).
    struct rectangle {
        vrn_int i, j, rows, columns;
    };
    rectangle beside(vrn_int from, vrn_int to) const
    {
        const vrn_int width = to - from, rest = n - to;
        return upper ? rectangle{from, to, width, rest} : rectangle{to, from, rest, width};
    }
    // Times beta: of a Hermitian matrix as reals, as the kernels do.
    template <class V>
    void scale(const rectangle& r, V beta) const
    {
        if (beta == widened<real<V>, V>(1)) return;
        constexpr vrn_int parts = sizeof(T) / sizeof(V);
        const vrn_int rows = parts * r.rows, ld = parts * ldc;
        backend(names<V>::mscale)(&rows, &r.columns, &beta, reinterpret_cast<V*>(c + r.i + r.j * ldc), &ld);
    }
    // += alpha op(A) op(B)', or with A and B exchanged.
    void add(const rectangle& r, bool exchanged, T alpha) const
    {
        const T one = widened<real<T>, T>(1);
        backend(names<T>::gemm)(normal ? "N" : mirror, normal ? mirror : "N", &r.rows, &r.columns, &k, &alpha,
                                exchanged ? b_row(r.i) : a_row(r.i), exchanged ? &ldb : &lda,
                                exchanged ? a_row(r.j) : b_row(r.j), exchanged ? &lda : &ldb, &one,
                                c + r.i + r.j * ldc, &ldc);
    }
};

template <class T, class V>
void rank_update(loader::slot<rank_kernel<T, V>>& kernel, const char* mirror, P uplo, P trans, I n, I k,
                 const V* alpha, const T* a, I lda, const V* beta, T* c, I ldc)
{
    const int threads = *k < least_depth || is_zero(*alpha) ? 1 : threads_for<T>(*n, *n, *k);
    const vrn_int count = strips_for(threads, *n, least_piece);
    if (threads <= 1 || count <= 1) return backend(kernel)(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
    const update_of<T> u{is_letter(uplo, 'U'), is_letter(trans, 'N'), mirror, *n, *k, *lda, *lda, a, a, c, *ldc};
    over_strips(
        threads, count, [&](vrn_int i) { return i == count ? u.n : i * u.n / count / 8 * 8; },
        [&](vrn_int from, vrn_int to) {
            const vrn_int order = to - from;
            backend(kernel)(uplo, trans, &order, k, alpha, u.a_row(from), lda, beta, u.square(from), ldc);
        },
        [&](vrn_int from, vrn_int to) {
            const auto r = u.beside(from, to);
            u.scale(r, *beta);
            u.add(r, false, widened<V, T>(*alpha));
        });
}

template <class T, class V>
void rank_2_update(loader::slot<rank_2_kernel<T, V>>& kernel, const char* mirror, P uplo, P trans, I n, I k,
                   const T* alpha, const T* a, I lda, const T* b, I ldb, const V* beta, T* c, I ldc)
{
    // The kernel's blocks: their squares are summed otherwise than what lies beside them.
    constexpr vrn_int block = 128;
    const int threads = *k < 1 || is_zero(*alpha) ? 1 : threads_for<T>(*n, *n, *k);
    const vrn_int count = strips_for(threads, *n, block);
    if (threads <= 1 || count <= 1) return backend(kernel)(uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    const update_of<T> u{is_letter(uplo, 'U'), is_letter(trans, 'N'), mirror, *n, *k, *lda, *ldb, a, b, c, *ldc};
    over_strips(
        threads, count, [&](vrn_int i) { return i == count ? u.n : i * u.n / count / block * block; },
        [&](vrn_int from, vrn_int to) {
            const vrn_int order = to - from;
            backend(kernel)(uplo, trans, &order, k, alpha, u.a_row(from), lda, u.b_row(from), ldb, beta,
                            u.square(from), ldc);
        },
        [&](vrn_int from, vrn_int to) {
            const auto r = u.beside(from, to);
            u.scale(r, *beta);
            u.add(r, false, *alpha);
            u.add(r, true, *mirror == 'C' ? conjugate(*alpha) : *alpha);
        });
}

} // namespace

template <class T>
void trsm(P side, P uplo, P transa, P diag, I m, I n, const T* alpha, const T* a, I lda, T* b, I ldb)
{
    triangular(names<T>::trsm, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
template <class T>
void trmm(P side, P uplo, P transa, P diag, I m, I n, const T* alpha, const T* a, I lda, T* b, I ldb)
{
    triangular(names<T>::trmm, side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);
}
template <class T>
void symm(P side, P uplo, I m, I n, const T* alpha, const T* a, I lda, const T* b, I ldb, const T* beta, T* c, I ldc)
{
    symmetric(names<T>::symm, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <class T>
void hemm(P side, P uplo, I m, I n, const T* alpha, const T* a, I lda, const T* b, I ldb, const T* beta, T* c, I ldc)
{
    symmetric(names<T>::hemm, side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <class T>
void syrk(P uplo, P trans, I n, I k, const T* alpha, const T* a, I lda, const T* beta, T* c, I ldc)
{
    rank_update(names<T>::syrk, "T", uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
template <class T, class R>
void herk(P uplo, P trans, I n, I k, const R* alpha, const T* a, I lda, const R* beta, T* c, I ldc)
{
    rank_update(names<T>::herk, "C", uplo, trans, n, k, alpha, a, lda, beta, c, ldc);
}
template <class T>
void syr2k(P uplo, P trans, I n, I k, const T* alpha, const T* a, I lda, const T* b, I ldb, const T* beta, T* c,
           I ldc)
{
    rank_2_update(names<T>::syr2k, "T", uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
template <class T, class R>
void her2k(P uplo, P trans, I n, I k, const T* alpha, const T* a, I lda, const T* b, I ldb, const R* beta, T* c,
           I ldc)
{
    rank_2_update(names<T>::her2k, "C", uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

template <class T>
void gemmt(P uplo, P transa, P transb, I n, I k, const T* alpha, const T* a, I lda, const T* b, I ldb, const T* beta,
           T* c, I ldc)
{
    const int threads = *k < 1 || is_zero(*alpha) ? 1 : threads_for<T>(*n, *n, *k);
    // As often as the recursion halves: strips end where its halves do.
    vrn_int count = 1;
    while (count < 2 * threads && *n / (4 * count) >= least_piece) count *= 2;
    if (threads <= 1 || count <= 1)
        return backend(names<T>::gemmt)(uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    const bool upper = is_letter(uplo, 'U'), a_normal = is_letter(transa, 'N'), b_normal = is_letter(transb, 'N');
    const auto bound = [&](vrn_int i) {
        vrn_int from = 0, order = *n, parts = count;
        while (parts > 1) {
            const vrn_int half = (order + 1) / 2;
            parts /= 2;
            const bool behind = i >= parts;
            if (behind) from += half, i -= parts;
            order = behind ? order - half : half;
        }
        return i == 0 ? from : from + order;
    };
    const auto b_column = [&](vrn_int j) { return row(!b_normal, b, *ldb, j); };
    over_strips(
        threads, count, bound,
        [&](vrn_int from, vrn_int to) {
            const vrn_int order = to - from;
            backend(names<T>::gemmt)(uplo, transa, transb, &order, k, alpha, row(a_normal, a, *lda, from), lda,
                                     b_column(from), ldb, beta, c + from * (*ldc + 1), ldc);
        },
        [&](vrn_int from, vrn_int to) {
            const vrn_int width = to - from, rest = *n - to, i = upper ? from : to, j = upper ? to : from;
            backend(names<T>::gemm)(transa, transb, upper ? &width : &rest, upper ? &rest : &width, k, alpha,
                                    row(a_normal, a, *lda, i), lda, b_column(j), ldb, beta, c + i + j * *ldc, ldc);
        });
}

#define VRN_TYPE(T)                                                                                                  \
    template void trsm(P, P, P, P, I, I, const T*, const T*, I, T*, I);                                              \
    template void trmm(P, P, P, P, I, I, const T*, const T*, I, T*, I);                                              \
    template void symm(P, P, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);                             \
    template void syrk(P, P, I, I, const T*, const T*, I, const T*, T*, I);                                          \
    template void syr2k(P, P, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);                            \
    template void gemmt(P, P, P, I, I, const T*, const T*, I, const T*, I, const T*, T*, I)
#define VRN_HERMITIAN_TYPE(T, R)                                                                                     \
    template void hemm(P, P, I, I, const T*, const T*, I, const T*, I, const T*, T*, I);                             \
    template void herk(P, P, I, I, const R*, const T*, I, const R*, T*, I);                                          \
    template void her2k(P, P, I, I, const T*, const T*, I, const T*, I, const R*, T*, I)
VRN_TYPE(float);
VRN_TYPE(double);
VRN_TYPE(vrn_complex8);
VRN_TYPE(vrn_complex16);
VRN_HERMITIAN_TYPE(vrn_complex8, float);
VRN_HERMITIAN_TYPE(vrn_complex16, double);

} // namespace vrn::blas
