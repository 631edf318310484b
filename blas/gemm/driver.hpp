// blas/gemm/driver.hpp - the loop nest over cache blocks, in eight partition modes.
//
// The host divides a product over threads and tells each call, by its mode, which operands are packed already:
//
//     mode  A             B             loops, outermost first
//     2     packed here   packed here   n0, k0 (pack B), m0 (pack A, kernel)
//     128   packed here   packed here   m0, k0, first n0 (pack B; per row tile pack A, kernel), other n0
//     256   packed here   packed here   n0, k0, first m0 (pack A; per column panel pack B, kernel), other m0
//     4     packed here   raw           n0, k0, m0 (pack A, kernel, which packs B into W)
//     8     given         packed here   n0 (pack B, kernel over all rows)
//     16    given         raw           n0 (kernel over all rows)
//     32    packed here   given         m0 (pack A, kernel over all columns)
//     64    given         given         the kernel
//
// Given panels come in a or b, with their distance for the leading dimension; the caller then slices k, and the
// depth of the call is one block. One buffer a call, from vrn_serv_allocate; without it the product is done
// unpacked, after the warning.
// Goto and van de Geijn (2008), Anatomy of high-performance matrix multiplication.
#pragma once

#include "blas/gemm/desc.hpp"
#include "blas/gemm/mscale.hpp"
#include "blas/gemm/pack.hpp" // the panels' element order, for the path that reads them without a kernel
#include "blas/gemm/tables.hpp"
#include "blas/gemm/unpacked.hpp"
#include "frame/services.hpp"

namespace vrn::blas::driver {

enum class beta_rule {
    defer, // a beta of 0 is left to the kernel's first pass, any other but 1 scales C first
    scale, // C is scaled first, so the kernel always adds
    pass,  // the kernel gets it as it stands
};

struct mode_traits {
    std::int32_t mode, request;
    bool a_given, b_given, b_raw;
    bool loops_m, loops_n, loops_k;
    beta_rule beta;
};

// The order of the columns: mode, request, A given, B given, B raw, loops over m, n, k, beta.
inline constexpr mode_traits modes[] = {
    {2, request_awb, false, false, false, true, true, true, beta_rule::defer},
    {128, request_awb, false, false, false, true, true, true, beta_rule::defer},
    {256, request_awb, false, false, false, true, true, true, beta_rule::scale},
    {4, request_aw, false, false, true, true, true, true, beta_rule::scale},
    {8, request_bw, true, false, false, false, true, false, beta_rule::defer},
    {16, request_w, true, false, true, false, true, false, beta_rule::scale},
    {32, request_aw, false, true, false, true, false, false, beta_rule::scale},
    {64, request_w, true, true, false, false, false, false, beta_rule::pass},
};
inline constexpr std::int32_t default_mode = 2; // of one thread

// The names that warnings carry.
template <class T>
inline constexpr const char* routine = nullptr;
template <>
inline constexpr const char* routine<float> = "SGEMM";
template <>
inline constexpr const char* routine<double> = "DGEMM";
template <>
inline constexpr const char* routine<simd::cplx<float>> = "CGEMM";
template <>
inline constexpr const char* routine<simd::cplx<double>> = "ZGEMM";

inline vrn_int least(vrn_int x, vrn_int y) { return x < y ? x : y; }

// The product with its record. beta is that of the first depth block; later ones add.
template <class T>
struct call : product<T> {
    gemm_desc* desc;
    using product<T>::transa, product<T>::transb, product<T>::alpha, product<T>::lda, product<T>::ldb,
        product<T>::ldc, product<T>::beta;

    T beta_of(vrn_int k0) const { return k0 == 0 ? beta : simd::unity<T>; }

    T* a_panels() const { return static_cast<T*>(desc->a_buffer); }
    T* b_panels() const { return static_cast<T*>(desc->b_buffer); }

    // Packs op(A)[i.., k0..] behind the first `skip` panels of the buffer.
    void pack_a(vrn_int i, vrn_int mb, vrn_int k0, vrn_int kb, vrn_int skip = 0) const
    {
        this->copy_a(*desc)(&mb, &kb, this->a_at(i, k0), &lda, a_panels() + skip * desc->a_panel_elements,
                            &desc->a_panel_elements, &alpha);
    }
    void pack_b(vrn_int k0, vrn_int kb, vrn_int j, vrn_int nb, vrn_int skip = 0) const
    {
        this->copy_b(*desc)(&kb, &nb, this->b_at(k0, j), &ldb, b_panels() + skip * desc->b_panel_elements,
                            &desc->b_panel_elements, nullptr);
    }
    void kernel(vrn_int mb, vrn_int nb, vrn_int depth, const T* pa, vrn_int a_distance, const T* pb,
                vrn_int b_distance, T kernel_beta, T* to, std::int32_t variant) const
    {
        const T one = simd::unity<T>;
        desc->kernel(transa, transb, &mb, &nb, &depth, &one, pa, &a_distance, pb, &b_distance, &kernel_beta, to, &ldc,
                     desc->w_buffer, variant);
    }
    // Both operands in this call's buffers, from panels (pi, pj) on.
    void kernel_packed(vrn_int mb, vrn_int nb, vrn_int kb, vrn_int pi, vrn_int pj, T kernel_beta, T* to) const
    {
        kernel(mb, nb, round_up(kb, desc->k_unroll), a_panels() + pi * desc->a_panel_elements, desc->a_panel_elements,
               b_panels() + pj * desc->b_panel_elements, desc->b_panel_elements, kernel_beta, to, 2);
    }
    // B raw. The complex kernels cannot pack into W themselves; a panel of columns at a time is packed for them.
    void kernel_raw(vrn_int mb, vrn_int nb, vrn_int kb, const T* pa, vrn_int a_distance, vrn_int k0, vrn_int n0,
                    T kernel_beta, T* to) const
    {
        if constexpr (simd::element<T>::parts == 1) {
            kernel(mb, nb, kb, pa, a_distance, this->b_at(k0, n0), ldb, kernel_beta, to, 3);
        } else {
            const vrn_int padded = round_up(kb, desc->k_unroll), distance = padded * desc->n_unroll;
            T* const w = static_cast<T*>(desc->w_buffer);
            for (vrn_int j = 0; j < nb; j += desc->n_unroll, to += desc->n_unroll * ldc) {
                const vrn_int columns = least(nb - j, desc->n_unroll);
                this->copy_b(*desc)(&kb, &columns, this->b_at(k0, n0 + j), &ldb, w, &distance, nullptr);
                kernel(mb, columns, padded, pa, a_distance, w, distance, kernel_beta, to, 2);
            }
        }
    }
};

// Every mode but 128, 256 and 64: what is given or raw decides which steps there are.
template <class T>
void blocked(const call<T>& o, const mode_traits& mode)
{
    gemm_desc& d = *o.desc;
    const vrn_int m_step = mode.loops_m ? d.m_block : o.m;
    const vrn_int n_step = mode.loops_n ? d.n_block : o.n;
    const vrn_int k_all = mode.loops_k ? o.k : least(o.k, d.k_block);
    for (vrn_int n0 = 0; n0 < o.n; n0 += n_step) {
        const vrn_int nb = least(o.n - n0, n_step);
        // Once even without depth: the kernel then applies a beta of 0 that was left to it.
        for (vrn_int k0 = 0; k0 == 0 || k0 < k_all; k0 += d.k_block) {
            const vrn_int kb = least(k_all - k0, d.k_block);
            const vrn_int padded = round_up(kb, d.k_unroll);
            if (!mode.b_given && !mode.b_raw) o.pack_b(k0, kb, n0, nb);
            const T* b = mode.b_given ? o.b : o.b_panels();
            const vrn_int b_distance = mode.b_given ? o.ldb : d.b_panel_elements;
            const T* a = mode.a_given ? o.a : o.a_panels();
            const vrn_int a_distance = mode.a_given ? o.lda : d.a_panel_elements;
            for (vrn_int m0 = 0; m0 < o.m; m0 += m_step) {
                const vrn_int mb = least(o.m - m0, m_step);
                if (!mode.a_given) o.pack_a(m0, mb, k0, kb);
                if (mode.b_raw) o.kernel_raw(mb, nb, kb, a, a_distance, k0, n0, o.beta_of(k0), o.c_at(m0, n0));
                else o.kernel(mb, nb, padded, a, a_distance, b, b_distance, o.beta_of(k0), o.c_at(m0, n0), 2);
            }
        }
    }
}

// Mode 128: the first column block meets A while it is being packed, a row tile at a time, and the kernel finds
// each tile still in the first-level cache.
template <class T>
void by_row_group(const call<T>& o)
{
    gemm_desc& d = *o.desc;
    for (vrn_int m0 = 0; m0 < o.m; m0 += d.m_block) {
        const vrn_int mb = least(o.m - m0, d.m_block);
        for (vrn_int k0 = 0; k0 < o.k; k0 += d.k_block) {
            const vrn_int kb = least(o.k - k0, d.k_block);
            for (vrn_int n0 = 0; n0 < o.n; n0 += d.n_block) {
                const vrn_int nb = least(o.n - n0, d.n_block);
                o.pack_b(k0, kb, n0, nb);
                if (n0 != 0) {
                    o.kernel_packed(mb, nb, kb, 0, 0, o.beta_of(k0), o.c_at(m0, n0));
                    continue;
                }
                for (vrn_int i = 0, panel = 0; i < mb; i += d.m_unroll, ++panel) {
                    const vrn_int rows = least(mb - i, d.m_unroll);
                    o.pack_a(m0 + i, rows, k0, kb, panel);
                    o.kernel_packed(rows, nb, kb, panel, 0, o.beta_of(k0), o.c_at(m0 + i, n0));
                }
            }
        }
    }
}

// Mode 256: the same with the parts of A and B exchanged.
template <class T>
void by_column_group(const call<T>& o)
{
    gemm_desc& d = *o.desc;
    for (vrn_int n0 = 0; n0 < o.n; n0 += d.n_block) {
        const vrn_int nb = least(o.n - n0, d.n_block);
        for (vrn_int k0 = 0; k0 < o.k; k0 += d.k_block) {
            const vrn_int kb = least(o.k - k0, d.k_block);
            for (vrn_int m0 = 0; m0 < o.m; m0 += d.m_block) {
                const vrn_int mb = least(o.m - m0, d.m_block);
                o.pack_a(m0, mb, k0, kb);
                if (m0 != 0) {
                    o.kernel_packed(mb, nb, kb, 0, 0, o.beta_of(k0), o.c_at(m0, n0));
                    continue;
                }
                for (vrn_int j = 0, panel = 0; j < nb; j += d.n_unroll, ++panel) {
                    const vrn_int columns = least(nb - j, d.n_unroll);
                    o.pack_b(k0, kb, n0 + j, columns, panel);
                    o.kernel_packed(mb, columns, kb, 0, panel, o.beta_of(k0), o.c_at(m0, n0 + j));
                }
            }
        }
    }
}

// No buffer in a mode with given panels: the product element by element, from the panels as they lie. In the
// place of the unpacked path, which would take panels for a matrix.
template <class T>
void from_given(const call<T>& o, const mode_traits& mode)
{
    constexpr int mr = gemm_tile<T>.mr, nr = gemm_tile<T>.nr;
    const vrn_int depth = mode.mode == 64 ? o.k : least(o.k, o.desc->k_block);
    const vrn_int padded = mode.mode == 64 ? o.k : round_up(depth, o.desc->k_unroll);
    for (vrn_int j = 0; j < o.n; ++j) {
        // The panel of column j, walking the chain as the packers do.
        vrn_int first = j / nr * nr, width = nr;
        const T* panel = o.b + j / nr * o.ldb;
        while (o.n - first < nr) {
            width = chain_width(o.n - first);
            if (j < first + width) break;
            first += width;
            panel += padded * width;
        }
        for (vrn_int i = 0; i < o.m; ++i) {
            const int slot = pack::place(pack::a_order<T>, static_cast<int>(i % mr));
            T sum{};
            for (vrn_int kk = 0; kk < depth; ++kk) {
                using unpacked::conjugate_if;
                const T x = mode.a_given ? o.a[i / mr * o.lda + kk * mr + slot]
                                         : o.alpha * conjugate_if(o.a_conjugated(), *o.a_at(i, kk));
                sum = sum + x * (mode.b_given ? panel[kk * width + j - first]
                                              : conjugate_if(o.b_conjugated(), *o.b_at(kk, j)));
            }
            T& to = *o.c_at(i, j);
            to = o.beta == T{} ? sum : o.beta * to + sum;
        }
    }
}

template <class T>
vrn_int gemm(std::int32_t mode_number, call<T> o)
{
    if (o.m < 1 || o.n < 1) return 0;
    gemm_desc& d = *o.desc;
    if (d.m_block == 0 || d.n_block == 0 || d.k_block == 0) d.get_blks_size(&o.m, &o.n, &o.k, &d);
    if (mode_number == 0) mode_number = default_mode;
    const mode_traits* mode = nullptr;
    for (const mode_traits& candidate : modes)
        if (candidate.mode == mode_number) mode = &candidate;
    if (mode == nullptr) return 1;

    const bool scales = mode->beta == beta_rule::scale || (mode->beta == beta_rule::defer && o.beta != T{});
    if (scales && o.beta != simd::unity<T>) {
        mscale(o.m, o.n, o.beta, o.c, o.ldc);
        o.beta = simd::unity<T>;
    }
    if (o.alpha == T{}) {
        // With beta 0 left to a kernel that does not run, mode 128 alone clears C. A product that comes through
        // the entry has been scaled already and never meets the difference.
        if (mode->mode == 128 && o.beta == T{}) mscale(o.m, o.n, o.beta, o.c, o.ldc);
        return 0;
    }
    const bool given = mode->a_given || mode->b_given;
    if (!given && (o.m < d.m_min || o.n < d.n_min || o.k < d.k_min)) {
        unpacked::gemm<T>(o);
        return 0;
    }

    void* buffer = nullptr;
    d.get_bufs_size(mode->request, limit_actual, &o.m, &o.n, &o.k, &d);
    d.get_bufs(mode->request, &buffer, &d);
    if (vrn_serv_check_ptr_and_warn(buffer, routine<T>, std::int64_t{5}) != 0) {
        if (!given) return unpacked::gemm<T>(o), 0;
        from_given(o, *mode);
        return 1;
    }
    if (mode->mode == 128) by_row_group(o);
    else if (mode->mode == 256) by_column_group(o);
    else if (mode->mode == 64)
        d.kernel(o.transa, o.transb, &o.m, &o.n, &o.k, &o.alpha, o.a, &o.lda, o.b, &o.ldb, &o.beta, o.c, &o.ldc,
                 d.w_buffer, 2);
    else blocked(o, *mode);
    vrn_serv_deallocate(buffer);
    return 0;
}

} // namespace vrn::blas::driver
