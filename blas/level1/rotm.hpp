// blas/level1/rotm.hpp - the modified plane rotation, (x, y) := H (x, y), and its generator (Lawson, Hanson, Kincaid
// and Krogh 1979). Instantiated by rotm.cpp.
//
//     param  flag h11 h21 h12 h22        flag < 0  all four hold      flag 0  h11 = h22 = 1
//                                        flag > 0  h12 = 1, h21 = -1  flag -2  H is the identity, nothing is done
#pragma once

#include "blas/level1/tables.hpp"

#include <cmath>
#include <limits>

namespace vrn::blas {

enum class rotm_kind { full, unit_diagonal, unit_off_diagonal };

template <rotm_kind Kind, class R>
struct rotm_op : reads_both {
    static constexpr bool writes_x = true;
    factor<R> h11, h21, h12, h22;
    explicit rotm_op(const R* param) : h11(param[1]), h21(param[2]), h12(param[3]), h22(param[4]) {}
    // Loaded once, or the second use would wait for the store of the first result.
    void operator()(vec<R>& x, vec<R>& y) const { turn(x = held(x), y = held(y)); }
    void operator()(R& x, R& y) const { turn(x, y); }

  private:
    template <class V>
    [[gnu::always_inline]] void turn(V& x, V& y) const
    {
        const V old = x;
        if constexpr (Kind == rotm_kind::full) {
            x = h11(old) + h12(y);
            y = h21(old) + h22(y);
        } else if constexpr (Kind == rotm_kind::unit_diagonal) {
            x = old + h12(y);
            y = h21(old) + y;
        } else {
            x = h11(old) + y;
            y = h22(y) - old;
        }
    }
};

// Equal strides pair the same elements as general ones; together they are the vector path.
template <rotm_kind Kind, class R>
void rotm_of(vrn_int n, R* x, vrn_int incx, R* y, vrn_int incy, const R* param)
{
    using op = rotm_op<Kind, R>;
    if (incx == 1 && incy == 1 && is_natural(x) && is_natural(y))
        return update_peeled<rot_shape<R>, op>(n, x, y, param);
    update_strided<steps<>, op>(n, x, incx, y, incy, param);
}

template <class R>
void rotm(vrn_int n, R* x, vrn_int incx, R* y, vrn_int incy, const R* param)
{
    const R flag = param[0];
    if (n < 1 || flag + 2 == 0) return;
    if (flag < 0) rotm_of<rotm_kind::full>(n, x, incx, y, incy, param);
    else if (flag == 0) rotm_of<rotm_kind::unit_diagonal>(n, x, incx, y, incy, param);
    else rotm_of<rotm_kind::unit_off_diagonal>(n, x, incx, y, incy, param);
}

// Powers of two, so that rescaling is exact.
inline constexpr int gam = 4096, gamsq = 16777216;

// H such that the second component of H (sqrt(d1) x1, sqrt(d2) y1) is zero, in the scaled form that needs no root.
template <class R>
void rotmg(R& d1, R& d2, R& x1, R y1, R* param)
{
    constexpr R rgamsq = R(1) / gamsq, largest = std::numeric_limits<R>::max();
    R flag, h11 = 0, h21 = 0, h12 = 0, h22 = 0;
    // No H exists: all is set to zero.
    const auto give_up = [&] {
        flag = -1;
        h11 = h21 = h12 = h22 = 0;
        d1 = d2 = x1 = 0;
    };
    if (d1 < 0) {
        give_up();
    } else {
        const R p2 = d2 * y1;
        if (p2 == 0) {
            param[0] = -2;
            return;
        }
        const R p1 = d1 * x1, q2 = p2 * y1, q1 = p1 * x1;
        if (std::fabs(q1) > std::fabs(q2)) {
            h21 = -y1 / x1;
            h12 = p2 / p1;
            const R u = 1 - h12 * h21;
            if (u > 0) {
                flag = 0;
                d1 /= u;
                d2 /= u;
                x1 *= u;
            } else {
                give_up(); // by rounding alone
            }
        } else if (q2 < 0) {
            give_up();
        } else {
            flag = 1;
            h11 = p1 / p2;
            h22 = x1 / y1;
            const R u = 1 + h11 * h22, d = d2 / u;
            d2 = d1 / u;
            d1 = d;
            x1 = y1 * u;
        }
        // From here on all of H holds. Done once: a second rescaling must not undo the first.
        const auto spell_out = [&] {
            if (flag == 0) h11 = h22 = 1;
            else if (flag > 0) h21 = -1, h12 = 1;
            flag = -1;
        };
        // Infinities would never come into range; zeros are left.
        while (d1 != 0 && (d1 <= rgamsq || d1 >= gamsq) && d1 <= largest) {
            spell_out();
            const bool small = d1 <= rgamsq;
            d1 = small ? d1 * gamsq : d1 * rgamsq;
            const R by = small ? R(1) / gam : R(gam);
            x1 *= by;
            h11 *= by;
            h12 *= by;
        }
        while (d2 != 0 && (std::fabs(d2) <= rgamsq || std::fabs(d2) >= gamsq) && std::fabs(d2) <= largest) {
            spell_out();
            const bool small = std::fabs(d2) <= rgamsq;
            d2 = small ? d2 * gamsq : d2 * rgamsq;
            const R by = small ? R(1) / gam : R(gam);
            h21 *= by;
            h22 *= by;
        }
    }
    if (flag <= 0) param[2] = h21, param[3] = h12;
    if (flag != 0) param[1] = h11, param[4] = h22;
    param[0] = flag;
}

} // namespace vrn::blas
