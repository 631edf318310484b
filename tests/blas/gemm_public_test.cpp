// tests/blas/gemm_public_test.cpp - the host's entries of the product, in both integer widths: quick
// returns, and the same bits on any number of threads, from anywhere, short of memory or not.

#include "tests/blas/gemm_support.hpp"
#include "tests/support/process.hpp"
#include "vrn/blas.h"
#include "vrn/service.h"

#include <omp.h>
#include <thread>
#include <vector>

using namespace vrn::test;

namespace {

template <class T, class I>
using public_function = void(const char*, const char*, const I*, const I*, const I*, const T*, const T*, const I*,
                             const T*, const I*, const T*, T*, const I*);

// The complex entries take their own pairs of reals.
template <class T, class I>
auto* chosen()
{
    const auto pick = [](auto* s, auto* d, auto* c, auto* z) {
        if constexpr (std::is_same_v<T, float>) return s;
        else if constexpr (std::is_same_v<T, double>) return d;
        else if constexpr (std::is_same_v<T, std::complex<float>>) return c;
        else return z;
    };
    if constexpr (sizeof(I) == 8)
        return reinterpret_cast<public_function<T, I>*>(
            pick(vrn_blas_sgemm, vrn_blas_dgemm, vrn_blas_cgemm, vrn_blas_zgemm));
    else
        return reinterpret_cast<public_function<T, I>*>(
            pick(vrn_blas_lp64_sgemm, vrn_blas_lp64_dgemm, vrn_blas_lp64_cgemm, vrn_blas_lp64_zgemm));
}

// An entry with its element and integer type.
template <class T, class I>
struct public_entry {
    using element = T;
    using integer = I;
    static inline public_function<T, I>* const call = chosen<T, I>();

    static void multiply(const product<T>& p)
    {
        p([](auto* ta, auto* tb, auto* m64, auto* n64, auto* k64, auto* alpha, auto* a, auto* lda64, auto* b,
             auto* ldb64, auto* beta, auto* c, auto* ldc64) {
            const auto m = I(*m64), n = I(*n64), k = I(*k64), lda = I(*lda64), ldb = I(*ldb64), ldc = I(*ldc64);
            call(ta, tb, &m, &n, &k, alpha, a, &lda, b, &ldb, beta, c, &ldc);
        });
    }
};

template <class E>
struct GemmPublic : Gemm<> {
    void TearDown() override
    {
        vrn_set_num_threads(0);
        Gemm<>::TearDown();
    }
};
using Entries = testing::Types<public_entry<float, std::int64_t>, public_entry<double, std::int64_t>,
                               public_entry<std::complex<float>, std::int64_t>,
                               public_entry<std::complex<double>, std::int64_t>, public_entry<float, std::int32_t>,
                               public_entry<double, std::int32_t>, public_entry<std::complex<float>, std::int32_t>,
                               public_entry<std::complex<double>, std::int32_t>>;
TYPED_TEST_SUITE(GemmPublic, Entries);

// Below and above the size from which threads are used, with one and several pieces of work in each direction.
constexpr shape thread_shapes[] = {
    {9, 9, 9, "unrolled"},
    {50, 3, 50, "unpacked"},
    {60, 60, 60, "small"},
    {99, 100, 100, "just below the threads"},
    {100, 100, 100, "just there"},
    {101, 100, 100, "just above"},
    {161, 513, 20, "a rest in every direction"},
    {165, 30, 530, "several depth blocks"},
    {330, 1030, 12, "many pieces"},
    {4100, 16, 20, "very tall"},
    {40, 5003, 9, "very wide"},
    {21, 25, 2000, "deep: a block is met by all threads before the next"},
};

} // namespace

// Neither A nor B is read, and no memory asked for, where there is nothing to multiply.
TYPED_TEST(GemmPublic, QuickReturns)
{
    using T = typename TypeParam::element;
    // A and B are NaN where alpha is zero; where k is zero they have no element.
    for (const shape& s :
         {shape{20, 30, 40, "alpha"}, shape{20, 30, 0, "depth"}, shape{200, 300, 0, "depth, for threads"}})
        for (const double beta : {0.0, 1.0, 0.5}) {
            const product<T> p(s, {"NT", s.k == 0 ? 1.0 : 0.0, beta, 0});
            TypeParam::multiply(p);
            EXPECT_TRUE(p.sound());
            EXPECT_EQ(host.asked, 0);
        }
}

TYPED_TEST(GemmPublic, SameBitsOnAnyNumberOfThreads)
{
    using T = typename TypeParam::element;
    for (const shape& s : thread_shapes)
        for (const char* letters : {"NN", "tT", "nC", "TN"})
            for (const auto& [alpha, beta] : {std::pair{1.0, 0.0}, {-0.5, 0.75}}) {
                if (sizeof(typename TypeParam::integer) == 4 && (beta == 0 || *letters == 'n')) continue; // one body
                const product<T> first(s, {letters, alpha, beta});
                vrn_set_num_threads(1);
                TypeParam::multiply(first);
                EXPECT_TRUE(first.sound());
                for (const int threads : {2, 3, 5}) {
                    vrn_set_num_threads(threads);
                    const product<T> p(s, {letters, alpha, beta, threads, threads % 2, 1, threads - 2});
                    TypeParam::multiply(p);
                    ASSERT_TRUE(p.a.intact() && p.b.intact() && p.c.intact() && same_bits(p.c, first.c))
                        << threads << " threads: " << p;
                }
            }
    // The runtime keeps the threads it made, so that this tells whether there were any.
    EXPECT_GE(lines_of("ls /proc/" + std::to_string(getpid()) + "/task").size(), 5u);
}

namespace {

// A product for threads, its result on one, and calls that must give the same.
template <class E>
struct repeated {
    using T = typename E::element;
    static product<T> fresh() { return {{150, 600, 270, "for threads"}, {"NT", 1, 0.5}}; }
    product<T> expected = fresh();
    repeated()
    {
        vrn_set_num_threads(1);
        E::multiply(expected);
        vrn_set_num_threads(3);
    }
    bool same_again() const
    {
        const product<T> p = fresh();
        E::multiply(p);
        return p.c.intact() && same_bits(p.c, expected.c);
    }
};

} // namespace

TYPED_TEST(GemmPublic, FromManyUserThreads)
{
    const repeated<TypeParam> product;
    std::atomic<int> same{0};
    std::vector<std::thread> users;
    for (int i = 0; i < 4; ++i)
        users.emplace_back([&] {
            for (int round = 0; round < 3; ++round) same += product.same_again();
        });
    for (std::thread& user : users) user.join();
    EXPECT_EQ(same, 12);
}

TYPED_TEST(GemmPublic, InsideAParallelRegion)
{
    const repeated<TypeParam> product;
    std::atomic<int> same{0}, calls{0};
#pragma omp parallel num_threads(3)
    {
        ++calls;
        same += product.same_again();
    }
    EXPECT_EQ(same, calls);
    // Only some of the region's threads call: none may wait for the others.
    same = calls = 0;
#pragma omp parallel num_threads(3)
    if (omp_get_thread_num() == 0) {
        ++calls;
        same += product.same_again();
    }
    EXPECT_EQ(same, calls);
}

// The parent's threads do not come along.
TYPED_TEST(GemmPublic, InTheChildOfAFork)
{
    const repeated<TypeParam> product;
    ASSERT_TRUE(product.same_again());
    const ending child = in_child([&] { return product.same_again() ? 0 : 1; });
    EXPECT_TRUE(child.exited(0)) << child.status << ' ' << child.err;
}

// Every request for memory fails once, alone and with all behind it.
TYPED_TEST(GemmPublic, WithoutMemory)
{
    using T = typename TypeParam::element;
    for (const shape& s : {shape{90, 80, 70, "one thread"}, shape{170, 40, 300, "several, and two depth blocks"}})
        for (const int threads : {1, 2})
            for (const bool alone : {true, false})
                for (const auto& [alpha, beta] : {std::pair{1.0, 0.0}, {-0.5, 0.75}})
                    for (long good = 0;; ++good) {
                        host.refuse(good, alone ? good + 1 : host.never);
                        vrn_set_num_threads(threads);
                        const product<T> p(s, {good % 2 ? "TN" : "NT", alpha, beta});
                        TypeParam::multiply(p);
                        ASSERT_TRUE(p.sound()) << threads << " threads, " << good << " good requests, alone " << alone;
                        EXPECT_EQ(host.live, 0);
                        if (host.refused == 0) break;
                        // Shared panels that cannot be had are given up without a word, and one thread tries alone.
                        if (threads == 1 || good > 0 || !alone) {
                            EXPECT_GE(host.warnings, 1);
                            EXPECT_EQ(host.warned.load(), routine<T>());
                        }
                    }
}
