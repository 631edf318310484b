// spblas/coo/bucket.hpp - the entries of a triangle grouped by row, for the solves.
// A counting sort: the entries that count are listed, counted by row, and filed where the counts' prefix sums say, so
// that a row's entries keep the order of the arrays. Five arrays from vrn_serv_allocate, two of them for the time of
// the building; where one cannot be had, there is no bucket.
#pragma once

#include "frame/services.hpp"
#include "spblas/coo/entries.hpp"

#include <cstring>

namespace vrn::spblas::coo {

// Integers for the length of a call; none where nobody needs them.
template <class I>
struct workspace {
    I* p = nullptr;
    bool refused = false;
    explicit workspace(std::ptrdiff_t count, bool needed = true)
    {
        if (!needed) return;
        p = static_cast<I*>(vrn_serv_allocate(static_cast<std::uint64_t>(count > 0 ? count : 0) * sizeof(I), 128));
        refused = p == nullptr;
    }
    ~workspace() { vrn_serv_deallocate(p); }
    workspace(const workspace&) = delete;
    workspace& operator=(const workspace&) = delete;
    void clear(std::ptrdiff_t count)
    {
        if (count > 0) std::memset(p, 0, static_cast<std::size_t>(count) * sizeof(I));
    }
};

// What a solve reads of it. Positions are one-based.
template <class I>
struct bucket {
    const I *diag_pos, *row_count, *row_list; // diag_pos[i] is 0 where row i stores no diagonal
    std::ptrdiff_t kept;
};

// Fills the three arrays; false where a temporary one is refused. Of entries at one diagonal position the last
// counts.
template <tag Shape, class I>
[[gnu::noinline]] bool fill(I base, std::ptrdiff_t m, const I* rowind, const I* colind, std::ptrdiff_t nnz,
                            I* diag_pos, I* row_count, I* row_list, std::ptrdiff_t& kept)
{
    const workspace<I> list(nnz), place(m);
    if (list.refused || place.refused) return false;
    kept = 0;
    for (std::ptrdiff_t k = 0; k < nnz; ++k) {
        const I row = rowind[k], col = colind[k];
        if (Shape.lower() ? row > col : row < col) {
            list.p[kept++] = static_cast<I>(k + 1);
            ++row_count[row - base];
        } else if (!Shape.unit() && row == col) diag_pos[row - base] = static_cast<I>(k + 1);
    }
    I sum = 0;
    for (std::ptrdiff_t i = 0; i < m; ++i) {
        place.p[i] = sum;
        sum = static_cast<I>(sum + row_count[i]);
    }
    for (std::ptrdiff_t k = 0; k < kept; ++k) row_list[place.p[rowind[list.p[k] - 1] - base]++] = list.p[k];
    return true;
}

// f(const bucket*), null where memory was refused.
template <tag Shape, class I, class F>
[[gnu::always_inline]] inline void with_bucket(I base, std::ptrdiff_t m, const I* rowind, const I* colind,
                                               std::ptrdiff_t nnz, F&& f)
{
    workspace<I> diag_pos(m, !Shape.unit()), row_count(m), row_list(nnz);
    bucket<I> b{diag_pos.p, row_count.p, row_list.p, 0};
    bool built = !diag_pos.refused && !row_count.refused && !row_list.refused;
    if (built) {
        if constexpr (!Shape.unit()) diag_pos.clear(m);
        row_count.clear(m);
        built = fill<Shape>(base, m, rowind, colind, nnz, diag_pos.p, row_count.p, row_list.p, b.kept);
    }
    f(built ? &b : nullptr);
}

} // namespace vrn::spblas::coo
