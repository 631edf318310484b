// dft/commit/via_2d.cpp - set-up and drivers of the one-dimensional transform in two dimensions.

#include "dft/commit/via_2d.hpp"

#include "dft/codelets/roots.hpp"
#include "dft/compute/kernels.hpp"
#include "dft/compute/move.hpp"
#include "dft/descriptor/functions.hpp"
#include "frame/export.hpp"
#include "trans/functions.hpp"

#pragma GCC visibility push(default)
extern "C" {
vrn::trans::imatcopy_function<vrn::simd::cplx<double>> vrn_trans_s42_vrn_zimatcopy;
vrn::trans::imatcopy_function<vrn::simd::cplx<float>> vrn_trans_s42_vrn_cimatcopy;
vrn::trans::omatcopy_function<vrn::simd::cplx<double>> vrn_trans_s42_vrn_zomatcopy;
vrn::trans::omatcopy_function<vrn::simd::cplx<float>> vrn_trans_s42_vrn_comatcopy;
}
#pragma GCC visibility pop

namespace vrn::dft {

namespace {

std::int64_t square_root(std::int64_t n)
{
    auto r = static_cast<std::int64_t>(__builtin_sqrt(static_cast<double>(n)));
    while (r * r > n) --r;
    while ((r + 1) * (r + 1) <= n) ++r;
    return r;
}

// Prime factors in ascending order; returns their number. 2^63 has 63.
int prime_factors(std::int64_t n, std::int64_t* factors)
{
    int count = 0;
    auto divide_out = [&](std::int64_t p) {
        for (; n % p == 0; n /= p) factors[count++] = p;
    };
    divide_out(2);
    divide_out(3);
    // 6 i - 1 and 6 i + 1 hold all further primes.
    for (std::int64_t k = 5; k <= square_root(n); k += 6) {
        divide_out(k);
        divide_out(k + 2);
    }
    if (n > 1) factors[count++] = n;
    return count;
}

// The smaller of two factors about as large as each other; 1 where n has none.
std::int64_t smaller_factor(std::int64_t n, std::int64_t log2_length)
{
    if (is_pow2(n)) return std::int64_t{1} << log2_length / 2;
    std::int64_t factors[64], b = 1, c = 1;
    const std::int64_t limit = square_root(n);
    for (int i = prime_factors(n, factors) - 1; i >= 0; --i) {
        if (c >= b && b * factors[i] <= limit) b *= factors[i];
        else c *= factors[i];
    }
    return std::min(b, c);
}

template <class R>
auto* create_1d = std::is_same_v<R, double> ? vrn_dft_s42_dfti_create_dc1d : vrn_dft_s42_dfti_create_sc1d;

dft_status inner_descriptor(descriptor** out, dft_status (*create)(descriptor**, std::int64_t), std::int64_t length)
{
    if (const dft_status s = create(out, length); s != ok) return s;
    (*out)->thread_limit = 1;
    (*out)->flags |= flag_inner;
    return (*out)->class_table->commit(*out);
}

void release(descriptor* d)
{
    auto* v = static_cast<via_2d_record*>(d->via_2d);
    if (v->inner_cols != nullptr && v->inner_cols != v->inner_rows) v->inner_cols->destroy(v->inner_cols);
    if (v->inner_rows != nullptr) v->inner_rows->destroy(v->inner_rows);
    vrn_serv_free(v->twiddles);
    vrn_serv_free(v);
}

// k^2 mod 4n goes in whole numbers, by steps of 2k - 1: the angle's error would grow with k^2.
template <class R>
bool fill_twiddles(via_2d_record& v, std::int64_t n)
{
    const std::int64_t count = v.rows + v.cols;
    v.twiddles = vrn_serv_malloc(static_cast<std::uint64_t>(count + twiddle_zero) * sizeof(cplx<R>), 64);
    auto* w = static_cast<cplx<R>*>(v.twiddles);
    if (w == nullptr) return false;
    std::int64_t index = 0;
    for (std::int64_t k = 0; k < count; ++k) {
        if (k > 0) index = (index + 2 * k - 1) % (4 * n);
        const root r = table_root(index, 4 * n);
        w[twiddle_zero + k] = {static_cast<R>(r.cos), static_cast<R>(-r.sin)};
    }
    // w is even; a block that straddles the diagonal reads at most four entries below 0.
    for (std::int64_t k = 1; k <= twiddle_zero && k < count; ++k) w[twiddle_zero - k] = w[twiddle_zero + k];
    return true;
}

template <class R>
void transpose(char ordering, std::int64_t rows, std::int64_t cols, cplx<R>* a)
{
    const auto r = static_cast<std::uint64_t>(rows), c = static_cast<std::uint64_t>(cols);
    if constexpr (std::is_same_v<R, double>) {
        const cplx<double> one{1, 0};
        vrn_trans_s42_vrn_zimatcopy(ordering, 'T', r, c, &one, a, c, r);
    } else {
        vrn_trans_s42_vrn_cimatcopy(ordering, 'T', r, c, {1, 0}, a, c, r);
    }
}

template <class R>
void transposed_copy(std::int64_t rows, std::int64_t cols, const cplx<R>* a, cplx<R>* b)
{
    const auto r = static_cast<std::uint64_t>(rows), c = static_cast<std::uint64_t>(cols);
    if constexpr (std::is_same_v<R, double>) {
        const cplx<double> one{1, 0};
        vrn_trans_s42_vrn_zomatcopy('C', 'T', c, r, &one, a, c, b, r);
    } else {
        vrn_trans_s42_vrn_comatcopy('C', 'T', c, r, {1, 0}, a, c, b, r);
    }
}

dft_status inner_transform(descriptor* inner, void* column, bool forward)
{
    return forward ? inner->compute_forward(inner, column, nullptr) : inner->compute_backward(inner, column, nullptr);
}

} // namespace

template <class R>
dft_status init_via_2d(descriptor* node, const descriptor* head)
{
    if (node->via_2d != nullptr) {
        node->via_2d_release(node);
        node->via_2d = nullptr;
    }
    const std::int64_t n = node->length,
                       a = smaller_factor(n, 63 - __builtin_clzll(static_cast<unsigned long long>(n)));
    if (a == 1) return no_factors;
    auto* v = new_record<via_2d_record>(64);
    if (v == nullptr) return no_memory;
    node->via_2d = v;
    node->via_2d_release = release;
    v->rows = std::min(a, n / a);
    v->cols = std::max(a, n / a);
    v->rows_padded = ((v->rows + 3) & ~std::int64_t{3}) | 4;
    v->cols_padded = ((v->cols + 3) & ~std::int64_t{3}) | 4;
    v->policy = head->workspace_policy == workspace_prefer_2d ? 1 : 0;
    dft_status s = fill_twiddles<R>(*v, n) ? ok : no_memory;
    if (s == ok) s = inner_descriptor(&v->inner_rows, create_1d<R>, v->rows);
    if (s == ok && v->rows == v->cols) v->inner_cols = v->inner_rows;
    else if (s == ok) s = inner_descriptor(&v->inner_cols, create_1d<R>, v->cols);
    if (s != ok) {
        release(node);
        node->via_2d = nullptr;
        node->via_2d_release = nullptr;
    }
    return s;
}

template <class R>
dft_status four_step_columns(const descriptor* d, const cplx<R>* in, cplx<R>* matrix, std::int64_t first,
                             std::int64_t last, bool forward)
{
    const auto& v = *static_cast<const via_2d_record*>(d->via_2d);
    const cplx<R>* w = static_cast<const cplx<R>*>(v.twiddles) + twiddle_zero;
    const buffer block(static_cast<std::uint64_t>(four_step_block * v.rows_padded) * sizeof(cplx<R>), 64);
    if (!block) return no_memory;
    auto* column = block.as<cplx<R>>();
    const bool turned = in == matrix;
    const R sign = forward ? R{1} : R{-1};
    for (std::int64_t c = first; c < last; c += four_step_block) {
        const std::int64_t width = std::min(four_step_block, last - c);
        if (!turned) gather(v.rows, width, in + c, 2 * v.cols, 2, column, v.rows_padded);
        for (std::int64_t i = 0; i < width; ++i) {
            cplx<R>* y = matrix + (c + i) * v.rows;
            cplx<R>* x = turned ? y : column + i * v.rows_padded;
            if (const dft_status s = inner_transform(v.inner_rows, x, forward); s != ok) return s;
            for (std::int64_t j = 0; j < v.rows; ++j) {
                const cplx<R> t = w[j + c + i] * simd::conj(w[j < c + i ? c + i - j : j - c - i]);
                y[j] = cplx<R>{t.re, sign * t.im} * x[j];
            }
        }
    }
    return ok;
}

template <class R>
dft_status four_step_rows(const descriptor* d, const cplx<R>* matrix, cplx<R>* out, std::int64_t first,
                          std::int64_t last, bool forward)
{
    const auto& v = *static_cast<const via_2d_record*>(d->via_2d);
    const buffer block(static_cast<std::uint64_t>(four_step_block * v.cols_padded) * sizeof(cplx<R>), 64);
    if (!block) return no_memory;
    auto* row = block.as<cplx<R>>();
    const R scale = forward ? used_scale<R, true>(d) : used_scale<R, false>(d);
    for (std::int64_t j = first; j < last; j += four_step_block) {
        const std::int64_t width = std::min(four_step_block, last - j);
        gather(v.cols, width, matrix + j, 2 * v.rows, 2, row, v.cols_padded);
        for (std::int64_t i = 0; i < width; ++i) {
            cplx<R>* y = row + i * v.cols_padded;
            if (const dft_status s = inner_transform(v.inner_cols, y, forward); s != ok) return s;
            scale_reals(&y->re, 2 * v.cols, scale);
        }
        scatter(v.cols, width, row, v.cols_padded, out + j, 2 * v.rows, 2);
    }
    return ok;
}

template <class R, bool Forward>
dft_status via_2d_kernel(const void* in, void* out, const descriptor* node, void*)
{
    const auto& v = *static_cast<const via_2d_record*>(node->via_2d);
    const auto* x = static_cast<const cplx<R>*>(in);
    auto* y = static_cast<cplx<R>*>(out);
    // With the policy the data is the matrix: turned in place, or gathered across. Without it there is a second one.
    const buffer second(v.policy == 0 ? static_cast<std::uint64_t>(v.rows * v.cols) * sizeof(cplx<R>) : 0, 64);
    if (v.policy == 0 && !second) return no_memory;
    cplx<R>* matrix = v.policy == 0 ? second.as<cplx<R>>() : y;
    if (v.policy != 0 && in == out) transpose('R', v.rows, v.cols, y);
    if (v.policy == -1 && in != out) transposed_copy(v.rows, v.cols, x, y), x = y;
    if (const dft_status s = four_step_columns<R>(node, x, matrix, 0, v.cols, Forward); s != ok) return s;
    return four_step_rows<R>(node, matrix, y, 0, v.rows, Forward);
}

#define VRN_VIA_2D(R)                                                                                                \
    template dft_status init_via_2d<R>(descriptor*, const descriptor*);                                              \
    template dft_status via_2d_kernel<R, true>(const void*, void*, const descriptor*, void*);                        \
    template dft_status via_2d_kernel<R, false>(const void*, void*, const descriptor*, void*);
VRN_VIA_2D(double)
VRN_VIA_2D(float)
#undef VRN_VIA_2D

} // namespace vrn::dft

using namespace vrn::dft;

#define INIT(name, R)                                                                                                \
    VRN_EXPORT dft_status name(descriptor* node, descriptor* head) { return init_via_2d<R>(node, head); }
INIT(vrn_dft_s42_xz_init_data_1d_via_2d, double)
INIT(vrn_dft_s42_xc_init_data_1d_via_2d, float)

#define PHASE(name, R, phase)                                                                                        \
    VRN_EXPORT dft_status name(const descriptor* d, const void* in, void* out, std::int64_t first,                   \
                               std::int64_t last, std::int32_t forward)                                              \
    {                                                                                                                \
        return phase<R>(d, static_cast<const cplx<R>*>(in), static_cast<cplx<R>*>(out), first, last, forward != 0);  \
    }
PHASE(vrn_dft_s42_xz_4step_1_2, double, four_step_columns)
PHASE(vrn_dft_s42_xz_4step_3, double, four_step_rows)
PHASE(vrn_dft_s42_xc_4step_1_2, float, four_step_columns)
PHASE(vrn_dft_s42_xc_4step_3, float, four_step_rows)
