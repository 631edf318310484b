// dft/compute/complex.cpp - the complex drivers and their pieces for threads, by their exported names.

#include "dft/commit/core.hpp"
#include "dft/compute/driver.hpp"
#include "frame/export.hpp"

using namespace vrn::dft;

// ---- one descriptor, `count` transforms ----

#define DRIVER(name, R, forward)                                                                                     \
    VRN_EXPORT dft_status name(const descriptor* d, void* data, std::int64_t count, void* work)                      \
    {                                                                                                                \
        return complex_driver<R, forward, true>(d, data, nullptr, count, work);                                      \
    }
DRIVER(vrn_dft_s42_xzforward, double, true)
DRIVER(vrn_dft_s42_xzbackward, double, false)
DRIVER(vrn_dft_s42_xcforward, float, true)
DRIVER(vrn_dft_s42_xcbackward, float, false)

#define DRIVER_OUT(name, R, forward)                                                                                 \
    VRN_EXPORT dft_status name(const descriptor* d, void* in, void* out, std::int64_t count, void* work)             \
    {                                                                                                                \
        return complex_driver<R, forward, false>(d, in, out, count, work);                                           \
    }
DRIVER_OUT(vrn_dft_s42_xzforward_out, double, true)
DRIVER_OUT(vrn_dft_s42_xzbackward_out, double, false)
DRIVER_OUT(vrn_dft_s42_xcforward_out, float, true)
DRIVER_OUT(vrn_dft_s42_xcbackward_out, float, false)

// ---- a plane, its rows, its columns ----

#define PLANE(name, R)                                                                                               \
    VRN_EXPORT dft_status name(void* data, const std::int64_t* strides_first, const std::int64_t* strides_second,    \
                               kernel_function* first, kernel_function* second, const descriptor* d, void* work)     \
    {                                                                                                                \
        return plane<R>({static_cast<cplx<R>*>(data), *strides_first, *strides_second}, {first, second}, d, work);   \
    }
PLANE(vrn_dft_s42_xzdft2d, double)
PLANE(vrn_dft_s42_xcdft2d, float)

#define COLUMNS(name, R)                                                                                             \
    VRN_EXPORT dft_status name(void* data, std::int64_t distance, kernel_function* kernel, const descriptor* node,   \
                               std::int64_t columns, std::int64_t length, void* block, std::int32_t order,           \
                               void* work)                                                                           \
    {                                                                                                                \
        using E = cplx<R>;                                                                                           \
        const side<E> to{static_cast<E*>(data), length, 2 * node->input_stride, 2 * distance};                       \
        return transform_columns<E, E>({kernel, node, work}, {to.data, length, to.stride, to.distance}, to, columns, \
                                       order, block);                                                                \
    }
COLUMNS(vrn_dft_s42_z2_c_dft, double)
COLUMNS(vrn_dft_s42_c2_c_dft, float)

#define COLUMNS_OUT(name, R)                                                                                         \
    VRN_EXPORT dft_status name(const void* in, void* out, std::int64_t in_distance, std::int64_t out_distance,       \
                               kernel_function* kernel, const descriptor* node, std::int64_t columns,                \
                               std::int64_t length, void* block, std::int32_t order, void* work)                     \
    {                                                                                                                \
        using E = cplx<R>;                                                                                           \
        return transform_columns<E, E>(                                                                              \
            {kernel, node, work}, {static_cast<const E*>(in), length, 2 * node->input_stride, 2 * in_distance},      \
            {static_cast<E*>(out), length, 2 * node->output_stride, 2 * out_distance}, columns, order, block);       \
    }
COLUMNS_OUT(vrn_dft_s42_z2_c_out_dft, double)
COLUMNS_OUT(vrn_dft_s42_c2_c_out_dft, float)

namespace {

// A thread's rows of a plane, the way that rows_and_columns takes them.
template <class R>
dft_status rows_part(const column_kernel& k, const cplx<R>* in, cplx<R>* out, std::int64_t in_distance,
                     std::int64_t out_distance, std::int64_t rows)
{
    using E = cplx<R>;
    const descriptor* d = k.node;
    const std::int64_t n = d->length, stride = in == out ? d->input_stride : d->output_stride;
    const bool forward = k.run == d->forward_kernel;
    if (d->input_stride == 1 && stride == 1 &&
        has_short_rows<R>(d, forward ? used_scale<R, true>(d) : used_scale<R, false>(d))) {
        short_rows<R>(n, forward, in, in_distance, out, out_distance, rows);
        return ok;
    }
    for (std::int64_t i = 0; i < rows; ++i) {
        const dft_status s = transform_one<E, E>(k, {in + i * in_distance, n, 2 * d->input_stride, 0},
                                                 {out + i * out_distance, n, 2 * stride, 0});
        if (s != ok) return s;
    }
    return ok;
}

} // namespace

#define ROWS(name, R)                                                                                                \
    VRN_EXPORT dft_status name(const descriptor* d, kernel_function* kernel, const void* in, void* out,              \
                               std::int64_t in_distance, std::int64_t out_distance, std::int64_t rows, void* work)   \
    {                                                                                                                \
        return rows_part<R>({kernel, d, work}, static_cast<const cplx<R>*>(in), static_cast<cplx<R>*>(out),          \
                            in_distance, out_distance, rows);                                                        \
    }
ROWS(vrn_dft_s42_z2_r_dft, double)
ROWS(vrn_dft_s42_c2_r_dft, float)

// ---- parts of more dimensions ----

#define PLANES_PART(name, R)                                                                                         \
    VRN_EXPORT dft_status name(const descriptor* d, void* data, std::int64_t first, std::int64_t count,              \
                               std::int32_t forward, void* work)                                                     \
    {                                                                                                                \
        const shape a(d, &descriptor::input_stride, 2, d->length);                                                   \
        auto* x = static_cast<cplx<R>*>(data);                                                                       \
        return planes<R>(d, x, x, a, a, forward != 0, true, first, count, work);                                     \
    }
PLANES_PART(vrn_dft_s42_z1_nd_par, double)
PLANES_PART(vrn_dft_s42_c1_nd_par, float)

#define PLANES_OUT_PART(name, R)                                                                                     \
    VRN_EXPORT dft_status name(const descriptor* d, const void* in, void* out, std::int64_t first,                   \
                               std::int64_t count, std::int32_t forward, void* work)                                 \
    {                                                                                                                \
        const shape a(d, &descriptor::input_stride, 2, d->length), b(d, &descriptor::output_stride, 2, d->length);   \
        return planes<R>(d, static_cast<const cplx<R>*>(in), static_cast<cplx<R>*>(out), a, b, forward != 0, false,  \
                         first, count, work);                                                                        \
    }
PLANES_OUT_PART(vrn_dft_s42_z1_nd_out_par, double)
PLANES_OUT_PART(vrn_dft_s42_c1_nd_out_par, float)

// The dimension is the node's; of the two sides only the one that the data has after the planes counts.
#define COLUMNS_PART(name, R, stride_side)                                                                           \
    VRN_EXPORT dft_status name(const std::int64_t* strides, const descriptor* node, kernel_function* kernel,         \
                               void* data, const descriptor* d, std::int64_t count, void* work)                      \
    {                                                                                                                \
        using E = cplx<R>;                                                                                           \
        const shape s(d, &descriptor::stride_side, 2, d->length);                                                    \
        const side<E> to{static_cast<E*>(data), node->length, 2 * strides[1], 2 * strides[0]};                       \
        return transform_columns<E, E>({kernel, node, work}, {to.data, to.count, to.stride, to.distance}, to, count, \
                                       columns_at_once(s).order, nullptr);                                           \
    }
COLUMNS_PART(vrn_dft_s42_z2_nd_par, double, input_stride)
COLUMNS_PART(vrn_dft_s42_c2_nd_par, float, input_stride)
COLUMNS_PART(vrn_dft_s42_z2_nd_out_par, double, output_stride)
COLUMNS_PART(vrn_dft_s42_c2_nd_out_par, float, output_stride)
