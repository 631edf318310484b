// tests/spblas/public_problem.hpp - one product or solve of the public sparse BLAS beside what its descriptor says:
// any format, class, operation, base, layout, on any number of threads, in both integer widths. Included once in an
// executable.
#pragma once

#include "tests/spblas/public_support.hpp"
#include "tests/spblas/stems.hpp"

namespace vrn::test {

template <class T>
using entries = std::vector<oracle::entry<T>>;

// What the host said about memory it cannot do without.
inline int warnings = 0;

// Classes as descriptor letters.
inline constexpr const char* classes[] = {"G  ", "SLN", "SLU", "SUN", "SUU", "HLN", "HLU", "HUN", "HUU",
                                          "TLN", "TLU", "TUN", "TUU", "AL ", "AU ", "D N", "D U"};

struct problem {
    std::string format, product;
    char trans;
    std::string letters; // class, triangle, diagonal
    int base;
    char layout; // as the descriptor says it, or blank
    std::int64_t m, k, n, lb;

    bool by_rows() const { return layout == 'R' || (layout == ' ' && base == 0); }
    bool solve() const { return product[0] == 's'; }
    bool many() const { return product[1] == 'm'; }
    std::string descr() const { return letters + (base == 0 ? 'c' : 'F') + layout + ' '; }
    friend std::ostream& operator<<(std::ostream& out, const problem& p)
    {
        return out << p.format << p.product << ' ' << p.trans << " descr '" << p.descr() << "' m " << p.m << " k "
                   << p.k << " n " << p.n;
    }
};

// The descriptor in the oracle's letters, for one type.
template <class T>
oracle::meaning meaning_of(const problem& p)
{
    const auto low = [](char c) { return static_cast<char>(std::tolower(c)); };
    return {low(p.trans), low(p.letters[0]), low(p.letters[1]), low(p.letters[2])};
}
// What is stored as a class sees it: blocks on the diagonal are the whole of D in BSR products.
template <class T>
entries<T> defined(const problem& p, const entries<T>& a)
{
    oracle::meaning w = meaning_of<T>(p);
    if (std::is_floating_point_v<T> && w.kind == 'h') w.kind = 's';
    if (p.format != "bsr" || w.kind != 'd' || w.diagonal == 'u' || p.solve()) return oracle::defined(w, a, 0, p.m);
    entries<T> blocks;
    for (const auto& e : a)
        if (e.row / p.lb == e.col / p.lb) blocks.push_back(e);
    w.kind = 'g';
    return oracle::defined(w, blocks, 0, p.m);
}
// All that may pass through an element on the way.
template <class T>
entries<T> passing(const problem& p, const entries<T>& a)
{
    oracle::meaning w = meaning_of<T>(p);
    if (w.kind == 'g' || w.kind == 'd') return defined(p, a);
    const bool unit = w.diagonal == 'u' || (w.kind == 'a' && p.format == "bsr");
    entries<T> all = oracle::defined({w.op, w.kind == 't' ? 'g' : 's', 'l', unit ? 'u' : 'n'}, a, 0, p.m);
    if (w.kind != 't')
        for (const auto& e : oracle::defined({w.op, 's', 'u', unit ? 'u' : 'n'}, a, 0, p.m)) all.push_back(e);
    if (unit) // what is stored on a diagonal that does not count is added and taken back as well
        for (const auto& e : oracle::defined({w.op, 'd', 'l', 'n'}, a, 0, p.m)) all.push_back(e);
    return all;
}

template <class T>
entries<T> pattern(std::int64_t m, std::int64_t k, double density, bool diagonal, std::mt19937_64& random)
{
    entries<T> a;
    std::uniform_real_distribution<double> u(0, 1);
    for (std::int64_t i = 0; i < m; ++i)
        for (std::int64_t j = 0; j < k; ++j) {
            const bool on = diagonal && i == j;
            if (!on && (u(random) >= density || i % 7 == 3)) continue;
            // Off the diagonal small enough for a solve to stay of moderate size.
            const T v = random_number<T>(random);
            a.push_back({i, j, on ? v + T(2) : diagonal ? v * T(0.25) : v});
        }
    return a;
}

// Whether the format has the class in this product.
inline bool exists(const problem& p)
{
    const char kind = p.letters[0];
    const bool rows_unknown = p.format == "dia" || p.format == "sky";
    if (p.solve() && kind != 'T' && (kind != 'D' || p.format == "sky")) return false;
    if (p.format == "sky" && (kind == 'G' || kind == 'D')) return false;
    return !(rows_unknown && p.many() && p.by_rows());
}

// The same number of allocations is granted to every call. Without `given` the right-hand sides are in c.
template <class T, class I>
dense<T> run(const problem& p, const stored<T, I>& s, T alpha, T beta, const dense<T>* given, dense<T> c)
{
    const dense<T>& b = given != nullptr ? *given : c;
    heap.asked = 0;
    const std::int64_t side = p.format[0] == 'b' ? p.lb : 1;
    const I m = I(p.m / side), k = I(p.k / side), n = I(p.n), ldb = I(b.ld), ldc = I(c.ld);
    const std::string descr = p.descr();
    arguments_by_name by{{"trans", &p.trans}, {"m", &m},       {"mb", &m},
                         {"k", &k},           {"kb", &k},      {"n", &n},
                         {"alpha", &alpha},   {"beta", &beta}, {"descr", descr.data()},
                         {"x", b.data()},     {"b", b.data()}, {"y", c.data()},
                         {"c", c.data()},     {"ldb", &ldb},   {"ldc", &ldc}};
    s.add_to(by);
    call(prefix_of<I>() + letter_of<T> + p.format + p.product, order_of(p.format, p.product), by);
    EXPECT_EQ(last_report.times, 0) << last_report.routine << ' ' << last_report.argument;
    return c;
}
template <class T, class I>
dense<T> run(const problem& p, const entries<T>& a, T alpha, T beta, const dense<T>* b, dense<T> c)
{
    std::mt19937_64 random(3);
    const stored<T, I> s(p.format, a, p.m, p.k, p.base, p.lb, p.by_rows(), p.letters[1] == 'L', random);
    return run(p, s, alpha, beta, b, std::move(c));
}

// On each number of threads, in both widths: one answer for the widths, and the right one. `given` are the entries in
// their format, if they come from elsewhere.
template <class T>
void check(const problem& p, entries<T> a, std::initializer_list<int> threads, T alpha, T beta,
           std::mt19937_64& random, const stored<T, std::int64_t>* given = nullptr)
{
    if (!exists(p)) return;
    if (p.letters[0] == 'H') // its diagonal is real
        for (auto& e : a)
            if (e.row == e.col) e.value = T(std::real(e.value));
    std::ostringstream trace;
    trace << letter_of<T> << p;
    SCOPED_TRACE(trace.str());
    const bool turned = p.trans != 'N';
    const std::int64_t rows = turned ? p.k : p.m, inner = turned ? p.m : p.k;
    const bool by_rows = p.many() && p.by_rows();
    dense<T> b(inner, p.many() ? p.n : 1, by_rows, p.many() ? 3 : 0), c(rows, b.cols, by_rows, p.many() ? 2 : 0);
    b.fill(random);
    if (beta != T{}) c.fill(random);
    const entries<T> meant = defined(p, a);
    const entries<T> passed = p.solve() ? meant : passing(p, a);
    for (const int count : threads) {
        vrn_set_num_threads(count);
        const dense<T> got =
            given ? run(p, *given, alpha, beta, &b, c) : run<T, std::int64_t>(p, a, alpha, beta, &b, c);
        const dense<T> narrow = given ? run(p, stored<T, std::int32_t>(*given), alpha, beta, &b, c)
                                      : run<T, std::int32_t>(p, a, alpha, beta, &b, c);
        if (std::exchange(warnings, 0) > 0) {
            EXPECT_TRUE(got.same_bits(c) && narrow.same_bits(c)) << "gave up, but wrote";
            continue;
        }
        EXPECT_TRUE(got.same_bits(narrow)) << "widths differ on " << count << " threads";
        EXPECT_TRUE(got.unchanged_outside(c, 0, rows, 0, c.cols)) << "written outside";
        if (p.solve()) {
            const dense<T> inside =
                given ? run(p, *given, alpha, beta, {}, b) : run<T, std::int64_t>(p, a, alpha, beta, {}, b);
            const bool done = std::exchange(warnings, 0) == 0;
            EXPECT_TRUE(inside.unchanged_outside(b, 0, rows, 0, c.cols)) << "written outside, in place";
            for (std::int64_t i = 0; i < rows && done; ++i)
                for (std::int64_t j = 0; j < c.cols; ++j) ASSERT_EQ(inside.at(i, j), got.at(i, j)) << "in place";
        }
        double worst = 0;
        for (std::int64_t j = 0; j < c.cols; ++j) {
            if (!p.solve()) {
                const oracle::products<T> want(meant, passed, alpha, &b.at(0, j), b.row_step, beta, &c.at(0, j),
                                               c.row_step, rows);
                for (std::int64_t i = 0; i < rows; ++i) worst = std::max(worst, want.units(i, got.at(i, j)));
                continue;
            }
            // A computed solution solves a system close by, row by row (Higham 2002, theorem 8.5).
            const oracle::products<T> back(meant, meant, T(1), &got.at(0, j), got.row_step, T{}, &c.at(0, j), 1,
                                           rows);
            for (std::int64_t i = 0; i < rows; ++i) {
                const auto at = static_cast<std::size_t>(i);
                const auto right = oracle::wide<T>(alpha) * oracle::wide<T>(b.at(i, j));
                const auto off = back.exact[at] - right;
                worst = std::max(worst, oracle::error_units(T{}, oracle::wide<T>(off),
                                                            back.gauge[at] + std::abs(right), back.terms[at] + 4));
            }
        }
        // A complex quotient loses some more.
        EXPECT_LE(worst, std::is_floating_point_v<T> ? 1 : p.solve() ? 4 : 2) << count << " threads";
    }
}

} // namespace vrn::test

extern "C" std::int32_t vrn_serv_check_ptr_and_warn(const void* block, const char*, ...)
{
    if (block == nullptr) ++vrn::test::warnings;
    return block == nullptr;
}
