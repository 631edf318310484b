// dft/compute/plane.hpp - two dimensions of a complex transform, and further ones on top.
//
//     rows: every row of the first dimension by its kernel     columns: blocks of 4 or 8 by the second's
//
// There is no transposition. A row of a power of 2 in a large matrix goes through a buffer: its own temporary and the
// row would fight for one set of the cache. Called by the drivers of driver.hpp and by name from the host.
#pragma once

#include "dft/compute/columns.hpp"
#include "dft/compute/shape.hpp"

namespace vrn::dft {

inline std::int64_t cache_size() { return vrn_serv_get_cache_size(0); }

// One side of a plane: its data and the strides of the two dimensions, in complex values.
template <class E>
struct plane_side {
    E* data;
    std::int64_t first, second;
};

// The two kernels of a plane, of one direction.
struct plane_kernels {
    kernel_function *first, *second;
};

// Rows go `straight` to their place or through a block, columns 2^order at a time.
template <class R>
dft_status rows_and_columns(const plane_side<const cplx<R>>& in, const plane_side<cplx<R>>& out, bool straight,
                            int order, const plane_kernels& k, const descriptor* d, void* work)
{
    using E = cplx<R>;
    const descriptor* child = d->child;
    const std::int64_t m = d->length, n = child->length;
    if (m < 1 || n < 1) return ok;
    const buffer block(sizeof(E) * static_cast<std::uint64_t>(std::max(m, n << order)));
    if (!block) return no_memory;

    const bool forward = k.first == d->forward_kernel;
    // A codelet has no temporary that a row in place or a crowded one would fight with.
    if (in.first == 1 && out.first == 1 &&
        has_short_rows<R>(d, forward ? used_scale<R, true>(d) : used_scale<R, false>(d)))
        short_rows<R>(m, forward, in.data, in.second, out.data, out.second, n);
    else
        for (std::int64_t i = 0; i < n; ++i) {
            const E* p = in.data + i * in.second;
            E* q = out.data + i * out.second;
            const dft_status s = straight ? k.first(p, q, d, work)
                                          : transform_columns<E, E>({k.first, d, work}, {p, m, 2 * in.first, 0},
                                                                    {q, m, 2 * out.first, 0}, 1, 0, block.block);
            if (s != ok) return s;
        }
    if (n < 2) return ok;
    return transform_columns<E, E>({k.second, child, work}, {out.data, n, 2 * out.second, 2 * out.first},
                                   {out.data, n, 2 * out.second, 2 * out.first}, m, order, block.block);
}

template <class R>
dft_status plane(const plane_side<cplx<R>>& data, const plane_kernels& k, const descriptor* d, void* work)
{
    const bool unit = data.first == 1;
    // A direct kernel has no temporary, so rows of a matrix within the cache stay where they are; a scrambled one
    // works in place anyway.
    const bool straight =
        unit && (d->uses_primitive_plan != 1
                     ? cache_size() > static_cast<std::int64_t>(sizeof(cplx<R>)) * d->length * d->child->length
                     : d->ordering != ordered);
    return rows_and_columns<R>({data.data, data.first, data.second}, data, straight, unit ? 2 : 0, k, d, work);
}

template <class R>
dft_status plane_apart(const plane_side<const cplx<R>>& in, const plane_side<cplx<R>>& out, const plane_kernels& k,
                       const descriptor* d, void* work)
{
    const std::int64_t m = d->length, bytes = static_cast<std::int64_t>(sizeof(cplx<R>)) * m * d->child->length;
    const bool straight = in.first == 1 && out.first == 1 && (!is_pow2(m) || bytes < cache_size());
    return rows_and_columns<R>(in, out, straight, out.second != 1 ? 3 : 2, k, d, work);
}

// ---- further dimensions ----

// How many columns of a dimension above the second go at a time: enough to fill cache lines, few enough that a block
// stays cached.
struct block_choice {
    int order;
    std::int64_t block;
};
inline block_choice columns_at_once(const shape& s)
{
    if (s.stride[0] != 2) return {0, 1};
    const std::int64_t p = s.run(s.leading(s.rank)), a = s.length[1], b = s.rank > 2 ? s.length[2] : 1;
    if (a > 32) return {3, p > (p & 7) ? 8 : p & 7};
    if (b < 33 && p >= 4096) return {2, 4};
    if (p > 16 || a > 16 || b < 2049) return {3, 8};
    return {2, 4};
}

// Units first to last - 1 of dimension `dim`, in place; neighbouring blocks of one position go in one pass.
template <class R>
dft_status further_dimension(cplx<R>* data, const shape& s, int dim, bool forward, const block_choice& choice,
                             const column_units& units, std::int64_t first, std::int64_t last, void* block,
                             void* work)
{
    using E = cplx<R>;
    const descriptor* node = s.node[dim];
    const column_kernel k{forward ? node->forward_kernel : node->backward_kernel, node, work};
    position_walk walk(s, s, units.q, dim, first / units.blocks);
    std::int64_t begin = first % units.blocks * units.block;
    for (std::int64_t left = last - first; left > 0; walk.next(), begin = 0) {
        const std::int64_t end = std::min(units.columns, begin + left * units.block);
        const side<E> to{at(data, walk.offset_a + begin * s.stride[0]), s.length[dim], s.stride[dim], s.stride[0]};
        if (const dft_status st = transform_columns<E, E>(k, {to.data, to.count, to.stride, to.distance}, to,
                                                          end - begin, choice.order, block);
            st != ok)
            return st;
        left -= (end - begin + units.block - 1) / units.block;
    }
    return ok;
}

template <class R>
dft_status further_dimension(cplx<R>* data, const shape& s, int dim, bool forward, const block_choice& choice,
                             void* block, void* work)
{
    const column_units units(s, dim, choice.block);
    return further_dimension<R>(data, s, dim, forward, choice, units, 0, units.count(), block, work);
}

// Planes first to first + count - 1 of the two lowest dimensions. in == out in place, with the strides of the input.
template <class R>
dft_status planes(const descriptor* d, const cplx<R>* in, cplx<R>* out, const shape& a, const shape& b, bool forward,
                  bool inplace, std::int64_t first, std::int64_t count, void* work)
{
    const plane_kernels k = forward ? plane_kernels{d->forward_kernel, d->child->forward_kernel}
                                    : plane_kernels{d->backward_kernel, d->child->backward_kernel};
    position_walk walk(a, b, 2, -1, first);
    for (std::int64_t i = 0; i < count; ++i, walk.next()) {
        const plane_side<cplx<R>> to{at(out, walk.offset_b), b.stride[0] / 2, b.stride[1] / 2};
        const dft_status s =
            inplace ? plane<R>(to, k, d, work)
                    : plane_apart<R>({at(in, walk.offset_a), a.stride[0] / 2, a.stride[1] / 2}, to, k, d, work);
        if (s != ok) return s;
    }
    return ok;
}

template <class R>
dft_status many_dimensions(const descriptor* d, const cplx<R>* in, cplx<R>* out, bool forward, bool inplace,
                           void* work)
{
    const shape a(d, &descriptor::input_stride, 2, d->length);
    const shape b(d, inplace ? &descriptor::input_stride : &descriptor::output_stride, 2, d->length);
    if (const dft_status s = planes<R>(d, in, out, a, b, forward, inplace, 0, a.positions(2, -1), work); s != ok)
        return s;
    const block_choice choice = columns_at_once(b);
    // A choice of 8 with fewer columns than that still gets room for the widths below it.
    const buffer block(static_cast<std::uint64_t>(d->longest_length) * sizeof(cplx<R>) << choice.order);
    if (!block) return no_memory;
    for (int dim = 2; dim < b.rank; ++dim)
        if (const dft_status s = further_dimension<R>(out, b, dim, forward, choice, block.block, work); s != ok)
            return s;
    return ok;
}

} // namespace vrn::dft
