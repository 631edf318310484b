// bench/blas/special_bench.cpp - routines that open BLAS libraries lack, one thread, by kernel names, in GFLOP/s
// (moves: elements a nanosecond): compressed vectors beside the plain loop that takes their place, the product with A
// and its transpose at once beside two products, that of a real matrix with complex vectors beside the complex one.
// Rows: routine / n.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "tests/support/backend.hpp"

#include <algorithm>
#include <complex>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vrn::bench;
using std::int64_t;
using complex = std::complex<double>;

template <class F>
std::function<void(long)> times(F f)
{
    return [f](long calls) {
        while (calls-- > 0) f();
    };
}

template <class F>
void row(const std::string& title, F body)
{
    benchmark::RegisterBenchmark(title.c_str(),
                                 [=](benchmark::State& state) {
                                     contest race;
                                     race.passes = 15;
                                     race.seconds = 0.001;
                                     body(race);
                                     hold(state, race);
                                 })
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
}

// x of n elements, whose places in y are a sorted tenth of it.
struct compressed {
    int64_t n;
    std::vector<int64_t> indx;
    std::vector<double> x, y;

    explicit compressed(int64_t count) : n(count), x(static_cast<std::size_t>(n), 1e-9), y(x.size() * 10, 1e-9)
    {
        std::vector<int64_t> all(y.size());
        std::iota(all.begin(), all.end(), 1); // places count from one
        std::sample(all.begin(), all.end(), std::back_inserter(indx), n, std::mt19937_64(1));
    }
};

void compressed_vectors(int64_t n)
{
    const auto add = [n](const std::string& name, double flop, auto call, auto loop) {
        row(name + '/' + std::to_string(n), [=](contest& race) {
            const auto o = std::make_shared<compressed>(n);
            race.work = flop * static_cast<double>(n);
            auto* f = vrn::test::backend_symbol("vrn_blas_s42_" + name);
            race.all = {{"vrn", true, times([=] { call(f, *o); })}, {"loop", true, times([=] {
                                                                         auto* y = o->y.data() - 1;
                                                                         loop(o->n, o->x.data(), o->indx.data(), y);
                                                                     })}};
        });
    };
    using Int = const int64_t*;
    static const double alpha = 1e-9, c = 0.8, s = 0.6;
    add(
        "daxpyi", 2,
        [](void* f, compressed& o) {
            reinterpret_cast<void (*)(Int, const double*, const double*, Int, double*)>(f)(&o.n, &alpha, o.x.data(),
                                                                                           o.indx.data(), o.y.data());
        },
        [](int64_t m, const double* x, Int i, double* y) {
            for (int64_t k = 0; k < m; ++k) y[i[k]] += alpha * x[k];
        });
    add(
        "ddoti", 2,
        [](void* f, compressed& o) {
            benchmark::DoNotOptimize(reinterpret_cast<double (*)(Int, const double*, Int, const double*)>(f)(
                &o.n, o.x.data(), o.indx.data(), o.y.data()));
        },
        [](int64_t m, const double* x, Int i, double* y) {
            double sum = 0;
            for (int64_t k = 0; k < m; ++k) sum += x[k] * y[i[k]];
            benchmark::DoNotOptimize(sum);
        });
    add(
        "dgthr", 1,
        [](void* f, compressed& o) {
            reinterpret_cast<void (*)(Int, const double*, double*, Int)>(f)(&o.n, o.y.data(), o.x.data(),
                                                                            o.indx.data());
        },
        [](int64_t m, double* x, Int i, double* y) {
            for (int64_t k = 0; k < m; ++k) x[k] = y[i[k]];
        });
    add(
        "dsctr", 1,
        [](void* f, compressed& o) {
            reinterpret_cast<void (*)(Int, const double*, Int, double*)>(f)(&o.n, o.x.data(), o.indx.data(),
                                                                            o.y.data());
        },
        [](int64_t m, const double* x, Int i, double* y) {
            for (int64_t k = 0; k < m; ++k) y[i[k]] = x[k];
        });
    add(
        "droti", 6,
        [](void* f, compressed& o) {
            reinterpret_cast<void (*)(Int, double*, Int, double*, const double*, const double*)>(f)(
                &o.n, o.x.data(), o.indx.data(), o.y.data(), &c, &s);
        },
        [](int64_t m, double* x, Int i, double* y) {
            for (int64_t k = 0; k < m; ++k) {
                const double t = c * x[k] + s * y[i[k]];
                y[i[k]] = c * y[i[k]] - s * x[k];
                x[k] = t;
            }
        });
}

// A of order n and vectors, of any type; every peer's routine of the same arguments is a contestant.
template <class E, class A>
struct dense {
    int64_t n, one = 1;
    int n32, one32 = 1;
    std::vector<A> a;
    std::vector<E> wide, x, y, z, w;
    E alpha = 1e-9, beta = 0.5;

    explicit dense(int64_t order)
        : n(order), n32(static_cast<int>(order)), a(static_cast<std::size_t>(n * n), A(1e-3)),
          wide(a.begin(), a.end()), x(static_cast<std::size_t>(n), E(1)), y(x), z(x), w(x)
    {
    }
    template <class F>
    void peer_gemv(F* f, const char* trans, const E* from, E* to) const
    {
        f(trans, &n32, &n32, &alpha, wide.data(), &n32, from, &one32, &beta, to, &one32);
    }
};
template <class E>
using gemv_32 = void(const char*, const int*, const int*, const E*, const E*, const int*, const E*, const int*,
                     const E*, E*, const int*);

void at_once(int64_t n)
{
    using Int = const int64_t*;
    using In = const double*;
    row("dgem2vu/" + std::to_string(n), [=](contest& race) {
        const auto o = std::make_shared<dense<double, double>>(n);
        auto* f = vrn::test::kernel<void(Int, Int, In, In, Int, In, Int, In, Int, In, double*, Int, double*, Int)>(
            "vrn_blas_s42_dgem2vu");
        race.work = 4.0 * static_cast<double>(n * n);
        race.all = {{"vrn", true, times([=] {
                         f(&o->n, &o->n, &o->alpha, o->a.data(), &o->n, o->x.data(), &o->one, o->y.data(), &o->one,
                           &o->beta, o->z.data(), &o->one, o->w.data(), &o->one);
                     })}};
        for (const peer& p : peers())
            if (auto* g = p.find<gemv_32<double>>("dgemv_"))
                race.all.push_back({p.name, p.sse, times([=] {
                                        o->peer_gemv(g, "N", o->x.data(), o->z.data());
                                        o->peer_gemv(g, "T", o->y.data(), o->w.data());
                                    })});
    });
}

void real_matrix(int64_t n)
{
    using Int = const int64_t*;
    using In = const complex*;
    for (const char* trans : {"N", "T"})
        row(std::string("dzgemv/") + trans + '/' + std::to_string(n), [=](contest& race) {
            const auto o = std::make_shared<dense<complex, double>>(n);
            auto* f =
                vrn::test::kernel<void(const char*, Int, Int, In, const double*, Int, In, Int, In, complex*, Int)>(
                    "vrn_blas_s42_dzgemv");
            race.work = 4.0 * static_cast<double>(n * n);
            race.all = {{"vrn", true, times([=] {
                             f(trans, &o->n, &o->n, &o->alpha, o->a.data(), &o->n, o->x.data(), &o->one, &o->beta,
                               o->y.data(), &o->one);
                         })}};
            for (const peer& p : peers())
                if (auto* g = p.find<gemv_32<complex>>("zgemv_"))
                    race.all.push_back(
                        {p.name, p.sse, times([=] { o->peer_gemv(g, trans, o->x.data(), o->y.data()); })});
        });
}

} // namespace

int main(int argc, char** argv)
{
    for (const int64_t n : {8, 100, 1000, 100000}) compressed_vectors(n);
    for (const int64_t n : {50, 200, 1000, 4000}) at_once(n);
    for (const int64_t n : {50, 200, 1000, 4000}) real_matrix(n);
    return vrn::bench::main_with_head(argc, argv);
}
