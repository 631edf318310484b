// tests/spblas/public_products_test.cpp - conversions, sparse products and sums, and the short products of the public
// sparse BLAS. Values are small whole numbers, so that every order of summation gives the same ones.

#include "tests/spblas/public_support.hpp"
#include "tests/support/process.hpp"

namespace {

using namespace vrn::test;

template <class P>
struct PublicPairs : testing::Test {
    using T = typename P::first_type;
    using I = typename P::second_type;
    using table = std::vector<T>; // m by n by rows
    std::mt19937_64 random{6};

    void SetUp() override
    {
        vrn_set_xerbla(keep_report);
        last_report = {};
        vrn_spblas_set_checking(1);
    }
    void TearDown() override
    {
        vrn_set_xerbla(nullptr);
        vrn_spblas_set_checking(0);
        vrn_set_num_threads(0);
        EXPECT_EQ(last_report.times, 0) << last_report.routine << ' ' << last_report.argument;
    }
    struct csr {
        I m, n;
        std::vector<T> a{};
        std::vector<I> ja{}, ia{};
    };
    void run(const std::string& name, const std::string& order, const arguments_by_name& by)
    {
        call(prefix_of<I>() + letter_of<T> + name, order, by);
    }
    T whole() { return T(static_cast<float>(static_cast<int>(random() % 7) - 3)); }
    csr sample(I m, I n, int of_ten, I base = 1)
    {
        csr s{m, n};
        s.ia.push_back(base);
        for (I i = 0; i < m; ++i) {
            for (I j = 0; j < n; ++j) {
                const bool on = i == j && m == n;
                if (!on && (i % 5 == 4 || static_cast<int>(random() % 10) >= of_ten)) continue;
                s.ja.push_back(j + base);
                s.a.push_back(on ? T(5) : whole() + T(9));
            }
            s.ia.push_back(base + static_cast<I>(s.ja.size()));
        }
        return s;
    }
    static table dense_of(const csr& s)
    {
        table d(static_cast<std::size_t>(s.m * s.n));
        const I base = s.ia[0];
        for (I i = 0; i < s.m; ++i)
            for (I k = s.ia[static_cast<std::size_t>(i)] - base; k < s.ia[static_cast<std::size_t>(i) + 1] - base;
                 ++k)
                d[static_cast<std::size_t>(i * s.n + s.ja[static_cast<std::size_t>(k)] - base)] +=
                    s.a[static_cast<std::size_t>(k)];
        return d;
    }
    static table transposed(const table& d, I m, I n)
    {
        table t(d.size());
        for (I i = 0; i < m; ++i)
            for (I j = 0; j < n; ++j) t[static_cast<std::size_t>(j * m + i)] = d[static_cast<std::size_t>(i * n + j)];
        return t;
    }
    static table times(const table& a, const table& b, I m, I n, I k)
    {
        table c(static_cast<std::size_t>(m * k));
        for (I i = 0; i < m; ++i)
            for (I l = 0; l < n; ++l) {
                const T v = a[static_cast<std::size_t>(i * n + l)];
                if (v == T{}) continue;
                for (I j = 0; j < k; ++j)
                    c[static_cast<std::size_t>(i * k + j)] += v * b[static_cast<std::size_t>(l * k + j)];
            }
        return c;
    }
    static bool same(const csr& x, const csr& y) { return x.a == y.a && x.ja == y.ja && x.ia == y.ia; }

    // Counts, fills, and everything at once with a capacity: the same matrix, which is returned.
    csr made(const std::string& name, const std::string& order, arguments_by_name by, I rows, I columns)
    {
        csr counted{rows, columns};
        counted.ia.assign(static_cast<std::size_t>(rows) + 1, I{-7});
        I request = 1, info = 9, nzmax = 0;
        by["request"] = &request, by["info"] = &info, by["nzmax"] = &nzmax, by["ic"] = counted.ia.data();
        by["c"] = by["jc"] = nullptr;
        run(name, order, by);
        EXPECT_EQ(info, 0);
        EXPECT_EQ(counted.ia[0], 1);
        nzmax = counted.ia.back() - 1;
        const auto room = static_cast<std::size_t>(nzmax);
        counted.a.resize(room), counted.ja.resize(room);
        request = 2, by["c"] = counted.a.data(), by["jc"] = counted.ja.data();
        run(name, order, by);
        EXPECT_EQ(info, 0);
        csr at_once{rows, columns, std::vector<T>(room), std::vector<I>(room), std::vector<I>(counted.ia.size())};
        request = 0, by["c"] = at_once.a.data(), by["jc"] = at_once.ja.data(), by["ic"] = at_once.ia.data();
        run(name, order, by);
        EXPECT_EQ(info, 0);
        EXPECT_TRUE(same(counted, at_once)) << name;
        // One place short: the last row with an entry does not fit.
        --nzmax;
        run(name, order, by);
        I last = rows;
        while (last > 1 &&
               counted.ia[static_cast<std::size_t>(last)] == counted.ia[static_cast<std::size_t>(last) - 1])
            --last;
        EXPECT_EQ(info, last) << name;
        return counted;
    }
};
using Pairs =
    testing::Types<std::pair<float, std::int64_t>, std::pair<double, std::int32_t>,
                   std::pair<std::complex<float>, std::int32_t>, std::pair<std::complex<double>, std::int64_t>>;
TYPED_TEST_SUITE(PublicPairs, Pairs, );

TYPED_TEST(PublicPairs, ProductsAndSums)
{
    using T = typename TestFixture::T;
    using I = typename TestFixture::I;
    struct sizes {
        I m, n, k;
    };
    for (const sizes s : {sizes{1, 1, 1}, {7, 5, 9}, {150, 170, 160}})
        for (const int threads : {1, 3})
            for (const char trans : {'N', 'T'}) {
                SCOPED_TRACE(std::to_string(s.m) + " on " + std::to_string(threads) + trans);
                vrn_set_num_threads(threads);
                const bool plain = trans == 'N';
                const I rows = plain ? s.m : s.n, inner = plain ? s.n : s.m;
                auto a = this->sample(s.m, s.n, 4), b = this->sample(inner, s.k, 4);
                auto other = this->sample(rows, inner, 3);
                const auto op_a = plain ? this->dense_of(a) : this->transposed(this->dense_of(a), s.m, s.n);
                const auto want = this->times(op_a, this->dense_of(b), rows, inner, s.k);
                I sort = 1;
                arguments_by_name by{{"trans", &trans}, {"m", &s.m},         {"n", &s.n},         {"k", &s.k},
                                     {"sort", &sort},   {"a", a.a.data()},   {"ja", a.ja.data()}, {"ia", a.ia.data()},
                                     {"b", b.a.data()}, {"jb", b.ja.data()}, {"ib", b.ia.data()}};
                const auto c = this->made("csrmultcsr", "trans request sort m n k a ja ia b jb ib c jc ic nzmax info",
                                          by, rows, s.k);
                EXPECT_EQ(this->dense_of(c), want);
                for (I i = 0; i < rows; ++i)
                    EXPECT_TRUE(std::is_sorted(c.ja.begin() + c.ia[static_cast<std::size_t>(i)] - 1,
                                               c.ja.begin() + c.ia[static_cast<std::size_t>(i) + 1] - 1));

                const I ldc = rows + 2;
                std::vector<T> d(static_cast<std::size_t>(ldc * s.k), nan_of<T>());
                by["c"] = d.data(), by["ldc"] = &ldc;
                this->run("csrmultd", "trans m n k a ja ia b jb ib c ldc", by);
                for (I i = 0; i < ldc; ++i)
                    for (I j = 0; j < s.k; ++j) {
                        const T got = d[static_cast<std::size_t>(i + j * ldc)];
                        if (i < rows) ASSERT_EQ(got, want[static_cast<std::size_t>(i * s.k + j)]);
                        else ASSERT_NE(got, got) << "written outside";
                    }

                const T beta = this->whole();
                sort = 0;
                by["beta"] = &beta, by["b"] = other.a.data(), by["jb"] = other.ja.data(), by["ib"] = other.ia.data();
                const auto sum = this->made(
                    "csradd", "trans request sort m n a ja ia beta b jb ib c jc ic nzmax info", by, rows, inner);
                auto both = op_a;
                const auto second = this->dense_of(other);
                for (std::size_t e = 0; e < both.size(); ++e) both[e] += beta * second[e];
                EXPECT_EQ(this->dense_of(sum), both);
            }
}

TYPED_TEST(PublicPairs, ShortProducts)
{
    using T = typename TestFixture::T;
    using I = typename TestFixture::I;
    for (const I m : {1, 9, 260})
        for (const int threads : {1, 3}) {
            vrn_set_num_threads(threads);
            const auto a = this->sample(m, m, 9);
            const auto d = this->dense_of(a);
            std::vector<T> x(static_cast<std::size_t>(m)), y(x.size());
            for (T& v : x) v = this->whole();
            arguments_by_name by{
                {"m", &m},       {"k", &m},      {"val", a.a.data()}, {"indx", a.ja.data()}, {"pntr", a.ia.data()},
                {"x", x.data()}, {"y", y.data()}};
            for (const char trans : {'N', 'T'}) {
                std::fill(y.begin(), y.end(), nan_of<T>());
                by["trans"] = &trans;
                this->run("csrgemv", "trans m k val indx pntr x y", by);
                EXPECT_EQ(y, this->times(trans == 'N' ? d : this->transposed(d, m, m), x, m, m, 1)) << m << trans;
            }
            for (const char uplo : {'L', 'u'}) {
                typename TestFixture::csr half{m, m};
                half.ia.push_back(1);
                auto whole = d;
                for (I i = 0; i < m; ++i) {
                    for (I j = 0; j < m; ++j) {
                        const auto at = static_cast<std::size_t>(i * m + j),
                                   mirrored = static_cast<std::size_t>(j * m + i);
                        if (uplo == 'L' ? j > i : j < i) whole[at] = d[mirrored];
                        else if (d[at] != T{}) half.ja.push_back(j + 1), half.a.push_back(d[at]);
                    }
                    half.ia.push_back(static_cast<I>(half.ja.size()) + 1);
                }
                by["uplo"] = &uplo, by["val"] = half.a.data(), by["indx"] = half.ja.data(),
                by["pntr"] = half.ia.data();
                std::fill(y.begin(), y.end(), nan_of<T>());
                this->run("csrsymv", "uplo m val indx pntr x y", by);
                EXPECT_EQ(y, this->times(whole, x, m, m, 1)) << m << uplo;
            }
        }
}

// Each format there and back, in every pair of bases; what a job cannot be is told, and nothing done.
TYPED_TEST(PublicPairs, Conversions)
{
    using T = typename TestFixture::T;
    using I = typename TestFixture::I;
    using csr = typename TestFixture::csr;
    const I m = 12, lb = 3, mb = 4, square = 9;
    const std::string csr_arrays_ = "acsr ja ia ";
    for (const I base : {0, 1})
        for (const I target : {0, 1}) {
            csr a = this->sample(m, m, 3, base);
            const I nnz = static_cast<I>(a.ja.size());
            I info = 9, count = nnz, ndiag = 2 * m, lval = m;
            std::vector<T> values(static_cast<std::size_t>(2 * m * m), nan_of<T>());
            std::vector<I> first(values.size(), -5), second(values.size(), -5),
                job{0, base, target, 0, static_cast<I>(values.size()), 3};
            csr back{m, m, std::vector<T>(a.a.size()), std::vector<I>(a.ja.size()), std::vector<I>(a.ia.size())};
            const auto there_and_back = [&](const std::string& name, const std::string& rest, arguments_by_name by,
                                            I job5, I returning) {
                by["job"] = job.data(), by["m"] = &m, by["info"] = &info;
                by["acsr"] = a.a.data(), by["ja"] = a.ja.data(), by["ia"] = a.ia.data();
                job[0] = 0, job[5] = job5;
                this->run(name, rest, by);
                EXPECT_EQ(info, 0) << name;
                by["acsr"] = back.a.data(), by["ja"] = back.ja.data(), by["ia"] = back.ia.data();
                if (name == "csrbsr") by["m"] = &mb;
                job[0] = 1, job[5] = returning;
                this->run(name, rest, by);
                EXPECT_EQ(info, 0) << name;
                EXPECT_TRUE(this->same(a, back)) << name << base << target;
                std::fill(back.a.begin(), back.a.end(), T{});
                // A base that is none.
                info = 77, job[2] = 2;
                last_report = {};
                this->run(name, rest, by);
                EXPECT_EQ(last_report.times, 1);
                EXPECT_EQ(last_report.argument, 1);
                EXPECT_EQ(info, 77);
                last_report = {}, job[2] = target;
            };
            there_and_back(
                "csrcoo", "job m acsr ja ia nnz acoo rowind colind info",
                {{"nnz", &count}, {"acoo", values.data()}, {"rowind", first.data()}, {"colind", second.data()}}, 3,
                0);
            there_and_back("csrdia", "job m acsr ja ia adia lval idiag ndiag acsr_rem ja_rem ia_rem info",
                           {{"adia", values.data()},
                            {"lval", &lval},
                            {"idiag", first.data()},
                            {"ndiag", &ndiag},
                            {"acsr_rem", nullptr},
                            {"ja_rem", nullptr},
                            {"ia_rem", nullptr}},
                           10, 0);
            there_and_back("csrbsr", "job m lb lval acsr ja ia absr jab iab info",
                           {{"lb", &lb},
                            {"lval", &square},
                            {"absr", values.data()},
                            {"jab", first.data()},
                            {"iab", second.data()}},
                           1, 1);
            if (base == target)
                there_and_back("csrcsc", "job m acsr ja ia acsc ja1 ia1 info",
                               {{"acsc", values.data()}, {"ja1", first.data()}, {"ia1", second.data()}}, 1, 1);
            // A skyline holds a triangle.
            csr lower{m, m};
            lower.ia.push_back(base);
            for (I i = 0; i < m; ++i) {
                for (I k = a.ia[static_cast<std::size_t>(i)] - base; k < a.ia[static_cast<std::size_t>(i) + 1] - base;
                     ++k)
                    if (a.ja[static_cast<std::size_t>(k)] - base <= i)
                        lower.ja.push_back(a.ja[static_cast<std::size_t>(k)]),
                            lower.a.push_back(a.a[static_cast<std::size_t>(k)]);
                lower.ia.push_back(base + static_cast<I>(lower.ja.size()));
            }
            a = lower;
            back = {m, m, std::vector<T>(a.a.size()), std::vector<I>(a.ja.size()), std::vector<I>(a.ia.size())};
            there_and_back("csrsky", "job m acsr ja ia asky pntr info",
                           {{"asky", values.data()}, {"pntr", first.data()}}, 0, 0);

            // Dense to CSR, by rows or by columns as the base says, and sorting of rows that are not.
            const auto d = target == 0 ? this->dense_of(a) : this->transposed(this->dense_of(a), m, m);
            job = {0, target, base, 2, static_cast<I>(back.a.size()), 1};
            back = {m, m, std::vector<T>(a.a.size()), std::vector<I>(a.ja.size()), std::vector<I>(a.ia.size())};
            this->run("dnscsr", "job m n adns lda acsr ja ia info",
                      {{"job", job.data()},
                       {"m", &m},
                       {"n", &m},
                       {"adns", d.data()},
                       {"lda", &m},
                       {"acsr", back.a.data()},
                       {"ja", back.ja.data()},
                       {"ia", back.ia.data()},
                       {"info", &info}});
            EXPECT_EQ(info, 0);
            EXPECT_TRUE(this->same(a, back)) << "dense";
            for (I i = 0; i < m; ++i) {
                const auto from = a.ia[static_cast<std::size_t>(i)] - base,
                           to = a.ia[static_cast<std::size_t>(i) + 1] - base;
                std::reverse(back.ja.begin() + from, back.ja.begin() + to);
                std::reverse(back.a.begin() + from, back.a.begin() + to);
            }
            this->run("csrsort", "m a ja ia",
                      {{"m", &m}, {"a", back.a.data()}, {"ja", back.ja.data()}, {"ia", back.ia.data()}});
            EXPECT_TRUE(this->same(a, back)) << "sorted";
        }
    // The name that the back-end imports is the same routine.
    const std::string t(1, letter_of<T>);
    EXPECT_EQ(dlsym(RTLD_DEFAULT, (prefix_of<I>() + "vrn_" + t + "csrbsr").c_str()),
              dlsym(RTLD_DEFAULT, (prefix_of<I>() + t + "csrbsr").c_str()));
}

// The environment is read once a process: the program runs itself, and each child asks.
TEST(PublicSparse, AskTheEnvironmentAndGiveMemory)
{
    if (std::getenv("VRN_TEST_PRINT_CHECKING") != nullptr) {
        std::fprintf(stderr, "checking %d\n", vrn_spblas_get_checking());
        return;
    }
    for (const auto& [text, told] :
         {std::pair{static_cast<const char*>(nullptr), 0}, {"", 0}, {"0", 0}, {"1", 1}, {"yes", 1}})
        EXPECT_EQ(run_program({"/proc/self/exe", "--gtest_filter=PublicSparse.AskTheEnvironmentAndGiveMemory"},
                              {{"VRN_SPBLAS_CHECK", text}, {"VRN_TEST_PRINT_CHECKING", "1"}})
                      .err,
                  "checking " + std::to_string(told) + "\n");
    vrn_spblas_set_checking(5);
    EXPECT_EQ(vrn_spblas_get_checking(), 1);
    vrn_spblas_set_checking(0);
    EXPECT_EQ(vrn_spblas_get_checking(), 0);
    EXPECT_EQ(vrn_spblas_malloc(0), nullptr);
    void* const block = vrn_spblas_malloc(1000);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 128, 0U);
    vrn_spblas_free(block);
}

} // namespace
