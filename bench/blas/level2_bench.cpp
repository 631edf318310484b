// bench/blas/level2_bench.cpp - dense level 2 through the public entries beside the peers, in GB/s of the part of A
// that is read (rank updates: read and written).
// Rows: routine / option letters / n; small sizes first. --benchmark_filter takes a part of the table.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "vrn/service.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vrn::bench;
using std::int64_t;

// One call's operands, of any type behind the pointers.
struct operands {
    const char *first, *second = "N", *third = "N"; // option letters
    int64_t n;
    const void *alpha, *beta, *a, *x;
    void *y, *updated; // A of a rank update, x of a triangular routine
};

// f with operands in published order, on integers of one width. One function a kind of argument list.
template <class I>
struct with {
    const operands& o;
    I n = static_cast<I>(o.n), lda = n, one = 1;
    template <class... Args>
    static void call(void* f, Args... args)
    {
        reinterpret_cast<void (*)(Args...)>(f)(args...);
    }
    void gemv(void* f) const { call(f, o.first, &n, &n, o.alpha, o.a, &lda, o.x, &one, o.beta, o.y, &one); }
    void symv(void* f) const { call(f, o.first, &n, o.alpha, o.a, &lda, o.x, &one, o.beta, o.y, &one); }
    void ger(void* f) const { call(f, &n, &n, o.alpha, o.x, &one, o.y, &one, o.updated, &lda); }
    void syr(void* f) const { call(f, o.first, &n, o.alpha, o.x, &one, o.updated, &lda); }
    void syr2(void* f) const { call(f, o.first, &n, o.alpha, o.x, &one, o.y, &one, o.updated, &lda); }
    void trmv(void* f) const { call(f, o.first, o.second, o.third, &n, o.a, &lda, o.updated, &one); }
};

enum class kind { gemv, symv, ger, syr, syr2, trmv };

template <class I>
void run(kind k, const operands& o, void* f, long calls)
{
    const with<I> w{o};
    while (calls-- > 0) switch (k) {
        case kind::gemv:
            w.gemv(f);
            break;
        case kind::symv:
            w.symv(f);
            break;
        case kind::ger:
            w.ger(f);
            break;
        case kind::syr:
            w.syr(f);
            break;
        case kind::syr2:
            w.syr2(f);
            break;
        case kind::trmv:
            w.trmv(f);
            break;
        }
}

struct routine {
    const char* name;
    kind k;
    std::vector<const char*> letters;
};

void* ours(const std::string& name)
{
    void* f = dlsym(RTLD_DEFAULT, ("vrn_blas_" + name).c_str());
    if (f == nullptr) {
        std::fprintf(stderr, "bench: no vrn_blas_%s\n", name.c_str());
        std::exit(1);
    }
    return f;
}

template <class R>
void row(benchmark::State& state, const routine& r, std::string letters, int64_t n, int parts)
{
    const auto elements = static_cast<std::size_t>(n * n * parts), length = static_cast<std::size_t>(n * parts);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<R> in(-1, 1);
    std::vector<R> a(elements), x(length), y(length);
    for (auto* v : {&a, &x, &y})
        for (R& value : *v) value = in(random);
    // Calls repeat in place: triangular matrices hardly move x, rank updates hardly move A.
    const R small[] = {R(1e-6), 0}, alpha[] = {R(0.5), R(0.25)}, beta[] = {R(0.5), 0};
    const bool triangular = r.k == kind::trmv, rank = r.k == kind::ger || r.k == kind::syr || r.k == kind::syr2;
    if (triangular) {
        for (R& value : a) value *= R(1e-8);
        for (std::size_t j = 0; j < static_cast<std::size_t>(n); ++j)
            a[(j + j * static_cast<std::size_t>(n)) * static_cast<std::size_t>(parts)] = 1;
    }
    operands o{};
    const char first[] = {letters.size() > 0 ? letters[0] : 'N', 0},
               second[] = {letters.size() > 1 ? letters[1] : 'N', 0};
    o.first = first, o.second = second, o.third = "N";
    o.n = n, o.alpha = rank ? small : alpha, o.beta = beta;
    o.a = a.data(), o.x = x.data(), o.y = y.data(), o.updated = rank ? a.data() : x.data();

    contest race;
    const double share = r.k == kind::gemv || r.k == kind::ger ? 1 : 0.5 * (1 + 1 / static_cast<double>(n));
    race.work = share * (rank ? 2 : 1) * static_cast<double>(elements * sizeof(R));
    void* const mine = ours(r.name);
    race.all.push_back({"vrn", true, [&, mine](long calls) { run<int64_t>(r.k, o, mine, calls); }});
    for (const peer& p : peers())
        if (void* f = reinterpret_cast<void*>(p.find<void()>((r.name + std::string("_")).c_str())))
            race.all.push_back({p.name, p.sse, [&, f](long calls) { run<int>(r.k, o, f, calls); }});
    race.passes = n > 2000 ? 7 : 15;
    race.seconds = n > 2000 ? 0.02 : 0.0015;
    hold(state, race);
}

const routine table[] = {
    {"dgemv", kind::gemv, {"N", "T"}},
    {"sgemv", kind::gemv, {"N", "T"}},
    {"zgemv", kind::gemv, {"N", "T", "C"}},
    {"cgemv", kind::gemv, {"N", "T", "C"}},
    {"dger", kind::ger, {""}},
    {"sger", kind::ger, {""}},
    {"zgeru", kind::ger, {""}},
    {"cgeru", kind::ger, {""}},
    {"zgerc", kind::ger, {""}},
    {"cgerc", kind::ger, {""}},
    {"dsymv", kind::symv, {"L", "U"}},
    {"ssymv", kind::symv, {"L", "U"}},
    {"zhemv", kind::symv, {"L", "U"}},
    {"chemv", kind::symv, {"L", "U"}},
    {"dsyr", kind::syr, {"L", "U"}},
    {"ssyr", kind::syr, {"L", "U"}},
    {"zher", kind::syr, {"L", "U"}},
    {"cher", kind::syr, {"L", "U"}},
    {"dsyr2", kind::syr2, {"L", "U"}},
    {"ssyr2", kind::syr2, {"L", "U"}},
    {"zher2", kind::syr2, {"L", "U"}},
    {"cher2", kind::syr2, {"L", "U"}},
    {"dtrmv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"strmv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"ztrmv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"ctrmv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"dtrsv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"strsv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"ztrsv", kind::trmv, {"LN", "UN", "LT", "UT"}},
    {"ctrsv", kind::trmv, {"LN", "UN", "LT", "UT"}},
};

} // namespace

int main(int argc, char** argv)
{
    vrn_set_num_threads(1);
    for (const routine& r : table)
        for (const char* letters : r.letters)
            for (const int64_t n : {50, 200, 1000, 4000}) {
                const bool complex = r.name[0] == 'c' || r.name[0] == 'z',
                           single = r.name[0] == 'c' || r.name[0] == 's';
                const std::string title =
                    r.name + std::string("/") + (*letters ? letters + std::string("/") : "") + std::to_string(n);
                benchmark::RegisterBenchmark(title.c_str(),
                                             [=, &r](benchmark::State& state) {
                                                 if (single) row<float>(state, r, letters, n, complex ? 2 : 1);
                                                 else row<double>(state, r, letters, n, complex ? 2 : 1);
                                             })
                    ->Iterations(1)
                    ->UseManualTime()
                    ->Unit(benchmark::kNanosecond);
            }
    return vrn::bench::main_with_head(argc, argv);
}
