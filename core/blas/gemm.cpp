#include "core/blas/gemm.hpp"

#include "core/loader/loader.hpp"

VRN_KERNEL(vrn_blas_s42_xdgemm, void(const char*, const char*, const std::int64_t*, const std::int64_t*, const std::int64_t*, const double*, const double*, const std::int64_t*, const double*, const std::int64_t*, const double*, double*, const std::int64_t*));
VRN_KERNEL(vrn_blas_s42_xsgemm, void(const char*, const char*, const std::int64_t*, const std::int64_t*, const std::int64_t*, const float*, const float*, const std::int64_t*, const float*, const std::int64_t*, const float*, float*, const std::int64_t*));

namespace vrn::blas {
template <class T>
void gemm(const char* transa, const char* transb, const std::int64_t* m, const std::int64_t* n,
          const std::int64_t* k, const T* alpha, const T* a, const std::int64_t* lda, const T* b,
          const std::int64_t* ldb, const T* beta, T* c, const std::int64_t* ldc)
{
    if constexpr (sizeof(T) == 8)
        loader::backend(vrn_slot_vrn_blas_s42_xdgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
    else
        loader::backend(vrn_slot_vrn_blas_s42_xsgemm)(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
template void gemm(const char*, const char*, const std::int64_t*, const std::int64_t*, const std::int64_t*, const double*, const double*, const std::int64_t*, const double*, const std::int64_t*, const double*, double*, const std::int64_t*);
template void gemm(const char*, const char*, const std::int64_t*, const std::int64_t*, const std::int64_t*, const float*, const float*, const std::int64_t*, const float*, const std::int64_t*, const float*, float*, const std::int64_t*);
}
