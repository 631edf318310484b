// core/services/text.cpp - bounded text and memory services, in the manner of C11 Annex K.
// Unlike there, a text that does not fit is cut and the cut is reported: half a diagnostic is better than
// none. What is copied as bytes is copied whole or not at all.

#include "core/services/text.hpp"

#include "frame/services.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstring>

namespace vrn::text {

conversions scan(const char* format)
{
    conversions found{};
    for (const char* p = format; *p != '\0'; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        // Flags, width, precision and length; a star takes an argument of its own.
        for (; *p != '\0' && std::strchr("-+ #0123456789.*hlLqjzt'", *p) != nullptr; ++p)
            found.arguments += *p == '*';
        if (*p == '\0') break;
        ++found.arguments;
        found.writes_back |= *p == 'n';
    }
    return found;
}

int print(std::FILE* stream, const char* format, std::va_list arguments)
{
    if (stream == nullptr || format == nullptr || scan(format).writes_back) return -1;
    return std::vfprintf(stream, format, arguments);
}

namespace {

// Copies at most `count` bytes of a text into `room` bytes, of which the last is for the terminator.
std::int32_t copy_bounded(char* to, std::uint64_t room, const char* from, std::uint64_t count)
{
    const std::uint64_t length = strnlen(from, std::min(count, room));
    const std::uint64_t kept = std::min(length, room - 1);
    std::memmove(to, from, kept);
    to[kept] = '\0';
    return kept == length ? 0 : ERANGE;
}

std::int32_t move_bytes(void* to, std::uint64_t capacity, const void* from, std::uint64_t count)
{
    if (count == 0) return 0;
    if (to == nullptr) return EINVAL;
    if (from == nullptr || count > capacity) {
        std::memset(to, 0, capacity);
        return from == nullptr ? EINVAL : ERANGE;
    }
    std::memmove(to, from, count);
    return 0;
}

} // namespace
} // namespace vrn::text

extern "C" std::int32_t vrn_serv_printf_s(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int written = vrn::text::print(stdout, format, arguments);
    va_end(arguments);
    return written;
}

extern "C" std::int32_t vrn_serv_fprintf_s(void* stream, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int written = vrn::text::print(static_cast<std::FILE*>(stream), format, arguments);
    va_end(arguments);
    return written;
}

extern "C" std::int32_t vrn_serv_sprintf_s(char* to, std::uint64_t capacity, const char* format, ...)
{
    if (to == nullptr || capacity == 0) return -1;
    to[0] = '\0';
    if (format == nullptr || vrn::text::scan(format).writes_back) return -1;
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(to, capacity, format, arguments);
    va_end(arguments);
    return length < 0 || static_cast<std::uint64_t>(length) >= capacity ? -1 : length;
}

extern "C" std::int32_t vrn_serv_strncpy_s(char* to, std::uint64_t capacity, const char* from, std::uint64_t count)
{
    if (to == nullptr || capacity == 0) return EINVAL;
    to[0] = '\0';
    return from == nullptr ? EINVAL : vrn::text::copy_bounded(to, capacity, from, count);
}

extern "C" std::int32_t vrn_serv_strncat_s(char* to, std::uint64_t capacity, const char* from, std::uint64_t count)
{
    if (to == nullptr || capacity == 0) return EINVAL;
    const std::uint64_t used = strnlen(to, capacity);
    // Not terminated within its capacity: there is no end to append to.
    if (used == capacity) return EINVAL;
    return from == nullptr ? EINVAL : vrn::text::copy_bounded(to + used, capacity - used, from, count);
}

extern "C" std::int32_t vrn_serv_memcpy_unbounded_s(void* to, std::uint64_t capacity, const void* from,
                                                    std::uint64_t count)
{
    return vrn::text::move_bytes(to, capacity, from, count);
}

extern "C" std::int32_t vrn_serv_memmove_s(void* to, std::uint64_t capacity, const void* from, std::uint64_t count)
{
    return vrn::text::move_bytes(to, capacity, from, count);
}

extern "C" void vrn_serv_libm_sincos(double x, double* sine, double* cosine) { sincos(x, sine, cosine); }
extern "C" void vrn_serv_libm_sincosf(float x, float* sine, float* cosine) { sincosf(x, sine, cosine); }
