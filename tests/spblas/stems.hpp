// tests/spblas/stems.hpp - the names of the sparse grammar with their letters, from the table they are generated
// from.
#pragma once

#include "tests/oracle/spblas.hpp"

#include <complex>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace vrn::test {

struct stem {
    std::string name;
    int base;
    char op, kind, triangle, diagonal, layout;
    std::string_view product, mode, arguments;

    oracle::meaning meaning() const { return {op, kind, triangle, diagonal}; }
    bool transposes() const { return op == 't' || op == 'c'; }
    bool two_sided() const { return kind == 's' || kind == 'h' || kind == 'a'; }
    bool by_rows() const { return layout == 'c'; }
    // The same kernel in 32-bit integers.
    std::string narrow() const { return "vrn_spblas_lp64_" + name.substr(std::string("vrn_spblas_").size()); }
};

// The rows of the table as they stand; objects with constructors would take the compiler minutes.
struct stem_row {
    const char* name;
    char type;
    int width;
    const char* format;
    int base;
    char op, kind, triangle, diagonal, layout;
    const char *product, *mode, *arguments;
    bool written;
};
inline constexpr stem_row stem_rows[] = {
#define VRN_STEM(name, type, width, format, base, op, kind, triangle, diagonal, layout, product, mode, arguments,    \
                 written)                                                                                            \
    {#name,    type,     width,  #format,  base,  op,         kind,                                                  \
     triangle, diagonal, layout, #product, #mode, #arguments, written != 0},
#include "spblas/stems.inc"
};

// The written 64-bit names of one format, product and type.
inline std::vector<stem> stems(std::string_view format, std::string_view product, char type)
{
    std::vector<stem> found;
    for (const stem_row& r : stem_rows)
        if (r.written && r.width == 64 && r.format == format && r.product == product && r.type == type)
            found.push_back(
                {r.name, r.base, r.op, r.kind, r.triangle, r.diagonal, r.layout, r.product, r.mode, r.arguments});
    return found;
}

// One test a product and type: `Products` tests of a format, as (product, type letter).
using group = std::tuple<std::string, char>;
inline std::string group_name(const testing::TestParamInfo<group>& info)
{
    return std::get<0>(info.param) + "_" + std::get<1>(info.param);
}
// f(T{}) for the type of the letter.
template <class F>
void with_type(char letter, F&& f)
{
    if (letter == 's') f(float{});
    else if (letter == 'd') f(double{});
    else if (letter == 'c') f(std::complex<float>{});
    else f(std::complex<double>{});
}

} // namespace vrn::test
