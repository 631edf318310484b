// trans/add.hpp - c[i][j] := alpha op(a) + beta op(b), row-major, c of rows by cols. Three shapes: no operand
// transposed, one, both. Operands come with their scaling and conjugation as one function. Called by add.cpp.
#pragma once

#include "trans/element.hpp"
#include "trans/tiles.hpp"

namespace vrn::trans {

// An operand: f of what stands at p.
template <class E, class Op>
struct term {
    const E* p;
    vrn_int ld;
    Op f;
};

// Along the rows of both, from the first 16-byte boundary of c on in steps of eight.
template <class E, class F, class G>
void add_plain(vrn_int rows, vrn_int cols, const term<E, F>& a, const term<E, G>& b, E* c, vrn_int ldc)
{
    constexpr int w = per_vec<E>;
    for (vrn_int i = 0; i < rows; ++i) {
        const E *x = a.p + i * a.ld, *y = b.p + i * b.ld;
        E* z = c + i * ldc;
        const auto one = [&](vrn_int j) { z[j] = a.f(x[j]) + b.f(y[j]); };
        vrn_int j = 0;
        const auto boundary = static_cast<vrn_int>((-reinterpret_cast<std::uintptr_t>(z) & 15) / sizeof(E));
        for (; j < boundary && j < cols; ++j) one(j);
        for (; j + 8 <= cols; j += 8)
            simd::unroll<8 / w>([&](auto g) { store(a.f(load(x + j + g * w)) + b.f(load(y + j + g * w)), z + j + g * w); });
        for (; j < cols; ++j) one(j);
    }
}

// Down the columns of both, eight elements of a row of c a step.
template <class E, class F, class G>
void add_transposed(vrn_int rows, vrn_int cols, const term<E, F>& a, const term<E, G>& b, E* c, vrn_int ldc)
{
    constexpr int w = per_vec<E>;
    for (vrn_int i = 0; i < rows; ++i) {
        const E *x = a.p + i, *y = b.p + i;
        E* z = c + i * ldc;
        vrn_int j = 0;
        for (; j + 8 <= cols; j += 8)
            simd::unroll<8 / w>([&](auto g) {
                const auto u = load_rows(x + (j + g * w) * a.ld, static_cast<std::uint64_t>(a.ld));
                const auto v = load_rows(y + (j + g * w) * b.ld, static_cast<std::uint64_t>(b.ld));
                store(a.f(u) + b.f(v), z + j + g * w);
            });
        for (; j < cols; ++j) z[j] = a.f(x[j * a.ld]) + b.f(y[j * b.ld]);
    }
}

// Bands of rows of the transposed operand, as in a plain transposition, walked column by column; the other operand
// is read along the rows of c.
template <class E, class F, class G>
void add_mixed(vrn_int rows, vrn_int cols, const term<E, F>& turned, const term<E, G>& plain, E* c, vrn_int ldc)
{
    constexpr int w = per_vec<E>;
    const auto bytes = [](vrn_int ld) { return static_cast<std::uint64_t>(ld) * sizeof(E); };
    const auto height = static_cast<vrn_int>(band_height(bytes(turned.ld), bytes(ldc)));
    for (vrn_int first = 0; first < cols; first += height) {
        const vrn_int last = first + height < cols ? first + height : cols;
        for (vrn_int i = 0; i < rows; ++i) {
            const E *x = turned.p + i, *y = plain.p + i * plain.ld;
            E* z = c + i * ldc;
            vrn_int j = first;
            for (; j + 8 <= last; j += 8)
                simd::unroll<8 / w>([&](auto g) {
                    const auto u = load_rows(x + (j + g * w) * turned.ld, static_cast<std::uint64_t>(turned.ld));
                    store(turned.f(u) + plain.f(load(y + j + g * w)), z + j + g * w);
                });
            for (; j < last; ++j) z[j] = turned.f(x[j * turned.ld]) + plain.f(y[j]);
        }
    }
}

} // namespace vrn::trans
