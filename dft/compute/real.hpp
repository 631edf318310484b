// dft/compute/real.hpp - real transforms of a descriptor on one thread.
//
//     forward:  rows real -> spectrum by the head's kernel, then the further dimensions as complex columns
//     backward: the columns first, then the rows
//
// With complex storage of the spectrum (Cce) a row has n/2 + 1 complex values and any rank goes; packed spectra are
// reals, in one dimension here and in two in real_plane.hpp. All strides below count reals.
#pragma once

#include "dft/compute/kernels.hpp"
#include "dft/compute/plane.hpp"
#include "dft/compute/real_plane.hpp"
#include "dft/compute/way_back.hpp"

namespace vrn::dft {

// One row of either direction: a real side and a spectrum side. In and Out are R or cplx<R>.
template <class In, class Out>
dft_status real_rows(const column_kernel& k, const In* in, const shape& a, std::int64_t in_count, Out* out,
                     const shape& b, std::int64_t out_count, std::int64_t first, std::int64_t rows, void* block)
{
    position_walk walk(a, b, 1, -1, first);
    for (std::int64_t i = 0; i < rows; ++i, walk.next()) {
        const side<const In> from{at(in, walk.offset_a), in_count, a.stride[0], 0};
        const side<Out> to{at(out, walk.offset_b), out_count, b.stride[0], 0};
        const dft_status s = is_unit(from) && is_unit(to) ? k.run(from.data, to.data, k.node, k.work)
                                                          : transform_columns<In, Out>(k, from, to, 1, 0, block);
        if (s != ok) return s;
    }
    return ok;
}

// Room for a block of columns of any dimension, or for one row.
template <class R>
std::uint64_t block_bytes(const descriptor* d, int order)
{
    return (static_cast<std::uint64_t>(d->longest_length) + 2) * sizeof(cplx<R>) << order;
}

template <class R>
dft_status cce_forward(const descriptor* d, const R* in, R* out, void* work)
{
    const std::int64_t n = d->length, half = n / 2 + 1;
    const shape a(d, &descriptor::input_stride, 1, n), b(d, &descriptor::output_stride, 2, half);
    const block_choice choice = b.rank > 1 ? columns_at_once(b) : block_choice{0, 1};
    const buffer block(block_bytes<R>(d, choice.order));
    if (!block) return no_memory;
    auto* spectrum = reinterpret_cast<cplx<R>*>(out);
    if (const dft_status s = real_rows<R, cplx<R>>({d->real_forward_direct, d, work}, in, a, n, spectrum, b, half, 0,
                                                   a.positions(1, -1), block.block);
        s != ok)
        return s;
    for (int dim = 1; dim < b.rank; ++dim)
        if (const dft_status s = further_dimension<R>(spectrum, b, dim, true, choice, block.block, work); s != ok)
            return s;
    return ok;
}

// Rows first to first + count - 1 of the input, as the work on them wants them.
template <class R>
void carry_rows(const way_back& w, const R* in, R* to, std::int64_t first, std::int64_t count)
{
    const auto* x = reinterpret_cast<const cplx<R>*>(in);
    position_walk walk(w.given, w.carried, 1, -1, first);
    for (std::int64_t i = 0; i < count; ++i, walk.next()) {
        const cplx<R>* row = at(x, walk.offset_a);
        auto* y = reinterpret_cast<cplx<R>*>(to + walk.offset_b);
        gather(w.carried.length[0], 1, row, w.given.stride[0], 0, y, 0);
        if (w.road != road_back::in_output) continue;
        const cplx<R> head = row[0], tail = *at(row, w.carried.length[0] * w.given.stride[0]);
        y[0] = {head.re - tail.im, head.im + tail.re};
    }
}

// Two dimensions straight from input to output: columns first to last - 1, of which 0 is the pair.
template <class R>
dft_status carry_columns(const descriptor* d, const way_back& w, const R* in, R* out, std::int64_t first,
                         std::int64_t last, void* block, void* work)
{
    using E = cplx<R>;
    const descriptor* child = d->child;
    const std::int64_t m = child->length;
    const column_kernel k{child->backward_kernel, child, work};
    const auto* x = reinterpret_cast<const E*>(in);
    auto* y = reinterpret_cast<E*>(out);
    if (first == 0 && last > 0) {
        auto* z = static_cast<E*>(block);
        for (std::int64_t j = 0; j < m; ++j) {
            const E *row = at(x, j * w.given.stride[1]), head = row[0],
                    tail = *at(row, w.carried.length[0] * w.given.stride[0]);
            z[j] = {head.re - tail.im, head.im + tail.re};
        }
        if (const dft_status s = k.run(z, z, child, work); s != ok) return s;
        scatter(m, 1, static_cast<const E*>(z), 0, y, w.carried.stride[1], 0);
    }
    const std::int64_t begin = std::max<std::int64_t>(first, 1);
    return transform_columns<E, E>(k, {at(x, begin * w.given.stride[0]), m, w.given.stride[1], w.given.stride[0]},
                                   {y + begin, m, w.carried.stride[1], 2}, last - begin, 3, block);
}

// Rows first to first + count - 1 from the worked spectrum to the result.
template <class R>
dft_status finish_rows(const descriptor* d, const way_back& w, R* spectrum, R* out, std::int64_t first,
                       std::int64_t count, void* block, void* work)
{
    const std::int64_t n = d->length;
    // The kernel takes PERM (rows_come_as_perm); an odd row of it has no place for the first imaginary part.
    const std::int64_t lead = w.road == road_back::copy ? n % 2 : 0;
    if (w.road == road_back::copy) {
        position_walk walk(w.carried, w.carried, 1, -1, first);
        for (std::int64_t i = 0; i < count; ++i, walk.next()) {
            R* row = spectrum + walk.offset_a;
            row[1] = lead ? row[0] : row[n];
        }
    }
    return real_rows<cplx<R>, R>({d->real_backward_direct, d, work},
                                 reinterpret_cast<const cplx<R>*>(spectrum + lead), w.carried, n / 2 + 1, out,
                                 w.reals, n, first, count, block);
}

template <class R>
dft_status cce_backward(const descriptor* d, const R* in, R* out, void* work)
{
    const way_back w(d);
    const std::int64_t n = d->length;
    if (w.given.rank == 1)
        return transform_one<cplx<R>, R>({d->real_backward_direct, d, work},
                                         {reinterpret_cast<const cplx<R>*>(in), n / 2 + 1, w.given.stride[0], 0},
                                         {out, n, w.reals.stride[0], 0});
    const block_choice choice = columns_at_once(w.carried);
    const buffer block(block_bytes<R>(d, 3));
    const buffer copy(
        w.road == road_back::copy ? static_cast<std::uint64_t>(w.rows() * w.carried.length[0]) * sizeof(cplx<R>) : 0);
    if (!block || (w.road == road_back::copy && !copy)) return no_memory;
    R* spectrum = w.road == road_back::copy ? copy.as<R>() : out;
    if (w.road == road_back::in_output && w.given.rank == 2) {
        const dft_status s = carry_columns<R>(d, w, in, out, 0, n / 2, block.block, work);
        if (s != ok) return s;
    } else {
        if (w.road != road_back::in_place) carry_rows<R>(w, in, spectrum, 0, w.rows());
        for (int dim = w.carried.rank - 1; dim > 0; --dim) {
            const dft_status s = further_dimension<R>(reinterpret_cast<cplx<R>*>(spectrum), w.carried, dim, false,
                                                      choice, block.block, work);
            if (s != ok) return s;
        }
    }
    return finish_rows<R>(d, w, spectrum, out, 0, w.rows(), block.block, work);
}

template <class R, bool Forward, bool Cce>
dft_status real_driver(const descriptor* d, R* x, R* y, std::int64_t count, void* work)
{
    const std::int64_t n = d->length;
    const column_kernel k{Forward ? d->real_forward_direct : d->real_backward_direct, d, work};
    // A packed transform in place has one set of strides, that of the input.
    const bool one_set = !Cce && d->placement == in_place;
    const std::int64_t in_reals = Cce && !Forward ? 2 : 1, out_reals = Cce && Forward ? 2 : 1;
    const std::int64_t in_stride = in_reals * d->input_stride, in_distance = in_reals * d->input_distance;
    const std::int64_t out_stride = one_set ? in_stride : out_reals * d->output_stride;
    const std::int64_t out_distance = one_set ? in_distance : out_reals * d->output_distance;
    const std::int64_t values = packed_count(layout_of(d), n);

    if (d->work_rank == 1) {
        using In = std::conditional_t<Cce && !Forward, cplx<R>, R>;
        using Out = std::conditional_t<Cce && Forward, cplx<R>, R>;
        const std::int64_t spectrum = Cce ? n / 2 + 1 : values;
        side<const In> from{reinterpret_cast<const In*>(x), Forward ? n : spectrum, in_stride, in_distance};
        side<Out> to{reinterpret_cast<Out*>(y), Forward ? spectrum : n, out_stride, out_distance};
        if (d->input_distance == 1 && n > 1)
            return transform_columns<In, Out>(k, from, to, count, batch_order(count, n), nullptr);
        for (std::int64_t i = 0; i < count; ++i) {
            if (const dft_status s = transform_one<In, Out>(k, from, to); s != ok) return s;
            from.data = at(from.data, in_distance);
            to.data = at(to.data, out_distance);
        }
        return ok;
    }
    if (!Cce && d->work_rank > 2) return bad_rank;
    for (std::int64_t i = 0; i < count; ++i, x += in_distance, y += out_distance) {
        const dft_status s = Cce ? (Forward ? cce_forward<R>(d, x, y, work) : cce_backward<R>(d, x, y, work))
                                 : (Forward ? packed_forward<R>(d, x, y, work) : packed_backward<R>(d, x, y, work));
        if (s != ok) return s;
    }
    return ok;
}

} // namespace vrn::dft
