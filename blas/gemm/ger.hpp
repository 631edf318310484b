// blas/gemm/ger.hpp - C := beta C + alpha x y^T, a product of depth 1.
// C[:, j] := beta C[:, j] + (alpha y_j) x, rows in blocks of 8. A complex number is its pair of reals.
#pragma once

#include "blas/gemm/mscale.hpp"

#include <cstdint>

namespace vrn::blas {

// An element of `parts` reals: 1 for a real type, 2 for a complex one.
template <class R, int Parts>
struct number {
    R part[Parts];
    bool is(R x) const { return part[0] == x && (Parts == 1 || part[Parts - 1] == R{}); }
    friend number operator+(number x, number y)
    {
        for (int i = 0; i < Parts; ++i) x.part[i] += y.part[i];
        return x;
    }
    friend number operator*(number x, number y)
    {
        if constexpr (Parts == 1) return {{x.part[0] * y.part[0]}};
        else return {{x.part[0] * y.part[0] - x.part[1] * y.part[1], x.part[0] * y.part[1] + x.part[1] * y.part[0]}};
    }
};

template <bool UnitStride, class N>
inline void ger_column(std::int64_t m, N f, const N* x, std::int64_t incx, N beta, N* c)
{
    const std::int64_t step = UnitStride ? 1 : incx;
    // With beta zero C is written and not read.
    const auto run = [&](auto update) {
        std::int64_t i = 0;
        for (; i + 8 <= m; i += 8, x += 8 * step)
            for (int r = 0; r < 8; ++r) update(c[i + r], f * x[r * step]);
        for (; i < m; ++i, x += step) update(c[i], f * *x);
    };
    if (beta.is(0)) run([](N& to, N product) { to = product; });
    else if (beta.is(1)) run([](N& to, N product) { to = to + product; });
    else run([beta](N& to, N product) { to = beta * to + product; });
}

template <class R, int Parts>
void gemmger(std::int64_t m, std::int64_t n, number<R, Parts> alpha, const number<R, Parts>* x, std::int64_t incx,
             const number<R, Parts>* y, std::int64_t incy, number<R, Parts> beta, number<R, Parts>* c,
             std::int64_t ldc)
{
    if (m < 1 || n < 1) return;
    if (alpha.is(0)) {
        if (beta.is(1)) return;
        for (std::int64_t j = 0; j < n; ++j) {
            number<R, Parts>* column = c + j * ldc;
            if (beta.is(0) && m >= 13) {
                zero_words(m * Parts, column->part);
            } else {
                for (std::int64_t i = 0; i < m; ++i) column[i] = beta.is(0) ? number<R, Parts>{} : beta * column[i];
            }
        }
        return;
    }
    // A negative stride begins at the far end.
    if (incx < 0) x += (1 - m) * incx;
    if (incy < 0) y += (1 - n) * incy;
    const auto column = incx == 1 ? ger_column<true, number<R, Parts>> : ger_column<false, number<R, Parts>>;
    for (std::int64_t j = 0; j < n; ++j) column(m, alpha * y[j * incy], x, incx, beta, c + j * ldc);
}

} // namespace vrn::blas
