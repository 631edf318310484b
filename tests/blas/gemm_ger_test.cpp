// tests/blas/gemm_ger_test.cpp - products of depth 1: C := beta C + alpha x y^T, all four types.

#include "tests/blas/gemm_support.hpp"

using namespace vrn::test;

namespace {

template <class T>
struct GemmGer : Gemm<> {};
TYPED_TEST_SUITE(GemmGer, AllTypes);

template <class T>
using ger_function = void(const void*, const void*, const vrn_int*, const vrn_int*, const T*, const T*, const vrn_int*,
                          const T*, const vrn_int*, const T*, T*, const vrn_int*);
template <class T>
auto* const ger = kernel<ger_function<T>>(std::string("vrn_blas_s42_x") + letter<T> + "gemmger");

template <class T>
T number(double re, double im)
{
    if constexpr (std::is_same_v<T, real<T>>)
        return static_cast<T>(re);
    else
        return {static_cast<real<T>>(re), static_cast<real<T>>(im)};
}

// n elements apart by inc, the gaps watched; a negative stride begins at the far end.
template <class T>
struct strided {
    vrn_int n, inc;
    matrix<T> x;
    strided(vrn_int count, vrn_int stride) : n(count), inc(stride), x(1, count, std::abs(stride)) {}
    T& operator[](vrn_int i) const { return x(0, inc < 0 ? n - 1 - i : i); }
};

} // namespace

TYPED_TEST(GemmGer, AgainstTheDefinition)
{
    using T = TypeParam;
    const T zero{}, one = number<T>(1, 0), odd = number<T>(-0.75, 0.3), imaginary = number<T>(0, 1);
    for (const vrn_int m : {0, 1, 2, 3, 7, 8, 9, 12, 13, 14, 16, 25})
        for (const vrn_int n : {0, 1, 2, 5})
            for (const vrn_int incx : {1, 2, -1, -3})
                for (const vrn_int incy : {1, -1, 2})
                    for (const T alpha : {zero, one, odd, imaginary})
                        for (const T beta : {zero, one, odd, imaginary}) {
                            const strided<T> x(m, incx), y(n, incy);
                            if (alpha != zero) {
                                for (vrn_int i = 0; i < m; ++i) x[i] = value<T>(i, 0, 1);
                                for (vrn_int j = 0; j < n; ++j) y[j] = value<T>(j, 0, 2);
                            }
                            const matrix<T> c(m, n, m + 2, static_cast<int>(m % 2));
                            if (beta != zero) c.fill(3);
                            ger<T>(nullptr, nullptr, &m, &n, &alpha, x.x.data(), &incx, y.x.data(), &incy, &beta,
                                   c.data(), &c.ld());
                            const double allowed = sizeof(T) == sizeof(real<T>) ? 1 : 2;
                            ASSERT_TRUE(c.intact() && c.all([&](vrn_int i, vrn_int j, T got) {
                                if (alpha == zero && beta == one) return same_bits(got, value<T>(i, j, 3));
                                const auto e = vrn::oracle::gemm<T>(
                                    1, alpha, [&](vrn_int) { return x[i]; }, [&](vrn_int) { return y[j]; }, beta,
                                    value<T>(i, j, 3));
                                return e.units(got) <= allowed;
                            })) << m
                                << " x " << n << ", strides " << incx << ' ' << incy << ", alpha " << alpha
                                << ", beta " << beta;
                        }
}
