// interfaces/blas/verbose.cpp - VRN_BLAS_VERBOSE: how to see which library a program runs on. At 1 the first call
// prints one line: this library's file, the processor, the number of threads. At 2 every call prints one more.

#include "interfaces/blas/entries.hpp"
#include "vrn/service.h"

#include <cpuid.h>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <pthread.h>

namespace vrn::faces {
namespace {

// CPUID's brand text, 48 bytes in three leaves, padded with blanks in front on some processors.
struct brand {
    char text[49] = "";
    const char* begin = text;
    brand()
    {
        unsigned words[12] = {};
        for (unsigned leaf = 0; leaf < 3; ++leaf) {
            unsigned* w = words + 4 * leaf;
            if (__get_cpuid(0x80000002u + leaf, w, w + 1, w + 2, w + 3) == 0) return;
        }
        std::memcpy(text, words, sizeof words);
        begin += std::strspn(text, " ");
    }
};

int asked()
{
    const char* value = std::getenv("VRN_BLAS_VERBOSE");
    const int level = value == nullptr ? 0 : std::atoi(value);
    if (level < 1) return 0;
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(&verbosity), &info);
    const char* why = "";
    vrn_load(&why);
    std::fprintf(stderr, "vrn %s: %s on %s, %d threads%s%s\n", vrn_version(),
                 info.dli_fname ? info.dli_fname : "BLAS", brand().begin, vrn_get_max_threads(), *why ? ": " : "",
                 why);
    return level > 1 ? 2 : 0;
}

} // namespace

std::atomic<int> verbosity{1};

void seen(const char* form, ...)
{
    // Once, whichever thread comes first; a guarded static would need the C++ runtime.
    static pthread_once_t once = PTHREAD_ONCE_INIT;
    pthread_once(&once, [] { verbosity.store(asked(), std::memory_order_relaxed); });
    if (verbosity.load(std::memory_order_relaxed) < 2) return;
    // In one piece, so that lines of several threads do not mix.
    char line[512] = "vrn: ";
    std::va_list arguments;
    va_start(arguments, form);
    std::vsnprintf(line + 5, sizeof line - 6, form, arguments);
    va_end(arguments);
    std::fprintf(stderr, "%s\n", line);
}

} // namespace vrn::faces
