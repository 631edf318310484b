// blas/gemm/product.hpp - the operands of C := alpha op(A) op(B) + beta C, by value. Shared with the host.
// Column-major; op(A) is m by k, op(B) k by n. Any letter but N is transposed, and of a complex type any letter but N
// and T is conjugated too.
#pragma once

#include "blas/gemm/desc.hpp"

#include <cstdint>
#include <type_traits>

namespace vrn::blas {

template <class T>
struct product {
    const char *transa, *transb;
    vrn_int m, n, k;
    T alpha;
    const T* a;
    vrn_int lda;
    const T* b;
    vrn_int ldb;
    T beta;
    T* c;
    vrn_int ldc;

    // Bit 5 tells the cases of a letter apart.
    static bool is(const char* trans, char letter) { return (*trans & ~0x20) == letter; }
    static bool conjugates(const char* trans)
    {
        return !std::is_floating_point_v<T> && !is(trans, 'N') && !is(trans, 'T');
    }
    bool a_normal() const { return is(transa, 'N'); }
    bool b_normal() const { return is(transb, 'N'); }
    bool a_conjugated() const { return conjugates(transa); }
    bool b_conjugated() const { return conjugates(transb); }
    // Where element (i, kk) of op(A), (kk, j) of op(B), (i, j) of C is stored.
    const T* a_at(vrn_int i, vrn_int kk) const { return a + (a_normal() ? i + kk * lda : kk + i * lda); }
    const T* b_at(vrn_int kk, vrn_int j) const { return b + (b_normal() ? kk + j * ldb : j + kk * ldb); }
    T* c_at(vrn_int i, vrn_int j) const { return c + i + j * ldc; }
    // The packers that the letters ask for.
    copy_a_function* copy_a(const gemm_desc& d) const
    {
        return a_normal() ? d.copyan : a_conjugated() ? d.copyac : d.copyat;
    }
    copy_b_function* copy_b(const gemm_desc& d) const
    {
        return b_normal() ? d.copybn : b_conjugated() ? d.copybc : d.copybt;
    }
};

} // namespace vrn::blas
