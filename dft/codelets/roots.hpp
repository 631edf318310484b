// dft/codelets/roots.hpp - exp(2 pi i k / n) as the nearest doubles, at compile time and at run time.
//
// Both fold the angle exactly, as a fraction of a turn, to the first octant, so that symmetric roots have symmetric
// bits. At compile time a Taylor series in double-double gives some 100 bits, rounded once. At run time sin and cos
// of the library take the angle's leading part and its rounding error enters to first order.
// Double-double: Dekker (1971), Knuth (1969).
#pragma once

#include <cmath>
#include <cstdint>

namespace vrn::dft {

struct root {
    double cos, sin;
};

namespace detail {

struct dd {
    double hi, lo;
};

constexpr dd two_sum(double a, double b)
{
    const double s = a + b, t = s - a;
    return {s, (a - (s - t)) + (b - t)};
}
constexpr dd two_product(double a, double b)
{
    constexpr double splitter = 134217729; // 2^27 + 1
    const double p = a * b, ca = splitter * a, cb = splitter * b;
    const double ah = ca - (ca - a), al = a - ah, bh = cb - (cb - b), bl = b - bh;
    return {p, ((ah * bh - p) + ah * bl + al * bh) + al * bl};
}
constexpr dd operator+(dd a, dd b)
{
    const dd s = two_sum(a.hi, b.hi);
    return two_sum(s.hi, s.lo + (a.lo + b.lo));
}
constexpr dd operator*(dd a, dd b)
{
    const dd p = two_product(a.hi, b.hi);
    return two_sum(p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi));
}
constexpr dd operator/(dd a, double b)
{
    const double q = a.hi / b;
    const dd p = two_product(q, b);
    return two_sum(q, (((a.hi - p.hi) - p.lo) + a.lo) / b);
}

inline constexpr dd quarter_pi{0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55};

// k / n of a turn: pi/4 * t / n with 0 <= t <= n, and what undoes the folding.
struct folded {
    std::int64_t t;
    bool swap, minus_cos, minus_sin;
};
constexpr folded fold(std::int64_t k, std::int64_t n)
{
    folded f{8 * (k % n), false, false, false};
    if (f.t > 4 * n) f.t = 8 * n - f.t, f.minus_sin = true;
    if (f.t > 2 * n) f.t = 4 * n - f.t, f.minus_cos = true;
    if (f.t > n) f.t = 2 * n - f.t, f.swap = true;
    return f;
}
constexpr root unfold(folded f, double c, double s)
{
    const double x = f.swap ? s : c, y = f.swap ? c : s;
    return {f.minus_cos ? -x : x, f.minus_sin ? -y : y};
}

} // namespace detail

// For 0 <= k < 2^28 and n < 2^58.
constexpr root constant_root(std::int64_t k, std::int64_t n)
{
    using detail::dd;
    const detail::folded f = detail::fold(k, n);
    const dd x = detail::quarter_pi * dd{static_cast<double>(f.t), 0} / static_cast<double>(n), x2 = x * x;
    // Terms fall by (pi/4)^2 / (2j (2j + 1)); 28 factors leave less than 2^-110.
    dd c{1, 0}, s{1, 0};
    for (int j = 27; j > 1; j -= 2) {
        s = dd{1, 0} + (x2 * s) / static_cast<double>(-j * (j - 1));
        c = dd{1, 0} + (x2 * c) / static_cast<double>(-(j - 1) * (j - 2));
    }
    s = x * s;
    return detail::unfold(f, c.hi, s.hi);
}

// At run time, to about half a unit in the last place. With e the angle's error, sin(x + e) = sin x + e cos x.
inline root table_root(std::int64_t k, std::int64_t n)
{
    const detail::folded f = detail::fold(k, n);
    const detail::dd x = detail::quarter_pi * detail::dd{static_cast<double>(f.t), 0} / static_cast<double>(n);
    const double c = std::cos(x.hi), s = std::sin(x.hi);
    return detail::unfold(f, c - s * x.lo, s + c * x.lo);
}

} // namespace vrn::dft
