// core/spblas/kernels.hpp - the back-end's names outside the grammar, by element and integer type:
// kernels<double, std::int32_t>::bsrmmgen() is the kernel behind vrn_spblas_lp64_s42_dbsrmmgen.
#pragma once

#include "core/loader/loader.hpp"
#include "spblas/arguments.hpp"

namespace vrn::spblas::host {
template <class T, class I>
struct kernels;
}
#include "core/spblas/kernels.inc"
