// tests/trans/trans_support.hpp - matrices with guards and the definition of the four operations.
#pragma once

#include "trans/functions.hpp"

#include <complex>
#include <cstring>
#include <random>
#include <vector>

namespace vrn::test {

using simd::cplx;
using trans::size;

template <class E>
E number(int i)
{
    if constexpr (std::is_floating_point_v<E>) return static_cast<E>(i);
    else return {static_cast<simd::real_of<E>>(i), static_cast<simd::real_of<E>>(-3 * i + 1)};
}

template <class E>
bool same(E x, E y)
{
    return std::memcmp(&x, &y, sizeof x) == 0;
}

// A value that no operation here gives.
template <class E>
E guard()
{
    E g;
    std::memset(&g, 0xa5, sizeof g);
    return g;
}

// A row-major matrix in a buffer full of guards; `shift` elements off an aligned address.
template <class E>
struct matrix {
    size rows, cols, ld, inc;
    std::size_t shift;
    std::vector<E> buffer;

    matrix(size r, size c, size leading, size stride = 1, std::size_t off = 0)
        : rows(r), cols(c), ld(leading), inc(stride), shift(off + 8), buffer(8 + shift + r * leading + c * stride, guard<E>())
    {
    }
    E* data() { return buffer.data() + shift; }
    E& operator()(size i, size j) { return data()[i * ld + j * inc]; }
    void number_all()
    {
        for (size i = 0; i < rows; ++i)
            for (size j = 0; j < cols; ++j) (*this)(i, j) = number<E>(static_cast<int>(i * 1009 + j * 7 + 1) % 4001);
    }
};

inline bool turns(char t) { return t == 'T' || t == 'C'; }

// alpha op(x) of one element, the four real products in their order.
template <class E>
E applied(E alpha, char trans, E x)
{
    if constexpr (std::is_floating_point_v<E>) return alpha * x;
    else return alpha * (trans == 'C' || trans == 'R' ? simd::conj(x) : x);
}

template <class E>
struct letter;
template <>
struct letter<float> {
    static constexpr char value = 's';
};
template <>
struct letter<double> {
    static constexpr char value = 'd';
};
template <>
struct letter<cplx<float>> {
    static constexpr char value = 'c';
};
template <>
struct letter<cplx<double>> {
    static constexpr char value = 'z';
};

template <class E>
trans::scalar<E> argument(const E& x)
{
    if constexpr (std::is_pointer_v<trans::scalar<E>>) return &x;
    else return x;
}

} // namespace vrn::test
