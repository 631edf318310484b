// bench/blas/banded_bench.cpp - band and packed level 2 beside the peers, in GFLOP/s, one thread, by kernel names.
// Rows: routine / option letters / n / k, where k is the number of off-diagonals on a side; routine / letters / n
// where it is packed. --benchmark_filter takes a part of the table.

#include "bench/support/contest.hpp"
#include "bench/support/peers.hpp"

#include "tests/support/backend.hpp"

#include <complex>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace vrn::bench;
using std::int64_t;

enum class family { gbmv, sbmv, tbmv, tbsv, spmv, spr, spr2, tpmv, tpsv };

// One call's arguments, of either width of integers.
template <class E, class I>
struct call {
    char letters[2];
    I n, k, lda, one = 1;
    E *a, *x, *y;
    E alpha, beta;
};

template <class E>
struct real {
    using type = E;
};
template <class R>
struct real<std::complex<R>> {
    using type = R;
};

template <family F, class E, class I>
std::function<void(long)> calls(void* symbol, call<E, I> c)
{
    using R = typename real<E>::type;
    const auto repeat = [=]<class S>(void (*body)(S*, const call<E, I>&)) {
        auto* f = reinterpret_cast<S*>(symbol);
        return [=](long count) {
            while (count-- > 0) body(f, c);
        };
    };
    using Char = const char*;
    using Int = const I*;
    using In = const E*;
    if constexpr (F == family::gbmv) {
        using S = void(Char, Int, Int, Int, Int, In, In, Int, In, Int, In, E*, Int);
        return repeat(+[](S* f, const call<E, I>& c) {
            f(c.letters, &c.n, &c.n, &c.k, &c.k, &c.alpha, c.a, &c.lda, c.x, &c.one, &c.beta, c.y, &c.one);
        });
    } else if constexpr (F == family::sbmv) {
        using S = void(Char, Int, Int, In, In, Int, In, Int, In, E*, Int);
        return repeat(+[](S* f, const call<E, I>& c) {
            f(c.letters, &c.n, &c.k, &c.alpha, c.a, &c.lda, c.x, &c.one, &c.beta, c.y, &c.one);
        });
    } else if constexpr (F == family::tbmv || F == family::tbsv) {
        using S = void(Char, Char, Char, Int, Int, In, Int, E*, Int);
        return repeat(+[](S* f, const call<E, I>& c) {
            f(c.letters, c.letters + 1, "N", &c.n, &c.k, c.a, &c.lda, c.x, &c.one);
        });
    } else if constexpr (F == family::spmv) {
        using S = void(Char, Int, In, In, In, Int, In, E*, Int);
        return repeat(
            +[](S* f, const call<E, I>& c) { f(c.letters, &c.n, &c.alpha, c.a, c.x, &c.one, &c.beta, c.y, &c.one); });
    } else if constexpr (F == family::spr) {
        using S = void(Char, Int, const R*, In, Int, E*);
        return repeat(+[](S* f, const call<E, I>& c) {
            const R alpha = std::real(c.alpha);
            f(c.letters, &c.n, &alpha, c.x, &c.one, c.a);
        });
    } else if constexpr (F == family::spr2) {
        using S = void(Char, Int, In, In, Int, In, Int, E*);
        return repeat(
            +[](S* f, const call<E, I>& c) { f(c.letters, &c.n, &c.alpha, c.x, &c.one, c.y, &c.one, c.a); });
    } else {
        using S = void(Char, Char, Char, Int, In, E*, Int);
        return repeat(+[](S* f, const call<E, I>& c) { f(c.letters, c.letters + 1, "N", &c.n, c.a, c.x, &c.one); });
    }
}

constexpr bool is_band(family f) { return f <= family::tbsv; }
constexpr bool is_triangular(family f)
{
    return f == family::tbmv || f == family::tbsv || f == family::tpmv || f == family::tpsv;
}

template <family F, class E>
void row(benchmark::State& state, const std::string& stem, const char* letters, int64_t n, int64_t k)
{
    using R = typename real<E>::type;
    const bool upper = letters[0] == 'U';
    const int64_t lda = F == family::gbmv ? 2 * k + 1 : k + 1;
    std::vector<E> a(static_cast<std::size_t>(is_band(F) ? lda * n : n * (n + 1) / 2));
    std::vector<E> x(static_cast<std::size_t>(n)), y(x);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<R> in(-1, 1);
    for (auto* v : {&a, &x, &y})
        for (E& e : *v) e = in(random);
    // Triangles work in place and again and again: ones on the diagonal and zeros beside them leave x as it is.
    if (is_triangular(F))
        for (int64_t j = 0; j < n; ++j) {
            const int64_t first = is_band(F) ? j * lda : upper ? j * (j + 1) / 2 : j * (2 * n - j + 1) / 2;
            const int64_t count = is_band(F) ? lda : upper ? j + 1 : n - j;
            for (int64_t i = 0; i < count; ++i)
                a[static_cast<std::size_t>(first + i)] = i == (upper ? count - 1 : 0) ? 1 : 0;
        }
    const auto arguments = [&]<class I>(I) {
        call<E, I> c{};
        c.letters[0] = letters[0], c.letters[1] = letters[1];
        c.n = static_cast<I>(n), c.k = static_cast<I>(k), c.lda = static_cast<I>(lda), c.one = 1;
        c.a = a.data(), c.x = x.data(), c.y = y.data();
        c.alpha = R(1e-6), c.beta = R(0.5);
        return c;
    };
    contest race;
    const double stored = is_band(F) ? static_cast<double>((F == family::gbmv ? 2 * k + 1 : k + 1) * n)
                                     : static_cast<double>(n) * static_cast<double>(n + 1) / 2;
    const bool twice = F == family::sbmv || F == family::spmv || F == family::spr2;
    race.work = stored * (twice ? 4 : 2) * (sizeof(E) == sizeof(R) ? 1 : 4);
    race.all.push_back(
        {"vrn", true, calls<F, E>(vrn::test::backend_symbol("vrn_blas_s42_" + stem), arguments(int64_t{}))});
    for (const peer& p : peers())
        if (auto* f = p.find<void>((stem + '_').c_str()))
            race.all.push_back({p.name, p.sse, calls<F, E>(reinterpret_cast<void*>(f), arguments(int{}))});
    race.passes = 15;
    race.seconds = 0.0007;
    hold(state, race);
}

template <family F, class E>
void add(const std::string& stem)
{
    for (const char* letters : F == family::gbmv  ? std::vector<const char*>{"N", "T"}
                               : is_triangular(F) ? std::vector<const char*>{"UN", "UT", "LN", "LT"}
                                                  : std::vector<const char*>{"U", "L"})
        for (const int64_t n : {50, 200, 1000, 4000})
            for (const int64_t k : is_band(F) ? std::vector<int64_t>{8, 64} : std::vector<int64_t>{0}) {
                if (k >= n) continue;
                const std::string title = stem + '/' + letters + '/' + std::to_string(n) +
                                          (is_band(F) ? '/' + std::to_string(k) : std::string());
                benchmark::RegisterBenchmark(title.c_str(),
                                             [=](benchmark::State& state) { row<F, E>(state, stem, letters, n, k); })
                    ->Iterations(1)
                    ->UseManualTime()
                    ->Unit(benchmark::kMicrosecond);
            }
}

template <family F>
void add_four(const std::string& symmetric, const std::string& hermitian)
{
    add<F, float>('s' + symmetric);
    add<F, double>('d' + symmetric);
    add<F, std::complex<float>>('c' + hermitian);
    add<F, std::complex<double>>('z' + hermitian);
}

} // namespace

int main(int argc, char** argv)
{
    add_four<family::gbmv>("gbmv", "gbmv");
    add_four<family::sbmv>("sbmv", "hbmv");
    add_four<family::tbmv>("tbmv", "tbmv");
    add_four<family::tbsv>("tbsv", "tbsv");
    add_four<family::spmv>("spmv", "hpmv");
    add_four<family::spr>("spr", "hpr");
    add_four<family::spr2>("spr2", "hpr2");
    add_four<family::tpmv>("tpmv", "tpmv");
    add_four<family::tpsv>("tpsv", "tpsv");
    return vrn::bench::main_with_head(argc, argv);
}
