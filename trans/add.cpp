// trans/add.cpp - the entries of the scaled add. The kernel comes from a table by a code: that of transa plus that of
// transb. Unlike the copies, every ordering but C is row-major here; a pair of letters without an entry does nothing.

#include "trans/add.hpp"
#include "trans/functions.hpp"

using namespace vrn::trans;

namespace {

template <class E>
using kernel = void(vrn_int rows, vrn_int cols, E alpha, const E* a, vrn_int lda, E beta, const E* b, vrn_int ldb, E* c,
                    vrn_int ldc);

constexpr bool transposes(op o) { return o == op::transpose || o == op::conjugate_transpose; }
constexpr bool conjugates(op o) { return o == op::conjugate || o == op::conjugate_transpose; }

template <class E, op A, op B>
void add(vrn_int rows, vrn_int cols, E alpha, const E* a, vrn_int lda, E beta, const E* b, vrn_int ldb, E* c,
         vrn_int ldc)
{
    const term<E, scaled<conjugates(A), E>> x{a, lda, scaled<conjugates(A), E>(alpha)};
    const term<E, scaled<conjugates(B), E>> y{b, ldb, scaled<conjugates(B), E>(beta)};
    if constexpr (!transposes(A) && !transposes(B)) add_plain(rows, cols, x, y, c, ldc);
    else if constexpr (!transposes(A)) add_mixed(rows, cols, y, x, c, ldc);
    else if constexpr (!transposes(B)) add_mixed(rows, cols, x, y, c, ldc);
    // T with T takes B first, the pairs with a C take A first: where both are NaN it decides which is returned.
    else if constexpr (A == op::transpose && B == op::transpose) add_transposed(rows, cols, y, x, c, ldc);
    else add_transposed(rows, cols, x, y, c, ldc);
}

constexpr int code(char trans)
{
    switch (upper(trans)) {
    case 'N':
        return 1;
    case 'T':
        return 2;
    case 'R':
        return 4;
    case 'C':
        return 8;
    default:
        return 0;
    }
}

template <class E>
struct entry {
    int code;
    kernel<E>* run;
};

template <class E, char A, char B>
constexpr entry<E> pair{code(A) + 16 * code(B), add<E, operation<E>(A), operation<E>(B)>};

template <class E>
constexpr entry<E> table[] = {
    pair<E, 'N', 'N'>, pair<E, 'T', 'N'>, pair<E, 'R', 'N'>, pair<E, 'C', 'N'>,
    pair<E, 'N', 'T'>, pair<E, 'T', 'T'>, pair<E, 'R', 'T'>, pair<E, 'C', 'T'>,
    pair<E, 'N', 'R'>, pair<E, 'T', 'R'>, pair<E, 'R', 'R'>, pair<E, 'C', 'R'>,
    pair<E, 'N', 'C'>, pair<E, 'T', 'C'>, pair<E, 'R', 'C'>, pair<E, 'C', 'C'>,
};

template <class E>
void omatadd(char ordering, char transa, char transb, size rows, size cols, E alpha, const E* a, size lda, E beta,
             const E* b, size ldb, E* c, size ldc)
{
    if (rows == 0 || cols == 0) return;
    const bool by_columns = upper(ordering) == 'C';
    const auto m = static_cast<vrn_int>(by_columns ? cols : rows), n = static_cast<vrn_int>(by_columns ? rows : cols);
    const int wanted = code(transa) + 16 * code(transb);
    for (const entry<E>& e : table<E>)
        if (e.code == wanted)
            return e.run(m, n, alpha, a, static_cast<vrn_int>(lda), beta, b, static_cast<vrn_int>(ldb), c,
                         static_cast<vrn_int>(ldc));
}

} // namespace

#define OMATADD(name, E)                                                                                             \
    VRN_EXPORT void name(char ordering, char transa, char transb, size rows, size cols, scalar<E> alpha, const E* a, \
                         size lda, scalar<E> beta, const E* b, size ldb, E* c, size ldc)                             \
    {                                                                                                                \
        omatadd<E>(ordering, transa, transb, rows, cols, value<E>(alpha), a, lda, value<E>(beta), b, ldb, c, ldc);   \
    }
OMATADD(vrn_trans_s42_vrn_somatadd, float)
OMATADD(vrn_trans_s42_vrn_domatadd, double)
OMATADD(vrn_trans_s42_vrn_comatadd, cplx<float>)
OMATADD(vrn_trans_s42_vrn_zomatadd, cplx<double>)
