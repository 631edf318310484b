// tests/blas/level2_public_test.cpp - dense level 2 through the public entries on threads: right for every number of
// them, and with the same bits where that is promised.
#include "tests/blas/level2_support.hpp"

#include "vrn/service.h"

namespace vrn::test {
namespace {

// Large enough for threads in every type and for slices where their number is fixed.
constexpr vrn_int order = 600;

template <class T>
struct Level2Public : Gemm<T> {
    void TearDown() override
    {
        vrn_set_num_threads(0);
        Gemm<T>::TearDown();
    }
    // The results of every routine, one after the other, as bits and as numbers.
    struct results {
        std::vector<T> fixed, reduced;
    };
    results run(int threads, const setting2& s) const;
};
TYPED_TEST_SUITE(Level2Public, AllTypes, );

// Any argument as the address that the routine takes; options are characters, integers and numbers come by reference.
template <class T, class... Args>
void call(const std::string& real_name, const std::string& complex_name, const Args*... args)
{
    static void* const host = dlopen(VRN_LIBRARY_DIR "/libvrn_core.so", RTLD_NOW);
    const std::string name = "vrn_blas_" + std::string(1, letter<T>) + (complex_type<T> ? complex_name : real_name);
    void* const f = dlsym(host, name.c_str());
    ASSERT_NE(f, nullptr) << name;
    reinterpret_cast<void (*)(const Args*...)>(f)(args...);
}

template <class T>
typename Level2Public<T>::results Level2Public<T>::run(int threads, const setting2& s) const
{
    vrn_set_num_threads(threads);
    const vrn_int n = order, m = order + 30;
    const T alpha = scalar<T>(s.alpha), beta = scalar<T>(s.beta);
    results all;
    const auto keep = [](std::vector<T>& to, const auto& from) {
        from.place.all([&](vrn_int, vrn_int, T e) { return to.push_back(e), true; });
        EXPECT_TRUE(from.place.intact());
    };
    const auto a = dense<T>(content::full, s.uplo, m, n, s.gap),
               h = dense<T>(content::symmetric, s.uplo, n, n, s.gap),
               t = dense<T>(content::triangle, s.uplo, n, n, s.gap);
    for (const char trans : {'N', 'T', 'C'}) {
        const vector<T> x(trans == 'N' ? n : m, s.incx, 2), y(trans == 'N' ? m : n, s.incy, 3), z(n, s.incx, 2);
        call<T>("gemv", "gemv", &trans, &m, &n, &alpha, a.data(), &a.ld(), x.data(), &s.incx, &beta, y.data(),
                &s.incy);
        keep(all.fixed, y);
        call<T>("trmv", "trmv", &s.uplo, &trans, &s.diag, &n, t.data(), &t.ld(), z.data(), &s.incx);
        keep(trans == 'N' ? all.reduced : all.fixed, z);
        for (vrn_int i = 0; i < n; i += 7) {
            const auto e = oracle::gemm<T>(
                n, T(1),
                [&](vrn_int k) {
                    return oracle::op<T>(trans, i, k, [&](vrn_int r, vrn_int c) {
                        return oracle::within(s.uplo, r, c) ? stored<T>(content::triangle, s.uplo, r, c) : T{};
                    });
                },
                [&](vrn_int k) { return value<T>(k, 7, 2); }, T{}, T{});
            EXPECT_LE(e.units(z[i]), sound<T>) << trans << i;
        }
    }
    const vector<T> x(n, s.incx, 2), y(n, s.incy, 3), p(m, s.incy, 3);
    for (const char last : {'u', 'c'}) {
        call<T>("ger", std::string("ger") + last, &m, &n, &alpha, p.data(), &s.incy, x.data(), &s.incx, a.data(),
                &a.ld());
        EXPECT_TRUE(a.intact());
        a.all([&](vrn_int, vrn_int, T e) { return all.fixed.push_back(e), true; });
    }
    call<T>("symv", "hemv", &s.uplo, &n, &alpha, h.data(), &h.ld(), x.data(), &s.incx, &beta, y.data(), &s.incy);
    keep(all.reduced, y);
    for (vrn_int i = 0; i < n; ++i) {
        const auto e = oracle::gemm<T>(
            n + 8, alpha,
            [&](vrn_int k) {
                return k < n
                           ? oracle::mirrored<T>(s.uplo, i, k, [](vrn_int r, vrn_int c) { return value<T>(r, c, 1); })
                           : T{};
            },
            [](vrn_int k) { return value<T>(k, 7, 2); }, beta, value<T>(i, 7, 3));
        EXPECT_LE(e.units(y[i]), sound<T>) << i;
    }
    if constexpr (!complex_type<T>) {
        const vector<T> u(n, s.incy, 4);
        call<T>("syr", "", &s.uplo, &n, &alpha, x.data(), &s.incx, h.data(), &h.ld());
        call<T>("syr2", "", &s.uplo, &n, &alpha, x.data(), &s.incx, u.data(), &s.incy, h.data(), &h.ld());
        EXPECT_TRUE(h.intact());
        h.all([&](vrn_int, vrn_int, T e) { return all.fixed.push_back(e), true; });
    }
    return all;
}

template <class T>
bool equal(const std::vector<T>& x, const std::vector<T>& y)
{
    return x.size() == y.size() && std::memcmp(x.data(), y.data(), x.size() * sizeof(T)) == 0;
}

TYPED_TEST(Level2Public, Threads)
{
    for (const int mode : {1, 2})
        for (const setting2& s : {setting2{.uplo = 'L'}, setting2{.uplo = 'U', .incx = -1, .incy = 2, .gap = 3}}) {
            cbwr_mode = mode;
            const auto one = this->run(1, s);
            for (const int threads : {2, 5}) {
                const auto several = this->run(threads, s);
                EXPECT_TRUE(equal(one.fixed, several.fixed)) << threads << " threads, mode " << mode << ' ' << s;
                EXPECT_TRUE(mode == 1 || equal(one.reduced, several.reduced)) << threads << " threads " << s;
            }
        }
}

TYPED_TEST(Level2Public, WithoutMemory)
{
    cbwr_mode = 1;
    const auto one = this->run(1, {});
    host.refuse(0, host.never);
    const auto refused = this->run(3, {});
    EXPECT_GT(host.refused, 0);
    EXPECT_TRUE(equal(one.reduced, refused.reduced)) << "the kernels on one thread";
}

} // namespace
} // namespace vrn::test
