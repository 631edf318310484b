// bench/spblas/kernels.hpp - what the sparse benchmarks share: kernels by name, matrices as Eigen holds them.
#pragma once

#include "bench/spblas/matrices.hpp"
#include "bench/support/contest.hpp"
#include "spblas/arguments.hpp"

#include <Eigen/Sparse>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace vrn::bench {

namespace arguments = vrn::spblas::arguments;
using I = std::int32_t;
template <class T>
inline constexpr const char* letter = sizeof(T) == 4 ? "s" : "d";
template <class T>
using sparse = Eigen::SparseMatrix<T, Eigen::RowMajor, int>;

// Piece by piece: g++ 12 warns of sums of strings at -O3.
inline std::string joined(std::initializer_list<std::string> parts)
{
    std::string all;
    for (const std::string& p : parts) all += p;
    return all;
}

template <class F>
F* kernel(const std::string& stem)
{
    static void* library = dlopen(VRN_LIBRARY_DIR "/libvrn_s42.so", RTLD_NOW | RTLD_LOCAL);
    void* symbol = library == nullptr ? nullptr : dlsym(library, joined({"vrn_spblas_lp64_s42_", stem}).c_str());
    if (symbol == nullptr) {
        std::fprintf(stderr, "no %s\n", stem.c_str());
        std::exit(1);
    }
    return reinterpret_cast<F*>(symbol);
}

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
inline void contest_of(benchmark::State& state, double work, std::vector<contestant> all)
{
    contest c;
    c.work = work;
    c.all = std::move(all);
    c.seconds = 0.02;
    hold(state, c);
}
template <class F>
void add_row(std::initializer_list<std::string> name, F body)
{
    benchmark::RegisterBenchmark(joined(name).c_str(), body)->UseManualTime()->Iterations(1);
}

} // namespace vrn::bench
