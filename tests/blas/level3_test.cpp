// tests/blas/level3_test.cpp - the triangular and symmetric level 3 against its definitions: letters, sizes around
// every threshold, factors, failing memory. What a routine may not read is NaN, what it may not write is watched.

#include "tests/blas/gemm_support.hpp"
#include "tests/oracle/level3.hpp"
#include "vrn/service.h"

#include <algorithm>
#include <dlfcn.h>
#include <functional>
#include <vector>

using namespace vrn::test;
using vrn::oracle::filling;

namespace {

template <class T>
struct Level3 : Gemm<> {
};
TYPED_TEST_SUITE(Level3, AllTypes);

template <class T>
constexpr bool complex_type = !std::is_same_v<T, real<T>>;
// Complex sums of products have twice the bound.
template <class T>
constexpr double allowed = complex_type<T> ? 2 : 1;

template <class T>
std::string name(const std::string& routine)
{
    const std::string four = letter<T> + routine, exported = "vrn_blas_s42_";
    return exported + (routine.ends_with("_pst") || routine.ends_with("_4k") ? four : "x" + four);
}
// Through the public entries, with their threads, in the place of the kernels.
bool through_host = false;
// All arguments are pointers: one signature for every count of them.
template <class T, class... Args>
void call(const std::string& routine, const Args*... args)
{
    using function = void(const Args*...);
    const std::string entry = std::string("vrn_blas_") + letter<T> + routine;
    if (through_host) reinterpret_cast<function*>(dlsym(RTLD_DEFAULT, entry.c_str()))(args...);
    else kernel<function>(name<T>(routine))(args...);
}

// A digest of what the last routine wrote: FNV-1a.
std::uint64_t bits;
template <class T>
void digest(const matrix<T>& m)
{
    bits = 0xcbf29ce484222325u;
    m.all([](vrn_int, vrn_int, const T& x) {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, &x, sizeof(T));
        for (const unsigned char byte : bytes) bits = (bits ^ byte) * 0x100000001b3u;
        return true;
    });
}

struct options {
    std::string letters;
    vrn_int m, n, k;
    double alpha, beta;
    friend std::ostream& operator<<(std::ostream& out, const options& o)
    {
        return out << o.letters << ' ' << o.m << " x " << o.n << " x " << o.k << ", " << o.alpha << ", " << o.beta;
    }
};

// Set where only the digest is wanted.
bool unchecked = false;

// Of many elements every 13th is looked at.
template <class Check>
testing::AssertionResult sampled(vrn_int rows, vrn_int columns, vrn_int work, double limit, Check&& units)
{
    if (unchecked) return testing::AssertionSuccess();
    const vrn_int step = work < 1 << 16 ? 1 : 13;
    for (vrn_int at = 0; at < rows * columns; at += step)
        if (const double u = units(at % rows, at / rows); !(u <= limit))
            return testing::AssertionFailure() << u << " units at " << at % rows << ", " << at / rows << ": ";
    return testing::AssertionSuccess();
}

// A stored triangle. Off the diagonal small enough for solutions not to grow.
template <class T>
matrix<T> triangle(vrn_int n, bool upper, filling f, unsigned seed)
{
    matrix<T> a(n, n, n + 3);
    a.fill([&](vrn_int i, vrn_int j) {
        const T v = value<T>(i, j, seed);
        if (i != j) return (i < j) == upper ? v * real<T>(4) / real<T>(n + 4) : watched<T>();
        if (f == filling::unit) return watched<T>();
        if constexpr (complex_type<T>)
            if (f == filling::hermitian) return T(v.real(), std::numeric_limits<real<T>>::quiet_NaN());
        return f == filling::triangular ? v / real<T>(2) + real<T>(1.5) : v;
    });
    return a;
}
template <class T>
matrix<T> general(vrn_int rows, vrn_int columns, unsigned seed)
{
    matrix<T> a(rows, columns, rows + 3);
    a.fill(seed);
    return a;
}

// op(A) X = alpha B or X op(A) = alpha B, or the product of the two. letters: side, uplo, trans, diag.
template <class T>
testing::AssertionResult triangular(const std::string& routine, const options& o)
{
    const bool left = o.letters[0] == 'L', upper = o.letters[1] == 'U', solve = routine == "trsm";
    const filling f = o.letters[3] == 'U' ? filling::unit : filling::triangular;
    const vrn_int order = left ? o.m : o.n;
    const T alpha(o.alpha);
    matrix<T> a = triangle<T>(order, upper, f, 1);
    if (o.alpha == 0) a.fill_nan();
    const matrix<T> b = general<T>(o.m, o.n, 2), x = general<T>(o.m, o.n, 2);
    if (o.alpha == 0) x.fill_nan();
    const char* l = o.letters.c_str();
    call<T>(routine, l, l + 1, l + 2, l + 3, &o.m, &o.n, &alpha, a.data(), &a.ld(), x.data(), &x.ld());
    digest(x);
    if (!a.intact() || !x.intact()) return testing::AssertionFailure() << "written outside: " << o;
    const auto t = [&](vrn_int i, vrn_int j) {
        const auto whole = [&](vrn_int r, vrn_int c) { return vrn::oracle::element_of<T>(f, upper, a, r, c); };
        return vrn::oracle::op<T>(l[2], whole, i, j);
    };
    const auto check = [&](vrn_int i, vrn_int j) -> double {
        if (alpha == T{}) return x(i, j) == T{} ? 0 : HUGE_VAL;
        const auto row = [&](vrn_int k) { return left ? t(i, k) : t(k, j); };
        const auto of = [&](const matrix<T>& y) { return [&, i, j](vrn_int k) { return left ? y(k, j) : y(i, k); }; };
        if (solve) return vrn::oracle::residual_units<T>(order, row, of(x), alpha, b(i, j));
        return vrn::oracle::gemm<T>(order, alpha, row, of(b), T(0), T(0)).units(x(i, j));
    };
    return sampled(o.m, o.n, o.m * o.n * order, allowed<T>, check) << routine << ' ' << o;
}

// One triangle of C := sum over the terms of alpha x(i, k) y(k, j), + beta C.
template <class T, class X, class Y>
testing::AssertionResult one_triangle(const matrix<T>& c, bool upper, bool hermitian, vrn_int depth, T alpha, X&& x,
                                      Y&& y, T beta)
{
    digest(c);
    if (!c.intact()) return testing::AssertionFailure() << "written outside: ";
    return sampled(c.rows(), c.rows(), c.rows() * c.rows() * depth, allowed<T>, [&](vrn_int i, vrn_int j) -> double {
        if (i != j && (i < j) != upper) return same_bits(c(i, j), watched<T>()) ? 0 : HUGE_VAL;
        T old = value<T>(i, j, 3);
        if (hermitian && i == j) {
            if (std::imag(c(i, j)) != 0) return HUGE_VAL;
            old = std::real(old);
        }
        return vrn::oracle::gemm<T>(
                   depth, alpha, [&](vrn_int k) { return x(i, k); }, [&](vrn_int k) { return y(k, j); }, beta, old)
            .units(c(i, j));
    });
}
template <class T>
matrix<T> updated(vrn_int n, bool upper, bool hermitian, double beta)
{
    matrix<T> c = triangle<T>(n, upper, filling::symmetric, 3);
    c.fill([&](vrn_int i, vrn_int j) {
        const T v = value<T>(i, j, 3);
        if ((i != j && (i < j) != upper) || beta == 0) return watched<T>();
        if constexpr (complex_type<T>)
            if (hermitian && i == j) return T(v.real(), std::numeric_limits<real<T>>::quiet_NaN());
        return v;
    });
    return c;
}

// syrk, herk and their kin, syr2k, her2k. letters: uplo, trans.
template <class T>
testing::AssertionResult rank_update(const std::string& routine, const options& o)
{
    const bool two = routine.find('2') != std::string::npos, hermitian = routine[0] == 'h',
               upper = o.letters[0] == 'U';
    const bool normal = o.letters[1] == 'N';
    const vrn_int n = o.n, k = o.k;
    const T beta(o.beta);
    T alpha(o.alpha);
    if constexpr (complex_type<T>)
        if (two || !hermitian) alpha *= T(0.8, 0.6);
    const matrix<T> a = normal ? general<T>(n, k, 1) : general<T>(k, n, 1);
    const matrix<T> b = normal ? general<T>(n, k, 2) : general<T>(k, n, 2);
    if (o.alpha == 0) a.fill_nan(), b.fill_nan();
    const matrix<T> c = updated<T>(n, upper, hermitian, o.beta);
    const char* l = o.letters.c_str();
    const real<T> real_alpha(o.alpha), real_beta(o.beta);
    if (!two && hermitian)
        call<T>(routine, l, l + 1, &n, &k, &real_alpha, a.data(), &a.ld(), &real_beta, c.data(), &c.ld());
    else if (!two) call<T>(routine, l, l + 1, &n, &k, &alpha, a.data(), &a.ld(), &beta, c.data(), &c.ld());
    else if (hermitian)
        call<T>(routine, l, l + 1, &n, &k, &alpha, a.data(), &a.ld(), b.data(), &b.ld(), &real_beta, c.data(),
                &c.ld());
    else call<T>(routine, l, l + 1, &n, &k, &alpha, a.data(), &a.ld(), b.data(), &b.ld(), &beta, c.data(), &c.ld());

    // Nothing to do: C is not touched, a diagonal that is not real included.
    if (o.beta == 1 && (k == 0 || o.alpha == 0))
        return c.intact() && same_bits(c, updated<T>(n, upper, hermitian, o.beta))
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << "touched: " << routine << ' ' << o;
    const char prime = hermitian ? 'C' : 'T';
    const auto op = [&](const matrix<T>& x, vrn_int i, vrn_int kk) {
        return vrn::oracle::op<T>(normal ? 'N' : prime, x, i, kk);
    };
    const auto mirror = [&](T v) { return hermitian ? vrn::oracle::conjugate(v) : v; };
    // Of two terms the second comes behind the first, its factor in proportion.
    const T turned = alpha == T{} ? T(1) : mirror(alpha) / alpha;
    const auto x = [&](vrn_int i, vrn_int kk) -> T {
        if (kk < k) return op(a, i, kk);
        return op(b, i, kk - k) * turned;
    };
    const auto y = [&](vrn_int kk, vrn_int j) -> T {
        return mirror(op(two == (kk < k) ? b : a, j, kk < k ? kk : kk - k));
    };
    return one_triangle<T>(c, upper, hermitian, two ? 2 * k : k, alpha, x, y, beta) << routine << ' ' << o;
}

// letters: uplo, transa, transb.
template <class T>
testing::AssertionResult gemmt(const std::string& routine, const options& o)
{
    const char* l = o.letters.c_str();
    const bool upper = l[0] == 'U';
    const T alpha(o.alpha), beta(o.beta);
    const matrix<T> a = l[1] == 'N' ? general<T>(o.n, o.k, 1) : general<T>(o.k, o.n, 1);
    const matrix<T> b = l[2] == 'N' ? general<T>(o.k, o.n, 2) : general<T>(o.n, o.k, 2);
    if (o.alpha == 0) a.fill_nan(), b.fill_nan();
    const matrix<T> c = updated<T>(o.n, upper, false, o.beta);
    call<T>(routine, l, l + 1, l + 2, &o.n, &o.k, &alpha, a.data(), &a.ld(), b.data(), &b.ld(), &beta, c.data(),
            &c.ld());
    const auto x = [&](vrn_int i, vrn_int k) { return vrn::oracle::op<T>(l[1], a, i, k); };
    const auto y = [&](vrn_int k, vrn_int j) { return vrn::oracle::op<T>(l[2], b, k, j); };
    return one_triangle<T>(c, upper, false, o.k, alpha, x, y, beta) << routine << ' ' << o;
}

// symm and hemm. letters: side, uplo.
template <class T>
testing::AssertionResult symmetric(const std::string& routine, const options& o)
{
    const bool left = o.letters[0] == 'L', upper = o.letters[1] == 'U';
    const filling f = routine[0] == 'h' ? filling::hermitian : filling::symmetric;
    const vrn_int order = left ? o.m : o.n;
    const T alpha(o.alpha), beta(o.beta);
    const matrix<T> a = triangle<T>(order, upper, f, 1), b = general<T>(o.m, o.n, 2), c = general<T>(o.m, o.n, 3);
    if (o.alpha == 0) a.fill_nan(), b.fill_nan();
    if (o.beta == 0) c.fill_nan();
    const char* l = o.letters.c_str();
    call<T>(routine, l, l + 1, &o.m, &o.n, &alpha, a.data(), &a.ld(), b.data(), &b.ld(), &beta, c.data(), &c.ld());
    digest(c);
    if (!c.intact()) return testing::AssertionFailure() << "written outside: " << o;
    const auto whole = [&](vrn_int i, vrn_int j) { return vrn::oracle::element_of<T>(f, upper, a, i, j); };
    return sampled(o.m, o.n, o.m * o.n * order, allowed<T>,
                   [&](vrn_int i, vrn_int j) {
                       return vrn::oracle::gemm<T>(
                                  order, alpha, [&](vrn_int k) { return left ? whole(i, k) : b(i, k); },
                                  [&](vrn_int k) { return left ? b(k, j) : whole(k, j); }, beta, value<T>(i, j, 3))
                           .units(c(i, j));
                   })
           << routine << ' ' << o;
}

// ---- what is run: routines, their letters, their sizes ----

template <class T>
struct subject {
    const char* name;
    testing::AssertionResult (*run)(const std::string&, const options&);
    std::vector<std::string> letters; // one string an argument, every combination is run
    bool by_order;                    // sizes are those of one order; else m and n
};
template <class T>
std::vector<subject<T>> subjects()
{
    const bool z = complex_type<T>;
    const std::string trans = z ? "NTC" : "NT", two = z ? "NT" : "NC";
    std::vector<subject<T>> all = {
        {"trsm", triangular<T>, {"LR", "UL", trans, "NU"}, false},
        {"trmm", triangular<T>, {"LR", "UL", trans, "NU"}, false},
        {"ptrmm", triangular<T>, {"LR", "UL", trans, "NU"}, false},
        {"symm", symmetric<T>, {"LR", "UL"}, false},
        {"syrk", rank_update<T>, {"UL", two}, true},
        {"syrk_pst", rank_update<T>, {"UL", two}, true},
        {"syr2k", rank_update<T>, {"UL", two}, true},
        {"gemmt", gemmt<T>, {"UL", trans, trans}, true},
    };
    if (z)
        for (subject<T> r : {subject<T>{"hemm", symmetric<T>, {"LR", "UL"}, false},
                             {"herk", rank_update<T>, {"UL", "NC"}, true},
                             {"herk_pst", rank_update<T>, {"UL", "NC"}, true},
                             {"her2k", rank_update<T>, {"UL", "NC"}, true}})
            all.push_back(r);
    return all;
}

void combinations(const std::vector<std::string>& letters, const std::function<void(const std::string&)>& f,
                  const std::string& head = "")
{
    if (head.size() == letters.size()) return f(head);
    for (const char l : letters[head.size()]) combinations(letters, f, head + l);
}

constexpr shape orders[] = {
    {0, 0, 0, "nothing"},
    {0, 1, 1, "one number"},
    {0, 3, 2, "below a group"},
    {0, 4, 5, "the unrolled order"},
    {0, 5, 0, "no depth"},
    {0, 9, 7, "past a tile"},
    {0, 31, 9, "below the leaf"},
    {0, 32, 33, "the leaf and stripe"},
    {0, 33, 4, "just past them"},
    {0, 47, 12, "one part"},
    {0, 100, 20, "one part, or two transposed"},
    {0, 101, 3, "two parts"},
    {0, 129, 257, "past a block of 128, two depths"},
    {0, 401, 6, "three parts"},
    {0, 605, 4, "four parts"},
};
constexpr shape rectangles[] = {
    {0, 5, 0, "no rows"},
    {5, 0, 0, "no columns"},
    {1, 1, 0, "one number"},
    {3, 2, 0, "below a group"},
    {4, 4, 0, "a group"},
    {8, 8, 0, "no buffers"},
    {9, 9, 0, "buffers"},
    {7, 13, 0, "rests"},
    {13, 7, 0, "rests"},
    {16, 33, 0, "past the smallest right block"},
    {31, 20, 0, "below a block"},
    {32, 17, 0, "a block"},
    {35, 35, 0, "past it, rests of three"},
    {65, 66, 0, "past 64"},
    {128, 9, 0, "the first level"},
    {9, 128, 0, "the same, right"},
    {131, 130, 0, "past it"},
    {257, 5, 0, "past 256"},
    {5, 258, 0, "right"},
    {6, 1003, 0, "past a slice"},
    {643, 6, 0, "past a slice, right"},
};
struct factors {
    double alpha, beta;
};
constexpr factors all_factors[] = {{1, 0}, {-0.5, 1}, {2, -0.75}, {0, 2}, {0, 0}};

// Every combination of letters meets every shape: a small one with two pairs of factors, in turn, every third of the
// large ones with one.
template <class T>
void sweep(const std::function<void(const subject<T>&, const options&)>& visit)
{
    std::size_t turn = 0;
    for (const subject<T>& r : subjects<T>())
        combinations(r.letters, [&](const std::string& letters) {
            const auto with = [&](const shape& s) {
                const bool large = s.m > 100 || s.n > 100;
                if (++turn % 3 != 0 && large) return;
                for (std::size_t i = 0; i < (large ? 1 : 2); ++i) {
                    const factors& f = all_factors[(turn / 3 + 3 * i) % std::size(all_factors)];
                    visit(r, {letters, s.m, s.n, s.k, f.alpha, f.beta});
                }
            };
            if (r.by_order) std::ranges::for_each(orders, with);
            else std::ranges::for_each(rectangles, with);
        });
}

} // namespace

TYPED_TEST(Level3, LettersShapesFactors)
{
    sweep<TypeParam>([](const subject<TypeParam>& r, const options& o) {
        if (testing::Test::HasFailure()) return;
        EXPECT_TRUE(r.run(r.name, o));
    });
}

// Every allocation fails once, and then all from there on; results stay, and nothing leaks.
TYPED_TEST(Level3, WithoutMemory)
{
    for (const auto& r : subjects<TypeParam>())
        combinations(r.letters, [&](const std::string& letters) {
            for (long good = 0; good < 20; ++good) {
                host.refuse(good, good % 2 ? good + 1 : host.never);
                EXPECT_TRUE(r.run(r.name, {letters, 70, 133, 9, -0.5, 2})) << "after " << good << " blocks";
                EXPECT_EQ(host.live, 0);
                if (host.refused == 0 || testing::Test::HasFailure()) break;
            }
        });
    host.refuse(host.never, host.never);
}

// Any number of threads gives the bits of one, at orders that cut unevenly, and those are right.
TYPED_TEST(Level3, SameBitsOnAnyNumberOfThreads)
{
    through_host = true;
    for (const auto& r : subjects<TypeParam>()) {
        if (std::string(r.name) == "ptrmm" || std::string(r.name).ends_with("_pst")) continue;
        combinations(r.letters, [&](const std::string& letters) {
            if (r.letters.size() > 2 && letters.back() != r.letters.back().back()) return;
            for (const options& o : {options{letters, 150, 203, 40, -0.5, 0},
                                     {letters, 203, 150, 40, 1, 0.75},
                                     {letters, 90, 421, 13, 1, 1}}) {
                vrn_set_num_threads(1);
                EXPECT_TRUE(r.run(r.name, o));
                const std::uint64_t one = bits;
                unchecked = true;
                for (const int threads : {2, 3, 5}) {
                    vrn_set_num_threads(threads);
                    r.run(r.name, o);
                    EXPECT_EQ(bits, one) << threads << " threads: " << r.name << ' ' << o;
                }
                unchecked = false;
            }
        });
    }
    vrn_set_num_threads(1);
    through_host = false;
}

// A reciprocal of a subnormal diagonal element would overflow; the quotient need not. On the diagonal only the number
// that is there counts: an order of 40 has several blocks and groups, each of which decides for itself.
TYPED_TEST(Level3, SubnormalDiagonal)
{
    using T = TypeParam;
    using R = real<T>;
    const R tiny = 4 * std::numeric_limits<R>::denorm_min(), zero = 0;
    const vrn_int n = 40, m = 9;
    for (const vrn_int at : {0, 7, 31, 33, 39})
        for (const char* letters : {"LLNN", "LUNN", "LLTN", "RLNN", "RUTN"}) {
            const bool left = letters[0] == 'L';
            matrix<T> a(n, n, n + 1), b = left ? general<T>(n, m, 2) : general<T>(m, n, 2);
            a.fill([&](vrn_int i, vrn_int j) { return i != j ? T(zero) : i == at ? T(tiny) : T(2); });
            b.fill([&](vrn_int i, vrn_int j) { return (left ? i : j) == at ? T(3 * tiny) : T(6); });
            const T one(1);
            const vrn_int rows = b.rows(), columns = b.columns();
            call<T>("trsm", letters, letters + 1, letters + 2, letters + 3, &rows, &columns, &one, a.data(), &a.ld(),
                    b.data(), &b.ld());
            EXPECT_TRUE(b.all([](vrn_int, vrn_int, T x) { return x == T(3); })) << letters << ' ' << at;
        }
}

// What allocates, how often, and what is said when there is nothing: the differences are part of the contract.
TYPED_TEST(Level3, AllocatesAndWarnsAsTold)
{
    using T = TypeParam;
    struct expected {
        const char* name;
        const char* letters;
        vrn_int m, n, k;
        bool asks;
        std::string warned;
    };
    const std::string upper(1, static_cast<char>(letter<T> - 'a' + 'A'));
    const bool z = letter<T> == 'z';
    std::vector<expected> all = {
        {"trsm", "LLNN", 3, 3, 0, true, upper + "TRSM"},
        {"trmm", "LLNN", 8, 50, 0, false, ""},
        {"trmm", "LLNN", 9, 5, 0, true, ""},
        {"trmm", "RLNN", 50, 8, 0, false, ""},
        {"symm", "LL", 5, 5, 0, true, upper + "SYMM"},
        {"syr2k", "LN", 0, 5, 5, true, upper + "SYR2K"},
        {"syrk_pst", "LN", 0, 5, 5, true, z ? "" : upper + "SYRK"},
    };
    if constexpr (complex_type<T>) {
        all.push_back({"hemm", "LL", 5, 5, 0, true, upper + "HEMM"});
        all.push_back({"her2k", "LN", 0, 5, 5, true, upper + "HER2K"});
    }
    for (const auto& r : subjects<T>())
        for (const expected& e : all) {
            if (std::string(r.name) != e.name) continue;
            host.refuse(0, host.never);
            host.warned = "";
            EXPECT_TRUE(r.run(r.name, {e.letters, e.m, e.n, e.k, 1, 0.5}));
            EXPECT_EQ(host.asked > 0, e.asks) << e.name;
            EXPECT_EQ(host.warned.load(), e.warned) << e.name;
        }
    host.refuse(host.never, host.never);
}

// Order 4 has a kernel of its own, which the driver takes at once and the host may call; it allocates nothing.
TYPED_TEST(Level3, OrderFour)
{
    for (const char* letters : {"UN", "UT", "LN", "LC"})
        for (const auto& [alpha, beta] : all_factors)
            for (vrn_int k = 1; k < 8; ++k) {
                const options o{letters, 0, 4, k, alpha, beta};
                host.refuse(0, host.never);
                if constexpr (!complex_type<TypeParam>) {
                    EXPECT_TRUE(rank_update<TypeParam>("syrk", o));
                    EXPECT_TRUE(rank_update<TypeParam>("syrk_4k", o));
                    EXPECT_EQ(host.asked, 0);
                }
            }
    host.refuse(host.never, host.never);
}

// Columns of a right-hand triangle go in larger blocks from 2000 on.
TYPED_TEST(Level3, WideRightTriangles)
{
    for (const char* letters : {"RLNN", "RUTU"})
        EXPECT_TRUE(triangular<TypeParam>("trsm", {letters, 3, 2001, 0, 2, 0}));
}
