// dft/primitive/tables.cpp - what stages read beside the data: where blocks begin, twiddles, roots of primes.

#include "dft/primitive/plan.hpp"

namespace vrn::dft {

bool scale_words_of(std::int32_t flag, std::int32_t length, scale_words& words)
{
    const double n = length;
    switch (flag) {
    case scale_none:
        words = {0, 0, 1};
        return true;
    case scale_both:
        words = {1, 1, 1 / std::sqrt(n)};
        return true;
    case scale_forward_only:
        words = {1, 0, 1 / n};
        return true;
    case scale_inverse_only:
        words = {0, 1, 1 / n};
        return true;
    default:
        return false;
    }
}

void lay_out(stage_record* stages, const std::int32_t* radices, int count, std::int32_t length)
{
    std::int32_t product = 1;
    for (int s = 0; s < count; ++s) {
        const std::int32_t radix = radices[s];
        stages[s] = {radix, length / product / radix, product, product, nullptr, nullptr, 0, 0};
        product *= radix;
    }
}

// Block b of the last stage is part i_0 of stage 0, part i_1 of stage 1 within it, and so on; part i of stage s
// begins at input i * product_s.
std::int32_t* make_permutation(const stage_record* stages, int last)
{
    const std::int32_t blocks = stages[last].product;
    auto* first = kpr_array<std::int32_t>(blocks);
    if (first == nullptr) return nullptr;
    first[0] = 0;
    // From the inside out: a part of stage s is `have` blocks long and all parts look alike but for their beginning.
    std::int32_t have = 1;
    for (int s = last - 1; s >= 0; have *= stages[s].radix, --s)
        for (std::int32_t i = 1; i < stages[s].radix; ++i)
            for (std::int32_t b = 0; b < have; ++b) first[i * have + b] = first[b] + i * stages[s].product;
    return first;
}

template <class R>
void* make_prime_table(int p)
{
    auto* value = static_cast<R*>(kprMalloc(prime_table_bytes<R>(p)));
    if (value == nullptr) return nullptr;
    fill_prime_table(value, reinterpret_cast<std::int32_t*>(value + 2 * p), p, table_root);
    return value;
}
template void* make_prime_table<double>(int);
template void* make_prime_table<float>(int);

namespace {

// exp(2 pi i k / n) for k < n; the first octant computed, the rest by symmetry. Octants of n that do not end on a
// multiple of n/8 are folded root by root.
void fill_roots(root* table, std::int32_t n)
{
    if (n % 8 != 0) {
        const std::int32_t half = n % 2 == 0 ? n / 2 : (n + 1) / 2;
        for (std::int32_t k = 0; k < half; ++k) table[k] = table_root(k, n);
        for (std::int32_t k = half; k < n; ++k)
            table[k] = n % 2 == 0 ? root{-table[k - half].cos, -table[k - half].sin}
                                  : root{table[n - k].cos, -table[n - k].sin};
        return;
    }
    const std::int32_t q = n / 4, e = n / 8;
    for (std::int32_t k = 0; k <= e; ++k) table[k] = table_root(k, n);
    for (std::int32_t k = 1; k < e; ++k) table[q - k] = {table[k].sin, table[k].cos};
    for (std::int32_t k = 0; k < q; ++k) table[q + k] = {-table[k].sin, table[k].cos};
    for (std::int32_t k = 0; k < 2 * q; ++k) table[2 * q + k] = {-table[k].cos, -table[k].sin};
}

} // namespace

template <class R>
bool make_stage_tables(stage_record* stages, int last)
{
    constexpr int lanes = vec<R>::lanes;
    for (int s = 0; s <= last; ++s) {
        const int radix = stages[s].radix;
        if (radix <= longest_unrolled_prime || radix % 2 == 0) continue;
        if (s > 0 && stages[s - 1].radix == radix) {
            stages[s].prime_table = stages[s - 1].prime_table; // shared; freed with the first
            continue;
        }
        stages[s].prime_table = make_prime_table<R>(radix);
        if (stages[s].prime_table == nullptr) return false;
    }
    // Every twiddle is picked from one table, so that equal roots have equal bits in all stages.
    const std::int32_t n = stages[0].radix * stages[0].remaining;
    root* roots = kpr_array<root>(n);
    if (roots == nullptr) return false;
    fill_roots(roots, n);
    bool good = true;
    for (int s = 0; s < last && good; ++s) {
        stage_record& stage = stages[s];
        const std::int64_t m = stage.remaining;
        auto* w = kpr_array<R>(twiddle_reals<R>(stage.radix, m));
        stage.twiddles = w;
        if (w == nullptr) {
            good = false;
            break;
        }
        for (std::int64_t k = 0; k < m; k += lanes)
            for (std::int64_t i = 1; i < stage.radix; ++i, w += 2 * lanes)
                for (int l = 0; l < lanes; ++l) {
                    // Lanes behind the end: 1, so that nothing odd is computed on them.
                    const root r = k + l < m ? roots[i * (k + l) * stage.product] : root{1, 0};
                    w[l] = static_cast<R>(r.cos), w[lanes + l] = static_cast<R>(r.sin);
                }
    }
    kprFree(roots);
    return good;
}
template bool make_stage_tables<double>(stage_record*, int);
template bool make_stage_tables<float>(stage_record*, int);

void free_stage_tables(stage_record* stages, int last)
{
    for (int s = last; s >= 0; --s) {
        kprFree(stages[s].twiddles);
        if (s == 0 || stages[s].prime_table != stages[s - 1].prime_table) kprFree(stages[s].prime_table);
        stages[s].twiddles = stages[s].prime_table = nullptr;
    }
}

} // namespace vrn::dft
