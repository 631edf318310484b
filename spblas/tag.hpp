// spblas/tag.hpp - what the letters of a kernel's name fix, as one template argument.
// A kernel is a template over element type, integer type and a tag; `if constexpr` on the questions below decides,
// so that no letter is tested at run time. Letters as in spblas/grammar/stems.py.
#pragma once

namespace vrn::spblas {

struct tag {
    int base;
    char op, kind, triangle, diagonal, layout;

    constexpr bool transposes() const { return op == 't' || op == 'c'; }
    constexpr bool conjugates() const { return op == 's' || op == 'c'; }
    constexpr bool is(char k) const { return kind == k; }
    constexpr bool lower() const { return triangle == 'l'; }
    constexpr bool unit() const { return diagonal == 'u'; }
    constexpr bool by_rows() const { return layout == 'c'; }
    // Without base and layout, for bodies that know neither: names that differ there alone then share one.
    constexpr tag canonical() const { return {0, op, kind, triangle, diagonal, '_'}; }
    // Both triangles come from one: symmetric, Hermitian, antisymmetric.
    constexpr bool two_sided() const { return is('s') || is('h') || is('a'); }
};

} // namespace vrn::spblas
