// core/blas/entries.hpp - what the generated entries stand on: the slots, the checks, the drivers.
#pragma once

#include "core/blas/gemm.hpp"
#include "core/loader/loader.hpp"
#include "frame/services.hpp"
#include "vrn/blas.h"

#include <cstring>

namespace vrn::blas {

// One bad argument: told with its published number, and the entry returns having written nothing.
inline void report(const char* routine, std::int64_t argument)
{
    vrn_serv_xerbla(routine, &argument, static_cast<std::int64_t>(std::strlen(routine)));
}

inline bool is_normal(const char* trans) { return (*trans & ~0x20) == 'N'; }

inline bool is_option(const char* trans)
{
    const int letter = *trans & ~0x20;
    return letter == 'N' || letter == 'T' || letter == 'C';
}

inline std::int64_t at_least_one(std::int64_t rows) { return rows < 1 ? 1 : rows; }

} // namespace vrn::blas

using vrn::blas::at_least_one;
using vrn::blas::is_normal;
using vrn::blas::is_option;
using vrn::blas::report;
using vrn::loader::backend;
