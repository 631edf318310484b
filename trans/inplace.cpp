// trans/inplace.cpp - the entries of the forms in one buffer.

#include "trans/inplace.hpp"

using namespace vrn::trans;

namespace {

// From this side on the host is asked to transpose a square on its threads.
constexpr vrn_int parallel_from = 65;

template <class E>
void bands(size n, E* a, size lda, size index, size count)
{
    for (size band = index; band < n / band_rows; band += count)
        transpose_band(static_cast<vrn_int>(n), a, static_cast<vrn_int>(lda), static_cast<vrn_int>(band * band_rows));
}

template <class E>
void square(vrn_int n, E alpha, E* a, vrn_int lda, square_function<E>* par)
{
    if (alpha == vrn::simd::unity<E>) {
        if (n >= parallel_from && par(static_cast<size>(n), a, static_cast<size>(lda), bands<E>) != 0) return;
        if (tiled_swap(n, a, lda) == 0) return;
    }
    transpose_pairs(n, a, lda, scaled<false, E>(alpha));
}

template <class E>
void imatcopy(char ordering, char trans, size rows, size cols, E alpha, E* a, size lda, size ldb,
              square_function<E>* par)
{
    const char order = upper(ordering);
    if (rows == 0 || cols == 0 || (order != 'R' && order != 'C')) return;
    const op what = operation<E>(trans);
    const auto n = static_cast<vrn_int>(rows), ld = static_cast<vrn_int>(lda), to = static_cast<vrn_int>(ldb);
    const bool turned = rows == cols && lda == ldb, dense = turned && rows == lda;

    // Squares mean the same in either order. Complex C is taken for a square only when it is dense.
    if (what == op::transpose && turned) return square(n, alpha, a, ld, par);
    if (what == op::none && dense) return move_row(n * n, a, a, scaled<false, E>(alpha));
    if constexpr (is_complex<E>) {
        if (what == op::conjugate_transpose && dense) return transpose_pairs(n, a, ld, scaled<true, E>(alpha));
        if (what == op::conjugate && dense) return move_row(n * n, a, a, scaled<true, E>(alpha));
    }

    const auto m = static_cast<vrn_int>(order == 'R' ? rows : cols), k = static_cast<vrn_int>(order == 'R' ? cols : rows);
    switch (what) {
    case op::none:
        return restride(m, k, a, ld, to, scaled<false, E>(alpha));
    case op::transpose:
        return follow_cycles(m, k, a, ld, to, scaled<false, E>(alpha));
    case op::conjugate:
        if constexpr (is_complex<E>) return restride(m, k, a, ld, to, scaled<true, E>(alpha));
        break;
    case op::conjugate_transpose:
        if constexpr (is_complex<E>) return follow_cycles(m, k, a, ld, to, scaled<true, E>(alpha));
        break;
    case op::unknown:
        break;
    }
}

} // namespace

#define IMATCOPY(name, E, par)                                                                                       \
    VRN_EXPORT void name(char ordering, char trans, size rows, size cols, scalar<E> alpha, E* a, size lda, size ldb) \
    {                                                                                                                \
        imatcopy<E>(ordering, trans, rows, cols, value<E>(alpha), a, lda, ldb, par);                                 \
    }
IMATCOPY(vrn_trans_s42_vrn_simatcopy, float, vrn_trans_vrn_simatcopy_square_t_par)
IMATCOPY(vrn_trans_s42_vrn_dimatcopy, double, vrn_trans_vrn_dimatcopy_square_t_par)
IMATCOPY(vrn_trans_s42_vrn_cimatcopy, cplx<float>, vrn_trans_vrn_cimatcopy_square_t_par)
IMATCOPY(vrn_trans_s42_vrn_zimatcopy, cplx<double>, vrn_trans_vrn_zimatcopy_square_t_par)
