// blas/level3/engine.hpp - the matrix product as the level-3 drivers use it: by the exported names of its family, so
// that nothing here knows a packed layout.
//
//     multiply    the entry of one thread, or its path without buffers where that is faster
//     record      a kernel description with set blocks and one set of buffers for a whole call
//     update      C := C + alpha op(A) op(B) through those buffers, allocating nothing
//
// Every element is a sum over depth blocks in natural order, so a driver may cut rows and columns as it likes.
#pragma once

#include "blas/gemm/desc.hpp"
#include "blas/gemm/functions.hpp"
#include "blas/gemm/product.hpp"
#include "blas/level3/tables.hpp"
#include "frame/services.hpp"
#include "simd/complex.hpp"

#include <cstdint>
#include <limits>
#include <type_traits>

namespace vrn::blas::level3 {

using simd::cplx;
using simd::real_of;

template <class E>
using entry_function = void(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const E*,
                            const E*, const vrn_int*, const E*, const vrn_int*, const E*, E*, const vrn_int*);
template <class E>
using par_function = vrn_int(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const E*,
                             const E*, const vrn_int*, const E*, const vrn_int*, const E*, E*, const vrn_int*,
                             std::int32_t, gemm_desc*);
template <class E>
using mscale_function = void(const vrn_int*, const vrn_int*, const E*, E*, const vrn_int*);
template <class E>
using axpy_function = void(const vrn_int*, const E*, const E*, const vrn_int*, E*, const vrn_int*);

} // namespace vrn::blas::level3

#pragma GCC visibility push(default)
extern "C" {
vrn::blas::level3::entry_function<float> vrn_blas_s42_xsgemm;
vrn::blas::level3::entry_function<double> vrn_blas_s42_xdgemm;
vrn::blas::level3::entry_function<vrn::simd::cplx<float>> vrn_blas_s42_xcgemm;
vrn::blas::level3::entry_function<vrn::simd::cplx<double>> vrn_blas_s42_xzgemm;
vrn::blas::level3::par_function<float> vrn_blas_s42_xsgemm_par;
vrn::blas::level3::par_function<double> vrn_blas_s42_xdgemm_par;
vrn::blas::level3::par_function<vrn::simd::cplx<float>> vrn_blas_s42_xcgemm_par;
vrn::blas::level3::par_function<vrn::simd::cplx<double>> vrn_blas_s42_xzgemm_par;
vrn::blas::level3::mscale_function<float> vrn_blas_s42_sgemm_mscale;
vrn::blas::level3::mscale_function<double> vrn_blas_s42_dgemm_mscale;
vrn::blas::level3::mscale_function<vrn::simd::cplx<float>> vrn_blas_s42_cgemm_mscale;
vrn::blas::level3::mscale_function<vrn::simd::cplx<double>> vrn_blas_s42_zgemm_mscale;
vrn::blas::level3::axpy_function<float> vrn_blas_s42_xsaxpy;
vrn::blas::level3::axpy_function<double> vrn_blas_s42_xdaxpy;
vrn::blas::level3::axpy_function<vrn::simd::cplx<float>> vrn_blas_s42_xcaxpy;
vrn::blas::level3::axpy_function<vrn::simd::cplx<double>> vrn_blas_s42_xzaxpy;
void vrn_blas_s42_dgemm_zero_desc(vrn::blas::gemm_desc*);
void vrn_blas_s42_dgemm_set_blks_size(std::int64_t, std::int64_t, std::int64_t, vrn::blas::gemm_desc*);
void vrn_blas_s42_sgemm_get_optimal_kernel(vrn::blas::gemm_desc*);
void vrn_blas_s42_dgemm_get_optimal_kernel(vrn::blas::gemm_desc*);
void vrn_blas_s42_cgemm_get_optimal_kernel(vrn::blas::gemm_desc*);
void vrn_blas_s42_zgemm_get_optimal_kernel(vrn::blas::gemm_desc*);
}
#pragma GCC visibility pop

namespace vrn::blas::level3 {

// The names of one element type, and the routine names that a failed allocation is reported under.
template <class E>
struct engine;
#define VRN_ENGINE(E, t, T)                                                                                          \
    template <>                                                                                                      \
    struct engine<E> {                                                                                               \
        static constexpr auto gemm = vrn_blas_s42_x##t##gemm;                                                        \
        static constexpr auto par = vrn_blas_s42_x##t##gemm_par;                                                     \
        static constexpr auto mscale = vrn_blas_s42_##t##gemm_mscale;                                                \
        static constexpr auto axpy = vrn_blas_s42_x##t##axpy;                                                        \
        static constexpr auto get_optimal_kernel = vrn_blas_s42_##t##gemm_get_optimal_kernel;                        \
        static constexpr const char *trsm = #T "TRSM", *syrk = #T "SYRK", *herk = #T "HERK", *syr2k = #T "SYR2K",    \
                                    *her2k = #T "HER2K", *symm = #T "SYMM", *hemm = #T "HEMM", *gemmt = #T "GEMMT";  \
    };
VRN_ENGINE(float, s, S)
VRN_ENGINE(double, d, D)
VRN_ENGINE(cplx<float>, c, C)
VRN_ENGINE(cplx<double>, z, Z)
#undef VRN_ENGINE

template <class E>
inline constexpr bool is_complex = simd::element<E>::parts == 2;
template <class E>
inline constexpr E one = simd::unity<E>;
template <class E>
inline constexpr E minus_one = -1;
template <class R>
inline constexpr cplx<R> minus_one<cplx<R>> = {-1, 0};

template <class E>
E conjugate(E x)
{
    if constexpr (is_complex<E>) return conj(x);
    else return x;
}

// A factor that may be real where the elements are complex.
template <class E, class F>
E widened(F x)
{
    if constexpr (std::is_same_v<E, F>) return x;
    else return {x, 0};
}

// Bit 5 tells the cases of a letter apart.
inline bool is_letter(const char* option, char letter) { return (*option & ~0x20) == letter; }

inline bool have(const void* buffer, const char* routine)
{
    std::int64_t length = 0;
    while (routine[length] != 0) ++length;
    return vrn_serv_check_ptr_and_warn(buffer, routine, length) == 0;
}

// A buffer of one call.
class scratch {
  public:
    scratch(std::uint64_t bytes, std::int32_t alignment) : block_(vrn_serv_allocate(bytes, alignment)) {}
    ~scratch()
    {
        if (block_ != nullptr) vrn_serv_deallocate(block_);
    }
    scratch(const scratch&) = delete;
    scratch& operator=(const scratch&) = delete;
    void* get() const { return block_; }

  private:
    void* block_;
};

// C (m by n) := alpha op(A) op(B) + beta C, k deep, its operands in groups.
struct extent {
    vrn_int m, n, k;
};
template <class E>
struct operand {
    const char* trans;
    const E* p;
    vrn_int ld;
};
template <class E>
product<E> product_of(extent size, E alpha, operand<E> a, operand<E> b, E beta, E* c, vrn_int ldc)
{
    return {a.trans, b.trans, size.m, size.n, size.k, alpha, a.p, a.ld, b.p, b.ld, beta, c, ldc};
}

template <class E>
void scale(vrn_int m, vrn_int n, E beta, E* c, vrn_int ldc)
{
    const bool changes = !(beta == one<E>);
    if (changes && m > 0 && n > 0) engine<E>::mscale(&m, &n, &beta, c, &ldc);
}

// By a record that refuses to pack.
template <class E>
void multiply_unpacked(const product<E>& p)
{
    gemm_desc d;
    d.m_block = d.n_block = d.k_block = 1;
    d.m_min = std::numeric_limits<vrn_int>::max();
    engine<E>::par(p.transa, p.transb, &p.m, &p.n, &p.k, &p.alpha, p.a, &p.lda, p.b, &p.ldb, &p.beta, p.c, &p.ldc, 2,
                   &d);
}

// With the rows of A contiguous and all operands in the first-level cache, packing costs more than it saves: measured
// 1.8 times at 12, 1.1 to 1.2 at 32, even at 48 (d, s), even at 32 to 48 (z), even at 16 (c).
template <class E>
inline constexpr vrn_int unpacked_limit = 48;
template <>
inline constexpr vrn_int unpacked_limit<cplx<float>> = 12;
template <class E>
bool prefers_unpacked(const product<E>& p)
{
    constexpr vrn_int limit = unpacked_limit<E>;
    return p.a_normal() && p.m <= limit && p.n <= limit && p.k <= limit;
}

// The unrolled kernels of the entry take products up to this, but they only add.
inline constexpr vrn_int tiny_limit = 10;

template <class E>
void multiply(product<E> p)
{
    if (p.m < 1 || p.n < 1) return;
    if (p.k > 0 && !(p.alpha == E{})) {
        if (p.m <= tiny_limit && p.n <= tiny_limit && p.k <= tiny_limit) {
            scale(p.m, p.n, p.beta, p.c, p.ldc);
            p.beta = one<E>;
        } else if (prefers_unpacked(p)) {
            return multiply_unpacked(p);
        }
    }
    engine<E>::gemm(p.transa, p.transb, &p.m, &p.n, &p.k, &p.alpha, p.a, &p.lda, p.b, &p.ldb, &p.beta, p.c, &p.ldc);
}

template <class E>
class record {
  public:
    record()
    {
        desc.w_factor = 0;
        vrn_blas_s42_dgemm_zero_desc(&desc);
        engine<E>::get_optimal_kernel(&desc);
    }
    explicit record(const blocks& b) : record() { vrn_blas_s42_dgemm_set_blks_size(b.m, b.n, b.k, &desc); }
    ~record()
    {
        if (buffer != nullptr) vrn_serv_deallocate(buffer);
    }
    record(const record&) = delete;
    record& operator=(const record&) = delete;

    // One allocation for the regions; the caller looks at `buffer`.
    void allocate(std::int32_t request, std::int32_t limit, vrn_int m = 0, vrn_int n = 0, vrn_int k = 0)
    {
        desc.get_bufs_size(request, limit, &m, &n, &k, &desc);
        desc.get_bufs(request, &buffer, &desc);
    }

    vrn_int padded(vrn_int depth) const { return (depth + desc.k_unroll - 1) / desc.k_unroll * desc.k_unroll; }

    // Packs op(A), m by k, times alpha; panels follow each other without a gap, since those of a shallow product at
    // the distance of full ones would all meet in the same cache sets.
    void pack_a(const char* trans, vrn_int m, vrn_int k, E alpha, const E* a, vrn_int lda, E* to) const
    {
        const vrn_int distance = desc.m_unroll * padded(k);
        (is_letter(trans, 'N')   ? desc.copyan
         : is_letter(trans, 'C') ? desc.copyac
                                 : desc.copyat)(&m, &k, a, &lda, to, &distance, &alpha);
    }
    void pack_b(const char* trans, vrn_int k, vrn_int n, const E* b, vrn_int ldb, E* to) const
    {
        const vrn_int distance = desc.n_unroll * padded(k);
        (is_letter(trans, 'N')   ? desc.copybn
         : is_letter(trans, 'C') ? desc.copybc
                                 : desc.copybt)(&k, &n, b, &ldb, to, &distance, nullptr);
    }
    // C := beta C + A B from packed panels of depth k; beta is 0 or 1.
    void kernel(vrn_int m, vrn_int n, vrn_int k, const E* a, const E* b, E beta, E* c, vrn_int ldc) const
    {
        const vrn_int depth = padded(k), a_distance = desc.m_unroll * depth, b_distance = desc.n_unroll * depth;
        const E alpha = one<E>;
        desc.kernel("N", "N", &m, &n, &depth, &alpha, a, &a_distance, b, &b_distance, &beta, c, &ldc, desc.w_buffer,
                    2);
    }
    E* a_panels() const { return static_cast<E*>(desc.a_buffer); }
    E* b_panels() const { return static_cast<E*>(desc.b_buffer); }

    gemm_desc desc;
    void* buffer = nullptr;
};

// C := C + alpha op(A) op(B).
template <class E>
void update(const record<E>& r, product<E> p)
{
    if (p.m < 1 || p.n < 1 || p.k < 1) return;
    const gemm_desc& d = r.desc;
    p.beta = one<E>;
    if (p.m < d.m_min || p.n < d.n_min || p.k < d.k_min || prefers_unpacked(p)) return multiply_unpacked(p);
    for (vrn_int n0 = 0; n0 < p.n; n0 += d.n_block) {
        const vrn_int nb = least(p.n - n0, d.n_block);
        for (vrn_int k0 = 0; k0 < p.k; k0 += d.k_block) {
            const vrn_int kb = least(p.k - k0, d.k_block);
            r.pack_b(p.transb, kb, nb, p.b_at(k0, n0), p.ldb, r.b_panels());
            for (vrn_int m0 = 0; m0 < p.m; m0 += d.m_block) {
                const vrn_int mb = least(p.m - m0, d.m_block);
                r.pack_a(p.transa, mb, kb, p.alpha, p.a_at(m0, k0), p.lda, r.a_panels());
                r.kernel(mb, nb, kb, r.a_panels(), r.b_panels(), one<E>, p.c_at(m0, n0), p.ldc);
            }
        }
    }
}

} // namespace vrn::blas::level3
