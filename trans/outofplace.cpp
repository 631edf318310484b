// trans/outofplace.cpp - B := alpha op(A) into another buffer: the entries, which send larger matrices to the host's
// threads, and the forms of one thread. A letter that is not known makes a call do nothing.

#include "trans/copy.hpp"
#include "trans/functions.hpp"

using namespace vrn::trans;

namespace {

// More than this many bytes, and at least this many rows and columns, are worth asking the host for threads.
constexpr size parallel_from_bytes = 32768, parallel_from_side = 17;

template <class E>
void sequential(char ordering, char trans, size rows, size cols, E alpha, const E* a, size lda, size stridea, E* b,
                size ldb, size strideb)
{
    // A column-major matrix is the row-major one with its sizes exchanged.
    const char order = upper(ordering);
    if (order != 'R' && order != 'C') return;
    const auto m = static_cast<vrn_int>(order == 'R' ? rows : cols),
               n = static_cast<vrn_int>(order == 'R' ? cols : rows);
    const strided<const E> from{a, static_cast<vrn_int>(lda), static_cast<vrn_int>(stridea)};
    const strided<E> to{b, static_cast<vrn_int>(ldb), static_cast<vrn_int>(strideb)};
    switch (operation<E>(trans)) {
    case op::none:
        return copy<false>(m, n, alpha, from, to);
    case op::transpose:
        return transpose<false>(m, n, alpha, from, to);
    case op::conjugate:
        if constexpr (is_complex<E>) return copy<true>(m, n, alpha, from, to);
        break;
    case op::conjugate_transpose:
        if constexpr (is_complex<E>) return transpose<true>(m, n, alpha, from, to);
        break;
    case op::unknown:
        break;
    }
}

constexpr bool parallel(size rows, size cols, size element)
{
    return rows >= parallel_from_side && cols >= parallel_from_side && rows * element * cols > parallel_from_bytes;
}

} // namespace

#define SEQ(name, E)                                                                                                 \
    VRN_EXPORT void name(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a, size lda,     \
                         size stridea, E* b, size ldb, size strideb)                                                 \
    {                                                                                                                \
        sequential<E>(ordering, trans, rows, cols, value<E>(alpha), a, lda, stridea, b, ldb, strideb);               \
    }
SEQ(vrn_trans_s42_vrn_somatcopy2_seq, float)
SEQ(vrn_trans_s42_vrn_domatcopy2_seq, double)
SEQ(vrn_trans_s42_vrn_comatcopy2_seq, cplx<float>)
SEQ(vrn_trans_s42_vrn_zomatcopy2_seq, cplx<double>)

// Straight into the one form or the other: at 8 by 8 every call between costs a tenth.
#define COPY2(name, E, par)                                                                                          \
    VRN_EXPORT void name(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a, size lda,     \
                         size stridea, E* b, size ldb, size strideb)                                                 \
    {                                                                                                                \
        if (rows == 0 || cols == 0) return;                                                                          \
        if (parallel(rows, cols, sizeof(E)))                                                                         \
            return par(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);                        \
        sequential<E>(ordering, trans, rows, cols, value<E>(alpha), a, lda, stridea, b, ldb, strideb);               \
    }
COPY2(vrn_trans_s42_vrn_somatcopy2, float, vrn_trans_vrn_somatcopy2_par)
COPY2(vrn_trans_s42_vrn_domatcopy2, double, vrn_trans_vrn_domatcopy2_par)
COPY2(vrn_trans_s42_vrn_comatcopy2, cplx<float>, vrn_trans_vrn_comatcopy2_par)
COPY2(vrn_trans_s42_vrn_zomatcopy2, cplx<double>, vrn_trans_vrn_zomatcopy2_par)

#define COPY(name, E, par)                                                                                           \
    VRN_EXPORT void name(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a, size lda,     \
                         E* b, size ldb)                                                                             \
    {                                                                                                                \
        if (rows == 0 || cols == 0) return;                                                                          \
        if (parallel(rows, cols, sizeof(E))) return par(ordering, trans, rows, cols, alpha, a, lda, 1, b, ldb, 1);   \
        sequential<E>(ordering, trans, rows, cols, value<E>(alpha), a, lda, 1, b, ldb, 1);                           \
    }
COPY(vrn_trans_s42_vrn_somatcopy, float, vrn_trans_vrn_somatcopy2_par)
COPY(vrn_trans_s42_vrn_domatcopy, double, vrn_trans_vrn_domatcopy2_par)
COPY(vrn_trans_s42_vrn_comatcopy, cplx<float>, vrn_trans_vrn_comatcopy2_par)
COPY(vrn_trans_s42_vrn_zomatcopy, cplx<double>, vrn_trans_vrn_zomatcopy2_par)
