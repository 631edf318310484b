// bench/spblas/kernels.hpp - sparse kernels by name, with 32-bit integers, and what every contest of them needs.
#pragma once

#include "bench/support/contest.hpp"
#include "spblas/arguments.hpp"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace vrn::bench {

namespace arguments = vrn::spblas::arguments;
using I = std::int32_t;

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

template <class T>
inline constexpr const char* letter = sizeof(T) == 4 ? "s" : "d";

template <class F>
std::function<void(long)> times(F&& f)
{
    return [f](long calls) mutable {
        while (calls-- > 0) f();
    };
}

inline void contest_of(benchmark::State& state, double work, std::vector<contestant> all)
{
    contest c;
    c.work = work;
    c.all = std::move(all);
    c.seconds = 0.02;
    hold(state, c);
}

// A row of the table: type letter and operation, then the matrix.
template <class T, class F>
void add_row(const std::string& what, const std::string& matrix, F body)
{
    benchmark::RegisterBenchmark(joined({letter<T>, what, "/", matrix}).c_str(), body)
        ->UseManualTime()
        ->Iterations(1);
}

} // namespace vrn::bench
