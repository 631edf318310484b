// dft/primitive/entries.cpp - the engine's entries by name: checks, work and scale around the transforms.

#include "dft/codelets/codelets.hpp"
#include "dft/primitive/plan.hpp"

namespace vrn::dft {
namespace {

std::int32_t free_checked(primitive_plan* raw, plan_stamp stamp)
{
    if (raw == nullptr) return kpr_null;
    if (aligned64(raw)->stamp != stamp) return kpr_bad_stamp;
    free_plan(raw);
    return kpr_ok;
}

std::int32_t work_size(const primitive_plan* raw, std::int32_t* size, plan_stamp stamp)
{
    if (raw == nullptr || size == nullptr) return kpr_null;
    const primitive_plan& plan = *aligned64(raw);
    if (plan.stamp != stamp) return kpr_bad_stamp;
    *size = plan.work_size;
    return kpr_ok;
}

template <class R, plan_stamp Stamp>
std::int32_t compute(const R* in, R* out, const primitive_plan* raw, std::byte* work, direction d)
{
    if (raw == nullptr || in == nullptr || out == nullptr) return kpr_null;
    const primitive_plan& plan = *aligned64(raw);
    if (plan.stamp != Stamp) return kpr_bad_stamp;
    const bool scaled = (d == direction::forward ? plan.scale_forward : plan.scale_inverse) != 0;
    if (plan.work_size == 0) run_complex(&plan, d, in, out, nullptr);
    else {
        const work_area area(work, plan.work_size);
        if (area.failed()) return kpr_no_memory;
        run_complex(&plan, d, in, out, area.get());
    }
    if (scaled) scale_reals(out, 2 * std::int64_t{plan.length}, static_cast<R>(plan.scale));
    return kpr_ok;
}

} // namespace

extern "C" {

#define KPR_INIT(name, kind, R)                                                                                        \
    std::int32_t name(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint)          \
    {                                                                                                                \
        return make_##kind<R>(plan_out, length, flag, hint, stamp_##kind);                                           \
    }
#define KPR_FREE(name, stamp)                                                                                          \
    std::int32_t name(primitive_plan* plan) { return free_checked(plan, stamp); }
#define KPR_WORK(name, stamp)                                                                                          \
    std::int32_t name(const primitive_plan* plan, std::int32_t* size_out) { return work_size(plan, size_out, stamp); }
#define KPR_COMPLEX(name, R, stamp, d)                                                                                 \
    std::int32_t name(const R* in, R* out, const primitive_plan* plan, std::byte* work)                              \
    {                                                                                                                \
        return compute<R, stamp>(in, out, plan, work, d);                                                            \
    }

KPR_INIT(kprDftInit_Complex_d, complex, double)
KPR_INIT(kprDftInit_Complex_s, complex, float)
KPR_FREE(kprDftFree_Complex_d, stamp_complex)
KPR_FREE(kprDftFree_Complex_s, stamp_complex)
KPR_WORK(kprDftGetWorkSize_Complex_d, stamp_complex)
KPR_WORK(kprDftGetWorkSize_Complex_s, stamp_complex)
KPR_COMPLEX(kprDftForward_Complex_d, double, stamp_complex, direction::forward)
KPR_COMPLEX(kprDftInverse_Complex_d, double, stamp_complex, direction::inverse)
KPR_COMPLEX(kprDftForward_Complex_s, float, stamp_complex, direction::forward)
KPR_COMPLEX(kprDftInverse_Complex_s, float, stamp_complex, direction::inverse)

} // extern "C"

} // namespace vrn::dft
