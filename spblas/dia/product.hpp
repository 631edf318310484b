// spblas/dia/product.hpp - Y := Y + alpha*op(A)*X on some columns, A m by n in DIA, for all classes.
//
// Tiles of rows and columns of A keep what they touch of X and Y in the caches while all diagonals pass. In each tile
// every diagonal that the class keeps gives a stream, with its mirror image after it where the class is two-sided.
// The order of an element's terms is that: tiles by rows, then by columns, diagonals as they stand in idiag, a
// diagonal before its mirror image.
//
// Transposition looks at a diagonal from the other side: its filter is that of -d, so that a lower matrix keeps, and
// reads, the diagonals on the upper side.
// Nothing is allocated. Called by mv.hpp and mm.hpp.
#pragma once

#include "spblas/arguments.hpp"
#include "spblas/dia/streams.hpp"
#include "spblas/imports.hpp"
#include "spblas/tag.hpp"

namespace vrn::spblas::dia {

inline constexpr std::ptrdiff_t row_tile = 20000, column_tile = 5000;

template <class T, class I>
struct matrix {
    std::ptrdiff_t m, n;
    const T* val;
    std::ptrdiff_t lval;
    const I* idiag;
    std::ptrdiff_t ndiag;
};

template <tag Shape>
[[gnu::always_inline]] inline bool kept(std::ptrdiff_t d)
{
    if constexpr (Shape.is('g')) return true;
    if constexpr (Shape.transposes()) d = -d;
    if constexpr (Shape.diagonal == 'n') return Shape.lower() ? d <= 0 : d >= 0;
    else return Shape.lower() ? d < 0 : d > 0;
}

// Whether values change their signs at all, their own or those of the mirror image.
template <tag Shape, class T>
inline constexpr values values_of = Shape.is('a') || (is_complex<T> && (Shape.is('h') || Shape.conjugates()))
                                        ? values::flipped_scaled
                                        : values::scaled;

// The rows i0..i1-1 of a diagonal: as it stands, row i of Y and row i + d of X; transposed, the other way round.
template <tag Shape, class T, class Out>
[[gnu::always_inline]] inline void add_diagonal(Out& out, const T* val, std::ptrdiff_t d, std::ptrdiff_t i0,
                                                std::ptrdiff_t i1)
{
    constexpr bool conjugate = Shape.conjugates(), mirror_conjugates = conjugate != Shape.is('h');
    const T* shifted = based(val, d);
    if constexpr (Shape.transposes()) out.add(i0 + d, i1 + d, shifted, -d, conjugate);
    else out.add(i0, i1, val, d, conjugate);
    if constexpr (Shape.two_sided()) {
        if (d == 0) return;
        if constexpr (Shape.transposes()) out.add(i0, i1, val, d, mirror_conjugates, Shape.is('a'));
        else out.add(i0 + d, i1 + d, shifted, -d, mirror_conjugates, Shape.is('a'));
    }
}

template <tag Shape, class T, class I>
[[gnu::noinline]] void add_tiles(matrix<T, I> a, operands<T> on)
{
    collector<values_of<Shape, T>, T> out(on);
    const blocks rows(a.m, row_tile), columns(a.n, column_tile);
    std::ptrdiff_t lowest = a.n, highest = -a.m;
    for (std::ptrdiff_t j = 0; j < a.ndiag; ++j) {
        if (a.idiag[j] < lowest) lowest = a.idiag[j];
        if (a.idiag[j] > highest) highest = a.idiag[j];
    }
    for (std::ptrdiff_t tile = 0; tile < rows.count; ++tile) {
        const std::ptrdiff_t r0 = rows.begin(tile), r1 = rows.end(tile);
        for (std::ptrdiff_t part = 0; part < columns.count; ++part) {
            const std::ptrdiff_t c0 = columns.begin(part), c1 = columns.end(part);
            // Most tiles of a large matrix meet no diagonal at all.
            if (c1 <= r0 + lowest) continue;
            if (c0 >= r1 + highest) break;
            for (std::ptrdiff_t j = 0; j < a.ndiag; ++j) {
                const std::ptrdiff_t d = a.idiag[j];
                if (!kept<Shape>(d)) continue;
                const std::ptrdiff_t i0 = c0 - d > r0 ? c0 - d : r0, i1 = c1 - d < r1 ? c1 - d : r1;
                if (i0 < i1) add_diagonal<Shape>(out, a.val + j * a.lval, d, i0, i1);
            }
            out.flush();
        }
    }
}

// The diagonal class: every stored main diagonal, without tiles, over all m rows.
template <tag Shape, class T, class I>
[[gnu::noinline]] void add_main(matrix<T, I> a, operands<T> on)
{
    collector<values_of<Shape, T>, T> out(on);
    for (std::ptrdiff_t j = 0; j < a.ndiag; ++j)
        if (a.idiag[j] == 0) out.add(0, a.m, a.val + j * a.lval, 0, Shape.conjugates());
    out.flush();
}

template <tag Shape, class T, class I>
void product(const matrix<T, I>& a, const operands<T>& on)
{
    if constexpr (Shape.is('d')) add_main<Shape>(a, on);
    else {
        if constexpr (Shape.unit()) {
            const I rows = static_cast<I>(a.m), one = 1;
            for (std::ptrdiff_t j = 0; j < on.columns; ++j)
                axpy(&rows, &on.alpha, on.x + j * on.ldx, &one, on.y + j * on.ldy, &one);
        }
        add_tiles<Shape>(a, on);
    }
}

} // namespace vrn::spblas::dia
