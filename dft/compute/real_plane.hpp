// dft/compute/real_plane.hpp - two-dimensional real transforms with packed spectra.
//
//     row:    R0 ... interior complex values ... Rlast     interior columns are complex and transformed as they lie
//     column: R0 and Rlast of all rows are real columns: together one complex transform, each stored packed again
//
// CCS has two more rows, which hold the last values of those two columns; all else of them is not touched. All
// strides count reals. A side whose first stride is not 1 goes through a contiguous copy.
#pragma once

#include "dft/compute/columns.hpp"
#include "dft/compute/kernels.hpp"

namespace vrn::dft {

// Where the values of a packed row or column of n lie; last is -1 where an odd n has none.
struct packed_places {
    std::int64_t interior, last, values;
    packed_places(std::int32_t layout, std::int64_t n)
    {
        const bool even = n % 2 == 0, zeros = has_zero_parts(layout);
        interior = zeros || (layout == format_perm && even) ? 2 : 1;
        last = !even ? -1 : zeros ? n : layout == format_perm ? 1 : n - 1;
        values = packed_count(layout, n);
    }
};

// The two real columns of a packed matrix: x[j] = (first, last) of row j, and back.
template <class R>
struct real_columns {
    std::int32_t layout;
    std::int64_t rows;
    packed_places row, column;

    real_columns(std::int32_t format, std::int64_t n, std::int64_t m)
        : layout(format), rows(m), row(format, n), column(format, m)
    {
    }

    // Separates Z = A + i B into the packed columns of A and B.
    void store(const cplx<R>* z, R* matrix, std::int64_t stride) const
    {
        put(matrix, stride, 0, {z[0].re, 0}), put_last(matrix, stride, 0, z);
        if (row.last >= 0) put(matrix + row.last, stride, 0, {z[0].im, 0}), put_last(matrix + row.last, stride, 1, z);
        for (std::int64_t k = 1; 2 * k < rows; ++k) {
            const cplx<R> u = z[k], v = simd::conj(z[rows - k]);
            put(matrix, stride, k, R(0.5) * (u + v));
            const cplx<R> w = R(0.5) * (u - v);
            if (row.last >= 0) put(matrix + row.last, stride, k, {w.im, -w.re});
        }
    }
    // The inverse: Z of the two packed columns.
    void load(const R* matrix, std::int64_t stride, cplx<R>* z) const
    {
        for (std::int64_t k = 0; 2 * k <= rows; ++k) {
            const cplx<R> a = get(matrix, stride, k);
            const cplx<R> b = row.last >= 0 ? get(matrix + row.last, stride, k) : cplx<R>{0, 0};
            z[k] = {a.re - b.im, a.im + b.re};
            if (k > 0) z[rows - k] = {a.re + b.im, b.re - a.im};
        }
    }

  private:
    void put(R* c, std::int64_t stride, std::int64_t k, cplx<R> v) const
    {
        if (k == 0) {
            c[0] = v.re;
            if (has_zero_parts(layout)) c[stride] = 0;
            return;
        }
        c[(column.interior + 2 * k - 2) * stride] = v.re;
        c[(column.interior + 2 * k - 1) * stride] = v.im;
    }
    void put_last(R* c, std::int64_t stride, int part, const cplx<R>* z) const
    {
        if (column.last < 0) return;
        c[column.last * stride] = part == 0 ? z[rows / 2].re : z[rows / 2].im;
        if (has_zero_parts(layout)) c[(column.last + 1) * stride] = 0;
    }
    cplx<R> get(const R* c, std::int64_t stride, std::int64_t k) const
    {
        if (k == 0) return {c[0], 0};
        if (2 * k == rows) return {c[column.last * stride], 0};
        return {c[(column.interior + 2 * k - 2) * stride], c[(column.interior + 2 * k - 1) * stride]};
    }
};

// What a packed matrix has beyond its m rows: the ends of the two real columns.
template <class R, class Move>
void for_packed_values(const real_columns<R>& c, Move&& move)
{
    for (std::int64_t j = 0; j < c.column.values; ++j) {
        if (j < c.rows) {
            for (std::int64_t i = 0; i < c.row.values; ++i) move(i, j);
        } else {
            move(0, j);
            if (c.row.last >= 0) move(c.row.last, j);
        }
    }
}

template <class R>
dft_status packed_rows(const column_kernel& k, const R* in, std::int64_t in_stride, std::int64_t in_row,
                       std::int64_t in_count, R* out, std::int64_t out_stride, std::int64_t out_row,
                       std::int64_t out_count, std::int64_t rows, void* block)
{
    for (std::int64_t j = 0; j < rows; ++j) {
        const R* x = in + j * in_row;
        R* y = out + j * out_row;
        const dft_status s =
            in_stride == 1 && out_stride == 1
                ? k.run(x, y, k.node, k.work)
                : transform_columns<R, R>(k, {x, in_count, in_stride, 0}, {y, out_count, out_stride, 0}, 1, 0, block);
        if (s != ok) return s;
    }
    return ok;
}

struct plane_strides {
    std::int64_t in0, in1, out0, out1;
    explicit plane_strides(const descriptor* d)
        : in0(d->input_stride), in1(d->child->input_stride), out0(d->output_stride), out1(d->child->output_stride)
    {
        if (d->placement == in_place) out0 = in0, out1 = in1;
    }
};

// Columns first to last - 1 of a packed matrix, where column 0 is the pair of real ones. `from` and `to` may be the
// same; the interior begins where each side's layout has it.
template <class R>
dft_status packed_column_pass(const descriptor* d, const R* from, std::int64_t from_row, R* to, std::int64_t to_row,
                              std::int32_t to_layout, bool forward, std::int64_t first, std::int64_t last,
                              void* block, void* work)
{
    const descriptor* child = d->child;
    const std::int64_t n = d->length, m = child->length;
    const column_kernel k{forward ? child->forward_kernel : child->backward_kernel, child, work};
    const real_columns<R> given(layout_of(d), n, m), made(to_layout, n, m);
    if (first == 0 && last > 0) {
        auto* z = static_cast<cplx<R>*>(block);
        if (forward) {
            for (std::int64_t j = 0; j < m; ++j)
                z[j] = {from[j * from_row], given.row.last >= 0 ? from[j * from_row + given.row.last] : R{0}};
        } else {
            given.load(from, from_row, z);
        }
        if (const dft_status s = k.run(z, z, child, work); s != ok) return s;
        if (forward) made.store(z, to, to_row);
        else
            for (std::int64_t j = 0; j < m; ++j) {
                to[j * to_row] = z[j].re;
                if (made.row.last >= 0) to[j * to_row + made.row.last] = z[j].im;
            }
    }
    const std::int64_t begin = std::max<std::int64_t>(first, 1) - 1;
    using E = cplx<R>;
    return transform_columns<E, E>(k, {reinterpret_cast<const E*>(from + given.row.interior) + begin, m, from_row, 2},
                                   {reinterpret_cast<E*>(to + made.row.interior) + begin, m, to_row, 2},
                                   last - 1 - begin, 3, block);
}

// The pair of real columns and the complex ones.
inline std::int64_t packed_column_count(std::int64_t n) { return 1 + (n - 1) / 2; }

template <class R>
std::uint64_t packed_block(const descriptor* d)
{
    const auto m = static_cast<std::uint64_t>(d->child->length),
               longest = static_cast<std::uint64_t>(d->longest_length);
    return sizeof(cplx<R>) * std::max(8 * m, longest + 2);
}

template <class R>
dft_status packed_forward(const descriptor* d, const R* in, R* out, void* work)
{
    const std::int64_t n = d->length, m = d->child->length;
    const plane_strides s(d);
    const std::int32_t layout = layout_of(d);
    const real_columns<R> places(layout, n, m);
    const buffer block(packed_block<R>(d));
    const bool straight = s.out0 == 1;
    const buffer copy(straight ? 0
                               : sizeof(R) * static_cast<std::uint64_t>(places.row.values * places.column.values));
    if (!block || (!straight && !copy)) return no_memory;
    R* y = straight ? out : copy.as<R>();
    const std::int64_t y_row = straight ? s.out1 : places.row.values;
    if (const dft_status st = packed_rows<R>({d->real_forward_direct, d, work}, in, s.in0, s.in1, n, y, 1, y_row,
                                             places.row.values, m, block.block);
        st != ok)
        return st;
    const dft_status st =
        packed_column_pass<R>(d, y, y_row, y, y_row, layout, true, 0, packed_column_count(n), block.block, work);
    if (st == ok && !straight)
        for_packed_values(places,
                          [&](std::int64_t i, std::int64_t j) { out[i * s.out0 + j * s.out1] = y[i + j * y_row]; });
    return st;
}

// Out of place the rows of CCS go on in PERM form (rows_come_as_perm): a row of the output has no room for more.
template <class R>
dft_status packed_backward(const descriptor* d, const R* in, R* out, void* work)
{
    const std::int64_t n = d->length, m = d->child->length;
    const plane_strides s(d);
    const std::int32_t layout = layout_of(d),
                       rows_layout = rows_come_as_perm(d) ? static_cast<std::int32_t>(format_perm) : layout;
    const real_columns<R> places(layout, n, m);
    const std::int64_t row_values = packed_count(rows_layout, n);
    const bool straight_in = s.in0 == 1, straight_out = d->placement == in_place ? straight_in : s.out0 == 1;
    const auto matrix = sizeof(R) * static_cast<std::uint64_t>(places.row.values * places.column.values);
    const buffer block(packed_block<R>(d)), in_copy(straight_in ? 0 : matrix);
    const bool own_rows = !straight_out && d->placement != in_place;
    const buffer rows_copy(own_rows ? matrix : 0);
    if (!block || (!straight_in && !in_copy) || (own_rows && !rows_copy)) return no_memory;

    const R* x = in;
    std::int64_t x_row = s.in1;
    if (!straight_in) {
        R* copy = in_copy.as<R>();
        x_row = places.row.values;
        for_packed_values(places,
                          [&](std::int64_t i, std::int64_t j) { copy[i + j * x_row] = in[i * s.in0 + j * s.in1]; });
        x = copy;
    }
    R* y = d->placement == in_place ? const_cast<R*>(x) : straight_out ? out : rows_copy.as<R>();
    const std::int64_t y_row = d->placement == in_place ? x_row : straight_out ? s.out1 : row_values;
    if (const dft_status st = packed_column_pass<R>(d, x, x_row, y, y_row, rows_layout, false, 0,
                                                    packed_column_count(n), block.block, work);
        st != ok)
        return st;
    return packed_rows<R>({d->real_backward_direct, d, work}, y, 1, y_row, row_values, out, s.out0, s.out1, n, m,
                          block.block);
}

} // namespace vrn::dft
