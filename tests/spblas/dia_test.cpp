// tests/spblas/dia_test.cpp - every DIA name, in both integer widths, against what its letters mean. Products are
// held bit for bit to a walk over tiles and diagonals, real solves to one over blocks of rows.

#include "spblas/arguments.hpp"
#include "tests/spblas/support.hpp"
#include "tests/support/backend.hpp"

namespace {

using namespace vrn::test;
namespace oracle = vrn::oracle;
namespace arguments = vrn::spblas::arguments;
template <class T>
using entries = std::vector<oracle::entry<T>>;
using offsets = std::vector<std::int64_t>;

struct DiaProducts : SparseKernels {};
struct DiaSolves : SparseKernels {};
INSTANTIATE_TEST_SUITE_P(All, DiaProducts, testing::ValuesIn(groups({"mv", "mm"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, DiaSolves, testing::ValuesIn(groups({"sv", "sm"})), group_name);

// Diagonals of an m by n matrix; NaN wherever a diagonal leaves it, and between diagonals.
template <class T>
struct diagonals {
    std::int64_t m, n, lval;
    offsets at;
    std::vector<T> val;

    diagonals(std::int64_t rows, std::int64_t cols, const offsets& d)
        : m(rows), n(cols), lval(rows + 2), at(d), val(static_cast<std::size_t>(lval) * d.size() + 1, nan_of<T>())
    {
    }
    T& value(std::size_t j, std::int64_t i)
    {
        return val[j * static_cast<std::size_t>(lval) + static_cast<std::size_t>(i)];
    }
    // Diagonal j in rows r0..r1-1 and columns c0..c1-1.
    entries<T> part(std::size_t j, std::int64_t r0, std::int64_t r1, std::int64_t c0, std::int64_t c1)
    {
        entries<T> a;
        for (std::int64_t i = std::max(r0, c0 - at[j]); i < std::min(r1, c1 - at[j]); ++i)
            a.push_back({i, i + at[j], value(j, i)});
        return a;
    }
    void fill(std::mt19937_64& random, T scale = T(1))
    {
        for (std::size_t j = 0; j < at.size(); ++j)
            for (const auto& e : part(j, 0, m, 0, n)) value(j, e.row) = random_number<T>(random) * scale;
    }
};

struct range {
    std::int64_t from, to; // columns, zero-based, `to` excluded
};

// What a kernel does not read is not there.
template <class T, class I>
void call_product(const stem& s, const std::string& name, const diagonals<T>& a, range columns, T alpha,
                  const dense<T>& x, dense<T>& y)
{
    const std::vector<I> at(a.at.begin(), a.at.end());
    const I first = static_cast<I>(columns.from + 1), last = static_cast<I>(columns.to), m = static_cast<I>(a.m);
    const I n = static_cast<I>(a.n), lval = static_cast<I>(a.lval), ndiag = static_cast<I>(at.size());
    const I ldb = static_cast<I>(x.ld), ldc = static_cast<I>(y.ld);
    if (s.product == "mv")
        kernel<arguments::dia_mv_par<T, I>>(name)(nullptr, nullptr, &m, &n, &alpha, a.val.data(), &lval, at.data(),
                                                  &ndiag, x.data(), y.data());
    else
        kernel<arguments::dia_mm_par<T, I>>(name)(&first, &last, &m, &n, &alpha, a.val.data(), &lval, at.data(),
                                                  &ndiag, x.data(), &ldb, nullptr, y.data(), &ldc);
}

// One column as the kernels have it: tiles of 20000 rows by 5000 columns of A, the last ones taking the rest;
// diagonals in turn; a whole diagonal before its mirror image.
template <class T>
void walk(const stem& s, diagonals<T>& a, T alpha, const T* x, T* y)
{
    if (s.diagonal == 'u')
        for (std::int64_t i = 0; i < a.m; ++i) y[i] += alpha * x[i];
    // Of the transpose, a lower matrix keeps what stands on the upper side.
    oracle::meaning w{s.op, s.kind, s.triangle, s.diagonal == 'n' ? 'n' : '_'};
    if (s.transposes()) w.triangle = w.triangle == 'l' ? 'u' : 'l';
    const bool tiled = s.kind != 'd';
    const std::int64_t rb = std::min<std::int64_t>(a.m, tiled ? 20000 : a.m), rt = a.m > 0 ? a.m / rb : 0;
    const std::int64_t cb = std::min<std::int64_t>(a.n, tiled ? 5000 : a.n), ct = a.n > 0 ? a.n / cb : 0;
    for (std::int64_t r = 0; r < rt; ++r)
        for (std::int64_t c = 0; c < ct; ++c)
            for (std::size_t j = 0; j < a.at.size(); ++j) {
                const auto terms = oracle::defined(
                    w, a.part(j, r * rb, r + 1 == rt ? a.m : (r + 1) * rb, c * cb, c + 1 == ct ? a.n : (c + 1) * cb),
                    0, a.m);
                const std::size_t sides = s.two_sided() && a.at[j] != 0 ? 2 : 1;
                for (std::size_t side = 0; side < sides; ++side)
                    for (std::size_t k = side; k < terms.size(); k += sides)
                        y[terms[k].row] += (alpha * terms[k].value) * x[terms[k].col];
            }
}

TEST_P(DiaProducts, MeanTheirNames)
{
    struct {
        std::int64_t m, n;
        offsets at;
        const char* why;
    } const cases[] = {
        {0, 0, {0}, "empty"},
        {1, 1, {0, 1, -1}, "one element"},
        {7, 12, {0, 9, -6, 11, 3, 12, -7, 3}, "wide, a diagonal twice, two that miss it"},
        {12, 7, {-11, 6, -2, 0}, "tall"},
        {53, 53, {1, 0, -1, 17, -17, -2, 2, 16, -16, 52, -52}, "more diagonals than are collected"},
        {613, 613, {0, 1, -30, 200}, "rows in several parts for many columns"},
        {20001, 20001, {4999, -4999, 0, 5000, -5000, 1, 20000}, "one row tile of all, around a column tile"},
        {45003, 45003, {-20000, 3, 0, 24000, -1, 39000}, "several tiles each way"},
    };
    const auto& [product, letter] = GetParam();
    with_type(letter, [&, product = product, letter = letter]<class T>(T) {
        std::mt19937_64 random(7);
        for (const stem& s : stems("dia", product, letter))
            for (const auto& c : cases) {
                std::int64_t m = c.m, n = c.n;
                if (s.kind != 'g') m = n = std::max(m, n);
                for (const std::int64_t width : {1, 3, 4, 6, 9}) {
                    if ((product == "mv" && width > 1) || (product == "mm" && m > 1000)) continue;
                    SCOPED_TRACE(s.name + ", " + c.why + ", columns " + std::to_string(width));
                    diagonals<T> a(m, n, c.at);
                    a.fill(random);
                    dense<T> x(s.transposes() ? m : n, width, false, 3), y(s.transposes() ? n : m, width, false, 2);
                    x.fill(random), y.fill(random);
                    dense<T> y32 = y, want = y;
                    const T alpha = random_number<T>(random);
                    const range columns{width > 3 ? 1 : 0, width};
                    call_product<T, std::int64_t>(s, s.name, a, columns, alpha, x, y);
                    call_product<T, std::int32_t>(s, s.narrow(), a, columns, alpha, x, y32);
                    EXPECT_TRUE(y.same_bits(y32)) << "widths differ";
                    for (std::int64_t j = columns.from; j < columns.to && m > 0; ++j)
                        walk(s, a, alpha, &x.at(0, j), &want.at(0, j));
                    EXPECT_TRUE(y.same_bits(want)) << "not the definition's bits";
                }
            }
    });
}

// A triangle's diagonals in order, with others around that are not to be read, and their places.
template <class T>
struct system {
    diagonals<T> a;
    std::int64_t first = 0, last = 0, main = 0;

    system(const stem& s, std::int64_t m, offsets distances, std::mt19937_64& random) : a(m, m, {})
    {
        offsets at{0};
        for (const std::int64_t d : distances) at.push_back(s.triangle == 'l' ? -d : d);
        if (s.kind == 't') at.push_back(s.triangle == 'l' ? 5 : -5);
        std::ranges::sort(at);
        a = diagonals<T>(m, m, at);
        a.fill(random, T(1) / T(static_cast<float>(distances.size() + 1)));
        for (std::size_t j = 0; j < at.size(); ++j) {
            const auto place = static_cast<std::int64_t>(j) + 1;
            if (at[j] == 0) main = place;
            else if (s.kind == 't' && (at[j] < 0) == (s.triangle == 'l'))
                first = first > 0 ? first : place, last = place;
            for (std::int64_t i = 0; i < m; ++i) {
                if (at[j] == 0) a.value(j, i) = s.diagonal == 'n' ? T(2) + a.value(j, i) : nan_of<T>();
                else if (s.kind != 't' || (at[j] < 0) != (s.triangle == 'l')) a.value(j, i) = nan_of<T>();
            }
        }
    }
    entries<T> all()
    {
        entries<T> e;
        for (std::size_t j = 0; j < a.at.size(); ++j)
            for (const auto& v : a.part(j, 0, a.m, 0, a.m)) e.push_back(v);
        return e;
    }
};

template <class T, class I>
void call_solve(const stem& s, const std::string& name, const system<T>& p, range columns, dense<T>& y)
{
    const diagonals<T>& a = p.a;
    const std::vector<I> at(a.at.begin(), a.at.end());
    const I first = static_cast<I>(columns.from + 1), last = static_cast<I>(columns.to), m = static_cast<I>(a.m);
    const I lval = static_cast<I>(a.lval), ndiag = static_cast<I>(at.size()), ldc = static_cast<I>(y.ld);
    const I dfirst = static_cast<I>(p.first), dlast = static_cast<I>(p.last), dmain = static_cast<I>(p.main);
    const I* main = s.diagonal == 'n' ? &dmain : nullptr;
    const T* v = a.val.data();
    if (s.arguments == "dia_sv_seq")
        kernel<arguments::dia_sv_seq<T, I>>(name)(&m, v, &lval, at.data(), y.data(), &dfirst, &dlast, nullptr, main);
    else if (s.arguments == "dia_sm_par")
        kernel<arguments::dia_sm_par<T, I>>(name)(&first, &last, &m, v, &lval, at.data(), nullptr, y.data(), &ldc,
                                                  &dfirst, &dlast, nullptr, main);
    else if (s.arguments == "dia_sv_diagonal")
        kernel<arguments::dia_sv_diagonal<T, I>>(name)(&m, v, &lval, at.data(), &ndiag, y.data());
    else kernel<arguments::dia_sm_diagonal<T, I>>(name)(&m, &last, v, &lval, at.data(), &ndiag, y.data(), &ldc);
}

// One column, block of rows after block of rows: divided, then carried on along each diagonal in turn.
template <class T>
void walk_solve(const stem& s, system<T>& p, T* y)
{
    diagonals<T>& a = p.a;
    const bool lower = s.triangle == 'l', up = lower == s.transposes();
    std::int64_t size = std::max<std::int64_t>(a.m, 1);
    if (p.last > 0) size = std::abs(a.at[static_cast<std::size_t>((lower ? p.last : p.first) - 1)]);
    const std::int64_t count = (a.m + size - 1) / size;
    for (std::int64_t block = 0; block < count; ++block) {
        const std::int64_t b0 = std::max<std::int64_t>(up ? a.m - (block + 1) * size : block * size, 0);
        const std::int64_t b1 = up ? a.m - block * size : std::min((block + 1) * size, a.m);
        for (std::int64_t i = b0; i < b1 && s.diagonal == 'n'; ++i)
            y[i] /= a.value(static_cast<std::size_t>(p.main - 1), i);
        for (auto j = static_cast<std::size_t>(p.first); p.last > 0 && j <= static_cast<std::size_t>(p.last); ++j)
            for (const auto& e : s.transposes() ? a.part(j - 1, b0, b1, 0, a.m) : a.part(j - 1, 0, a.m, b0, b1))
                y[s.transposes() ? e.col : e.row] -= e.value * y[s.transposes() ? e.row : e.col];
    }
}

TEST_P(DiaSolves, MeanTheirNames)
{
    const offsets distances[] = {{},      {1},          {1, 2, 30},    {1, 6, 7}, {3, 4, 9},
                                 {6, 13}, {64, 65, 90}, {70, 71, 300}, {500}};
    const auto& [product, letter] = GetParam();
    with_type(letter, [&, product = product, letter = letter]<class T>(T) {
        std::mt19937_64 random(9);
        for (const stem& s : stems("dia", product, letter))
            for (const offsets& d : distances)
                for (const std::int64_t m : {0, 1, 40, 333})
                    for (const std::int64_t n : {1, 4, 7}) {
                        if (product == "sv" && n > 1) break;
                        SCOPED_TRACE(s.name + ", " + std::to_string(m) + " rows, " + std::to_string(n) +
                                     " columns, nearest " + std::to_string(d.empty() ? 0 : d[0]));
                        system<T> p(s, m, d, random);
                        dense<T> y(m, n, false, 2);
                        y.fill(random);
                        const dense<T> before = y;
                        dense<T> y32 = y, want = y;
                        const range columns{s.mode == "par" && n > 4 ? 1 : 0, n};
                        call_solve<T, std::int64_t>(s, s.name, p, columns, y);
                        call_solve<T, std::int32_t>(s, s.narrow(), p, columns, y32);
                        EXPECT_TRUE(y.same_bits(y32)) << "widths differ";
                        EXPECT_TRUE(y.unchanged_outside(before, 0, m, columns.from, columns.to));
                        EXPECT_TRUE(solves(s.meaning(), p.all(), T(1), before, y, columns.from, columns.to));
                        // Complex division has its own order, so that real solves alone can be told to the bit.
                        if constexpr (std::is_floating_point_v<T>) {
                            for (std::int64_t j = columns.from; j < columns.to; ++j) walk_solve(s, p, &want.at(0, j));
                            EXPECT_TRUE(y.same_bits(want)) << "not the order of the blocks";
                        }
                    }
    });
}

// What the others walk over is all there is.
TEST(DiaNames, AreAllWritten)
{
    std::size_t count = 0;
    for (const auto& [product, letter] : groups({"mv", "mm", "sv", "sm"}))
        count += stems("dia", product, letter).size();
    EXPECT_EQ(count, 316u);
}

} // namespace
