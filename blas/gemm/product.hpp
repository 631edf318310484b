// blas/gemm/product.hpp - the operands of C := alpha op(A) op(B) + beta C, by value. Shared with the host.
// Column-major; op(A) is m by k, op(B) k by n. Any letter but N is transposed.
#pragma once

#include <cstdint>

namespace vrn::blas {

using vrn_int = std::int64_t;

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
    bool a_normal() const { return (*transa & ~0x20) == 'N'; }
    bool b_normal() const { return (*transb & ~0x20) == 'N'; }
    // Element (i, kk) of op(A), (kk, j) of op(B), (i, j) of C.
    const T* a_at(vrn_int i, vrn_int kk) const { return a + (a_normal() ? i + kk * lda : kk + i * lda); }
    const T* b_at(vrn_int kk, vrn_int j) const { return b + (b_normal() ? kk + j * ldb : j + kk * ldb); }
    T* c_at(vrn_int i, vrn_int j) const { return c + i + j * ldc; }
};

} // namespace vrn::blas
