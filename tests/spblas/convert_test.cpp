// tests/spblas/convert_test.cpp - conversions there and back, every rule of job, and the small services. Nothing here
// rounds, so everything is equal or wrong.
#include "tests/spblas/blocks_support.hpp"

#include <numeric>

namespace {

using namespace vrn::test;

template <class P>
struct Convert : testing::Test {
    using T = typename P::T;
    using I = typename P::I;
    std::mt19937_64 random{12};
    I info = 77;
    I one = 1;

    // Rows of 0 to 5 entries, in order unless shuffled; spare room behind the arrays, which must stay as it is.
    struct csr {
        I m, base;
        std::vector<I> ia, ja;
        std::vector<T> a;
        std::size_t count() const { return ix(ia.back() - ia[0]); }
        csr empty(I new_base) const
        {
            return {m, new_base, std::vector<I>(ia.size(), -3), std::vector<I>(ja.size() + 2, -3),
                    std::vector<T>(a.size() + 2, T(-3))};
        }
        bool operator==(const csr& o) const
        {
            return m == o.m && base == o.base && ia == o.ia &&
                   std::equal(ja.begin(), ja.begin() + static_cast<std::ptrdiff_t>(count()), o.ja.begin()) &&
                   std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(count()), o.a.begin());
        }
    };
    csr sample(I m, I base, char part = 'a', bool shuffled = false)
    {
        csr s{m, base, {base}, {}, {}};
        for (I i = 0; i < m; ++i) {
            std::vector<I> line;
            for (I j = 0; j < m; ++j)
                if (random() % static_cast<std::uint64_t>(m) < 4 && (part == 'a' || (part == 'l' ? j <= i : j >= i)))
                    line.push_back(j);
            if (shuffled) std::shuffle(line.begin(), line.end(), random);
            for (const I j : line) s.ja.push_back(j + base), s.a.push_back(small_number<T>(random));
            s.ia.push_back(static_cast<I>(s.ja.size()) + base);
        }
        return s;
    }
    static std::vector<T> dense_of(const csr& s, std::int64_t ld, bool by_rows, T fill = {})
    {
        std::vector<T> d(ix(ld * s.m), fill);
        for (std::int64_t i = 0; i < s.m; ++i)
            for (auto k = s.ia[ix(i)]; k < s.ia[ix(i + 1)]; ++k) {
                const auto at = ix(k - s.base);
                const std::int64_t j = s.ja[at] - s.base;
                d[ix(by_rows ? i * ld + j : i + j * ld)] = s.a[at];
            }
        return d;
    }
    void TearDown() override
    {
        EXPECT_EQ(heap.live, 0);
        refuse_after(-1);
    }
};
TYPED_TEST_SUITE(Convert, NumbersAndWidths);

#define VRN_TYPES                                                                                                    \
    using T [[maybe_unused]] = typename TestFixture::T;                                                              \
    using I = typename TestFixture::I;                                                                               \
    [[maybe_unused]] I& info = this->info

TYPED_TEST(Convert, Coo)
{
    VRN_TYPES;
    auto* f = named<arguments::csrcoo, T, I>("vrn_?csrcoo");
    for (const I m : {0, 1, 17})
        for (const I bases : {0, 1, 10, 11}) {
            auto s = this->sample(m, bases % 10);
            const I count = static_cast<I>(s.count()), coo_base = bases / 10;
            std::vector<I> rows(s.count() + 1, -3), cols = rows;
            std::vector<T> values(s.count() + 1, T(-3));
            const auto untouched = rows;
            I nnz = -3;
            auto to_coo = [&](I capacity, I arrays) {
                const I job[] = {0, s.base, coo_base, 0, capacity, arrays};
                f(job, &m, s.a.data(), s.ja.data(), s.ia.data(), &nnz, values.data(), rows.data(), cols.data(),
                  &info);
            };
            to_coo(count, 4);
            EXPECT_EQ(info, 2);
            to_coo(count - 1, 4);
            EXPECT_EQ(info, 1) << "the capacity comes first";
            EXPECT_EQ(nnz, -3);
            EXPECT_EQ(rows, untouched);
            to_coo(count, 1);
            EXPECT_EQ(cols, untouched);
            to_coo(count, 2);
            EXPECT_EQ(values, std::vector<T>(values.size(), T(-3)));
            to_coo(count, 3);
            EXPECT_EQ(info, 0);
            EXPECT_EQ(nnz, count);
            for (I i = 0, k = 0; i < m; ++i)
                for (; k < s.ia[ix(i + 1)] - s.base; ++k) {
                    const auto at = ix(k);
                    EXPECT_EQ(rows[at], i + coo_base);
                    EXPECT_EQ(cols[at], s.ja[at] - s.base + coo_base);
                    EXPECT_EQ(values[at], s.a[at]);
                }
            EXPECT_EQ(rows.back(), -3);

            // Back from any order: sorted where that is asked for, else in the order that entries come in.
            std::vector<std::size_t> order(s.count());
            std::iota(order.begin(), order.end(), 0);
            std::shuffle(order.begin(), order.end(), this->random);
            auto shuffled = [&](auto v) {
                auto w = v;
                for (std::size_t k = 0; k < order.size(); ++k) w[k] = v[order[k]];
                return w;
            };
            auto back = [&](I direction, I capacity, I what, auto& to, auto& r, auto& c, auto& v) {
                const I job[] = {direction, s.base, coo_base, 0, capacity, what};
                f(job, &m, to.a.data(), to.ja.data(), to.ia.data(), &nnz, v.data(), r.data(), c.data(), &info);
            };
            auto r = shuffled(rows), c = shuffled(cols);
            auto v = shuffled(values);
            auto got = s.empty(s.base);
            back(2, count, 0, got, r, c, v);
            EXPECT_EQ(info, 0);
            EXPECT_TRUE(got == s);
            got = s.empty(s.base);
            back(1, count, 1, got, r, c, v);
            EXPECT_EQ(got.ia, s.ia) << "pointers alone";
            EXPECT_EQ(got.ja, s.empty(s.base).ja);
            back(1, count, 2, got, rows, cols, values);
            EXPECT_TRUE(got == s) << "the rest, rows in order";
            if (count < 2) continue;
            got = s.empty(s.base);
            back(1, count - 1, 0, got, rows, cols, values);
            EXPECT_EQ(info, 1);
            EXPECT_EQ(got.a[s.count() - 2], s.a[s.count() - 2]) << "what was placed stays";
            EXPECT_EQ(got.a[s.count() - 1], T(-3));
            back(1, 0, 3, got, rows, cols, values);
            EXPECT_EQ(info, 0) << "no capacity asked for";
        }
}

TYPED_TEST(Convert, Csc)
{
    VRN_TYPES;
    auto* f = named<arguments::csrcsc, T, I>("vrn_?csrcsc");
    for (const I m : {0, 1, 19})
        for (const I to : {0, 1}) {
            auto s = this->sample(m, 1 - to, 'a', true), t = s.empty(to), back = s.empty(s.base);
            I job[] = {0, s.base, to, 0, 0, 0};
            f(job, &m, s.a.data(), s.ja.data(), s.ia.data(), t.a.data(), t.ja.data(), t.ia.data(), &info);
            EXPECT_EQ(info, 0);
            EXPECT_EQ(t.a, s.empty(to).a) << "the pattern alone";
            job[5] = 1;
            f(job, &m, s.a.data(), s.ja.data(), s.ia.data(), t.a.data(), t.ja.data(), t.ia.data(), &info);
            EXPECT_EQ(this->dense_of(s, m, true), this->dense_of(t, m, false));
            job[0] = 1, job[1] = to, job[2] = s.base;
            f(job, &m, back.a.data(), back.ja.data(), back.ia.data(), t.a.data(), t.ja.data(), t.ia.data(), &info);
            named<arguments::sortrow, T, I>("?sortrow")(&this->one, &m, s.ia.data(), s.ja.data(), s.a.data());
            EXPECT_TRUE(back == s) << "there and back sorts";
        }
}

TYPED_TEST(Convert, Dia)
{
    VRN_TYPES;
    auto* f = named<arguments::csrdia, T, I>("vrn_?csrdia");
    for (const I m : {0, 1, 13})
        for (const I digits : {0, 1, 10, 11})
            for (const I most : {0, 3, 25}) {
                auto s = this->sample(m, 1), rest = s.empty(0), back = s.empty(1);
                const I lval = m + 2;
                std::vector<I> idiag(26, 99);
                idiag[0] = 2, idiag[1] = -1, idiag[2] = 40; // the last one lies outside
                I ndiag = digits >= 10 ? most : std::min<I>(most, 3);
                const I given = ndiag;
                std::vector<T> adia(ix(lval * 26), T(-3));
                I job[] = {0, 1, 0, 0, 0, digits};
                auto convert = [&](auto& sparse) {
                    f(job, &m, sparse.a.data(), sparse.ja.data(), sparse.ia.data(), adia.data(), &lval, idiag.data(),
                      &ndiag, rest.a.data(), rest.ja.data(), rest.ia.data(), &info);
                };
                if (m > 0) {
                    refuse_after(0);
                    convert(s);
                    EXPECT_EQ(info, -1);
                    refuse_after(-1);
                }
                convert(s);
                EXPECT_EQ(info, 0);
                EXPECT_TRUE(m == 0 || heap.size == static_cast<std::uint64_t>(2 * m - 1) * sizeof(I));
                std::map<I, I> size;
                for (I i = 0; i < m; ++i)
                    for (I k = s.ia[ix(i)] - 1; k < s.ia[ix(i + 1)] - 1; ++k) ++size[s.ja[ix(k)] - 1 - i];
                if (digits >= 10) {
                    EXPECT_EQ(ndiag, std::min<I>(given, static_cast<I>(size.size())));
                    I least = m;
                    for (I j = 0; j < ndiag; ++j) {
                        EXPECT_TRUE(j == 0 || idiag[ix(j)] > idiag[ix(j - 1)]);
                        least = std::min(least, size.at(idiag[ix(j)]));
                        size.erase(idiag[ix(j)]);
                    }
                    for (const auto& [offset, count] : size) EXPECT_TRUE(ndiag == 0 || count <= least) << offset;
                }
                // The diagonals and the rest together are the matrix again.
                job[0] = 1, job[5] = 0;
                if (digits % 10 == 0) rest.ia.assign(rest.ia.size(), 0);
                convert(back);
                auto sum = this->dense_of(back, m, true), want = this->dense_of(s, m, true);
                const auto others = this->dense_of(rest, m, true);
                for (std::size_t k = 0; k < sum.size(); ++k) sum[k] += others[k];
                const auto dropped = digits % 10 == 0;
                for (std::size_t k = 0; k < sum.size(); ++k)
                    EXPECT_TRUE(sum[k] == want[k] || (dropped && sum[k] == T{})) << k;
                if (dropped) continue;
                job[5] = 1; // zeros stay
                back.ja.assign(700, 0), back.a.assign(700, T{});
                convert(back);
                I places = 0;
                for (I j = 0; j < ndiag; ++j) places += std::max<I>(0, m - std::abs(idiag[ix(j)]));
                EXPECT_EQ(back.ia.back() - 1, places);
            }
}

TYPED_TEST(Convert, Sky)
{
    VRN_TYPES;
    auto* f = named<arguments::csrsky, T, I>("vrn_?csrsky");
    for (const I m : {0, 1, 13})
        for (const I upper : {0, 1})
            for (const I base : {0, 1}) {
                auto whole = this->sample(m, 1), s = this->sample(m, 1, upper ? 'u' : 'l'), back = s.empty(1);
                std::vector<I> pntr(ix(m + 1), -3);
                std::vector<T> sky(200, T(-3));
                I job[] = {0, 1, base, upper, 0, 1};
                auto convert = [&](auto& c) {
                    f(job, &m, c.a.data(), c.ja.data(), c.ia.data(), sky.data(), pntr.data(), &info);
                };
                convert(whole);
                EXPECT_EQ(sky, std::vector<T>(200, T(-3))) << "pointers alone";
                convert(s);
                EXPECT_EQ(info, 0);
                EXPECT_EQ(pntr[0], base);
                job[5] = 0, job[4] = pntr.back() - base - 1;
                convert(s);
                EXPECT_EQ(info, 1) << "one place too few";
                EXPECT_EQ(sky[0], T(-3));
                ++job[4];
                convert(s);
                EXPECT_EQ(info, 0);
                // Entry by entry: a line ends with its diagonal, begins with an entry or is one place long.
                const auto d = this->dense_of(s, m, true);
                for (I i = 0; i < m; ++i) {
                    const I end = pntr[ix(i + 1)] - base, size = end - (pntr[ix(i)] - base);
                    EXPECT_TRUE(size == 1 || sky[ix(end - size)] != T{});
                    for (I j = 0; j <= i; ++j) {
                        const T want = d[ix(upper ? j * m + i : i * m + j)];
                        EXPECT_EQ(i - j < size ? sky[ix(end - 1 - (i - j))] : T{}, want);
                    }
                }
                EXPECT_EQ(sky[ix(job[4])], T(-3)) << "written behind";
                job[0] = 1;
                convert(back);
                EXPECT_TRUE(back == s);
            }
}

TYPED_TEST(Convert, Bsr)
{
    VRN_TYPES;
    auto* f = named<arguments::csrbsr, T, I>("vrn_?csrbsr");
    for (const I m : {0, 1, 12, 13})
        for (const I base : {0, 1})
            for (const I lb : {1, 2, 3, 5}) {
                const I mb = m > 0 ? (m - 1) / lb + 1 : 0, lval = lb * lb + base;
                auto s = this->sample(m, 1 - base, 'a', true);
                std::vector<I> iab(ix(mb + 1), -3), jab(200, -3);
                std::vector<T> absr(2000, T(-3));
                I job[] = {0, s.base, base, 0, 0, -1};
                auto convert = [&](I rows, I side, I distance, auto& c) {
                    f(job, &rows, &side, &distance, c.a.data(), c.ja.data(), c.ia.data(), absr.data(), jab.data(),
                      iab.data(), &info);
                };
                convert(m, 0, lval, s);
                EXPECT_EQ(info, 1);
                convert(m, lb, lb * lb - 1, s);
                EXPECT_EQ(info, 2);
                refuse_after(0);
                convert(m, lb, lval, s);
                EXPECT_EQ(info, -1);
                EXPECT_EQ(heap.size, static_cast<std::uint64_t>(mb) * 16);
                EXPECT_EQ(iab[0], -3);
                refuse_after(-1);
                convert(m, lb, lval, s);
                const auto counted = iab;
                EXPECT_EQ(jab[0], -3) << "counts alone";
                job[5] = 0;
                convert(m, lb, lval, s);
                EXPECT_EQ(heap.size, static_cast<std::uint64_t>(mb) * 8);
                EXPECT_EQ(absr[0], T(-3)) << "the pattern alone";
                job[5] = 1;
                convert(m, lb, lval, s);
                EXPECT_EQ(info, 0);
                EXPECT_EQ(iab, counted);
                auto d = this->dense_of(s, mb * lb + 1, true);
                d.resize(ix((mb * lb + 1) * mb * lb + 1));
                for (I i = 0; i < mb; ++i)
                    for (I k = iab[ix(i)] - base; k < iab[ix(i + 1)] - base; ++k) {
                        const I j = jab[ix(k)] - base;
                        EXPECT_TRUE(k == iab[ix(i)] - base || jab[ix(k - 1)] < jab[ix(k)]) << "order";
                        bool any = false;
                        for (I q = 0; q < lb * lb; ++q) {
                            const I r = base == 0 ? q / lb : q % lb, c = base == 0 ? q % lb : q / lb;
                            T& want = d[ix((i * lb + r) * (mb * lb + 1) + j * lb + c)];
                            EXPECT_EQ(absr[ix(k * lval + q)], want);
                            any = any || want != T{};
                            want = T{};
                        }
                        EXPECT_TRUE(any) << "an empty block";
                    }
                EXPECT_EQ(std::count(d.begin(), d.end(), T{}), static_cast<std::ptrdiff_t>(d.size()))
                    << "entries lost";
                // Back, filled up to whole blocks, in order.
                job[0] = 1;
                auto back = s.empty(s.base);
                back.ia.resize(ix(mb * lb + 1));
                convert(mb, lb, lval, back);
                EXPECT_EQ(info, 0);
                back.ia.resize(s.ia.size());
                named<arguments::sortrow, T, I>("?sortrow")(&this->one, &m, s.ia.data(), s.ja.data(), s.a.data());
                EXPECT_TRUE(back == s);
            }
}

TYPED_TEST(Convert, Dense)
{
    VRN_TYPES;
    auto* f = named<arguments::dnscsr, T, I>("vrn_?dnscsr");
    const I m = 11, ld = 13;
    for (const I n : {1, 7, 11})
        for (const I dense_base : {0, 1})
            for (const I part : {0, 1, 2}) {
                const bool by_rows = dense_base == 0;
                auto s = this->sample(m, 1, "lua"[part]);
                s.a.resize(s.count() + 1);
                auto narrow = s;
                narrow.ia = {1}, narrow.ja.clear(), narrow.a.clear();
                for (I i = 0; i < m; ++i) {
                    for (auto k = ix(s.ia[ix(i)] - 1); k < ix(s.ia[ix(i + 1)] - 1); ++k)
                        if (s.ja[k] <= n) narrow.ja.push_back(s.ja[k]), narrow.a.push_back(s.a[k]);
                    narrow.ia.push_back(static_cast<I>(narrow.ja.size()) + 1);
                }
                // The other triangle is not cleared; with nothing there it must not be read either.
                std::vector<T> d(ix(ld * ld), nan_of<T>());
                I job[] = {1, dense_base, 1, part, 0, 1};
                auto convert = [&](auto& c) {
                    f(job, &m, &n, d.data(), &ld, c.a.data(), c.ja.data(), c.ia.data(), &info);
                };
                convert(narrow);
                EXPECT_EQ(info, 0);
                const auto want = this->dense_of(narrow, ld, by_rows);
                for (I i = 0; i < ld; ++i)
                    for (I j = 0; j < ld; ++j) {
                        const auto at = ix(by_rows ? i * ld + j : i + j * ld);
                        const bool selected = i < m && j < n && (part == 2 || (part == 0 ? j <= i : j >= i));
                        if (selected) EXPECT_EQ(d[at], want[at]) << i << " " << j;
                        else EXPECT_TRUE(std::isnan(std::abs(d[at]))) << i << " " << j;
                    }
                if (s.count() > narrow.count()) {
                    I row = 0; // the first that names a column at or beyond n
                    while (s.ia[ix(row + 1)] == narrow.ia[ix(row + 1)]) ++row;
                    convert(s);
                    EXPECT_EQ(info, row + 1);
                }
                convert(narrow);
                auto back = narrow.empty(1);
                job[0] = 5, info = 77;
                convert(back);
                EXPECT_EQ(info, 0);
                job[0] = 0, job[4] = static_cast<I>(narrow.count()), job[5] = 0;
                convert(back);
                EXPECT_EQ(back.ia, narrow.ia);
                EXPECT_EQ(back.ja, narrow.empty(1).ja) << "ia alone";
                job[5] = 1;
                convert(back);
                EXPECT_EQ(info, 0);
                EXPECT_TRUE(back == narrow);
                if (--job[4] < 0) continue;
                I last = m - 1; // the row of the last entry, zero-based
                while (narrow.ia[ix(last)] == narrow.ia.back()) --last;
                convert(back);
                EXPECT_EQ(info, last);
            }
}

TYPED_TEST(Convert, Services)
{
    VRN_TYPES;
    const I one = 1, two = 2, m = 3;
    auto* sort = named<arguments::sortrow, T, I>("?sortrow");
    for (const I base : {0, 1}) {
        std::vector<I> ia{base, base + 3, base + 3, base + 7}, ja{9, 4, 9, 5, 5, 1, 7};
        std::vector<T> a{T(1), T(2), T(3), T(4), T(5), T(6), T(7)};
        sort(&one, &m, ia.data(), ja.data(), a.data());
        EXPECT_EQ(ja, (std::vector<I>{4, 9, 9, 1, 5, 5, 7}));
        EXPECT_EQ(a, (std::vector<T>{T(2), T(1), T(3), T(6), T(4), T(5), T(7)})) << "equal columns keep their order";
    }
    // Long rows with columns twice, whose values tell in which order they came.
    for (const std::size_t size : {std::size_t{40}, std::size_t{300}, std::size_t{1200}}) {
        const I long_row[] = {1, static_cast<I>(size + 1)};
        std::vector<I> columns(size);
        std::vector<T> came(size);
        for (std::size_t k = 0; k < size; ++k)
            columns[k] = static_cast<I>(k * 77 % (size / 2)), came[k] = T(static_cast<float>(k));
        sort(&one, &one, long_row, columns.data(), came.data());
        for (std::size_t k = 0; k < size; ++k) {
            EXPECT_EQ(columns[k], static_cast<I>(k / 2));
            EXPECT_EQ(std::real(came[k]),
                      std::real(came[k - k % 2]) + static_cast<float>(k % 2) * static_cast<float>(size / 2));
        }
    }
    // A range behind row 1 takes zero-based pointers for one-based ones.
    std::vector<I> ia{0, 2, 5}, ja{8, 7, 6, 5, 4};
    std::vector<T> a(5);
    sort(&two, &two, ia.data(), ja.data(), a.data());
    EXPECT_EQ(ja, (std::vector<I>{8, 5, 6, 7, 4}));

    T x = T(3);
    I flag = 7;
    auto* zero = named<arguments::zerocheck, T, I>("?zerocheck");
    zero(&x, &flag);
    EXPECT_EQ(flag, 1);
    named<arguments::neones, T, I>("?neones")(&x);
    EXPECT_EQ(x, T(-3));
    named<arguments::ones, T, I>("?ones")(&x);
    EXPECT_EQ(x, T(1));
    x = T{};
    zero(&x, &flag);
    EXPECT_EQ(flag, 0);

    std::vector<T> v(4, T(5));
    named<arguments::zeros, T, I>("?zeros")(v.data(), &m);
    EXPECT_EQ(v, (std::vector<T>{T{}, T{}, T{}, T(5)}));
    const T from[] = {T(1), T(2), nan_of<T>(), T(3), T(4), nan_of<T>()};
    for (const int scale : {0, 1, 3}) {
        std::vector<T> to(8, T(9));
        const T s(static_cast<float>(scale));
        const I ldfrom = 3, ldto = 4;
        named<arguments::matcopy, T, I>("?matcopy")(&two, &two, &s, scale == 0 ? from + 2 : from, &ldfrom, to.data(),
                                                    &ldto);
        EXPECT_EQ(to, (std::vector<T>{s, T(2) * s, T(9), T(9), T(3) * s, T(4) * s, T(9), T(9)}));
    }
    const std::string prefix = sizeof(I) == 8 ? "vrn_spblas_s42_" : "vrn_spblas_lp64_s42_";
    auto* allocate = kernel<arguments::spmalloc>(prefix + "spmalloc");
    EXPECT_EQ(allocate(0), nullptr);
    void* p = allocate(1000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 128, 0u);
    kernel<arguments::spfree>(prefix + "spfree")(&p);
}

} // namespace
