// core/spblas/checks.hpp - the words that the table's conditions are written in, and the looks at index arrays that
// the checking mode takes. A look answers with the place of the array at fault among those of its format, or -1.
#pragma once

#include "core/blas/checks.hpp"
#include "core/spblas/views.hpp"
#include "core/spblas/work.hpp"

#include <cstring>

namespace vrn::spblas::host {

using blas::at_least_one;
using blas::is_one_of;

template <std::size_t N>
constexpr bool is_not_one_of(const char* option, const char (&letters)[N])
{
    return !is_one_of(option, letters);
}
constexpr bool is_plain(const char* trans) { return blas::upper(*trans) == 'N'; }
constexpr char op_of(const char* trans) { return lower_case(*trans); }
constexpr bool is_general(const char* descr) { return blas::upper(descr[0]) == 'G'; }

// Letters that the class has a use for. `by_rows`: whether dense matrices may lie so.
[[gnu::noinline]] inline bool bad_descr(const char* descr, const char* kinds, bool by_rows)
{
    const char kind = blas::upper(descr[0]);
    if (kind == '\0' || std::strchr(kinds, kind) == nullptr) return true; // a blank folds to the terminator
    if (is_one_of(&kind, "SHTA") && is_not_one_of(descr + 1, "LU")) return true;
    if (is_one_of(&kind, "SHTD") && is_not_one_of(descr + 2, "NU")) return true;
    if (is_not_one_of(descr + 3, "CF")) return true;
    return !by_rows && describe<float>(descr).by_rows;
}

// The shortest line of a dense matrix, which has `rows` rows and n columns.
inline std::int64_t shortest(const char* descr, std::int64_t rows, std::int64_t n)
{
    return at_least_one(describe<float>(descr).by_rows ? n : rows);
}

template <class I>
bool bad_job(const I* job, int last)
{
    const auto is_base = [](I b) { return b == 0 || b == 1; };
    return (last >= 0 && (job[0] < 0 || job[0] > last)) || !is_base(job[1]) || !is_base(job[2]);
}

// ---- the checking mode ----

bool checking() noexcept;

inline constexpr int no_fault = -1;

// Rows of entries or of blocks: places 1, 2, 3 are indx, pntrb, pntre.
template <class I>
[[gnu::cold, gnu::noinline]] int fault_of_rows(const I* indx, const I* pntrb, const I* pntre, std::int64_t m,
                                               std::int64_t k, std::int64_t base, bool solve, bool stored_diagonal)
{
    for (std::int64_t i = 0; i < m; ++i) {
        if (pntrb[i] < pntrb[0]) return 2;
        if (pntre[i] < pntrb[i]) return 3;
        bool diagonal = false;
        const std::int64_t from = pntrb[i] - pntrb[0], to = pntre[i] - pntrb[0];
        for (std::int64_t e = from; e < to; ++e) {
            const std::int64_t column = indx[e] - base;
            if (column < 0 || column >= k) return 1;
            if (solve && e > from && indx[e] <= indx[e - 1]) return 1;
            diagonal |= column == i;
        }
        if (solve && stored_diagonal && !diagonal) return 1;
    }
    return no_fault;
}
template <class I>
bool bad_rows(const I* indx, const I* pntr, std::int64_t m, std::int64_t k, std::int64_t base)
{
    return fault_of_rows(indx, pntr, pntr + 1, m, k, base, false, false) != no_fault;
}

template <class T, class I>
[[gnu::cold]] int fault(const csr_view<T, I>& a, I m, I k, bool solve, const description& d)
{
    return fault_of_rows(a.indx, a.pntrb, a.pntre, m, k, d.base, solve, !d.unit());
}
template <class T, class I>
[[gnu::cold]] int fault(const csc_view<T, I>& a, I m, I k, bool solve, const description& d)
{
    return fault_of_rows(a.indx, a.pntrb, a.pntre, k, m, d.base, solve, !d.unit());
}
template <class T, class I>
[[gnu::cold]] int fault(const bsr_view<T, I>& a, I mb, I kb, bool solve, const description& d)
{
    return fault_of_rows(a.indx, a.pntrb, a.pntre, mb, kb, d.base, solve, !d.unit());
}
template <class T, class I>
[[gnu::cold]] int fault(const bsc_view<T, I>& a, I mb, I kb, bool solve, const description& d)
{
    return fault_of_rows(a.indx, a.pntrb, a.pntre, kb, mb, d.base, solve, !d.unit());
}

// Without memory for a note on each row the diagonal is taken on trust.
template <class T, class I>
[[gnu::cold]] int fault(const coo_view<T, I>& a, I m, I k, bool solve, const description& d)
{
    const bool counts = solve && !d.unit();
    const workspace<char> found(counts ? std::int64_t{m} : 0);
    std::int64_t missing = counts && found ? m : 0;
    if (missing > 0) std::fill_n(found.get(), m, char{0});
    for (std::int64_t e = 0; e < *a.nnz; ++e) {
        const std::int64_t row = a.rowind[e] - d.base, column = a.colind[e] - d.base;
        if (row < 0 || row >= m) return 1;
        if (column < 0 || column >= k) return 2;
        if (missing > 0 && row == column && found.get()[row] == 0) found.get()[row] = 1, --missing;
    }
    return missing > 0 ? 1 : no_fault;
}

template <class T, class I>
[[gnu::cold]] int fault(const dia_view<T, I>& a, I m, I k, bool solve, const description& d)
{
    bool main = false;
    for (I j = 0; j < *a.ndiag; ++j) {
        if (a.idiag[j] <= -m || a.idiag[j] >= k) return 2;
        // A diagonal that stands twice adds up in products; in a solve it has no meaning.
        if (solve && std::find(a.idiag, a.idiag + j, a.idiag[j]) != a.idiag + j) return 2;
        main |= a.idiag[j] == 0;
    }
    return solve && !d.unit() && !main ? 2 : no_fault;
}

template <class T, class I>
[[gnu::cold]] int fault(const sky_view<T, I>& a, I m, I, bool, const description&)
{
    for (std::int64_t i = 0; i < m; ++i) {
        const std::int64_t height = std::int64_t{a.pntr[i + 1]} - a.pntr[i];
        if (height < 1 || height > i + 1) return 1;
    }
    return no_fault;
}

} // namespace vrn::spblas::host
