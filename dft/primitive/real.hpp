// dft/primitive/real.hpp - real plans, for the engine's entries.
#pragma once

#include "dft/codelets/codelets.hpp"
#include "dft/codelets/halves.hpp"
#include "dft/primitive/plan.hpp"

namespace vrn::dft {

// Lengths that are one kernel need no more of a plan than the record.
template <class R>
bool has_real_codelet(std::int32_t n)
{
    return n <= longest_codelet && real_codelets<R>().forward[n] != nullptr;
}

template <class R>
std::int32_t make_real(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                       plan_stamp);
template <class R>
void run_real(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work);

// Odd lengths.
template <class R>
std::int32_t build_odd(primitive_plan& plan);
template <class R>
void run_odd(const primitive_plan& plan, direction d, packing form, const R* in, R* out, std::byte* work);

} // namespace vrn::dft
