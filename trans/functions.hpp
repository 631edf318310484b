// trans/functions.hpp - argument lists of the transposition family, shared with the host.
//
// Everything is by value but the alpha of the z type, which is by pointer; single-precision complex scalars travel
// as two packed floats, as C's float _Complex does. Letters in either case: ordering R (row-major) or C
// (column-major); trans N, T, C (conjugate transpose), R (conjugate). Sizes and leading dimensions count elements;
// rows and cols describe the matrix before the operation.
#pragma once

#include "simd/complex.hpp"

#include <cstdint>

namespace vrn::trans {

using size = std::uint64_t;

template <class E>
struct scalar_argument {
    using type = E;
};
template <>
struct scalar_argument<simd::cplx<double>> {
    using type = const simd::cplx<double>*;
};
template <class E>
using scalar = typename scalar_argument<E>::type;

template <class E>
E value(scalar<E> x)
{
    if constexpr (std::is_pointer_v<scalar<E>>) return *x;
    else return x;
}

template <class E>
using omatcopy_function = void(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a, size lda,
                               E* b, size ldb);
template <class E>
using omatcopy2_function = void(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a,
                                size lda, size stridea, E* b, size ldb, size strideb);
template <class E>
using imatcopy_function = void(char ordering, char trans, size rows, size cols, scalar<E> alpha, E* a, size lda,
                               size ldb);
template <class E>
using omatadd_function = void(char ordering, char transa, char transb, size rows, size cols, scalar<E> alpha,
                              const E* a, size lda, scalar<E> beta, const E* b, size ldb, E* c, size ldc);

// One thread's share of a square transposition in place: the bands of 16 rows with numbers index, index + count, ...
// below n / 16, each with everything to its right and below it. The corner of n % 16 rows stays with the caller.
template <class E>
using band_function = void(size n, E* a, size lda, size index, size count);
// Runs the bands for all indices and the corner; non-zero when it did, 0 to leave the matrix to the caller.
template <class E>
using square_function = std::int64_t(size n, E* a, size lda, band_function<E>* band);

inline constexpr size band_rows = 16;

} // namespace vrn::trans

// What the kernels import: the forms over threads.
#pragma GCC visibility push(default)
extern "C" {
vrn::trans::omatcopy2_function<float> vrn_trans_vrn_somatcopy2_par;
vrn::trans::omatcopy2_function<double> vrn_trans_vrn_domatcopy2_par;
vrn::trans::omatcopy2_function<vrn::simd::cplx<float>> vrn_trans_vrn_comatcopy2_par;
vrn::trans::omatcopy2_function<vrn::simd::cplx<double>> vrn_trans_vrn_zomatcopy2_par;
vrn::trans::square_function<float> vrn_trans_vrn_simatcopy_square_t_par;
vrn::trans::square_function<double> vrn_trans_vrn_dimatcopy_square_t_par;
vrn::trans::square_function<vrn::simd::cplx<float>> vrn_trans_vrn_cimatcopy_square_t_par;
vrn::trans::square_function<vrn::simd::cplx<double>> vrn_trans_vrn_zimatcopy_square_t_par;
}
#pragma GCC visibility pop
