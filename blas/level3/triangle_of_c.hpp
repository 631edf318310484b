// blas/level3/triangle_of_c.hpp - what the rank updates do to one triangle of C besides products: scale it, and add
// to it the triangle of a square that was computed whole.
//
// A Hermitian C has a real diagonal: the imaginary parts that lie there are not read and are written as zero.
#pragma once

#include "blas/level3/engine.hpp"
#include "simd/vec.hpp"

namespace vrn::blas::level3 {

// How C meets its mirror image.
enum class kind { symmetric, hermitian };

template <class E>
struct triangle_of_c {
    bool upper;
    vrn_int n;
    E* c;
    vrn_int ldc;

    // The rows of column j.
    vrn_int begin(vrn_int j) const { return upper ? 0 : j; }
    vrn_int end(vrn_int j) const { return upper ? j + 1 : n; }
    triangle_of_c part(vrn_int from, vrn_int order) const { return {upper, order, c + from * (ldc + 1), ldc}; }
    // The rectangle that unknowns [from, to) share with those behind, up to n: rows and columns of its first element.
    E* beside(vrn_int from, vrn_int to) const { return upper ? c + from + to * ldc : c + to + from * ldc; }
};

template <kind K, class E>
E mirrored(E x)
{
    if constexpr (K == kind::hermitian) return conjugate(x);
    else return x;
}

template <class R>
void make_real(cplx<R>& x)
{
    x.im = R{};
}

// The triangle := beta times itself; with beta zero it is written and not read.
template <kind K, class E>
void scale_triangle(const triangle_of_c<E>& t, E beta)
{
    for (vrn_int j = 0; j < t.n; ++j) {
        const vrn_int from = t.begin(j);
        E* const column = t.c + from + j * t.ldc;
        if constexpr (K == kind::hermitian) {
            // beta is real: the column is scaled as reals.
            make_real(t.c[j + j * t.ldc]);
            scale(2 * (t.end(j) - from), 1, beta.re, reinterpret_cast<real_of<E>*>(column), t.ldc);
        } else {
            scale(t.end(j) - from, 1, beta, column, t.ldc);
        }
    }
}

// A rectangle of C := beta times itself, of a Hermitian C as reals.
template <kind K, class E>
void scale_rectangle(vrn_int m, vrn_int n, E beta, E* c, vrn_int ldc)
{
    if constexpr (K == kind::hermitian) scale(2 * m, n, beta.re, reinterpret_cast<real_of<E>*>(c), 2 * ldc);
    else scale(m, n, beta, c, ldc);
}

// x := x + w, or w where Store is set; numbers of either kind as their reals.
template <bool Store, class R>
void add_run(vrn_int n, const R* w, R* x)
{
    using V = simd::vec<R>;
    vrn_int i = 0;
    for (; i + V::lanes <= n; i += V::lanes)
        (Store ? V::loadu(w + i) : V::loadu(x + i) + V::loadu(w + i)).storeu(x + i);
    for (; i < n; ++i) x[i] = Store ? w[i] : x[i] + w[i];
}

// The triangle of the square w, added to C's or put in its place.
template <kind K, bool Store, class E>
void take_triangle(const triangle_of_c<E>& t, const E* w, vrn_int ldw)
{
    using R = real_of<E>;
    constexpr int parts = simd::element<E>::parts;
    for (vrn_int j = 0; j < t.n; ++j) {
        const vrn_int from = t.begin(j);
        add_run<Store>((t.end(j) - from) * parts, reinterpret_cast<const R*>(w + from + j * ldw),
                       reinterpret_cast<R*>(t.c + from + j * t.ldc));
        if constexpr (K == kind::hermitian) make_real(t.c[j + j * t.ldc]);
    }
}

} // namespace vrn::blas::level3
