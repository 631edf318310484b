// blas/gemm/small.cpp - the unrolled kernels of tiny products, compiled once.

#include "blas/gemm/small.hpp"

namespace vrn::blas::small {

template void gemm(vrn_int, const operands<float>&);
template void gemm(vrn_int, const operands<double>&);

} // namespace vrn::blas::small
