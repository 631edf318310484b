// tests/trans/trans_test.cpp - copies, transpositions in place and sums against their definitions, bit for bit: every
// element is computed alone, so nothing is left to rounding.

#include "tests/support/backend.hpp"
#include "tests/trans/trans_support.hpp"
#include "trans/tiles.hpp"
#include "vrn/service.h"
#include "vrn/trans.h"

#include <gtest/gtest.h>

namespace {

using namespace vrn::test;
using namespace vrn::trans;

template <class E>
struct Trans : testing::Test {
    static std::string name(const std::string& rest) { return std::string("vrn_trans_s42_vrn_") + letter<E>::value + rest; }
};
using types = testing::Types<float, double, cplx<float>, cplx<double>>;
TYPED_TEST_SUITE(Trans, types);

struct shape {
    size rows, cols;
    const char* why;
};
constexpr shape shapes[] = {
    {1, 1, "one element"},        {1, 9, "a row"},           {9, 1, "a column"},
    {2, 3, "below a block"},      {5, 4, "one split"},       {8, 8, "a straight band"},
    {17, 17, "asks for threads where bytes allow"},          {16, 300, "never asks for threads"},
    {61, 70, "an odd band"},      {129, 257, "many bands"},  {600, 310, "streamed in every type"},
};

template <class E>
void out_of_place(const std::string& which, bool with_strides)
{
    const E alphas[] = {vrn::simd::unity<E>, number<E>(3)};
    for (const shape s : shapes)
        for (const char order : {'R', 'c'})
            for (const char trans : {'N', 'T', 'C', 'R'})
                for (const E& alpha : alphas)
                    for (const std::size_t off : {0, 1, 3}) {
                        const size inc = with_strides ? 1 + off % 2 : 1, step = with_strides ? 1 + off / 3 : 1;
                        // The matrix as rows in memory, whichever way the caller calls them.
                        const size m = order == 'R' ? s.rows : s.cols, n = order == 'R' ? s.cols : s.rows;
                        matrix<E> a(m, n, n * inc + off, inc, off);
                        matrix<E> b(turns(trans) ? n : m, turns(trans) ? m : n, (turns(trans) ? m : n) * step + 2 * off, step, off);
                        a.number_all();
                        matrix<E> expected = b;
                        for (size i = 0; i < m; ++i)
                            for (size j = 0; j < n; ++j)
                                (turns(trans) ? expected(j, i) : expected(i, j)) = applied(alpha, trans, a(i, j));
                        if (with_strides)
                            kernel<omatcopy2_function<E>>(which)(order, trans, s.rows, s.cols, argument(alpha), a.data(),
                                                                 a.ld, inc, b.data(), b.ld, step);
                        else
                            kernel<omatcopy_function<E>>(which)(order, trans, s.rows, s.cols, argument(alpha), a.data(),
                                                                a.ld, b.data(), b.ld);
                        ASSERT_EQ(std::memcmp(b.buffer.data(), expected.buffer.data(), b.buffer.size() * sizeof(E)), 0)
                            << s.why << " " << order << trans << " off " << off;
                    }
}

TYPED_TEST(Trans, CopiesOutOfPlace) { out_of_place<TypeParam>(this->name("omatcopy"), false); }
TYPED_TEST(Trans, CopiesWithStrides) { out_of_place<TypeParam>(this->name("omatcopy2"), true); }

TYPED_TEST(Trans, ThreadsDoNotChangeACopy)
{
    vrn_set_num_threads(3);
    out_of_place<TypeParam>(this->name("omatcopy"), false);
    vrn_set_num_threads(0);
}

TYPED_TEST(Trans, InPlace)
{
    using E = TypeParam;
    const E alphas[] = {vrn::simd::unity<E>, number<E>(2)};
    struct view {
        size rows, cols, lda, ldb;
        const char* why;
    };
    constexpr view views[] = {
        {10, 10, 10, 10, "the tiled swap refuses"},   {10, 10, 8 + 8, 16, "taken for lda alone"},
        {64, 64, 64, 64, "dense, one thread"},        {65, 65, 67, 67, "asks the host, which leaves a corner"},
        {67, 67, 67, 67, "dense and odd"},            {200, 200, 200, 200, "bands in every type"},
        {13, 29, 31, 17, "cycles with gaps"},         {29, 13, 13, 29, "cycles without gaps"},
        {12, 12, 15, 13, "a square that shrinks"},    {12, 12, 12, 15, "a square that grows"},
        {1, 40, 40, 3, "a row"},                      {40, 1, 2, 41, "a column"},
    };
    auto* run = kernel<imatcopy_function<E>>(this->name("imatcopy"));
    for (const view v : views)
        for (const char order : {'r', 'C'})
            for (const char trans : {'N', 'T', 'C', 'R'})
                for (const E& alpha : alphas) {
                    const size m = order == 'r' ? v.rows : v.cols, n = order == 'r' ? v.cols : v.rows;
                    const size to_rows = turns(trans) ? n : m, to_cols = turns(trans) ? m : n;
                    const size lda = std::max(v.lda, n), ldb = v.lda == v.ldb ? lda : std::max(v.ldb, to_cols);
                    matrix<E> a(m, n, lda);
                    a.number_all();
                    matrix<E> buffer(std::max(m, to_rows), 1, std::max(lda, ldb));
                    for (size i = 0; i < m; ++i)
                        for (size j = 0; j < n; ++j) buffer.data()[i * lda + j] = a(i, j);
                    run(order, trans, v.rows, v.cols, argument(alpha), buffer.data(), lda, ldb);
                    for (size i = 0; i < m; ++i)
                        for (size j = 0; j < n; ++j) {
                            const E got = buffer.data()[turns(trans) ? j * ldb + i : i * ldb + j];
                            ASSERT_TRUE(same(got, applied(alpha, trans, a(i, j)))) << v.why << " " << order << trans << " at " << i << ", " << j;
                        }
                    // Between equal leading dimensions the gaps are nobody's.
                    for (size i = 0; lda == ldb && i < m && m == n; ++i)
                        for (size j = n; j < lda; ++j) ASSERT_TRUE(same(buffer.data()[i * lda + j], guard<E>()));
                    for (std::size_t k = 0; k < 8; ++k) ASSERT_TRUE(same(buffer.buffer[k], guard<E>()));
                }
}

TYPED_TEST(Trans, Adds)
{
    using E = TypeParam;
    const E alpha = number<E>(2), beta = number<E>(-3);
    auto* run = kernel<omatadd_function<E>>(this->name("omatadd"));
    for (const shape s : {shape{1, 1, ""}, shape{7, 19, ""}, shape{70, 33, ""}})
        for (const char order : {'R', 'c', '?'}) // any letter but C is row-major
            for (const char ta : {'N', 'T', 'C', 'R', '?'})
                for (const char tb : {'n', 't', 'c', 'r'})
                    for (const std::size_t off : {0, 1}) {
                        const char b_letter = static_cast<char>(tb - 32);
                        const size m = order == 'c' ? s.cols : s.rows, n = order == 'c' ? s.rows : s.cols;
                        matrix<E> a(turns(ta) ? n : m, turns(ta) ? m : n, (turns(ta) ? m : n) + 1, 1, off);
                        matrix<E> b(turns(b_letter) ? n : m, turns(b_letter) ? m : n, (turns(b_letter) ? m : n) + off, 1, off);
                        matrix<E> c(m, n, n + 3, 1, off);
                        a.number_all(), b.number_all();
                        matrix<E> expected = c;
                        for (size i = 0; ta != '?' && i < m; ++i)
                            for (size j = 0; j < n; ++j)
                                expected(i, j) = applied(alpha, ta, turns(ta) ? a(j, i) : a(i, j)) +
                                                 applied(beta, b_letter, turns(b_letter) ? b(j, i) : b(i, j));
                        run(order, ta, tb, s.rows, s.cols, argument(alpha), a.data(), a.ld, argument(beta), b.data(),
                            b.ld, c.data(), c.ld);
                        ASSERT_EQ(std::memcmp(c.buffer.data(), expected.buffer.data(), c.buffer.size() * sizeof(E)), 0)
                            << order << ta << tb << " " << m << " by " << n;
                    }
}

// The kept oddities: letters that are not known, and rows of no length.
TEST(TransEdges, UnknownLettersAndNoLength)
{
    const double a[] = {1, 2, 3, 4};
    double b[] = {9, 9, 9, 9};
    auto* copy = kernel<omatcopy_function<double>>("vrn_trans_s42_vrn_domatcopy");
    copy('X', 'N', 2, 2, 1, a, 2, b, 2);
    copy('R', 'X', 2, 2, 1, a, 2, b, 2);
    copy('R', 'N', 0, 2, 1, a, 2, b, 2);
    for (const double x : b) EXPECT_EQ(x, 9);
    copy('R', 'T', 1, 4, 1, a, 4, b, 0);
    EXPECT_EQ(b[0], 4);
    EXPECT_EQ(b[1], 9);
}

TEST(TransEdges, BandHeights)
{
    struct {
        std::uint64_t source, result, height;
        const char* why;
    } const cases[] = {
        {8, 800, 4096, "512 rows to a page"},      {2048, 4096, 16, "short rows of the result: 8 p"},
        {4096, 4104, 54, "(62 - 8) p"},            {1024, 40000, 216, "four rows to a page"},
        {32768, 32768, 8, "one set of the cache"}, {16384, 16384, 54, "half of that stride"},
        {800, 0, 48, "a result of no length"},
    };
    for (const auto& c : cases) EXPECT_EQ(band_height(c.source, c.result), c.height) << c.why;
}

int reported;

TEST(TransPublic, ReportsTheFirstBadArgument)
{
    const auto before = vrn_set_xerbla([](const char*, const std::int64_t* number, std::int64_t) { reported = static_cast<int>(*number); });
    double a[16] = {}, b[16] = {};
    const auto expect = [&](int number) {
        EXPECT_EQ(reported, number);
        reported = 0;
        for (const double x : b) EXPECT_EQ(x, 0);
    };
    for (double& x : a) x = 7;
    vrn_trans_domatcopy('Q', 'X', 2, 3, 1, a, 1, b, 1), expect(1);
    vrn_trans_domatcopy('R', 'X', 2, 3, 1, a, 1, b, 1), expect(2);
    vrn_trans_domatcopy('R', 'T', 2, 3, 1, a, 2, b, 1), expect(7);
    vrn_trans_domatcopy('R', 'T', 2, 3, 1, a, 3, b, 1), expect(9);
    vrn_trans_domatcopy2('C', 'T', 2, 3, 1, a, 2, 0, b, 1, 1), expect(8);
    vrn_trans_dimatcopy('C', 'T', 2, 3, 1, b, 2, 2), expect(8);
    vrn_trans_domatadd('R', 'N', 'T', 2, 3, 1, a, 3, 1, a, 1, b, 3), expect(11);
    vrn_trans_domatcopy('C', 'T', 2, 3, 1, a, 2, b, 3);
    EXPECT_EQ(reported, 0);
    EXPECT_EQ(b[5], 7);
    vrn_set_xerbla(before);
}

} // namespace
