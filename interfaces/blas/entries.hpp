// interfaces/blas/entries.hpp - what the generated Fortran and CBLAS entries stand on: the integer of this library,
// the reports, option letters, and conjugates for row-major calls.
//
// The faces check by the table of routines and call the host, whose own checks then pass. Fortran's hidden lengths of
// option letters come behind the arguments and are not declared: in the System V calling convention a function does
// not see what it does not name.
#pragma once

#include "core/blas/checks.hpp"
#include "frame/services.hpp"
#include "vrn/blas.h"
#include "vrn/cblas.h"

#include <atomic>
#include <cstdint>
#include <utility>

#ifdef VRN_BLAS_ILP64
#define VRN_HOST(name) vrn_blas_##name
#else
#define VRN_HOST(name) vrn_blas_lp64_##name
#endif

namespace vrn::faces {

using integer = CBLAS_INT;

// 0: no call is looked at. Anything else goes to seen(), which asks the environment at its first call.
extern std::atomic<int> verbosity;
[[gnu::format(printf, 1, 2), gnu::cold]] void seen(const char* form, ...);
constexpr long long told(long long value) { return value; }

#define VRN_SEEN(...)                                                                                                \
    if (vrn::faces::verbosity.load(std::memory_order_relaxed) != 0) [[unlikely]]                                     \
    vrn::faces::seen(__VA_ARGS__)

// A bad argument of a Fortran routine. The names are padded to six letters, as published.
[[gnu::cold]] void illegal(const char* routine, integer argument);

// The letter of a CBLAS enumeration, or one that no check takes.
template <std::size_t N>
constexpr char letter(int value, int first, const char (&letters)[N])
{
    return value >= first && value - first + 1 < static_cast<int>(N) ? letters[value - first] : '?';
}

// The other of two letters.
constexpr void flip(char& option, const char (&letters)[3])
{
    option = option == letters[0] ? letters[1] : letters[0];
}
// For real matrices both transposes are one; for Hermitian products the transpose is the conjugate one.
constexpr void flip_trans(char& trans, char transpose) { trans = trans == 'N' ? transpose : 'N'; }

// CBLAS counts from 0, and has no way to tell of an empty vector.
constexpr CBLAS_INDEX from_zero(integer one_based)
{
    return one_based == 0 ? 0 : static_cast<CBLAS_INDEX>(one_based) - 1;
}

inline vrn_complex8 conjugate(vrn_complex8 a) { return {a.real, -a.imag}; }
inline vrn_complex16 conjugate(vrn_complex16 a) { return {a.real, -a.imag}; }

template <class T>
void conjugate(integer n, T* x, integer incx)
{
    const std::int64_t step = incx < 0 ? -std::int64_t{incx} : incx;
    for (std::int64_t i = 0; i < n; ++i) x[i * step] = conjugate(x[i * step]);
}

// The conjugate of a vector, contiguous; short ones on the stack. `data` is null when there is no memory.
template <class T>
class conjugate_copy {
  public:
    conjugate_copy(integer n, const T* x, integer incx)
    {
        if (n > on_stack)
            data = heap = static_cast<T*>(vrn_serv_allocate(sizeof(T) * static_cast<std::uint64_t>(n), 64));
        if (data == nullptr) return;
        const std::int64_t step = incx, base = incx < 0 ? (1 - std::int64_t{n}) * step : 0;
        for (std::int64_t i = 0; i < n; ++i) data[i] = conjugate(x[base + i * step]);
    }
    ~conjugate_copy() { vrn_serv_deallocate(heap); }
    conjugate_copy(const conjugate_copy&) = delete;
    conjugate_copy& operator=(const conjugate_copy&) = delete;

  private:
    static constexpr integer on_stack = 256;
    T stack[on_stack];
    T* heap = nullptr;

  public:
    T* data = stack;
    static constexpr integer stride = 1;
};

} // namespace vrn::faces

extern "C" void xerbla_(const char* routine, const vrn::faces::integer* argument, std::size_t length);

using vrn::faces::conjugate;
using vrn::faces::conjugate_copy;
using vrn::faces::flip;
using vrn::faces::flip_trans;
using vrn::faces::from_zero;
using vrn::faces::illegal;
using vrn::faces::integer;
using vrn::faces::letter;
using vrn::faces::told;
