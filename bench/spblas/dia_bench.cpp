// bench/spblas/dia_bench.cpp - DIA kernels on one thread, in GFLOP/s, on the five-point Laplacian of 1000 by 1000.
// The peer named `loop` is the plain loop over diagonals, one after the other, that libraries with this format have;
// Eigen has no such format: rows of the table named so show its compressed rows beside ours. Products clear y first,
// theirs and ours. Two flop a stored element and column, four where an element counts for both triangles.

#include "bench/spblas/kernels.hpp"
#include "bench/spblas/matrices.hpp"

#include <Eigen/Sparse>
#include <algorithm>

namespace {

using namespace vrn::bench;

// Diagonals of the Laplacian, their values by rows for us and by columns for the loop; diagonal one and tiny
// elsewhere, so that repeated solves in place keep their size.
template <class T>
struct operands {
    std::vector<I> at;
    int m = 1000000;
    std::vector<T> by_row, by_column, x, y;
    Eigen::SparseMatrix<T, Eigen::RowMajor, int> rows;
    Eigen::Matrix<T, Eigen::Dynamic, 1> ex, ey;

    operands(std::vector<I> offsets, int columns) : at(std::move(offsets))
    {
        const auto size = static_cast<std::size_t>(m);
        by_row.resize(size * at.size()), by_column.resize(by_row.size());
        x.assign(size * static_cast<std::size_t>(columns), T(0.5)), y = x;
        std::vector<Eigen::Triplet<T>> all;
        for (std::size_t j = 0; j < at.size(); ++j)
            for (int i = std::max(0, -at[j]); i < std::min(m, m - at[j]); ++i) {
                const T v = at[j] == 0 ? T(1) : T(1e-6) * static_cast<T>(i % 7 + 1);
                by_row[j * size + static_cast<std::size_t>(i)] = v;
                by_column[j * size + static_cast<std::size_t>(i + at[j])] = v;
                all.emplace_back(i, i + at[j], v);
            }
        rows.resize(m, m);
        rows.setFromTriplets(all.begin(), all.end());
        ex.setConstant(m, T(0.5)), ey = ex;
    }
    double flop() const { return 2 * static_cast<double>(rows.nonZeros()); }
};
const std::vector<I> whole{-1000, -1, 0, 1, 1000}, lower{-1000, -1, 0}, upper{0, 1, 1000};

template <class T>
void loop(const operands<T>& o, const T* x, T* y)
{
    for (std::size_t j = 0; j < o.at.size(); ++j) {
        const T* diagonal = o.by_column.data() + j * static_cast<std::size_t>(o.m);
        const int d = o.at[j], from = std::max(0, d), to = std::min(o.m, o.m + d);
        const T* v = diagonal + from;
        const T* in = x + from;
        T* out = y + (from - d);
        for (int i = 0; i < to - from; ++i) out[i] += v[i] * in[i];
    }
}

template <class T>
void mv(benchmark::State& state, const std::vector<I>& at, const std::string& shape, double sides,
        const std::string& peer, void (*run)(operands<T>&))
{
    operands<T> o(at, 1);
    auto* f = kernel<arguments::dia_mv_par<T, I>>(joined({letter<T>, "dia1", shape, "f__mvout_par"}));
    const I ndiag = static_cast<I>(at.size());
    const T alpha = 1;
    contest_of(state, sides * o.flop(),
               {{"ours", true, times([&] {
                     std::fill(o.y.begin(), o.y.end(), T(0));
                     f(nullptr, nullptr, &o.m, &o.m, &alpha, o.by_row.data(), &o.m, o.at.data(), &ndiag, o.x.data(),
                       o.y.data());
                 })},
                {peer, true, times([&] { run(o); })}});
}

template <class T>
void mm(benchmark::State& state, int n)
{
    operands<T> o(whole, n);
    auto* f = kernel<arguments::dia_mm_par<T, I>>(joined({letter<T>, "dia1ng__f__mmout_par"}));
    const I ndiag = static_cast<I>(whole.size()), one = 1, last = n;
    const T alpha = 1;
    using matrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
    const matrix b = matrix::Constant(o.m, n, T(0.5));
    matrix c = b;
    contest_of(state, n * o.flop(),
               {{"ours", true, times([&] {
                     std::fill(o.y.begin(), o.y.end(), T(0));
                     f(&one, &last, &o.m, &o.m, &alpha, o.by_row.data(), &o.m, o.at.data(), &ndiag, o.x.data(), &o.m,
                       nullptr, o.y.data(), &o.m);
                 })},
                {"loop", true, times([&] {
                     std::fill(o.y.begin(), o.y.end(), T(0));
                     for (int j = 0; j < n; ++j) {
                         const auto skip = static_cast<std::ptrdiff_t>(j) * o.m;
                         loop(o, o.x.data() + skip, o.y.data() + skip);
                     }
                 })},
                {"Eigen rows", true, times([&] { c.noalias() = o.rows * b; })}});
}

template <class T>
void solve(benchmark::State& state, const std::vector<I>& at, const std::string& shape, int n)
{
    operands<T> o(at, n);
    const bool low = at[0] < 0;
    const I one = 1, last = n, dfirst = low ? 1 : 2, dlast = low ? 2 : 3, dmain = low ? 3 : 1;
    auto* sv = kernel<arguments::dia_sv_seq<T, I>>(joined({letter<T>, "dia1", shape, "f__svout_seq"}));
    auto* sm = kernel<arguments::dia_sm_par<T, I>>(joined({letter<T>, "dia1", shape, "f__smout_par"}));
    Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic> c(o.m, n);
    c.setConstant(T(0.5));
    contest_of(state, n * o.flop(),
               {{"ours", true, times([&] {
                     if (n == 1)
                         sv(&o.m, o.by_row.data(), &o.m, o.at.data(), o.y.data(), &dfirst, &dlast, nullptr, &dmain);
                     else
                         sm(&one, &last, &o.m, o.by_row.data(), &o.m, o.at.data(), nullptr, o.y.data(), &o.m, &dfirst,
                            &dlast, nullptr, &dmain);
                 })},
                {"Eigen rows", true, times([&] {
                     if (low) o.rows.template triangularView<Eigen::Lower>().solveInPlace(c);
                     else o.rows.template triangularView<Eigen::Upper>().solveInPlace(c);
                 })}});
}

template <class T>
void add()
{
    auto row = [](const std::string& what, auto body) { add_row<T>(what, "laplacian", body); };
    using o = operands<T>&;
    row("mv", [](auto& s) {
        mv<T>(s, whole, "ng__", 1, "loop", [](o a) {
            std::fill(a.y.begin(), a.y.end(), T(0));
            loop(a, a.x.data(), a.y.data());
        });
    });
    row("mv_beside_rows",
        [](auto& s) { mv<T>(s, whole, "ng__", 1, "Eigen rows", [](o a) { a.ey.noalias() = a.rows * a.ex; }); });
    row("mv_trans_beside_rows", [](auto& s) {
        mv<T>(s, whole, "tg__", 1, "Eigen rows", [](o a) { a.ey.noalias() = a.rows.transpose() * a.ex; });
    });
    row("mv_symm_beside_rows", [](auto& s) {
        mv<T>(s, lower, "nsln", 2, "Eigen rows",
              [](o a) { a.ey.noalias() = a.rows.template selfadjointView<Eigen::Lower>() * a.ex; });
    });
    row("mm8", [](auto& s) { mm<T>(s, 8); });
    row("sv_lower", [](auto& s) { solve<T>(s, lower, "ntln", 1); });
    row("sv_upper", [](auto& s) { solve<T>(s, upper, "ntun", 1); });
    row("sv_lower_far", [](auto& s) { solve<T>(s, {-1000, -999, 0}, "ntln", 1); });
    row("sm_lower8", [](auto& s) { solve<T>(s, lower, "ntln", 8); });
}

} // namespace

int main(int argc, char** argv)
{
    add<double>();
    add<float>();
    return main_with_head(argc, argv);
}
