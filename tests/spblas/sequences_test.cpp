// tests/spblas/sequences_test.cpp - random sequences of public calls on a few matrices that wander through formats,
// index bases and integer widths: conversions, products, solves, sums and products of matrices, on one to three
// threads, with and without checking, with bad arguments and refused memory in between. What each matrix should be is
// carried along as a list of entries, and every result is held to it.

#include "tests/spblas/public_problem.hpp"
#include "tests/support/sequence.hpp"

namespace {

using namespace vrn::test;
namespace oracle = vrn::oracle;

template <class T>
struct matrix {
    std::int64_t m, n;
    std::map<std::pair<std::int64_t, std::int64_t>, T> at; // what it is
    // What the library made of it: a format with its base and block side; CSR in one array of pointers.
    stored<T, std::int64_t> as;
    int base = 1;
    std::int64_t lb = 1;

    entries<T> list() const
    {
        entries<T> a;
        for (const auto& [place, v] : at) a.push_back({place.first, place.second, v});
        return a;
    }
    template <class Holds>
    bool all(Holds&& holds) const
    {
        return std::all_of(at.begin(), at.end(), [&](auto& e) { return holds(e.first.first, e.first.second); });
    }
    bool lower() const
    {
        return all([](auto i, auto j) { return i >= j; });
    }
    bool upper() const
    {
        return all([](auto i, auto j) { return i <= j; });
    }
    // Solves keep to moderate numbers: a diagonal that is there and not much below the rest of its line, both ways.
    bool solvable() const
    {
        if (m != n) return false;
        std::vector<double> diagonal(static_cast<std::size_t>(m)), row(diagonal), column(diagonal);
        for (const auto& [place, v] : at) {
            const auto i = static_cast<std::size_t>(place.first), j = static_cast<std::size_t>(place.second);
            if (i == j) diagonal[i] = std::abs(v);
            else row[i] += std::abs(v), column[j] += std::abs(v);
        }
        for (std::size_t i = 0; i < diagonal.size(); ++i)
            if (!(diagonal[i] > 0.1) || row[i] > 3 * diagonal[i] || column[i] > 3 * diagonal[i]) return false;
        return true;
    }
};

template <class T, class I>
struct csr {
    std::vector<T> a;
    std::vector<I> ja, ia;
};

template <class T>
class walker {
    sequence& s_;
    std::int64_t sides_[2];
    std::vector<matrix<T>> pool_;

    // Memory that a call may do without or must report: true when it did the latter.
    template <class I>
    static bool gave_up(const I& info)
    {
        return std::exchange(warnings, 0) > 0 || info == -1;
    }
    template <class I>
    void call_it(const std::string& name, const std::string& order, const arguments_by_name& by)
    {
        heap.asked = 0;
        call(prefix_of<I>() + letter_of<T> + name, order, by);
        EXPECT_EQ(last_report.times, 0) << last_report.routine << ' ' << last_report.argument;
    }

    matrix<T> fresh(std::int64_t m, std::int64_t n)
    {
        matrix<T> x{m, n, {}, {}};
        const int shape = m == n ? static_cast<int>(s_.below(4)) : 0; // any, dominated, lower, upper
        const double density = s_.one_of({0.0, 0.1, 0.4, 1.0});
        for (const auto& e : pattern<T>(m, n, density, shape > 0, s_.random))
            if (shape < 2 || (shape == 2 ? e.row >= e.col : e.row <= e.col))
                x.at[{e.row, e.col}] = e.row == e.col ? T(std::real(e.value))
                                       : shape > 0    ? e.value / T(static_cast<float>(m))
                                                      : e.value;
        x.as.format = "csr", x.base = static_cast<int>(s_.below(2));
        x.as.i2.push_back(x.base);
        auto e = x.at.begin();
        for (std::int64_t i = 0; i < m; ++i) {
            for (; e != x.at.end() && e->first.first == i; ++e)
                x.as.val.push_back(e->second), x.as.i1.push_back(e->first.second + x.base);
            x.as.i2.push_back(x.base + static_cast<std::int64_t>(x.as.i1.size()));
        }
        x.as.i3.assign(x.as.i2.begin() + 1, x.as.i2.end());
        s_.tell("made ", m, " x ", n, " shape ", shape, " density ", density, '\n');
        return x;
    }

    // The matrix in CSR with this base, by the library; nothing when it has no memory for it.
    template <class I>
    bool to_csr(const matrix<T>& x, int base, csr<T, I>& out)
    {
        const stored<T, I> as(x.as);
        const std::string& f = as.format;
        if (f == "csr" && x.base == base) {
            out = {as.val, as.i1, as.i2};
            return true;
        }
        const I m = static_cast<I>(x.m), n = static_cast<I>(x.n), nnz = static_cast<I>(as.val.size()),
                lb = static_cast<I>(x.lb), square = lb * lb, mb = m / lb;
        I info = 0, count = nnz, job[6] = {1, base, x.base, 0, nnz, 0};
        // No conversion back makes more entries than there are elements.
        out.a.assign(as.val.size(), nan_of<T>()), out.ja.assign(as.val.size(), I{-9});
        out.ia.assign(static_cast<std::size_t>(m) + 1, I{-9});
        auto val = as.val;
        auto i1 = as.i1, i2 = as.i2;
        arguments_by_name by{{"job", job},
                             {"m", f == "bsr" ? &mb : &m},
                             {"n", &n},
                             {"info", &info},
                             {"lb", &lb},
                             {"lval", &square},
                             {"nnz", &count},
                             {"lda", &m},
                             {"acsr", out.a.data()},
                             {"ja", out.ja.data()},
                             {"ia", out.ia.data()}};
        bool sorted = true;
        if (f == "csr") { // another base, by way of COO
            std::vector<I> rows(as.val.size());
            job[0] = 0, job[1] = x.base, job[2] = base, job[5] = 3;
            by["acsr"] = val.data(), by["ja"] = i1.data(), by["ia"] = i2.data();
            by["acoo"] = out.a.data(), by["rowind"] = rows.data(), by["colind"] = out.ja.data();
            call_it<I>("csrcoo", coo_order, by);
            if (gave_up(info)) return false;
            EXPECT_EQ(info, 0);
            std::vector<T> from = out.a;
            std::vector<I> columns = out.ja;
            by["acoo"] = from.data(), by["colind"] = columns.data();
            by["acsr"] = out.a.data(), by["ja"] = out.ja.data(), by["ia"] = out.ia.data();
            job[0] = 1, job[1] = base, job[2] = base, job[5] = 0;
            call_it<I>("csrcoo", coo_order, by);
        } else if (f == "coo") {
            sorted = s_.once_in(2);
            job[0] = sorted ? 2 : 1;
            by["acoo"] = val.data(), by["rowind"] = i1.data(), by["colind"] = i2.data();
            call_it<I>("csrcoo", coo_order, by);
        } else if (f == "csc") {
            job[1] = x.base, job[2] = base; // of the source and of the target
            job[5] = 1;
            by["acsc"] = val.data(), by["ja1"] = i1.data(), by["ia1"] = i2.data();
            call_it<I>("csrcsc", "job m acsr ja ia acsc ja1 ia1 info", by);
        } else if (f == "dia") {
            const I lval = as.numbers.at("lval");
            count = as.numbers.at("ndiag"), job[5] = static_cast<I>(s_.below(2));
            by["adia"] = val.data(), by["idiag"] = i1.data(), by["lval"] = &lval, by["ndiag"] = &count;
            by["acsr_rem"] = by["ja_rem"] = by["ia_rem"] = nullptr;
            sorted = false;
            call_it<I>("csrdia", dia_order, by);
        } else if (f == "sky") {
            job[3] = as.numbers.at("upper");
            by["asky"] = val.data(), by["pntr"] = i1.data();
            call_it<I>("csrsky", "job m acsr ja ia asky pntr info", by);
        } else {
            job[5] = 1, sorted = false;
            by["absr"] = val.data(), by["jab"] = i1.data(), by["iab"] = i2.data();
            call_it<I>("csrbsr", bsr_order, by);
        }
        if (gave_up(info)) return false;
        EXPECT_EQ(info, 0) << "back from " << f;
        const auto made = static_cast<std::size_t>(out.ia.back() - base);
        if (made > out.a.size()) ADD_FAILURE() << made << " entries from " << f;
        out.a.resize(std::min(made, out.a.size())), out.ja.resize(out.a.size());
        if (sorted) return true;
        call_it<I>("csrsort", "m a ja ia",
                   {{"m", &m}, {"a", out.a.data()}, {"ja", out.ja.data()}, {"ia", out.ia.data()}});
        return !gave_up(0);
    }

    // Sorted rows that hold what the matrix is, and zeros.
    template <class I>
    void expect_is(const matrix<T>& x, const csr<T, I>& c, int base)
    {
        std::size_t found = 0;
        for (std::int64_t i = 0; i < x.m; ++i) {
            std::int64_t last = -1;
            for (I k = c.ia[static_cast<std::size_t>(i)] - base; k < c.ia[static_cast<std::size_t>(i) + 1] - base;
                 ++k) {
                const std::int64_t j = c.ja[static_cast<std::size_t>(k)] - base;
                ASSERT_TRUE(j > last && j < x.n) << "row " << i << " has column " << j << " after " << last;
                last = j;
                const auto e = x.at.find({i, j});
                const bool there = e != x.at.end() && e->second != T{};
                ASSERT_EQ(c.a[static_cast<std::size_t>(k)], there ? e->second : T{}) << i << ' ' << j;
                found += there;
            }
        }
        EXPECT_EQ(found, static_cast<std::size_t>(
                             std::count_if(x.at.begin(), x.at.end(), [](auto& e) { return e.second != T{}; })));
    }

    template <class I>
    void convert(matrix<T>& x)
    {
        const char* format = s_.one_of({"csr", "coo", "csc", "dia", "bsr", "sky", "dns"});
        const int base = static_cast<int>(s_.below(2)), target = static_cast<int>(s_.below(2));
        std::int64_t lb = s_.one_of({1, 2, 3, 4, 6});
        if (x.m == 0 || x.m % lb != 0) lb = 1;
        const std::string f = format;
        if (x.m != x.n && f != "csr" && f != "coo" && f != "dns") return;
        if (f == "sky" && !x.lower() && !x.upper()) return;
        s_.tell("convert ", x.as.format, " to ", f, " bases ", x.base, base, target, " lb ", lb, " width ",
                8 * sizeof(I), '\n');
        csr<T, I> c;
        if (!to_csr(x, base, c)) return;
        expect_is(x, c, base);
        if (testing::Test::HasFailure()) return;

        stored<T, I> as;
        as.format = f;
        const I m = static_cast<I>(x.m), n = static_cast<I>(x.n), nnz = static_cast<I>(c.a.size()),
                side = static_cast<I>(lb), square = side * side, mb = m / side;
        I info = 0, count = nnz, job[6] = {0, base, target, 0, nnz, 1};
        arguments_by_name by{{"job", job},        {"m", &m},          {"n", &n},       {"info", &info},
                             {"lb", &side},       {"lval", &square},  {"nnz", &count}, {"acsr", c.a.data()},
                             {"ja", c.ja.data()}, {"ia", c.ia.data()}};
        const auto room = [&](std::size_t values, std::size_t first, std::size_t second) {
            as.val.assign(values, nan_of<T>()), as.i1.assign(first, I{-9}), as.i2.assign(second, I{-9});
        };
        if (f == "csr") as.val = c.a, as.i1 = c.ja, as.i2 = c.ia;
        else if (f == "coo") {
            room(c.a.size(), c.a.size(), c.a.size());
            job[5] = 3;
            by["acoo"] = as.val.data(), by["rowind"] = as.i1.data(), by["colind"] = as.i2.data();
            call_it<I>("csrcoo", coo_order, by);
            for (std::size_t e = as.val.size(); e > 1; --e) { // COO knows no order
                const auto other = static_cast<std::size_t>(s_.below(static_cast<std::int64_t>(e)));
                std::swap(as.val[e - 1], as.val[other]), std::swap(as.i1[e - 1], as.i1[other]);
                std::swap(as.i2[e - 1], as.i2[other]);
            }
            as.numbers["nnz"] = nnz;
        } else if (f == "csc") {
            room(c.a.size(), c.a.size(), static_cast<std::size_t>(m) + 1);
            by["acsc"] = as.val.data(), by["ja1"] = as.i1.data(), by["ia1"] = as.i2.data();
            call_it<I>("csrcsc", "job m acsr ja ia acsc ja1 ia1 info", by);
        } else if (f == "dia") {
            std::set<I> offsets;
            for (I i = 0; i < m; ++i)
                for (I k = c.ia[static_cast<std::size_t>(i)]; k < c.ia[static_cast<std::size_t>(i) + 1]; ++k)
                    offsets.insert(c.ja[static_cast<std::size_t>(k - base)] - base - i);
            const I lval = std::max(m, I{1}) + static_cast<I>(s_.below(3));
            count = static_cast<I>(offsets.size());
            room(offsets.size() * static_cast<std::size_t>(lval), offsets.size(), 0);
            job[5] = 10;
            by["adia"] = as.val.data(), by["idiag"] = as.i1.data(), by["lval"] = &lval, by["ndiag"] = &count;
            by["acsr_rem"] = by["ja_rem"] = by["ia_rem"] = nullptr;
            call_it<I>("csrdia", dia_order, by);
            EXPECT_TRUE(info != 0 || count == static_cast<I>(offsets.size()));
            as.numbers["lval"] = lval, as.numbers["ndiag"] = count;
        } else if (f == "sky") {
            job[3] = !x.lower(), job[4] = 0, job[5] = 1;
            room(0, static_cast<std::size_t>(m) + 1, 0);
            by["asky"] = nullptr, by["pntr"] = as.i1.data();
            call_it<I>("csrsky", "job m acsr ja ia asky pntr info", by);
            job[4] = as.i1.back() - as.i1[0], job[5] = 0;
            as.val.assign(static_cast<std::size_t>(job[4]), nan_of<T>());
            by["asky"] = as.val.data();
            if (info == 0) call_it<I>("csrsky", "job m acsr ja ia asky pntr info", by);
            as.numbers["upper"] = job[3];
        } else if (f == "bsr") {
            job[5] = -1;
            room(0, 0, static_cast<std::size_t>(mb) + 1);
            by["absr"] = by["jab"] = nullptr, by["iab"] = as.i2.data();
            call_it<I>("csrbsr", bsr_order, by);
            if (gave_up(info)) return;
            const auto blocks = static_cast<std::size_t>(as.i2.back() - target);
            as.val.assign(blocks * static_cast<std::size_t>(square), nan_of<T>()), as.i1.assign(blocks, I{-9});
            job[5] = 1, by["absr"] = as.val.data(), by["jab"] = as.i1.data();
            call_it<I>("csrbsr", bsr_order, by);
            as.numbers["lb"] = side;
        } else { // dense, and back at once
            const I lda = std::max(target == 0 ? n : m, I{1}) + static_cast<I>(s_.below(3));
            as.val.assign(static_cast<std::size_t>(lda * (target == 0 ? m : n)), T{});
            job[0] = 1, job[1] = target, job[2] = base, job[3] = 2;
            by["adns"] = as.val.data(), by["lda"] = &lda;
            call_it<I>("dnscsr", dns_order, by);
            EXPECT_EQ(info, 0);
            csr<T, I> again{std::vector<T>(c.a.size()), std::vector<I>(c.a.size()), std::vector<I>(c.ia.size())};
            job[0] = 0, by["acsr"] = again.a.data(), by["ja"] = again.ja.data(), by["ia"] = again.ia.data();
            call_it<I>("dnscsr", dns_order, by);
            EXPECT_EQ(info, 0);
            expect_is(x, again, base);
            return;
        }
        if (gave_up(info)) return;
        EXPECT_EQ(info, 0);
        if (f == "csr" || f == "csc" || f == "bsr") as.i3.assign(as.i2.begin() + 1, as.i2.end());
        x.as = stored<T, std::int64_t>(as), x.base = f == "csr" ? base : target, x.lb = f == "bsr" ? lb : 1;
    }

    void multiply_or_solve(const matrix<T>& x)
    {
        const std::string letters = s_.one_of(classes), f = x.as.format;
        const bool square = x.m == x.n;
        if (letters[0] != 'G' && !square) return;
        for (const auto& [place, v] : x.at)
            if (letters[0] == 'H' && place.first == place.second && std::imag(v) != 0) return;
        if (f == "sky" && (letters[1] == 'U') != (x.as.numbers.at("upper") != 0)) return;
        const bool solve = x.solvable() && s_.once_in(2);
        problem p{f, solve ? "s" : "m", s_.one_of({'N', 'T', 'C'}), letters, x.base, ' ', x.m, x.n, 0, x.lb};
        p.n = s_.one_of({1, 2, 3, 4, 5, 8, 9, 17});
        p.product += s_.once_in(2) ? 'v' : 'm';
        // Blocks lie as their base says; DIA and skyline know no rows.
        if (f == "dia" || f == "sky") p.layout = 'C';
        else if (f != "bsr") p.layout = s_.one_of({' ', 'R', 'C'});
        const T alpha = s_.once_in(4) ? s_.one_of({T{}, T(1), T(-1)}) : random_number<T>(s_.random),
                beta = solve || s_.once_in(3) ? T{}
                       : s_.once_in(3)        ? T(1)
                                              : random_number<T>(s_.random);
        s_.tell(p, " alpha ", alpha, " beta ", beta, '\n');
        const int threads = 1 + static_cast<int>(s_.below(3));
        check<T>(p, x.list(), {threads}, alpha, beta, s_.random, &x.as);
    }

    struct sum {
        oracle::wide<T> exact{};
        oracle::wide_real<T> gauge = 0;
        std::int64_t terms = 0;
    };
    using sums = std::map<std::pair<std::int64_t, std::int64_t>, sum>;
    static void add(sum& s, T a, T b)
    {
        s.exact += oracle::wide<T>(a) * oracle::wide<T>(b);
        s.gauge += std::abs(oracle::wide<T>(a)) * std::abs(oracle::wide<T>(b));
        ++s.terms;
    }
    static bool close(const sum& s, T got)
    {
        return oracle::error_units(got, s.exact, s.gauge, s.terms) <= (std::is_floating_point_v<T> ? 1 : 2);
    }

    struct operation {
        const matrix<T>&x, &y;
        char trans;
        T beta;
        bool product, two_steps, dense_too;
        std::int64_t rows, columns;
        sums want;
    };
    // In one integer width: op(X) Y dense first, if that is wanted, then the sparse result. No memory for it: empty.
    template <class I>
    csr<T, std::int64_t> combined(const operation& o)
    {
        csr<T, I> a, b;
        if (!to_csr(o.x, 1, a) || !to_csr(o.y, 1, b)) return {};
        // Stored zeros are entries too: room for as many as there can be.
        const std::int64_t all = o.rows * o.columns,
                           most =
                               o.product
                                   ? all
                                   : std::min<std::int64_t>(all, static_cast<std::int64_t>(a.a.size() + b.a.size()));
        I request = 0, info = 0, sort = o.product ? I(1) : I(3), nzmax = static_cast<I>(most);
        const I m = static_cast<I>(o.x.m), n = static_cast<I>(o.x.n), k = static_cast<I>(o.columns);
        csr<T, I> c{std::vector<T>(static_cast<std::size_t>(nzmax)), std::vector<I>(static_cast<std::size_t>(nzmax)),
                    std::vector<I>(static_cast<std::size_t>(o.rows) + 1)};
        arguments_by_name by{
            {"trans", &o.trans}, {"request", &request}, {"sort", &sort},     {"m", &m},           {"n", &n},
            {"k", &k},           {"a", a.a.data()},     {"ja", a.ja.data()}, {"ia", a.ia.data()}, {"beta", &o.beta},
            {"b", b.a.data()},   {"jb", b.ja.data()},   {"ib", b.ia.data()}, {"c", c.a.data()},   {"jc", c.ja.data()},
            {"ic", c.ia.data()}, {"nzmax", &nzmax},     {"info", &info}};
        if (o.dense_too) {
            dense<T> d(o.rows, o.columns, false, 2);
            const dense<T> before = d;
            const I ldc = static_cast<I>(d.ld);
            arguments_by_name with = by;
            with["c"] = d.data(), with["ldc"] = &ldc;
            call_it<I>("csrmultd", "trans m n k a ja ia b jb ib c ldc", with);
            if (!gave_up(0)) {
                EXPECT_TRUE(d.unchanged_outside(before, 0, o.rows, 0, o.columns)) << "written outside";
                for (std::int64_t i = 0; i < o.rows; ++i)
                    for (std::int64_t j = 0; j < o.columns; ++j) expect_close(o.want, i, j, d.at(i, j));
            }
        }
        const std::string name = o.product ? "csrmultcsr" : "csradd";
        const std::string order = o.product ? "trans request sort m n k a ja ia b jb ib c jc ic nzmax info"
                                            : "trans request sort m n a ja ia beta b jb ib c jc ic nzmax info";
        if (o.two_steps) {
            request = 1;
            call_it<I>(name, order, by);
            if (gave_up(info)) return {};
            EXPECT_EQ(info, 0);
            const auto counted = static_cast<std::size_t>(c.ia.back() - 1);
            c.a.assign(counted, nan_of<T>()), c.ja.assign(counted, I{-9}); // exactly
            request = 2, by["c"] = c.a.data(), by["jc"] = c.ja.data();
        }
        call_it<I>(name, order, by);
        if (gave_up(info)) return {};
        EXPECT_EQ(info, 0);
        c.a.resize(static_cast<std::size_t>(c.ia.back() - 1)), c.ja.resize(c.a.size());
        return {c.a, {c.ja.begin(), c.ja.end()}, {c.ia.begin(), c.ia.end()}};
    }
    static void expect_close(const sums& want, std::int64_t i, std::int64_t j, T got)
    {
        const auto e = want.find({i, j});
        EXPECT_TRUE(e == want.end() ? got == T{} : close(e->second, got)) << i << ' ' << j;
    }

    // op(X) Y, or op(X) + beta Y, into the place of a third.
    void combine()
    {
        const matrix<T> x = s_.one_of(pool_), y = s_.one_of(pool_);
        const char trans = s_.one_of({'N', 'T'});
        const bool plain = trans == 'N', product = s_.once_in(2);
        const std::int64_t rows = plain ? x.m : x.n, inner = plain ? x.n : x.m;
        if (product ? y.m != inner : y.m != rows || y.n != inner) return;
        operation o{x,
                    y,
                    trans,
                    s_.once_in(3) ? T(1) : random_number<T>(s_.random),
                    product,
                    s_.once_in(2),
                    product && s_.once_in(3),
                    rows,
                    y.n,
                    {}};
        for (const auto& [place, v] : x.at) {
            const auto i = plain ? place.first : place.second, j = plain ? place.second : place.first;
            if (!product) add(o.want[{i, j}], v, T(1));
            else
                for (auto e = y.at.lower_bound({j, 0}); e != y.at.end() && e->first.first == j; ++e)
                    add(o.want[{i, e->first.second}], v, e->second);
        }
        if (!product)
            for (const auto& [place, v] : y.at) add(o.want[place], o.beta, v);
        s_.tell(product ? "product " : "sum ", trans, ' ', x.as.format, ' ', x.m, " x ", x.n, " and ", y.as.format,
                ' ', y.m, " x ", y.n, o.two_steps ? " in two steps" : "", o.dense_too ? " dense" : "");
        const auto random = s_.random;
        const auto c = combined<std::int64_t>(o);
        s_.random = random; // the same way for both
        const auto narrow = combined<std::int32_t>(o);
        ASSERT_TRUE(c.a == narrow.a && c.ja == narrow.ja && c.ia == narrow.ia) << "widths differ";
        if (c.ia.empty()) return;
        matrix<T> z{rows, y.n, {}, {}};
        double most = 0;
        for (std::int64_t i = 0; i < rows; ++i)
            for (auto e = c.ia[static_cast<std::size_t>(i)] - 1; e < c.ia[static_cast<std::size_t>(i) + 1] - 1; ++e) {
                const std::int64_t j = c.ja[static_cast<std::size_t>(e)] - 1;
                const T got = c.a[static_cast<std::size_t>(e)];
                ASSERT_TRUE(z.at.emplace(std::pair(i, j), got).second) << "twice at " << i << ' ' << j;
                expect_close(o.want, i, j, got);
                most = std::max<double>(most, std::abs(got));
            }
        for (const auto& [place, w] : o.want) // zeros may have been dropped on the way
            ASSERT_TRUE(w.gauge == 0 || z.at.count(place) == 1) << place.first << ' ' << place.second;
        if (!(most < 1e6) || static_cast<std::int64_t>(z.at.size()) > 4000) return;
        z.as.format = "csr", z.as.val = c.a, z.as.i1 = c.ja, z.as.i2 = c.ia;
        z.as.i3.assign(z.as.i2.begin() + 1, z.as.i2.end());
        pool_[static_cast<std::size_t>(s_.below(static_cast<std::int64_t>(pool_.size())))] = z;
    }

    // One argument is bad: reported once with its place, and nothing written.
    template <class I>
    void mistake()
    {
        const std::string f = s_.one_of({"csr", "csc", "coo", "dia", "bsr", "sky"}),
                          product = s_.one_of({"mv", "mm", "sv", "sm"}), order = order_of(f, product);
        const std::string m = f == "bsr" ? "mb" : "m",
                          bad = s_.one_of({std::string("trans"), m, std::string("descr")});
        s_.tell(f, product, " with bad ", bad, '\n');
        const char trans = bad == "trans" ? 'Q' : 'N';
        const std::string descr = bad == "descr" ? "XLNF  " : "TLNF  ";
        const I rows = bad == m ? I{-1} : I{5}, five = 5, one = 1;
        const T alpha(1);
        std::vector<T> c(25, T(7));
        arguments_by_name by{{"trans", &trans},
                             {m, &rows},
                             {m == "m" ? "k" : "kb", &five},
                             {"n", &five},
                             {"lb", &one},
                             {"alpha", &alpha},
                             {"beta", &alpha},
                             {"descr", descr.data()},
                             {"nnz", &five},
                             {"lval", &five},
                             {"ndiag", &one},
                             {"ldb", &five},
                             {"ldc", &five},
                             {"y", c.data()},
                             {"c", c.data()}};
        for (const char* array : {"val", "indx", "pntrb", "pntre", "rowind", "colind", "idiag", "pntr", "x", "b"})
            by[array] = nullptr;
        std::istringstream words(order);
        std::int64_t place = 1;
        for (std::string word; words >> word && word != bad;) ++place;
        call(prefix_of<I>() + letter_of<T> + f + product, order, by);
        EXPECT_EQ(last_report.times, 1);
        EXPECT_EQ(last_report.argument, place);
        EXPECT_EQ(std::count(c.begin(), c.end(), T(7)), 25);
        last_report = {};
    }

    template <class I>
    void step()
    {
        auto& x = pool_[static_cast<std::size_t>(s_.below(static_cast<std::int64_t>(pool_.size())))];
        switch (s_.below(10)) {
        case 0:
            x = fresh(sides_[s_.below(2)], sides_[s_.below(2)]);
            break;
        case 1:
        case 2:
        case 3:
            convert<I>(x);
            break;
        case 4:
        case 5:
            combine();
            break;
        case 6:
            mistake<I>();
            break;
        default:
            multiply_or_solve(x);
        }
    }

  public:
    static constexpr char coo_order[] = "job m acsr ja ia nnz acoo rowind colind info",
                          dia_order[] = "job m acsr ja ia adia lval idiag ndiag acsr_rem ja_rem ia_rem info",
                          bsr_order[] = "job m lb lval acsr ja ia absr jab iab info",
                          dns_order[] = "job m n adns lda acsr ja ia info";

    explicit walker(sequence& s) : s_(s)
    {
        // Now and then enough entries for several threads.
        const auto side = [&] { return s_.once_in(12) ? 210 : s_.one_of({0, 1, 2, 3, 6, 12, 13, 24, 36}); };
        sides_[0] = side(), sides_[1] = s_.one_of({1, 5, 12, 30});
        for (int i = 0; i < 4; ++i) pool_.push_back(fresh(sides_[s_.below(2)], sides_[i / 2]));
    }
    void walk()
    {
        for (int i = 0; i < 60 && !testing::Test::HasFailure(); ++i) {
            const int threads = 1 + static_cast<int>(s_.below(3)), checking = static_cast<int>(s_.below(2)),
                      strict = s_.once_in(4);
            heap.grants = s_.once_in(4) ? static_cast<int>(s_.below(5)) : INT_MAX;
            vrn_set_num_threads(threads), vrn_spblas_set_checking(checking);
            vrn_set_cbwr(strict ? VRN_CBWR_STRICT : VRN_CBWR_OFF);
            s_.tell(i, ": ", threads, " threads", checking ? ", checking" : "", strict ? ", strict" : "");
            if (heap.grants != INT_MAX) s_.tell(", ", heap.grants, " allocations");
            s_.tell(": ");
            if (s_.once_in(2)) step<std::int64_t>();
            else step<std::int32_t>();
            s_.tell('\n');
            EXPECT_EQ(heap.live, 0) << "blocks not given back";
        }
    }
};

struct SparseSequences : testing::TestWithParam<char> {};
INSTANTIATE_TEST_SUITE_P(Types, SparseSequences, testing::Values('s', 'd', 'c', 'z'),
                         [](auto& info) { return std::string(1, info.param); });

TEST_P(SparseSequences, Wander)
{
    vrn_set_xerbla(keep_report);
    walk_sequences(40, [&](sequence& s) {
        last_report = {}, heap = {}, warnings = 0;
        with_type(GetParam(), [&]<class T>(T) { walker<T>(s).walk(); });
    });
    vrn_set_xerbla(nullptr);
    vrn_set_num_threads(0), vrn_spblas_set_checking(0), vrn_set_cbwr(VRN_CBWR_OFF);
}

} // namespace
