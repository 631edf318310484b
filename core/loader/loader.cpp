// core/loader/loader.cpp - opens libvrn_s42.so beside this library and resolves its whole list of names.
//
// The table vrn_slots and the names vrn_slot_names are generated from the list of exports. Everything is
// resolved or nothing is used: a missing name is told, and no slot is filled.

#include "core/loader/loader.hpp"

#include <cpuid.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <new>
#include <string>

extern "C" {
[[gnu::visibility("hidden")]] extern std::atomic<void*> vrn_slots[];
[[gnu::visibility("hidden")]] extern const char vrn_slot_names[];
}

namespace vrn::loader {
namespace {

constexpr std::int64_t tier = 3; // what dll_cpu_version of the SSE4.2 back-end answers

struct result {
    outcome code = outcome::ok;
    char why[512] = "";
};

template <class... Args>
void fail(result& r, outcome code, const char* format, Args... args)
{
    r.code = code;
    std::snprintf(r.why, sizeof r.why, format, args...);
}

bool cpu_has_sse42()
{
    unsigned a, b, c, d;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_SSE4_2) != 0;
}

// The path of `file` in the folder of the library that holds this code.
std::string beside_this_library(const char* file)
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&load_or_abort), &info) == 0 || info.dli_fname == nullptr) return file;
    const char* slash = std::strrchr(info.dli_fname, '/');
    return slash == nullptr ? file : std::string(info.dli_fname, slash + 1) + file;
}

void resolve(void* library, const std::string& path, result& r)
{
    // The tier first: another tier's library has the same names.
    auto* version = reinterpret_cast<std::int64_t (*)()>(dlvsym(library, "dll_cpu_version", "VRN_S42_1"));
    if (version != nullptr && version() != tier)
        return fail(r, outcome::wrong_tier, "vrn: %s is a back-end of tier %lld, this host needs tier %lld",
                    path.c_str(), static_cast<long long>(version()), static_cast<long long>(tier));
    std::size_t count = 0, missing = 0;
    const char* first_missing = nullptr;
    for (const char* name = vrn_slot_names; *name != '\0'; name += std::strlen(name) + 1) ++count;
    std::unique_ptr<void*[]> found(new (std::nothrow) void*[count]);
    if (!found) return fail(r, outcome::no_library, "vrn: out of memory while loading %s", path.c_str());
    std::size_t i = 0;
    for (const char* name = vrn_slot_names; *name != '\0'; name += std::strlen(name) + 1, ++i) {
        // The version asks for the back-end's own name where the host has one of the same spelling.
        found[i] = dlvsym(library, name, "VRN_S42_1");
        if (found[i] == nullptr && missing++ == 0) first_missing = name;
    }
    if (missing != 0)
        return fail(r, outcome::missing_name, "vrn: %s lacks %zu of %zu names, the first is %s", path.c_str(), missing,
                    count, first_missing);
    for (i = 0; i < count; ++i) vrn_slots[i].store(found[i], std::memory_order_release);
}

result load_now()
{
    result r;
    if (!cpu_has_sse42()) {
        fail(r, outcome::no_sse42, "vrn: this processor lacks SSE4.2, which the library needs");
        return r;
    }
    const std::string path = beside_this_library("libvrn_s42.so");
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        fail(r, outcome::no_library, "vrn: cannot load the back-end: %s", reason ? reason : path.c_str());
        return r;
    }
    resolve(library, path, r);
    return r;
}

} // namespace

outcome load(const char** why) noexcept
{
    static const result r = load_now();
    if (why != nullptr) *why = r.why;
    return r.code;
}

void load_or_abort() noexcept
{
    const char* why = "";
    if (load(&why) == outcome::ok) return;
    std::fprintf(stderr, "%s\n", why);
    std::abort();
}

} // namespace vrn::loader
