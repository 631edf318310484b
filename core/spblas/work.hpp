// core/spblas/work.hpp - how a call is divided over threads: rows by their entries, columns in whole vectors, and
// private vectors for kernels that scatter. What kernels want prepared: scaled and cleared operands.
#pragma once

#include "core/spblas/kernels.hpp"
#include "core/spblas/views.hpp"
#include "core/threads/threads.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <cstddef>

namespace vrn::spblas::host {

// Below this many multiplications of a thread, some 10 microseconds, waking it costs more than it does.
inline constexpr std::int64_t grain = 1 << 14;

inline int threads_for(std::int64_t work, std::int64_t pieces = threads::most)
{
    if (work < 2 * grain || pieces < 2) return 1;
    return static_cast<int>(std::min({std::int64_t{threads::available()}, work / grain, pieces}));
}

struct range {
    std::int64_t from, to;
};

// Part `part` of `parts` of 0..count-1, cut at multiples of `step`.
inline range share(std::int64_t count, std::int64_t step, int part, int parts)
{
    const std::int64_t steps = (count + step - 1) / step;
    return {std::min(count, steps * part / parts * step), std::min(count, steps * (part + 1) / parts * step)};
}

// Columns of a dense matrix: whole vectors where it lies by rows, groups of four where by columns, as the kernels go.
inline range columns_of(std::int64_t n, bool by_rows, int part, int parts)
{
    std::int64_t step = by_rows ? 8 : 4;
    while (step > 1 && n < step * parts) step /= 2;
    return share(n, step, part, parts);
}

// The row where a part begins, when all have about the same number of entries; a row itself costs like one more.
// Rows that lie out of order make for unequal parts, never for wrong ones.
template <class I>
std::int64_t row_of_part(const I* pntrb, const I* pntre, std::int64_t m, int part, int parts)
{
    if (part <= 0) return 0;
    if (part >= parts) return m;
    const auto before = [&](std::int64_t i) { return static_cast<std::int64_t>(pntrb[i] - pntrb[0]) + i; };
    const double all = static_cast<double>(static_cast<std::int64_t>(pntre[m - 1] - pntrb[0]) + m);
    const auto target = static_cast<std::int64_t>(all * part / parts);
    std::int64_t low = 0, high = m;
    while (low < high) {
        const std::int64_t middle = low + (high - low) / 2;
        if (before(middle) < target) low = middle + 1;
        else high = middle;
    }
    return low;
}
template <class I>
range rows_of_part(const I* pntrb, const I* pntre, std::int64_t m, int part, int parts)
{
    return {row_of_part(pntrb, pntre, m, part, parts), row_of_part(pntrb, pntre, m, part + 1, parts)};
}

// Entries of rows in order, near enough for the choice of a number of threads.
template <class I>
std::int64_t entries(const I* pntrb, const I* pntre, std::int64_t m)
{
    return m > 0 ? std::max<std::int64_t>(static_cast<std::int64_t>(pntre[m - 1]) - pntrb[0], m) : 0;
}

// Memory for one call; null when there is none.
template <class E>
class workspace {
  public:
    explicit workspace(std::int64_t count)
    {
        constexpr std::int64_t most = std::int64_t{1} << 46;
        if (count < 0 || count > most) return;
        block_ = vrn_serv_allocate(static_cast<std::uint64_t>(count) * sizeof(E), 128);
    }
    ~workspace() { vrn_serv_deallocate(block_); }
    workspace(const workspace&) = delete;
    workspace& operator=(const workspace&) = delete;

    E* get() const { return static_cast<E*>(block_); }
    explicit operator bool() const { return block_ != nullptr; }

  private:
    void* block_ = nullptr;
};

// to := scale*from over whole matrices in either layout; a scale of zero clears and does not read.
template <class T, class I>
void copy_scaled(bool by_rows, I rows, I columns, T scale, const T* from, I ldfrom, T* to, I ldto)
{
    if (rows == 0 || columns == 0) return;
    kernels<T, I>::matcopy()(by_rows ? &columns : &rows, by_rows ? &rows : &columns, &scale, from, &ldfrom, to,
                             &ldto);
}
template <class T, class I>
void copy_scaled(I count, T scale, const T* from, T* to)
{
    copy_scaled<T, I>(false, count, 1, scale, from, count, to, count);
}

// y := beta*y where it has to be prepared for kernels that add.
template <class T, class I>
void prepare(I count, T beta, T* y)
{
    I nonzero = 0;
    kernels<T, I>::zerocheck()(&beta, &nonzero);
    if (nonzero == 0) kernels<T, I>::zeros()(y, &count);
    else if (!(beta == simd::unity<T>)) copy_scaled<T, I>(count, beta, y, y);
}
template <class T, class I>
void prepare(bool by_rows, I rows, I columns, T beta, T* c, I ldc)
{
    if (!(beta == simd::unity<T>)) copy_scaled<T, I>(by_rows, rows, columns, beta, c, ldc, c, ldc);
}

// The part of a dense matrix that begins at column j.
template <class T, class I>
T* from_column(bool by_rows, std::int64_t j, T* c, I ldc)
{
    return c + (by_rows ? j : j * ldc);
}

template <class T>
T conjugated(T a)
{
    return a;
}
template <class R>
cplx<R> conjugated(cplx<R> a)
{
    return simd::conj(a);
}
template <class T>
void conjugate(std::int64_t count, T* x)
{
    for (std::int64_t i = 0; i < count; ++i) x[i] = conjugated(x[i]);
}
template <class T>
void conjugate(bool by_rows, std::int64_t rows, std::int64_t columns, T* c, std::int64_t ldc)
{
    for (std::int64_t j = 0; j < (by_rows ? rows : columns); ++j) conjugate(by_rows ? columns : rows, c + j * ldc);
}

// C := beta*C + alpha*B, what a class with a unit diagonal alone comes to.
template <class T, class I>
void add_scaled(bool by_rows, I rows, I columns, T alpha, const T* b, I ldb, T beta, T* c, I ldc)
{
    prepare(by_rows, rows, columns, beta, c, ldc);
    if (alpha == T{}) return;
    for (std::int64_t j = 0; j < (by_rows ? rows : columns); ++j)
        for (std::int64_t i = 0; i < (by_rows ? columns : rows); ++i)
            c[i + j * ldc] = c[i + j * ldc] + alpha * b[i + j * ldb];
}

// The conjugate of a dense matrix, for what kernels do not conjugate themselves. Nothing is copied unless `wanted`.
template <class T, class I>
class conjugate_copy {
  public:
    conjugate_copy(bool wanted, bool by_rows, I rows, I columns, const T* b, I ldb)
        : copy_(wanted ? std::int64_t{by_rows ? rows : columns} * ldb : 0),
          good(vrn_serv_check_ptr_and_warn(copy_.get(), "sparse product with a conjugate") == 0)
    {
        if (!wanted || !good) return;
        for (std::int64_t j = 0; j < (by_rows ? rows : columns); ++j)
            for (std::int64_t i = 0; i < (by_rows ? columns : rows); ++i)
                copy_.get()[i + j * ldb] = conjugated(b[i + j * ldb]);
    }
    const T* get() const { return copy_.get(); }

  private:
    workspace<T> copy_;

  public:
    const bool good;
};

// Runs solve(first, last) on columns from..to in one-based numbers, C := alpha*B in them before. A short row of A
// waits for the rows before it, however few columns share the wait: by rows, half of eight columns took as long as
// all with 5 entries a row, and three quarters of it with 75.
template <class T, class I, class Solve>
void solve_columns(bool by_rows, I m, I n, std::int64_t work, T alpha, const T* b, I ldb, T* c, I ldc, Solve&& solve)
{
    constexpr std::int64_t strip = 8, long_row = 16;
    const std::int64_t pieces = by_rows && work < long_row * m ? n / strip : n;
    threads::run(threads_for(work * n, pieces), [&](int part, int parts) {
        const auto [from, to] = columns_of(n, by_rows, part, parts);
        if (from >= to) return;
        copy_scaled(by_rows, m, static_cast<I>(to - from), alpha, from_column(by_rows, from, b, ldb), ldb,
                    from_column(by_rows, from, c, ldc), ldc);
        solve(static_cast<I>(from + 1), static_cast<I>(to));
    });
}

// An antisymmetric matrix transposed is its negative.
template <class T, class I>
T minus(T a)
{
    kernels<T, I>::neones()(&a);
    return a;
}

// Where a part of a product that scatters may write: anywhere, or on its own rows and before (lower) or behind
// (upper).
enum class reach { anywhere, lower, upper };

// run(part, parts, target, beta) computes target := beta*target + its part of a sum; the parts are added up in y.
// The first part works on y itself, the others on vectors of their own with beta zero. `begins(part, parts)` is the row
// where a part begins. In the strict mode, where the number of threads must not be seen in a sum, and without memory
// for the vectors, one part is all.
template <class T, class I, class Begins, class Run>
void in_private_vectors(I length, std::int64_t work, T beta, T* y, reach where, Begins&& begins, Run&& run)
{
    constexpr int most = 64;
    int wanted = vrn_serv_cbwr_get(1) == 1 ? std::min(threads_for(work), most) : 1;
    // A private vector is cleared, and read again by the sum: with less to do than that it is not worth having.
    if (work < 2 * std::int64_t{length}) wanted = 1;
    if (wanted > 1) {
        const workspace<T> others(std::int64_t{length} * (wanted - 1));
        if (others) {
            threads::run(wanted, [&](int part, int parts) {
                const auto vector = [&](int p) { return p == 0 ? y : others.get() + std::int64_t{length} * (p - 1); };
                run(part, parts, vector(part), part == 0 ? beta : T{});
                threads::barrier();
                // Each thread adds up one chunk of y.
                const range chunk = where == reach::anywhere ? share(length, 8, part, parts)
                                                             : range{begins(part, parts), begins(part + 1, parts)};
                const I n = static_cast<I>(chunk.to - chunk.from), from = static_cast<I>(chunk.from);
                const T* list[most];
                for (int p = 0; p < parts; ++p) list[p] = vector(p) + (where == reach::anywhere ? 0 : chunk.from);
                T* const to = y + from;
                // Of a lower matrix this part and those behind reach the chunk, of an upper one this and those
                // before.
                const int own = std::max(part - 1, 0);
                const I count = parts - 1, behind = parts - own, before = part, first = 1, no_stride = 0;
                if (n == 0) return;
                if (where == reach::anywhere) kernels<T, I>::split_par()(&count, &n, &from, nullptr, list + 1, to);
                else if (where == reach::lower)
                    kernels<T, I>::split_syml_par()(&behind, &n, &first, nullptr, list + own, to);
                else kernels<T, I>::split_symu_par()(&n, &no_stride, &before, nullptr, list + 1, to);
            });
            return;
        }
    }
    run(0, 1, y, beta);
}
template <class T, class I, class Run>
void in_private_vectors(I length, std::int64_t work, T beta, T* y, Run&& run)
{
    in_private_vectors<T, I>(
        length, work, beta, y, reach::anywhere, [](int, int) { return std::int64_t{0}; }, run);
}

} // namespace vrn::spblas::host
