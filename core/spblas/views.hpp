// core/spblas/views.hpp - the stored matrix of a call, and what its descriptor letters say.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>
#include <type_traits>

namespace vrn::spblas::host {

using simd::cplx;

// The arrays of each format, in the order of the argument lists.
template <class T, class I>
struct csr_view {
    const T* val;
    const I *indx, *pntrb, *pntre;
};
template <class T, class I>
struct csc_view {
    const T* val;
    const I *indx, *pntrb, *pntre;
};
template <class T, class I>
struct coo_view {
    const T* val;
    const I *rowind, *colind, *nnz;
};
template <class T, class I>
struct dia_view {
    const T* val;
    const I *lval, *idiag, *ndiag;
};
template <class T, class I>
struct bsr_view {
    const T* val;
    const I *indx, *pntrb, *pntre;
    const I* lb;
};
template <class T, class I>
struct bsc_view {
    const T* val;
    const I *indx, *pntrb, *pntre;
    const I* lb;
};
template <class T, class I>
struct sky_view {
    const T* val;
    const I* pntr;
};

// A descriptor in the letters of the kernels' names. `op` is n t c, and s (the conjugate alone) for a caller that has
// folded a transposition into the storage.
struct description {
    char kind, triangle, diagonal; // g s h t a d, l u _, n u _
    int base;
    bool by_rows;

    bool unit() const { return diagonal == 'u'; }
    bool lower() const { return triangle == 'l'; }
};

constexpr bool transposes(char op) { return op == 't' || op == 'c'; }
constexpr char lower_case(char letter) { return static_cast<char>(letter | 0x20); }
constexpr char flipped(char triangle) { return triangle == 'l' ? 'u' : triangle == 'u' ? 'l' : triangle; }
inline description of_transpose(description d)
{
    d.triangle = flipped(d.triangle);
    return d;
}

template <class T>
inline constexpr bool is_complex = !std::is_floating_point_v<T>;

// The letters, which have been checked. A real Hermitian matrix is symmetric. Letters that a class has no use for are
// not read; without a fifth letter the base decides how dense matrices lie.
template <class T>
[[gnu::noinline]] description describe(const char* descr)
{
    const char kind = lower_case(descr[0]) == 'h' && !is_complex<T> ? 's' : lower_case(descr[0]);
    const bool sided = kind != 'g' && kind != 'd', told = kind != 'g' && kind != 'a';
    const int base = lower_case(descr[3]) == 'c' ? 0 : 1;
    const char layout = lower_case(descr[4]);
    return {kind, sided ? lower_case(descr[1]) : '_', told ? lower_case(descr[2]) : '_', base,
            layout == 'r' || (layout != 'c' && base == 0)};
}

} // namespace vrn::spblas::host
