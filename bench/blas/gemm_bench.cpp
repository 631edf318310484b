// bench/blas/gemm_bench.cpp - matrix products of the four types through the public entries beside the peers.
// Rows: type, operation letters, m x n x k; small sizes first. --benchmark_filter takes a part of the table.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "vrn/blas.h"
#include "vrn/service.h"

#include <complex>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vrn::bench;

struct shape {
    std::int64_t m, n, k;
};

template <class T>
using ours_gemm = void(const char*, const char*, const std::int64_t*, const std::int64_t*, const std::int64_t*,
                       const T*, const T*, const std::int64_t*, const T*, const std::int64_t*, const T*, T*,
                       const std::int64_t*);
template <class T>
using fortran_gemm = void(const char*, const char*, const int*, const int*, const int*, const T*, const T*,
                          const int*, const T*, const int*, const T*, T*, const int*);

template <class T>
using real_of = decltype(std::abs(T{}));
template <class T>
constexpr bool is_complex = !std::is_same_v<T, real_of<T>>;

template <class T>
void gemm_row(benchmark::State& state, shape s, std::string op, T beta, ours_gemm<T>* ours, const char* symbol)
{
    const char ta = op[0], tb = op[1];
    const std::int64_t lda = ta == 'N' ? s.m : s.k, ldb = tb == 'N' ? s.k : s.n, ldc = s.m;
    const int m = static_cast<int>(s.m), n = static_cast<int>(s.n), k = static_cast<int>(s.k);
    const int lda32 = static_cast<int>(lda), ldb32 = static_cast<int>(ldb), ldc32 = static_cast<int>(ldc);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<real_of<T>> in(-1, 1);
    const auto number = [&]() -> T {
        if constexpr (is_complex<T>) return {in(random), in(random)};
        else return in(random);
    };
    std::vector<T> a(static_cast<std::size_t>(s.m * s.k)), b(static_cast<std::size_t>(s.k * s.n));
    std::vector<T> c(static_cast<std::size_t>(s.m * s.n));
    for (T& x : a) x = number();
    for (T& x : b) x = number();
    const T alpha = 1;

    contest race;
    race.work =
        (is_complex<T> ? 8.0 : 2.0) * static_cast<double>(s.m) * static_cast<double>(s.n) * static_cast<double>(s.k);
    race.all.push_back({"vrn", true, [&](long calls) {
                            while (calls-- > 0)
                                ours(&ta, &tb, &s.m, &s.n, &s.k, &alpha, a.data(), &lda, b.data(), &ldb, &beta,
                                     c.data(), &ldc);
                        }});
    for (const peer& p : peers())
        if (auto* f = p.find<fortran_gemm<T>>(symbol))
            race.all.push_back({p.name, p.sse, [&, f](long calls) {
                                    while (calls-- > 0)
                                        f(&ta, &tb, &m, &n, &k, &alpha, a.data(), &lda32, b.data(), &ldb32, &beta,
                                          c.data(), &ldc32);
                                }});
    race.peak = {"peak", true, sse_peak<real_of<T>>};
    race.peak_work = sse_peak_flop<real_of<T>>();
    hold(state, race);
}

template <class T>
void add_row(const char* name, shape s, const std::string& op, T beta, ours_gemm<T>* ours, const char* symbol)
{
    const std::string row = std::string(name) + '/' + op + "/beta" +
                            std::to_string(static_cast<int>(std::real(beta))) + '/' + std::to_string(s.m) + 'x' +
                            std::to_string(s.n) + 'x' + std::to_string(s.k);
    benchmark::RegisterBenchmark(row.c_str(), gemm_row<T>, s, op, beta, ours, symbol)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

// Products by three multiplications (`peer`: the plain complex product of ours; openblas: its own three) and of a
// real A (`peer`: the complex product of ours).
template <class T, class F>
void relative_row(benchmark::State& state, std::int64_t n, F* relative, ours_gemm<T>* plain, const char* symbol)
{
    const auto elements = static_cast<std::size_t>(n * n);
    std::vector<T> a(elements, T(0.5, 0.25)), b(elements, T(0.25, -0.5)), c(elements);
    const T one = 1, zero = 0;
    const int n32 = static_cast<int>(n);
    contest race;
    race.work = 8.0 * static_cast<double>(n) * static_cast<double>(n) * static_cast<double>(n);
    race.all = {{"vrn", true,
                 [&](long calls) {
                     // A real A reads half of a.
                     while (calls-- > 0)
                         reinterpret_cast<ours_gemm<T>*>(relative)("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(),
                                                                   &n, &zero, c.data(), &n);
                 }},
                {"vrn plain", true, [&](long calls) {
                     while (calls-- > 0)
                         plain("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
                 }}};
    if (symbol != nullptr)
        for (const peer& p : peers())
            if (auto* f = p.find<fortran_gemm<T>>(symbol); f != nullptr && p.sse)
                race.all.push_back({p.name, false, [&, f](long calls) {
                                        while (calls-- > 0)
                                            f("N", "N", &n32, &n32, &n32, &one, a.data(), &n32, b.data(), &n32, &zero,
                                              c.data(), &n32);
                                    }});
    hold(state, race);
}

// Two threads against one: `ours` is two, `peer` one, and the ratio is the speed-up.
void threads_row(benchmark::State& state, std::int64_t n)
{
    const auto elements = static_cast<std::size_t>(n * n);
    std::vector<double> a(elements, 0.5), b(elements, 0.25), c(elements);
    const double one = 1, zero = 0;
    const auto on = [&](int threads) {
        return [&, threads](long calls) {
            vrn_set_num_threads(threads);
            while (calls-- > 0)
                vrn_blas_dgemm("N", "N", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
            vrn_set_num_threads(1);
        };
    };
    contest race;
    race.work = 2.0 * static_cast<double>(n) * static_cast<double>(n) * static_cast<double>(n);
    race.all = {{"2 threads", true, on(2)}, {"1 thread", true, on(1)}};
    hold(state, race);
}

template <class T>
void add_type(const char* name, ours_gemm<T>* ours, const char* symbol)
{
    for (std::int64_t n : {4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  15,  16,  17,  19,   20,   23,   24,
                           27,  31,  32,  33,  40,  47,  48,  50,  63,  64,  65,  80,  96,  100,  127,  128,  129,
                           160, 192, 200, 255, 256, 257, 300, 384, 500, 512, 513, 640, 768, 1000, 1024, 1500, 2000})
        add_row<T>(name, {n, n, n}, "NN", T{0}, ours, symbol);
    for (shape s : {shape{1000, 1000, 8}, {2000, 4, 2000}, {4, 2000, 2000}, {100, 100, 1000}, {1000, 8, 100}})
        add_row<T>(name, s, "NN", T{0}, ours, symbol);
    for (const std::string op : is_complex<T> ? std::vector{"NC", "CN", "CC"} : std::vector{"NT", "TN", "TT"})
        for (std::int64_t n : {8, 32, 100, 512}) add_row<T>(name, {n, n, n}, op, T{0}, ours, symbol);
    for (std::int64_t n : {4, 8, 32, 100, 512}) add_row<T>(name, {n, n, n}, "NN", T{1}, ours, symbol);
}

// The entries take their own pairs of reals.
ours_gemm<std::complex<float>>* as_complex(decltype(vrn_blas_cgemm)* f)
{
    return reinterpret_cast<ours_gemm<std::complex<float>>*>(f);
}
ours_gemm<std::complex<double>>* as_complex(decltype(vrn_blas_zgemm)* f)
{
    return reinterpret_cast<ours_gemm<std::complex<double>>*>(f);
}

} // namespace

int main(int argc, char** argv)
{
    vrn_set_num_threads(1);
    add_type<double>("dgemm", vrn_blas_dgemm, "dgemm_");
    add_type<float>("sgemm", vrn_blas_sgemm, "sgemm_");
    add_type("cgemm", as_complex(vrn_blas_cgemm), "cgemm_");
    add_type("zgemm", as_complex(vrn_blas_zgemm), "zgemm_");
    for (std::int64_t n : {32, 64, 128, 256, 512, 1000}) {
        const auto add = [n](const char* name, auto* relative, auto* plain, const char* symbol) {
            using T = std::conditional_t<std::is_same_v<decltype(plain), ours_gemm<std::complex<float>>*>,
                                         std::complex<float>, std::complex<double>>;
            using F = std::remove_pointer_t<decltype(relative)>;
            benchmark::RegisterBenchmark((std::string(name) + '/' + std::to_string(n)).c_str(), relative_row<T, F>, n,
                                         relative, plain, symbol)
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kMicrosecond);
        };
        add("cgemm3m", vrn_blas_cgemm3m, as_complex(vrn_blas_cgemm), "cgemm3m_");
        add("zgemm3m", vrn_blas_zgemm3m, as_complex(vrn_blas_zgemm), "zgemm3m_");
        add("scgemm", vrn_blas_scgemm, as_complex(vrn_blas_cgemm), nullptr);
        add("dzgemm", vrn_blas_dzgemm, as_complex(vrn_blas_zgemm), nullptr);
    }
    for (std::int64_t n : {100, 200, 500, 1000, 2000})
        benchmark::RegisterBenchmark(("dgemm/2threads/" + std::to_string(n)).c_str(), threads_row, n)
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    return vrn::bench::main_with_head(argc, argv);
}
