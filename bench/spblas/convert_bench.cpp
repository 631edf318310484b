// bench/spblas/convert_bench.cpp - conversions beside Eigen, one thread, in 1e9 entries a second. Rows: conversion /
// matrix. Eigen builds COO from triplets and back by setFromTriplets, and has no blocks: there the peer is a copy of
// the arrays, the least that any conversion could do.

#include "bench/spblas/operands.hpp"

#include <cstring>

namespace {

using namespace vrn::bench;
using T = double;

struct arrays {
    std::vector<I> i, j;
    std::vector<T> a;
    arrays(std::size_t lines, std::size_t entries) : i(lines), j(entries), a(entries) {}
};

void csc(benchmark::State& state, const std::string& name)
{
    sparse<T> a = matrix_of<T>(named_pattern(name));
    const I m = static_cast<I>(a.rows()), job[] = {0, 0, 0, 0, 0, 1};
    const auto nnz = static_cast<std::size_t>(a.nonZeros());
    arrays t(static_cast<std::size_t>(m) + 1, nnz);
    I info;
    Eigen::SparseMatrix<T, Eigen::ColMajor, int> b;
    auto* f = kernel<arguments::csrcsc<T, I>>("vrn_dcsrcsc");
    contest_of(state, static_cast<double>(nnz),
               {turn("ours",
                     [&] {
                         f(job, &m, a.valuePtr(), a.innerIndexPtr(), a.outerIndexPtr(), t.a.data(), t.j.data(),
                           t.i.data(), &info);
                     }),
                turn("Eigen", [&] { b = a; })});
}

void coo(benchmark::State& state, const std::string& name, bool back)
{
    sparse<T> a = matrix_of<T>(named_pattern(name));
    const auto nnz = static_cast<std::size_t>(a.nonZeros());
    const I m = static_cast<I>(a.rows());
    I count = static_cast<I>(nnz), info;
    const I there[] = {0, 0, 0, 0, count, 3}, here[] = {1, 0, 0, 0, count, 0};
    arrays t(nnz, nnz), r(static_cast<std::size_t>(m) + 1, nnz);
    std::vector<Eigen::Triplet<T, int>> triplets;
    for (I i = 0; i < m; ++i)
        for (sparse<T>::InnerIterator e(a, i); e; ++e) triplets.emplace_back(i, static_cast<int>(e.col()), e.value());
    sparse<T> b(m, m);
    auto* f = kernel<arguments::csrcoo<T, I>>("vrn_dcsrcoo");
    f(there, &m, a.valuePtr(), a.innerIndexPtr(), a.outerIndexPtr(), &count, t.a.data(), t.i.data(), t.j.data(),
      &info);
    contest_of(state, static_cast<double>(nnz),
               {turn("ours",
                     [&] {
                         if (back)
                             f(here, &m, r.a.data(), r.j.data(), r.i.data(), &count, t.a.data(), t.i.data(),
                               t.j.data(), &info);
                         else
                             f(there, &m, a.valuePtr(), a.innerIndexPtr(), a.outerIndexPtr(), &count, t.a.data(),
                               t.i.data(), t.j.data(), &info);
                     }),
                turn("Eigen", [&] {
                    if (back) b.setFromTriplets(triplets.begin(), triplets.end());
                    else {
                        std::size_t k = 0;
                        for (I i = 0; i < m; ++i)
                            for (sparse<T>::InnerIterator e(a, i); e; ++e)
                                triplets[k++] = {i, static_cast<int>(e.col()), e.value()};
                    }
                })});
}

void bsr(benchmark::State& state, bool back)
{
    sparse<T> a = matrix_of<T>(elasticity(30));
    const auto nnz = static_cast<std::size_t>(a.nonZeros());
    const I m = static_cast<I>(a.rows()), mb = m / 3, lb = 3, lval = 9, there[] = {0, 0, 0, 0, 0, 1},
            here[] = {1, 0, 0, 0, 0, 1};
    arrays t(static_cast<std::size_t>(mb) + 1, nnz), r(static_cast<std::size_t>(m) + 1, nnz);
    I info;
    auto* f = kernel<arguments::csrbsr<T, I>>("vrn_dcsrbsr");
    f(there, &m, &lb, &lval, a.valuePtr(), a.innerIndexPtr(), a.outerIndexPtr(), t.a.data(), t.j.data(), t.i.data(),
      &info);
    contest_of(state, static_cast<double>(nnz),
               {turn("ours",
                     [&] {
                         if (back)
                             f(here, &mb, &lb, &lval, r.a.data(), r.j.data(), r.i.data(), t.a.data(), t.j.data(),
                               t.i.data(), &info);
                         else
                             f(there, &m, &lb, &lval, a.valuePtr(), a.innerIndexPtr(), a.outerIndexPtr(), t.a.data(),
                               t.j.data(), t.i.data(), &info);
                     }),
                turn("copy", [&] {
                    std::memcpy(r.a.data(), a.valuePtr(), nnz * sizeof(T));
                    std::memcpy(r.j.data(), a.innerIndexPtr(), nnz * sizeof(I));
                })});
}

void dense(benchmark::State& state, bool by_rows, bool back)
{
    const I m = 2000, ld = m;
    Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> rows(m, m);
    Eigen::MatrixXd columns(m, m);
    for (I i = 0; i < m; ++i)
        for (I j = 0; j < m; ++j) rows(i, j) = columns(i, j) = (i * 7 + j * 13) % 20 == 0 ? i + 1 : 0;
    sparse<T> a = rows.sparseView(), b;
    arrays t(static_cast<std::size_t>(m) + 1, static_cast<std::size_t>(a.nonZeros()));
    const I job[] = {back ? 1 : 0, by_rows ? 0 : 1, 0, 2, static_cast<I>(a.nonZeros()), 1};
    I info;
    auto* f = kernel<arguments::dnscsr<T, I>>("vrn_ddnscsr");
    contest_of(state, static_cast<double>(m) * m,
               {turn("ours",
                     [&] {
                         if (back)
                             f(job, &m, &m, by_rows ? rows.data() : columns.data(), &ld, a.valuePtr(),
                               a.innerIndexPtr(), a.outerIndexPtr(), &info);
                         else
                             f(job, &m, &m, by_rows ? rows.data() : columns.data(), &ld, t.a.data(), t.j.data(),
                               t.i.data(), &info);
                     }),
                turn("Eigen", [&] {
                    if (back && by_rows) rows = a;
                    else if (back) columns = a;
                    else if (by_rows) b = rows.sparseView();
                    else b = columns.sparseView();
                })});
}

} // namespace

int main(int argc, char** argv)
{
    for (const char* name : {"laplacian", "random", "elasticity"}) {
        add_row({"csrcsc/", name}, [=](auto& s) { csc(s, name); });
        add_row({"csrcoo/", name}, [=](auto& s) { coo(s, name, false); });
        add_row({"coocsr/", name}, [=](auto& s) { coo(s, name, true); });
    }
    add_row({"csrbsr/elasticity"}, [](auto& s) { bsr(s, false); });
    add_row({"bsrcsr/elasticity"}, [](auto& s) { bsr(s, true); });
    for (const bool by_rows : {true, false})
        for (const bool back : {false, true})
            add_row({back ? "csrdns" : "dnscsr", by_rows ? "_rows" : "_columns"},
                    [=](auto& s) { dense(s, by_rows, back); });
    return main_with_head(argc, argv);
}
