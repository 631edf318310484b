// core/blas/level3.hpp - the host's road of triangular and symmetric level 3, behind the checked entries: small work
// goes straight to the kernel, large work is divided over threads. T is a real type or a public complex one, R the
// real type of T where a factor is real.
#pragma once

#include <cstdint>

namespace vrn::blas {

using vrn_int = std::int64_t;

template <class T>
void trsm(const char* side, const char* uplo, const char* transa, const char* diag, const vrn_int* m,
          const vrn_int* n, const T* alpha, const T* a, const vrn_int* lda, T* b, const vrn_int* ldb);
template <class T>
void trmm(const char* side, const char* uplo, const char* transa, const char* diag, const vrn_int* m,
          const vrn_int* n, const T* alpha, const T* a, const vrn_int* lda, T* b, const vrn_int* ldb);
template <class T>
void symm(const char* side, const char* uplo, const vrn_int* m, const vrn_int* n, const T* alpha, const T* a,
          const vrn_int* lda, const T* b, const vrn_int* ldb, const T* beta, T* c, const vrn_int* ldc);
template <class T>
void hemm(const char* side, const char* uplo, const vrn_int* m, const vrn_int* n, const T* alpha, const T* a,
          const vrn_int* lda, const T* b, const vrn_int* ldb, const T* beta, T* c, const vrn_int* ldc);
template <class T>
void syrk(const char* uplo, const char* trans, const vrn_int* n, const vrn_int* k, const T* alpha, const T* a,
          const vrn_int* lda, const T* beta, T* c, const vrn_int* ldc);
template <class T, class R>
void herk(const char* uplo, const char* trans, const vrn_int* n, const vrn_int* k, const R* alpha, const T* a,
          const vrn_int* lda, const R* beta, T* c, const vrn_int* ldc);
template <class T>
void syr2k(const char* uplo, const char* trans, const vrn_int* n, const vrn_int* k, const T* alpha, const T* a,
           const vrn_int* lda, const T* b, const vrn_int* ldb, const T* beta, T* c, const vrn_int* ldc);
template <class T, class R>
void her2k(const char* uplo, const char* trans, const vrn_int* n, const vrn_int* k, const T* alpha, const T* a,
           const vrn_int* lda, const T* b, const vrn_int* ldb, const R* beta, T* c, const vrn_int* ldc);
template <class T>
void gemmt(const char* uplo, const char* transa, const char* transb, const vrn_int* n, const vrn_int* k,
           const T* alpha, const T* a, const vrn_int* lda, const T* b, const vrn_int* ldb, const T* beta, T* c,
           const vrn_int* ldc);

} // namespace vrn::blas
