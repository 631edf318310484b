// simd/unroll.hpp - a loop of constant length, written out by the compiler whatever its heuristics say.
// At -O2 g++ keeps small loops over register arrays as loops, and the array then lives in memory.
#pragma once

#include <utility>

namespace vrn::simd {

// body(i) for i = 0 .. N-1, each i a compile-time constant. The function that holds the loop is marked
// [[gnu::flatten]] where the bodies are large, or g++ keeps them as calls.
template <int N, class Body>
[[gnu::always_inline]] inline void unroll(Body&& body)
{
    [&]<int... I>(std::integer_sequence<int, I...>) __attribute__((always_inline)) {
        (body(std::integral_constant<int, I>{}), ...);
    }(std::make_integer_sequence<int, N>{});
}

} // namespace vrn::simd
