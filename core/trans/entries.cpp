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

bool is_ordering(char letter) { return letter != '\0' && std::strchr("RrCc", letter) != nullptr; }
bool is_operation(char letter) { return letter != '\0' && std::strchr("NnTtCcRr", letter) != nullptr; }
bool turns(char letter) { return std::strchr("TtCc", letter) != nullptr; }
// The shortest leading dimension: a row, or a column where the ordering is by columns.
size shortest(char ordering, size rows, size cols) { return (ordering | 0x20) == 'r' ? cols : rows; }
size shortest(char ordering, char trans, size rows, size cols)
{
    return turns(trans) ? shortest(ordering, cols, rows) : shortest(ordering, rows, cols);
}

struct check {
    std::int64_t argument;
    bool good;
};

// True where all are good; otherwise the first bad one has been reported.
bool passed(const char* routine, std::initializer_list<check> checks)
{
    for (const check& c : checks)
        if (!c.good) {
            vrn_serv_xerbla(routine, &c.argument, static_cast<std::int64_t>(std::strlen(routine)));
            return false;
        }
    return true;
}

} // namespace

#define VRN_OMATCOPY(name, T, text)                                                                                  \
    void name(char ordering, char trans, size_t rows, size_t cols, T alpha, const T* a, size_t lda, T* b, size_t ldb) \
    {                                                                                                                \
        if (!passed(text, {{1, is_ordering(ordering)},                                                               \
                           {2, is_operation(trans)},                                                                 \
                           {7, lda >= shortest(ordering, rows, cols)},                                               \
                           {9, ldb >= shortest(ordering, trans, rows, cols)}}))                                      \
            return;                                                                                                  \
        backend(kernels<element<T>>::omatcopy)(ordering, trans, rows, cols, factor(alpha), kernel(a), lda, kernel(b), \
                                               ldb);                                                                 \
    }
VRN_OMATCOPY(vrn_trans_somatcopy, float, "SOMATCOPY")
VRN_OMATCOPY(vrn_trans_domatcopy, double, "DOMATCOPY")
VRN_OMATCOPY(vrn_trans_comatcopy, vrn_complex8, "COMATCOPY")
VRN_OMATCOPY(vrn_trans_zomatcopy, vrn_complex16, "ZOMATCOPY")

#define VRN_OMATCOPY2(name, T, text)                                                                                 \
    void name(char ordering, char trans, size_t rows, size_t cols, T alpha, const T* a, size_t lda, size_t stridea,  \
              T* b, size_t ldb, size_t strideb)                                                                      \
    {                                                                                                                \
        if (!passed(text, {{1, is_ordering(ordering)},                                                               \
                           {2, is_operation(trans)},                                                                 \
                           {7, lda >= 1},                                                                            \
                           {8, stridea >= 1},                                                                        \
                           {10, ldb >= 1},                                                                           \
                           {11, strideb >= 1}}))                                                                     \
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
        if (!passed(text, {{1, is_ordering(ordering)},                                                               \
                           {2, is_operation(trans)},                                                                 \
                           {7, lda >= shortest(ordering, rows, cols)},                                               \
                           {8, ldb >= shortest(ordering, trans, rows, cols)}}))                                      \
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
        if (!passed(text, {{1, is_ordering(ordering)},                                                               \
                           {2, is_operation(transa)},                                                                \
                           {3, is_operation(transb)},                                                                \
                           {8, lda >= shortest(ordering, transa, rows, cols)},                                       \
                           {11, ldb >= shortest(ordering, transb, rows, cols)},                                      \
                           {13, ldc >= shortest(ordering, rows, cols)}}))                                            \
            return;                                                                                                  \
        backend(kernels<element<T>>::omatadd)(ordering, transa, transb, rows, cols, factor(alpha), kernel(a), lda,   \
                                              factor(beta), kernel(b), ldb, kernel(c), ldc);                         \
    }
VRN_OMATADD(vrn_trans_somatadd, float, "SOMATADD")
VRN_OMATADD(vrn_trans_domatadd, double, "DOMATADD")
VRN_OMATADD(vrn_trans_comatadd, vrn_complex8, "COMATADD")
VRN_OMATADD(vrn_trans_zomatadd, vrn_complex16, "ZOMATADD")
