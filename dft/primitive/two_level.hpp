// dft/primitive/two_level.hpp - long powers of 2 in two levels, n = A B: memory is read and written twice.
//
//     1. rows       row i of A holds x[i + A m], m < B: gathered, and transformed to Y_i[k], k < B
//     2. columns    X[k + B q] := sum over i of w_A^(iq) w_n^(ik) Y_i[k], in place for each k
//
// Rows go `group` at a time, whole lines of the cache. So do columns, one a lane, in two steps of radix sqrt(A)
// through a buffer that stays in the first-level cache. Between the levels the data is in `out`, or where that is
// `in` as well, in the work area. Bailey (1990), FFTs in external or hierarchical memory. Used by pow2.cpp alone.
#pragma once

#include "dft/primitive/plan.hpp"

namespace vrn::dft {

template <class R>
struct two_level {
    using V = vec<R>;
    static constexpr int lanes = V::lanes;
    static constexpr int group = 128 / (2 * sizeof(R)); // rows or columns that go together: two lines of the cache

    static constexpr int column_order(int order) { return order <= 18 ? 6 : 8; }

    // w_n^t = coarse[t >> fine_order] fine[t mod 2^fine_order]: two tables of about sqrt(n) roots.
    static constexpr int fine_order(int order) { return order / 2; }

    // The plan's table, in reals: fine and coarse roots, then w_n^(i c) for i < A and c < group by vectors of c, then
    // w_A^(i k) between the two steps of a column, row by row of i.
    struct tables {
        const R *fine, *coarse, *near, *inner;
        int fine_bits;
    };
    static tables tables_of(const pow2_plan& plan)
    {
        const int bits = fine_order(plan.order);
        const auto* fine = static_cast<const R*>(plan.twiddle_table);
        const R* coarse = fine + (std::int64_t{2} << bits);
        const R* near = coarse + (std::int64_t{2} << (plan.order - bits));
        return {fine, coarse, near, near + (std::int64_t{2 * group} << column_order(plan.order)), bits};
    }
    static bool make_tables(pow2_plan& plan)
    {
        const int order = plan.order, bits = fine_order(order);
        const std::int64_t n = std::int64_t{1} << order, fine = std::int64_t{1} << bits, coarse = n / fine;
        const std::int64_t a = std::int64_t{1} << column_order(order);
        R* table = kpr_array<R>(2 * (fine + coarse + group * a + a));
        plan.twiddle_table = table;
        if (table == nullptr) return false;
        const auto put = [&table](root w, int distance) {
            table[0] = static_cast<R>(w.cos), table[distance] = static_cast<R>(w.sin);
        };
        for (std::int64_t i = 0; i < fine; ++i, table += 2) put(table_root(i, n), 1);
        for (std::int64_t i = 0; i < coarse; ++i, table += 2) put(table_root(i, coarse), 1);
        for (std::int64_t i = 0; i < a; ++i)
            for (int c = 0; c < group; ++c) {
                put(table_root(i * c, n), lanes);
                table += c % lanes == lanes - 1 ? lanes + 1 : 1;
            }
        const std::int64_t r = a == 64 ? 8 : 16;
        for (std::int64_t i = 0; i < r; ++i)
            for (std::int64_t k = 0; k < r; ++k, table += 2) put(table_root(i * k, a), 1);
        return true;
    }

    // One group of columns from column j on, from and to matrices of A rows of b values; they may be one.
    template <int Radix, bool Exchange>
    static void columns(const R* in, R* out, std::int64_t b, std::int64_t j, R* buffer, const tables& w)
    {
        for (int i = 0; i < Radix; ++i) {
            // w_n^(j row) for the rows i + Radix p of this step.
            R far[2 * Radix];
            for (int p = 0; p < Radix; ++p) {
                const std::int64_t t = j * (i + Radix * p);
                const R* f = w.fine + 2 * (t & ((std::int64_t{1} << w.fine_bits) - 1));
                const R* g = w.coarse + 2 * (t >> w.fine_bits);
                far[2 * p] = f[0] * g[0] - f[1] * g[1], far[2 * p + 1] = f[0] * g[1] + f[1] * g[0];
            }
            for (int c = 0; c < group; c += lanes) {
                const R* from = in + 2 * (i * b + j + c);
                R* to = buffer + 2 * (i * group + c);
                transform<Radix, apart<R>>(
                    [&](auto p) VRN_HERE {
                        const R* near = w.near + 2 * ((i + Radix * p) * group + c);
                        const apart<R> root = times_conj(apart<R>{V::load(near), V::load(near + lanes)},
                                                         V::all(far[2 * p]), V::all(far[2 * p + 1]));
                        return times(gather_side_by_side<Exchange>(from + 2 * Radix * b * p), root.re, root.im);
                    },
                    [&](auto k, apart<R> x) VRN_HERE {
                        const R* root = w.inner + 2 * (i * Radix + k);
                        const apart<R> y = k == 0 ? x : times(x, V::all(root[0]), V::all(root[1]));
                        R* at = to + 2 * group * Radix * k;
                        y.re.store(at), y.im.store(at + lanes);
                    });
            }
        }
        for (int k = 0; k < Radix; ++k)
            for (int c = 0; c < group; c += lanes) {
                const R* from = buffer + 2 * (k * group * Radix + c);
                R* to = out + 2 * (k * b + j + c);
                transform<Radix, apart<R>>(
                    [&](auto i) VRN_HERE {
                        const R* at = from + 2 * group * i;
                        return apart<R>{V::load(at), V::load(at + lanes)};
                    },
                    [&](auto q, apart<R> x) VRN_HERE { interleave<Exchange>(x, to + 2 * Radix * b * q, lanes); });
            }
    }

    // Row c of the buffer := from[c + step m], m < b; steps in complex values.
    static void gather_rows(const R* from, std::int64_t step, R* buffer, std::int64_t buffer_step, std::int64_t b)
    {
        for (std::int64_t m = 0; m < b; ++m, from += 2 * step, buffer += 2) {
            if constexpr (sizeof(R) == 8)
                unroll<group>([&](auto c) VRN_HERE { V::loadu(from + 2 * c).store(buffer + 2 * c * buffer_step); });
            else
                unroll<group / 2>([&](auto h) VRN_HERE {
                    const V two = V::loadu(from + 4 * h);
                    two.store2(buffer + 4 * h * buffer_step);
                    _mm_storeh_pi(reinterpret_cast<__m64*>(buffer + (4 * h + 2) * buffer_step), two.v);
                });
        }
    }

    // The work area: a matrix for transforms in place, the buffer of either level, the work of the rows' plan.
    static std::int64_t buffer_step(std::int64_t b) { return b + group; } // rows apart in the cache's sets
    static std::int64_t buffer_values(std::int64_t a, std::int64_t b)
    {
        return group * (a > buffer_step(b) ? a : buffer_step(b));
    }
    static std::int64_t work_bytes(const pow2_plan& plan)
    {
        const std::int64_t a = std::int64_t{1} << column_order(plan.order), b = std::int64_t{1} << plan.rows->order;
        return 2 * static_cast<std::int64_t>(sizeof(R)) * (a * b + buffer_values(a, b)) + plan.rows->work_size + 128;
    }
    template <bool Exchange>
    static void run(const pow2_plan& plan, const R* in, R* out, std::byte* work)
    {
        const std::int64_t a = std::int64_t{1} << column_order(plan.order), b = std::int64_t{1} << plan.rows->order;
        const std::int64_t step = buffer_step(b);
        R* buffer = reinterpret_cast<R*>(work);
        std::byte* rows_work = aligned64(reinterpret_cast<std::byte*>(buffer + 2 * buffer_values(a, b)));
        R* middle = in != out ? out : reinterpret_cast<R*>(aligned64(rows_work + plan.rows->work_size));
        const tables w = tables_of(plan);
        for (std::int64_t i = 0; i < a; i += group) {
            gather_rows(in + 2 * i, a, buffer, step, b);
            for (int c = 0; c < group; ++c)
                run_pow2(plan.rows, Exchange ? direction::inverse : direction::forward, buffer + 2 * c * step,
                         middle + 2 * (i + c) * b, rows_work);
        }
        for (std::int64_t j = 0; j < b; j += group) {
            if (a == 64) columns<8, Exchange>(middle, out, b, j, buffer, w);
            else columns<16, Exchange>(middle, out, b, j, buffer, w);
        }
    }
};

template <class R>
std::int32_t build_two_level(pow2_plan& plan)
{
    const int b = plan.order - two_level<R>::column_order(plan.order);
    plan.table_order = plan.order;
    if (!two_level<R>::make_tables(plan)) return kpr_no_memory;
    if (const auto status = make_pow2<R>(&plan.rows, b, scale_none, plan.hint); status != kpr_ok) return status;
    const std::int64_t bytes = two_level<R>::work_bytes(plan);
    if (bytes > INT32_MAX) return kpr_bad_order;
    plan.work_size = static_cast<std::int32_t>(bytes);
    return kpr_ok;
}

template <class R>
void run_two_level(const pow2_plan& plan, direction d, const R* in, R* out, std::byte* work)
{
    if (d == direction::forward) two_level<R>::template run<false>(plan, in, out, work);
    else two_level<R>::template run<true>(plan, in, out, work);
}

} // namespace vrn::dft
