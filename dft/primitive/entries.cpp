// dft/primitive/entries.cpp - the engine's entries by name: checks, work and scale around the transforms.

#include "dft/codelets/codelets.hpp"
#include "dft/primitive/real.hpp"

namespace vrn::dft {
namespace {

// What the real kernels call the first of the packed forms, CCS; PACK and PERM follow.
constexpr std::int32_t first_format = 54;

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

// Checks, work and scale around `run(plan, work)`; `scale(by)` scales what it wrote.
template <class Run, class Scale>
std::int32_t compute(bool have_data, const primitive_plan* raw, std::byte* given, plan_stamp stamp, direction d,
                     Run&& run, Scale&& scale)
{
    if (raw == nullptr || !have_data) return kpr_null;
    const primitive_plan& plan = *aligned64(raw);
    if (plan.stamp != stamp) return kpr_bad_stamp;
    if (plan.work_size == 0) run(plan, nullptr);
    else {
        const work_area work(given, plan.work_size);
        if (work.failed()) return kpr_no_memory;
        run(plan, work.get());
    }
    if ((d == direction::forward ? plan.scale_forward : plan.scale_inverse) != 0) scale(plan.length, plan.scale);
    return kpr_ok;
}

template <class R>
std::int32_t compute_complex(const R* in, R* out, const primitive_plan* raw, std::byte* work, direction d)
{
    // Direct lengths first: what stands between the call and the codelet is a good part of their time.
    if (raw != nullptr && in != nullptr && out != nullptr) {
        const primitive_plan& plan = *aligned64(raw);
        if (plan.stamp == stamp_complex && plan.length <= direct_limit &&
            plan.scale_forward + plan.scale_inverse == 0) {
            const auto& table = codelets<R>();
            (d == direction::forward ? table.forward : table.backward)[plan.length](in, out);
            return kpr_ok;
        }
    }
    return compute(
        in != nullptr && out != nullptr, raw, work, stamp_complex, d,
        [=](const primitive_plan& plan, std::byte* w) { run_complex(&plan, d, in, out, w); },
        [=](std::int64_t n, double by) { scale_reals(out, 2 * n, static_cast<R>(by)); });
}
template <class R>
std::int32_t compute_scrambled(const R* in, R* out, const primitive_plan* raw, std::byte* work, direction d)
{
    return compute(
        in != nullptr && out != nullptr, raw, work, stamp_scrambled, d,
        [=](const primitive_plan& plan, std::byte* w) { run_scrambled(plan, d, in, out, w); },
        [=](std::int64_t n, double by) { scale_reals(out, 2 * n, static_cast<R>(by)); });
}

// Through the complex plan: interleaved in the work area, or on the stack where lengths are direct.
template <class R>
std::int32_t compute_split(const R* in_re, const R* in_im, R* out_re, R* out_im, const primitive_plan* raw,
                           std::byte* work, direction d)
{
    return compute(
        in_re != nullptr && in_im != nullptr && out_re != nullptr && out_im != nullptr, raw, work, stamp_split, d,
        [=](const primitive_plan& plan, std::byte* w) {
            const std::int32_t n = plan.length;
            R on_stack[2 * direct_limit] = {};
            R* z = n <= direct_limit ? on_stack : reinterpret_cast<R*>(w);
            for (std::int32_t i = 0; i < n; ++i) z[2 * i] = in_re[i], z[2 * i + 1] = in_im[i];
            run_complex(&plan, d, static_cast<const R*>(z), z,
                        n <= direct_limit ? nullptr : aligned64(w + 2 * sizeof(R) * static_cast<std::size_t>(n)));
            for (std::int32_t i = 0; i < n; ++i) out_re[i] = z[2 * i], out_im[i] = z[2 * i + 1];
        },
        [=](std::int64_t n, double by) {
            scale_reals(out_re, n, static_cast<R>(by)), scale_reals(out_im, n, static_cast<R>(by));
        });
}

template <class R>
std::int32_t compute_real(const R* in, R* out, const primitive_plan* raw, std::byte* work, direction d, packing form)
{
    // Kernels of one length each, as above; formats are numbered in the order of their names.
    if (raw != nullptr && in != nullptr && out != nullptr) {
        const primitive_plan& plan = *aligned64(raw);
        if (plan.stamp == stamp_real && has_real_codelet<R>(plan.length)) {
            const bool forward = d == direction::forward,
                       scaled = (forward ? plan.scale_forward : plan.scale_inverse) != 0;
            const auto& table = real_codelets<R>();
            (forward ? table.forward : table.backward)[plan.length](in, out, first_format + static_cast<int>(form),
                                                                    scaled ? static_cast<R>(plan.scale) : R(1));
            return kpr_ok;
        }
    }
    return compute(
        in != nullptr && out != nullptr, raw, work, stamp_real, d,
        [=](const primitive_plan& plan, std::byte* w) { run_real(plan, d, form, in, out, w); },
        [=](std::int64_t n, double by) {
            const bool spectrum = d == direction::forward && form == packing::ccs;
            scale_reals(out, n + (spectrum ? n % 2 == 0 ? 2 : 1 : 0), static_cast<R>(by));
        });
}

} // namespace

template <class R>
std::int32_t make_split(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                        plan_stamp stamp)
{
    primitive_plan* raw = nullptr;
    if (const auto status = make_complex<R>(plan_out == nullptr ? nullptr : &raw, length, flag, hint, stamp);
        status != kpr_ok)
        return status;
    primitive_plan& plan = *aligned64(raw);
    const std::int64_t bytes = plan.work_size + 2 * static_cast<std::int64_t>(sizeof(R)) * length + 64;
    if (length > direct_limit && bytes > INT32_MAX) {
        free_plan(raw);
        return kpr_bad_length;
    }
    if (length > direct_limit) plan.work_size = static_cast<std::int32_t>(bytes);
    *plan_out = raw;
    return kpr_ok;
}

extern "C" {

#define KPR_INIT(name, kind, R)                                                                                      \
    std::int32_t name(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint)          \
    {                                                                                                                \
        return make_##kind<R>(plan_out, length, flag, hint, stamp_##kind);                                           \
    }
#define KPR_FREE(name, kind)                                                                                         \
    std::int32_t name(primitive_plan* plan) { return free_checked(plan, stamp_##kind); }
#define KPR_WORK(name, kind)                                                                                         \
    std::int32_t name(const primitive_plan* plan, std::int32_t* size_out)                                            \
    {                                                                                                                \
        return work_size(plan, size_out, stamp_##kind);                                                              \
    }
#define KPR_DATA(name, kind, R, d)                                                                                   \
    std::int32_t name(const R* in, R* out, const primitive_plan* plan, std::byte* work)                              \
    {                                                                                                                \
        return compute_##kind(in, out, plan, work, direction::d);                                                    \
    }
#define KPR_SPLIT(name, R, d)                                                                                        \
    std::int32_t name(const R* in_re, const R* in_im, R* out_re, R* out_im, const primitive_plan* plan,              \
                      std::byte* work)                                                                               \
    {                                                                                                                \
        return compute_split(in_re, in_im, out_re, out_im, plan, work, direction::d);                                \
    }
#define KPR_REAL(name, R, d, form)                                                                                   \
    std::int32_t name(const R* in, R* out, const primitive_plan* plan, std::byte* work)                              \
    {                                                                                                                \
        return compute_real(in, out, plan, work, direction::d, packing::form);                                       \
    }

KPR_INIT(kprDftInit_Complex_d, complex, double)
KPR_INIT(kprDftInit_Split_d, split, double)
KPR_INIT(kprDftInit_Real_d, real, double)
KPR_INIT(kprDftInit_Scrambled_d, scrambled, double)
KPR_FREE(kprDftFree_Complex_d, complex)
KPR_FREE(kprDftFree_Split_d, split)
KPR_FREE(kprDftFree_Real_d, real)
KPR_FREE(kprDftFree_Scrambled_d, scrambled)
KPR_WORK(kprDftGetWorkSize_Complex_d, complex)
KPR_WORK(kprDftGetWorkSize_Split_d, split)
KPR_WORK(kprDftGetWorkSize_Real_d, real)
KPR_WORK(kprDftGetWorkSize_Scrambled_d, scrambled)
KPR_DATA(kprDftForward_Complex_d, complex, double, forward)
KPR_DATA(kprDftInverse_Complex_d, complex, double, inverse)
KPR_DATA(kprDftForward_Scrambled_d, scrambled, double, forward)
KPR_DATA(kprDftInverse_Scrambled_d, scrambled, double, inverse)
KPR_SPLIT(kprDftForward_Split_d, double, forward)
KPR_SPLIT(kprDftInverse_Split_d, double, inverse)
KPR_REAL(kprDftForward_PackedPerm_d, double, forward, perm)
KPR_REAL(kprDftInverse_PackedPerm_d, double, inverse, perm)
KPR_REAL(kprDftForward_PackedPack_d, double, forward, pack)
KPR_REAL(kprDftInverse_PackedPack_d, double, inverse, pack)
KPR_REAL(kprDftForward_PackedCcs_d, double, forward, ccs)
KPR_REAL(kprDftInverse_PackedCcs_d, double, inverse, ccs)

KPR_INIT(kprDftInit_Complex_s, complex, float)
KPR_INIT(kprDftInit_Split_s, split, float)
KPR_INIT(kprDftInit_Real_s, real, float)
KPR_INIT(kprDftInit_Scrambled_s, scrambled, float)
KPR_FREE(kprDftFree_Complex_s, complex)
KPR_FREE(kprDftFree_Split_s, split)
KPR_FREE(kprDftFree_Real_s, real)
KPR_FREE(kprDftFree_Scrambled_s, scrambled)
KPR_WORK(kprDftGetWorkSize_Complex_s, complex)
KPR_WORK(kprDftGetWorkSize_Split_s, split)
KPR_WORK(kprDftGetWorkSize_Real_s, real)
KPR_WORK(kprDftGetWorkSize_Scrambled_s, scrambled)
KPR_DATA(kprDftForward_Complex_s, complex, float, forward)
KPR_DATA(kprDftInverse_Complex_s, complex, float, inverse)
KPR_DATA(kprDftForward_Scrambled_s, scrambled, float, forward)
KPR_DATA(kprDftInverse_Scrambled_s, scrambled, float, inverse)
KPR_SPLIT(kprDftForward_Split_s, float, forward)
KPR_SPLIT(kprDftInverse_Split_s, float, inverse)
KPR_REAL(kprDftForward_PackedPerm_s, float, forward, perm)
KPR_REAL(kprDftInverse_PackedPerm_s, float, inverse, perm)
KPR_REAL(kprDftForward_PackedPack_s, float, forward, pack)
KPR_REAL(kprDftInverse_PackedPack_s, float, inverse, pack)
KPR_REAL(kprDftForward_PackedCcs_s, float, forward, ccs)
KPR_REAL(kprDftInverse_PackedCcs_s, float, inverse, ccs)

} // extern "C"

} // namespace vrn::dft
