// dft/compute/real.cpp - the real drivers and their pieces for threads, by their exported names.

#include "dft/compute/real.hpp"
#include "dft/commit/core.hpp"
#include "frame/export.hpp"

using namespace vrn::dft;

namespace {
template <class R>
R* reals(void* p)
{
    return static_cast<R*>(p);
}
template <class R>
R* reals(const void* p)
{
    return static_cast<R*>(const_cast<void*>(p));
}
} // namespace

namespace {

// Columns of a packed plane whose output rows are contiguous. Backward out of place they come in the rows' layout.
template <class R>
dft_status packed_column_part(const descriptor* d, const R* in, R* out, bool forward, std::int64_t first,
                              std::int64_t last, void* work)
{
    const plane_strides s(d);
    const buffer block(packed_block<R>(d));
    if (!block) return no_memory;
    const std::int32_t to = !forward && rows_come_as_perm(d) ? static_cast<std::int32_t>(format_perm) : layout_of(d);
    return forward ? packed_column_pass<R>(d, out, s.out1, out, s.out1, to, true, first, last, block.block, work)
                   : packed_column_pass<R>(d, in, s.in1, out, s.out1, to, false, first, last, block.block, work);
}

} // namespace

// ---- one descriptor, `count` transforms: packed spectra ----

#define PACKED(name, R, forward)                                                                                     \
    VRN_EXPORT dft_status name(const descriptor* d, void* data, std::int64_t count, void* work)                      \
    {                                                                                                                \
        return real_driver<R, forward, false>(d, reals<R>(data), reals<R>(data), count, work);                       \
    }
PACKED(vrn_dft_s42_xdforward, double, true)
PACKED(vrn_dft_s42_xdbackward, double, false)
PACKED(vrn_dft_s42_xsforward, float, true)
PACKED(vrn_dft_s42_xsbackward, float, false)

// ---- packed spectra out of place, and complex ones ----

#define APART(name, R, forward, cce)                                                                                 \
    VRN_EXPORT dft_status name(const descriptor* d, void* in, void* out, std::int64_t count, void* work)             \
    {                                                                                                                \
        return real_driver<R, forward, cce>(d, reals<R>(in), reals<R>(out), count, work);                            \
    }
APART(vrn_dft_s42_xdforward_out, double, true, false)
APART(vrn_dft_s42_xdbackward_out, double, false, false)
APART(vrn_dft_s42_xsforward_out, float, true, false)
APART(vrn_dft_s42_xsbackward_out, float, false, false)
APART(vrn_dft_s42_xdzforward, double, true, true)
APART(vrn_dft_s42_xdzforward_out, double, true, true)
APART(vrn_dft_s42_xzdbackward, double, false, true)
APART(vrn_dft_s42_xzdbackward_out, double, false, true)
APART(vrn_dft_s42_xscforward, float, true, true)
APART(vrn_dft_s42_xscforward_out, float, true, true)
APART(vrn_dft_s42_xcsbackward, float, false, true)
APART(vrn_dft_s42_xcsbackward_out, float, false, true)

// ---- two dimensions ----

#define PLANE(name, R, body)                                                                                         \
    VRN_EXPORT dft_status name(const descriptor* d, const void* in, void* out, void* work)                           \
    {                                                                                                                \
        return body<R>(d, static_cast<const R*>(in), static_cast<R*>(out), work);                                    \
    }
PLANE(vrn_dft_s42_xdzdft2d, double, packed_forward)
PLANE(vrn_dft_s42_xscdft2d, float, packed_forward)
PLANE(vrn_dft_s42_xzddft2d, double, packed_backward)
PLANE(vrn_dft_s42_xcsdft2d, float, packed_backward)
PLANE(vrn_dft_s42_xdzzdft2d, double, cce_forward)
PLANE(vrn_dft_s42_xsccdft2d, float, cce_forward)
PLANE(vrn_dft_s42_xzzddft2d, double, cce_backward)
PLANE(vrn_dft_s42_xccsdft2d, float, cce_backward)

// ---- pieces of a plane with a packed spectrum: rows, and columns first to last - 1 of packed_column_count ----

#define ROWS(name, R)                                                                                                \
    VRN_EXPORT dft_status name(const descriptor* d, kernel_function* kernel, const void* in, void* out,              \
                               std::int64_t in_distance, std::int64_t in_count, std::int64_t out_distance,           \
                               std::int64_t out_count, std::int64_t rows, void* work)                                \
    {                                                                                                                \
        const plane_strides s(d);                                                                                    \
        return packed_rows<R>({kernel, d, work}, static_cast<const R*>(in), s.in0, in_distance, in_count,            \
                              static_cast<R*>(out), s.out0, out_distance, out_count, rows, nullptr);                 \
    }
ROWS(vrn_dft_s42_dz2_r_dft, double)
ROWS(vrn_dft_s42_sc2_r_dft, float)
// The kernel says the direction.
VRN_ALIAS(vrn_dft_s42_zd2_r_dft, vrn_dft_s42_dz2_r_dft);
VRN_ALIAS(vrn_dft_s42_cs2_r_dft, vrn_dft_s42_sc2_r_dft);

#define PACKED_COLUMNS(name, R, forward)                                                                             \
    VRN_EXPORT dft_status name(const descriptor* d, const void* in, void* out, std::int64_t first,                   \
                               std::int64_t last, void* work)                                                        \
    {                                                                                                                \
        return packed_column_part<R>(d, static_cast<const R*>(in), static_cast<R*>(out), forward, first, last,       \
                                     work);                                                                          \
    }
PACKED_COLUMNS(vrn_dft_s42_dz2_c_dft, double, true)
PACKED_COLUMNS(vrn_dft_s42_sc2_c_dft, float, true)
PACKED_COLUMNS(vrn_dft_s42_zd2_c_dft, double, false)
PACKED_COLUMNS(vrn_dft_s42_cs2_c_dft, float, false)

#define PACKED_ROWS_BACK(name, R)                                                                                    \
    VRN_EXPORT dft_status name(const descriptor* d, void* data, std::int64_t first, std::int64_t rows, void* work)   \
    {                                                                                                                \
        const plane_strides s(d);                                                                                    \
        R* rows_at = static_cast<R*>(data) + first * s.out1;                                                         \
        return packed_rows<R>({d->real_backward_direct, d, work}, rows_at, 1, s.out1, d->length, rows_at, 1, s.out1, \
                              d->length, rows, nullptr);                                                             \
    }
PACKED_ROWS_BACK(vrn_dft_s42_zd2_r_out_dft, double)
PACKED_ROWS_BACK(vrn_dft_s42_cs2_r_out_dft, float)

// ---- pieces of any rank with a complex spectrum ----
// Forward: rows first to first + count - 1, then units (column_units, blocks of 8) of each further dimension.

#define ROWS_FORWARD(name, R)                                                                                        \
    VRN_EXPORT dft_status name(const descriptor* d, const void* in, void* out, std::int64_t first,                   \
                               std::int64_t count, void* work)                                                       \
    {                                                                                                                \
        const shape a(d, &descriptor::input_stride, 1, d->length),                                                   \
            b(d, &descriptor::output_stride, 2, d->length / 2 + 1);                                                  \
        return real_rows<R, cplx<R>>({d->real_forward_direct, d, work}, static_cast<const R*>(in), a, d->length,     \
                                     static_cast<cplx<R>*>(out), b, d->length / 2 + 1, first, count, nullptr);       \
    }
ROWS_FORWARD(vrn_dft_s42_ddz1_nd_out_par, double)
ROWS_FORWARD(vrn_dft_s42_ssc1_nd_out_par, float)

#define UNITS_FORWARD(name, R)                                                                                       \
    VRN_EXPORT dft_status name(const descriptor* d, void* spectrum, std::int32_t dim, std::int64_t first,            \
                               std::int64_t last, void* work)                                                        \
    {                                                                                                                \
        const shape b(d, &descriptor::output_stride, 2, d->length / 2 + 1);                                          \
        const column_units units(b, dim, 8);                                                                         \
        return further_dimension<R>(static_cast<cplx<R>*>(spectrum), b, dim, true, {3, 8}, units, first, last,       \
                                    nullptr, work);                                                                  \
    }
UNITS_FORWARD(vrn_dft_s42_ddz2_nd_out_par, double)
UNITS_FORWARD(vrn_dft_s42_ssc2_nd_out_par, float)

// The same of a plane, where units are columns.
#define COLUMNS_FORWARD(name, R)                                                                                     \
    VRN_EXPORT dft_status name(const descriptor* d, void* spectrum, std::int64_t first, std::int64_t last,           \
                               void* work)                                                                           \
    {                                                                                                                \
        const shape b(d, &descriptor::output_stride, 2, d->length / 2 + 1);                                          \
        const column_units units(b, 1, 1);                                                                           \
        return further_dimension<R>(static_cast<cplx<R>*>(spectrum), b, 1, true, {3, 8}, units, first, last,         \
                                    nullptr, work);                                                                  \
    }
COLUMNS_FORWARD(vrn_dft_s42_ddz2_c_out_dft, double)
COLUMNS_FORWARD(vrn_dft_s42_ssc2_c_out_dft, float)

// Backward, where the spectrum is worked on in place or in the output (way_back). First its way there, then units of
// each further dimension from the last down, then the rows.

#define CARRY(name, R)                                                                                               \
    VRN_EXPORT dft_status name(const descriptor* d, const void* in, void* out, std::int64_t first,                   \
                               std::int64_t last, void* work)                                                        \
    {                                                                                                                \
        const way_back w(d);                                                                                         \
        if (w.given.rank > 2) {                                                                                      \
            carry_rows<R>(w, static_cast<const R*>(in), static_cast<R*>(out), first, last - first);                  \
            return ok;                                                                                               \
        }                                                                                                            \
        const buffer block(block_bytes<R>(d, 3));                                                                    \
        return block ? carry_columns<R>(d, w, static_cast<const R*>(in), static_cast<R*>(out), first, last,          \
                                        block.block, work)                                                           \
                     : no_memory;                                                                                    \
    }
CARRY(vrn_dft_s42_zzd2_c_dft, double)
CARRY(vrn_dft_s42_ccs2_c_dft, float)

#define UNITS_BACKWARD(name, R)                                                                                      \
    VRN_EXPORT dft_status name(const descriptor* d, void* spectrum, std::int32_t dim, std::int64_t first,            \
                               std::int64_t last, void* work)                                                        \
    {                                                                                                                \
        const way_back w(d);                                                                                         \
        const column_units units(w.carried, dim, 8);                                                                 \
        return further_dimension<R>(static_cast<cplx<R>*>(spectrum), w.carried, dim, false, {3, 8}, units, first,    \
                                    last, nullptr, work);                                                            \
    }
UNITS_BACKWARD(vrn_dft_s42_zzd2_nd_out_par, double)
UNITS_BACKWARD(vrn_dft_s42_ccs2_nd_out_par, float)

#define ROWS_BACKWARD(name, R)                                                                                       \
    VRN_EXPORT dft_status name(const descriptor* d, void* spectrum, void* out, std::int64_t first,                   \
                               std::int64_t count, void* work)                                                       \
    {                                                                                                                \
        const way_back w(d);                                                                                         \
        return finish_rows<R>(d, w, static_cast<R*>(spectrum), static_cast<R*>(out), first, count, nullptr, work);   \
    }
ROWS_BACKWARD(vrn_dft_s42_zzd1_nd_out_par, double)
ROWS_BACKWARD(vrn_dft_s42_ccs1_nd_out_par, float)

// The rows of a plane after its columns, where they lie in the output.
#define PLANE_ROWS_BACKWARD(name, R)                                                                                 \
    VRN_EXPORT dft_status name(const descriptor* d, void* out, std::int64_t first, std::int64_t rows, void* work)    \
    {                                                                                                                \
        const way_back w(d);                                                                                         \
        return finish_rows<R>(d, w, static_cast<R*>(out), static_cast<R*>(out), first, rows, nullptr, work);         \
    }
PLANE_ROWS_BACKWARD(vrn_dft_s42_zzd2_r_out_dft, double)
PLANE_ROWS_BACKWARD(vrn_dft_s42_ccs2_r_out_dft, float)
