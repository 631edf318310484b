// tests/oracle/spblas.hpp - what a sparse kernel's name means: op(A) as a list of terms, from the definition of the
// class, and products with it in a wider type. Shares nothing with the kernels.
#pragma once

#include "tests/oracle/error.hpp"

#include <vector>

namespace vrn::oracle {

// The letters of a name that decide op(A).
struct meaning {
    char op, kind, triangle, diagonal;
};

template <class T>
struct entry {
    std::int64_t row, col; // zero-based
    T value;
};

template <class R>
R conjugate(R v)
{
    return v;
}
template <class R>
std::complex<R> conjugate(std::complex<R> v)
{
    return std::conj(v);
}

// op(A) of the entries stored in rows from..to-1; a unit diagonal has those rows too.
template <class T>
std::vector<entry<T>> defined(meaning w, const std::vector<entry<T>>& stored, std::int64_t from, std::int64_t to)
{
    std::vector<entry<T>> a;
    for (const entry<T>& e : stored) {
        if (e.row < from || e.row >= to) continue;
        const bool on = e.row == e.col, wanted = w.triangle == 'l' ? e.col < e.row : e.col > e.row;
        if (w.kind == 'g') a.push_back(e);
        else if (on) {
            if (w.diagonal == 'n') a.push_back(e);
        } else if (w.kind != 'd' && wanted) {
            a.push_back(e);
            if (w.kind == 's') a.push_back({e.col, e.row, e.value});
            if (w.kind == 'h') a.push_back({e.col, e.row, conjugate(e.value)});
            if (w.kind == 'a') a.push_back({e.col, e.row, -e.value});
        }
    }
    if (w.diagonal == 'u')
        for (std::int64_t i = from; i < to; ++i) a.push_back({i, i, T(1)});
    for (entry<T>& e : a) {
        if (w.op == 't' || w.op == 'c') std::swap(e.row, e.col);
        if (w.op == 's' || w.op == 'c') e.value = conjugate(e.value);
    }
    return a;
}

// The same in the element's own type, term after term: y += (alpha*a)*x in the order of the list.
template <class T>
void add_in_order(const std::vector<entry<T>>& a, T alpha, const T* x, std::int64_t xs, T* y, std::int64_t ys)
{
    for (const entry<T>& e : a) y[e.row * ys] += (alpha * e.value) * x[e.col * xs];
}

// beta*y + alpha*A*x for each element of y, with the magnitudes that went in. Beta zero removes y, whatever it holds.
// Kernels of some classes add entries of the wrong triangle and take them back, or scatter twice: `passed` are all
// terms that may pass through an element, for its gauge.
template <class T>
struct products {
    std::vector<wide<T>> exact;
    std::vector<wide_real<T>> gauge;
    std::vector<std::int64_t> terms;

    products(const std::vector<entry<T>>& a, const std::vector<entry<T>>& passed, T alpha, const T* x,
             std::int64_t xs, T beta, const T* y, std::int64_t ys, std::int64_t rows)
        : exact(static_cast<std::size_t>(rows)), gauge(exact.size()), terms(exact.size())
    {
        auto at = [](std::int64_t i) { return static_cast<std::size_t>(i); };
        for (const entry<T>& e : a) exact[at(e.row)] += wide<T>(alpha) * wide<T>(e.value) * wide<T>(x[e.col * xs]);
        for (const entry<T>& e : passed) {
            gauge[at(e.row)] +=
                std::abs(wide<T>(alpha)) * std::abs(wide<T>(e.value)) * std::abs(wide<T>(x[e.col * xs]));
            terms[at(e.row)] += 2;
        }
        if (beta == T{}) return;
        for (std::int64_t i = 0; i < rows; ++i) {
            exact[at(i)] += wide<T>(beta) * wide<T>(y[i * ys]);
            gauge[at(i)] += std::abs(wide<T>(beta)) * std::abs(wide<T>(y[i * ys]));
        }
    }
    double units(std::int64_t i, T got) const
    {
        const auto k = static_cast<std::size_t>(i);
        return error_units(got, exact[k], gauge[k], terms[k] + 2);
    }
};

} // namespace vrn::oracle
