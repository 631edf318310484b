// blas/gemm/desc.cpp - the operations that fill a gemm_desc: tables, block sizes, buffer sizes, buffers.
//
// A record lives on the stack of one call: zero_desc, get_optimal_kernel or get_kernel, get_blks_size or
// set_blks_size, get_bufs_size, get_bufs, work, free_bufs. Nothing survives it; the cache facts are asked for
// anew each time.

#include "blas/gemm/desc.hpp"

#include "blas/gemm/functions.hpp"
#include "blas/gemm/tables.hpp"
#include "frame/export.hpp"
#include "frame/services.hpp"

using namespace vrn::blas;

namespace {

// k_block. Not below 128: a shallower block pays for its tile stores. Between one and two full blocks of the
// real types the depth is halved, so that the second block is not a sliver.
template <class T>
vrn_int depth_block(vrn_int k)
{
    constexpr vrn_int kr = gemm_tile<T>.kr;
    constexpr bool real = vrn::simd::element<T>::parts == 1;
    if (k < 256) return round_up(k, kr) < 128 ? 128 : round_up(k, kr);
    if constexpr (real) return k >= 257 && k <= 511 ? round_up(k / 2, kr) : 256;
    return k <= 1024 ? 128 : 256;
}

// m_block follows the cache alone, so it can exceed the matrix.
template <class T>
vrn_int row_block()
{
    std::int32_t cache[6];
    vrn_serv_cache_info(cache);
    const bool large = cache[0] == 0 || cache[3] > large_cache_bytes;
    return large ? gemm_blocking<T>.m_large : gemm_blocking<T>.m_small;
}

template <class T>
vrn_int column_block(vrn_int n)
{
    constexpr vrn_int nr = gemm_tile<T>.nr, cap = gemm_blocking<T>.n_cap;
    const vrn_int wanted = n < nr ? nr : n;
    return round_up(wanted < cap ? wanted : cap, nr);
}

template <class T>
void get_blks_size(const vrn_int* n, const vrn_int* k, gemm_desc* desc)
{
    if (desc->k_block == 0) desc->k_block = depth_block<T>(*k);
    if (desc->m_block == 0) desc->m_block = row_block<T>();
    if (desc->n_block == 0) desc->n_block = column_block<T>(*n);
}

struct regions {
    bool a, w, b;
    bool any() const { return a || w || b; }
};

constexpr regions wanted(std::int32_t request)
{
    switch (request) {
    case request_awb:
        return {true, true, true};
    case request_a:
        return {true, false, false};
    case request_b:
        return {false, false, true};
    case request_ab:
        return {true, false, true};
    case request_bw:
        return {false, true, true};
    case request_aw:
        return {true, true, false};
    case request_w:
        return {false, true, false};
    default:
        return {};
    }
}

vrn_int get_bufs_size(std::int32_t request, std::int32_t limit, const vrn_int* m, const vrn_int* n, const vrn_int* k,
                      gemm_desc* desc, vrn_int element)
{
    const regions r = wanted(request);
    if (!r.any() || (limit != limit_actual && limit != limit_blocks)) return 1;
    const auto size = [limit](vrn_int block, const vrn_int* actual, vrn_int multiple) {
        return round_up(limit == limit_actual && *actual < block ? *actual : block, multiple);
    };
    const vrn_int mb = size(desc->m_block, m, desc->m_unroll);
    const vrn_int nb = size(desc->n_block, n, desc->n_unroll);
    const vrn_int kb = size(desc->k_block, k, desc->k_unroll);
    if (r.a) {
        desc->a_bytes = mb * element * kb + region_slack_bytes;
        desc->a_panel_elements = desc->m_unroll * kb;
        desc->a_align_exp = panel_align_exp;
    }
    if (r.b) {
        desc->b_bytes = nb * element * kb + region_slack_bytes;
        desc->b_panel_elements = kb * desc->n_unroll;
        desc->b_align_exp = panel_align_exp;
    }
    if (r.w) {
        desc->w_bytes = kb * element * desc->n_unroll * desc->w_factor + region_slack_bytes;
        desc->w_align_exp = work_align_exp;
    }
    return 0;
}

char* aligned(char* p, std::int32_t exponent)
{
    const auto mask = (std::uintptr_t{1} << exponent) - 1;
    return p + (-reinterpret_cast<std::uintptr_t>(p) & mask);
}

// The entries of a table are records too; only what an entry fixes is copied, so that blocks and buffers that a
// caller has set stay.
void take_entry(gemm_desc* desc, const gemm_desc& entry)
{
    const gemm_desc old = *desc;
    *desc = entry;
    desc->reserved0 = old.reserved0;
    desc->m_block = old.m_block, desc->n_block = old.n_block, desc->k_block = old.k_block;
    desc->a_buffer = old.a_buffer, desc->a_panel_elements = old.a_panel_elements, desc->a_bytes = old.a_bytes;
    desc->b_buffer = old.b_buffer, desc->b_panel_elements = old.b_panel_elements, desc->b_bytes = old.b_bytes;
    desc->w_buffer = old.w_buffer, desc->w_bytes = old.w_bytes;
    desc->a_align_exp = old.a_align_exp, desc->b_align_exp = old.b_align_exp, desc->w_align_exp = old.w_align_exp;
}

template <class T>
constexpr gemm_desc numbers(std::int32_t index)
{
    gemm_desc d{};
    d.kernel_index = index;
    d.mode_mask = gemm_blocking<T>.mode_mask;
    d.m_unroll = gemm_tile<T>.mr, d.n_unroll = gemm_tile<T>.nr, d.k_unroll = gemm_tile<T>.kr;
    d.m_min = gemm_blocking<T>.m_min, d.n_min = gemm_blocking<T>.n_min, d.k_min = gemm_blocking<T>.k_min;
    d.w_factor = gemm_blocking<T>.w_factor;
    return d;
}

// Conjugation means nothing for a real matrix: the T packers serve C too.
#define FILL(d, t, AC, BC, AEXT, BEXT, KERNEL)                                                                       \
    d.get_blks_size = vrn_blas_s42_##t##gemm_get_blks_size;                                                          \
    d.get_bufs_size = vrn_blas_s42_##t##gemm_get_bufs_size;                                                          \
    d.get_bufs = vrn_blas_s42_##t##gemm_get_bufs;                                                                    \
    d.copyan = vrn_blas_s42_##t##gemm_copyan;                                                                        \
    d.copyat = vrn_blas_s42_##t##gemm_copyat;                                                                        \
    d.copyac = vrn_blas_s42_##t##gemm_##AC;                                                                          \
    d.copybn = vrn_blas_s42_##t##gemm_copybn;                                                                        \
    d.copybt = vrn_blas_s42_##t##gemm_copybt;                                                                        \
    d.copybc = vrn_blas_s42_##t##gemm_##BC;                                                                          \
    d.copya_ext = AEXT;                                                                                              \
    d.copyb_ext = BEXT;                                                                                              \
    d.kernel = KERNEL

constexpr gemm_desc d_entry(std::int32_t index)
{
    gemm_desc d = numbers<double>(index);
    FILL(d, d, copyat, copybt, vrn_blas_s42_dgemm_copya_ext, vrn_blas_s42_dgemm_copyb_ext,
         index == 0 ? gemm_kernel_d0 : gemm_kernel_d1);
    return d;
}
constexpr gemm_desc s_entry()
{
    gemm_desc d = numbers<float>(0);
    FILL(d, s, copyat, copybt, vrn_blas_s42_sgemm_copya_ext, vrn_blas_s42_sgemm_copyb_ext, gemm_kernel_s);
    return d;
}
constexpr gemm_desc c_entry()
{
    gemm_desc d = numbers<vrn::simd::cplx<float>>(0);
    FILL(d, c, copyac, copybc, nullptr, nullptr, gemm_kernel_c);
    return d;
}
constexpr gemm_desc z_entry()
{
    gemm_desc d = numbers<vrn::simd::cplx<double>>(0);
    FILL(d, z, copyac, copybc, nullptr, nullptr, gemm_kernel_z);
    return d;
}
#undef FILL

// The two entries of d differ in a few instructions of the kernel, not in any result.
constexpr gemm_desc s_table[] = {s_entry()};
constexpr gemm_desc d_table[] = {d_entry(0), d_entry(1)};
constexpr gemm_desc c_table[] = {c_entry()};
constexpr gemm_desc z_table[] = {z_entry()};

template <std::size_t N>
vrn_int get_kernel(std::int32_t index, gemm_desc* desc, const gemm_desc (&table)[N])
{
    if (index < 0 || index >= static_cast<std::int32_t>(N)) return 1;
    take_entry(desc, table[index]);
    return 0;
}

} // namespace

// One record layout, so one body each for the type-blind operations.

VRN_EXPORT void vrn_blas_s42_dgemm_zero_desc(gemm_desc* desc)
{
    const std::int32_t w_factor = desc->w_factor;
    *desc = gemm_desc{};
    desc->w_factor = w_factor;
}
VRN_ALIAS(vrn_blas_s42_sgemm_zero_desc, vrn_blas_s42_dgemm_zero_desc);
VRN_ALIAS(vrn_blas_s42_cgemm_zero_desc, vrn_blas_s42_dgemm_zero_desc);
VRN_ALIAS(vrn_blas_s42_zgemm_zero_desc, vrn_blas_s42_dgemm_zero_desc);

VRN_EXPORT void vrn_blas_s42_dgemm_set_blks_size(vrn_int m_block, vrn_int n_block, vrn_int k_block, gemm_desc* desc)
{
    desc->m_block = m_block;
    desc->n_block = n_block;
    desc->k_block = k_block;
}
VRN_ALIAS(vrn_blas_s42_sgemm_set_blks_size, vrn_blas_s42_dgemm_set_blks_size);
VRN_ALIAS(vrn_blas_s42_cgemm_set_blks_size, vrn_blas_s42_dgemm_set_blks_size);
VRN_ALIAS(vrn_blas_s42_zgemm_set_blks_size, vrn_blas_s42_dgemm_set_blks_size);

// One allocation, walked in the order A, W, B; each region is aligned by itself, which the two alignments added
// per region leave room for. The caller checks the pointer.
VRN_EXPORT vrn_int vrn_blas_s42_dgemm_get_bufs(std::int32_t request, void** buffer, gemm_desc* desc)
{
    const regions r = wanted(request);
    if (!r.any()) return 1;
    *buffer = nullptr;
    std::uint64_t bytes = 0;
    const auto add = [&bytes](bool want, vrn_int size, std::int32_t exponent) {
        if (want) bytes += static_cast<std::uint64_t>(size) + (std::uint64_t{2} << exponent);
    };
    add(r.a, desc->a_bytes, desc->a_align_exp);
    add(r.w, desc->w_bytes, desc->w_align_exp);
    add(r.b, desc->b_bytes, desc->b_align_exp);
    *buffer = vrn_serv_allocate(bytes, 128);
    if (*buffer == nullptr) return 0;
    char* p = static_cast<char*>(*buffer);
    const auto place = [&p](bool want, void*& region, vrn_int size, std::int32_t exponent) {
        if (!want) return;
        p = aligned(p, exponent);
        region = p;
        p += size;
    };
    place(r.a, desc->a_buffer, desc->a_bytes, desc->a_align_exp);
    place(r.w, desc->w_buffer, desc->w_bytes, desc->w_align_exp);
    place(r.b, desc->b_buffer, desc->b_bytes, desc->b_align_exp);
    return 0;
}
VRN_ALIAS(vrn_blas_s42_sgemm_get_bufs, vrn_blas_s42_dgemm_get_bufs);
VRN_ALIAS(vrn_blas_s42_cgemm_get_bufs, vrn_blas_s42_dgemm_get_bufs);
VRN_ALIAS(vrn_blas_s42_zgemm_get_bufs, vrn_blas_s42_dgemm_get_bufs);

VRN_EXPORT void vrn_blas_s42_dgemm_free_bufs(void* buffer) { vrn_serv_deallocate(buffer); }
VRN_ALIAS(vrn_blas_s42_sgemm_free_bufs, vrn_blas_s42_dgemm_free_bufs);
VRN_ALIAS(vrn_blas_s42_cgemm_free_bufs, vrn_blas_s42_dgemm_free_bufs);
VRN_ALIAS(vrn_blas_s42_zgemm_free_bufs, vrn_blas_s42_dgemm_free_bufs);

#define BLKS_SIZE(name, T)                                                                                           \
    VRN_EXPORT void name(const vrn_int*, const vrn_int* n, const vrn_int* k, gemm_desc* desc)                        \
    {                                                                                                                \
        get_blks_size<T>(n, k, desc);                                                                                \
    }
BLKS_SIZE(vrn_blas_s42_sgemm_get_blks_size, float)
BLKS_SIZE(vrn_blas_s42_dgemm_get_blks_size, double)
BLKS_SIZE(vrn_blas_s42_cgemm_get_blks_size, vrn::simd::cplx<float>)
BLKS_SIZE(vrn_blas_s42_zgemm_get_blks_size, vrn::simd::cplx<double>)

#define BUFS_SIZE(name, T)                                                                                           \
    VRN_EXPORT vrn_int name(std::int32_t request, std::int32_t limit, const vrn_int* m, const vrn_int* n,            \
                            const vrn_int* k, gemm_desc* desc)                                                       \
    {                                                                                                                \
        return get_bufs_size(request, limit, m, n, k, desc, sizeof(T));                                              \
    }
BUFS_SIZE(vrn_blas_s42_sgemm_get_bufs_size, float)
BUFS_SIZE(vrn_blas_s42_dgemm_get_bufs_size, double)
BUFS_SIZE(vrn_blas_s42_zgemm_get_bufs_size, vrn::simd::cplx<double>)
// Elements of c and d have the same size.
VRN_ALIAS(vrn_blas_s42_cgemm_get_bufs_size, vrn_blas_s42_dgemm_get_bufs_size);

#define GET_KERNEL(name, table)                                                                                      \
    VRN_EXPORT vrn_int name(std::int32_t index, gemm_desc* desc) { return get_kernel(index, desc, table); }
GET_KERNEL(vrn_blas_s42_sgemm_get_kernel, s_table)
GET_KERNEL(vrn_blas_s42_dgemm_get_kernel, d_table)
GET_KERNEL(vrn_blas_s42_cgemm_get_kernel, c_table)
GET_KERNEL(vrn_blas_s42_zgemm_get_kernel, z_table)

VRN_EXPORT void vrn_blas_s42_sgemm_get_optimal_kernel(gemm_desc* desc) { take_entry(desc, s_table[0]); }
VRN_EXPORT void vrn_blas_s42_cgemm_get_optimal_kernel(gemm_desc* desc) { take_entry(desc, c_table[0]); }
VRN_EXPORT void vrn_blas_s42_zgemm_get_optimal_kernel(gemm_desc* desc) { take_entry(desc, z_table[0]); }
VRN_EXPORT void vrn_blas_s42_dgemm_get_optimal_kernel(gemm_desc* desc)
{
    static constexpr std::int32_t index[] = {0, 1};
    take_entry(desc, d_table[index[vrn_serv_get_microarchitecture() == 66]]);
}

VRN_EXPORT void vrn_blas_s42_sgemm_num_kernels(std::int32_t* count) { *count = 1; }
VRN_ALIAS(vrn_blas_s42_cgemm_num_kernels, vrn_blas_s42_sgemm_num_kernels);
VRN_ALIAS(vrn_blas_s42_zgemm_num_kernels, vrn_blas_s42_sgemm_num_kernels);
VRN_EXPORT void vrn_blas_s42_dgemm_num_kernels(std::int32_t* count) { *count = 2; }
