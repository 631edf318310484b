// tests/blas/gemm_planes_test.cpp - complex products by three real ones, and those of a real A: against the
// definition, short of memory, on any number of threads; and their parts, planes of reals.

#include "tests/blas/gemm_support.hpp"
#include "vrn/blas.h"
#include "vrn/service.h"

using namespace vrn::test;

namespace {

template <class T>
struct GemmPlanes : Gemm<> {
    void TearDown() override
    {
        vrn_set_num_threads(0);
        Gemm<>::TearDown();
    }
};
TYPED_TEST_SUITE(GemmPlanes, Complex);

template <class T>
inline constexpr bool is_double = sizeof(T) == 16;
template <class T>
const std::string mixed_letters = is_double<T> ? "dz" : "sc";

template <class T>
auto* const three = kernel<entry_function<T>>(std::string("vrn_blas_s42_x") + letter<T> + "gemm3m");
template <class T>
using mixed_function = void(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,
                            const real<T>*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*);
template <class T>
auto* const mixed = kernel<mixed_function<T>>("vrn_blas_s42_x" + mixed_letters<T> + "gemm");
// dz_kernel<...>("1_copyb"): vrn_blas_s42_dzgemm1_copyb or its twin in single.
template <class T, class Signature>
Signature* mixed_kernel(const std::string& name)
{
    return kernel<Signature>("vrn_blas_s42_" + mixed_letters<T> + "gemm" + name);
}

// The public entries of both, with the same arguments.
template <class T>
auto* public_three()
{
    if constexpr (is_double<T>) return reinterpret_cast<entry_function<T>*>(vrn_blas_zgemm3m);
    else return reinterpret_cast<entry_function<T>*>(vrn_blas_cgemm3m);
}
template <class T>
auto* public_mixed()
{
    if constexpr (is_double<T>) return reinterpret_cast<mixed_function<T>*>(vrn_blas_dzgemm);
    else return reinterpret_cast<mixed_function<T>*>(vrn_blas_scgemm);
}

// A product whose A is real as well as complex: the imaginary parts are zero.
template <class T>
struct mixed_product : product<T> {
    matrix<real<T>> real_a;
    using product<T>::a;

    mixed_product(const shape& s, const setting& t)
        : product<T>(s, t), real_a(a.rows(), a.columns(), a.ld() + 1, t.shift_a)
    {
        if (this->alpha == T{}) return; // all NaN
        a.fill([&](vrn_int i, vrn_int j) { return std::real(value<T>(i, j, this->seed_a)); });
        real_a.fill([&](vrn_int i, vrn_int j) { return std::real(a(i, j)); });
    }
    void multiply(mixed_function<T>* f) const
    {
        const auto& [m, n, k, why] = this->size;
        f(this->transa(), this->transb(), &m, &n, &k, &this->alpha, real_a.data(), &real_a.ld(), this->b.data(),
          &this->b.ld(), &this->beta, this->c.data(), &this->c.ld());
    }
    testing::AssertionResult sound(double allowed = 2) const
    {
        if (!real_a.intact()) return testing::AssertionFailure() << "written outside A";
        return product<T>::sound(allowed);
    }
};

constexpr shape shapes[] = {
    {0, 9, 9, "no rows"},
    {9, 0, 9, "no columns"},
    {9, 9, 0, "no depth"},
    {1, 1, 1, "one number"},
    {3, 20, 20, "few rows"},
    {20, 3, 20, "few columns"},
    {20, 20, 3, "shallow"},
    {4, 4, 4, "the least of the mixed with planes"},
    {8, 9, 9, "a side too short for three products"},
    {9, 8, 9, "another"},
    {9, 9, 8, "and the depth"},
    {9, 9, 9, "the least of three products"},
    {23, 26, 31, "rests"},
    {40, 33, 130, "a second depth block of two"},
    {1001, 11, 140, "past a row block of three products"},
    {13, 1003, 12, "past the column blocks"},
    {5003, 9, 10, "past a row block of the mixed"},
};
constexpr std::pair<double, double> factors[] = {{1, 0}, {1, 1}, {-0.5, 0.75}, {0, 0}, {0, 2}};

// With u and v the parts of a and b, three products err by no more than gamma times |u_r v_r| + |u_i v_i| in the real
// part, and that plus (|u_r| + |u_i|)(|v_r| + |v_i|) <= 2|a||b| in the imaginary one: sqrt(1 + 9) units for sums of
// k + 6 roundings, k at least 9 (after Higham 1992).
constexpr double three_units = 3.17 * 15 / 11;

} // namespace

TYPED_TEST(GemmPlanes, ThreeProducts)
{
    using T = TypeParam;
    for (const shape& s : shapes)
        for (const char* letters : letter_pairs<T>())
            for (const auto& [alpha, beta] : factors) {
                const setting set{letters, alpha, beta, 3, static_cast<int>(s.m % 2), 1, static_cast<int>(s.n % 2)};
                const product<T> p(s, set);
                p(three<T>);
                ASSERT_TRUE(p.sound(three_units));
                if (s.m > 8 && s.n > 8 && s.k > 8) continue;
                const product<T> plain(s, set);
                plain(entry<T>);
                EXPECT_TRUE(same_bits(p.c, plain.c)) << "handed over: " << p;
            }
}

TYPED_TEST(GemmPlanes, RealA)
{
    using T = TypeParam;
    for (const shape& s : shapes)
        for (const char* letters : letter_pairs<T>())
            for (const auto& [alpha, beta] : factors) {
                const mixed_product<T> p(
                    s, {letters, alpha, beta, 3, static_cast<int>(s.m % 2), 1, static_cast<int>(s.n % 2)});
                p.multiply(mixed<T>);
                ASSERT_TRUE(p.sound());
            }
}

TYPED_TEST(GemmPlanes, RealAVeryTall)
{
    using T = TypeParam;
    for (const shape& s : {shape{1000000, 4, 5, "just not"}, shape{1000001, 5, 4, "just so"},
                           shape{1000001, 131, 6, "more columns than a strip of z holds"}})
        for (const auto& [letters, alpha, beta] : {std::tuple{"NC", 1.0, 0.0}, {"TN", -0.5, 0.75}}) {
            if (s.n > 100 && (is_double<T> || beta == 0)) continue; // a gigabyte is enough
            const mixed_product<T> p({s.m, s.n, s.k, s.why}, {letters, alpha, beta, 0});
            p.multiply(mixed<T>);
            ASSERT_TRUE(p.sound());
        }
}

// Every request for memory fails once with all behind it; the result is as good, and the first warning names the
// routine.
TYPED_TEST(GemmPlanes, WithoutMemory)
{
    using T = TypeParam;
    for (const shape& s : {shape{30, 40, 50, ""}, shape{12, 600, 140, "several blocks"}})
        for (const auto& [alpha, beta] : {std::pair{1.0, 0.0}, {-0.5, 0.75}})
            for (const bool is_mixed : {false, true})
                for (long good = 0;; ++good) {
                    host.refuse(good, host.never);
                    const mixed_product<T> p(s, {good % 2 ? "CN" : "NT", alpha, beta});
                    if (is_mixed) p.multiply(mixed<T>);
                    else p(three<T>);
                    ASSERT_TRUE(p.sound(three_units)) << good << " good requests";
                    EXPECT_EQ(host.live, 0);
                    EXPECT_EQ(host.warnings, host.refused);
                    if (host.refused == 0) break;
                    // The plain product asks once more, the direct one no more.
                    if (good == 0) {
                        EXPECT_EQ(host.asked, is_mixed ? 1 : 2);
                        EXPECT_EQ(host.warned.load(), is_mixed ? is_double<T> ? "DZGEMM" : "SCGEMM" : routine<T>());
                    }
                }
}

TYPED_TEST(GemmPlanes, SameBitsOnAnyNumberOfThreads)
{
    using T = TypeParam;
    for (const shape& s :
         {shape{40, 30, 20, "one piece"}, shape{70, 530, 40, "columns"}, shape{1030, 70, 20, "rows"}})
        for (const char* letters : {"NN", "CT"}) {
            const setting set{letters, -0.5, 0.75};
            const mixed_product<T> three_first(s, set), mixed_first(s, set);
            vrn_set_num_threads(1);
            three_first(public_three<T>());
            mixed_first.multiply(public_mixed<T>());
            EXPECT_TRUE(three_first.sound(three_units));
            EXPECT_TRUE(mixed_first.sound());
            for (const int threads : {2, 3}) {
                vrn_set_num_threads(threads);
                const mixed_product<T> p(s, set), q(s, set);
                p(public_three<T>());
                q.multiply(public_mixed<T>());
                EXPECT_TRUE(p.c.intact() && same_bits(p.c, three_first.c)) << p;
                EXPECT_TRUE(q.c.intact() && same_bits(q.c, mixed_first.c)) << q;
            }
        }
}

// The packers of three products: rows by columns of op(X) from a place inside it, as stored.
TYPED_TEST(GemmPlanes, PlanesOfThreeProducts)
{
    using T = TypeParam;
    using R = real<T>;
    using copy_function = void(vrn_int, vrn_int, const T*, vrn_int, vrn_int, vrn_int, R*, R*, R*);
    for (const char side : {'a', 'b'})
        for (const char operation : {'n', 't', 'c'})
            for (const vrn_int rows : {1, 3, 4, 5, 9})
                for (const vrn_int columns : {1, 2, 6}) {
                    auto* const copy = kernel<copy_function>(std::string("vrn_blas_s42_") + letter<T> +
                                                             "gemm3m_copy" + side + operation);
                    const bool normal = operation == 'n';
                    const vrn_int down = normal ? rows : columns, across = normal ? columns : rows;
                    const matrix<T> x(down + 3, across + 2, down + 4, 1);
                    x.fill(1);
                    const matrix<R> re(down, across, down, 1), im(down, across, down), sum(down, across, down);
                    copy(rows, columns, x.data(), x.ld(), normal ? 3 : 2, normal ? 2 : 3, re.data(), im.data(),
                         sum.data());
                    const auto element = [&](vrn_int i, vrn_int j) {
                        return conjugate_if(operation == 'c', x(i + 3, j + 2));
                    };
                    ASSERT_TRUE(x.intact() && re.intact() && im.intact() && sum.intact());
                    ASSERT_TRUE(sum.all([&](vrn_int i, vrn_int j, R s) {
                        const T e = element(i, j);
                        return re(i, j) == e.real() && im(i, j) == e.imag() && s == e.real() + e.imag();
                    })) << side
                        << operation << ' ' << rows << " x " << columns;
                }
}

// The parts of the mixed product: B and C into planes and back, their area, the scaling of C.
TYPED_TEST(GemmPlanes, PartsOfTheMixedProduct)
{
    using T = TypeParam;
    using R = real<T>;
    using copy_b =
        void(const char*, const vrn_int*, const vrn_int*, const T*, const T*, const vrn_int*, R*, R*, const vrn_int*);
    using copy_c = void(const vrn_int*, const vrn_int*, T*, const vrn_int*, R*, R*, const vrn_int*);
    using copy_c_beta =
        void(const vrn_int*, const vrn_int*, const T*, R*, R*, const vrn_int*, const T*, T*, const vrn_int*);
    const double eps = std::numeric_limits<R>::epsilon();
    const auto near = [&](T got, T exact, double size) { return std::abs(got - exact) <= 4 * eps * size; };
    const vrn_int n = 3;
    for (const vrn_int m : {1, 2, 3, 4, 7, 8, 13})
        for (const T alpha : {T(1), factor<T>(-0.5)})
            for (const T beta : {T(0), T(1), factor<T>(2)}) {
                const matrix<T> x(m, n, m + 2, 1), c(m, n, m + 1, 1);
                const matrix<R> re(m, n, m + 3, 1), im(m, n, m + 3, 2);
                x.fill(1);
                for (const char trans : {'N', 'T', 'C'})
                    for (const char* name : {"_copyb", "1_copyb"}) {
                        const T f = *name == '_' ? alpha : T(1);
                        mixed_kernel<T, copy_b>(name)(&trans, &m, &n, &alpha, x.data(), &x.ld(), re.data(), im.data(),
                                                      &re.ld());
                        ASSERT_TRUE(re.intact() && im.intact() && re.all([&](vrn_int i, vrn_int j, R got) {
                            return near({got, im(i, j)}, f * conjugate_if(trans == 'C', x(i, j)), 2);
                        })) << name
                            << trans;
                    }
                mixed_kernel<T, copy_c>("_copyc_fwd")(&m, &n, x.data(), &x.ld(), re.data(), im.data(), &re.ld());
                mixed_kernel<T, copy_c>("_copyc_bwd")(&m, &n, c.data(), &c.ld(), re.data(), im.data(), &re.ld());
                ASSERT_TRUE(c.intact() && re.intact() && im.intact() && same_bits(c, x));
                for (const char* name : {"1_copyc_b_bwd", "2_copyc_b_bwd"}) {
                    beta == T(0) ? c.fill_nan() : c.fill(3);
                    mixed_kernel<T, copy_c_beta>(name)(&m, &n, &alpha, re.data(), im.data(), &re.ld(), &beta,
                                                       c.data(), &c.ld());
                    ASSERT_TRUE(c.intact() && c.all([&](vrn_int i, vrn_int j, T got) {
                        const T sum = (*name == '1' ? T(1) : alpha) * x(i, j);
                        return near(got, beta == T(0) ? sum : beta * value<T>(i, j, 3) + sum, 6);
                    })) << name;
                }
                c.fill(3);
                mixed_kernel<T, mscale_function<T>>("_mscale")(&m, &n, &beta, c.data(), &c.ld());
                ASSERT_TRUE(c.intact() && c.all([&](vrn_int i, vrn_int j, T got) {
                    return near(got, beta * value<T>(i, j, 3), 4);
                }));
            }
    void *b_area, *c_area;
    const vrn_int b_elements = 100, c_elements = 33;
    void* block = mixed_kernel<T, void*(const vrn_int*, const vrn_int*, void**, void**)>("_getbufs")(
        &b_elements, &c_elements, &b_area, &c_area);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(host.alignment, 128);
    for (const char* area : {static_cast<char*>(b_area), static_cast<char*>(c_area)})
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(area) % 128, 0u);
    EXPECT_GE(static_cast<char*>(c_area), static_cast<char*>(b_area) + b_elements * sizeof(R));
    EXPECT_LE(static_cast<char*>(c_area) + c_elements * sizeof(R), static_cast<char*>(block) + host.size);
    mixed_kernel<T, void(void*)>("_freebufs")(block);
    const mixed_product<T> p({40, 30, 20, "the blocked way by name"}, {"TC", -0.5, 0.75});
    p.multiply(mixed_kernel<T, mixed_function<T>>("_pst"));
    EXPECT_TRUE(p.sound());
}
