// tests/spblas/coo_test.cpp - every COO name, in both integer widths, against what its letters mean. Entries are
// added one after the other, so that products are held bit for bit to a walk of the definition.

#include "spblas/arguments.hpp"
#include "tests/spblas/support.hpp"
#include "tests/support/backend.hpp"

namespace {

using namespace vrn::test;
namespace oracle = vrn::oracle;
namespace arguments = vrn::spblas::arguments;
template <class T>
using entries = std::vector<oracle::entry<T>>;

struct CooProducts : SparseKernels {};
struct CooScratch : SparseKernels {};
struct CooSolves : SparseKernels {};
INSTANTIATE_TEST_SUITE_P(All, CooProducts, testing::ValuesIn(groups({"mv", "mm"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, CooScratch, testing::ValuesIn(groups({"mm"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, CooSolves, testing::ValuesIn(groups({"sv", "sm"})), group_name);

template <class T, class I>
struct coo_arrays {
    std::vector<T> val;
    std::vector<I> rowind, colind;
    coo_arrays(const entries<T>& all, int base)
    {
        for (const auto& e : all) {
            val.push_back(e.value);
            rowind.push_back(static_cast<I>(e.row + base));
            colind.push_back(static_cast<I>(e.col + base));
        }
    }
};

// What one call is given. Ranges are zero-based and exclude their end.
struct shape {
    std::int64_t m, k, n; // A is m by k, C has n columns
    std::int64_t from, to;
};

// What a kernel does not read is not there.
template <class T, class I>
void call_product(const stem& s, const std::string& name, const shape& p, const entries<T>& stored, T alpha,
                  const dense<T>& x, T beta, dense<T>& y)
{
    const coo_arrays<T, I> a(stored, s.base);
    const I first = static_cast<I>(p.from + 1), last = static_cast<I>(p.to), m = static_cast<I>(p.m);
    const I n = static_cast<I>(p.k), nnz = static_cast<I>(stored.size());
    const I ldb = static_cast<I>(x.ld), ldc = static_cast<I>(y.ld);
    const T* v = a.val.data();
    const I *i = a.rowind.data(), *j = a.colind.data();
    if (s.product == "mm")
        kernel<arguments::coo_mm_par<T, I>>(name)(&first, &last, &m, &n, &alpha, v, i, j, &nnz, x.data(), &ldb,
                                                  y.data(), &ldc, &beta);
    else if (s.mode == "seq")
        kernel<arguments::coo_mv_seq<T, I>>(name)(&m, &n, &alpha, v, i, j, &nnz, x.data(), y.data());
    else if (s.two_sided())
        kernel<arguments::coo_mv_par<T, I>>(name)(&first, &last, &m, &n, &alpha, v, i, j, nullptr, x.data(),
                                                  y.data());
    else
        kernel<arguments::coo_mv_par<T, I>>(name)(nullptr, nullptr, &m, &n, &alpha, v, i, j, &nnz, x.data(),
                                                  y.data());
}

template <class T>
void check_product(const stem& s, const shape& p, const entries<T>& a, T beta, std::mt19937_64& random)
{
    const bool matrix = s.product == "mm";
    dense<T> x(p.k, p.n, s.by_rows(), matrix ? 3 : 0), y(p.m, p.n, s.by_rows(), matrix ? 2 : 0);
    x.fill(random);
    if (beta != T{}) y.fill(random); // else full of NaN
    dense<T> y32 = y, want = y;
    const T alpha = random_number<T>(random);
    call_product<T, std::int64_t>(s, s.name, p, a, alpha, x, beta, y);
    call_product<T, std::int32_t>(s, s.narrow(), p, a, alpha, x, beta, y32);
    EXPECT_TRUE(y.same_bits(y32)) << "widths differ";

    entries<T> some = a;
    if (!matrix && s.two_sided() && s.mode == "par") some = {a.begin() + p.from, a.begin() + p.to};
    const entries<T> meant = oracle::defined(s.meaning(), some, 0, p.m);
    for (std::int64_t j = matrix ? p.from : 0; j < (matrix ? p.to : 1) && p.m > 0; ++j) {
        if (matrix)
            for (std::int64_t i = 0; i < p.m; ++i) want.at(i, j) = beta == T{} ? T{} : beta * want.at(i, j);
        oracle::add_in_order(meant, alpha, x.data() + j * x.col_step, x.row_step, want.data() + j * want.col_step,
                             want.row_step);
    }
    EXPECT_TRUE(y.same_bits(want)) << "not the definition's bits";
}

// Entries anywhere and some positions twice, in any order or row by row.
template <class T>
entries<T> pattern(std::int64_t m, std::int64_t k, std::int64_t count, bool sorted, std::mt19937_64& random)
{
    entries<T> a;
    auto below = [&](std::int64_t n) { return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(n)); };
    for (std::int64_t e = 0; e < count; ++e) {
        a.push_back({below(m), below(k), random_number<T>(random)});
        if (e % 3 == 0) a.back().col = std::min(a.back().row, k - 1);
        if (e % 7 == 6) a.back().row = a[a.size() - 2].row, a.back().col = a[a.size() - 2].col;
    }
    if (sorted) std::ranges::stable_sort(a, {}, &oracle::entry<T>::row);
    return a;
}

TEST_P(CooProducts, MeanTheirNames)
{
    const auto& [product, letter] = GetParam();
    with_type(letter, [&, product = product, letter = letter]<class T>(T) {
        std::mt19937_64 random(7);
        for (const stem& s : stems("coo", product, letter)) {
            if (s.arguments == "coo_mm_scratch") continue;
            for (const std::int64_t count : {0, 1, 2, 3, 50, 161})
                for (const std::int64_t n : {1, 2, 3, 4, 7, 8, 9, 16, 19, 37}) {
                    if (product == "mv" && n > 3) break;
                    SCOPED_TRACE(s.name + ", entries " + std::to_string(count) + ", columns " + std::to_string(n));
                    const bool matrix = product == "mm";
                    shape p{13, s.kind == 'g' ? std::int64_t{9} : 13, matrix ? n : 1, 0, matrix ? n : count};
                    if (p.to > 2 && n % 2 == 1) ++p.from, --p.to;
                    const auto a = pattern<T>(p.m, p.k, count, n % 3 == 0, random);
                    if (matrix) check_product(s, p, a, T{}, random);
                    check_product(s, p, a, matrix ? random_number<T>(random) : T(1), random);
                }
        }
    });
}

// The general product through the caller's scratch: work2 is added to, and returned by columns in work1.
TEST_P(CooScratch, MeansItsName)
{
    const char letter = std::get<1>(GetParam());
    with_type(letter, [&]<class T>(T) {
        std::mt19937_64 random(8);
        auto run = [&]<class I>(I, const std::string& name, std::int64_t rows, std::int64_t cols, std::int64_t n,
                                std::int64_t from, const entries<T>& stored, T alpha, const dense<T>& b,
                                dense<T> work2) {
            const coo_arrays<T, I> a(stored, 1);
            const I first = static_cast<I>(from + 1), last = static_cast<I>(n), m = static_cast<I>(rows);
            const I k = static_cast<I>(cols), nnz = static_cast<I>(stored.size()), ldb = static_cast<I>(b.ld);
            dense<T> work1(work2.rows, n, false, 0);
            kernel<arguments::coo_mm_scratch<T, I>>(name)(&first, &last, &m, &k, &alpha, a.val.data(),
                                                          a.rowind.data(), a.colind.data(), &nnz, b.data(), &ldb,
                                                          nullptr, nullptr, work1.data(), work2.data());
            return work1;
        };
        for (const stem& s : stems("coo", "mm", letter)) {
            if (s.arguments != "coo_mm_scratch") continue;
            for (std::int64_t n = 1; n <= 13; ++n)
                for (const std::int64_t cols : {5, 11}) {
                    const std::int64_t rows = 8, from = n == 13 ? 2 : 0;
                    SCOPED_TRACE(s.name + ", columns " + std::to_string(n));
                    const auto a = pattern<T>(rows, cols, 60 + n, n % 2 == 0, random);
                    dense<T> b(cols, n, false, 3), work2(std::max(rows, cols), n, true, 0);
                    b.fill(random), work2.fill(random);
                    dense<T> want(work2.rows, n, false, 0);
                    for (std::int64_t i = 0; i < work2.rows; ++i)
                        for (std::int64_t j = 0; j < n; ++j) want.at(i, j) = work2.at(i, j);
                    const T alpha = random_number<T>(random);
                    for (std::int64_t j = from; j < n; ++j)
                        oracle::add_in_order(a, alpha, &b.at(0, j), 1, &want.at(0, j), 1);
                    EXPECT_TRUE(run(std::int64_t{}, s.name, rows, cols, n, from, a, alpha, b, work2).same_bits(want));
                    EXPECT_TRUE(
                        run(std::int32_t{}, s.narrow(), rows, cols, n, from, a, alpha, b, work2).same_bits(want));
                }
        }
    });
}

template <class T, class I>
void call_solve(const stem& s, const std::string& name, const shape& p, const entries<T>& stored, dense<T>& y)
{
    const coo_arrays<T, I> a(stored, s.base);
    const I first = static_cast<I>(p.from + 1), last = static_cast<I>(p.to), m = static_cast<I>(p.m);
    const I nnz = static_cast<I>(stored.size()), ldc = static_cast<I>(y.ld);
    const T *v = a.val.data(), nan = nan_of<T>();
    const I *i = a.rowind.data(), *j = a.colind.data();
    if (s.product == "sv")
        kernel<arguments::coo_sv_seq<T, I>>(name)(&m, nullptr, &nan, v, i, j, &nnz, nullptr, y.data());
    else kernel<arguments::coo_sm_par<T, I>>(name)(&first, &last, &m, nullptr, &nan, v, i, j, &nnz, y.data(), &ldc);
}

// With all memory granted, and with each allocation in turn refused, which changes no bit.
template <class T>
void check_solve(const stem& s, const shape& p, int count, std::mt19937_64& random)
{
    entries<T> a = solvable<T>(s, p.m, count, random);
    const entries<T> meant = a;
    std::ranges::shuffle(a, random);
    // The last of two entries on the diagonal counts, in a triangle.
    if (s.kind == 't' && s.diagonal == 'n' && p.m > 3) a.insert(a.begin(), {2, 2, nan_of<T>()});
    dense<T> y(p.m, p.n, s.product == "sm" && s.by_rows(), 2);
    y.fill(random);
    const dense<T> before = y;
    call_solve<T, std::int64_t>(s, s.name, p, a, y);
    EXPECT_TRUE(y.unchanged_outside(before, 0, p.m, p.from, p.to)) << "written outside";
    EXPECT_TRUE(solves(s.meaning(), meant, T(1), before, y, p.from, p.to));

    const int needed = s.kind == 'd' ? 0 : s.diagonal == 'n' ? 5 : 4;
    for (int grants = 0; grants <= needed; ++grants) {
        heap = {};
        heap.grants = grants;
        dense<T> other = before;
        call_solve<T, std::int32_t>(s, s.narrow(), p, a, other);
        EXPECT_TRUE(other.same_bits(y)) << "with " << grants << " allocations";
        EXPECT_EQ(heap.live, 0);
        EXPECT_EQ(heap.alignment, needed == 0 ? 0 : 128);
        if (grants == needed) {
            EXPECT_EQ(heap.asked, needed);
        }
    }
}

TEST_P(CooSolves, MeanTheirNames)
{
    const auto& [product, letter] = GetParam();
    with_type(letter, [&, product = product, letter = letter]<class T>(T) {
        std::mt19937_64 random(9);
        for (const stem& s : stems("coo", product, letter))
            for (const std::int64_t m : {0, 1, 2, 40})
                for (const std::int64_t n : {1, 2, 3, 4, 7, 16, 21}) {
                    if (product == "sv" && n > 1) break;
                    SCOPED_TRACE(s.name + ", " + std::to_string(m) + " rows, " + std::to_string(n) + " columns");
                    check_solve<T>(s, {m, m, n, n > 2 ? 1 : 0, n > 4 ? n - 1 : n}, 7, random);
                }
    });
}

// What the others walk over is all there is.
TEST(CooNames, AreAllWritten)
{
    std::size_t count = 0;
    for (const auto& [product, letter] : groups({"mv", "mm", "sv", "sm"}))
        count += stems("coo", product, letter).size();
    EXPECT_EQ(count, 476u);
}

} // namespace
