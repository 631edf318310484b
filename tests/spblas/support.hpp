// tests/spblas/support.hpp - sparse arrays, dense operands whose surroundings are watched, systems that can be
// solved, and the host's memory service, counted and made to fail. Included once in an executable.
#pragma once

#include "frame/services.hpp"
#include "tests/spblas/stems.hpp"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <mutex>
#include <random>

namespace vrn::test {

template <class T>
T nan_of()
{
    return T(std::numeric_limits<decltype(std::abs(T{}))>::quiet_NaN());
}

template <class T>
T random_number(std::mt19937_64& random)
{
    std::uniform_real_distribution<double> u(-1, 1);
    if constexpr (std::is_floating_point_v<T>) return static_cast<T>(u(random));
    else {
        const double re = u(random), im = u(random);
        return T(static_cast<typename T::value_type>(re), static_cast<typename T::value_type>(im));
    }
}

// Arrays with pointers of their own base, rows out of order, and gaps of NaN that no column index fits.
template <class T, class I>
struct csr_arrays {
    std::vector<T> val;
    std::vector<I> indx, pntrb, pntre;

    csr_arrays(const std::vector<oracle::entry<T>>& entries, std::int64_t m, int base, bool scattered)
        : pntrb(static_cast<std::size_t>(m + 1)), pntre(pntrb.size())
    {
        std::vector<std::vector<oracle::entry<T>>> rows(static_cast<std::size_t>(m));
        for (const auto& e : entries) rows[static_cast<std::size_t>(e.row)].push_back(e);
        const I origin = scattered ? 5 : 1;
        for (std::int64_t step = 0; step < m; ++step) {
            const auto i = static_cast<std::size_t>(scattered && step > 0 ? m - step : step);
            pntrb[i] = static_cast<I>(val.size()) + origin;
            for (const auto& e : rows[i]) {
                val.push_back(e.value);
                indx.push_back(static_cast<I>(e.col + base));
            }
            pntre[i] = static_cast<I>(val.size()) + origin;
            if (!scattered) continue;
            val.push_back(nan_of<T>());
            indx.push_back(std::numeric_limits<I>::max() / 2);
        }
        pntrb.back() = static_cast<I>(val.size()) + origin; // so that rows in order have one array of pointers too
    }
};

// rows by cols elements in a layout, lines farther apart than they are long; NaN in the gaps and around.
template <class T>
struct dense {
    static constexpr std::int64_t guard = 7;
    std::int64_t rows, cols, ld, row_step, col_step;
    std::vector<T> all;

    dense(std::int64_t r, std::int64_t c, bool by_rows, std::int64_t gap)
        : rows(r), cols(c), ld(std::max<std::int64_t>((by_rows ? c : r) + gap, 1)), row_step(by_rows ? ld : 1),
          col_step(by_rows ? 1 : ld), all(static_cast<std::size_t>(2 * guard + (by_rows ? r : c) * ld), nan_of<T>())
    {
    }
    void fill(std::mt19937_64& random)
    {
        for (std::int64_t i = 0; i < rows; ++i)
            for (std::int64_t j = 0; j < cols; ++j) at(i, j) = random_number<T>(random);
    }
    T* data() { return all.data() + guard; }
    const T* data() const { return all.data() + guard; }
    T& at(std::int64_t i, std::int64_t j) { return data()[i * row_step + j * col_step]; }
    const T& at(std::int64_t i, std::int64_t j) const { return data()[i * row_step + j * col_step]; }

    // Bit for bit `before`, but for the rows and columns given.
    bool unchanged_outside(const dense& before, std::int64_t r0, std::int64_t r1, std::int64_t c0,
                           std::int64_t c1) const
    {
        dense copy = before;
        for (std::int64_t i = r0; i < r1; ++i)
            for (std::int64_t j = c0; j < c1; ++j) copy.at(i, j) = at(i, j);
        return same_bits(copy);
    }
    bool same_bits(const dense& other) const
    {
        return std::memcmp(all.data(), other.all.data(), all.size() * sizeof(T)) == 0;
    }
};

// Sorted rows, up to `count` entries on each side of a diagonal that outweighs them; what the class must not read is
// NaN. A unit diagonal is stored in every other row.
template <class T>
std::vector<oracle::entry<T>> solvable(const stem& s, std::int64_t m, int count, std::mt19937_64& random)
{
    std::vector<oracle::entry<T>> a;
    for (std::int64_t i = 0; i < m; ++i) {
        std::map<std::int64_t, T> line;
        for (int e = 0; e < 2 * count; ++e) {
            const std::int64_t near = i + static_cast<std::int64_t>(random() % 61) - 30;
            if (near < 0 || near >= m || near == i) continue;
            const bool wanted = s.kind == 't' && (s.triangle == 'l' ? near < i : near > i);
            line[near] = wanted ? random_number<T>(random) / T(static_cast<float>(2 * count)) : nan_of<T>();
        }
        if (s.diagonal == 'n') line[i] = T(2) + random_number<T>(random);
        else if (i % 2 == 0) line[i] = nan_of<T>();
        for (const auto& [col, v] : line) a.push_back({i, col, v});
    }
    return a;
}

// Is op(A)*y the right-hand side, alpha times `before`, in columns from..to-1? Substitution is backward stable row by
// row (Higham 2002, ch. 8): it meets the right-hand side within the rounding of that very sum.
template <class T>
bool solves(oracle::meaning w, const std::vector<oracle::entry<T>>& a, T alpha, const dense<T>& before,
            const dense<T>& y, std::int64_t from, std::int64_t to)
{
    const auto meant = oracle::defined(w, a, 0, y.rows);
    double worst = 0;
    for (std::int64_t c = from; c < to; ++c) {
        const oracle::products<T> residual(meant, meant, T(1), &y.at(0, c), y.row_step, T{}, nullptr, 0, y.rows);
        for (std::int64_t i = 0; i < y.rows; ++i) {
            const auto k = static_cast<std::size_t>(i);
            const auto right = oracle::wide<T>(alpha) * oracle::wide<T>(before.at(i, c));
            const auto error = std::abs(residual.exact[k] - right);
            worst = std::max(
                worst, oracle::error_units(T{}, oracle::wide<T>(error), residual.gauge[k], residual.terms[k] + 4));
        }
    }
    return worst <= (std::is_floating_point_v<T> ? 1 : 4);
}

struct counting_heap {
    int grants = INT_MAX; // all that is asked for after so many is refused
    int asked = 0, live = 0;
    std::uint64_t size = 0; // of the last one
    std::int32_t alignment = 0;
};
inline counting_heap heap;
inline std::mutex heap_access; // threads of the host allocate too

// Tests of one format: one for each product and type.
struct SparseKernels : testing::TestWithParam<group> {
    void SetUp() override { heap = {}; }
    void TearDown() override { EXPECT_EQ(heap.live, 0) << "blocks not given back"; }
};

inline std::vector<group> groups(std::initializer_list<const char*> products)
{
    std::vector<group> all;
    for (const char* product : products)
        for (const char letter : {'s', 'd', 'c', 'z'}) all.emplace_back(product, letter);
    return all;
}

} // namespace vrn::test

extern "C" void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment)
{
    using vrn::test::heap;
    const std::lock_guard hold(vrn::test::heap_access);
    heap.size = size, heap.alignment = alignment;
    if (heap.asked++ >= heap.grants) return nullptr;
    ++heap.live;
    void* block = std::malloc(size + 1);
    std::memset(block, 0xff, size); // not a number, lest old contents hide a fault
    return block;
}
extern "C" void vrn_serv_deallocate(void* block)
{
    const std::lock_guard hold(vrn::test::heap_access);
    if (block != nullptr) --vrn::test::heap.live;
    std::free(block);
}
