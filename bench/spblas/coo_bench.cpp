// bench/spblas/coo_bench.cpp - COO kernels on one thread, in GFLOP/s, entries by rows and in any order.
// The peer named `loop` goes over the entries and adds each in memory, which is what libraries with this format have.
// Two flop an entry and column, four where an entry counts for both triangles. For solves the peer is Eigen, which
// has to build rows from the entries first, as our kernel has to.

#include "bench/spblas/kernels.hpp"
#include "bench/spblas/matrices.hpp"

#include <Eigen/Sparse>
#include <algorithm>
#include <numeric>

namespace {

using namespace vrn::bench;

template <class T>
struct operands {
    int m;
    I nnz;
    std::vector<T> val, x, y, z;
    std::vector<I> row, col;

    // Diagonal one and tiny elsewhere: repeated solves in place keep their size.
    operands(const pattern& p, bool shuffled, int columns) : m(p.rows), nnz(static_cast<I>(p.column.size()))
    {
        std::vector<int> order(p.column.size()), rows;
        for (int i = 0; i < m; ++i)
            rows.resize(static_cast<std::size_t>(p.start[static_cast<std::size_t>(i) + 1]), i);
        std::iota(order.begin(), order.end(), 0);
        if (shuffled) std::shuffle(order.begin(), order.end(), std::mt19937_64(1));
        for (const int k : order) {
            row.push_back(rows[static_cast<std::size_t>(k)]);
            col.push_back(p.column[static_cast<std::size_t>(k)]);
            val.push_back(row.back() == col.back() ? T(1) : T(1e-6) * static_cast<T>(k % 7 + 1));
        }
        x.assign(static_cast<std::size_t>(m) * static_cast<std::size_t>(columns), T(0.5)), y = x, z = x;
    }
};

pattern named(const std::string& name)
{
    return name == "laplacian" ? laplacian(1000) : name == "random" ? scattered(100000) : elasticity(30);
}

template <class T>
void mv(benchmark::State& state, const std::string& name, bool shuffled, bool symmetric)
{
    const pattern p = named(name);
    operands<T> o(symmetric ? triangle(p, true) : p, shuffled, 1);
    auto* f =
        kernel<arguments::coo_mv_par<T, I>>(joined({letter<T>, "coo0", symmetric ? "nsln" : "ng__", "c__mvout_par"}));
    const I one = 1;
    const T alpha = 1;
    contest_of(state, (symmetric ? 4.0 : 2.0) * o.nnz,
               {{"ours", true, times([&] {
                     f(&one, &o.nnz, &o.m, &o.m, &alpha, o.val.data(), o.row.data(), o.col.data(), &o.nnz, o.x.data(),
                       o.y.data());
                 })},
                {"loop", true, times([&] {
                     const T *val = o.val.data(), *x = o.x.data();
                     const I *row = o.row.data(), *col = o.col.data();
                     T* y = o.z.data();
                     for (I k = 0; k < o.nnz; ++k) {
                         y[row[k]] += val[k] * x[col[k]];
                         if (symmetric && row[k] != col[k]) y[col[k]] += val[k] * x[row[k]];
                     }
                 })}});
}

template <class T>
void mm(benchmark::State& state, const std::string& name, bool shuffled, bool by_rows, int n)
{
    operands<T> o(named(name), shuffled, n);
    auto* f =
        kernel<arguments::coo_mm_par<T, I>>(joined({letter<T>, by_rows ? "coo0ng__c" : "coo1ng__f", "__mmout_par"}));
    if (!by_rows)
        for (auto* indices : {&o.row, &o.col})
            for (I& i : *indices) ++i;
    const I one = 1, last = n, ld = by_rows ? n : o.m;
    const T alpha = 1, beta = 0;
    contest_of(state, 2.0 * n * o.nnz,
               {{"ours", true, times([&] {
                     f(&one, &last, &o.m, &o.m, &alpha, o.val.data(), o.row.data(), o.col.data(), &o.nnz, o.x.data(),
                       &ld, o.y.data(), &ld, &beta);
                 })},
                {"loop", true, times([&] {
                     const T *val = o.val.data(), *b = o.x.data();
                     const I *row = o.row.data(), *col = o.col.data();
                     T* c = o.z.data();
                     std::fill(o.z.begin(), o.z.end(), T(0));
                     if (by_rows) {
                         for (I k = 0; k < o.nnz; ++k) {
                             const T* from = b + static_cast<std::ptrdiff_t>(col[k]) * n;
                             T* to = c + static_cast<std::ptrdiff_t>(row[k]) * n;
                             for (int j = 0; j < n; ++j) to[j] += val[k] * from[j];
                         }
                     } else
                         for (std::ptrdiff_t j = 0; j < n; ++j)
                             for (I k = 0; k < o.nnz; ++k)
                                 c[row[k] - 1 + j * o.m] += val[k] * b[col[k] - 1 + j * o.m];
                 })}});
}

template <class T>
void sv(benchmark::State& state, const std::string& name, bool shuffled)
{
    operands<T> o(triangle(named(name), true), shuffled, 1);
    auto* f = kernel<arguments::coo_sv_seq<T, I>>(joined({letter<T>, "coo0ntlnc__svout_seq"}));
    Eigen::Matrix<T, Eigen::Dynamic, 1> z = Eigen::Matrix<T, Eigen::Dynamic, 1>::Constant(o.m, T(0.5));
    std::vector<Eigen::Triplet<T>> all;
    for (std::size_t k = 0; k < o.val.size(); ++k) all.emplace_back(o.row[k], o.col[k], o.val[k]);
    contest_of(state, 2.0 * o.nnz,
               {{"ours", true, times([&] {
                     f(&o.m, &o.m, nullptr, o.val.data(), o.row.data(), o.col.data(), &o.nnz, nullptr, o.y.data());
                 })},
                {"Eigen, built", true, times([&] {
                     Eigen::SparseMatrix<T, Eigen::RowMajor, int> rows(o.m, o.m);
                     rows.setFromTriplets(all.begin(), all.end());
                     rows.template triangularView<Eigen::Lower>().solveInPlace(z);
                 })}});
}

template <class T>
void add(const std::string& name)
{
    for (const bool shuffled : {false, true}) {
        auto row = [&](const std::string& what, auto body) {
            add_row<T>(joined({what, shuffled ? "_any_order" : ""}), name, body);
        };
        row("mv", [=](auto& s) { mv<T>(s, name, shuffled, false); });
        row("mv_symm", [=](auto& s) { mv<T>(s, name, shuffled, true); });
        row("mm_rows8", [=](auto& s) { mm<T>(s, name, shuffled, true, 8); });
        row("mm_rows32", [=](auto& s) { mm<T>(s, name, shuffled, true, 32); });
        row("mm_columns8", [=](auto& s) { mm<T>(s, name, shuffled, false, 8); });
        row("sv_lower", [=](auto& s) { sv<T>(s, name, shuffled); });
    }
}

} // namespace

int main(int argc, char** argv)
{
    for (const char* name : {"laplacian", "random", "elasticity"}) {
        add<double>(name);
        add<float>(name);
    }
    return main_with_head(argc, argv);
}
