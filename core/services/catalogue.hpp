// core/services/catalogue.hpp - the texts behind the message numbers.
//
// One list, in ascending order of number. A family that prints by number adds its rows here, or a list of its
// own and a row to `catalogue`. A text may have the conversions of printf: %s for texts, %g and its like for
// double; integers come rendered as texts.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

namespace vrn::messages {

struct message {
    std::int32_t number;
    const char* text;
};

inline constexpr message general[] = {
    {0, ""}, // an empty line
};

inline constexpr std::span<const message> catalogue[] = {general};

constexpr bool ascending(std::span<const message> list)
{
    return std::ranges::adjacent_find(list, std::ranges::greater_equal{}, &message::number) == list.end();
}
static_assert(std::ranges::all_of(catalogue, ascending));

} // namespace vrn::messages
