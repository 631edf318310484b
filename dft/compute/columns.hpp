// dft/compute/columns.hpp - many strided transforms of one node: gather a block of columns, transform each, scatter.
//
// Takes every element pair: complex to complex, real to packed or complex and back. A block of 8 double complex
// values is two cache lines of 64 bytes, so that neighbours are fetched whole. The node's batch plans, where it has
// them, go ahead, and short lengths go without a move (short_columns.hpp). Called by the drivers of one, two and more
// dimensions and by the pieces for threads.
#pragma once

#include "dft/commit/batch_plan.hpp"
#include "dft/compute/move.hpp"
#include "dft/compute/short_columns.hpp"

namespace vrn::dft {

// What runs on each contiguous column.
struct column_kernel {
    kernel_function* run;
    const descriptor* node;
    void* work;
};

// One side of a pass; strides and distance in reals.
template <class E>
struct side {
    E* data;
    std::int64_t count, stride, distance;
};

// Bytes of one column in the block.
template <class In, class Out>
std::int64_t column_bytes(std::int64_t in_count, std::int64_t out_count)
{
    return std::max<std::int64_t>(in_count * static_cast<std::int64_t>(sizeof(In)),
                                  out_count * static_cast<std::int64_t>(sizeof(Out)));
}

// Elements of either side that are contiguous need no move.
template <class E>
bool is_unit(const side<E>& s)
{
    return s.stride == simd::element<std::remove_const_t<E>>::parts;
}

template <class In, class Out>
dft_status one_block(const column_kernel& k, const side<const In>& in, const side<Out>& out, std::int64_t first,
                     std::int64_t width, std::byte* block, std::int64_t bytes)
{
    const std::int64_t in_step = bytes / static_cast<std::int64_t>(sizeof(In));
    const std::int64_t out_step = bytes / static_cast<std::int64_t>(sizeof(Out));
    if (width == 1 && is_unit(in)) {
        // What is contiguous is not moved first: the kernel reads it where it lies.
        if (const dft_status s = k.run(at(in.data, first * in.distance), block, k.node, k.work); s != ok) return s;
    } else {
        gather(in.count, width, at(in.data, first * in.distance), in.stride, in.distance,
               reinterpret_cast<In*>(block), in_step);
        for (std::int64_t w = 0; w < width; ++w)
            if (const dft_status s = k.run(block + w * bytes, block + w * bytes, k.node, k.work); s != ok) return s;
    }
    scatter(out.count, width, reinterpret_cast<const Out*>(block), out_step, at(out.data, first * out.distance),
            out.stride, out.distance);
    return ok;
}

// `columns` of them; blocks of 2^order, the tail in blocks of 4, 2 and 1. A null `block` allocates one.
template <class In, class Out>
dft_status transform_columns(const column_kernel& k, const side<const In>& in, const side<Out>& out,
                             std::int64_t columns, int order, void* block)
{
    if (columns < 1 || in.count < 1) return ok;
    if constexpr (std::is_same_v<In, Out> && simd::element<In>::parts == 2) {
        using R = simd::real_of<In>;
        const bool neighbours = in.distance == 2 && out.distance == 2;
        if (neighbours && k.node->ordering == ordered && !has_batch_plans(k.node)) {
            if (const auto way = short_way<R>(k.node->length, in.stride, out.stride); way.n1 != 0) {
                const bool forward = k.run == k.node->forward_kernel;
                const R scale = forward ? used_scale<R, true>(k.node) : used_scale<R, false>(k.node);
                short_columns<R>(way, forward, &in.data->re, in.stride, &out.data->re, out.stride, columns, scale);
                return ok;
            }
        }
        if (neighbours && has_batch_plans(k.node) &&
            run_batch_plans<R>(k.node, k.run, in.data, in.stride, out.data, out.stride, columns) == ok)
            return ok;
    }
    const std::int64_t bytes = column_bytes<In, Out>(in.count, out.count);
    const buffer own(block != nullptr ? 0 : static_cast<std::uint64_t>(bytes << order));
    auto* store = static_cast<std::byte*>(block != nullptr ? block : own.block);
    if (store == nullptr) return no_memory;
    std::int64_t width = std::int64_t{1} << order;
    for (std::int64_t first = 0; first < columns;) {
        // After 8 comes 4: the widths that gather and scatter unroll.
        while (width > columns - first) width /= 2;
        if (const dft_status s = one_block<In, Out>(k, in, out, first, width, store, bytes); s != ok) return s;
        first += width;
    }
    return ok;
}

// The block width of interleaved batches: 4 keeps many short columns in the first-level cache.
inline int batch_order(std::int64_t count, std::int64_t length) { return count <= 16384 && length <= 32 ? 2 : 3; }

// One transform of a node, moved through a buffer where a side is not contiguous.
template <class In, class Out>
dft_status transform_one(const column_kernel& k, const side<const In>& in, const side<Out>& out)
{
    if (is_unit(in) && is_unit(out)) return k.run(in.data, out.data, k.node, k.work);
    return transform_columns<In, Out>(k, in, out, 1, 0, nullptr);
}

} // namespace vrn::dft
