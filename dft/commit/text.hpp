// dft/commit/text.hpp - plans as text, cut to the line's capacity.
#pragma once

#include "frame/services.hpp"

#include <cstring>

namespace vrn::dft {

// Appends at the terminator; returns the length that the line has now.
template <class... A>
int append(char* line, int capacity, const char* format, A... arguments)
{
    const int at = static_cast<int>(std::strlen(line));
    if (at + 1 < capacity)
        vrn_serv_sprintf_s(line + at, static_cast<std::uint64_t>(capacity - at), format, arguments...);
    return static_cast<int>(std::strlen(line));
}

} // namespace vrn::dft
