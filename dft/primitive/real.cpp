// dft/primitive/real.cpp - real plans: n real values and their half spectrum in the packed layouts.
//
// Short lengths are one codelet; even ones above them take the half-length method (codelets/halves.hpp) on the
// complex plan of n/2; odd ones stand in odd.cpp.

#include "dft/primitive/real.hpp"

namespace vrn::dft {
namespace {

template <class R>
R* make_half_roots(std::int32_t n)
{
    const std::int32_t count = n / 4 + 1;
    R* table = kpr_array<R>(2 * static_cast<std::int64_t>(count));
    if (table != nullptr)
        for (std::int32_t k = 0; k < count; ++k) put_half_root(table + 2 * k, table_root(k, n));
    return table;
}

template <class R>
std::int32_t build(primitive_plan& plan)
{
    const std::int32_t n = plan.length;
    if (has_real_codelet<R>(n)) return kpr_ok;
    if (n % 2 != 0) return build_odd<R>(plan);
    const std::int32_t h = n / 2;
    if (const auto status = make_complex<R>(&plan.conv_plan, h, scale_none, plan.hint, stamp_complex);
        status != kpr_ok)
        return status;
    plan.work_size = aligned64(plan.conv_plan)->work_size;
    plan.tables[0] = make_half_roots<R>(n);
    return plan.tables[0] != nullptr ? kpr_ok : kpr_no_memory;
}

} // namespace

template <class R>
std::int32_t make_real(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                       plan_stamp)
{
    return make_plan(plan_out, length, flag, hint, stamp_real, [](primitive_plan& plan) { return build<R>(plan); });
}
template std::int32_t make_real<double>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);
template std::int32_t make_real<float>(primitive_plan**, std::int32_t, std::int32_t, std::int32_t, plan_stamp);

template <class R>
void run_real(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work)
{
    const std::int32_t n = plan.length;
    if (n % 2 != 0) {
        run_odd(plan, d, form, in, out, work);
        return;
    }
    const primitive_plan* inner = aligned64(plan.conv_plan);
    const R* roots = static_cast<const R*>(plan.tables[0]);
    if (d == direction::forward) {
        run_complex(inner, d, in, out, work);
        spectrum_of_halves(out, n / 2, roots);
        from_perm(out, n, form);
    } else {
        const R* perm = form == packing::pack ? to_perm(in, out, n) : in;
        halves_of_spectrum(perm, form == packing::ccs ? in[n] : perm[1], out, n / 2, roots);
        run_complex(inner, d, static_cast<const R*>(out), out, work);
    }
}
template void run_real<double>(const primitive_plan&, direction, packing, const double*, double*, std::byte*);
template void run_real<float>(const primitive_plan&, direction, packing, const float*, float*, std::byte*);

} // namespace vrn::dft
