// tests/spblas/product_test.cpp - sparse-sparse products and sums, with whole numbers so that every order of
// summation gives the same value; orders that are promised, capacities, refused memory; partial vectors; ranges of
// diagonals.
#include "tests/spblas/blocks_support.hpp"

namespace {

using namespace vrn::test;

template <class P>
struct Product : testing::Test {
    using T = typename P::T;
    using I = typename P::I;
    using row = std::map<I, T>;
    std::mt19937_64 random{21};

    // One-based, columns of a row in any order unless sorted.
    struct csr {
        I m = 0, n = 0;
        std::vector<I> ia{1}, ja{};
        std::vector<T> a{};

        row of(I i) const
        {
            row r;
            for (auto k = ix(ia[ix(i)] - 1); k + 1 < ix(ia[ix(i + 1)]); ++k) r[ja[k]] += a[k];
            return r;
        }
    };
    csr sample(I m, I n, bool sorted)
    {
        csr s{m, n};
        for (I i = 0; i < m; ++i) {
            std::vector<I> line;
            for (I j = 1; j <= n; ++j)
                if (i % 4 != 3 && random() % static_cast<std::uint64_t>(n) < 5) line.push_back(j);
            if (!sorted) std::shuffle(line.begin(), line.end(), random);
            for (const I j : line) s.ja.push_back(j), s.a.push_back(small_number<T>(random));
            s.ia.push_back(static_cast<I>(s.ja.size()) + 1);
        }
        return s;
    }
    static csr transposed(const csr& a)
    {
        csr t{a.n, a.m};
        for (I j = 1; j <= a.n; ++j) {
            for (I i = 0; i < a.m; ++i)
                if (const row r = a.of(i); r.count(j) > 0) t.ja.push_back(i + 1), t.a.push_back(r.at(j));
            t.ia.push_back(static_cast<I>(t.ja.size()) + 1);
        }
        return t;
    }
    // The pattern's zeros stay: a column is there because some product named it.
    static std::vector<row> product(const csr& a, const csr& b)
    {
        std::vector<row> c(ix(a.m));
        for (I i = 0; i < a.m; ++i)
            for (const auto& [k, v] : a.of(i))
                for (const auto& [j, w] : b.of(k - 1)) c[ix(i)][j] += v * w;
        return c;
    }
    static std::vector<row> sum(const csr& a, T beta, const csr& b)
    {
        std::vector<row> c(ix(a.m));
        for (I i = 0; i < a.m; ++i) {
            c[ix(i)] = a.of(i);
            for (const auto& [j, w] : b.of(i)) c[ix(i)][j] += beta * w;
        }
        return c;
    }

    // All three requests of one operation on all rows, each capacity around the ends of rows, refused memory.
    // f(request, nzmax, result, info); `sorts` when rows come out in order.
    template <class F>
    void check(const std::vector<row>& want, I n, bool sorts, F&& f)
    {
        const auto m = static_cast<I>(want.size());
        csr c{m, n};
        c.ia.assign(want.size() + 1, -7);
        I info = 77, total = 0, nzmax = 0;
        f(I{1}, &nzmax, c, info);
        ASSERT_EQ(info, 0);
        std::vector<I> ends{1};
        for (I i = 0; i < m; ++i) {
            const auto size = static_cast<I>(want[ix(i)].size());
            EXPECT_EQ(c.ia[ix(i)], size) << "count of row " << i;
            total += size;
            ends.push_back(total + 1);
        }
        const auto place = ix(total) + 2;
        auto expect_rows = [&](I rows) {
            for (I i = 0; i < rows; ++i) {
                EXPECT_EQ(c.of(i), want[ix(i)]) << "row " << i;
                const auto from = c.ja.begin() + (ends[ix(i)] - 1);
                EXPECT_TRUE(!sorts || std::is_sorted(from, from + static_cast<std::ptrdiff_t>(want[ix(i)].size())));
            }
        };
        c.ia = ends, c.ja.assign(place, -7), c.a.assign(place, T(-7));
        f(I{2}, &nzmax, c, info);
        EXPECT_EQ(info, 0);
        expect_rows(m);
        EXPECT_EQ(c.ja[place - 2], -7) << "written behind";
        for (nzmax = total; nzmax >= 0; nzmax -= 1 + static_cast<I>(random() % 5)) {
            c.ia.assign(want.size() + 1, -7), c.ja.assign(place, -7), c.a.assign(place, T(-7));
            f(I{0}, &nzmax, c, info);
            const I row = static_cast<I>(std::upper_bound(ends.begin(), ends.end(), nzmax + 1) - ends.begin());
            EXPECT_EQ(info, nzmax == total ? 0 : row);
            EXPECT_EQ(c.ja[ix(nzmax)], -7) << "more than the capacity";
            c.ia.resize(ix(row));
            EXPECT_TRUE(std::equal(c.ia.begin(), c.ia.end(), ends.begin()));
            if (!sorts || info == 0) expect_rows(row - 1);
        }
        EXPECT_EQ(heap.live, 0);
        for (int good = 0;; ++good) {
            refuse_after(good);
            f(I{0}, &total, c, info);
            EXPECT_EQ(heap.live, 0);
            if (heap.asked <= good) break;
            EXPECT_EQ(info, -1);
        }
        refuse_after(-1);
    }
};
TYPED_TEST_SUITE(Product, NumbersAndWidths);

#define VRN_TYPES                                                                                                    \
    using T = typename TestFixture::T;                                                                               \
    using I = typename TestFixture::I;                                                                               \
    const I one = 1;                                                                                                 \
    (void)one

TYPED_TEST(Product, Multiply)
{
    VRN_TYPES;
    auto* plain = named<arguments::mcsr_notr, T, I>("?mcsr_notr");
    auto* linked = named<arguments::multcsr_tr, T, I>("?multcsr_tr");
    auto* copied = named<arguments::multcsr_trom, T, I>("?multcsr_trom");
    const I m = 13, k = 9, n = 17, none = 0, parts = 5;
    const auto a = this->sample(m, k, false), b = this->sample(k, n, false);
    const auto want = this->product(a, b);
    this->check(want, n, false, [&](I request, const I* nzmax, auto& c, I& info) {
        plain(&one, &m, &n, &request, nullptr, a.a.data(), a.ja.data(), a.ia.data(), b.a.data(), b.ja.data(),
              b.ia.data(), c.a.data(), c.ja.data(), c.ia.data(), nzmax, &none, nullptr, &info);
    });
    // transpose(A') with A' = transpose(A), rows in order where the linked form does not sort them itself.
    auto at = this->transposed(a);
    for (const I sort : {0, 1})
        this->check(want, n, false, [&](I request, const I* nzmax, auto& c, I& info) {
            auto rows = at;
            if (sort == 1) // any order will do then
                for (I i = 0; i < k; ++i) {
                    const auto from = rows.ia[ix(i)] - 1, to = rows.ia[ix(i + 1)] - 1;
                    std::reverse(rows.ja.begin() + from, rows.ja.begin() + to);
                    std::reverse(rows.a.begin() + from, rows.a.begin() + to);
                }
            linked(&k, &m, &n, &request, &sort, rows.a.data(), rows.ja.data(), rows.ia.data(), b.a.data(),
                   b.ja.data(), b.ia.data(), c.a.data(), c.ja.data(), c.ia.data(), nzmax, &info);
        });
    this->check(want, n, true, [&](I request, const I* nzmax, auto& c, I& info) {
        copied(&k, &m, &n, &request, &parts, at.a.data(), at.ja.data(), at.ia.data(), b.a.data(), b.ja.data(),
               b.ia.data(), c.a.data(), c.ja.data(), c.ia.data(), nzmax, &info);
    });
}

// Columns in the order of first touch; a range in the middle, filled in place; a start behind other rows.
TYPED_TEST(Product, FirstTouchAndRanges)
{
    VRN_TYPES;
    auto* plain = named<arguments::mcsr_notr, T, I>("?mcsr_notr");
    const std::vector<I> ia{1, 3, 4}, ja{2, 1, 2}, ib{1, 3, 6}, jb{4, 1, 3, 1, 2};
    const std::vector<T> a{T(2), T(3), T(4)}, b{T(1), T(2), T(3), T(4), T(5)};
    const I n = 4, last = 2, fill = 2, full = 0, start = 10;
    I info = 77;
    for (const I first : {1, 2}) {
        std::vector<I> ic{1, 5, -7}, jc(7, -7);
        std::vector<T> c(7, T(-7));
        plain(&first, &last, &n, &fill, nullptr, a.data(), ja.data(), ia.data(), b.data(), jb.data(), ib.data(),
              c.data(), jc.data(), ic.data(), nullptr, nullptr, nullptr, &info);
        EXPECT_EQ(jc, first == 1 ? (std::vector<I>{3, 1, 2, 4, 3, 1, 2}) : (std::vector<I>{-7, -7, -7, -7, 3, 1, 2}));
        EXPECT_EQ(c[4], T(12));
        EXPECT_EQ(c[1], first == 1 ? T(14) : T(-7));
    }
    std::vector<I> ic(3, -7), jc(17, -7);
    std::vector<T> c(17, T(-7));
    plain(&one, &last, &n, &full, nullptr, a.data(), ja.data(), ia.data(), b.data(), jb.data(), ib.data(), c.data(),
          jc.data(), ic.data(), nullptr, &start, nullptr, &info);
    EXPECT_EQ(ic, (std::vector<I>{11, 15, 18}));
    EXPECT_EQ(jc[9], -7);
}

// More than 8000 rows of C go in pieces, which a caller cannot tell from one.
TYPED_TEST(Product, Pieces)
{
    VRN_TYPES;
    auto* copied = named<arguments::multcsr_trom, T, I>("?multcsr_trom");
    const I m = 8003, k = 5, full = 0;
    typename TestFixture::csr a{m, m}, c{m, k};
    for (I i = 1; i <= m; ++i) a.ja.push_back(m + 1 - i), a.a.push_back(T(2)), a.ia.push_back(i + 1);
    auto b = this->sample(m, k, false);
    std::vector<std::vector<I>> seen;
    for (const I parts : {3, 4, 7})
        for (const bool fits : {true, false}) {
            const I total = b.ia.back() - 1, nzmax = fits ? total : total - 1;
            c.ia.assign(ix(m) + 1, -7), c.ja.assign(ix(total), -7), c.a.assign(ix(total), T(-7));
            I info = 77;
            heap.asked = 0;
            copied(&m, &m, &k, &full, &parts, a.a.data(), a.ja.data(), a.ia.data(), b.a.data(), b.ja.data(),
                   b.ia.data(), c.a.data(), c.ja.data(), c.ia.data(), &nzmax, &info);
            EXPECT_EQ(heap.asked, 3 + (parts >= 4 ? parts : 1));
            if (fits) {
                ASSERT_EQ(info, 0);
                for (I i = 0; i < m; ++i)
                    for (auto [j, v] : b.of(m - 1 - i)) ASSERT_EQ(c.of(i).at(j), T(2) * v);
            } else EXPECT_EQ(info, m - (b.of(0).empty() ? 1 : 0));
        }
}

TYPED_TEST(Product, Add)
{
    VRN_TYPES;
    auto* plain = named<arguments::mcsradd_notr, T, I>("?mcsradd_notr");
    auto* flipped = named<arguments::mcsradd_tr, T, I>("?mcsradd_tr");
    const I m = 14, n = 11;
    for (const T beta : {T(3), T(0)})
        for (const I sort : {0, 1, 2, 3}) {
            const auto a = this->sample(m, n, sort % 2 == 0), b = this->sample(m, n, sort < 2),
                       at = this->transposed(a);
            const auto want = this->sum(a, beta, b);
            this->check(want, n, true, [&](I request, const I* nzmax, auto& c, I& info) {
                auto x = a, y = b;
                plain(&one, &m, &request, &sort, x.a.data(), x.ja.data(), x.ia.data(), &beta, y.a.data(), y.ja.data(),
                      y.ia.data(), c.a.data(), c.ja.data(), c.ia.data(), nzmax, &info);
            });
            this->check(want, n, true, [&](I request, const I* nzmax, auto& c, I& info) {
                auto x = at, y = b;
                flipped(&n, &m, &request, &sort, x.a.data(), x.ja.data(), x.ia.data(), &beta, y.a.data(), y.ja.data(),
                        y.ia.data(), c.a.data(), c.ja.data(), c.ia.data(), nzmax, &info);
            });
            // A range counts rows from its first one in info.
            const I first = 3, full = 0, small = 1;
            auto x = a, y = b;
            std::vector<I> ic(ix(m) + 1, -7), jc(100);
            std::vector<T> c(100);
            I info = 77;
            plain(&first, &m, &full, &sort, x.a.data(), x.ja.data(), x.ia.data(), &beta, y.a.data(), y.ja.data(),
                  y.ia.data(), c.data(), jc.data(), ic.data(), &small, &info);
            EXPECT_EQ(ic[2], 1);
            I row = 0;
            for (std::size_t seen = 0; seen <= 1; ++row) seen += want[ix(row + 2)].size();
            EXPECT_EQ(info, row);
        }
}

TYPED_TEST(Product, Dense)
{
    VRN_TYPES;
    const I m = 15, k = 8, n = 6, ldc = 17;
    const auto a = this->sample(m, k, false), b = this->sample(k, n, false), at = this->transposed(a);
    const auto want = this->product(a, b);
    for (const bool flipped : {false, true}) {
        const I first = flipped ? 1 : 2, last = flipped ? k : m - 1;
        std::vector<T> c(ix(ldc * n), flipped ? T(1) : nan_of<T>());
        const auto before = c;
        if (flipped)
            named<arguments::csrmultd_ker_t, T, I>("?csrmultd_ker_t")(nullptr, &first, &last, &n, at.a.data(),
                                                                      at.ja.data(), at.ia.data(), b.a.data(),
                                                                      b.ja.data(), b.ia.data(), c.data(), &ldc);
        else
            named<arguments::csrmultd_ker, T, I>("?csrmultd_ker")(nullptr, &first, &last, &n, a.a.data(), a.ja.data(),
                                                                  a.ia.data(), b.a.data(), b.ja.data(), b.ia.data(),
                                                                  c.data(), &ldc);
        for (I i = 0; i < ldc; ++i)
            for (I j = 0; j < n; ++j) {
                const auto p = ix(i + j * ldc);
                if (i >= m || (!flipped && (i == 0 || i == m - 1)))
                    EXPECT_EQ(std::memcmp(&c[p], &before[p], sizeof(T)), 0);
                else {
                    const auto& r = want[ix(i)];
                    EXPECT_EQ(c[p], (r.count(j + 1) > 0 ? r.at(j + 1) : T{}) + T(flipped ? 1 : 0));
                }
            }
    }
}

TYPED_TEST(Product, Split)
{
    VRN_TYPES;
    for (const I n : {0, 1, 99, 100, 103}) {
        const I parts = 5, shift = 3, first_part = 2, stride = 104;
        std::vector<std::vector<T>> part(5, std::vector<T>(600));
        std::vector<const T*> list;
        for (auto& p : part) {
            for (T& e : p) e = small_number<T>(this->random);
            list.push_back(p.data());
        }
        auto expect = [&](auto&& f, I from, auto&& offset) {
            std::vector<T> y(ix(n) + 1, T(4)), want = y;
            for (std::size_t j = 0; j + 1 < y.size(); ++j)
                for (I p = from; p < parts; ++p) want[j] += part[ix(p)][ix(offset(p)) + j];
            f(y.data());
            EXPECT_EQ(y, want);
        };
        expect(
            [&](T* y) {
                named<arguments::split_par, T, I>("?split_par")(&parts, &n, &shift, nullptr, list.data(), y);
            },
            0, [&](I) { return shift; });
        expect(
            [&](T* y) {
                named<arguments::split_syml_par, T, I>("?split_syml_par")(&parts, &n, &first_part, nullptr,
                                                                          list.data(), y);
            },
            first_part, [&](I) { return n; });
        expect(
            [&](T* y) {
                named<arguments::split_symu_par, T, I>("?split_symu_par")(&n, &stride, &parts, nullptr, list.data(),
                                                                          y);
            },
            0, [&](I p) { return (parts - 1 - p) * stride; });
    }
}

template <class I>
struct Diagonals : testing::Test {
};
using Widths = testing::Types<std::int64_t, std::int32_t>;
TYPED_TEST_SUITE(Diagonals, Widths);

TYPED_TEST(Diagonals, Ranges)
{
    using I = TypeParam;
    struct row {
        const char* kind;
        std::vector<I> idiag, want; // strict and full ranges, flag
    };
    const row rows[] = {
        {"ln", {-3, -1, 0, 2}, {1, 2, 1, 3, 0}}, {"ln", {-3, -1}, {1, 2, 1, 3, -1}},
        {"ln", {-3, 2}, {1, 1, 1, 2, -1}},       {"lu", {-3, -1, 0, 2}, {1, 2, 1, 3, 0}},
        {"lu", {-3, 2}, {1, 2, 1, 2, 0}},        {"un", {-3, 0, 1, 2}, {3, 4, 2, 4, 0}},
        {"un", {-3, 0}, {2, 2, 2, 2, 0}},        {"un", {-3, 1, 2}, {3, 3, 2, 3, -1}},
        {"uu", {-3, 0, 1}, {3, 3, 2, 3, 0}},     {"uu", {-3, 0}, {3, 2, 2, 2, 0}},
    };
    for (const row& r : rows) {
        std::vector<I> got(5, -7);
        const I ndiag = static_cast<I>(r.idiag.size());
        named<arguments::find_diag_par, float, I>(std::string("find_diag_par_") + r.kind)(
            r.idiag.data(), &ndiag, &got[0], &got[1], &got[2], &got[3], &got[4]);
        EXPECT_EQ(got, r.want) << r.kind << " of " << ndiag;
    }
}

// 30001 rows are one block, 60001 two; a row begins with its diagonal, lacks it, or is empty.
TYPED_TEST(Diagonals, SymmetricProduct)
{
    using I = TypeParam;
    std::mt19937_64 random(2);
    for (const I m : {0, 1, 40, 30001, 60001}) {
        std::vector<I> ia{1}, ja;
        std::vector<double> a, x(ix(m)), y(x.size(), 2.0);
        for (double& e : x) e = small_number<double>(random);
        auto want = y;
        for (I i = 0; i < m; ++i) {
            for (I j = i + i % 2; i % 5 != 4 && j < std::min<I>(m, i + 12); j += 1) {
                ja.push_back(j + 1), a.push_back(small_number<double>(random));
                want[ix(i)] += a.back() * x[ix(j)];
                if (j != i) want[ix(j)] += a.back() * x[ix(i)];
            }
            ia.push_back(static_cast<I>(ja.size()) + 1);
        }
        named<arguments::dcsrsymmvs, double, I>("dcsrsymmvs")(&m, a.data(), ja.data(), ia.data(), x.data(), y.data());
        EXPECT_EQ(y, want);
    }
}

} // namespace
