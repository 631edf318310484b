// tests/blas/level2_test.cpp - dense level 2: every routine in every type over letters, sizes around each group and
// block, strides, leading dimensions and addresses. Results are held to the error bound of their sums; what may not
// be read is NaN, and what may not be written is watched.
#include "tests/blas/level2_support.hpp"

#include "blas/level2/functions.hpp"
#include "blas/level2/slices.hpp"

extern "C" std::int32_t vrn_serv_cbwr_get(std::int32_t which)
{
    ++vrn::test::cbwr_asked;
    return which == 1 ? vrn::test::cbwr_mode : 0;
}
// The host's entry as the solves call it.
extern "C" void vrn_blas_dgemv(const char* trans, const std::int64_t* m, const std::int64_t* n, const double* alpha,
                               const double* a, const std::int64_t* lda, const double* x, const std::int64_t* incx,
                               const double* beta, double* y, const std::int64_t* incy)
{
    ++vrn::test::dgemv_called;
    static auto* const gemv = vrn::test::level2<vrn::blas::gemv_function<double>>("dgemv");
    gemv(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

namespace vrn::test {
namespace {

template <class T>
struct Level2 : Gemm<T> {
    void SetUp() override
    {
        Gemm<T>::SetUp();
        cbwr_mode = 1, cbwr_asked = 0, dgemv_called = 0;
    }
};
TYPED_TEST_SUITE(Level2, AllTypes, );

struct size2 {
    vrn_int m, n;
};
// Around vectors, groups of 8, 4 and 2 columns, lines, and the blocks of 128 columns and 512 and 1000 rows.
constexpr size2 sizes[] = {{1, 1},  {2, 3},   {3, 2},  {4, 1},   {5, 9},   {8, 8},     {12, 5},  {13, 15},
                           {31, 4}, {17, 33}, {9, 50}, {511, 2}, {513, 6}, {1003, 13}, {7, 131}, {1001, 129}};
// Orders of square matrices: groups, and the blocks of 32, 64, 128 and 1000.
constexpr vrn_int orders[] = {1, 2, 3, 4, 5, 7, 8, 9, 12, 15, 31, 32, 33, 63, 64, 65, 67, 130, 200};

const setting2 variants[] = {
    {},
    {.beta = 0, .gap = 3},
    {.beta = 1, .gap = 1, .shift = 1},
    {.incx = 2, .incy = 1, .gap = 2, .shift = 1},
    {.incx = 1, .incy = -1, .gap = 1},
    {.incx = -3, .incy = 2, .beta = 0},
    {.alpha = 0, .beta = 2},
};

// body(setting) for every variant and every value of each given letter.
template <class Body>
void each(const char* uplos, const char* transes, const char* diags, Body body)
{
    for (setting2 s : variants)
        for (const char* u = uplos; *u; ++u)
            for (const char* t = transes; *t; ++t)
                for (const char* d = diags; *d; ++d) {
                    s.uplo = *u, s.trans = *t, s.diag = *d;
                    body(s);
                    if (::testing::Test::HasFailure()) {
                        ADD_FAILURE() << s;
                        return;
                    }
                }
}

// y is alpha sum_k a(i, k) b(k) + beta y0 for all i.
template <class T, class A, class B>
void expect_product(const vector<T>& y, vrn_int k, T alpha, A a, B b, T beta, unsigned seed)
{
    EXPECT_TRUE(y.place.intact());
    for (vrn_int i = 0; i < y.n; ++i) {
        const auto e = oracle::gemm<T>(
            k, alpha, [&](vrn_int kk) { return a(i, kk); }, b, beta, value<T>(i, 7, seed));
        ASSERT_LE(e.units(y[i]), sound<T>) << "element " << i << " of " << y.n << ": " << y[i] << " for " << e.exact;
    }
}

template <class T>
auto random_x(unsigned seed)
{
    return [seed](vrn_int i) { return value<T>(i, 7, seed); };
}

template <class T>
auto full()
{
    return [](vrn_int i, vrn_int j) { return value<T>(i, j, 1); };
}

TYPED_TEST(Level2, Gemv)
{
    using T = TypeParam;
    auto* gemv = level2_of<T, blas::gemv_function<T>>("gemv", "gemv");
    for (const size2 z : sizes)
        for (const int mode : {1, 2})
            each("L", "NTC", "N", [&](const setting2& s) {
                cbwr_mode = mode;
                const T alpha = scalar<T>(s.alpha), beta = scalar<T>(s.beta);
                const vrn_int m = z.m, n = z.n, lenx = s.trans == 'N' ? n : m, leny = s.trans == 'N' ? m : n;
                const auto a = dense<T>(content::full, s.uplo, m, n, s.gap, s.shift);
                if (s.alpha == 0) a.fill_nan();
                const vector<T> x(lenx, s.incx, s.alpha == 0 ? 0 : 2), y(leny, s.incy, s.beta == 0 ? 0 : 3, s.shift);
                gemv(&s.trans, &m, &n, &alpha, a.data(), &a.ld(), x.data(), &s.incx, &beta, y.data(), &s.incy);
                expect_product<T>(
                    y, lenx, alpha, [&](vrn_int i, vrn_int k) { return oracle::op<T>(s.trans, i, k, full<T>()); },
                    random_x<T>(2), beta, 3);
            });
    EXPECT_EQ(cbwr_asked > 0, letter<T> == 's');
}

// With incy zero the one element is multiplied as often as there are elements, as the published loop would.
TYPED_TEST(Level2, BetaOnOneElement)
{
    using T = TypeParam;
    auto* gemv = level2_of<T, blas::gemv_function<T>>("gemv", "gemv");
    const vrn_int n = 3, zero = 0, one = 1;
    const T none{};
    for (const T beta : {T(2), T(real<T>(0.7)), none}) {
        T y = T(3), expected = beta == none ? none : T(3) * beta * beta * beta;
        gemv("N", &n, &one, &none, nullptr, &n, nullptr, &one, &beta, &y, &zero);
        EXPECT_EQ(y, expected);
    }
}

TYPED_TEST(Level2, Ger)
{
    using T = TypeParam;
    using F = void(const vrn_int*, const vrn_int*, const T*, const T*, const vrn_int*, const T*, const vrn_int*, T*,
                   const vrn_int*);
    for (const char last : {'u', 'c'}) {
        auto* ger = level2_of<T, F>("ger", std::string("ger") + last);
        for (const size2 z : sizes)
            each("L", "N", "N", [&](const setting2& s) {
                const T alpha = scalar<T>(s.alpha);
                const auto a = dense<T>(content::full, s.uplo, z.m, z.n, s.gap, s.shift);
                const vector<T> x(z.m, s.incx, s.alpha == 0 ? 0 : 2, s.shift), y(z.n, s.incy, s.alpha == 0 ? 0 : 3);
                ger(&z.m, &z.n, &alpha, x.data(), &s.incx, y.data(), &s.incy, a.data(), &a.ld());
                EXPECT_TRUE(a.intact());
                EXPECT_TRUE(a.all([&](vrn_int i, vrn_int j, T got) {
                    const T yj = last == 'c' ? oracle::conjugate(value<T>(j, 7, 3)) : value<T>(j, 7, 3);
                    const auto e = oracle::gemm<T>(
                        1, alpha, [&](vrn_int) { return value<T>(i, 7, 2); }, [&](vrn_int) { return yj; }, T(1),
                        value<T>(i, j, 1));
                    return e.units(got) <= sound<T>;
                }));
            });
    }
}

template <class T>
using symv_function = void(const char*, const vrn_int*, const T*, const T*, const vrn_int*, const T*, const vrn_int*,
                           const T*, T*, const vrn_int*);

template <class T>
auto mirrored(char uplo)
{
    return [uplo](vrn_int i, vrn_int j) { return oracle::mirrored<T>(uplo, i, j, full<T>()); };
}

TYPED_TEST(Level2, Symv)
{
    using T = TypeParam;
    auto* symv = level2_of<T, symv_function<T>>("symv", "hemv");
    for (const vrn_int n : {1, 2, 3, 4, 5, 7, 8, 9, 13, 31, 50, 129, 1140})
        for (const int mode : {1, 0})
            each("LU", "N", "N", [&](const setting2& s) {
                if (n > 1000 && s.incx != -3) return; // staged rows in two blocks
                cbwr_mode = mode;
                const T alpha = scalar<T>(s.alpha), beta = scalar<T>(s.beta);
                const auto a = dense<T>(content::symmetric, s.uplo, n, n, s.gap, s.shift);
                if (s.alpha == 0) a.fill_nan();
                const vector<T> x(n, s.incx, s.alpha == 0 ? 0 : 2), y(n, s.incy, s.beta == 0 ? 0 : 3, s.shift);
                symv(&s.uplo, &n, &alpha, a.data(), &a.ld(), x.data(), &s.incx, &beta, y.data(), &s.incy);
                EXPECT_TRUE(s.alpha == 0 || unchanged(a, content::symmetric, s.uplo));
                expect_product<T>(y, n, alpha, mirrored<T>(s.uplo), random_x<T>(2), beta, 3);
            });
    EXPECT_EQ(cbwr_asked > 0, letter<T> == 's');
}

template <class T>
struct rank {
    using A = std::conditional_t<complex_type<T>, real<T>, T>; // alpha of her
    using one_function = void(const char*, const vrn_int*, const A*, const T*, const vrn_int*, T*, const vrn_int*);
    using two_function = void(const char*, const vrn_int*, const T*, const T*, const vrn_int*, const T*,
                              const vrn_int*, T*, const vrn_int*);
};

// One triangle of A after the update by x, or by x and y; x_2 (and y_2) are zero and their columns stay as they are.
template <class T>
void expect_rank(const matrix<T>& a, char uplo, bool two, T alpha)
{
    EXPECT_TRUE(a.intact());
    const auto x = [](vrn_int i) { return i == 2 ? T{} : value<T>(i, 7, 2); };
    const auto y = [](vrn_int i) { return i == 2 ? T{} : value<T>(i, 7, 3); };
    const auto right = [&](vrn_int i, vrn_int j, T got) {
        const T old = stored<T>(content::symmetric, uplo, i, j);
        if (!oracle::within(uplo, i, j)) return same_bits(got, old);
        if (complex_type<T> && i == j && std::imag(got) != 0) return false; // NaN before
        if (j == 2) return std::real(got) == std::real(old) && (i == j || same_bits(got, old));
        const T was = i == j ? T(std::real(old)) : old;
        // alpha x_i conj(y_j) + conj(alpha) y_i conj(x_j) as a product of depth two
        const T left[] = {alpha * x(i), oracle::conjugate(alpha) * y(i)};
        const T other[] = {oracle::conjugate(two ? y(j) : x(j)), oracle::conjugate(x(j))};
        auto e = oracle::gemm<T>(
            two ? 2 : 1, T(1), [&](vrn_int k) { return left[k]; }, [&](vrn_int k) { return other[k]; }, T(1), was);
        if (i == j) got = T(std::real(got)), e.exact = std::real(e.exact);
        e.k += 2; // rounding of left
        return e.units(got) <= sound<T>;
    };
    EXPECT_TRUE(a.all(right));
}

TYPED_TEST(Level2, RankUpdates)
{
    using T = TypeParam;
    using A = typename rank<T>::A;
    auto* one = level2_of<T, typename rank<T>::one_function>("syr", "her");
    auto* two = level2_of<T, typename rank<T>::two_function>("syr2", "her2");
    for (const vrn_int n : {1, 2, 3, 5, 8, 9, 18, 35, 67})
        for (const int mode : {1, 2})
            each("LU", "N", "N", [&](const setting2& s) {
                cbwr_mode = mode;
                const A real_alpha = static_cast<A>(s.alpha);
                const T alpha = scalar<T>(s.alpha);
                for (const bool both : {false, true}) {
                    const auto a = dense<T>(content::symmetric, s.uplo, n, n, s.gap, s.shift);
                    const vector<T> x(n, s.incx, 2, s.shift), y(n, s.incy, 3);
                    if (n > 2) x[2] = y[2] = T{};
                    if (both) two(&s.uplo, &n, &alpha, x.data(), &s.incx, y.data(), &s.incy, a.data(), &a.ld());
                    else one(&s.uplo, &n, &real_alpha, x.data(), &s.incx, a.data(), &a.ld());
                    EXPECT_TRUE(s.alpha != 0 || unchanged(a, content::symmetric, s.uplo));
                    if (s.alpha != 0) expect_rank(a, s.uplo, both, both ? alpha : T(real_alpha));
                }
            });
    EXPECT_EQ(cbwr_asked > 0, !complex_type<T>);
}

template <class T>
using trmv_function = void(const char*, const char*, const char*, const vrn_int*, const T*, const vrn_int*, T*,
                           const vrn_int*);

template <class T>
auto op_of_triangle(const setting2& s)
{
    const content what = s.diag == 'U' ? content::unit_triangle : content::triangle;
    return [s, what](vrn_int i, vrn_int k) {
        return oracle::op<T>(s.trans, i, k, [&](vrn_int r, vrn_int c) {
            return oracle::triangular<T>(s.uplo, s.diag, r, c,
                                         [&](vrn_int p, vrn_int q) { return stored<T>(what, s.uplo, p, q); });
        });
    };
}

TYPED_TEST(Level2, Triangular)
{
    using T = TypeParam;
    auto* trmv = level2_of<T, trmv_function<T>>("trmv", "trmv");
    auto* trsv = level2_of<T, trmv_function<T>>("trsv", "trsv");
    for (const vrn_int n : orders)
        each("LU", "NTC", "NU", [&](const setting2& s) {
            const content what = s.diag == 'U' ? content::unit_triangle : content::triangle;
            const auto a = dense<T>(what, s.uplo, n, n, s.gap, s.shift);
            // A unit diagonal with large elements beside it makes a solution that overflows.
            const double shrink = 1 / static_cast<double>(n);
            const auto logical = op_of_triangle<T>(s);
            const auto scaled = [&](vrn_int i, vrn_int k) {
                return i == k ? logical(i, k) : logical(i, k) * T(real<T>(shrink));
            };
            const matrix<T> small(n, n, n + s.gap, s.shift);
            small.fill([&](vrn_int i, vrn_int j) {
                const T e = stored<T>(what, s.uplo, i, j);
                return i == j || !oracle::within(s.uplo, i, j) ? e : e * T(real<T>(shrink));
            });
            const vector<T> x(n, s.incx, 2, s.shift), b(n, s.incx, 2, s.shift);
            trmv(&s.uplo, &s.trans, &s.diag, &n, a.data(), &a.ld(), x.data(), &s.incx);
            expect_product<T>(x, n, T(1), logical, random_x<T>(2), T{}, 2);
            dgemv_called = 0;
            trsv(&s.uplo, &s.trans, &s.diag, &n, small.data(), &small.ld(), b.data(), &s.incx);
            EXPECT_EQ(dgemv_called, letter<T> == 'd' ? (n - 1) / 32 : 0);
            EXPECT_TRUE(b.place.intact());
            EXPECT_TRUE(unchanged(a, what, s.uplo));
            // The computed solution solves a system whose elements differ by as many roundings as they met.
            for (vrn_int i = 0; i < n; ++i) {
                const auto e = oracle::gemm<T>(
                    n, T(1), [&](vrn_int k) { return scaled(i, k); }, [&](vrn_int k) { return b[k]; }, T{}, T{});
                ASSERT_LE(e.units(value<T>(i, 7, 2)), sound<T>) << "row " << i << " of " << n;
            }
        });
}

TYPED_TEST(Level2, BothProducts)
{
    using T = TypeParam;
    using F = void(const vrn_int*, const vrn_int*, const T*, const T*, const vrn_int*, const T*, const vrn_int*,
                   const T*, const vrn_int*, const T*, T*, const vrn_int*, T*, const vrn_int*);
    auto* gem2v = level2_of<T, F>("gem2vu", "gem2vc");
    const char trans = complex_type<T> ? 'C' : 'T';
    for (const size2 z : {size2{1, 1}, {3, 3}, {49, 4}, {50, 9}, {109, 7}, {110, 5}, {1003, 133}, {5, 2}})
        each("L", "N", "N", [&](setting2 s) {
            if (s.beta == 0) s.beta = 0.5; // a NaN would stay
            const T alpha = scalar<T>(s.alpha), beta = scalar<T>(s.beta);
            const auto a = dense<T>(content::full, s.uplo, z.m, z.n, s.gap, s.shift);
            if (s.alpha == 0) a.fill_nan();
            const vector<T> x(z.n, s.incx, 2), y(z.m, s.incy, 3), p(z.m, s.incx, 4, s.shift), q(z.n, s.incy, 5);
            gem2v(&z.m, &z.n, &alpha, a.data(), &a.ld(), x.data(), &s.incx, y.data(), &s.incy, &beta, p.data(),
                  &s.incx, q.data(), &s.incy);
            expect_product<T>(p, z.n, alpha, full<T>(), random_x<T>(2), beta, 4);
            expect_product<T>(
                q, z.m, alpha, [&](vrn_int i, vrn_int k) { return oracle::op<T>(trans, i, k, full<T>()); },
                random_x<T>(3), beta, 5);
        });
}

// A real matrix with complex vectors, with memory and without.
TYPED_TEST(Level2, Mixed)
{
    using T = TypeParam;
    if constexpr (complex_type<T>) {
        using R = real<T>;
        using F = void(const char*, const vrn_int*, const vrn_int*, const T*, const R*, const vrn_int*, const T*,
                       const vrn_int*, const T*, T*, const vrn_int*);
        const bool single = sizeof(R) == 4;
        const char* const name = single ? "SCGEMV" : "DZGEMV";
        auto* gemv = level2<F>(single ? "scgemv" : "dzgemv");
        for (const size2 z : sizes)
            each("L", "NTC", "N", [&](const setting2& s) {
                const T alpha = scalar<T>(s.alpha), beta = scalar<T>(s.beta);
                const vrn_int m = z.m, n = z.n, lenx = s.trans == 'N' ? n : m, leny = s.trans == 'N' ? m : n;
                for (long good = 0; good < 3; ++good) {
                    if (good < 2) host.refuse(good, good + 1);
                    else host.refuse(host.never, host.never);
                    const auto a = dense<R>(content::full, s.uplo, m, n, s.gap, s.shift);
                    const vector<T> x(lenx, s.incx, 2), y(leny, s.incy, s.beta == 0 ? 0 : 3, s.shift);
                    gemv(&s.trans, &m, &n, &alpha, a.data(), &a.ld(), x.data(), &s.incx, &beta, y.data(), &s.incy);
                    EXPECT_EQ(host.live, 0);
                    EXPECT_EQ(host.warnings, good < 2 && s.alpha != 0 ? 1 : 0);
                    EXPECT_STREQ(host.warnings > 0 ? host.warned.load() : name, name);
                    expect_product<T>(
                        y, lenx, alpha,
                        [&](vrn_int i, vrn_int k) { return s.trans == 'N' ? value<R>(i, k, 1) : value<R>(k, i, 1); },
                        random_x<T>(2), beta, 3);
                    if (m * n > 1000 && s.incx == 1) break; // once is enough for the large ones
                }
            });
    }
}

// The parts that threads do, put together as the host would.
TYPED_TEST(Level2, Slices)
{
    using T = TypeParam;
    if constexpr (!complex_type<T>) {
        auto* syr = level2_of<T, blas::syr_slice_function<T>>("syr_in_thread", "");
        auto* syr2 = level2_of<T, blas::syr2_slice_function<T>>("syr2_in_thread", "");
        auto* symv = level2_of<T, blas::symv_slice_function<T>>("symv_kernel", "");
        auto* trmv = level2_of<T, blas::trmv_slice_function<T>>("trmv_in_thread", "");
        const vrn_int n = 150, cuts[] = {0, 0, 1, 70, 83, n};
        const vrn_int one = 1;
        each("LU", "NT", "NU", [&](const setting2& s) {
            const T alpha = scalar<T>(s.alpha);
            const content what = s.diag == 'U' ? content::unit_triangle : content::triangle;
            const auto a = dense<T>(content::symmetric, s.uplo, n, n, s.gap), t = dense<T>(what, s.uplo, n, n, s.gap);
            const vector<T> x(n, s.incx, 2), y(n, s.incy, 3), product(n, 1, 9), triangular(n, 1, 9);
            for (vrn_int i = 0; i < n; ++i) product[i] = triangular[i] = T{};
            for (int c = 0; c < 5; ++c) {
                const vrn_int first = cuts[c], last = cuts[c + 1] - 1;
                const bool lower = s.uplo == 'L', transposed = s.trans == 'T';
                // What a slice does not reach stays NaN.
                const vector<T> p(n, 1, 0), q(n, 1, 0);
                symv(&s.uplo, &last, &first, &alpha, a.data(), &a.ld(), x.data(), &s.incx, p.data(), &n);
                trmv(&s.uplo, &s.trans, &s.diag, &n, t.data(), &t.ld(), x.data(), &s.incx, &first, &last, q.data());
                for (vrn_int i = 0; i < n; ++i) {
                    const bool some = first <= last, reached = some && (lower ? i >= first : i <= last);
                    const bool own = transposed ? some && i >= first && i <= last : reached;
                    ASSERT_EQ(same_bits(p[i], watched<T>()), !reached) << i;
                    ASSERT_EQ(same_bits(q[i], watched<T>()), !own) << i;
                    if (reached) product[i] += p[i];
                    if (own) triangular[i] += q[i];
                }
            }
            expect_product<T>(
                product, n + 5, alpha, [&](vrn_int i, vrn_int k) { return k < n ? mirrored<T>(s.uplo)(i, k) : T{}; },
                random_x<T>(2), T{}, 9);
            expect_product<T>(triangular, n, T(1), op_of_triangle<T>(s), random_x<T>(2), T{}, 9);
            x[2] = y[2] = T{};
            for (const bool two : {false, true}) {
                const auto b = dense<T>(content::symmetric, s.uplo, n, n, s.gap);
                for (int c = 0; c < 5; ++c) {
                    const vrn_int first = cuts[c], count = cuts[c + 1] - first;
                    if (two)
                        syr2(&s.uplo, &count, &alpha, x.data(), &s.incx, y.data(), &s.incy, b.data(), &b.ld(), &first,
                             &n);
                    else syr(&s.uplo, &count, &alpha, x.data(), &s.incx, b.data(), &b.ld(), &first, &n);
                }
                if (s.alpha != 0) expect_rank(b, s.uplo, two, alpha);
            }
        });
        (void)one;
    }
}

// The same numbers at other addresses: the same bits, but for the two bodies that may look at addresses, and there
// too once reproducibility is asked for. The leading dimension does not matter either.
TYPED_TEST(Level2, SameBitsAtAnyAddress)
{
    using T = TypeParam;
    auto* gemv = level2_of<T, blas::gemv_function<T>>("gemv", "gemv");
    auto* symv = level2_of<T, symv_function<T>>("symv", "hemv");
    const vrn_int n = 77, one = 1;
    const T alpha = scalar<T>(1.25), beta = scalar<T>(-0.5);
    for (const int mode : {2, 1})
        for (const char trans : {'N', 'T', 'C'}) {
            std::vector<T> first;
            int differ = 0;
            for (const int gap : {0, 1, 2, 3})
                for (const int shift : {0, 1, 2, 3}) {
                    cbwr_mode = mode;
                    const auto a = dense<T>(content::full, 'L', n, n, gap, shift),
                               h = dense<T>(content::symmetric, 'L', n, n, gap, 3 - shift);
                    const vector<T> x(n, 1, 2, gap), y(n, 1, 3, shift), p(n, 1, 3, shift);
                    gemv(&trans, &n, &n, &alpha, a.data(), &a.ld(), x.data(), &one, &beta, y.data(), &one);
                    symv("L", &n, &alpha, h.data(), &h.ld(), x.data(), &one, &beta, p.data(), &one);
                    std::vector<T> now;
                    for (vrn_int i = 0; i < n; ++i) now.push_back(y[i]), now.push_back(p[i]);
                    if (first.empty()) first = now;
                    differ += std::memcmp(first.data(), now.data(), now.size() * sizeof(T)) != 0;
                }
            EXPECT_EQ(differ > 0, mode == 1 && letter<T> == 's') << mode << trans;
        }
}

} // namespace
} // namespace vrn::test
