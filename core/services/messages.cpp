// core/services/messages.cpp - messages by number, lines on a channel, and the version's text.

#include "core/services/catalogue.hpp"
#include "core/services/text.hpp"

#include "frame/services.hpp"
#include "vrn/service.h"

#include <cstdarg>
#include <cstdio>

namespace vrn::messages {
namespace {

const char* find(std::int32_t number)
{
    for (const auto list : catalogue) {
        const auto place = std::ranges::lower_bound(list, number, {}, &message::number);
        if (place != list.end() && place->number == number) return place->text;
    }
    return nullptr;
}

// The longest piece that a diagnostic takes is 512 bytes with its terminator.
struct room {
    char text[512];
};
constinit thread_local room composed{};

// A text that wants more arguments than there are is given as it stands: reading past them would be worse.
const char* compose(std::int32_t number, std::int32_t count, std::va_list arguments)
{
    const char* text = find(number);
    if (text == nullptr) {
        std::snprintf(composed.text, sizeof composed.text, "message %d has no text", number);
        return composed.text;
    }
    const auto wanted = text::scan(text).arguments;
    if (wanted == 0 || wanted > count) return text;
    std::vsnprintf(composed.text, sizeof composed.text, text, arguments);
    return composed.text;
}

std::FILE* stream_of(std::int32_t channel) { return channel == 0 ? stdout : stderr; }

} // namespace
} // namespace vrn::messages

using namespace vrn;

extern "C" const char* vrn_serv_get_msg(std::int32_t number, std::int32_t count, ...)
{
    std::va_list arguments;
    va_start(arguments, count);
    const char* text = messages::compose(number, count, arguments);
    va_end(arguments);
    return text;
}

extern "C" std::int32_t vrn_serv_print(std::int32_t channel, std::int32_t number, std::int32_t count, ...)
{
    std::va_list arguments;
    va_start(arguments, count);
    const char* text = messages::compose(number, count, arguments);
    va_end(arguments);
    return std::fprintf(messages::stream_of(channel), "%s\n", text);
}

extern "C" std::int32_t vrn_serv_format_print(std::int32_t channel, const char* format, std::int32_t count, ...)
{
    if (format == nullptr || text::scan(format).arguments > count) return -1;
    std::va_list arguments;
    va_start(arguments, count);
    const int written = text::print(messages::stream_of(channel), format, arguments);
    va_end(arguments);
    return written;
}

extern "C" const char* vrn_version(void) { return VRN_VERSION; }

extern "C" void vrn_serv_get_version_string_c(char* buffer, std::int32_t capacity)
{
    if (buffer == nullptr || capacity <= 0) return;
    std::snprintf(buffer, static_cast<std::size_t>(capacity), "vrn %s, back-end for SSE4.2, x86-64", VRN_VERSION);
}
