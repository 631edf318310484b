// tests/spblas/public_support.hpp - a matrix of entries in every format of the public sparse BLAS.
#pragma once

#include "tests/oracle/spblas.hpp"
#include "tests/spblas/public_call.hpp"
#include "tests/spblas/support.hpp"

#include <set>

namespace vrn::test {

// Entries at distinct places, in a format. `lower` decides which triangle a skyline holds.
template <class T, class I>
struct stored {
    std::vector<T> val;
    std::vector<I> i1, i2, i3;
    std::map<std::string, I> numbers;
    std::string format;

    stored() = default;
    // In the other integer width.
    template <class J>
    explicit stored(const stored<T, J>& s)
        : val(s.val), i1(s.i1.begin(), s.i1.end()), i2(s.i2.begin(), s.i2.end()), i3(s.i3.begin(), s.i3.end()),
          numbers(s.numbers.begin(), s.numbers.end()), format(s.format)
    {
    }
    stored(const std::string& f, std::vector<oracle::entry<T>> e, std::int64_t m, std::int64_t k, int base,
           std::int64_t lb, bool by_rows, bool lower, std::mt19937_64& random)
        : format(f)
    {
        if (format == "csc" || format == "bsc" || (format == "sky" && !lower)) {
            for (auto& x : e) std::swap(x.row, x.col);
            std::swap(m, k);
        }
        std::sort(e.begin(), e.end(),
                  [](auto& p, auto& q) { return std::tie(p.row, p.col) < std::tie(q.row, q.col); });
        if (format == "csr" || format == "csc") {
            csr_arrays<T, I> a(e, m, base, m % 2 == 1);
            val = a.val, i1 = a.indx, i2 = a.pntrb, i3 = a.pntre;
        } else if (format == "coo") {
            std::shuffle(e.begin(), e.end(), random);
            for (const auto& x : e)
                val.push_back(x.value), i1.push_back(I(x.row + base)), i2.push_back(I(x.col + base));
            numbers["nnz"] = static_cast<I>(e.size());
        } else if (format == "dia") {
            std::set<I> offsets;
            for (const auto& x : e) offsets.insert(static_cast<I>(x.col - x.row));
            i1.assign(offsets.begin(), offsets.end());
            std::shuffle(i1.begin(), i1.end(), random);
            const std::int64_t lval = m + 3;
            val.assign(i1.size() * static_cast<std::size_t>(lval), nan_of<T>());
            // Inside the matrix every place of a diagonal counts.
            for (std::size_t j = 0; j < i1.size(); ++j)
                for (std::int64_t i = std::max<std::int64_t>(0, -i1[j]); i < std::min<std::int64_t>(m, k - i1[j]);
                     ++i)
                    val[j * static_cast<std::size_t>(lval) + static_cast<std::size_t>(i)] = T{};
            for (const auto& x : e) {
                const auto j = std::find(i1.begin(), i1.end(), static_cast<I>(x.col - x.row)) - i1.begin();
                val[static_cast<std::size_t>(j * lval + x.row)] = x.value;
            }
            numbers["lval"] = static_cast<I>(lval), numbers["ndiag"] = static_cast<I>(i1.size());
        } else if (format == "sky") {
            i1.push_back(static_cast<I>(base + 4));
            std::vector<std::int64_t> first(static_cast<std::size_t>(m));
            for (std::int64_t i = 0; i < m; ++i) first[static_cast<std::size_t>(i)] = i;
            for (const auto& x : e)
                if (x.col < x.row)
                    first[static_cast<std::size_t>(x.row)] = std::min(first[static_cast<std::size_t>(x.row)], x.col);
            for (std::int64_t i = 0; i < m; ++i) {
                for (std::int64_t j = first[static_cast<std::size_t>(i)]; j <= i; ++j) {
                    const auto at = std::lower_bound(e.begin(), e.end(), std::pair(i, j),
                                                     [](auto& x, auto& p) { return std::pair(x.row, x.col) < p; });
                    val.push_back(at != e.end() && at->row == i && at->col == j ? at->value : T{});
                }
                i1.push_back(static_cast<I>(base + 4 + static_cast<std::int64_t>(val.size())));
            }
        } else {
            std::map<std::pair<std::int64_t, std::int64_t>, std::vector<T>> blocks;
            const auto square = static_cast<std::size_t>(lb * lb);
            // A block of a transposed matrix keeps the order of its own elements.
            const bool across = by_rows == (format == "bsr");
            for (const auto& x : e) {
                auto& b = blocks[{x.row / lb, x.col / lb}];
                b.resize(square);
                const std::int64_t r = x.row % lb, c = x.col % lb;
                b[static_cast<std::size_t>(across ? r * lb + c : r + c * lb)] = x.value;
            }
            std::int64_t row = 0;
            i2.push_back(7);
            for (const auto& [place, b] : blocks) {
                for (; row < place.first; ++row) i3.push_back(I(7 + i1.size())), i2.push_back(i3.back());
                i1.push_back(static_cast<I>(place.second + base));
                val.insert(val.end(), b.begin(), b.end());
            }
            for (; row < m / lb; ++row) i3.push_back(I(7 + i1.size())), i2.push_back(i3.back());
            numbers["lb"] = static_cast<I>(lb);
        }
    }
    void add_to(arguments_by_name& a) const
    {
        a["val"] = val.data();
        const char* const names[][3] = {
            {"rowind", "colind", ""}, {"idiag", "", ""}, {"pntr", "", ""}, {"indx", "pntrb", "pntre"}};
        const auto& n = names[format == "coo" ? 0 : format == "dia" ? 1 : format == "sky" ? 2 : 3];
        a[n[0]] = i1.data(), a[n[1]] = i2.data(), a[n[2]] = i3.data();
        for (const auto& [name, value] : numbers) a[name] = &value;
    }
};

} // namespace vrn::test
