// core/blas/gemm.hpp - the host's road of a matrix product, behind the checked entries.
#pragma once

#include <cstdint>

namespace vrn::blas {

template <class T>
void gemm(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n, const std::int64_t* k,
          const T* alpha, const T* a, const std::int64_t* lda, const T* b, const std::int64_t* ldb, const T* beta,
          T* c, const std::int64_t* ldc);

} // namespace vrn::blas
