// tests/spblas/bsr_test.cpp - BSR kernels, in both integer widths, against the elements that their blocks stand for.
#include "tests/spblas/blocks_support.hpp"

namespace {

using namespace vrn::test;
using vrn::oracle::entry;
namespace oracle = vrn::oracle;

// One block, its elements by rows whatever layout it is stored in.
template <class T>
struct block {
    std::int64_t i, j;
    std::vector<T> e;
};

template <class T>
struct block_matrix {
    std::int64_t mb, lb;
    std::vector<block<T>> blocks;

    // `lengths` blocks a row in turn, in ascending order, `with_diagonal` saying which rows have theirs.
    template <class F>
    block_matrix(std::int64_t rows, std::int64_t cols, std::int64_t side, const std::vector<int>& lengths,
                 std::mt19937_64& random, F&& with_diagonal)
        : mb(rows), lb(side)
    {
        for (std::int64_t i = 0; i < rows; ++i) {
            std::map<std::int64_t, bool> line;
            if (with_diagonal(i)) line[i] = true;
            for (int q = 0; q < lengths[ix(i) % lengths.size()]; ++q) {
                const auto j = static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(cols));
                if (j != i || with_diagonal(i)) line[j] = true;
            }
            for (const auto& [j, _] : line) {
                blocks.push_back({i, j, {}});
                for (std::int64_t q = 0; q < lb * lb; ++q) blocks.back().e.push_back(random_number<T>(random));
            }
        }
    }
    template <class F>
    void each(F&& f) // f(row, column, element)
    {
        for (auto& b : blocks)
            for (std::int64_t q = 0; q < lb * lb; ++q) f(b.i * lb + q / lb, b.j * lb + q % lb, b.e[ix(q)]);
    }
    std::vector<entry<T>> entries(std::int64_t from, std::int64_t to)
    {
        std::vector<entry<T>> all;
        each([&](auto r, auto c, T& e) {
            if (r >= from * lb && r < to * lb) all.push_back({r, c, e});
        });
        return all;
    }
};

// Arrays in either layout; for columns, block columns take the place of block rows.
template <class T, class I>
struct arrays {
    std::vector<T> val;
    std::vector<I> indx, pntr;

    arrays(const block_matrix<T>& a, std::int64_t base, bool by_rows, bool columns = false) : pntr{5}
    {
        for (std::int64_t line = 0; line < a.mb; ++line) {
            for (const auto& b : a.blocks) {
                if ((columns ? b.j : b.i) != line) continue;
                indx.push_back(static_cast<I>((columns ? b.i : b.j) + base));
                for (std::int64_t q = 0; q < a.lb * a.lb; ++q)
                    val.push_back(b.e[ix(by_rows ? q : q % a.lb * a.lb + q / a.lb)]);
            }
            pntr.push_back(static_cast<I>(indx.size()) + 5);
        }
    }
};

template <class T>
struct Bsr : testing::Test {
    std::mt19937_64 random{3};
};
TYPED_TEST_SUITE(Bsr, Numbers);

constexpr std::int64_t sides[] = {1, 2, 3, 4, 5, 6, 7, 9, 16};

TYPED_TEST(Bsr, Gemv)
{
    using T = TypeParam;
    for (const int base : {0, 1})
        for (const std::int64_t lb : sides) {
            block_matrix<T> a(9, 6, lb, {0, 1, 2, 3, 4, 5, 7}, this->random, [](std::int64_t i) { return i == 4; });
            dense<T> x(6 * lb, 1, false, 0), y(9 * lb, 1, false, 0);
            x.fill(this->random);
            for (const auto& range : {std::pair{0, 9}, {2, 5}, {3, 3}}) {
                const int from = range.first, to = range.second;
                SCOPED_TRACE("base " + std::to_string(base) + ", side " + std::to_string(lb));
                const auto got = in_both_widths(y, [&]<class I>(I, dense<T>& z) {
                    const arrays<T, I> s(a, base, base == 0);
                    const I first = from + 1, last = to, side = static_cast<I>(lb);
                    named<arguments::bsr_gemv_par, T, I>(base == 0 ? "?bsr0ng__c__gemvout_par"
                                                                   : "?bsr1ng__f__gemvout_par")(
                        &first, &last, nullptr, &side, nullptr, s.val.data(), s.indx.data(), s.pntr.data(), nullptr,
                        x.data(), z.data());
                });
                expect_product<T>({'n', 'g', '_', '_'}, a.entries(from, to), T(1), x, false, y, got, from * lb,
                                  to * lb);
            }
        }
}

// What the class must not read is NaN: blocks of the other triangle, and that of diagonal blocks.
template <class T>
void spoil(block_matrix<T>& a, bool lower, bool diagonal_too)
{
    a.each([&](auto r, auto c, T& e) {
        if ((lower ? c > r : c < r) || (diagonal_too && r == c)) e = nan_of<T>();
    });
}

TYPED_TEST(Bsr, SymmetricMv)
{
    using T = TypeParam;
    for (const std::string name :
         {"?bsr0nslnc__mvout_par", "?bsr0nsunc__mvout_par", "?bsr1nslnf__mvout_par", "?bsr1nsunf__mvout_par"})
        for (const std::int64_t lb : sides) {
            SCOPED_TRACE(name + ", side " + std::to_string(lb));
            const bool lower = name[7] == 'l';
            const int base = name[4] - '0';
            block_matrix<T> a(7, 7, lb, {3, 0, 2, 7}, this->random, [](std::int64_t i) { return i % 3 != 1; });
            spoil(a, lower, false);
            dense<T> x(7 * lb, 1, false, 0), y = x;
            x.fill(this->random), y.fill(this->random);
            const dense<T> before = y;
            const T alpha = random_number<T>(this->random);
            y = in_both_widths(before, [&]<class I>(I, dense<T>& z) {
                const arrays<T, I> s(a, base, base == 0);
                const I first = 2, last = 6, side = static_cast<I>(lb);
                named<arguments::bsr_mv_par, T, I>(name)(&first, &last, nullptr, &side, &alpha, s.val.data(),
                                                         s.indx.data(), s.pntr.data(), s.pntr.data() + 1, x.data(),
                                                         z.data());
            });
            expect_product<T>({'n', 's', name[7], 'n'}, a.entries(1, 6), alpha, x, true, before, y, 0, y.rows);
        }
}

struct dense_case {
    const char* kind;
    std::int64_t op;
    bool lower, stored;
    oracle::meaning real, complex;
};
std::vector<dense_case> dense_cases()
{
    std::vector<dense_case> all;
    for (const char* kind : {"gen", "diag"})
        for (const int op : {1, 0, 2}) {
            const oracle::meaning w{"tnc"[op], 'g', '_', '_'};
            all.push_back({kind, op, true, true, {op == 1 ? 'n' : 't', 'g', '_', '_'}, w});
        }
    for (const int op : {1, 0, 2})
        all.push_back({"skew", op, true, true, {op == 1 ? 'n' : 't', 'a', 'l', '_'}, {"tnc"[op], 'a', 'l', '_'}});
    for (const int op : {1, 0})
        for (const bool lower : {true, false})
            for (const bool stored : {true, false}) {
                const char triangle = lower ? 'l' : 'u', diagonal = stored ? 'n' : 'u';
                auto add = [&](const char* kind, char letter, char other) {
                    const oracle::meaning w{op == 1 ? 'n' : other, letter, triangle, diagonal};
                    all.push_back({kind, op, lower, stored, w, w});
                };
                add("tr", 't', 't'), add("sym", 's', 'c'), add("her", 'h', 't');
            }
    return all;
}

TYPED_TEST(Bsr, Dense)
{
    using T = TypeParam;
    for (const dense_case& c : dense_cases())
        for (const std::string prefix : {"", "cspblas_"})
            for (const std::int64_t lb : {1, 2, 3, 5, 9})
                for (const std::int64_t n : {1, 2, 5, 12}) {
                    const std::string kind = c.kind;
                    if (kind == "her" && !is_complex<T>) continue;
                    const oracle::meaning w = is_complex<T> ? c.complex : c.real;
                    SCOPED_TRACE(prefix + kind + " op " + std::to_string(c.op) + " side " + std::to_string(lb) +
                                 " columns " + std::to_string(n));
                    const bool by_rows = !prefix.empty();
                    const std::int64_t base = n % 2;
                    block_matrix<T> a(5, 5, lb, {2, 0, 5}, this->random, [](std::int64_t i) { return i != 3; });
                    if (w.kind != 'g') spoil(a, c.lower, !c.stored || w.kind == 'a');
                    auto stored = a.entries(0, 5);
                    if (kind == "diag") {
                        const auto beside = [&](const entry<T>& e) { return e.row / lb != e.col / lb; };
                        stored.erase(std::remove_if(stored.begin(), stored.end(), beside), stored.end());
                    }
                    dense<T> x(5 * lb, n, by_rows, 2), y(5 * lb, n, by_rows, 3);
                    x.fill(this->random), y.fill(this->random);
                    const dense<T> before = y;
                    const T alpha = random_number<T>(this->random);
                    y = in_both_widths(before, [&]<class I>(I, dense<T>& z) {
                        const arrays<T, I> s(a, base, by_rows);
                        const I op = static_cast<I>(c.op), uplo = c.lower, diag = c.stored, mb = 5,
                                side = static_cast<I>(lb);
                        const I cols = static_cast<I>(n), b = static_cast<I>(base), ldb = static_cast<I>(x.ld),
                                ldc = static_cast<I>(z.ld);
                        const I *j = s.indx.data(), *p = s.pntr.data();
                        const std::string name = prefix + "?bsrmm" + kind;
                        if (w.kind == 'g' || w.kind == 'a')
                            named<arguments::bsr_mm_whole, T, I>(name)(&op, &mb, &cols, &side, &alpha, s.val.data(),
                                                                       j, p, p + 1, x.data(), &ldb, z.data(), &ldc,
                                                                       &b);
                        else
                            named<arguments::bsr_mm_chosen, T, I>(name)(&op, &uplo, &diag, &mb, &cols, &side, &alpha,
                                                                        s.val.data(), j, p, p + 1, x.data(), &ldb,
                                                                        z.data(), &ldc, &b);
                    });
                    expect_product<T>(w, stored, alpha, x, true, before, y, 0, y.rows);
                }
}

// Four sweeps in both formats, layouts and diagonals. A unit diagonal needs no diagonal blocks.
TYPED_TEST(Bsr, Gauss)
{
    using T = TypeParam;
    for (int bits = 0; bits < 32; ++bits)
        for (const std::int64_t lb : {1, 2, 3, 5, 8}) {
            const bool forward = bits & 1, gather = bits & 2, unit = bits & 4, by_rows = bits & 8,
                       columns = bits & 16;
            const std::string name = std::string(columns ? "?bsc_" : "?bsr_") + (by_rows ? "cspblas_" : "") + "gauss";
            SCOPED_TRACE(name + " " + std::to_string(bits) + " side " + std::to_string(lb));
            block_matrix<T> a(6, 6, lb, {3, 1, 0, 6}, this->random,
                              [&](std::int64_t i) { return !unit || i % 3 == 0; });
            const bool lower = forward == gather;
            spoil(a, lower, unit);
            a.each(
                [&](auto r, auto c, T& e) { e = r == c ? e + T(unit ? 0 : 2) : e / T(static_cast<float>(3 * lb)); });
            dense<T> x(6 * lb, 1, false, 0);
            x.fill(this->random);
            const auto y = in_both_widths(x, [&]<class I>(I, dense<T>& z) {
                const arrays<T, I> s(a, lb % 2, by_rows, columns);
                const I direction = forward, orientation = gather, diag = !unit, count = 1, none = 0, mb = 6;
                const I side = static_cast<I>(lb), base = static_cast<I>(lb % 2);
                auto* f = named<arguments::bsr_gauss, T, I>(name);
                for (const I* times : {&none, &count})
                    f(&direction, times, &mb, &orientation, &side, s.val.data(), s.indx.data(), s.pntr.data(),
                      s.pntr.data() + 1, z.data(), &diag, &base);
            });
            EXPECT_TRUE(solves<T>({gather ? 'n' : 't', 't', lower ? 'l' : 'u', unit ? 'u' : 'n'}, a.entries(0, 6),
                                  T(1), x, y, 0, 1));
            EXPECT_TRUE(y.unchanged_outside(x, 0, x.rows, 0, 1)) << "written outside";
        }
}

// Elements of the diagonal block, or of the row's last block where there is none; an empty row is left alone.
TYPED_TEST(Bsr, InvDiag)
{
    using T = TypeParam;
    using I = std::int32_t;
    for (const std::string name : {"?bsr_invdiag", "?bsr_cspblas_invdiag"})
        for (const std::int64_t lb : {1, 3, 10}) {
            block_matrix<T> a(5, 5, lb, {2, 4, 0}, this->random, [](std::int64_t i) { return i < 2; });
            const arrays<T, I> s(a, 0, true);
            dense<T> y(5 * lb, 1, false, 0);
            y.fill(this->random);
            const dense<T> before = y;
            const I mb = 5, none = 0, count = 1, side = static_cast<I>(lb), shift = 1; // zero-based arrays
            auto* f = named<arguments::bsr_invdiag, T, I>(name);
            for (const I* times : {&none, &count})
                f(&mb, times, &side, s.val.data(), s.indx.data(), s.pntr.data(), s.pntr.data() + 1, y.data(), nullptr,
                  &shift);
            EXPECT_TRUE(y.unchanged_outside(before, 0, 5 * lb, 0, 1));
            for (std::int64_t i = 0; i < 5; ++i) {
                const block<T>* used = nullptr;
                for (const auto& b : a.blocks)
                    if (b.i == i && (used == nullptr || used->j != i)) used = &b;
                for (std::int64_t r = 0; r < lb; ++r) {
                    const auto divisor = oracle::wide<T>(used ? used->e[ix(r * (lb + 1))] : T(1));
                    const auto want = oracle::wide<T>(before.at(i * lb + r, 0)) / divisor;
                    EXPECT_LE(oracle::error_units(y.at(i * lb + r, 0), want, std::abs(want), 1),
                              is_complex<T> ? 4 : 2);
                }
            }
        }
}

} // namespace
