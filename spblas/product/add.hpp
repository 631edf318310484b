// spblas/product/add.hpp - C := A + beta*B and C := transpose(A) + beta*B of sparse matrices, one-based CSR: sorted
// rows are merged.
//
//     request  0 all, up to nzmax entries; 1 the entries of each row; 2 rows whose places are known; else nothing
//     sort     1 sorts each row of A before it is merged, 2 of B, 3 both
//     info     the row that does not fit, counted from `first`; -1 where memory was refused; else 0
//
// What the capacity lets in before a row fails stays. The transposed form merges with a copy of A, whose rows the
// transposition leaves in order. Called by name through the generated exports.
#pragma once

#include "spblas/product/multiply.hpp"

namespace vrn::spblas::product {

template <class T, class I>
struct sorted_row {
    const T* val;
    const I* col;
    I k, end;
};

// Merges two rows into c[p..], jc[p..]; only moves p for a count. False where the capacity does not suffice.
template <wanted Wanted, class T, class I>
bool merge(sorted_row<T, I> a, T beta, sorted_row<T, I> b, T* c, I* jc, I& p, I limit)
{
    while (a.k < a.end && b.k < b.end) {
        if (Wanted == wanted::bounded && p >= limit) return false;
        const I i = a.col[a.k], j = b.col[b.k];
        if (i == j) {
            // Sums mostly have patterns much alike: an equal pair is foreseen, and four at once where the next ones
            // are equal too. Elsewhere chance decides which row comes first, and steps go without a branch.
            const I run = Wanted != wanted::bounded && a.end - a.k >= 4 && b.end - b.k >= 4 &&
                                  std::memcmp(a.col + a.k, b.col + b.k, 4 * sizeof(I)) == 0
                              ? 4
                              : 1;
            if constexpr (Wanted != wanted::count)
                for (I q = 0; q < run; ++q) {
                    jc[p + q] = a.col[a.k + q];
                    c[p + q] = a.val[a.k + q] + beta * b.val[b.k + q];
                }
            a.k += run, b.k += run, p += run;
            continue;
        }
        if constexpr (Wanted != wanted::count) {
            jc[p] = i < j ? i : j;
            if (i < j) c[p] = a.val[a.k];
            else c[p] = beta * b.val[b.k];
        }
        a.k += i < j, b.k += j < i;
        ++p;
    }
    const I rest_a = a.end - a.k, rest_b = b.end - b.k; // one of them is none
    // One test for the whole rest.
    if (Wanted == wanted::bounded && rest_a + rest_b > limit - p) return false;
    if constexpr (Wanted != wanted::count) {
        for (I q = 0; q < rest_a; ++q) c[p + q] = a.val[a.k + q], jc[p + q] = a.col[a.k + q];
        for (I q = 0; q < rest_b; ++q) c[p + q] = beta * b.val[b.k + q], jc[p + q] = b.col[b.k + q];
    }
    p += rest_a + rest_b;
    return true;
}

template <wanted Wanted, class T, class I>
I merge_rows(I first, I last, I sort, T* a, I* ja, const I* ia, T beta, T* b, I* jb, const I* ib, T* c, I* jc, I* ic,
             I limit)
{
    if (Wanted == wanted::bounded) ic[first - 1] = 1;
    for (I i = first - 1; i < last; ++i) {
        const sorted_row<T, I> x{a, ja, ia[i] - 1, ia[i + 1] - 1}, y{b, jb, ib[i] - 1, ib[i + 1] - 1};
        if (sort == 1 || sort == 3) convert::sort_entries(ja + x.k, a + x.k, x.end - x.k);
        if (sort == 2 || sort == 3) convert::sort_entries(jb + y.k, b + y.k, y.end - y.k);
        I p = Wanted == wanted::count ? 0 : ic[i] - 1;
        if (!merge<Wanted>(x, beta, y, c, jc, p, limit)) return i + 1 - (first - 1);
        if constexpr (Wanted == wanted::count) ic[i] = p;
        else if constexpr (Wanted == wanted::bounded) ic[i + 1] = p + 1;
    }
    return 0;
}

template <class T, class I>
void mcsradd_notr(const I* first, const I* last, const I* request, const I* sort, T* a, I* ja, const I* ia,
                  const T* beta, T* b, I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info)
{
    *info = 0;
    auto run = [&](auto what, I limit) {
        *info = merge_rows<what>(*first, *last, *sort, a, ja, ia, *beta, b, jb, ib, c, jc, ic, limit);
    };
    if (*request == 0) run(std::integral_constant<wanted, wanted::bounded>{}, *nzmax);
    else if (*request == 1) run(std::integral_constant<wanted, wanted::count>{}, I{0});
    else if (*request == 2) run(std::integral_constant<wanted, wanted::filled>{}, I{0});
}

template <class T, class I>
void mcsradd_tr(const I* m, const I* n, const I* request, const I* sort, T* a, I* ja, const I* ia, const T* beta,
                T* b, I* jb, const I* ib, T* c, I* jc, I* ic, const I* nzmax, I* info)
{
    *info = 0;
    if (*request < 0 || *request > 2) return;
    const transposed_copy<T, I> t(*m, *n, a, ja, ia, *request != 1);
    if (!t.whole) return void(*info = -1);
    const I one = 1;
    // The copy is in order whether A is or not. A count passes over values but may sort B's.
    const I sorts_b = *sort == 2 || *sort == 3 ? 2 : 0;
    mcsradd_notr(&one, n, request, &sorts_b, t.a, t.ja, t.ia, beta, b, jb, ib, c, jc, ic, nzmax, info);
}

} // namespace vrn::spblas::product
