// dft/compute/front.hpp - the entries that commit installs in compute_forward and compute_backward.
//
// One takes the scratch memory, moves the data by the offsets, and goes one of the roads: one kernel, the driver of a
// plane, the driver of this thread, the host's threads. Real transforms follow the same plan.
#pragma once

#include "dft/compute/driver.hpp"
#include "dft/compute/frame.hpp"
#include "dft/compute/real.hpp"
#include "dft/descriptor/functions.hpp"

namespace vrn::dft {

template <class R, bool Forward, bool InPlace>
struct threaded;
template <class R, bool Forward, bool InPlace>
struct threaded_real; // packed spectra
template <class R, bool Forward, bool InPlace>
struct threaded_cce; // complex spectra
#define VRN_THREADED(kind, R, forward, inplace, name)                                                                \
    template <>                                                                                                      \
    struct kind<R, forward, inplace> {                                                                               \
        static constexpr auto run = name;                                                                            \
    };
VRN_THREADED(threaded, double, true, true, vrn_dft_compute_forward_z_par)
VRN_THREADED(threaded, double, true, false, vrn_dft_compute_forward_z_out_par)
VRN_THREADED(threaded, double, false, true, vrn_dft_compute_backward_z_par)
VRN_THREADED(threaded, double, false, false, vrn_dft_compute_backward_z_out_par)
VRN_THREADED(threaded, float, true, true, vrn_dft_compute_forward_c_par)
VRN_THREADED(threaded, float, true, false, vrn_dft_compute_forward_c_out_par)
VRN_THREADED(threaded, float, false, true, vrn_dft_compute_backward_c_par)
VRN_THREADED(threaded, float, false, false, vrn_dft_compute_backward_c_out_par)
VRN_THREADED(threaded_real, double, true, true, vrn_dft_compute_forward_d_par)
VRN_THREADED(threaded_real, double, true, false, vrn_dft_compute_forward_d_out_par)
VRN_THREADED(threaded_real, double, false, true, vrn_dft_compute_backward_d_par)
VRN_THREADED(threaded_real, double, false, false, vrn_dft_compute_backward_d_out_par)
VRN_THREADED(threaded_real, float, true, true, vrn_dft_compute_forward_s_par)
VRN_THREADED(threaded_real, float, true, false, vrn_dft_compute_forward_s_out_par)
VRN_THREADED(threaded_real, float, false, true, vrn_dft_compute_backward_s_par)
VRN_THREADED(threaded_real, float, false, false, vrn_dft_compute_backward_s_out_par)
VRN_THREADED(threaded_cce, double, true, true, vrn_dft_compute_forward_dz_par)
VRN_THREADED(threaded_cce, double, true, false, vrn_dft_compute_forward_dz_out_par)
VRN_THREADED(threaded_cce, double, false, true, vrn_dft_compute_backward_zd_par)
VRN_THREADED(threaded_cce, double, false, false, vrn_dft_compute_backward_zd_out_par)
VRN_THREADED(threaded_cce, float, true, true, vrn_dft_compute_forward_sc_par)
VRN_THREADED(threaded_cce, float, true, false, vrn_dft_compute_forward_sc_out_par)
VRN_THREADED(threaded_cce, float, false, true, vrn_dft_compute_backward_cs_par)
VRN_THREADED(threaded_cce, float, false, false, vrn_dft_compute_backward_cs_out_par)
#undef VRN_THREADED

template <class R, bool Forward, bool InPlace>
dft_status split_front(descriptor* d, void* in, void*)
{
    R* const* given = static_cast<R* const*>(in);
    R* x[2] = {given[0] + d->input_offset, given[1] + d->input_offset};
    R* y[2] = {x[0], x[1]};
    if (!InPlace) y[0] = given[2] + d->output_offset, y[1] = given[3] + d->output_offset;
    return with_work(d->work_size, [&](void* work) {
        if (d->flags & flag_simple) return kernel_of<R, Forward>(d)(x, y, d, work);
        return complex_driver<R, Forward, InPlace>(d, x, y, d->number_of_transforms, work);
    });
}

template <class R, bool Forward, bool InPlace>
dft_status complex_front(descriptor* d, void* in, void* out)
{
    auto* x = static_cast<cplx<R>*>(in) + d->input_offset;
    auto* y = InPlace ? x : static_cast<cplx<R>*>(out) + d->output_offset;
    return with_work(d->work_size, [&](void* work) -> dft_status {
        if (d->flags & flag_simple) return kernel_of<R, Forward>(d)(x, y, d, work);
        if (d->flags & flag_plane) {
            const descriptor* c = d->child;
            if constexpr (InPlace)
                return reinterpret_cast<plane_in_place*>(d->two_level_compute)(x, &d->input_stride, &c->input_stride,
                                                                               kernel_of<R, Forward>(d),
                                                                               kernel_of<R, Forward>(c), d, work);
            else
                return reinterpret_cast<plane_out*>(d->two_level_compute)(
                    x, y, &d->input_stride, &c->input_stride, &d->output_stride, &c->output_stride,
                    kernel_of<R, Forward>(d), kernel_of<R, Forward>(c), d, work);
        }
        if (d->thread_count == 1) return complex_driver<R, Forward, InPlace>(d, x, y, d->number_of_transforms, work);
        parallel_function* long_one = Forward ? d->parallel_forward : d->parallel_backward;
        if (d->number_of_transforms == 1 && long_one != nullptr)
            return d->via_2d == nullptr ? internal_failure : long_one(d, x, y);
        const parallel_call call{d, x, InPlace ? nullptr : y, work};
        return threaded<R, Forward, InPlace>::run(&call);
    });
}

// Offsets of a real transform count reals on the real side and on packed ones, complex values on complex ones.
template <class R, bool Forward, bool InPlace>
dft_status real_front(descriptor* d, void* in, void* out)
{
    const bool cce = d->conjugate_even_storage == storage_complex;
    R* x = static_cast<R*>(in) + d->input_offset * (cce && !Forward ? 2 : 1);
    R* y = static_cast<R*>(InPlace ? in : out) + d->output_offset * (cce && Forward ? 2 : 1);
    // A packed transform in place has one offset like any other.
    if (InPlace && !cce) y = x;
    return with_work(d->work_size, [&](void* work) -> dft_status {
        if (d->flags & flag_simple)
            return (Forward ? d->real_forward_direct : d->real_backward_direct)(x, y, d, work);
        if (d->flags & flag_plane)
            return reinterpret_cast<plane_real*>(Forward ? d->real_2d_forward : d->real_2d_backward)(d, x, y, work);
        if (d->thread_count == 1)
            return cce ? real_driver<R, Forward, true>(d, x, y, d->number_of_transforms, work)
                       : real_driver<R, Forward, false>(d, x, y, d->number_of_transforms, work);
        const parallel_call call{d, x, y, work};
        return cce ? threaded_cce<R, Forward, InPlace>::run(&call) : threaded_real<R, Forward, InPlace>::run(&call);
    });
}

} // namespace vrn::dft
