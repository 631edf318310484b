// tests/oracle/gemm.hpp - one element of alpha*A*B + beta*C, from the definition, in a wider type.
#pragma once

#include "tests/oracle/error.hpp"

namespace vrn::oracle {

template <class T>
struct element {
    wide<T> exact;
    wide_real<T> gauge; // |alpha|(|A||B|)_ij + |beta||C_ij|
    std::int64_t k;

    double units(T got) const { return error_units(got, exact, gauge, k); }
};

// a(kk) and b(kk) give row i of op(A) and column j of op(B). A factor of zero removes its term, whatever stands
// there.
template <class T, class A, class B>
element<T> gemm(std::int64_t k, T alpha, A&& a, B&& b, T beta, T c)
{
    wide<T> sum{};
    wide_real<T> size{};
    if (alpha != T{})
        for (std::int64_t kk = 0; kk < k; ++kk) {
            const wide<T> product = wide<T>(a(kk)) * wide<T>(b(kk));
            sum += product;
            size += std::sqrt(std::norm(product)); // hypot guards against overflow that the wider type does not have
        }
    element<T> e{wide<T>(alpha) * sum, std::abs(wide<T>(alpha)) * size, k};
    if (beta != T{}) {
        e.exact += wide<T>(beta) * wide<T>(c);
        e.gauge += std::abs(wide<T>(beta)) * std::abs(wide<T>(c));
    }
    return e;
}

} // namespace vrn::oracle
