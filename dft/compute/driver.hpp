// dft/compute/driver.hpp - complex transforms of a descriptor on one thread: `count` of them, any rank.
//
// Interleaved neighbours (distance 1) go in blocks of columns, single ones by kernel, plane or walk. In place only
// the input's strides count. Reentrant; holds nothing between calls. Exported as xzforward and its like (driver.cpp).
#pragma once

#include "dft/compute/plane.hpp"

namespace vrn::dft {

template <class R, bool Forward>
kernel_function* kernel_of(const descriptor* node)
{
    return Forward ? node->forward_kernel : node->backward_kernel;
}

// Split storage: arrays of two pointers on either side.
template <class R, bool Forward>
dft_status split_driver(const descriptor* d, R* const* in, R* const* out, std::int64_t out_stride,
                        std::int64_t out_distance, std::int64_t count, void* work)
{
    if (d->work_rank != 1) return bad_rank;
    if (count < 1) return ok;
    const std::int64_t n = d->length;
    const bool unit = d->input_stride == 1 && out_stride == 1;
    const auto a = static_cast<std::uint64_t>(buffer_alignment());
    const std::uint64_t half = (static_cast<std::uint64_t>(n) * sizeof(R) + a - 1) / a * a;
    const buffer block(unit ? 0 : 2 * half);
    if (!unit && !block) return no_memory;
    R* part[2] = {block.as<R>(), reinterpret_cast<R*>(block.as<std::byte>() + half)};
    for (std::int64_t i = 0; i < count; ++i) {
        const R* x[2];
        R* y[2];
        for (int p = 0; p < 2; ++p) x[p] = in[p] + i * d->input_distance, y[p] = out[p] + i * out_distance;
        if (unit) {
            if (const dft_status s = kernel_of<R, Forward>(d)(x, y, d, work); s != ok) return s;
            continue;
        }
        for (int p = 0; p < 2; ++p) gather(n, 1, x[p], d->input_stride, 0, part[p], 0);
        if (const dft_status s = kernel_of<R, Forward>(d)(part, part, d, work); s != ok) return s;
        for (int p = 0; p < 2; ++p) scatter(n, 1, static_cast<const R*>(part[p]), 0, y[p], out_stride, 0);
    }
    return ok;
}

template <class R, bool Forward, bool InPlace>
dft_status complex_driver(const descriptor* d, void* in, void* out, std::int64_t count, void* work)
{
    using E = cplx<R>;
    const std::int64_t out_stride = InPlace ? d->input_stride : d->output_stride;
    const std::int64_t out_distance = InPlace ? d->input_distance : d->output_distance;
    if (d->complex_storage == storage_split)
        return split_driver<R, Forward>(d, static_cast<R* const*>(in), static_cast<R* const*>(InPlace ? in : out),
                                        out_stride, out_distance, count, work);
    const E* x = static_cast<const E*>(in);
    E* y = static_cast<E*>(InPlace ? in : out);
    const std::int64_t n = d->length;
    const column_kernel k{kernel_of<R, Forward>(d), d, work};

    if (d->input_distance == 1 && n > 1 && d->work_rank <= 2) {
        if (d->work_rank == 1)
            return transform_columns<E, E>(k, {x, n, 2 * d->input_stride, 2},
                                           {y, n, 2 * out_stride, 2 * out_distance}, count, batch_order(count, n),
                                           nullptr);
        const descriptor* child = d->child;
        const std::int64_t child_out = InPlace ? child->input_stride : child->output_stride;
        for (std::int64_t j = 0; j < child->length; ++j) {
            const dft_status s = transform_columns<E, E>(k, {x + j * child->input_stride, n, 2 * d->input_stride, 2},
                                                         {y + j * child_out, n, 2 * out_stride, 2 * out_distance},
                                                         count, batch_order(count, n), nullptr);
            if (s != ok) return s;
        }
        const column_kernel second{kernel_of<R, Forward>(child), child, work};
        for (std::int64_t i = 0; i < n; ++i) {
            const side<E> to{y + i * out_stride, child->length, 2 * child_out, 2 * out_distance};
            const dft_status s = transform_columns<E, E>(second, {to.data, to.count, to.stride, to.distance}, to,
                                                         count, batch_order(count, child->length), nullptr);
            if (s != ok) return s;
        }
        return ok;
    }

    // Short rows come by the thousand: nothing but the kernel stands in their loop.
    if (d->work_rank == 1 && d->input_stride == 1 && out_stride == 1) {
        if (has_short_rows<R>(d, used_scale<R, Forward>(d))) {
            short_rows<R>(n, Forward, x, d->input_distance, y, out_distance, count);
            return ok;
        }
        dft_status s = ok;
        for (std::int64_t i = 0; i < count && s == ok; ++i, x += d->input_distance, y += out_distance)
            s = k.run(x, y, d, work);
        return s;
    }
    for (std::int64_t i = 0; i < count; ++i, x += d->input_distance, y += out_distance) {
        dft_status s = ok;
        if (d->work_rank == 1) {
            s = transform_one<E, E>(k, {x, n, 2 * d->input_stride, 0}, {y, n, 2 * out_stride, 0});
        } else if (d->work_rank == 2) {
            const descriptor* c = d->child;
            const plane_kernels both{k.run, kernel_of<R, Forward>(c)};
            if constexpr (InPlace) s = plane<R>({y, d->input_stride, c->input_stride}, both, d, work);
            else
                s = plane_apart<R>({x, d->input_stride, c->input_stride}, {y, d->output_stride, c->output_stride},
                                   both, d, work);
        } else {
            s = many_dimensions<R>(d, x, y, Forward, InPlace, work);
        }
        if (s != ok) return s;
    }
    return ok;
}

} // namespace vrn::dft
