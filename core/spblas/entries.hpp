// core/spblas/entries.hpp - what the generated entries stand on.
#pragma once

#include "core/spblas/bsr.hpp"
#include "core/spblas/checks.hpp"
#include "core/spblas/convert.hpp"
#include "core/spblas/coo.hpp"
#include "core/spblas/csr.hpp"
#include "core/spblas/dia.hpp"
#include "core/spblas/products.hpp"
#include "core/spblas/sky.hpp"
#include "frame/services.hpp"
#include "vrn/spblas.h"

#include <cstring>

namespace vrn::spblas::host {

// One bad argument: told with its place in the list, and the entry returns having written nothing.
[[gnu::cold, gnu::noinline]] inline void report(const char* routine, std::int64_t argument)
{
    vrn_serv_xerbla(routine, &argument, static_cast<std::int64_t>(std::strlen(routine)));
}

} // namespace vrn::spblas::host
