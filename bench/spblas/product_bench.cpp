// bench/spblas/product_bench.cpp - sparse-sparse products and sums of a matrix with itself beside Eigen, one thread,
// in GFLOP/s: two flop a product of entries, one an entry of a sum. Ours count, then fill, as a caller does who does
// not know the size; Eigen estimates it and sorts rows.

#include "bench/spblas/operands.hpp"

namespace {

using namespace vrn::bench;
using T = double;

struct operands {
    sparse<T> a;
    std::vector<I> ia, ja, ic, jc;
    std::vector<T> c;
    I m, one = 1, three = 3, zero = 0, info = 0;
    T beta = 2;
    double products = 0;

    explicit operands(const std::string& name)
        : a(matrix_of<T>(name == "laplacian" ? laplacian(400)
                         : name == "random"  ? scattered(20000)
                                             : elasticity(12))),
          m(static_cast<I>(a.rows()))
    {
        ia.assign(a.outerIndexPtr(), a.outerIndexPtr() + m + 1);
        ja.assign(a.innerIndexPtr(), a.innerIndexPtr() + a.nonZeros());
        for (const I j : ja) products += ia[static_cast<std::size_t>(j + 1)] - ia[static_cast<std::size_t>(j)];
        for (I& e : ia) ++e;
        for (I& e : ja) ++e;
        ic.resize(ia.size());
    }
    // Counts become one-based starts.
    void make_room()
    {
        I start = 1;
        for (I i = 0; i <= m; ++i) {
            const I count = i < m ? ic[static_cast<std::size_t>(i)] : 0;
            ic[static_cast<std::size_t>(i)] = start;
            start += count;
        }
        jc.resize(static_cast<std::size_t>(start - 1)), c.resize(jc.size());
    }
};

void multiply(benchmark::State& state, const std::string& name)
{
    operands o(name);
    auto* f = kernel<arguments::mcsr_notr<T, I>>("dmcsr_notr");
    auto run = [&](const I& request) {
        f(&o.one, &o.m, &o.m, &request, nullptr, o.a.valuePtr(), o.ja.data(), o.ia.data(), o.a.valuePtr(),
          o.ja.data(), o.ia.data(), o.c.data(), o.jc.data(), o.ic.data(), nullptr, &o.zero, nullptr, &o.info);
    };
    sparse<T> c;
    contest_of(state, 2 * o.products,
               {turn("ours",
                     [&] {
                         run(1);
                         o.make_room();
                         run(2);
                     }),
                turn("Eigen", [&] { c = o.a * o.a; })});
}

void transposed(benchmark::State& state, const std::string& name, bool linked)
{
    operands o(name);
    auto run = [&](const I& request) {
        if (linked)
            kernel<arguments::multcsr_tr<T, I>>("dmultcsr_tr")(
                &o.m, &o.m, &o.m, &request, &o.zero, o.a.valuePtr(), o.ja.data(), o.ia.data(), o.a.valuePtr(),
                o.ja.data(), o.ia.data(), o.c.data(), o.jc.data(), o.ic.data(), nullptr, &o.info);
        else
            kernel<arguments::multcsr_trom<T, I>>("dmultcsr_trom")(
                &o.m, &o.m, &o.m, &request, &o.one, o.a.valuePtr(), o.ja.data(), o.ia.data(), o.a.valuePtr(),
                o.ja.data(), o.ia.data(), o.c.data(), o.jc.data(), o.ic.data(), nullptr, &o.info);
    };
    sparse<T> c;
    contest_of(state, 2 * o.products,
               {turn("ours",
                     [&] {
                         run(1);
                         o.make_room();
                         run(2);
                     }),
                turn("Eigen", [&] { c = sparse<T>(o.a.transpose()) * o.a; })});
}

void sum(benchmark::State& state, const std::string& name)
{
    operands o(name);
    auto* f = kernel<arguments::mcsradd_notr<T, I>>("dmcsradd_notr");
    auto run = [&](const I& request) {
        f(&o.one, &o.m, &request, &o.zero, o.a.valuePtr(), o.ja.data(), o.ia.data(), &o.beta, o.a.valuePtr(),
          o.ja.data(), o.ia.data(), o.c.data(), o.jc.data(), o.ic.data(), &o.zero, &o.info);
    };
    sparse<T> c;
    contest_of(state, 2 * static_cast<double>(o.a.nonZeros()),
               {turn("ours",
                     [&] {
                         run(1);
                         o.make_room();
                         run(2);
                     }),
                turn("Eigen", [&] { c = o.a + o.beta * o.a; })});
}

} // namespace

int main(int argc, char** argv)
{
    for (const char* name : {"laplacian", "random", "elasticity"}) {
        add_row({"multiply/", name}, [=](auto& s) { multiply(s, name); });
        add_row({"multiply_trans_linked/", name}, [=](auto& s) { transposed(s, name, true); });
        add_row({"multiply_trans_copied/", name}, [=](auto& s) { transposed(s, name, false); });
        add_row({"add/", name}, [=](auto& s) { sum(s, name); });
    }
    return main_with_head(argc, argv);
}
