// examples/sparse.cpp - a sparse matrix in all formats of vrn: what they hold, what they answer, and how fast.
//
//     sparse [--no-timing] [file.mtx ...]
//
// Reads Matrix Market files (without any, the three that come with it), shows the structure, converts the matrix from
// one format to the next and back, runs products and triangular solves in each beside sums in wider precision, and
// solves a system whose answer is known by the conjugate gradients of Hestenes and Stiefel (1952), preconditioned by
// one symmetric Gauss-Seidel sweep.

#include "examples/matrix_market.hpp"

#include "vrn/blas.h"
#include "vrn/service.h"
#include "vrn/spblas.h"

#include <cfloat>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <random>
#include <set>

namespace {

using integer = std::int32_t; // the twins with 32-bit integers read half as many bytes of indices
using index = std::vector<integer>;
using complex = std::complex<double>;
constexpr integer one = 1;

// The routines of one type under one name each, and numbers as they take them.
template <class T>
struct routines;
#define ROUTINES(T, C, t)                                                                                            \
    template <>                                                                                                      \
    struct routines<T> {                                                                                             \
        using value = C;                                                                                             \
        FORMAT(t, csr)                                                                                               \
        FORMAT(t, csc)                                                                                               \
        FORMAT(t, coo) FORMAT(t, dia) FORMAT(t, bsr) static constexpr auto skysv = vrn_spblas_lp64_##t##skysv;       \
        static constexpr auto csrcoo = vrn_spblas_lp64_##t##csrcoo, csrbsr = vrn_spblas_lp64_##t##csrbsr;            \
        static constexpr auto csrcsc = vrn_spblas_lp64_##t##csrcsc, csrdia = vrn_spblas_lp64_##t##csrdia;            \
        static constexpr auto csrsky = vrn_spblas_lp64_##t##csrsky;                                                  \
        static constexpr auto axpy = vrn_blas_lp64_##t##axpy;                                                        \
    };
#define FORMAT(t, f)                                                                                                 \
    static constexpr auto f##mv = vrn_spblas_lp64_##t##f##mv, f##mm = vrn_spblas_lp64_##t##f##mm;                    \
    static constexpr auto f##sv = vrn_spblas_lp64_##t##f##sv;
ROUTINES(double, double, d)
ROUTINES(complex, vrn_complex16, z)

template <class T>
auto* in(const std::vector<T>& x)
{
    return reinterpret_cast<const typename routines<T>::value*>(x.data());
}
template <class T>
auto* out(std::vector<T>& x)
{
    return reinterpret_cast<typename routines<T>::value*>(x.data());
}
template <class T>
const auto* at(const T& x)
{
    return reinterpret_cast<const typename routines<T>::value*>(&x);
}
integer count(std::size_t n) { return static_cast<integer>(n); }
std::size_t place(std::int64_t i) { return static_cast<std::size_t>(i); }

template <class T>
T number(complex v)
{
    if constexpr (std::is_same_v<T, double>) return v.real();
    else return v;
}
template <class T>
using wide = std::conditional_t<std::is_same_v<T, double>, long double, std::complex<long double>>;

// ---- structure -----------------------------------------------------------------------------------------------

struct structure {
    std::int64_t shortest, longest, below, above, diagonals, profile;
};

structure look(const matrix_market::matrix& a)
{
    std::vector<std::int64_t> length(place(a.rows)), first(place(a.rows));
    for (std::int64_t i = 0; i < a.rows; ++i) first[place(i)] = i;
    std::set<std::int64_t> offsets;
    structure s{};
    for (std::size_t e = 0; e < a.entries(); ++e) {
        const std::int64_t d = a.column[e] - a.row[e];
        ++length[place(a.row[e])];
        first[place(a.row[e])] = std::min(first[place(a.row[e])], a.column[e]);
        offsets.insert(d);
        s.below = std::max(s.below, -d), s.above = std::max(s.above, d);
    }
    s.shortest = *std::min_element(length.begin(), length.end());
    s.longest = *std::max_element(length.begin(), length.end());
    s.diagonals = static_cast<std::int64_t>(offsets.size());
    for (std::int64_t i = 0; i < a.rows; ++i) s.profile += i - first[place(i)] + 1;
    return s;
}

// The largest block side up to 6 that divides the matrix and leaves at least 60 % of its blocks' elements stored.
integer block_side(const matrix_market::matrix& a)
{
    for (integer lb = 6; lb > 1; --lb) {
        if (a.rows % lb != 0) continue;
        std::set<std::pair<std::int64_t, std::int64_t>> blocks;
        for (std::size_t e = 0; e < a.entries(); ++e) blocks.emplace(a.row[e] / lb, a.column[e] / lb);
        if (static_cast<double>(a.entries()) >= 0.6 * static_cast<double>(blocks.size()) * lb * lb) return lb;
    }
    return 1;
}

// ---- one matrix in every format --------------------------------------------------------------------------------

template <class T>
struct formats {
    integer m, lb, blocks, lval = 0, diagonals = 0;
    std::vector<T> coo, csr, csc, dia, bsr, sky;
    index row, column;            // COO
    index ja, ia, ja_csc, ia_csc; // CSR and CSC
    index idiag, jab, iab, pntr;  // DIA, BSR, skyline of the lower triangle
};

// Each conversion there and back; what comes back has to be what went in.
template <class T>
class converter {
    using r = routines<T>;

  public:
    converter(const matrix_market::matrix& a, const structure& s) : profile(s.profile)
    {
        f.m = count(place(a.rows));
        f.lb = block_side(a);
        for (std::size_t e = 0; e < a.entries(); ++e) {
            f.coo.push_back(number<T>(a.value[e]));
            f.row.push_back(static_cast<integer>(a.row[e])), f.column.push_back(static_cast<integer>(a.column[e]));
        }
        entries = count(f.coo.size());
        f.csr.resize(f.coo.size()), f.ja.resize(f.coo.size()), f.ia.resize(place(f.m) + 1);
        integer nnz = entries;
        std::vector<T> coo = f.coo;
        index row = f.row, column = f.column;
        // Everything is zero-based, but the skyline, where the base does not matter.
        run("COO", {2, 0, 0, 0, entries, 0}, [&](const integer* job, integer* info) {
            r::csrcoo(job, &f.m, out(f.csr), f.ja.data(), f.ia.data(), &nnz, out(coo), row.data(), column.data(),
                      info);
        });
        f.diagonals = static_cast<integer>(s.diagonals);
    }

    void csc()
    {
        f.csc.resize(f.csr.size()), f.ja_csc.resize(f.csr.size()), f.ia_csc.resize(f.ia.size());
        there_and_back("CSC", {0, 0, 0, 0, 0, 1},
                       [&](const integer* job, std::vector<T>& a, index& ja, index& ia, integer* info) {
                           r::csrcsc(job, &f.m, out(a), ja.data(), ia.data(), out(f.csc), f.ja_csc.data(),
                                     f.ia_csc.data(), info);
                       });
    }
    void dia()
    {
        f.lval = f.m;
        f.dia.resize(place(f.lval) * place(f.diagonals)), f.idiag.resize(place(f.diagonals));
        integer rest = 0;
        there_and_back("DIA", {0, 0, 0, 0, 0, 10},
                       [&](const integer* job, std::vector<T>& a, index& ja, index& ia, integer* info) {
                           const integer back[] = {1, 0, 0, 0, 0, 0};
                           r::csrdia(job[0] == 0 ? job : back, &f.m, out(a), ja.data(), ia.data(), out(f.dia),
                                     &f.lval, f.idiag.data(), &f.diagonals, nullptr, &rest, &rest, info);
                       });
    }
    void bsr()
    {
        const integer mb = f.m / f.lb, square = f.lb * f.lb;
        f.iab.resize(place(mb) + 1);
        // First how many blocks there are, then they.
        integer job[] = {0, 0, 0, 0, 0, -1}, info = 0;
        r::csrbsr(job, &f.m, &f.lb, &square, out(f.csr), f.ja.data(), f.ia.data(), out(f.bsr), nullptr, f.iab.data(),
                  &info);
        f.blocks = f.iab.back();
        f.bsr.resize(place(f.blocks) * place(square)), f.jab.resize(place(f.blocks));
        there_and_back("BSR", {0, 0, 0, 0, 0, 1},
                       [&](const integer* j, std::vector<T>& a, index& ja, index& ia, integer* status) {
                           r::csrbsr(j, j[0] == 0 ? &f.m : &mb, &f.lb, &square, out(a), ja.data(), ia.data(),
                                     out(f.bsr), f.jab.data(), f.iab.data(), status);
                       });
    }
    void sky()
    {
        f.sky.resize(place(profile)), f.pntr.resize(place(f.m) + 1);
        run("skyline", {0, 0, 1, 0, count(place(profile)), 0}, [&](const integer* job, integer* info) {
            r::csrsky(job, &f.m, out(f.csr), f.ja.data(), f.ia.data(), out(f.sky), f.pntr.data(), info);
        });
    }

    formats<T> f;

  private:
    using jobs = std::initializer_list<integer>;
    template <class F>
    void run(const char* name, jobs job, F&& convert)
    {
        integer info = 0;
        convert(job.begin(), &info);
        if (info != 0)
            throw std::runtime_error(std::string("conversion to ") + name + " answers " + std::to_string(info));
    }
    template <class F>
    void there_and_back(const char* name, jobs job, F&& convert)
    {
        run(name, job, [&](const integer* j, integer* info) { convert(j, f.csr, f.ja, f.ia, info); });
        std::vector<T> a(f.csr.size());
        index ja(f.ja.size()), ia(f.ia.size()), back(job);
        back[0] = 1;
        integer info = 0;
        convert(back.data(), a, ja, ia, &info);
        if (a != f.csr || ja != f.ja || ia != f.ia)
            throw std::runtime_error(std::string(name) + " does not convert back to what it was");
    }

    std::int64_t profile;
    integer entries;
};

// ---- what is right -----------------------------------------------------------------------------------------------

// The largest error of y = A x in units of k eps |A||x|, k the entries of a row: any sound order of summation stays
// below 1, in complex arithmetic below 2 (Higham 2002, chapter 3). `lower` takes the lower triangle alone.
template <class T>
double error_of(const formats<T>& f, const std::vector<T>& x, const std::vector<T>& y, bool lower)
{
    double worst = 0;
    for (integer i = 0; i < f.m; ++i) {
        wide<T> sum{};
        long double gauge = 0;
        const integer from = f.ia[place(i)], to = f.ia[place(i) + 1];
        for (integer e = from; e < to; ++e) {
            const auto k = place(e), j = place(f.ja[k]);
            if (lower && f.ja[k] > i) break;
            sum += wide<T>(f.csr[k]) * wide<T>(x[j]);
            gauge += std::abs(wide<T>(f.csr[k])) * std::abs(wide<T>(x[j]));
        }
        const long double off = std::abs(sum - wide<T>(y[place(i)]));
        if (off > 0) worst = std::max(worst, static_cast<double>(off / ((to - from + 2) * DBL_EPSILON * gauge)));
        if (std::isnan(off)) worst = HUGE_VAL;
    }
    return worst;
}

double seconds_of(const std::function<void()>& f)
{
    using clock = std::chrono::steady_clock;
    double best = HUGE_VAL;
    for (int pass = 0; pass < 5; ++pass) {
        int calls = 0;
        const auto start = clock::now();
        std::chrono::duration<double> taken{};
        do f(), ++calls, taken = clock::now() - start;
        while (taken.count() < 0.004);
        best = std::min(best, taken.count() / calls);
    }
    return best;
}

// ---- the tour --------------------------------------------------------------------------------------------------

template <class T>
struct tour {
    using r = routines<T>;
    const formats<T>& f;
    bool timing;
    double flop_of_entry = std::is_same_v<T, double> ? 2 : 8;
    static constexpr integer many = 8;
    std::vector<T> x, xs, y, ys;
    T unit = 1, none = 0;

    tour(const formats<T>& a, bool time) : f(a), timing(time), x(place(a.m)), y(x.size())
    {
        std::mt19937_64 random(1);
        std::uniform_real_distribution<double> u(-1, 1);
        for (T& v : x) v = number<T>({u(random), u(random)});
        for (const T& v : x) // by rows: the same vector in every column
            for (integer j = 0; j < many; ++j) xs.push_back(v);
        ys.resize(xs.size());
    }

    void rate(double entries, const std::function<void()>& f_, double& error) const
    {
        std::printf("  %8.2g", error);
        if (timing) std::printf("%8.2f", 1e-9 * flop_of_entry * entries / seconds_of(f_));
        if (!(error <= (std::is_same_v<T, double> ? 1 : 4))) throw std::runtime_error("an answer is wrong");
    }
    // One line: y = A x, Y = A X with eight columns, inv(L) x with the lower triangle L.
    template <class MV, class MM, class SV>
    void line(const char* name, double stored, MV&& mv, MM&& mm, SV&& sv)
    {
        std::printf("  %-8s%12.0f", name, stored);
        const double entries = static_cast<double>(f.csr.size());
        if constexpr (!std::is_null_pointer_v<std::decay_t<MV>>) {
            mv();
            double error = error_of(f, x, y, false);
            rate(entries, mv, error);
            mm();
            // By columns the operands are the rows' numbers in another order, and hold the same.
            for (std::size_t i = 0; i < y.size(); ++i) y[i] = ys[by_columns ? i : i * many];
            error = error_of(f, x, y, false);
            rate(many * entries, mm, error);
        } else std::printf("%*s", timing ? 36 : 20, "");
        if (has_diagonal()) {
            sv();
            double error = error_of(f, y, x, true);
            rate(entries / 2, sv, error);
        }
        std::printf("\n");
    }
    bool has_diagonal() const
    {
        for (integer i = 0; i < f.m; ++i)
            if (!std::binary_search(f.ja.begin() + f.ia[place(i)], f.ja.begin() + f.ia[place(i) + 1], i))
                return false;
        return true;
    }

    void all(const structure& s)
    {
        const char *n = "N", *g = "G  C  ", *l = "TLNC  ", *gc = "G  CC ";
        const integer m = f.m, ld = many, nnz = count(f.coo.size());
        const integer mb = m / f.lb;
        std::vector<T> columns;
        for (integer j = 0; j < many; ++j) columns.insert(columns.end(), x.begin(), x.end());
        std::printf("  %-8s%12s%s\n", "", "numbers",
                    timing ? "    y = A x          Y = A X, 8       inv(L) x" : "   y = A x  Y = A X, 8  inv(L) x");
        std::printf("  %-8s%12s", "format", "stored");
        for (int j = 0; j < 3; ++j) std::printf(timing ? "     error  GFLOP/s" + (j == 0 ? 1 : 1) : "     error");
        std::printf("\n");
        line(
            "CSR", static_cast<double>(f.csr.size()),
            [&] {
                r::csrmv(n, &m, &m, at(unit), g, in(f.csr), f.ja.data(), f.ia.data(), f.ia.data() + 1, in(x),
                         at(none), out(y));
            },
            [&] {
                r::csrmm(n, &m, &many, &m, at(unit), g, in(f.csr), f.ja.data(), f.ia.data(), f.ia.data() + 1, in(xs),
                         &ld, at(none), out(ys), &ld);
            },
            [&] {
                r::csrsv(n, &m, at(unit), l, in(f.csr), f.ja.data(), f.ia.data(), f.ia.data() + 1, in(x), out(y));
            });
        line(
            "CSC", static_cast<double>(f.csc.size()),
            [&] {
                r::cscmv(n, &m, &m, at(unit), g, in(f.csc), f.ja_csc.data(), f.ia_csc.data(), f.ia_csc.data() + 1,
                         in(x), at(none), out(y));
            },
            [&] {
                r::cscmm(n, &m, &many, &m, at(unit), g, in(f.csc), f.ja_csc.data(), f.ia_csc.data(),
                         f.ia_csc.data() + 1, in(xs), &ld, at(none), out(ys), &ld);
            },
            [&] {
                r::cscsv(n, &m, at(unit), l, in(f.csc), f.ja_csc.data(), f.ia_csc.data(), f.ia_csc.data() + 1, in(x),
                         out(y));
            });
        line(
            "COO", static_cast<double>(f.coo.size()),
            [&] {
                r::coomv(n, &m, &m, at(unit), g, in(f.coo), f.row.data(), f.column.data(), &nnz, in(x), at(none),
                         out(y));
            },
            [&] {
                r::coomm(n, &m, &many, &m, at(unit), g, in(f.coo), f.row.data(), f.column.data(), &nnz, in(xs), &ld,
                         at(none), out(ys), &ld);
            },
            [&] { r::coosv(n, &m, at(unit), l, in(f.coo), f.row.data(), f.column.data(), &nnz, in(x), out(y)); });
        if (!f.bsr.empty())
            line(("BSR " + std::to_string(f.lb)).c_str(), static_cast<double>(f.bsr.size()),
                 [&] {
                     r::bsrmv(n, &mb, &mb, &f.lb, at(unit), g, in(f.bsr), f.jab.data(), f.iab.data(),
                              f.iab.data() + 1, in(x), at(none), out(y));
                 },
                 [&] {
                     r::bsrmm(n, &mb, &many, &mb, &f.lb, at(unit), g, in(f.bsr), f.jab.data(), f.iab.data(),
                              f.iab.data() + 1, in(xs), &ld, at(none), out(ys), &ld);
                 },
                 [&] {
                     r::bsrsv(n, &mb, &f.lb, at(unit), l, in(f.bsr), f.jab.data(), f.iab.data(), f.iab.data() + 1,
                              in(x), out(y));
                 });
        if (!f.dia.empty()) {
            by_columns = true;
            line(
                "DIA", static_cast<double>(f.dia.size()),
                [&] {
                    r::diamv(n, &m, &m, at(unit), g, in(f.dia), &f.lval, f.idiag.data(), &f.diagonals, in(x),
                             at(none), out(y));
                },
                [&] {
                    r::diamm(n, &m, &many, &m, at(unit), gc, in(f.dia), &f.lval, f.idiag.data(), &f.diagonals,
                             in(columns), &m, at(none), out(ys), &m);
                },
                [&] {
                    r::diasv(n, &m, at(unit), l, in(f.dia), &f.lval, f.idiag.data(), &f.diagonals, in(x), out(y));
                });
        } else std::printf("  %-8s%12.0f  left out, mostly zeros\n", "DIA", static_cast<double>(s.diagonals) * m);
        if (!f.sky.empty())
            line("skyline", static_cast<double>(f.sky.size()), nullptr, nullptr,
                 [&] { r::skysv(n, &m, at(unit), l, in(f.sky), f.pntr.data(), in(x), out(y)); });
        else std::printf("  %-8s%12.0f  left out, mostly zeros\n", "skyline", static_cast<double>(s.profile));
    }
    bool by_columns = false;
};

// ---- conjugate gradients ---------------------------------------------------------------------------------------

// Real part of the inner product, which is all that a Hermitian matrix makes.
template <class T>
double dot(const std::vector<T>& x, const std::vector<T>& y)
{
    const auto* p = reinterpret_cast<const double*>(x.data());
    const auto* q = reinterpret_cast<const double*>(y.data());
    const integer n = count(x.size() * sizeof(T) / sizeof(double));
    return vrn_blas_lp64_ddot(&n, p, &one, q, &one);
}

// A x = b for a positive definite A, whose lower triangle is read, with the x known that b is made from. The
// preconditioner is (D + L) inv(D) (D + L^H).
template <class T>
void conjugate_gradients(const formats<T>& f, const std::vector<T>& known)
{
    using r = routines<T>;
    const integer m = f.m;
    const T unit = 1, none = 0;
    const char *hermitian = "HLNC  ", *lower = "TLNC  ", *diagonal = "D NC  ";
    const auto times = [&](const std::vector<T>& v, std::vector<T>& w, const char* descr) {
        r::csrmv("N", &m, &m, at(unit), descr, in(f.csr), f.ja.data(), f.ia.data(), f.ia.data() + 1, in(v), at(none),
                 out(w));
    };
    const auto solve = [&](const char* op, std::vector<T>& v) {
        r::csrsv(op, &m, at(unit), lower, in(f.csr), f.ja.data(), f.ia.data(), f.ia.data() + 1, in(v), out(v));
    };
    std::vector<T> b(place(m)), x(b.size()), z(b.size()), p, q(b.size()), w(b.size());
    times(known, b, hermitian);
    std::vector<T> residual = b;
    const double goal = 1e-12 * std::sqrt(dot(b, b));
    double rho = 0;
    int step = 0;
    for (; step < 10 * m && std::sqrt(dot(residual, residual)) > goal; ++step) {
        w = residual;
        solve("N", w);
        times(w, z, diagonal);
        solve("C", z);
        const double next = dot(residual, z);
        const T beta = step == 0 ? 0 : next / rho, alpha_one = 1;
        rho = next;
        if (step == 0) p = z;
        else {
            for (T& v : p) v *= beta;
            r::axpy(&m, at(alpha_one), in(z), &one, out(p), &one);
        }
        times(p, q, hermitian);
        const double curvature = dot(p, q);
        if (!(curvature > 0)) {
            std::printf("  conjugate gradients: the matrix is not positive definite\n");
            return;
        }
        const T alpha = rho / curvature, minus = -alpha;
        r::axpy(&m, at(alpha), in(p), &one, out(x), &one);
        r::axpy(&m, at(minus), in(q), &one, out(residual), &one);
    }
    times(x, w, hermitian);
    double off = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        off = std::max(off, std::abs(x[i] - known[i]));
        w[i] -= b[i];
    }
    const double residual_norm = std::sqrt(dot(w, w) / dot(b, b));
    std::printf("  conjugate gradients: %d steps, |b - A x| / |b| = %.2g, largest error of x %.2g\n", step,
                residual_norm, off);
    if (!(residual_norm < 1e-10)) throw std::runtime_error("conjugate gradients do not converge");
}

template <class T>
void show(const matrix_market::matrix& stored, bool timing)
{
    const matrix_market::matrix a = matrix_market::whole(stored);
    const structure s = look(a);
    const double mean = static_cast<double>(a.entries()) / static_cast<double>(a.rows);
    std::printf("  %lld by %lld, %s, %s, %zu entries in the file, %zu in all\n", static_cast<long long>(a.rows),
                static_cast<long long>(a.columns), stored.is_complex ? "complex" : "real",
                std::string(matrix_market::symmetry_names[static_cast<int>(stored.kind)]).c_str(), stored.entries(),
                a.entries());
    std::printf("  rows of %lld to %lld entries, %.1f on average; %lld diagonals, reaching %lld below and %lld above "
                "the main one\n",
                static_cast<long long>(s.shortest), static_cast<long long>(s.longest), mean,
                static_cast<long long>(s.diagonals), static_cast<long long>(s.below),
                static_cast<long long>(s.above));
    if (a.rows != a.columns) {
        std::printf("  not square: there is nothing to convert or to solve\n");
        return;
    }
    converter<T> c(a, s);
    // What would be mostly zeros is left out.
    constexpr double fill = 40;
    c.csc();
    c.bsr();
    if (static_cast<double>(s.diagonals) * static_cast<double>(a.rows) <= fill * static_cast<double>(a.entries()))
        c.dia();
    if (static_cast<double>(s.profile) <= fill * static_cast<double>(a.entries())) c.sky();
    std::printf("  converted from each to CSR and back to the bit; errors in units of the bound k eps |A||x|; one"
                " thread\n");
    tour<T> t(c.f, timing);
    t.all(s);
    const bool symmetric = stored.kind == matrix_market::symmetry::hermitian ||
                           (stored.kind == matrix_market::symmetry::symmetric && !stored.is_complex);
    if (symmetric && t.has_diagonal()) conjugate_gradients(c.f, t.x);
}

} // namespace

int main(int argc, char** argv)
try {
    bool timing = true;
    std::vector<std::string> files;
    vrn_set_num_threads(1); // kernels beside one another, not threads
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--no-timing") timing = false;
        else if (argument.starts_with("-")) throw std::runtime_error("usage: sparse [--no-timing] [file.mtx ...]");
        else files.push_back(argument);
    }
    if (files.empty())
        for (const char* name : {"plate", "flow", "magnet"})
            files.push_back(std::string(VRN_EXAMPLES_DATA "/") + name + ".mtx");
    for (const std::string& path : files) {
        const matrix_market::matrix a = matrix_market::read(path);
        std::printf("%s\n", path.c_str());
        if (a.is_complex) show<complex>(a, timing);
        else show<double>(a, timing);
        std::printf("\n");
    }
} catch (const std::exception& e) {
    std::fprintf(stderr, "sparse: %s\n", e.what());
    return EXIT_FAILURE;
}
