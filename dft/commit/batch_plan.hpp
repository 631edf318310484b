// dft/commit/batch_plan.hpp - plans of one node for neighbouring strided transforms.
#pragma once

#include "dft/commit/engine.hpp"

namespace vrn::dft {

inline bool has_batch_plans(const descriptor*) { return false; }

template <class R>
dft_status init_batch_plans(descriptor*, const descriptor*)
{
    return declined;
}

template <class R>
dft_status run_batch_plans(const descriptor*, kernel_function*, const cplx<R>*, std::int64_t, cplx<R>*, std::int64_t, std::int64_t)
{
    return internal_failure;
}

} // namespace vrn::dft
