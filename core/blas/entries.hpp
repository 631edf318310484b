// core/blas/entries.hpp - what the generated entries stand on: the slots, the checks, the drivers, and the widening
// of 32-bit positions.
#pragma once

#include "core/blas/checks.hpp"
#include "core/blas/gemm.hpp"
#include "core/loader/loader.hpp"
#include "frame/services.hpp"
#include "vrn/blas.h"

#include <algorithm>
#include <cstring>

namespace vrn::blas {

// One bad argument: told with its published number, and the entry returns having written nothing.
inline void report(const char* routine, std::int64_t argument)
{
    vrn_serv_xerbla(routine, &argument, static_cast<std::int64_t>(std::strlen(routine)));
}

// Sums of two pieces of a sparse dot product.
template <class T>
constexpr T sum_of(T a, T b)
{
    return a + b;
}
inline vrn_complex8 sum_of(vrn_complex8 a, vrn_complex8 b) { return {a.real + b.real, a.imag + b.imag}; }
inline vrn_complex16 sum_of(vrn_complex16 a, vrn_complex16 b) { return {a.real + b.real, a.imag + b.imag}; }

// Calls visit(positions, count, from) with the positions of a sparse vector in 64 bits: all of them at once, so that
// a sum is that of the 64-bit entry to the last bit. Only without memory do they come in pieces, in order.
template <class Visit>
void with_wide_positions(std::int64_t nz, const std::int32_t* indx, Visit&& visit)
{
    constexpr std::int64_t on_stack = 512;
    if (nz <= 0) return;
    std::int64_t few[on_stack];
    std::int64_t* const many =
        nz <= on_stack ? nullptr
                       : static_cast<std::int64_t*>(vrn_serv_allocate(sizeof few[0] * std::uint64_t(nz), 64));
    std::int64_t* const wide = many == nullptr ? few : many;
    const std::int64_t piece = many == nullptr ? on_stack : nz;
    for (std::int64_t from = 0; from < nz; from += piece) {
        const std::int64_t count = std::min(piece, nz - from);
        std::copy_n(indx + from, count, wide);
        visit(wide, count, from);
    }
    vrn_serv_deallocate(many);
}

} // namespace vrn::blas

using vrn::blas::report;
using vrn::blas::sum_of;
using vrn::blas::with_wide_positions;
using vrn::loader::backend;
