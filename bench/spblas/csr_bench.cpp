// bench/spblas/csr_bench.cpp - CSR kernels on one thread beside Eigen compiled for SSE4.2, in GFLOP/s.
// Rows: operation / matrix. Two flop an entry and column; a triangular solve counts its division as an entry.
// The peer named `loop` is the plain C loop with four sums, which compilers and libraries without kernels give.

#include "bench/spblas/kernels.hpp"
#include "bench/spblas/matrices.hpp"

#include <Eigen/Sparse>
#include <memory>

namespace {

using namespace vrn::bench;
template <class T>
using sparse = Eigen::SparseMatrix<T, Eigen::RowMajor, int>;
template <class T>
using vector = Eigen::Matrix<T, Eigen::Dynamic, 1>;

// Diagonal one and tiny elsewhere: repeated solves in place keep their size.
template <class T>
sparse<T> matrix_of(const pattern& p)
{
    std::vector<T> values(p.column.size());
    for (int i = 0; i < p.rows; ++i)
        for (int k = p.start[static_cast<std::size_t>(i)]; k < p.start[static_cast<std::size_t>(i) + 1]; ++k)
            values[static_cast<std::size_t>(k)] =
                p.column[static_cast<std::size_t>(k)] == i ? T(1) : T(1e-6) * static_cast<T>(k % 7 + 1);
    return Eigen::Map<const sparse<T>>(p.rows, p.rows, static_cast<Eigen::Index>(p.column.size()), p.start.data(),
                                       p.column.data(), values.data());
}

// One matrix and all that a row of the table needs. Kept for the life of the program: each is asked for many times.
template <class T>
struct operands {
    sparse<T> a;
    vector<T> x, y, z;
    I m, one = 1;
    T alpha = 1, beta = 0;

    explicit operands(const pattern& p)
        : a(matrix_of<T>(p)), x(vector<T>::LinSpaced(p.rows, 0, 1)), y(x), z(x), m(p.rows)
    {
    }
    const I* begin() const { return a.outerIndexPtr(); }
    const I* end() const { return a.outerIndexPtr() + 1; }
};

enum class which { whole, lower, upper };

template <class T>
operands<T>& given(const std::string& name, which part)
{
    static std::vector<std::pair<std::string, std::unique_ptr<operands<T>>>> all;
    const std::string key = name + std::to_string(static_cast<int>(part));
    for (auto& [k, o] : all)
        if (k == key) return *o;
    const pattern p = name == "laplacian" ? laplacian(1000) : name == "random" ? scattered(100000) : elasticity(30);
    all.emplace_back(key,
                     std::make_unique<operands<T>>(part == which::whole ? p : triangle(p, part == which::lower)));
    return *all.back().second;
}

template <class T>
void loop_mv(const operands<T>& o, T* y)
{
    const T *val = o.a.valuePtr(), *x = o.x.data();
    const int* col = o.a.innerIndexPtr();
    for (int i = 0; i < o.m; ++i) {
        T s0 = 0, s1 = 0, s2 = 0, s3 = 0;
        int k = o.begin()[i];
        const int e = o.end()[i];
        for (; k + 4 <= e; k += 4) {
            s0 += val[k] * x[col[k]], s1 += val[k + 1] * x[col[k + 1]];
            s2 += val[k + 2] * x[col[k + 2]], s3 += val[k + 3] * x[col[k + 3]];
        }
        for (; k < e; ++k) s0 += val[k] * x[col[k]];
        y[i] = (s0 + s1) + (s2 + s3);
    }
}

// Products with a vector; `shape` is op and class of the name. `eigen` computes z.
template <class T, class Eigen>
void mv(benchmark::State& state, const std::string& name, which part, const std::string& shape, double flop,
        Eigen eigen, bool loop)
{
    auto& o = given<T>(name, part);
    auto* f = kernel<arguments::csr_mv_par<T, I>>(joined({letter<T>, "csr0", shape, "c__mvout_par"}));
    std::vector<contestant> all{{"ours", true, times([&o, f] {
                                     f(&o.one, &o.m, &o.m, &o.m, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(),
                                       o.begin(), o.end(), o.x.data(), o.y.data(), &o.beta);
                                 })},
                                {"Eigen", true, times([&o, eigen] { eigen(o); })}};
    if (loop) all.push_back({"loop", true, times([&o] { loop_mv(o, o.z.data()); })});
    contest_of(state, flop * static_cast<double>(o.a.nonZeros()), all);
}

template <class T, class Eigen>
void sv(benchmark::State& state, const std::string& name, which part, const std::string& shape, Eigen eigen)
{
    auto& o = given<T>(name, part);
    auto* f = kernel<arguments::csr_sv_seq<T, I>>(joined({letter<T>, "csr0", shape, "c__svout_seq"}));
    contest_of(state, 2 * static_cast<double>(o.a.nonZeros()),
               {{"ours", true, times([&o, f] {
                     f(&o.m, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(), o.begin(), o.end(), o.y.data());
                 })},
                {"Eigen", true, times([&o, eigen] { eigen(o); })}});
}

// Products with n columns by rows or by columns; the range is everything.
template <class T, int Order>
void mm(benchmark::State& state, const std::string& name, which part, const std::string& shape, int n,
        bool ranges_rows)
{
    using matrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Order>;
    constexpr bool by_rows = Order == Eigen::RowMajor;
    auto& o = given<T>(name, part);
    const matrix b = matrix::Constant(o.m, n, T(0.5));
    matrix c = b, d = b;
    const I columns = n, last = ranges_rows ? o.m : n, ld = by_rows ? n : o.m;
    auto* f =
        kernel<arguments::csr_mm_par<T, I>>(joined({letter<T>, "csr0", shape, by_rows ? "c" : "f", "__mmout_par"}));
    contest_of(state, 2.0 * n * static_cast<double>(o.a.nonZeros()),
               {{"ours", true, times([&] {
                     f(&o.one, &last, &o.m, &columns, &o.m, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(), o.begin(),
                       o.end(), b.data(), &ld, c.data(), &ld, &o.beta);
                 })},
                {"Eigen", true, times([&] {
                     if (shape[0] == 't') d.noalias() = o.a.transpose() * b;
                     else d.noalias() = o.a * b;
                 })}});
}

template <class T, int Order>
void sm(benchmark::State& state, const std::string& name, which part, const std::string& shape, int n)
{
    using matrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Order>;
    constexpr bool by_rows = Order == Eigen::RowMajor;
    auto& o = given<T>(name, part);
    matrix c = matrix::Constant(o.m, n, T(0.5)), d = c;
    const I columns = n, ld = by_rows ? n : o.m, base = 0;
    auto* f = kernel<arguments::csr_sm_par<T, I>>(
        joined({letter<T>, by_rows ? "csr0" : "csr1", shape, by_rows ? "c" : "f", "__smout_par"}));
    contest_of(state, 2.0 * n * static_cast<double>(o.a.nonZeros()),
               {{"ours", true, times([&] {
                     f(&o.one, &columns, &o.m, &columns, &o.alpha, o.a.valuePtr(), o.a.innerIndexPtr(), o.begin(),
                       o.end(), c.data(), &ld, &base);
                 })},
                {"Eigen", true, times([&] {
                     if (part == which::lower) o.a.template triangularView<Eigen::Lower>().solveInPlace(d);
                     else o.a.template triangularView<Eigen::Upper>().solveInPlace(d);
                 })}});
}

template <class T>
void add(const std::string& name)
{
    auto row = [&](const std::string& what, auto body) { add_row<T>(what, name, body); };
    row("mv", [=](auto& s) {
        mv<T>(
            s, name, which::whole, "ng__", 2, [](auto& o) { o.z.noalias() = o.a * o.x; }, true);
    });
    row("mv_trans", [=](auto& s) {
        mv<T>(
            s, name, which::whole, "tg__", 2, [](auto& o) { o.z.noalias() = o.a.transpose() * o.x; }, false);
    });
    row("mv_symm", [=](auto& s) {
        mv<T>(
            s, name, which::lower, "nsln", 4,
            [](auto& o) { o.z.noalias() = o.a.template selfadjointView<Eigen::Lower>() * o.x; }, false);
    });
    row("sv_lower", [=](auto& s) {
        sv<T>(s, name, which::lower, "ntln",
              [](auto& o) { o.a.template triangularView<Eigen::Lower>().solveInPlace(o.z); });
    });
    row("sv_upper", [=](auto& s) {
        sv<T>(s, name, which::upper, "ntun",
              [](auto& o) { o.a.template triangularView<Eigen::Upper>().solveInPlace(o.z); });
    });
    row("sv_lower_trans", [=](auto& s) {
        sv<T>(s, name, which::lower, "ttln",
              [](auto& o) { o.a.transpose().template triangularView<Eigen::Upper>().solveInPlace(o.z); });
    });
    for (const int n : {8, 16, 32}) {
        const std::string width = std::to_string(n);
        row("mm_rows" + width, [=](auto& s) { mm<T, Eigen::RowMajor>(s, name, which::whole, "ng__", n, true); });
        row("mm_columns" + width, [=](auto& s) { mm<T, Eigen::ColMajor>(s, name, which::whole, "ng__", n, false); });
    }
    row("mm_trans_rows8", [=](auto& s) { mm<T, Eigen::RowMajor>(s, name, which::whole, "tg__", 8, false); });
    row("mm_trans_columns8", [=](auto& s) { mm<T, Eigen::ColMajor>(s, name, which::whole, "tg__", 8, false); });
    row("sm_lower_rows8", [=](auto& s) { sm<T, Eigen::RowMajor>(s, name, which::lower, "ntln", 8); });
    row("sm_lower_columns8", [=](auto& s) { sm<T, Eigen::ColMajor>(s, name, which::lower, "ntln", 8); });
    row("sm_upper_rows8", [=](auto& s) { sm<T, Eigen::RowMajor>(s, name, which::upper, "ntun", 8); });
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
