// bench/blas/level1_bench.cpp - level 1 through the public entries beside the peers, in GB/s of the bytes moved.
// Rows: routine / length, and routine / length / apart where y lies one real off a 16-byte boundary and x does not.
// --benchmark_filter takes a part of the table.

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

// Arguments that fit both sides: integers of either width, pointers to whatever the routine takes.
struct integer {
    std::int64_t wide;
    int narrow = static_cast<int>(wide);
    operator const std::int64_t*() const { return &wide; }
    operator const int*() const { return &narrow; }
};
struct pointer {
    void* p;
    template <class T>
    operator T*() const
    {
        return static_cast<T*>(p);
    }
};
struct arguments {
    integer n, one{1};
    pointer x, y, result;
    // Calls are repeated in place: turn is of magnitude one, y = a x + b y settles, small hardly moves y.
    pointer turn, minus, a, b, small, c, s;
};

// The peers' signature: 32-bit integers.
template <class T>
struct narrow {
    using type = T;
};
template <>
struct narrow<const std::int64_t*> {
    using type = const int*;
};
template <>
struct narrow<std::int64_t> {
    using type = int;
};
template <class F>
struct fortran;
template <class Result, class... Args>
struct fortran<Result(Args...)> {
    using type = typename narrow<Result>::type(typename narrow<Args>::type...);
};

template <class F, class Call>
auto repeated(F* f, Call call, const arguments& args)
{
    return [=, &args](long calls) {
        while (calls-- > 0) {
            if constexpr (std::is_void_v<decltype(call(f, args))>) call(f, args);
            else benchmark::DoNotOptimize(call(f, args));
        }
    };
}

// `arrays`: elements moved per element of the vector, reading and writing apart.
template <class R, class Peer, class Ours, class Call, class PeerCall>
void row(benchmark::State& state, std::int64_t n, int offset, int element, double arrays, Ours* ours,
         const char* symbol, Call call, PeerCall peer_call)
{
    const auto length = static_cast<std::size_t>(n * element + 4);
    std::vector<R> x(length), y(length);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<R> in(-1, 1);
    for (auto* v : {&x, &y})
        for (R& value : *v) value = in(random);
    const bool complex = element == 2;
    R turn[] = {complex ? R(0.6) : R(-1), R(0.8)}, minus[] = {R(-1)};
    R a[] = {R(0.3), R(0.4)}, b[] = {R(0.3), R(-0.4)};
    R small[] = {R(1e-6), R(1e-6)}, c[] = {R(0.6)}, s[] = {R(0.8), R(0)}, result[2];
    const arguments args{{n},    {1},     {x.data()}, {y.data() + offset}, {result}, {turn},
                         {minus}, {a},     {b},        {small},             {c},      {s}};

    contest race;
    race.work = arrays * static_cast<double>(n) * static_cast<double>(element * sizeof(R));
    race.all.push_back({"vrn", true, repeated(ours, call, args)});
    for (const peer& p : peers())
        if (auto* f = p.find<Peer>(symbol)) race.all.push_back({p.name, p.sse, repeated(f, peer_call, args)});
    race.passes = 25;
    race.seconds = 0.0007;
    hold(state, race);
}

template <class R, class Peer, class Ours, class Call, class PeerCall>
void add(const char* name, int element, double arrays, Ours* ours, Call call, PeerCall peer_call)
{
    const std::string symbol = std::string(name) + '_';
    for (std::int64_t n : {4, 100, 1000, 10000, 1000000})
        for (int offset : {0, 1}) {
            if (offset != 0 && n != 1000) continue;
            const std::string title = std::string(name) + '/' + std::to_string(n) + (offset ? "/apart" : "");
            benchmark::RegisterBenchmark(title.c_str(),
                                         [=](benchmark::State& state) {
                                             row<R, Peer>(state, n, offset, element, arrays, ours, symbol.c_str(), call,
                                                          peer_call);
                                         })
                ->Iterations(1)
                ->UseManualTime()
                ->Unit(benchmark::kNanosecond);
        }
}

template <class R, class Ours, class Call>
void add(const char* name, int element, double arrays, Ours* ours, Call call)
{
    add<R, typename fortran<Ours>::type>(name, element, arrays, ours, call, call);
}

#define ADD(name, R, element, arrays, ...)                                                                    \
    add<R>(#name, element, arrays, vrn_blas_##name,                                                           \
           [](auto* f, const arguments& o) { return f(__VA_ARGS__); })
#define ADD_FOUR(name, arrays, ...)                                                                           \
    ADD(s##name, float, 1, arrays, __VA_ARGS__);                                                              \
    ADD(d##name, double, 1, arrays, __VA_ARGS__);                                                             \
    ADD(c##name, float, 2, arrays, __VA_ARGS__);                                                              \
    ADD(z##name, double, 2, arrays, __VA_ARGS__)
// Ours writes a complex result through a pointer, theirs returns it.
#define ADD_COMPLEX_DOT(name, R)                                                                              \
    add<R, std::complex<R>(const int*, const R*, const int*, const R*, const int*)>(                          \
        #name, 2, 2, vrn_blas_##name, [](auto* f, const arguments& o) { f(o.result, o.n, o.x, o.one, o.y, o.one); }, \
        [](auto* f, const arguments& o) { return f(o.n, o.x, o.one, o.y, o.one); })

void add_all()
{
    ADD_FOUR(axpy, 3, o.n, o.small, o.x, o.one, o.y, o.one);
    ADD_FOUR(axpby, 3, o.n, o.a, o.x, o.one, o.b, o.y, o.one);
    ADD_FOUR(copy, 2, o.n, o.x, o.one, o.y, o.one);
    ADD_FOUR(swap, 4, o.n, o.x, o.one, o.y, o.one);
    ADD_FOUR(scal, 2, o.n, o.turn, o.x, o.one);
    ADD(csscal, float, 2, 2, o.n, o.minus, o.x, o.one);
    ADD(zdscal, double, 2, 2, o.n, o.minus, o.x, o.one);
    ADD(sdot, float, 1, 2, o.n, o.x, o.one, o.y, o.one);
    ADD(ddot, double, 1, 2, o.n, o.x, o.one, o.y, o.one);
    ADD(dsdot, float, 1, 2, o.n, o.x, o.one, o.y, o.one);
    ADD(sdsdot, float, 1, 2, o.n, o.small, o.x, o.one, o.y, o.one);
    ADD_COMPLEX_DOT(cdotu, float);
    ADD_COMPLEX_DOT(cdotc, float);
    ADD_COMPLEX_DOT(zdotu, double);
    ADD_COMPLEX_DOT(zdotc, double);
    ADD(snrm2, float, 1, 1, o.n, o.x, o.one);
    ADD(dnrm2, double, 1, 1, o.n, o.x, o.one);
    ADD(scnrm2, float, 2, 1, o.n, o.x, o.one);
    ADD(dznrm2, double, 2, 1, o.n, o.x, o.one);
    ADD(sasum, float, 1, 1, o.n, o.x, o.one);
    ADD(dasum, double, 1, 1, o.n, o.x, o.one);
    ADD(scasum, float, 2, 1, o.n, o.x, o.one);
    ADD(dzasum, double, 2, 1, o.n, o.x, o.one);
    ADD(srot, float, 1, 4, o.n, o.x, o.one, o.y, o.one, o.c, o.s);
    ADD(drot, double, 1, 4, o.n, o.x, o.one, o.y, o.one, o.c, o.s);
    ADD(csrot, float, 2, 4, o.n, o.x, o.one, o.y, o.one, o.c, o.s);
    ADD(zdrot, double, 2, 4, o.n, o.x, o.one, o.y, o.one, o.c, o.s);
    ADD(crot, float, 2, 4, o.n, o.x, o.one, o.y, o.one, o.c, o.s);
    ADD(zrot, double, 2, 4, o.n, o.x, o.one, o.y, o.one, o.c, o.s);
    ADD(isamax, float, 1, 1, o.n, o.x, o.one);
    ADD(idamax, double, 1, 1, o.n, o.x, o.one);
    ADD(icamax, float, 2, 1, o.n, o.x, o.one);
    ADD(izamax, double, 2, 1, o.n, o.x, o.one);
    ADD(isamin, float, 1, 1, o.n, o.x, o.one);
    ADD(idamin, double, 1, 1, o.n, o.x, o.one);
    ADD(icamin, float, 2, 1, o.n, o.x, o.one);
    ADD(izamin, double, 2, 1, o.n, o.x, o.one);
}

} // namespace

int main(int argc, char** argv)
{
    vrn_set_num_threads(1);
    add_all();
    return vrn::bench::main_with_head(argc, argv);
}
