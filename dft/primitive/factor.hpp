// dft/primitive/factor.hpp - the radices of a length, outermost first.
//
// All 4s, then the odd primes in ascending order, then what is left. A single 2 comes first and takes a 3 with it to
// make 6. The last radix reads interleaved input: the rule brings the even radix there, so that blocks are whole
// vectors, and folds 4s into it. Fails for a prime above 89 among the radices, or above the limits for the last.
#pragma once

#include "dft/primitive/plan.hpp"

namespace vrn::dft {

struct radices {
    int count = 0;
    std::int32_t of[max_stages] = {};
};

// `folded` false: scrambled plans, which keep each radix for itself so that a stage undoes a stage.
constexpr bool factor(std::int32_t n, bool folded, radices& r)
{
    r = {};
    std::int32_t left = n;
    for (; left % 4 == 0; left /= 4) r.of[r.count++] = 4;
    if (left % 2 == 0) {
        left /= 2;
        // The 2 takes the first place and the 4 from there goes to the end.
        if (r.count > 0) r.of[r.count] = 4;
        r.of[0] = 2;
        ++r.count;
    }
    for (std::int32_t d = 3; left >= d * d;) {
        if (d > prime_limit) return false;
        if (left % d != 0) {
            d += 2;
            continue;
        }
        left /= d;
        if (folded && d == 3 && r.count > 0 && r.of[0] == 2) r.of[0] = 6;
        else r.of[r.count++] = d;
    }
    if (r.count == 0) return false;
    if (left > (n % 2 != 0 || !folded ? prime_limit : even_last_radix_limit)) return false;
    if (left == 1) return true;
    if (folded && left == 3 && r.of[0] == 2) r.of[0] = 6;
    else r.of[r.count++] = left;
    return true;
}

// The order in which stages run.
constexpr void arrange(radices& r)
{
    const auto exchange_ends = [&r] {
        const std::int32_t t = r.of[0];
        r.of[0] = r.of[r.count - 1], r.of[r.count - 1] = t;
    };
    if (r.count > 1 && r.of[1] == 4) {
        if (r.of[0] == 6) {
            exchange_ends();
            return;
        }
        r.of[0] *= 4;
        for (int s = 1; s + 1 < r.count; ++s) r.of[s] = r.of[s + 1];
        --r.count;
    }
    const std::int32_t first = r.of[0];
    if (first == 2 || first == 4 || first == 6 || first == 8 || first == 16) exchange_ends();
}

} // namespace vrn::dft
