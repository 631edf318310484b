// core/blas/gemm.hpp - the host's roads of matrix products, behind the checked entries.
// A complex number is any pair of reals; std::complex inside.
#pragma once

#include <complex>
#include <cstdint>
#include <type_traits>

namespace vrn::blas {

// What a product computes in, by the type that the caller has.
template <class T>
using element_of = std::conditional_t<std::is_floating_point_v<T>, T,
                                      std::complex<std::conditional_t<sizeof(T) == 8, float, double>>>;

// C := alpha op(A) op(B) + beta C.
template <class T>
void gemm_road(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,
               const std::int64_t* k, const T* alpha, const T* a, const std::int64_t* lda, const T* b,
               const std::int64_t* ldb, const T* beta, T* c, const std::int64_t* ldc);

template <class T>
void gemm(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n, const std::int64_t* k,
          const T* alpha, const T* a, const std::int64_t* lda, const T* b, const std::int64_t* ldb, const T* beta,
          T* c, const std::int64_t* ldc)
{
    using E = element_of<T>;
    const auto in = [](const T* p) { return reinterpret_cast<const E*>(p); };
    gemm_road(transa, transb, m, n, k, in(alpha), in(a), lda, in(b), ldb, in(beta), reinterpret_cast<E*>(c), ldc);
}

} // namespace vrn::blas
