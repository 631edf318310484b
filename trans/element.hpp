// trans/element.hpp - what the transposition kernels do to one element or one vector, and how they name letters.
#pragma once

#include "frame/export.hpp"
#include "simd/complex.hpp"
#include "simd/unroll.hpp"

#include <cstdint>
#include <type_traits>

namespace vrn::trans {

using simd::cplx;
using simd::per_vec;
using simd::real_of;
using simd::vec;

template <class E>
inline constexpr bool is_complex = simd::element<E>::parts == 2;

constexpr char upper(char letter) { return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 32) : letter; }

// The four operations. Conjugation means nothing for real types: R is N there, and C is T.
enum class op { none, transpose, conjugate, conjugate_transpose, unknown };

template <class E>
constexpr op operation(char trans)
{
    switch (upper(trans)) {
    case 'N':
        return op::none;
    case 'T':
        return op::transpose;
    case 'R':
        return is_complex<E> ? op::conjugate : op::none;
    case 'C':
        return is_complex<E> ? op::conjugate_transpose : op::transpose;
    default:
        return op::unknown;
    }
}

// alpha x, or alpha conj(x); for elements and for vectors of them.
template <bool Conj, class E>
struct scaled {
    simd::factor<E> f;
    explicit scaled(E alpha) : f(alpha) {}
    E operator()(E x) const
    {
        if constexpr (Conj) return f(conj(x));
        else return f(x);
    }
    vec<real_of<E>> operator()(vec<real_of<E>> x) const
    {
        if constexpr (Conj) return f(conjugated(x));
        else return f(x);
    }

  private:
    static vec<real_of<E>> conjugated(vec<real_of<E>> x)
    {
        using R = real_of<E>;
        const auto sign = vec<R>::pair(R(0), -R(0)); // changes signs alone, as conj does
        return x ^ sign;
    }
};

// x itself.
template <class E>
struct moved {
    E operator()(E x) const { return x; }
    vec<real_of<E>> operator()(vec<real_of<E>> x) const { return x; }
};

template <class E>
vec<real_of<E>> load(const E* p)
{
    return vec<real_of<E>>::loadu(reinterpret_cast<const real_of<E>*>(p));
}

template <bool Stream = false, class E>
void store(vec<real_of<E>> x, E* p)
{
    auto* r = reinterpret_cast<real_of<E>*>(p);
    if constexpr (Stream) x.stream(r);
    else x.storeu(r);
}

// One column of a row-major matrix over as many rows as a vector holds.
template <class E>
vec<real_of<E>> load_rows(const E* p, std::uint64_t ld)
{
    const auto step = static_cast<std::int64_t>(ld);
    if constexpr (per_vec<E> == 1) return load(p);
    else if constexpr (is_complex<E>) return vec<float>::halves(&p->re, &p[step].re);
    else return vec<E>::gather(p, step);
}

} // namespace vrn::trans
