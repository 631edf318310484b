// bench/blas/level3_bench.cpp - triangular, symmetric and rank-update level 3 through the public entries beside the
// peers. Rows: routine / option letters / order, square operands; small sizes first.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "vrn/blas.h"
#include "vrn/service.h"

#include <random>
#include <string>
#include <vector>

namespace {

using namespace vrn::bench;

// Every argument is a pointer; which ones a routine takes is a word of the table.
enum class form {
    triangular, // side uplo trans diag m n alpha a lda b ldb
    product,    // side uplo m n alpha a lda b ldb beta c ldc
    rank,       // uplo trans n k alpha a lda beta c ldc
    rank_2,     // uplo trans n k alpha a lda b ldb beta c ldc
};

template <class R>
struct operands {
    std::string letters;
    std::vector<R> a, b, c;
    R alpha[2], beta[2];
};

template <class I, class R>
void call(void* f, form kind, const operands<R>& o, const I& n)
{
    using P = const void*;
    const char* l = o.letters.c_str();
    const R *a = o.a.data(), *b = o.b.data(), *c = o.c.data(), *alpha = o.alpha, *beta = o.beta;
    switch (kind) {
    case form::triangular:
        return reinterpret_cast<void (*)(P, P, P, P, P, P, P, P, P, P, P)>(f)(l, l + 1, l + 2, l + 3, &n, &n, alpha,
                                                                              a, &n, b, &n);
    case form::product:
        return reinterpret_cast<void (*)(P, P, P, P, P, P, P, P, P, P, P, P)>(f)(l, l + 1, &n, &n, alpha, a, &n, b,
                                                                                 &n, beta, c, &n);
    case form::rank:
        return reinterpret_cast<void (*)(P, P, P, P, P, P, P, P, P, P)>(f)(l, l + 1, &n, &n, alpha, a, &n, beta, c,
                                                                           &n);
    case form::rank_2:
        return reinterpret_cast<void (*)(P, P, P, P, P, P, P, P, P, P, P, P)>(f)(l, l + 1, &n, &n, alpha, a, &n, b,
                                                                                 &n, beta, c, &n);
    }
}

template <class R>
struct routine {
    std::string name;
    void* ours;
    form kind;
    int parts; // 2 for complex
    double flop(double n) const
    {
        const double products = kind == form::product || kind == form::rank_2 ? 2 : 1;
        return products * n * n * n * (parts == 2 ? 4 : 1);
    }
};

template <class R>
operands<R> filled(const routine<R>& r, const std::string& letters, std::int64_t n)
{
    const auto count = static_cast<std::size_t>(n * n * r.parts);
    operands<R> o{letters, std::vector<R>(count), std::vector<R>(count), std::vector<R>(count), {1, 0}, {0, 0}};
    std::mt19937_64 random(1);
    std::uniform_real_distribution<R> in(-1, 1);
    for (auto* v : {&o.a, &o.b, &o.c})
        for (R& x : *v) x = in(random);
    // Calls are repeated in place: a triangle near the identity keeps B as it is.
    if (r.kind == form::triangular)
        for (std::int64_t j = 0; j < n; ++j)
            for (std::int64_t i = 0; i < n * r.parts; ++i) {
                R& x = o.a[static_cast<std::size_t>(i + j * n * r.parts)];
                x = i == j * r.parts ? R(1) : x * R(1e-9);
            }
    return o;
}

template <class R>
void row(benchmark::State& state, const routine<R>& r, const std::string& letters, std::int64_t n)
{
    const operands<R> o = filled(r, letters, n);
    contest race;
    race.work = r.flop(static_cast<double>(n));
    race.all.push_back({"vrn", true, [&](long calls) {
                            while (calls-- > 0) call(r.ours, r.kind, o, n);
                        }});
    const int n32 = static_cast<int>(n);
    for (const peer& p : peers())
        if (void* f = reinterpret_cast<void*>(p.find<void()>((r.name + '_').c_str())))
            race.all.push_back({p.name, p.sse, [&, f](long calls) {
                                    while (calls-- > 0) call(f, r.kind, o, n32);
                                }});
    race.peak = {"peak", true, sse_peak<R>};
    race.peak_work = sse_peak_flop<R>();
    hold(state, race);
}

// Two threads against one: `ours` is two, `peer` one, and the ratio is the speed-up.
template <class R>
void threads_row(benchmark::State& state, const routine<R>& r, const std::string& letters, std::int64_t n)
{
    const operands<R> o = filled(r, letters, n);
    const auto on = [&](int threads) {
        return [&, threads](long calls) {
            vrn_set_num_threads(threads);
            while (calls-- > 0) call(r.ours, r.kind, o, n);
            vrn_set_num_threads(1);
        };
    };
    contest race;
    race.work = r.flop(static_cast<double>(n));
    race.all = {{"2 threads", true, on(2)}, {"1 thread", true, on(1)}};
    hold(state, race);
}

template <class Body>
void add(const std::string& title, Body body)
{
    benchmark::RegisterBenchmark(title.c_str(), body)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

template <class R, class F>
void add_routine(const char* name, F* ours, form kind, int parts)
{
    const routine<R> r{name, reinterpret_cast<void*>(ours), kind, parts};
    std::vector<std::string> letters;
    switch (kind) {
    case form::triangular:
        letters = {"LLNN", "LUNN", "LLTN", "RLNN", "RUNN", "RUTN"};
        break;
    case form::product:
        letters = {"LL", "LU", "RL", "RU"};
        break;
    default:
        letters = {"LN", "UN", std::string("L") + (name[1] == 'h' ? 'C' : 'T'),
                   std::string("U") + (name[1] == 'h' ? 'C' : 'T')};
    }
    for (const std::string& l : letters) {
        for (const std::int64_t n : {4, 8, 16, 32, 100, 300, 1000})
            add(r.name + '/' + l + '/' + std::to_string(n), [=](benchmark::State& s) { row(s, r, l, n); });
        for (const std::int64_t n : {200, 300, 1000})
            add(r.name + "/2threads/" + l + '/' + std::to_string(n),
                [=](benchmark::State& s) { threads_row(s, r, l, n); });
    }
}

#define ADD(R, parts, name, kind) add_routine<R>(#name, vrn_blas_##name, form::kind, parts)
#define ADD_TYPE(R, parts, t)                                                                                        \
    ADD(R, parts, t##trsm, triangular);                                                                              \
    ADD(R, parts, t##trmm, triangular);                                                                              \
    ADD(R, parts, t##symm, product);                                                                                 \
    ADD(R, parts, t##syrk, rank);                                                                                    \
    ADD(R, parts, t##syr2k, rank_2)
#define ADD_COMPLEX(R, t)                                                                                            \
    ADD_TYPE(R, 2, t);                                                                                               \
    ADD(R, 2, t##hemm, product);                                                                                     \
    ADD(R, 2, t##herk, rank);                                                                                        \
    ADD(R, 2, t##her2k, rank_2)

} // namespace

int main(int argc, char** argv)
{
    vrn_set_num_threads(1);
    ADD_TYPE(double, 1, d);
    ADD_TYPE(float, 1, s);
    ADD_COMPLEX(double, z);
    ADD_COMPLEX(float, c);
    return vrn::bench::main_with_head(argc, argv);
}
