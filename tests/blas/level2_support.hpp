// tests/blas/level2_support.hpp - vectors amid watched memory, and the host's services that level 2 asks.
#pragma once

#include "tests/blas/gemm_support.hpp"
#include "tests/oracle/level2.hpp"

#include <cstdlib>
#include <functional>

namespace vrn::test {

inline std::int32_t cbwr_mode = 1; // what vrn_serv_cbwr_get answers
inline long cbwr_asked = 0, dgemv_called = 0;

// n elements with a stride of either sign, in the gaps watched NaN. Element 0 is the far end where inc is negative.
template <class T>
struct vector {
    vrn_int n, inc;
    matrix<T> place;
    vector(vrn_int length, vrn_int stride, unsigned seed, int shift = 0)
        : n(length), inc(stride), place(1, length, std::abs(stride), shift)
    {
        if (seed != 0)
            for (vrn_int i = 0; i < n; ++i) (*this)[i] = value<T>(i, 7, seed);
    }
    T& operator[](vrn_int i) const { return place(0, inc < 0 ? n - 1 - i : i); }
    T* data() const { return place.data(); }
};

// What a case varies besides its size. Seeds of zero leave NaN.
struct setting2 {
    char uplo = 'L', trans = 'N', diag = 'N';
    vrn_int incx = 1, incy = 1;
    double alpha = 1.25, beta = -0.5;
    int gap = 0, shift = 0;
};

inline std::ostream& operator<<(std::ostream& out, const setting2& s)
{
    return out << s.uplo << s.trans << s.diag << " incx " << s.incx << " incy " << s.incy << " alpha " << s.alpha
               << " beta " << s.beta << " gap " << s.gap << " shift " << s.shift;
}

// Factors with an imaginary part where the type has one, but for zero and one.
template <class T>
T scalar(double x)
{
    if constexpr (std::is_same_v<T, real<T>>) return T(x);
    else return x == 0 || x == 1 ? T(real<T>(x)) : T(real<T>(x), real<T>(0.375));
}

template <class T>
inline constexpr bool complex_type = !std::is_same_v<T, real<T>>;
template <class T>
inline constexpr double sound = complex_type<T> ? 2 : 1; // units of error

// The stored elements of A: of a triangle only its own are numbers, and a Hermitian diagonal has a NaN beside it.
enum class content { full, symmetric, triangle, unit_triangle };
template <class T>
T stored(content what, char uplo, vrn_int i, vrn_int j)
{
    if (what == content::full) return value<T>(i, j, 1);
    if (!oracle::within(uplo, i, j) || (i == j && what == content::unit_triangle)) return watched<T>();
    if (i != j) return value<T>(i, j, 1);
    if (what == content::triangle) return value<T>(i, j, 1) + T(3); // far enough from singular
    if constexpr (complex_type<T>) return {value<T>(i, j, 1).real(), watched<real<T>>()};
    return value<T>(i, j, 1);
}

template <class T>
matrix<T> dense(content what, char uplo, vrn_int m, vrn_int n, int gap, int shift = 0)
{
    matrix<T> a(m, n, m + gap, shift);
    a.fill([&](vrn_int i, vrn_int j) { return stored<T>(what, uplo, i, j); });
    return a;
}
template <class T>
bool unchanged(const matrix<T>& a, content what, char uplo)
{
    return a.intact() && a.all([&](vrn_int i, vrn_int j, T x) { return same_bits(x, stored<T>(what, uplo, i, j)); });
}

// vrn_blas_s42_x<letter><name> or, where the x is missing, without it.
template <class F>
F* level2(const std::string& name)
{
    static void* library = dlopen(VRN_LIBRARY_DIR "/libvrn_s42.so", RTLD_NOW | RTLD_LOCAL);
    const std::string bare = "vrn_blas_s42_" + name;
    return kernel<F>(dlsym(library, bare.c_str()) != nullptr ? bare : "vrn_blas_s42_x" + name);
}
template <class T, class F>
F* level2_of(const std::string& real_name, const std::string& complex_name)
{
    return level2<F>(letter<T> + (complex_type<T> ? complex_name : real_name));
}

} // namespace vrn::test
