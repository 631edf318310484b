// examples/demo.cpp - vrn on real data: what the kernels answer, beside what is exactly right, and how fast.
//
//     demo [--no-timing] [file.csv]
//
// Without a file it takes Longley's employment data, which also have certified regression coefficients. The
// exact values come from sums in 113-bit arithmetic that share nothing with the library.

#include "examples/sse_peak.hpp"
#include "examples/table.hpp"

#include "vrn/blas.h"
#include "vrn/service.h"

#include <algorithm>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <vector>

namespace {

using vec = std::vector<double>;
__extension__ typedef __float128 wide;
const std::int64_t one = 1;

std::int64_t size(const vec& x) { return static_cast<std::int64_t>(x.size()); }

// ---- exact values -------------------------------------------------------------------------------------------

wide exact_dot(const double* x, const double* y, std::int64_t n, std::int64_t incx = 1)
{
    wide sum = 0;
    for (std::int64_t i = 0; i < n; ++i) sum += static_cast<wide>(x[i * incx]) * y[i];
    return sum;
}

wide exact_root(wide square)
{
    if (square == 0) return 0;
    const wide root = std::sqrt(static_cast<long double>(square));
    return (root + square / root) / 2; // one step of Newton from 64 bits to all
}

// How far off, in units in the last place of the exact value.
double ulps(double got, wide exact)
{
    const double nearest = std::fabs(static_cast<double>(exact));
    if (!std::isfinite(nearest)) return std::fabs(got) == nearest ? 0 : HUGE_VAL;
    const double ulp = std::nextafter(nearest, HUGE_VAL) - nearest;
    const wide distance = got - exact;
    return static_cast<double>((distance < 0 ? -distance : distance) / ulp);
}

// One line of the report; returns the error.
double report(const std::string& what, double got, wide exact)
{
    const double error = ulps(got, exact);
    std::printf("  %-20s %24.17g %24.19Lg  %.3g\n", what.c_str(), got, static_cast<long double>(exact), error);
    return error;
}

// ---- level 1 ------------------------------------------------------------------------------------------------

double norm(const vec& x)
{
    const std::int64_t n = size(x);
    return vrn_blas_dnrm2(&n, x.data(), &one);
}

// The dot product with ones is the sum; asum would sum magnitudes.
double mean(const vec& x)
{
    const std::int64_t n = size(x);
    const vec ones(x.size(), 1.0);
    return vrn_blas_ddot(&n, x.data(), &one, ones.data(), &one) / static_cast<double>(n);
}

struct extremes {
    double low, high;
};

// idamax goes by magnitude, and the largest magnitude is one of the two extremes. Seen from there all other
// values lie on one side, so the farthest of them is the other extreme. (Values that differ by less than the
// rounding of that shift count as equally far.)
extremes range(const vec& x)
{
    const std::int64_t n = size(x);
    const auto farthest = [&](const vec& v) { return static_cast<std::size_t>(vrn_blas_idamax(&n, v.data(), &one) - 1); };
    const double end = x[farthest(x)], minus = -1;
    const vec ends(x.size(), end);
    vec shifted = x;
    vrn_blas_daxpy(&n, &minus, ends.data(), &one, shifted.data(), &one);
    const double other = x[farthest(shifted)];
    return {std::min(end, other), std::max(end, other)};
}

void describe_columns(const table& t)
{
    std::printf("\nColumns, by nrm2, dot and iamax\n  %-20s %24s %24s  %s\n", "", "vrn", "exact", "error, ulp");
    for (std::size_t j = 0; j < t.columns.size(); ++j) {
        const vec& x = t.columns[j];
        const vec ones(x.size(), 1.0);
        const auto [low, high] = range(x);
        report(t.names[j] + " norm", norm(x), exact_root(exact_dot(x.data(), x.data(), size(x))));
        report(t.names[j] + " mean", mean(x), exact_dot(x.data(), ones.data(), size(x)) / size(x));
        report(t.names[j] + " min", low, *std::min_element(x.begin(), x.end()));
        report(t.names[j] + " max", high, *std::max_element(x.begin(), x.end()));
    }
}

// ---- level 3 ------------------------------------------------------------------------------------------------

// G := A^T A, the products of all columns with one another.
void describe_products(const table& t)
{
    const std::int64_t m = t.rows(), n = static_cast<std::int64_t>(t.columns.size());
    vec a, g(t.columns.size() * t.columns.size());
    for (const vec& column : t.columns) a.insert(a.end(), column.begin(), column.end());
    const double unit = 1, zero = 0;
    vrn_blas_dgemm("T", "N", &n, &n, &m, &unit, a.data(), &m, a.data(), &m, &zero, g.data(), &n);

    // All entries count for the error; a wide table's are too many to print.
    constexpr std::int64_t printed = 8;
    std::printf("\nGram matrix, by dgemm\n  %-20s %24s %24s  %s\n", "", "vrn", "exact", "error, ulp");
    double worst = 0;
    for (std::int64_t j = 0; j < n; ++j)
        for (std::int64_t i = 0; i < n; ++i) {
            const double got = g[static_cast<std::size_t>(i + j * n)];
            const wide exact = exact_dot(&a[static_cast<std::size_t>(i * m)], &a[static_cast<std::size_t>(j * m)], m);
            const bool shown = i >= j && i < printed;
            const auto name = [&](std::int64_t k) { return t.names[static_cast<std::size_t>(k)]; };
            worst = std::max(worst, shown ? report(name(j) + "." + name(i), got, exact) : ulps(got, exact));
        }
    std::printf("  largest error of all %lld entries: %.3g ulp\n", static_cast<long long>(n * n), worst);
}

// ---- least squares ------------------------------------------------------------------------------------------

// The b that minimises |y - X b|: Householder's QR (1958) with level-1 kernels, one reflection a column.
vec least_squares(std::vector<vec> x, vec y)
{
    const std::size_t columns = x.size();
    vec diagonal(columns);
    for (std::size_t k = 0; k < columns; ++k) {
        double* v = &x[k][k];
        const std::int64_t n = size(y) - static_cast<std::int64_t>(k);
        // v := x - r e1 reflects x onto r e1; the sign of r keeps the difference free of cancellation.
        const double r = std::copysign(vrn_blas_dnrm2(&n, v, &one), -v[0]);
        v[0] -= r;
        diagonal[k] = r;
        const auto reflect = [&](double* z) {
            const double alpha = vrn_blas_ddot(&n, v, &one, z, &one) / (r * v[0]);
            vrn_blas_daxpy(&n, &alpha, v, &one, z, &one);
        };
        for (std::size_t j = k + 1; j < columns; ++j) reflect(&x[j][k]);
        reflect(&y[k]);
    }
    for (std::size_t k = columns; k-- > 0;) {
        y[k] /= diagonal[k];
        const std::int64_t above = static_cast<std::int64_t>(k);
        const double minus = -y[k];
        vrn_blas_daxpy(&above, &minus, x[k].data(), &one, y.data(), &one);
    }
    y.resize(columns);
    return y;
}

// Employment explained by the other columns. The matrix has a condition number near 5e9, so that a sound double
// computation loses up to ten of its sixteen digits.
void regress_longley(const table& t)
{
    // Certified by the U.S. National Institute of Standards and Technology, computed there with 500 digits.
    constexpr double certified[] = {-3482258.63459582, 15.0618722713733,   -0.358191792925910E-01, -2.02022980381683,
                                    -1.03322686717359, -0.511041056535807E-01, 1829.15146461355};
    std::vector<vec> x = t.columns;
    const vec y = x.front();
    x.front().assign(y.size(), 1.0);
    const vec b = least_squares(x, y);
    std::printf("\nRegression of %s, by Householder's QR\n  %-20s %24s %24s  %s\n", t.names[0].c_str(), "", "vrn",
                "certified", "digits that agree");
    for (std::size_t j = 0; j < b.size(); ++j) {
        const double relative = std::fabs(b[j] / certified[j] - 1);
        std::printf("  %-20s %24.15g %24.15g  %.1f\n", j == 0 ? "intercept" : t.names[j].c_str(), b[j], certified[j],
                    -std::log10(std::max(relative, DBL_EPSILON)));
    }
}

// ---- speed --------------------------------------------------------------------------------------------------

// The largest error of some entries of C = A B, in units of k eps (|A||B|)_ij, what a product in any order of
// summation stays below (Higham 2002, chapter 3).
double sampled_error(const vec& a, const vec& b, const vec& c, std::int64_t n, std::mt19937_64& random)
{
    double worst = 0;
    for (int sample = 0; sample < 100; ++sample) {
        const auto i = static_cast<std::int64_t>(random() % static_cast<unsigned long>(n));
        const auto j = static_cast<std::int64_t>(random() % static_cast<unsigned long>(n));
        const double *row = &a[static_cast<std::size_t>(i)], *column = &b[static_cast<std::size_t>(j * n)];
        const wide off = exact_dot(row, column, n, n) - c[static_cast<std::size_t>(i + j * n)];
        double gauge = 0;
        for (std::int64_t k = 0; k < n; ++k) gauge += std::fabs(row[k * n] * column[k]);
        const double error = std::fabs(static_cast<double>(off)) / (static_cast<double>(n) * DBL_EPSILON * gauge);
        worst = std::isnan(error) ? HUGE_VAL : std::max(worst, error);
    }
    return worst;
}

void time_product()
{
    constexpr std::int64_t n = 2000;
    constexpr int passes = 4;
    constexpr double flop = 2.0 * n * n * n, unit = 1, zero = 0;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> uniform(-1, 1);
    vec a(n * n), b(n * n), c(n * n);
    for (double& v : a) v = uniform(random);
    for (double& v : b) v = uniform(random);

    std::printf("\ndgemm of %lld by %lld matrices, GFLOP/s, best of %d\n  %-20s %24s %24s  %s\n",
                static_cast<long long>(n), static_cast<long long>(n), passes, "", "vrn", "SSE peak, measured", "share");
    const int all = vrn_get_max_threads();
    for (int threads = 1;; threads = all) {
        vrn_set_num_threads(threads);
        double best = 0, peak = 0;
        for (int pass = 0; pass < passes; ++pass) {
            // In turn, so that a slow phase of the machine does not strike one of them alone.
            for (int again = 0; again < 5; ++again) peak = std::max(peak, sse_peak::gflops(threads));
            const auto start = std::chrono::steady_clock::now();
            vrn_blas_dgemm("N", "N", &n, &n, &n, &unit, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
            best = std::max(best, 1e-9 * flop / seconds.count());
        }
        const std::string label = std::to_string(threads) + (threads == 1 ? " thread" : " threads");
        std::printf("  %-20s %24.1f %24.1f  %.0f %%\n", label.c_str(), best, peak, 100 * best / peak);
        if (threads == all) break;
    }
    const double error = sampled_error(a, b, c, n, random);
    std::printf("  100 of its entries, checked: largest error %.2g of the bound n eps |A||B|\n", error);
    if (error > 1) throw std::runtime_error("the product is wrong");
}

} // namespace

int main(int argc, char** argv)
try {
    bool timing = true;
    std::string own;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--no-timing") timing = false;
        else if (argument.starts_with("-") || !own.empty())
            throw std::runtime_error("usage: demo [--no-timing] [file.csv]");
        else own = argument;
    }
    const std::string path = own.empty() ? VRN_EXAMPLES_DATA "/longley.csv" : own;
    const table t = csv::read(path);
    std::printf("%s: %lld rows, %zu columns\n", path.c_str(), static_cast<long long>(t.rows()), t.columns.size());
    describe_columns(t);
    describe_products(t);
    if (own.empty()) regress_longley(t);
    if (timing) time_product();
} catch (const std::exception& e) {
    std::fprintf(stderr, "demo: %s\n", e.what());
    return EXIT_FAILURE;
}
