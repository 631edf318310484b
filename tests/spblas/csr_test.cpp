// tests/spblas/csr_test.cpp - every CSR name, in both integer widths, against what its letters mean.

#include "spblas/arguments.hpp"
#include "tests/spblas/support.hpp"
#include "tests/support/backend.hpp"

namespace {

using namespace vrn::test;
using vrn::oracle::entry;
namespace oracle = vrn::oracle;
namespace arguments = vrn::spblas::arguments;
template <class T>
using entries = std::vector<entry<T>>;

using Csr = SparseKernels;
struct CsrProducts : Csr {};
struct CsrNests : Csr {};
struct CsrForeign : Csr {};
struct CsrSolves : Csr {};
struct CsrWorkspace : Csr {};

INSTANTIATE_TEST_SUITE_P(All, CsrProducts, testing::ValuesIn(groups({"mv", "mm"})), group_name);
INSTANTIATE_TEST_SUITE_P(Plain, CsrProducts, testing::Values(group{"gemv", 'd'}), group_name);
INSTANTIATE_TEST_SUITE_P(All, CsrNests, testing::ValuesIn(groups({"mm"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, CsrForeign, testing::ValuesIn(groups({"mv"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, CsrSolves, testing::ValuesIn(groups({"sv", "sm"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, CsrWorkspace, testing::ValuesIn(groups({"sm"})), group_name);

// What one call is given. Ranges are zero-based and exclude their end.
struct shape {
    std::int64_t m, k, n, n_told; // A is m by k, C has n columns; the argument n may say more
    std::int64_t from, to;
};

template <class T, class I>
void call_product(const stem& s, const std::string& name, const shape& p, const csr_arrays<T, I>& a, T alpha,
                  const dense<T>& x, T beta, dense<T>& y)
{
    const I first = static_cast<I>(p.from + 1), last = static_cast<I>(p.to), m = static_cast<I>(p.m);
    const I n = static_cast<I>(s.product == "mm" ? p.n_told : p.k), k = static_cast<I>(p.k);
    const I ldb = static_cast<I>(x.ld), ldc = static_cast<I>(y.ld);
    const T* v = a.val.data();
    const I *j = a.indx.data(), *b = a.pntrb.data(), *e = a.pntre.data();
    if (s.arguments == "csr_mv_par")
        kernel<arguments::csr_mv_par<T, I>>(name)(&first, &last, &m, &n, &alpha, v, j, b, e, x.data(), y.data(),
                                                  &beta);
    else if (s.arguments == "csr_mv_seq")
        kernel<arguments::csr_mv_seq<T, I>>(name)(&m, &n, &alpha, v, j, b, e, x.data(), y.data(), &beta);
    else if (s.arguments == "csr_mm_par")
        kernel<arguments::csr_mm_par<T, I>>(name)(&first, &last, &m, &n, &k, &alpha, v, j, b, e, x.data(), &ldb,
                                                  y.data(), &ldc, &beta);
    else if (s.arguments == "csr_mm_seq")
        kernel<arguments::csr_mm_seq<T, I>>(name)(&m, &n, &k, &alpha, v, j, b, e, x.data(), &ldb, y.data(), &ldc,
                                                  &beta);
    else // one pointer array: rows in order and without gaps
        kernel<arguments::csr_gemv_par<T, I>>(name)(&first, &last, &m, &k, &n, v, j, b, nullptr, x.data(), y.data());
}

// One call in both widths, held to the definition.
template <class T>
void check_product(const stem& s, const shape& p, const entries<T>& a, bool scattered, T alpha, T beta,
                   std::mt19937_64& random)
{
    const std::int64_t rows = s.transposes() ? p.k : p.m;
    const bool by_columns = s.product == "mm" && !(s.kind == 'g' && !s.transposes() && s.by_rows());
    const bool whole_y = s.product == "mv" && (s.two_sided() || s.transposes());
    dense<T> x(s.transposes() ? p.m : p.k, p.n, s.by_rows(), 3), y(rows, p.n, s.by_rows(), 2);
    if (s.product != "mm") x = dense<T>(x.rows, 1, false, 0), y = dense<T>(rows, 1, false, 0);
    x.fill(random);
    if (beta != T{}) y.fill(random); // else full of NaN
    const dense<T> before = y;
    dense<T> y32 = y;
    const csr_arrays<T, std::int64_t> a64(a, p.m, s.base, scattered);
    const csr_arrays<T, std::int32_t> a32(a, p.m, s.base, scattered);
    call_product<T, std::int64_t>(s, s.name, p, a64, alpha, x, beta, y);
    call_product<T, std::int32_t>(s, s.narrow(), p, a32, alpha, x, beta, y32);
    EXPECT_TRUE(y.same_bits(y32)) << "widths differ";

    const std::int64_t r0 = by_columns || whole_y ? 0 : p.from, r1 = by_columns || whole_y ? rows : p.to;
    const std::int64_t c0 = by_columns ? p.from : 0, c1 = by_columns ? p.to : y.cols;
    EXPECT_TRUE(y.unchanged_outside(before, r0, r1, c0, c1)) << "written outside";

    const std::int64_t e0 = by_columns ? 0 : p.from, e1 = by_columns ? p.m : p.to;
    const entries<T> meant = oracle::defined(s.meaning(), a, e0, e1);
    oracle::meaning all{s.op, s.two_sided() ? 's' : 'g', 'l', s.diagonal};
    entries<T> passed = oracle::defined(all, a, e0, e1);
    if (s.two_sided()) {
        all.triangle = 'u', all.diagonal = 'n';
        for (const auto& e : oracle::defined(all, a, e0, e1)) passed.push_back(e);
    }
    double worst = 0;
    for (std::int64_t c = c0; c < c1; ++c) {
        const oracle::products<T> want(meant, passed, alpha, &x.at(0, c), x.row_step, beta, &before.at(0, c),
                                       before.row_step, rows);
        for (std::int64_t r = r0; r < r1; ++r) worst = std::max(worst, want.units(r, y.at(r, c)));
    }
    EXPECT_LE(worst, std::is_floating_point_v<T> ? 1 : 2) << "far from the definition";
}

// Rows of the given lengths; columns anywhere, also twice.
template <class T>
entries<T> pattern(const std::vector<int>& lengths, std::int64_t m, std::int64_t k, std::mt19937_64& random)
{
    entries<T> a;
    for (std::int64_t i = 0; i < m && k > 0; ++i) {
        const int length = lengths[static_cast<std::size_t>(i) % lengths.size()];
        for (int e = 0; e < length; ++e)
            a.push_back(
                {i, static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(k)), random_number<T>(random)});
    }
    return a;
}

struct product_case {
    std::int64_t m, k;
    std::vector<int> lengths;
    const char* why;
};
const product_case product_cases[] = {
    {0, 3, {1}, "no rows"},
    {1, 1, {1}, "one element"},
    {1, 19, {40}, "one row, columns twice"},
    {17, 1, {1, 0, 3}, "one column"},
    {13, 9, {0, 1, 2, 3, 4, 5, 7, 8, 9}, "around the short trips"},
    {9, 21, {63, 64, 65, 0, 128, 130, 17}, "around the long trip"},
};
constexpr std::int64_t widths[] = {1, 2, 3, 7, 8, 13, 16, 24, 32, 37};

TEST_P(CsrProducts, MeanTheirNames)
{
    const auto& [product, letter] = GetParam();
    with_type(letter, [&, product = product, letter = letter]<class T>(T) {
        std::mt19937_64 random(7);
        for (const stem& s : stems("csr", product, letter))
            for (const product_case& c : product_cases)
                for (const std::int64_t n : widths) {
                    if (product != "mm" && n > 2) continue;
                    const bool square = s.kind != 'g', plain = product == "gemv";
                    shape p{c.m, square ? c.m : c.k, product == "mm" ? n : 1, n, 0, 0};
                    const auto a = pattern<T>(c.lengths, p.m, p.k, random);
                    const bool columns = product == "mm" && !(s.kind == 'g' && !s.transposes() && s.by_rows());
                    // The whole range, and for half of the widths a part of it.
                    p.to = columns ? p.n : p.m;
                    if (s.mode == "par" && n % 2 == 1 && p.to > 2) ++p.from, --p.to;
                    for (const bool keeps : {false, true}) {
                        SCOPED_TRACE(s.name + ", " + c.why + ", width " + std::to_string(n));
                        const T beta = keeps ? random_number<T>(random) : T{};
                        check_product(s, p, a, !plain && p.n % 3 != 0, plain ? T(1) : random_number<T>(random),
                                      plain ? T{} : beta, random);
                    }
                }
    });
}

// Large enough for all three nests of the product by columns: with 2 columns rows are outermost, with 9 in blocks.
TEST_P(CsrNests, MeanTheirNames)
{
    const char letter = std::get<1>(GetParam());
    with_type(letter, [&]<class T>(T) {
        std::mt19937_64 random(8);
        for (const stem& s : stems("csr", "mm", letter)) {
            if (s.by_rows() || s.kind != 'g' || s.transposes()) continue;
            for (const std::int64_t n : {2, 3, 9})
                for (const T beta : {T{}, T(-2)}) {
                    SCOPED_TRACE(s.name + ", columns " + std::to_string(n));
                    const shape p{331, 50, n, 5000, 0, n};
                    check_product(s, p, pattern<T>({9, 12, 10}, p.m, p.k, random), false, T(3), beta, random);
                }
        }
    });
}

// Rows that reach over more of B than a cache holds: columns then go one at a time, and B's rows are asked for ahead.
TEST_P(CsrNests, ReachFar)
{
    const char letter = std::get<1>(GetParam());
    with_type(letter, [&]<class T>(T) {
        std::mt19937_64 random(9);
        for (const stem& s : stems("csr", "mm", letter)) {
            if (s.kind != 'g' || s.transposes()) continue;
            SCOPED_TRACE(s.name);
            const shape p{300, 100000, 8, 8, 0, s.by_rows() ? 300 : 8};
            check_product(s, p, pattern<T>({7, 9, 12}, p.m, p.k, random), false, T(3), T(-2), random);
        }
    });
}

// Whether an entry that the class does not want may reach the result: it does where a kernel adds whole rows and
// takes back what does not belong, and must not where entries are chosen one by one.
TEST_P(CsrForeign, NaN)
{
    const char letter = std::get<1>(GetParam());
    with_type(letter, [&]<class T>(T) {
        for (const stem& s : stems("csr", "mv", letter)) {
            if (s.triangle == '_') continue;
            const bool lower = s.triangle == 'l';
            const T nan = nan_of<T>();
            const entries<T> a{{0, 0, T(1)}, {0, 1, lower ? nan : T(2)}, {1, 0, lower ? T(2) : nan}, {1, 1, T(1)}};
            const csr_arrays<T, std::int64_t> arrays(a, 2, s.base, false);
            dense<T> x(2, 1, false, 0), y(2, 1, false, 0);
            x.at(0, 0) = x.at(1, 0) = y.at(0, 0) = y.at(1, 0) = T(1);
            call_product<T, std::int64_t>(s, s.name, {2, 2, 1, 1, 0, 2}, arrays, T(1), x, T(1), y);
            const bool reached = std::isnan(std::abs(y.at(0, 0))) || std::isnan(std::abs(y.at(1, 0)));
            const bool chooses = (s.kind == 's' || s.kind == 'h') && s.diagonal == 'n';
            EXPECT_EQ(reached, !chooses) << s.name;
        }
    });
}

template <class T, class I>
void call_solve(const stem& s, const std::string& name, const shape& p, const csr_arrays<T, I>& a, I base, T alpha,
                dense<T>& y)
{
    const I first = static_cast<I>(p.from + 1), last = static_cast<I>(p.to), m = static_cast<I>(p.m);
    const I n = static_cast<I>(p.n), ldc = static_cast<I>(y.ld);
    if (s.product == "sv")
        kernel<arguments::csr_sv_seq<T, I>>(name)(&m, &alpha, a.val.data(), a.indx.data(), a.pntrb.data(),
                                                  a.pntre.data(), y.data());
    else
        kernel<arguments::csr_sm_par<T, I>>(name)(&first, &last, &m, &n, &alpha, a.val.data(), a.indx.data(),
                                                  a.pntrb.data(), a.pntre.data(), y.data(), &ldc, &base);
}

template <class T>
void check_solve(const stem& s, const shape& p, int count, int base, std::mt19937_64& random)
{
    const entries<T> a = solvable<T>(s, p.m, count, random);
    dense<T> y(p.m, p.n, s.product == "sm" && s.by_rows(), 2);
    y.fill(random);
    const dense<T> before = y;
    dense<T> y32 = y;
    // Formed into y by the caller, so that only the diagonal class reads it.
    const T alpha = s.kind == 'd' ? random_number<T>(random) : nan_of<T>();
    const csr_arrays<T, std::int64_t> a64(a, p.m, base, p.m % 3 != 0);
    const csr_arrays<T, std::int32_t> a32(a, p.m, base, p.m % 3 != 0);
    call_solve<T, std::int64_t>(s, s.name, p, a64, base, alpha, y);
    call_solve<T, std::int32_t>(s, s.narrow(), p, a32, base, alpha, y32);
    EXPECT_TRUE(y.same_bits(y32)) << "widths differ";
    EXPECT_TRUE(y.unchanged_outside(before, 0, p.m, p.from, p.to)) << "written outside";

    const T scale = s.kind == 'd' ? alpha : T(1);
    EXPECT_TRUE(solves(s.meaning(), a, scale, before, y, p.from, p.to));
}

TEST_P(CsrSolves, MeanTheirNames)
{
    const auto& [product, letter] = GetParam();
    with_type(letter, [&, product = product, letter = letter]<class T>(T) {
        std::mt19937_64 random(9);
        for (const stem& s : stems("csr", product, letter))
            for (const int base : {0, 1}) {
                if (product == "sv" && base != s.base) continue;
                auto check = [&](std::int64_t m, int count, std::int64_t n, std::int64_t from, std::int64_t to) {
                    SCOPED_TRACE(s.name + ", " + std::to_string(m) + " rows, " + std::to_string(n) + " columns");
                    check_solve<T>(s, {m, m, n, n, from, to}, count, base, random);
                };
                for (const std::int64_t m : {0, 1, 2, 40})
                    for (const std::int64_t n : {1, 2, 3, 4, 7, 16, 21}) {
                        if (product == "sv" && n > 1) break;
                        check(m, 9, n, n > 2 ? 1 : 0, n > 4 ? n - 1 : n);
                    }
                check(77, 40, 1, 0, 1);
                // Past one row block of either size, and the last block taking the rest.
                if (s.kind == 't') check(s.triangle == 'l' ? 20001 : 4001, 1, 1, 0, 1);
            }
    });
}

// Without its workspace a lower solve goes column by column, to the same solution.
TEST_P(CsrWorkspace, Refused)
{
    const char letter = std::get<1>(GetParam());
    with_type(letter, [&]<class T>(T) {
        std::mt19937_64 random(10);
        for (const stem& s : stems("csr", "sm", letter)) {
            const bool allocates = s.kind == 't' && s.triangle == 'l' && !s.transposes();
            for (const bool refuse : {false, true}) {
                heap = {};
                if (refuse) heap.grants = 0;
                SCOPED_TRACE(s.name);
                check_solve<T>(s, {33, 33, 9, 9, 1, 8}, 6, 1, random);
                EXPECT_EQ(heap.asked, allocates ? 2 : 0); // one in each width
                EXPECT_EQ(heap.size, allocates ? 9 * sizeof(T) : 0) << "one accumulator a column";
                EXPECT_EQ(heap.alignment, allocates ? 128 : 0);
                EXPECT_EQ(heap.live, 0);
            }
        }
    });
}

// The order of a row's sum: trips of 64 over 16 lanes (single: of 4 over 4), a fixed tree, the rest one by one.
template <class T>
T walked(const std::vector<T>& v, const std::vector<T>& x)
{
    constexpr std::size_t lanes = 16 / sizeof(T), sums = lanes == 2 ? 8 : 1, trip = lanes == 2 ? 64 : 4;
    T lane[sums * lanes]{};
    std::size_t k = 0;
    for (; k + trip <= v.size(); k += trip)
        for (std::size_t i = 0; i < trip; ++i) lane[i % (sums * lanes)] += v[k + i] * x[k + i];
    for (std::size_t half = sums / 2; half > 0; half /= 2)
        for (std::size_t i = 0; i < half * lanes; ++i) lane[i] += lane[i + half * lanes];
    for (std::size_t half = lanes / 2; half > 0; half /= 2)
        for (std::size_t i = 0; i < half; ++i) lane[i] += lane[i + half];
    T sum = lane[0];
    for (; k < v.size(); ++k) sum += v[k] * x[k];
    return sum;
}

template <class T>
struct CsrOrder : testing::Test {
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(CsrOrder, Reals);

TYPED_TEST(CsrOrder, RowSum)
{
    using T = TypeParam;
    std::mt19937_64 random(11);
    auto* mv = kernel<arguments::csr_mv_par<T, std::int64_t>>(
        sizeof(T) == 4 ? "vrn_spblas_s42_scsr0ng__c__mvout_par" : "vrn_spblas_s42_dcsr0ng__c__mvout_par");
    for (std::int64_t length = 0; length < 200; ++length) {
        std::vector<T> v(static_cast<std::size_t>(length)), x(v.size());
        for (T& e : v) e = random_number<T>(random);
        for (T& e : x) e = random_number<T>(random);
        std::vector<std::int64_t> indx(v.size());
        for (std::size_t k = 0; k < indx.size(); ++k) indx[k] = static_cast<std::int64_t>(k);
        // The row three times: neighbours of one size may go together, the last one goes alone.
        const std::int64_t one = 1, rows = 3, begin[3] = {}, end[3] = {length, length, length};
        const T alpha = 1, beta = 0;
        T y[3]{};
        mv(&one, &rows, &rows, &length, &alpha, v.data(), indx.data(), begin, end, x.data(), y, &beta);
        for (const T sum : y) EXPECT_EQ(sum, walked(v, x)) << length;
    }
}

} // namespace
