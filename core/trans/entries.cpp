// core/trans/entries.cpp - the public transpositions: checked, then handed to the back-end.

#include "core/trans/kernels.hpp"
#include "frame/services.hpp"
#include "vrn/trans.h"

#include <cstring>

namespace {

using namespace vrn::trans;
using vrn::loader::backend;
using vrn::simd::cplx;

// What a type of the header is to the kernels.
template <class T>
struct element_of {
    using type = T;
};
template <>
struct element_of<vrn_complex8> {
    using type = cplx<float>;
};
template <>
struct element_of<vrn_complex16> {
    using type = cplx<double>;
};
template <class T>
using element = typename element_of<T>::type;

template <class T>
const element<T>* kernel(const T* p)
{
    return reinterpret_cast<const element<T>*>(p);
}
template <class T>
element<T>* kernel(T* p)
{
    return reinterpret_cast<element<T>*>(p);
}
template <class T>
auto factor(const T& x)
{
    if constexpr (std::is_pointer_v<scalar<element<T>>>) return kernel(&x);
    else return *kernel(&x);
}

// Letters in either case. At 8 by 8 a search in a string would take as long as the matrix.
constexpr char lower(char letter) { return static_cast<char>(letter | 0x20); }
constexpr bool is_ordering(char letter) { return lower(letter) == 'r' || lower(letter) == 'c'; }
constexpr bool turns(char letter) { return lower(letter) == 't' || lower(letter) == 'c'; }
constexpr bool is_operation(char letter) { return turns(letter) || lower(letter) == 'n' || lower(letter) == 'r'; }
// The shortest leading dimension: a row, or a column where the ordering is by columns.
constexpr size shortest(char ordering, size rows, size cols) { return lower(ordering) == 'r' ? cols : rows; }
constexpr size shortest(char ordering, char trans, size rows, size cols)
{
    return turns(trans) ? shortest(ordering, cols, rows) : shortest(ordering, rows, cols);
}

struct check {
    std::int64_t argument;
    bool good;
};

[[gnu::cold, gnu::noinline]] void report(const char* routine, std::initializer_list<check> checks)
{
    for (const check& c : checks)
        if (!c.good) return vrn_serv_xerbla(routine, &c.argument, static_cast<std::int64_t>(std::strlen(routine)));
}

// True where all are good; otherwise the first bad one has been reported.
template <class... Check>
[[gnu::always_inline]] inline bool passed(const char* routine, Check... checks)
{
    if ((checks.good & ...)) [[likely]]
        return true;
    report(routine, {checks...});
    return false;
}

} // namespace

#define VRN_OMATCOPY(name, T, text)                                                                                  \
    void name(char ordering, char trans, size_t rows, size_t cols, T alpha, const T* a, size_t lda, T* b,            \
              size_t ldb)                                                                                            \
    {                                                                                                                \
        if (!passed(text, check{1, is_ordering(ordering)}, check{2, is_operation(trans)},                            \
                    check{7, lda >= shortest(ordering, rows, cols)},                                                 \
                    check{9, ldb >= shortest(ordering, trans, rows, cols)}))                                         \
            return;                                                                                                  \
        backend(kernels<element<T>>::omatcopy)(ordering, trans, rows, cols, factor(alpha), kernel(a), lda,           \
                                               kernel(b), ldb);                                                      \
    }
VRN_OMATCOPY(vrn_trans_somatcopy, float, "SOMATCOPY")
VRN_OMATCOPY(vrn_trans_domatcopy, double, "DOMATCOPY")
VRN_OMATCOPY(vrn_trans_comatcopy, vrn_complex8, "COMATCOPY")
VRN_OMATCOPY(vrn_trans_zomatcopy, vrn_complex16, "ZOMATCOPY")

#define VRN_OMATCOPY2(name, T, text)                                                                                 \
    void name(char ordering, char trans, size_t rows, size_t cols, T alpha, const T* a, size_t lda, size_t stridea,  \
              T* b, size_t ldb, size_t strideb)                                                                      \
    {                                                                                                                \
        if (!passed(text, check{1, is_ordering(ordering)}, check{2, is_operation(trans)}, check{7, lda >= 1},        \
                    check{8, stridea >= 1}, check{10, ldb >= 1}, check{11, strideb >= 1}))                           \
            return;                                                                                                  \
        backend(kernels<element<T>>::omatcopy2)(ordering, trans, rows, cols, factor(alpha), kernel(a), lda, stridea, \
                                                kernel(b), ldb, strideb);                                            \
    }
VRN_OMATCOPY2(vrn_trans_somatcopy2, float, "SOMATCOPY2")
VRN_OMATCOPY2(vrn_trans_domatcopy2, double, "DOMATCOPY2")
VRN_OMATCOPY2(vrn_trans_comatcopy2, vrn_complex8, "COMATCOPY2")
VRN_OMATCOPY2(vrn_trans_zomatcopy2, vrn_complex16, "ZOMATCOPY2")

#define VRN_IMATCOPY(name, T, text)                                                                                  \
    void name(char ordering, char trans, size_t rows, size_t cols, T alpha, T* a, size_t lda, size_t ldb)            \
    {                                                                                                                \
        if (!passed(text, check{1, is_ordering(ordering)}, check{2, is_operation(trans)},                            \
                    check{7, lda >= shortest(ordering, rows, cols)},                                                 \
                    check{8, ldb >= shortest(ordering, trans, rows, cols)}))                                         \
            return;                                                                                                  \
        backend(kernels<element<T>>::imatcopy)(ordering, trans, rows, cols, factor(alpha), kernel(a), lda, ldb);     \
    }
VRN_IMATCOPY(vrn_trans_simatcopy, float, "SIMATCOPY")
VRN_IMATCOPY(vrn_trans_dimatcopy, double, "DIMATCOPY")
VRN_IMATCOPY(vrn_trans_cimatcopy, vrn_complex8, "CIMATCOPY")
VRN_IMATCOPY(vrn_trans_zimatcopy, vrn_complex16, "ZIMATCOPY")

// rows and cols are those of C here, so an operand that is turned has its rows and columns exchanged.
#define VRN_OMATADD(name, T, text)                                                                                   \
    void name(char ordering, char transa, char transb, size_t rows, size_t cols, T alpha, const T* a, size_t lda,    \
              T beta, const T* b, size_t ldb, T* c, size_t ldc)                                                      \
    {                                                                                                                \
        if (!passed(text, check{1, is_ordering(ordering)}, check{2, is_operation(transa)},                           \
                    check{3, is_operation(transb)}, check{8, lda >= shortest(ordering, transa, rows, cols)},         \
                    check{11, ldb >= shortest(ordering, transb, rows, cols)},                                        \
                    check{13, ldc >= shortest(ordering, rows, cols)}))                                               \
            return;                                                                                                  \
        backend(kernels<element<T>>::omatadd)(ordering, transa, transb, rows, cols, factor(alpha), kernel(a), lda,   \
                                              factor(beta), kernel(b), ldb, kernel(c), ldc);                         \
    }
VRN_OMATADD(vrn_trans_somatadd, float, "SOMATADD")
VRN_OMATADD(vrn_trans_domatadd, double, "DOMATADD")
VRN_OMATADD(vrn_trans_comatadd, vrn_complex8, "COMATADD")
VRN_OMATADD(vrn_trans_zomatadd, vrn_complex16, "ZOMATADD")
