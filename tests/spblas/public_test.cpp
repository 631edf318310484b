// tests/spblas/public_test.cpp - products and solves of the public sparse BLAS in every format, class, operation,
// base, layout and integer width, on one and several threads, against what the descriptor says; and bad arguments.

#include "tests/spblas/public_problem.hpp"

namespace {

using namespace vrn::test;

struct PublicSparse : testing::TestWithParam<group> {
    void SetUp() override
    {
        heap = {};
        warnings = 0;
        vrn_set_xerbla(keep_report);
        last_report = {};
    }
    void TearDown() override
    {
        vrn_set_xerbla(nullptr);
        vrn_set_num_threads(0);
        vrn_spblas_set_checking(0);
        vrn_set_cbwr(VRN_CBWR_OFF);
    }
};
struct PublicProducts : PublicSparse {};
struct PublicSolves : PublicSparse {};
struct PublicThreads : PublicSparse {};
struct PublicMemory : PublicSparse {};
struct PublicErrors : PublicSparse {};

std::vector<group> all_groups(std::initializer_list<const char*> formats)
{
    std::vector<group> all;
    for (const char* f : formats)
        for (const char letter : {'s', 'd', 'c', 'z'}) all.emplace_back(f, letter);
    return all;
}
const auto formats = all_groups({"csr", "csc", "coo", "dia", "bsr", "sky"});
INSTANTIATE_TEST_SUITE_P(All, PublicProducts, testing::ValuesIn(formats), group_name);
INSTANTIATE_TEST_SUITE_P(All, PublicSolves, testing::ValuesIn(formats), group_name);
INSTANTIATE_TEST_SUITE_P(Blocks, PublicSolves, testing::ValuesIn(all_groups({"bsc"})), group_name);
INSTANTIATE_TEST_SUITE_P(All, PublicMemory, testing::ValuesIn(formats), group_name);
INSTANTIATE_TEST_SUITE_P(All, PublicThreads, testing::ValuesIn(formats), group_name);
INSTANTIATE_TEST_SUITE_P(All, PublicErrors, testing::ValuesIn(all_groups({"csr", "csc", "coo", "dia", "bsr", "sky"})),
                         group_name);

TEST_P(PublicProducts, MeanTheirDescriptors)
{
    const auto& [format, letter] = GetParam();
    vrn_spblas_set_checking(1);
    with_type(letter, [&, format = format]<class T>(T) {
        std::mt19937_64 random(1);
        int turn = 0;
        for (const char* letters : classes)
            for (const char trans : {'N', 'T', 'c'})
                for (const int base : {0, 1})
                    for (const char layout : {' ', 'r', 'C'})
                        for (const std::int64_t n : {0, 1, 3, 9}) {
                            const bool general = letters[0] == 'G';
                            problem p{
                                format, n == 0 ? "mv" : "mm", trans, letters, base, layout == 'r' ? 'R' : layout,
                                12,     general ? 18 : 12,    n,     1};
                            if (format == "bsr") p.lb = turn % 3 == 0 ? 2 : turn % 3 == 1 ? 3 : 6;
                            if (!general && format != "bsr" && turn % 2 == 1) p.m = p.k = 13;
                            const T alpha = turn % 5 == 0 ? T(1) : random_number<T>(random);
                            const T beta = turn % 3 == 0 ? T{} : turn % 3 == 1 ? T(1) : random_number<T>(random);
                            const auto a = pattern<T>(p.m, p.k, 0.4, false, random);
                            check<T>(p, a, {1}, alpha, beta, random);
                            ++turn;
                        }
    });
}

TEST_P(PublicSolves, MeanTheirDescriptors)
{
    const auto& [format, letter] = GetParam();
    vrn_spblas_set_checking(1);
    with_type(letter, [&, format = format]<class T>(T) {
        std::mt19937_64 random(2);
        int turn = 0;
        for (const char* letters : classes)
            for (const char trans : {'n', 'T', 'C'})
                for (const int base : {0, 1})
                    for (const char layout : {' ', 'R', 'C'})
                        for (const std::int64_t n : {0, 1, 3, 9}) {
                            problem p{format,
                                      n == 0 ? "sv" : "sm",
                                      trans == 'n' ? 'N' : trans,
                                      letters,
                                      base,
                                      layout,
                                      12,
                                      12,
                                      n,
                                      1};
                            if (format[0] == 'b') p.lb = turn % 3 == 0 ? 1 : turn % 3 == 1 ? 3 : 6;
                            const auto a = pattern<T>(p.m, p.k, turn % 4 == 0 ? 0 : 0.4, true, random);
                            check<T>(p, a, {1}, turn % 5 == 0 ? T(1) : random_number<T>(random), T{}, random);
                            ++turn;
                        }
    });
}

// Enough entries for three threads.
TEST_P(PublicThreads, ShareTheWork)
{
    const auto& [format, letter] = GetParam();
    with_type(letter, [&, format = format, letter = letter]<class T>(T) {
        std::mt19937_64 random(4);
        const std::int64_t side = 240;
        const auto a = pattern<T>(side, side, 0.95, true, random);
        int turn = letter;
        for (const char* letters : classes)
            for (const char* product : {"mv", "mm", "sm"}) {
                // Types differ in nothing that threads see: one real and one complex take the long way.
                if (sizeof(std::abs(T{})) == 4 && product[1] == 'm') continue;
                const int base = ++turn % 2;
                const problem p{format,  product, "NTC"[turn % 3],
                                letters, base,    format == "dia" || format == "sky" ? 'C' : ' ',
                                side,    side,    3,
                                3};
                check<T>(p, a, {2, 3}, T(0.5), T(turn % 2), random);
            }
        // The strict mode hides the number of threads from a sum.
        vrn_set_cbwr(VRN_CBWR_STRICT);
        for (const char* letters : {"SLN", "SUU", "TUN"}) {
            const problem p{format, "mv", 'T', letters, 1, ' ', side, side, 1, 3};
            if (!exists(p)) continue;
            dense<T> b(side, 1, false, 0), c = b;
            b.fill(random);
            vrn_set_num_threads(1);
            const auto one = run<T, std::int32_t>(p, a, T(1), T{}, &b, c);
            vrn_set_num_threads(3);
            EXPECT_TRUE(one.same_bits(run<T, std::int32_t>(p, a, T(1), T{}, &b, c))) << format << letters;
        }
    });
}

// Short of memory a call does it another way, or says so and writes nothing.
TEST_P(PublicMemory, Refused)
{
    const auto& [format, letter] = GetParam();
    with_type(letter, [&, format = format]<class T>(T) {
        std::mt19937_64 random(8);
        // None, or all after the first one or two; then of calls that several threads share.
        for (const char* letters : classes)
            for (const char trans : {'N', 'C'})
                for (const char layout : {'R', 'C'})
                    for (const char* product : {"mv", "mm", "sv", "sm"})
                        for (heap.grants = 0; heap.grants < 3; ++heap.grants) {
                            const problem p{format, product, trans, letters, 1, layout, 12, 12, 3, 3};
                            check<T>(p, pattern<T>(12, 12, 0.4, true, random), {3}, T(2), T(-1), random);
                        }
        const auto large = pattern<T>(192, 192, 0.95, true, random);
        heap.grants = 0;
        for (const char* letters : {"G  ", "SLN", "TUN"})
            check<T>({format, "mv", 'T', letters, 1, ' ', 192, 192, 1, 3}, large, {3}, T(2), T(-1), random);
    });
}

// Each bad argument, alone: reported with its place, once, and nothing written. Looks at the arrays need the checking
// mode; without it the call is not made.
struct bad_case {
    const char *formats, *products, *argument;
    std::int64_t value; // a number, or a letter of `descr` at `place`
    int place = -1;     // in descr, or in an array
    bool checking = false;
    const char* letters = "G  ";
};
const bad_case bad_cases[] = {
    {"csr csc coo dia bsr sky", "mv mm sv sm", "trans", 'X'},
    {"csr csc coo dia sky", "mv mm sv sm", "m", -1},
    {"csr csc coo dia sky", "mm sm", "n", -1},
    {"csr csc coo dia sky", "mv mm", "k", -1},
    {"csr csc coo dia sky", "mv mm", "k", 5, -1, false, "SLN"},
    {"bsr", "mv mm sv sm", "mb", -1},
    {"bsr", "mv mm", "kb", 3, -1, false, "TLN"},
    {"bsr", "mv mm sv sm", "lb", 0},
    {"csr csc coo dia bsr sky", "mv mm sv sm", "descr", 'X', 0},
    {"csr csc coo dia bsr sky", "mv mm sv sm", "descr", ' ', 0},
    {"csr csc coo dia bsr sky", "mv mm sv sm", "descr", 'X', 1, false, "TLN"},
    {"csr csc coo dia bsr sky", "mv mm sv sm", "descr", 'X', 2, false, "TLN"},
    {"csr csc coo dia bsr sky", "mv mm sv sm", "descr", '0', 3},
    {"csr csc coo dia bsr", "sv sm", "descr", 'S', 0, false, "TLN"},
    {"sky", "mv mm", "descr", 'G', 0, false, "TLN"},
    {"dia sky", "mm sm", "descr", 'R', 4},
    {"coo", "mv mm sv sm", "nnz", -1},
    {"dia", "mv mm sv sm", "lval", 5},
    {"dia", "mv mm sv sm", "ndiag", -2},
    {"csr csc coo dia bsr sky", "mm sm", "ldb", 5},
    {"csr csc coo dia bsr sky", "mm sm", "ldc", 5},
    {"csr csc bsr", "mv mm sv sm", "indx", 7, 0, true},
    {"csr csc bsr", "mv mm sv sm", "indx", 0, 1, true},
    {"csr csc bsr", "sv sm", "indx", 4, 0, true}, // unsorted, or without a diagonal
    {"csr csc bsr", "mv mm sv sm", "pntrb", 0, 1, true},
    {"csr csc bsr", "mv mm sv sm", "pntre", -1, 0, true},
    {"coo", "mv mm sv sm", "rowind", 9, 3, true},
    {"coo", "mv mm sv sm", "colind", 0, 2, true},
    {"coo", "sv sm", "rowind", -1, -2, true}, // the diagonal entries of a row taken elsewhere
    {"dia", "mv mm sv sm", "idiag", 6, 0, true},
    {"dia", "sv sm", "idiag", -5, -2, true},
    {"sky", "mv mm sv sm", "pntr", 3, 2, true},
};

TEST_P(PublicErrors, AreReportedOnce)
{
    const auto& [format, letter] = GetParam();
    with_type(letter, [&, format = format, letter = letter]<class T>(T) {
        using I = std::int32_t;
        std::mt19937_64 random(5);
        const auto a = pattern<T>(6, 6, 1, true, random);
        const auto in = [](const std::string& list, const std::string& word) {
            return (" " + list + " ").find(" " + word + " ") != std::string::npos;
        };
        for (const bad_case& bad : bad_cases)
            for (const std::string product : {"mv", "mm", "sv", "sm"}) {
                if (!in(bad.formats, format) || !in(bad.products, product)) continue;
                std::string descr(bad.letters);
                if (descr[0] == 'G' && (product[0] == 's' || format == "sky")) descr = "TLN";
                descr += "F  ";
                stored<T, I> s(format, a, 6, 6, 1, 1, false, true, random);
                I m = 6, n = 3, k = 6, ld = 6, wrong = static_cast<I>(bad.value);
                char trans = 'N', wrong_trans = 'X';
                const T alpha(1), beta(2);
                dense<T> b(6, 3, false, 0), c(6, 3, false, 0);
                b.fill(random), c.fill(random);
                const dense<T> before = c;
                arguments_by_name by{{"trans", &trans}, {"m", &m},       {"mb", &m},
                                     {"k", &k},         {"kb", &k},      {"n", &n},
                                     {"alpha", &alpha}, {"beta", &beta}, {"descr", descr.data()},
                                     {"x", b.data()},   {"b", b.data()}, {"y", c.data()},
                                     {"c", c.data()},   {"ldb", &ld},    {"ldc", &ld}};
                s.add_to(by);
                const std::string argument = bad.argument;
                if (argument == "descr") descr[static_cast<std::size_t>(bad.place)] = static_cast<char>(bad.value);
                else if (argument == "trans") by["trans"] = &wrong_trans;
                else if (bad.place == -2) { // every entry or diagonal on the diagonal goes elsewhere
                    for (std::size_t e = 0; e < s.i1.size(); ++e)
                        if (format == "dia" ? s.i1[e] == 0 : s.i1[e] == s.i2[e] && s.i1[e] == 2)
                            s.i1[e] = static_cast<I>(-bad.value);
                } else if (bad.place >= 0) {
                    auto& array = argument == "pntrb" || argument == "colind" ? s.i2
                                  : argument == "pntre"                       ? s.i3
                                                                              : s.i1;
                    array[static_cast<std::size_t>(bad.place)] = static_cast<I>(bad.value);
                } else by[argument] = &wrong;
                const std::string order = order_of(format, product);
                std::istringstream words(order);
                std::int64_t place = 1;
                for (std::string word; words >> word && word != argument;) ++place;
                vrn_spblas_set_checking(bad.checking);
                last_report = {};
                call(prefix_of<I>() + letter + format + product, order, by);
                SCOPED_TRACE(format + product + ", bad " + argument + " " + std::to_string(bad.value) + " " + descr);
                std::string name = std::string(1, letter) + format + product;
                for (char& ch : name) ch = static_cast<char>(std::toupper(ch));
                EXPECT_EQ(last_report.times, 1);
                EXPECT_EQ(last_report.routine, name);
                EXPECT_EQ(last_report.argument, place);
                EXPECT_TRUE(c.same_bits(before)) << "written";
            }
    });
}

} // namespace
