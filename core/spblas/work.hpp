// core/spblas/work.hpp - how a call is divided over threads: rows by their entries, columns in whole vectors, and
// private vectors for kernels that scatter. What kernels want prepared: scaled and cleared operands.
#pragma once

#include "core/spblas/kernels.hpp"
#include "core/threads/threads.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <cstddef>

namespace vrn::spblas::host {

// Below this many multiplications of a thread, some 10 microseconds, waking it costs more than it does.
inline constexpr std::int64_t grain = 1 << 14;

inline int threads_for(std::int64_t work)
{
    if (work < 2 * grain) return 1;
    return static_cast<int>(std::min<std::int64_t>(threads::available(), work / grain));
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
    const std::int64_t lines = by_rows ? rows : columns, length = by_rows ? columns : rows;
    for (std::int64_t j = 0; j < lines; ++j)
        for (std::int64_t i = 0; i < length; ++i)
            to[i + j * ldto] = scale == T{} ? T{} : scale == simd::unity<T> ? from[i + j * ldfrom] : scale * from[i + j * ldfrom];
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
    if (beta == simd::unity<T>) return;
    copy_scaled<T, I>(count, beta, y, y);
}
template <class T, class I>
void prepare(bool by_rows, I rows, I columns, T beta, T* c, I ldc)
{
    if (beta == simd::unity<T>) return;
    copy_scaled<T, I>(by_rows, rows, columns, beta, c, ldc, c, ldc);
}

template <class T>
T minus(T a)
{
    return T{} - a;
}

// run(part, parts, target, beta) computes target := beta*target + its part of a sum; the parts are added up in y.
// Part 0 works on y itself, the others on vectors of their own with beta zero. In the strict mode, where the number
// of threads must not be seen in a sum, and without memory for the vectors, one part is all.
template <class T, class I, class Run>
void in_private_vectors(I length, std::int64_t work, T beta, T* y, Run&& run)
{
    int wanted = vrn_serv_cbwr_get(1) == 1 ? threads_for(work) : 1;
    // A private vector is cleared, and read again by the sum: with less to do than that it is not worth having.
    if (work < 2 * std::int64_t{length}) wanted = 1;
    if (wanted > 1) {
        const workspace<T> others(std::int64_t{length} * (wanted - 1));
        if (others) {
            threads::run(wanted, [&](int part, int parts) {
                run(part, parts, part == 0 ? y : others.get() + std::int64_t{length} * (part - 1),
                    part == 0 ? beta : T{});
                threads::barrier();
                const auto [from, to] = share(length, 8, part, parts);
                add_parts<T, I>(static_cast<I>(to - from), length, parts - 1, others.get() + from, y + from);
            });
            return;
        }
    }
    run(0, 1, y, beta);
}

} // namespace vrn::spblas::host
