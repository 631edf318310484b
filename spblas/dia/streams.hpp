// spblas/dia/streams.hpp - what all DIA kernels come down to: y[r] += (alpha*val[r])*x[r] along runs of rows.
//
// A diagonal is such a stream, with val and x shifted so that row r of y meets its own elements; so is its mirror
// image, and a diagonal of the transpose. Streams are collected, a few at a time; rows that several of them meet are
// done in one pass, in which y stays in registers. Every element of y still receives the streams in the order in
// which they came: one pass a diagonal gives the same bits, and would load and store y for each.
// Nothing is allocated. Called by product.hpp and solve.hpp.
#pragma once

#include "spblas/columns.hpp"

namespace vrn::spblas::dia {

// Each element of t times that of x.
template <class T>
[[gnu::always_inline]] inline vec<real_of<T>> times(vec<real_of<T>> t, vec<real_of<T>> x)
{
    using V = vec<real_of<T>>;
    if constexpr (!is_complex<T>) return t * x;
    else if constexpr (V::lanes == 2)
        return add_sub(V{_mm_movedup_pd(t.v)} * x, V{_mm_unpackhi_pd(t.v, t.v)} * swap_parts(x));
    else return add_sub(V{_mm_moveldup_ps(t.v)} * x, V{_mm_movehdup_ps(t.v)} * swap_parts(x));
}

// The signs that val is multiplied by, as a mask: conjugation and negation, both exact.
template <class T>
vec<real_of<T>> signs(bool conjugate, bool negate)
{
    using R = real_of<T>;
    const R one = negate ? -R{0} : R{0};
    if constexpr (is_complex<T>) return vec<R>::pair(one, conjugate != negate ? -R{0} : R{0});
    else return vec<R>::all(one);
}

template <class T>
struct stream {
    std::ptrdiff_t begin, end; // rows of y
    const T *val, *x;          // shifted: row r meets val[r] and x[r]
    vec<real_of<T>> flip;
};

// What a value is before it meets x: times alpha, with its signs changed before that, or with changed signs alone.
enum class values { scaled, flipped_scaled, flipped };

// The operands of a product, `columns` of them.
template <class T>
struct operands {
    T alpha;
    const T* x;
    std::ptrdiff_t ldx;
    T* y;
    std::ptrdiff_t ldy, columns;
};

// Neighbouring elements as a vector.
template <class T>
vec<real_of<T>> load(const T* p)
{
    return vec<real_of<T>>::loadu(reinterpret_cast<const real_of<T>*>(p));
}
template <class T>
void store(T* p, vec<real_of<T>> v)
{
    v.storeu(reinterpret_cast<real_of<T>*>(p));
}
// A single element with the signs of a mask.
template <class T>
T flipped(T v, vec<real_of<T>> mask)
{
    constexpr int step = per_vec<T>;
    T all[step];
    simd::unroll<step>([&](auto i) { all[i] = v; });
    store(all, load(all) ^ mask);
    return all[0];
}

// Rows r .. of the columns j .. j+N-1, V vectors: the sums stay in registers while all streams pass.
template <int V, int N, values Values, class T>
[[gnu::always_inline]] inline void add_vectors(const stream<T>* first, const stream<T>* last, std::ptrdiff_t r,
                                               const factor<T>& alpha, std::ptrdiff_t skip, std::ptrdiff_t ldx, T* y,
                                               std::ptrdiff_t ldy)
{
    constexpr int step = per_vec<T>;
    vec<real_of<T>> sum[N][V];
    simd::unroll<N * V>([&](auto k) { sum[k / V][k % V] = load(y + r + (k / V) * ldy + (k % V) * step); });
    for (const stream<T>* s = first; s != last; ++s) {
        const T *val = s->val + r, *x = s->x + skip + r;
        simd::unroll<V>([&](auto i) {
            auto t = load(val + i * step);
            if constexpr (Values != values::scaled) t = t ^ s->flip;
            if constexpr (Values != values::flipped) t = alpha(t);
            simd::unroll<N>([&](auto j) { sum[j][i] = sum[j][i] + times<T>(t, load(x + j * ldx + i * step)); });
        });
    }
    simd::unroll<N * V>([&](auto k) { store(y + r + (k / V) * ldy + (k % V) * step, sum[k / V][k % V]); });
}

// Rows begin..end-1 of the columns j .. j+N-1. Sixteen rows of doubles for one column, four for four: eight sums
// either way, half of the registers; complex products need more of them for themselves.
template <int N, values Values, class T>
[[gnu::noinline, gnu::flatten]] void add_rows(const stream<T>* first, const stream<T>* last, std::ptrdiff_t begin,
                                              std::ptrdiff_t end, const operands<T>& on, std::ptrdiff_t column)
{
    constexpr int step = per_vec<T>, vectors = (is_complex<T> ? 4 : 8) / N;
    const factor<T> alpha(on.alpha);
    const std::ptrdiff_t skip = column * on.ldx, ldx = on.ldx, ldy = on.ldy;
    T* y = on.y + column * ldy;
    std::ptrdiff_t r = begin;
    for (; r + vectors * step <= end; r += vectors * step)
        add_vectors<vectors, N, Values>(first, last, r, alpha, skip, ldx, y, ldy);
    if constexpr (vectors > 1)
        for (; r + step <= end; r += step) add_vectors<1, N, Values>(first, last, r, alpha, skip, ldx, y, ldy);
    if constexpr (step > 1)
        for (; r < end; ++r)
            for (const stream<T>* s = first; s != last; ++s) {
                T t = s->val[r];
                if constexpr (Values != values::scaled) t = flipped(t, s->flip);
                if constexpr (Values != values::flipped) t = alpha(t);
                simd::unroll<N>([&](auto j) { y[r + j * ldy] = y[r + j * ldy] + t * s->x[skip + r + j * ldx]; });
            }
}

// Streams until there are `most`, or nobody has more: eight read from memory at once, as many as prefetchers and a
// set of the first cache bear, beside x and y.
template <values Values, class T>
struct collector {
    static constexpr int most = 8;
    // With several columns: rows whose values the first cache keeps until the last of them.
    static constexpr std::ptrdiff_t cached_rows = 2048 / sizeof(T);
    operands<T> on;
    stream<T> all[most];
    int count = 0;

    explicit collector(const operands<T>& o) : on(o) {}

    // Rows begin..end-1 of y += alpha*val*x, val[r] and x[r + shift] at row r.
    void add(std::ptrdiff_t begin, std::ptrdiff_t end, const T* val, std::ptrdiff_t shift, bool conjugate = false,
             bool negate = false)
    {
        if (begin >= end) return;
        if (count == most) flush();
        all[count++] = {begin, end, val, based(on.x, -shift), signs<T>(conjugate, negate)};
    }

    [[gnu::noinline]] void flush()
    {
        // From one edge of a stream to the next, those that are there.
        std::ptrdiff_t r = count > 0 ? PTRDIFF_MIN : PTRDIFF_MAX;
        while (r != PTRDIFF_MAX) {
            stream<T> now[most];
            int active = 0;
            std::ptrdiff_t next = PTRDIFF_MAX;
            for (int s = 0; s < count; ++s) {
                const stream<T>& a = all[s];
                if (a.end <= r) continue;
                if (a.begin <= r) now[active++] = a;
                const std::ptrdiff_t edge = a.begin <= r ? a.end : a.begin;
                if (edge < next) next = edge;
            }
            if (active > 0) pass(now, now + active, r, next);
            r = next;
        }
        count = 0;
    }

    void pass(const stream<T>* first, const stream<T>* last, std::ptrdiff_t begin, std::ptrdiff_t end) const
    {
        const std::ptrdiff_t rows = on.columns > 4 ? cached_rows : end - begin;
        for (std::ptrdiff_t r = begin; r < end; r += rows) {
            const std::ptrdiff_t to = r + rows < end ? r + rows : end;
            std::ptrdiff_t j = 0;
            for (; j + 4 <= on.columns; j += 4) add_rows<4, Values>(first, last, r, to, on, j);
            for (; j < on.columns; ++j) add_rows<1, Values>(first, last, r, to, on, j);
        }
    }
};

} // namespace vrn::spblas::dia
