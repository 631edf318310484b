// blas/level2/functions.hpp - gemv by its exported names, for the kernels that reduce to it, and by its public ones.
#pragma once

#include "frame/export.hpp"
#include "simd/complex.hpp"

namespace vrn::blas {

template <class E>
using gemv_function = void(const char* trans, const vrn_int* m, const vrn_int* n, const E* alpha, const E* a,
                           const vrn_int* lda, const E* x, const vrn_int* incx, const E* beta, E* y,
                           const vrn_int* incy);

} // namespace vrn::blas

// These names are exported or imported: without the pragma a mere mention would hide them.
#pragma GCC visibility push(default)
extern "C" {
vrn::blas::gemv_function<float> vrn_blas_s42_xsgemv, vrn_blas_sgemv;
vrn::blas::gemv_function<double> vrn_blas_s42_xdgemv, vrn_blas_dgemv;
vrn::blas::gemv_function<vrn::simd::cplx<float>> vrn_blas_s42_xcgemv, vrn_blas_cgemv;
vrn::blas::gemv_function<vrn::simd::cplx<double>> vrn_blas_s42_xzgemv, vrn_blas_zgemv;
}
#pragma GCC visibility pop

namespace vrn::blas {

// The kernel, and the host's entry with its checks and threads.
template <class E>
inline constexpr gemv_function<E>* kernel_gemv = nullptr;
template <class E>
inline constexpr gemv_function<E>* public_gemv = nullptr;
template <>
inline constexpr gemv_function<float>* kernel_gemv<float> = vrn_blas_s42_xsgemv;
template <>
inline constexpr gemv_function<double>* kernel_gemv<double> = vrn_blas_s42_xdgemv;
template <>
inline constexpr gemv_function<simd::cplx<float>>* kernel_gemv<simd::cplx<float>> = vrn_blas_s42_xcgemv;
template <>
inline constexpr gemv_function<simd::cplx<double>>* kernel_gemv<simd::cplx<double>> = vrn_blas_s42_xzgemv;
template <>
inline constexpr gemv_function<float>* public_gemv<float> = vrn_blas_sgemv;
template <>
inline constexpr gemv_function<double>* public_gemv<double> = vrn_blas_dgemv;
template <>
inline constexpr gemv_function<simd::cplx<float>>* public_gemv<simd::cplx<float>> = vrn_blas_cgemv;
template <>
inline constexpr gemv_function<simd::cplx<double>>* public_gemv<simd::cplx<double>> = vrn_blas_zgemv;

} // namespace vrn::blas
