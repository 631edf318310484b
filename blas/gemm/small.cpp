// blas/gemm/small.cpp - the unrolled kernels of tiny products, compiled once.

#include "blas/gemm/small.hpp"

namespace vrn::blas::small {

template void gemm(const product<float>&);
template void gemm(const product<double>&);
template void gemm(const product<simd::cplx<float>>&);
template void gemm(const product<simd::cplx<double>>&);

} // namespace vrn::blas::small
