// bench/spblas/public_bench.cpp - the public sparse BLAS on two threads beside itself on one, in GFLOP/s. Rows:
// operation / matrix; the ratio is what the second thread brings. The small matrices stay in the caches of two cores,
// the large ones read memory, whose bandwidth the two share.

#include "bench/spblas/matrices.hpp"
#include "bench/support/contest.hpp"

#include "vrn/service.h"
#include "vrn/spblas.h"

#include <map>
#include <memory>

namespace {

using namespace vrn::bench;
using integer = std::int32_t;

struct operands {
    pattern p;
    std::vector<double> val, x, y, b, c;
    integer m, columns = 8, nnz;
    std::vector<integer> row;
    double one = 1, zero = 0;

    explicit operands(pattern given) : p(std::move(given)), m(p.rows), nnz(static_cast<integer>(p.column.size()))
    {
        val.assign(p.column.size(), 0.01), x.assign(static_cast<std::size_t>(m), 0.5), y = x;
        b.assign(x.size() * 8, 0.5), c = b;
        for (integer i = 0; i < m; ++i)
            for (int k = p.start[static_cast<std::size_t>(i)]; k < p.start[static_cast<std::size_t>(i) + 1]; ++k) {
                row.push_back(i);
                if (p.column[static_cast<std::size_t>(k)] == i) val[static_cast<std::size_t>(k)] = 2;
            }
    }
    const integer* begin() const { return p.start.data(); }
};

operands& given(const std::string& name)
{
    static std::map<std::string, std::unique_ptr<operands>> all;
    auto& o = all[name];
    if (o == nullptr) {
        pattern p = name == "laplacian"         ? laplacian(1000)
                    : name == "laplacian_small" ? laplacian(120)
                    : name == "elasticity"      ? elasticity(30)
                                                : elasticity(9);
        o = std::make_unique<operands>(std::move(p));
    }
    return *o;
}

using operation = void (*)(operands&);

void mv(operands& o, const char* trans, const char* descr)
{
    vrn_spblas_lp64_dcsrmv(trans, &o.m, &o.m, &o.one, descr, o.val.data(), o.p.column.data(), o.begin(),
                           o.begin() + 1, o.x.data(), &o.zero, o.y.data());
}
void mm(operands& o, const char* descr)
{
    const integer ld = descr[4] == 'R' ? o.columns : o.m;
    vrn_spblas_lp64_dcsrmm("N", &o.m, &o.columns, &o.m, &o.one, descr, o.val.data(), o.p.column.data(), o.begin(),
                           o.begin() + 1, o.b.data(), &ld, &o.zero, o.c.data(), &ld);
}
void sm(operands& o)
{
    vrn_spblas_lp64_dcsrsm("N", &o.m, &o.columns, &o.one, "TLNCR ", o.val.data(), o.p.column.data(), o.begin(),
                           o.begin() + 1, o.b.data(), &o.columns, o.c.data(), &o.columns);
}
void coomv(operands& o)
{
    vrn_spblas_lp64_dcoomv("N", &o.m, &o.m, &o.one, "G  C  ", o.val.data(), o.row.data(), o.p.column.data(), &o.nnz,
                           o.x.data(), &o.zero, o.y.data());
}

void contest_of(benchmark::State& state, const std::string& name, operation f, double work)
{
    operands& o = given(name);
    const auto on = [&o, f](int threads) {
        return [&o, f, threads](long calls) {
            vrn_set_num_threads(threads);
            while (calls-- > 0) f(o);
        };
    };
    contest c;
    c.work = work * static_cast<double>(o.nnz);
    c.all = {{"two threads", true, on(2)}, {"one thread", true, on(1)}};
    c.seconds = 0.02;
    hold(state, c);
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::tuple<const char*, operation, double>> rows = {
        {"mv", [](operands& o) { mv(o, "N", "G  C  "); }, 2},
        {"mv_trans", [](operands& o) { mv(o, "T", "G  C  "); }, 2},
        {"mv_symm", [](operands& o) { mv(o, "N", "SLNC  "); }, 2},
        {"mv_coo", coomv, 2},
        {"mm_rows8", [](operands& o) { mm(o, "G  CR "); }, 16},
        {"mm_columns8", [](operands& o) { mm(o, "G  CC "); }, 16},
        {"sm_lower_rows8", sm, 8},
    };
    for (const char* name : {"laplacian_small", "elasticity_small", "laplacian", "elasticity"})
        for (const auto& [what, f, work] : rows) {
            std::string label = what;
            label += '/';
            label += name;
            benchmark::RegisterBenchmark(label.c_str(), [name = std::string(name), f = f,
                                                         work = work](auto& s) { contest_of(s, name, f, work); })
                ->UseManualTime()
                ->Iterations(1);
        }
    return main_with_head(argc, argv);
}
