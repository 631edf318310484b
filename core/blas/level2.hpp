// core/blas/level2.hpp - the host's roads of dense level 2, behind the checked entries. Complex numbers are the pairs
// of vrn/blas.h. Each takes its published arguments, on threads where the work is large enough.
#pragma once

#include <cstdint>

namespace vrn::blas {

using pint = const std::int64_t*;

template <class T>
void gemv(const char* trans, pint m, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx,
          const T* beta, T* y, pint incy);

template <class T>
void ger(pint m, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda);
template <class T>
void geru(pint m, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda);
template <class T>
void gerc(pint m, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda);

template <class T>
void symv(const char* uplo, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx, const T* beta, T* y,
          pint incy);
template <class T>
void hemv(const char* uplo, pint n, const T* alpha, const T* a, pint lda, const T* x, pint incx, const T* beta, T* y,
          pint incy);

template <class T>
void syr(const char* uplo, pint n, const T* alpha, const T* x, pint incx, T* a, pint lda);
template <class T>
void syr2(const char* uplo, pint n, const T* alpha, const T* x, pint incx, const T* y, pint incy, T* a, pint lda);

template <class T>
void trmv(const char* uplo, const char* trans, const char* diag, pint n, const T* a, pint lda, T* x, pint incx);

} // namespace vrn::blas
