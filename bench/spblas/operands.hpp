// bench/spblas/operands.hpp - matrices as Eigen holds them, for benchmarks of whole operations.
#pragma once

#include "bench/spblas/kernels.hpp"
#include "bench/spblas/matrices.hpp"

#include <Eigen/Sparse>

namespace vrn::bench {

template <class T>
using sparse = Eigen::SparseMatrix<T, Eigen::RowMajor, int>;

// Zero-based, with values that tell rows and columns apart.
template <class T>
sparse<T> matrix_of(const pattern& p)
{
    std::vector<T> values(p.column.size());
    for (std::size_t k = 0; k < values.size(); ++k) values[k] = T(1) / static_cast<T>(k % 7 + 1);
    return Eigen::Map<const sparse<T>>(p.rows, p.rows, static_cast<Eigen::Index>(p.column.size()), p.start.data(),
                                       p.column.data(), values.data());
}
inline pattern named_pattern(const std::string& name)
{
    return name == "laplacian" ? laplacian(1000) : name == "random" ? scattered(100000) : elasticity(30);
}

template <class F>
contestant turn(const char* name, F f)
{
    return {name, true, [f](long calls) mutable {
                while (calls-- > 0) f();
            }};
}
template <class F>
void add_row(std::initializer_list<std::string> name, F body)
{
    benchmark::RegisterBenchmark(joined(name).c_str(), body)->UseManualTime()->Iterations(1);
}

} // namespace vrn::bench
