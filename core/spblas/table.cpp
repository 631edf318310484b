// core/spblas/table.cpp - the kernels of the grammar by their letters. The table of stems is read once by the
// compiler: for each type an array that leads from a number made of the letters to the place of the name, and for
// each type and integer width the slots in that order.

#include "core/spblas/table.hpp"
#include "core/loader/loader.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#define VRN_STEM(name, ...) VRN_KERNEL(name, vrn::spblas::host::any_kernel);
#include "spblas/stems.inc"

namespace vrn::spblas::host {
namespace {

using slot = loader::slot<any_kernel>;

struct row {
    char type;
    int width;
    std::string_view format, product;
    int base;
    char op, kind, triangle, diagonal, layout;
    slot* kernel;
};

constexpr row rows[] = {
#define VRN_STEM(name, type, width, format, base, op, kind, triangle, diagonal, layout, product, mode, arguments,    \
                 written)                                                                                            \
    {type, width, #format, #product, base, op, kind, triangle, diagonal, layout, &vrn_slot_##name},
#include "spblas/stems.inc"
};

constexpr std::string_view formats[] = {"csr", "coo", "dia", "bsr"};
constexpr std::string_view products[] = {"mv", "mm", "sv", "sm", "gemv"};
constexpr std::string_view ops = "ntcs", kinds = "gdshta";
constexpr std::size_t keys = 4 * 5 * 2 * 2 * 4 * 6 * 4;

// All letters as one number. Classes without triangle or diagonal have `_` there and count as lower and non-unit.
constexpr std::size_t key(std::size_t f, std::size_t p, char op, char kind, char triangle, char diagonal, int base,
                          bool by_rows)
{
    std::size_t k = f * 5 + p;
    k = k * 2 + static_cast<std::size_t>(base);
    k = k * 2 + (by_rows ? 1 : 0);
    k = k * 4 + ops.find(op);
    k = k * 6 + kinds.find(kind);
    return (k * 2 + (triangle == 'u' ? 1 : 0)) * 2 + (diagonal == 'u' ? 1 : 0);
}

constexpr std::size_t count(char type)
{
    std::size_t n = 0;
    for (const row& r : rows) n += r.type == type && r.width == 64 ? 1 : 0;
    return n;
}

// Place of each key's name among those of its type, counted from one.
template <char Type>
constexpr auto places = [] {
    std::array<std::uint16_t, keys> table{};
    std::uint16_t place = 0;
    for (const row& r : rows) {
        if (r.type != Type || r.width != 64) continue;
        const auto at = [](const auto& list, std::string_view text) {
            return static_cast<std::size_t>(std::find(std::begin(list), std::end(list), text) - std::begin(list));
        };
        table[key(at(formats, r.format), at(products, r.product), r.op, r.kind, r.triangle, r.diagonal, r.base,
                  r.layout == 'c')] = ++place;
    }
    return table;
}();

template <char Type, int Width>
constexpr auto slots = [] {
    std::array<slot*, count(Type)> table{};
    std::size_t place = 0;
    for (const row& r : rows)
        if (r.type == Type && r.width == Width) table[place++] = r.kernel;
    return table;
}();

// An operation on a class that is another one on it, up to the sign. A conjugated unit diagonal is that diagonal.
struct equivalent {
    char kind, op, other;
    bool negated;
};
constexpr equivalent equivalents[] = {
    {'s', 't', 'n', false}, {'s', 's', 'c', false}, {'h', 'c', 'n', false},
    {'h', 's', 't', false}, {'a', 't', 'n', true},  {'a', 's', 'c', true},
    {'d', 't', 'n', false}, {'d', 's', 'c', false}, {'d', 'c', 's', false},
};

template <class T>
constexpr char letter = sizeof(T) == 4    ? 's'
                        : sizeof(T) == 16 ? 'z'
                        : is_complex<T>   ? 'c'
                                          : 'd';

template <class T, class I>
any_kernel* find(format f, product p, char op, const description& d, int base, bool by_rows)
{
    char triangle = d.triangle;
    // Transposed DIA products test their filter on the transposed diagonal, so that the kernel for a matrix stored
    // in its lower triangle is the one that names the upper.
    if (f == format::dia && (p == product::mv || p == product::mm) && transposes(op)) triangle = flipped(triangle);
    const std::uint16_t place = places<letter<T>>[key(static_cast<std::size_t>(f), static_cast<std::size_t>(p), op,
                                                      d.kind, triangle, d.diagonal, base, by_rows)];
    return place == 0 ? nullptr : loader::backend(*slots<letter<T>, 8 * sizeof(I)>[place - std::size_t{1}]);
}

} // namespace

template <class T, class I>
kernel_choice choose(format f, product p, char op, const description& d, int base, bool by_rows)
{
    const auto try_op = [&](char o) { return find<T, I>(f, p, o, d, base, by_rows); };
    if (any_kernel* k = try_op(op)) return {k, op, false};
    if (!is_complex<T> || (d.kind == 'd' && d.unit())) {
        op = op == 'c' ? 't' : op == 's' ? 'n' : op;
        if (any_kernel* k = try_op(op)) return {k, op, false};
    }
    for (const equivalent& e : equivalents)
        if (e.kind == d.kind && e.op == op)
            if (any_kernel* k = try_op(e.other)) return {k, e.other, e.negated};
    std::fprintf(stderr, "vrn: no sparse kernel for format %d, product %d, op %c, class %c%c%c, base %d, by %s\n",
                 static_cast<int>(f), static_cast<int>(p), op, d.kind, d.triangle, d.diagonal, base,
                 by_rows ? "rows" : "columns");
    std::abort();
}

#define VRN_CHOOSE(T)                                                                                                \
    template kernel_choice choose<T, std::int64_t>(format, product, char, const description&, int, bool);            \
    template kernel_choice choose<T, std::int32_t>(format, product, char, const description&, int, bool);
VRN_CHOOSE(float)
VRN_CHOOSE(double)
VRN_CHOOSE(cplx<float>)
VRN_CHOOSE(cplx<double>)
#undef VRN_CHOOSE

} // namespace vrn::spblas::host
