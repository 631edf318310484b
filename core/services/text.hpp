// core/services/text.hpp - what the text and the message services share.
#pragma once

#include <cstdarg>
#include <cstdio>

namespace vrn::text {

struct conversions {
    int arguments;    // how many a format takes
    bool writes_back; // it has a %n, which the bounded functions refuse
};
conversions scan(const char* format);

// vfprintf, or -1 where the stream or the format is null or the format has a %n.
int print(std::FILE* stream, const char* format, std::va_list arguments);

} // namespace vrn::text
