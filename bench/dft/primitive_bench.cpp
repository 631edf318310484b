// bench/dft/primitive_bench.cpp - plans of the engine beside FFTW 3, planned with MEASURE, in one process and on one
// thread. Work is 5 n log2 n flop, half of it for real transforms. Rows: complex or real / double or single / length.
//
// FFTW asks functions of its own for the instruction sets at hand; this program's definitions are found first and
// hold it to SSE2. `--errors` prints both root mean square errors in units of the precision instead.

#include "bench/support/contest.hpp"
#include "dft/primitive/primitive.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fftw3.h>
#include <memory>
#include <random>

extern "C" int fftw_have_simd_avx() { return 0; }
extern "C" int fftwf_have_simd_avx() { return 0; }

extern "C" std::int32_t vrn_serv_cpuisbulldozer() { return 0; }
namespace vrn::dft {
extern "C" void* vrn_dft_kprMalloc(std::int64_t size)
{
    return std::aligned_alloc(64, (static_cast<std::size_t>(size) + 63) / 64 * 64);
}
extern "C" void vrn_dft_kprFree(void* block) { std::free(block); }
} // namespace vrn::dft

namespace {

using namespace vrn::bench;
namespace dft = vrn::dft;

template <class R>
struct library;
#define LIBRARY(R, S, F)                                                                                             \
    template <>                                                                                                      \
    struct library<R> {                                                                                              \
        static constexpr auto init_complex = dft::kprDftInit_Complex_##S, init_real = dft::kprDftInit_Real_##S;      \
        static constexpr auto free_complex = dft::kprDftFree_Complex_##S, free_real = dft::kprDftFree_Real_##S;      \
        static constexpr auto work_complex = dft::kprDftGetWorkSize_Complex_##S;                                     \
        static constexpr auto work_real = dft::kprDftGetWorkSize_Real_##S;                                           \
        static constexpr auto complex = dft::kprDftForward_Complex_##S, real = dft::kprDftForward_PackedCcs_##S;     \
        using plan = F##_plan;                                                                                       \
        static plan peer(bool is_real, int n, R* in, R* out)                                                         \
        {                                                                                                            \
            auto* to = reinterpret_cast<F##_complex*>(out);                                                          \
            return is_real ? F##_plan_dft_r2c_1d(n, in, to, FFTW_MEASURE)                                            \
                           : F##_plan_dft_1d(n, reinterpret_cast<F##_complex*>(in), to, -1, FFTW_MEASURE);           \
        }                                                                                                            \
        static void run(plan p) { F##_execute(p); }                                                                  \
        static void destroy(plan p) { F##_destroy_plan(p); }                                                         \
    };
LIBRARY(double, d, fftw)
LIBRARY(float, s, fftwf)
#undef LIBRARY

struct freed {
    void operator()(void* p) const { std::free(p); }
};
template <class R>
std::unique_ptr<R[], freed> reals(std::size_t count)
{
    return std::unique_ptr<R[], freed>(
        static_cast<R*>(std::aligned_alloc(4096, (count * sizeof(R) + 8191) / 4096 * 4096)));
}

// Both sides planned, with data and work in place.
template <class R>
struct pair_of_plans {
    using L = library<R>;
    bool real;
    int n;
    std::unique_ptr<R[], freed> in, out;
    std::unique_ptr<std::byte[], freed> work;
    dft::primitive_plan* ours = nullptr;
    typename L::plan peer;

    pair_of_plans(bool is_real, int length)
        : real(is_real), n(length), in(reals<R>(2 * static_cast<std::size_t>(n) + 2)),
          out(reals<R>(2 * static_cast<std::size_t>(n) + 2)), peer(L::peer(real, n, in.get(), out.get()))
    {
        (real ? L::init_real : L::init_complex)(&ours, n, dft::scale_none, 0);
        std::int32_t size = 0;
        (real ? L::work_real : L::work_complex)(ours, &size);
        work.reset(
            static_cast<std::byte*>(std::aligned_alloc(4096, (static_cast<std::size_t>(size) + 8191) / 4096 * 4096)));
        std::memset(work.get(), 0, static_cast<std::size_t>(size));
        std::mt19937_64 random(1);
        std::uniform_real_distribution<R> value(-1, 1);
        for (int i = 0; i < (real ? n : 2 * n); ++i) in[static_cast<std::size_t>(i)] = value(random);
    }
    ~pair_of_plans()
    {
        (real ? L::free_real : L::free_complex)(ours);
        L::destroy(peer);
    }
    void run_ours() const { (real ? L::real : L::complex)(in.get(), out.get(), ours, work.get()); }
    void run_peer() const { L::run(peer); }
};

template <class R>
void row(benchmark::State& state, bool real, int n)
{
    const pair_of_plans<R> plans(real, n);
    contest c;
    c.work = (real ? 2.5 : 5.0) * n * std::log2(n);
    c.seconds = 0.0005;
    c.passes = 25;
    c.all = {{"ours", true,
              [&](long calls) {
                  while (calls-- > 0) plans.run_ours();
              }},
             {"fftw", true, [&](long calls) {
                  while (calls-- > 0) plans.run_peer();
              }}};
    hold(state, c);
}

template <class R>
void error_row(const char* type, int n)
{
    const pair_of_plans<R> plans(false, n);
    auto* wide = static_cast<fftwl_complex*>(fftwl_malloc(sizeof(fftwl_complex) * static_cast<std::size_t>(n)));
    for (int i = 0; i < n; ++i)
        wide[i][0] = plans.in[static_cast<std::size_t>(2 * i)],
        wide[i][1] = plans.in[static_cast<std::size_t>(2 * i + 1)];
    const fftwl_plan exact = fftwl_plan_dft_1d(n, wide, wide, -1, FFTW_ESTIMATE);
    fftwl_execute(exact);
    const auto error = [&] {
        long double e = 0, size = 0;
        for (int i = 0; i < 2 * n; ++i) {
            const long double want = wide[i / 2][i % 2], d = plans.out[static_cast<std::size_t>(i)] - want;
            e += d * d, size += want * want;
        }
        return static_cast<double>(std::sqrt(e / size) / std::numeric_limits<R>::epsilon());
    };
    plans.run_ours();
    const double ours = error();
    plans.run_peer();
    const double peer = error();
    std::printf("%-6s %8d  ours %.3f  fftw %.3f  ratio %.2f\n", type, n, ours, peer, ours / peer);
    fftwl_destroy_plan(exact);
    fftwl_free(wide);
}

std::vector<int> lengths()
{
    std::vector<int> all;
    for (int n = 2; n <= 64; ++n) all.push_back(n);
    for (int order = 7; order <= 22; ++order) all.push_back(1 << order);
    for (int n : {97, 1000, 1009, 6561, 10000, 100000}) all.push_back(n);
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--errors") == 0) {
        for (int n : lengths())
            if (n <= 1 << 20) error_row<double>("double", n), error_row<float>("single", n);
        return 0;
    }
    const auto add = [](const char* kind, const char* type, int n, auto body) {
        benchmark::RegisterBenchmark((std::string(kind) + "/" + type + "/" + std::to_string(n)).c_str(), body)
            ->UseManualTime()
            ->Iterations(1);
    };
    for (int n : lengths()) {
        add("complex", "double", n, [n](benchmark::State& s) { row<double>(s, false, n); });
        add("complex", "single", n, [n](benchmark::State& s) { row<float>(s, false, n); });
        add("real", "double", n, [n](benchmark::State& s) { row<double>(s, true, n); });
        add("real", "single", n, [n](benchmark::State& s) { row<float>(s, true, n); });
    }
    return main_with_head(argc, argv);
}
