// bench/dft/primitive_bench.cpp - plans of the engine beside FFTW 3, planned with MEASURE, in one process and on one
// thread. Work is 5 n log2 n flop, half of it for real transforms. Rows: complex or real / double or single / length;
// the peer is FFTW held to SSE2 and `best` the better of that and FFTW as it comes (bench/dft/fftw.hpp).
//
// Rows chirp / .. stand beside their own bound: two inner transforms of the padded length and three passes of complex
// products. `--errors` prints both root mean square errors in units of the precision instead.

#include "bench/dft/fftw.hpp"
#include "bench/support/contest.hpp"
#include "dft/codelets/value.hpp"
#include "dft/primitive/primitive.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

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
#define LIBRARY(R, S)                                                                                                \
    template <>                                                                                                      \
    struct library<R> {                                                                                              \
        static constexpr auto init_complex = dft::kprDftInit_Complex_##S, init_real = dft::kprDftInit_Real_##S;      \
        static constexpr auto free_complex = dft::kprDftFree_Complex_##S, free_real = dft::kprDftFree_Real_##S;      \
        static constexpr auto work_complex = dft::kprDftGetWorkSize_Complex_##S;                                     \
        static constexpr auto work_real = dft::kprDftGetWorkSize_Real_##S;                                           \
        static constexpr auto complex = dft::kprDftForward_Complex_##S, real = dft::kprDftForward_PackedCcs_##S;     \
    };
LIBRARY(double, d)
LIBRARY(float, s)
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

std::unique_ptr<std::byte[], freed> bytes(std::int32_t size)
{
    const std::size_t room = (static_cast<std::size_t>(size) + 8191) / 4096 * 4096;
    auto* p = static_cast<std::byte*>(std::aligned_alloc(4096, room));
    std::memset(p, 0, room);
    return std::unique_ptr<std::byte[], freed>(p);
}

// All sides planned, with data and work in place.
template <class R>
struct plans_of {
    using L = library<R>;
    using peer_plan = typename fftw<R>::plan;
    bool real;
    int n;
    std::unique_ptr<R[], freed> in, out;
    std::unique_ptr<std::byte[], freed> work;
    dft::primitive_plan* ours = nullptr;
    peer_plan peer, best = nullptr;

    plans_of(bool is_real, int length, bool with_best)
        : real(is_real), n(length), in(reals<R>(2 * static_cast<std::size_t>(n) + 2)),
          out(reals<R>(2 * static_cast<std::size_t>(n) + 2)), peer(fftw<R>::held().line(real, n, in.get(), out.get()))
    {
        if (const auto* unheld = fftw<R>::unheld(); with_best && unheld != nullptr)
            best = unheld->line(real, n, in.get(), out.get());
        (real ? L::init_real : L::init_complex)(&ours, n, dft::scale_none, 0);
        std::int32_t size = 0;
        (real ? L::work_real : L::work_complex)(ours, &size);
        work = bytes(size);
        std::mt19937_64 random(1);
        std::uniform_real_distribution<R> value(-1, 1);
        for (int i = 0; i < (real ? n : 2 * n); ++i) in[static_cast<std::size_t>(i)] = value(random);
    }
    ~plans_of()
    {
        (real ? L::free_real : L::free_complex)(ours);
        fftw<R>::held().destroy(peer);
        if (best != nullptr) fftw<R>::unheld()->destroy(best);
    }
    plans_of(const plans_of&) = delete;
    plans_of& operator=(const plans_of&) = delete;
    void run_ours() const { (real ? L::real : L::complex)(in.get(), out.get(), ours, work.get()); }
    void run_peer() const { fftw<R>::held().run(peer); }
};

template <class Call>
std::function<void(long)> repeated(Call call)
{
    return [call](long calls) {
        while (calls-- > 0) call();
    };
}

contest contest_of(double work)
{
    contest c;
    c.work = work;
    c.seconds = 0.0005;
    c.passes = work > 5e7 ? 9 : 25;
    return c;
}

template <class R>
void row(benchmark::State& state, bool real, int n)
{
    const plans_of<R> plans(real, n, true);
    contest c = contest_of((real ? 2.5 : 5.0) * n * std::log2(n));
    c.all = {{"ours", true, repeated([&] { plans.run_ours(); })},
             {"fftw", true, repeated([&] { plans.run_peer(); })}};
    if (plans.best != nullptr)
        c.all.push_back({"fftw-best", false, repeated([&, run = fftw<R>::unheld()->run] { run(plans.best); })});
    hold(state, c);
}

// Lengths that are chirps, with what they are padded to.
struct chirp {
    int n, m;
};
constexpr chirp chirps[] = {{97, 200}, {1009, 2048}, {4099, 16384}, {65537, 262144}};

template <class R>
void chirp_row(benchmark::State& state, chirp lengths)
{
    using L = library<R>;
    const plans_of<R> plans(false, lengths.n, false);
    dft::primitive_plan* inner = nullptr;
    std::int32_t size = 0;
    L::init_complex(&inner, lengths.m, dft::scale_none, 0);
    L::work_complex(inner, &size);
    const auto work = bytes(size);
    const auto x = reals<R>(2 * static_cast<std::size_t>(lengths.m)),
               filter = reals<R>(2 * static_cast<std::size_t>(lengths.m));
    std::fill_n(x.get(), 2 * lengths.m, R(0)), std::fill_n(filter.get(), 2 * lengths.m, R(0));
    contest c = contest_of(5.0 * lengths.n * std::log2(lengths.n));
    c.all = {{"ours", true, repeated([&] { plans.run_ours(); })},
             {"bound", true, repeated([&] {
                  dft::multiply(x.get(), plans.in.get(), filter.get(), lengths.n);
                  L::complex(x.get(), x.get(), inner, work.get());
                  dft::multiply(x.get(), x.get(), filter.get(), lengths.m);
                  L::complex(x.get(), x.get(), inner, work.get());
                  dft::multiply(plans.out.get(), x.get(), filter.get(), lengths.n);
              })}};
    hold(state, c);
    L::free_complex(inner);
}

template <class R>
void error_row(const char* type, int n)
{
    const plans_of<R> plans(false, n, false);
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
    for (const chirp c : chirps) {
        add("chirp", "double", c.n, [c](benchmark::State& s) { chirp_row<double>(s, c); });
        add("chirp", "single", c.n, [c](benchmark::State& s) { chirp_row<float>(s, c); });
    }
    return main_with_head(argc, argv);
}
