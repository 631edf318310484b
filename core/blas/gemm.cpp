// core/blas/gemm.cpp - the host's road of a matrix product: which of the back-end's paths serves a size, and the
// division over threads.
//
//     nothing to multiply           scale C
//     m, n, k up to 10              apply beta here, then the unrolled kernels, which only add
//     A as stored, small or thin    the unpacked path, by a record that refuses to pack
//     A transposed, too thin        the entry of one thread, which takes its unpacked path
//     anything else                 packed: one thread in mode 2, several over shared panels in mode 64
//
// The road and the depth blocks depend on the shape alone, and every element of C is one sum over a depth block
// in natural order, so the result has the same bits for any number of threads.
// Goto and van de Geijn (2008), Anatomy of high-performance matrix multiplication; Smith, van de Geijn,
// Smelyanskiy, Hammond and Van Zee (2014), Anatomy of high-performance many-threaded matrix multiplication.

#include "core/blas/gemm.hpp"

#include "blas/gemm/desc.hpp"
#include "blas/gemm/product.hpp"
#include "core/loader/loader.hpp"
#include "core/threads/threads.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <atomic>

namespace vrn::blas {

template <class T>
using gemm_function = void(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,
                           const T*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*);
template <class T>
using gemm_par_function = vrn_int(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,
                                  const T*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*,
                                  std::int32_t, gemm_desc*);
template <class T>
using mscale_function = void(const vrn_int*, const vrn_int*, const T*, T*, const vrn_int*);
using desc_function = void(gemm_desc*);

} // namespace vrn::blas

VRN_KERNEL(vrn_blas_s42_xsgemm, vrn::blas::gemm_function<float>);
VRN_KERNEL(vrn_blas_s42_xdgemm, vrn::blas::gemm_function<double>);
VRN_KERNEL(vrn_blas_s42_xcgemm, vrn::blas::gemm_function<std::complex<float>>);
VRN_KERNEL(vrn_blas_s42_xzgemm, vrn::blas::gemm_function<std::complex<double>>);
VRN_KERNEL(vrn_blas_s42_xsgemm_par, vrn::blas::gemm_par_function<float>);
VRN_KERNEL(vrn_blas_s42_xdgemm_par, vrn::blas::gemm_par_function<double>);
VRN_KERNEL(vrn_blas_s42_xcgemm_par, vrn::blas::gemm_par_function<std::complex<float>>);
VRN_KERNEL(vrn_blas_s42_xzgemm_par, vrn::blas::gemm_par_function<std::complex<double>>);
VRN_KERNEL(vrn_blas_s42_sgemm_mscale, vrn::blas::mscale_function<float>);
VRN_KERNEL(vrn_blas_s42_dgemm_mscale, vrn::blas::mscale_function<double>);
VRN_KERNEL(vrn_blas_s42_cgemm_mscale, vrn::blas::mscale_function<std::complex<float>>);
VRN_KERNEL(vrn_blas_s42_zgemm_mscale, vrn::blas::mscale_function<std::complex<double>>);
VRN_KERNEL(vrn_blas_s42_dgemm_zero_desc, vrn::blas::desc_function);
VRN_KERNEL(vrn_blas_s42_sgemm_get_optimal_kernel, vrn::blas::desc_function);
VRN_KERNEL(vrn_blas_s42_dgemm_get_optimal_kernel, vrn::blas::desc_function);
VRN_KERNEL(vrn_blas_s42_cgemm_get_optimal_kernel, vrn::blas::desc_function);
VRN_KERNEL(vrn_blas_s42_zgemm_get_optimal_kernel, vrn::blas::desc_function);

namespace vrn::blas {
namespace {

using loader::backend;

// The back-end's names by element type.
template <class T>
struct names;
#define VRN_NAMES(t, T)                                                                                              \
    template <>                                                                                                      \
    struct names<T> {                                                                                                \
        static constexpr auto& gemm = vrn_slot_vrn_blas_s42_x##t##gemm;                                              \
        static constexpr auto& gemm_par = vrn_slot_vrn_blas_s42_x##t##gemm_par;                                      \
        static constexpr auto& mscale = vrn_slot_vrn_blas_s42_##t##gemm_mscale;                                      \
        static constexpr auto& get_optimal_kernel = vrn_slot_vrn_blas_s42_##t##gemm_get_optimal_kernel;              \
    }
VRN_NAMES(s, float);
VRN_NAMES(d, double);
VRN_NAMES(c, std::complex<float>);
VRN_NAMES(z, std::complex<double>);
#undef VRN_NAMES

constexpr vrn_int small_limit = 10;           // the unrolled kernels take m, n and k up to this
constexpr std::int32_t mode_both_packed = 64; // of the driver: A and B are given as panels
constexpr std::int32_t mode_one_thread = 2;

// With the rows of A contiguous the unpacked path is faster than packing where A and B lie in the first-level
// cache as they are: measured from n = 11 (1.7 times) to 64 (1.0 to 1.15 times), d and s.
constexpr vrn_int unpacked_limit = 64;
// It is so too where C is thin, since a packed element of the large operand is hardly used. Where that operand is
// read across its columns the depth goes in slices, so that a slice stays in the second-level cache and the
// first-level page table while pairs of columns of C pass over it: 2000 x 4 x 2000 doubles run at 15 GFLOP/s in
// slices of 32, and packed at 7.5; 4 x 2000 x 2000 with B transposed at 15 in slices of 64, and packed at 6.5. With
// B as stored its columns are read along, and the depth stays whole.
constexpr vrn_int thin_limit = 16, slice_of_a = 32, slice_of_b = 64;

// Below this many multiply-adds a second thread does not pay: right at the bound, 100 x 100 x 100, two threads were
// measured 1.4 times as fast as one, and at 200 x 200 x 200 1.9 times.
constexpr double threads_from = 1e6;
template <class T>
constexpr double multiply_adds = std::is_floating_point_v<T> ? 1 : 4; // of reals, in one of T

// Tiles of the threaded product: some four a thread, so that the last ones even the threads out, but not so small
// that a panel of B is met by few rows, nor so large that a tile's rows of A leave the second-level cache.
struct tiling {
    vrn_int rows, columns;
};
// Rows of A that are packed and shared at a time.
constexpr vrn_int shared_rows = 4096;

template <class T>
void scale(const product<T>& p)
{
    if (p.beta != T{1}) backend(names<T>::mscale)(&p.m, &p.n, &p.beta, p.c, &p.ldc);
}

template <class T>
gemm_desc described(const product<T>& p)
{
    gemm_desc desc;
    desc.w_factor = 0;
    backend(vrn_slot_vrn_blas_s42_dgemm_zero_desc)(&desc);
    backend(names<T>::get_optimal_kernel)(&desc);
    desc.get_blks_size(&p.m, &p.n, &p.k, &desc);
    return desc;
}

template <class T>
void one_thread(const product<T>& p, gemm_desc& desc)
{
    backend(names<T>::gemm_par)(p.transa, p.transb, &p.m, &p.n, &p.k, &p.alpha, p.a, &p.lda, p.b, &p.ldb, &p.beta,
                                p.c, &p.ldc, mode_one_thread, &desc);
}

constexpr vrn_int pieces(vrn_int whole, vrn_int piece) { return (whole + piece - 1) / piece; }

// The unpacked path over a part of C, the depth in slices.
template <class T>
void unpacked_slices(product<T> p, vrn_int depth)
{
    // By hand: a path that does not pack needs no more than set blocks and a reason to refuse.
    gemm_desc desc{};
    desc.m_block = desc.n_block = desc.k_block = 1;
    desc.m_min = p.m + 1;
    const vrn_int k = p.k;
    for (vrn_int k0 = 0; k0 < k; k0 += depth) {
        product<T> slice = p;
        slice.k = std::min(depth, k - k0);
        slice.a = p.a_at(0, k0);
        slice.b = p.b_at(k0, 0);
        one_thread(slice, desc);
        p.beta = T{1};
    }
}

// C with few rows or few columns, its long side divided over the threads. An element's sum does not depend on
// where C is cut.
template <class T>
void thin(const product<T>& p, int threads)
{
    const bool few_columns = p.n <= thin_limit;
    const vrn_int length = few_columns ? p.m : p.n, step = pieces(pieces(length, threads), thin_limit) * thin_limit;
    threads::run(threads, [&](int thread, int team) {
        for (vrn_int from = thread * step; from < length; from += team * step) {
            product<T> part = p;
            (few_columns ? part.m : part.n) = std::min(step, length - from);
            part.a = few_columns ? p.a_at(from, 0) : p.a;
            part.b = few_columns ? p.b : p.b_at(0, from);
            part.c = few_columns ? p.c + from : p.c + from * p.ldc;
            unpacked_slices(part, few_columns ? slice_of_a : p.b_normal() ? p.k : slice_of_b);
        }
    });
}

tiling tiles_for(vrn_int m, vrn_int n, int threads)
{
    const vrn_int wanted = 4 * threads;
    const auto side = [](vrn_int whole, vrn_int count, vrn_int multiple, vrn_int least, vrn_int most) {
        return std::clamp(pieces(pieces(whole, count), multiple) * multiple, least, most);
    };
    const vrn_int rows = side(m, wanted, 16, 32, 160);
    return {rows, side(n, pieces(wanted, pieces(m, rows)), 8, 64, 512)};
}

// Runs visit(piece) for the pieces that come this thread's way.
template <class Visit>
void share(std::atomic<vrn_int>& next, vrn_int count, Visit&& visit)
{
    for (vrn_int i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) visit(i);
}

// One depth block of a row and column range of C at a time: all threads pack the shared panels, meet, multiply
// tiles of them in mode 64, and meet again. Which thread computes a tile does not matter to its bits. Returns
// false, with nothing written, when there is a single tile or the shared panels cannot be had.
template <class T>
bool threaded(const product<T>& p, gemm_desc& desc, int threads)
{
    const tiling tiles = tiles_for(p.m, p.n, threads);
    const vrn_int tile_rows = tiles.rows, tile_columns = tiles.columns;
    if (pieces(p.m, tile_rows) * pieces(p.n, tile_columns) == 1) return false;
    const vrn_int m_step = std::min(p.m, shared_rows), n_step = std::min(p.n, desc.n_block);
    gemm_desc shared = desc;
    shared.m_block = m_step;
    void* buffer = nullptr;
    shared.get_bufs_size(request_ab, limit_actual, &p.m, &p.n, &p.k, &shared);
    shared.get_bufs(request_ab, &buffer, &shared);
    if (buffer == nullptr) return false;

    // As in mode 2: a beta of 0 is left to the first depth block.
    product<T> q = p;
    if (q.beta != T{}) {
        scale(q);
        q.beta = T{1};
    }
    T* const a_panels = static_cast<T*>(shared.a_buffer);
    T* const b_panels = static_cast<T*>(shared.b_buffer);
    const vrn_int mr = desc.m_unroll, nr = desc.n_unroll, kr = desc.k_unroll;
    // Three counters a step, so that each is set back while nobody looks at it.
    std::atomic<vrn_int> next_a{0}, next_b{0}, next_tile{0};

    threads::run(threads, [&](int thread, int) {
        gemm_desc own = desc; // the driver writes its work panel there
        for (vrn_int n0 = 0; n0 < q.n; n0 += n_step)
            for (vrn_int k0 = 0; k0 < q.k; k0 += desc.k_block)
                for (vrn_int m0 = 0; m0 < q.m; m0 += m_step) {
                    const vrn_int mb = std::min(q.m - m0, m_step), nb = std::min(q.n - n0, n_step);
                    const vrn_int kb = std::min(q.k - k0, desc.k_block), padded = pieces(kb, kr) * kr;
                    if (m0 == 0)
                        share(next_b, pieces(nb, tile_columns), [&](vrn_int piece) {
                            const vrn_int j = piece * tile_columns, columns = std::min(nb - j, tile_columns);
                            q.copy_b(own)(&kb, &columns, q.b_at(k0, n0 + j), &q.ldb,
                                          b_panels + j / nr * shared.b_panel_elements, &shared.b_panel_elements,
                                          nullptr);
                        });
                    share(next_a, pieces(mb, tile_rows), [&](vrn_int piece) {
                        const vrn_int i = piece * tile_rows, rows = std::min(mb - i, tile_rows);
                        q.copy_a(own)(&rows, &kb, q.a_at(m0 + i, k0), &q.lda,
                                      a_panels + i / mr * shared.a_panel_elements, &shared.a_panel_elements,
                                      &q.alpha);
                    });
                    threads::barrier();
                    if (thread == 0)
                        next_a.store(0, std::memory_order_relaxed), next_b.store(0, std::memory_order_relaxed);
                    const vrn_int row_tiles = pieces(mb, tile_rows);
                    const T one{1}, beta = k0 == 0 ? q.beta : one;
                    share(next_tile, row_tiles * pieces(nb, tile_columns), [&](vrn_int tile) {
                        const vrn_int i = tile % row_tiles * tile_rows, j = tile / row_tiles * tile_columns;
                        const vrn_int rows = std::min(mb - i, tile_rows), columns = std::min(nb - j, tile_columns);
                        backend(names<T>::gemm_par)(
                            q.transa, q.transb, &rows, &columns, &padded, &one,
                            a_panels + i / mr * shared.a_panel_elements, &shared.a_panel_elements,
                            b_panels + j / nr * shared.b_panel_elements, &shared.b_panel_elements, &beta,
                            q.c + m0 + i + (n0 + j) * q.ldc, &q.ldc, mode_both_packed, &own);
                    });
                    threads::barrier();
                    if (thread == 0) next_tile.store(0, std::memory_order_relaxed);
                }
    });
    vrn_serv_deallocate(buffer);
    return true;
}

} // namespace

template <class T>
void gemm_road(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n, const vrn_int* k,
               const T* alpha, const T* a, const vrn_int* lda, const T* b, const vrn_int* ldb, const T* beta, T* c,
               const vrn_int* ldc)
{
    const product<T> p{transa, transb, *m, *n, *k, *alpha, a, *lda, b, *ldb, *beta, c, *ldc};
    if (p.m == 0 || p.n == 0) return;
    if (p.alpha == T{} || p.k == 0) return scale(p);
    if (p.m <= small_limit && p.n <= small_limit && p.k <= small_limit) {
        scale(p);
        const T one{1};
        return backend(names<T>::gemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, &one, c, ldc);
    }
    const double work = multiply_adds<T> * static_cast<double>(p.m) * static_cast<double>(p.n) * static_cast<double>(p.k);
    const int threads = work >= threads_from ? threads::available() : 1;
    if (p.a_normal()) {
        if (p.m <= thin_limit || p.n <= thin_limit) return thin(p, threads);
        if (p.m <= unpacked_limit && p.n <= unpacked_limit && p.k <= unpacked_limit) return unpacked_slices(p, p.k);
    }
    gemm_desc desc = described(p);
    if (p.m < desc.m_min || p.n < desc.n_min || p.k < desc.k_min)
        return backend(names<T>::gemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    if (threads > 1 && threaded(p, desc, threads)) return;
    one_thread(p, desc);
}

#define VRN_ROAD(T)                                                                                                  \
    template void gemm_road(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,      \
                            const T*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*)
VRN_ROAD(float);
VRN_ROAD(double);
VRN_ROAD(std::complex<float>);
VRN_ROAD(std::complex<double>);

} // namespace vrn::blas
