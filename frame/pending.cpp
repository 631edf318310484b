// frame/pending.cpp - what a name without a body does: say so and stop. Linked into both libraries.

#include <cstdio>
#include <cstdlib>

extern "C" [[noreturn, gnu::visibility("hidden")]] void vrn_frame_pending(const char* name)
{
    std::fprintf(stderr, "vrn: %s is not written yet\n", name);
    std::abort();
}
