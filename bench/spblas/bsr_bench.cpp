// bench/spblas/bsr_bench.cpp - BSR kernels on one thread beside our own CSR on the same matrix, and Eigen; GFLOP/s.
// Neighbours of a finite-element mesh, blocks of the given side. Rows: operation / side; `cached` is a mesh that the
// second level holds.

#include "bench/spblas/operands.hpp"

#include <memory>

namespace {

using namespace vrn::bench;

// The mesh's nodes as a pattern, and every entry of it blown up to a block.
pattern nodes(int side)
{
    const pattern p = elasticity(side);
    pattern q{"nodes"};
    q.rows = p.rows / 3;
    for (int i = 0; i < q.rows; ++i) {
        for (int k = p.start[static_cast<std::size_t>(3 * i)]; k < p.start[static_cast<std::size_t>(3 * i + 1)];
             k += 3)
            q.column.push_back(p.column[static_cast<std::size_t>(k)] / 3);
        q.close_row();
    }
    return q;
}
pattern blown_up(const pattern& p, int lb)
{
    pattern q{"blocks"};
    q.rows = p.rows * lb;
    for (int i = 0; i < q.rows; ++i) {
        for (int k = p.start[static_cast<std::size_t>(i / lb)]; k < p.start[static_cast<std::size_t>(i / lb + 1)];
             ++k)
            for (int s = 0; s < lb; ++s) q.column.push_back(p.column[static_cast<std::size_t>(k)] * lb + s);
        q.close_row();
    }
    return q;
}

template <class T>
struct operands {
    pattern blocks;
    sparse<T> a;
    std::vector<T> val;
    std::vector<I> one_based;
    Eigen::Matrix<T, Eigen::Dynamic, 1> x, y, z;
    I one = 1, lb, mb, m, zero = 0;
    T alpha = 1, beta = 0;

    operands(int side, int mesh)
        : blocks(nodes(mesh)), a(matrix_of<T>(blown_up(blocks, side))),
          val(static_cast<std::size_t>(a.nonZeros()), T(0.25)), one_based(blocks.column), x(a.rows()), y(a.rows()),
          z(a.rows()), lb(side), mb(blocks.rows), m(static_cast<I>(a.rows()))
    {
        for (I& j : one_based) ++j;
        x.setConstant(T(0.5)), y.setZero(), z.setZero();
    }
    const I* begin() const { return blocks.start.data(); }
    double flop() const { return 2.0 * static_cast<double>(a.nonZeros()); }
};

// One set of operands at a time: they are large.
template <class T>
operands<T>& given(int side, bool cached)
{
    static std::unique_ptr<operands<T>> kept;
    static bool small;
    if (kept == nullptr || kept->lb != side || small != cached) {
        kept.reset();
        kept = std::make_unique<operands<T>>(side, cached ? 18 / side + 2 : side > 3 ? 22 : 30);
        small = cached;
    }
    return *kept;
}

template <class T>
void gemv(benchmark::State& state, int side, bool by_rows, bool cached)
{
    auto& o = given<T>(side, cached);
    auto* f = kernel<arguments::bsr_gemv_par<T, I>>(
        joined({letter<T>, by_rows ? "bsr0ng__c" : "bsr1ng__f", "__gemvout_par"}));
    auto* g = kernel<arguments::csr_mv_par<T, I>>(joined({letter<T>, "csr0ng__c__mvout_par"}));
    const I* indx = by_rows ? o.blocks.column.data() : o.one_based.data();
    contest_of(state, o.flop(),
               {turn("ours",
                     [&o, f, indx] {
                         f(&o.one, &o.mb, nullptr, &o.lb, nullptr, o.val.data(), indx, o.begin(), nullptr, o.x.data(),
                           o.y.data());
                     }),
                turn("our CSR",
                     [&o, g] {
                         g(&o.one, &o.m, &o.m, &o.m, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(),
                           o.a.outerIndexPtr(), o.a.outerIndexPtr() + 1, o.x.data(), o.z.data(), &o.beta);
                     }),
                turn("Eigen", [&o] { o.z.noalias() = o.a * o.x; })});
}

// The whole pattern is stored and the lower triangle counts, in CSR too.
template <class T>
void mv(benchmark::State& state, int side, bool by_rows)
{
    auto& o = given<T>(side, false);
    auto* f =
        kernel<arguments::bsr_mv_par<T, I>>(joined({letter<T>, by_rows ? "bsr0nslnc" : "bsr1nslnf", "__mvout_par"}));
    auto* g = kernel<arguments::csr_mv_par<T, I>>(joined({letter<T>, "csr0nslnc__mvout_par"}));
    const I* indx = by_rows ? o.blocks.column.data() : o.one_based.data();
    contest_of(state, o.flop(),
               {turn("ours",
                     [&o, f, indx] {
                         f(&o.one, &o.mb, nullptr, &o.lb, &o.alpha, o.val.data(), indx, o.begin(), o.begin() + 1,
                           o.x.data(), o.y.data());
                     }),
                turn("our CSR", [&o, g] {
                    g(&o.one, &o.m, &o.m, &o.m, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(), o.a.outerIndexPtr(),
                      o.a.outerIndexPtr() + 1, o.x.data(), o.z.data(), &o.beta);
                })});
}

template <class T>
void mm(benchmark::State& state, int side, bool by_rows, int n)
{
    auto& o = given<T>(side, false);
    std::vector<T> b(static_cast<std::size_t>(o.m) * static_cast<std::size_t>(n), T(0.5)), c(b.size()), d(b.size());
    auto* f = kernel<arguments::bsr_mm_whole<T, I>>(joined({by_rows ? "cspblas_" : "", letter<T>, "bsrmmgen"}));
    auto* g =
        kernel<arguments::csr_mm_par<T, I>>(joined({letter<T>, by_rows ? "csr0ng__c" : "csr0ng__f", "__mmout_par"}));
    const I columns = n, ld = by_rows ? n : o.m, last = by_rows ? o.m : n;
    contest_of(state, o.flop() * n,
               {turn("ours",
                     [&] {
                         f(&o.one, &o.mb, &columns, &o.lb, &o.alpha, o.val.data(), o.blocks.column.data(), o.begin(),
                           o.begin() + 1, b.data(), &ld, c.data(), &ld, &o.zero);
                     }),
                turn("our CSR", [&] {
                    g(&o.one, &last, &o.m, &columns, &o.m, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(),
                      o.a.outerIndexPtr(), o.a.outerIndexPtr() + 1, b.data(), &ld, d.data(), &ld, &o.beta);
                })});
}

template <class T>
void add(int side)
{
    const std::string end = std::to_string(side);
    for (const bool by_rows : {true, false}) {
        const char* layout = by_rows ? "_rows/" : "_columns/";
        add_row({letter<T>, "gemv", layout, end}, [=](auto& s) { gemv<T>(s, side, by_rows, false); });
        add_row({letter<T>, "gemv", layout, end, "/cached"}, [=](auto& s) { gemv<T>(s, side, by_rows, true); });
        add_row({letter<T>, "mv_symm", layout, end}, [=](auto& s) { mv<T>(s, side, by_rows); });
        if (side == 3)
            for (const int n : {8, 32})
                add_row({letter<T>, "mm", std::to_string(n), layout, end},
                        [=](auto& s) { mm<T>(s, side, by_rows, n); });
    }
}

} // namespace

int main(int argc, char** argv)
{
    for (const int side : {2, 3, 4, 5, 6, 8}) {
        add<double>(side);
        add<float>(side);
    }
    return main_with_head(argc, argv);
}
