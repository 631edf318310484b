// core/loader/loader.cpp - opens libvrn_s42.so beside this library and resolves its whole list of names.
//
// The table vrn_slots and the names vrn_slot_names are generated from the list of exports. Everything is
// resolved or nothing is used: a missing name is told, and no slot is filled. Nothing here throws or allocates
// but for the dynamic linker's own work and one array.

#include "core/loader/loader.hpp"

#include "core/services/cpu_facts.hpp"
#include "vrn/service.h"

#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>

extern "C" {
[[gnu::visibility("hidden")]] extern std::atomic<void*> vrn_slots[];
[[gnu::visibility("hidden")]] extern const char vrn_slot_names[];
}

namespace vrn::loader {
namespace {

constexpr char backend_file[] = "libvrn_s42.so";
constexpr char backend_version[] = "VRN_S42_1"; // of its symbols; the host's own carry another
constexpr std::int64_t tier = 3;                // what its dll_cpu_version answers
constexpr int sse42 = 3;                        // the first line of processors that has it

struct result {
    outcome code = outcome::ok;
    char why[PATH_MAX + 256] = "";
};

[[gnu::format(printf, 3, 4)]] void fail(result& r, outcome code, const char* format, ...)
{
    r.code = code;
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(r.why, sizeof r.why, format, arguments);
    va_end(arguments);
}

// Where this library was loaded from. Asked when it is loaded: a relative path means something only until the
// program changes its directory.
char own_path[PATH_MAX];

[[gnu::constructor]] void remember_own_path()
{
    Dl_info info{};
    if (dladdr(own_path, &info) == 0 || info.dli_fname == nullptr) return;
    char here[PATH_MAX] = "";
    const bool relative = info.dli_fname[0] != '/';
    if (relative && getcwd(here, sizeof here) == nullptr) return;
    const int length = std::snprintf(own_path, sizeof own_path, "%s%s%s", here, relative ? "/" : "", info.dli_fname);
    if (length >= static_cast<int>(sizeof own_path)) own_path[0] = '\0';
}

// The back-end's path beside a file; false when that does not exist.
bool beside(const char* file, char (&path)[PATH_MAX])
{
    const char* slash = std::strrchr(file, '/');
    const int folder = slash == nullptr ? 0 : static_cast<int>(slash - file + 1);
    const int length = std::snprintf(path, sizeof path, "%.*s%s", folder, file, backend_file);
    return length < static_cast<int>(sizeof path) && access(path, F_OK) == 0;
}

// Beside this library as it was found, else beside the file that a link to it leads to.
void find_backend(char (&path)[PATH_MAX])
{
    char target[PATH_MAX];
    if (beside(own_path, path)) return;
    if (realpath(own_path, target) != nullptr && beside(target, path)) return;
    beside(own_path, path);
}

template <class Visit>
void each_name(Visit&& visit)
{
    std::size_t i = 0;
    for (const char* name = vrn_slot_names; *name != '\0'; name += std::strlen(name) + 1) visit(i++, name);
}

void resolve(void* library, const char* path, result& r)
{
    // The tier first, under any symbol version: another tier's library has the same names.
    if (auto* version = reinterpret_cast<std::int64_t (*)()>(dlsym(library, "dll_cpu_version"))) {
        const long long theirs = version();
        if (theirs != tier)
            return fail(r, outcome::wrong_tier, "vrn: %s is a back-end of tier %lld, this host needs tier %lld", path,
                        theirs, static_cast<long long>(tier));
    }
    std::size_t count = 0, missing = 0;
    const char* first_missing = nullptr;
    each_name([&](std::size_t, const char*) { ++count; });
    auto** found = static_cast<void**>(std::malloc(count * sizeof(void*)));
    if (found == nullptr) return fail(r, outcome::no_library, "vrn: out of memory while loading %s", path);
    each_name([&](std::size_t i, const char* name) {
        // The version asks for the back-end's own name where the host has one of the same spelling.
        found[i] = dlvsym(library, name, backend_version);
        if (found[i] == nullptr && missing++ == 0) first_missing = name;
    });
    if (missing == 0)
        for (std::size_t i = 0; i < count; ++i) vrn_slots[i].store(found[i], std::memory_order_release);
    else
        fail(r, outcome::missing_name, "vrn: %s lacks %zu of %zu names, the first is %s", path, missing, count,
             first_missing);
    std::free(found);
}

void load_now(result& r)
{
    if (cpu::here().line < sse42)
        return fail(r, outcome::no_sse42, "vrn: this processor lacks SSE4.2, which the library needs");
    char path[PATH_MAX];
    find_backend(path);
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        return fail(r, outcome::no_library, "vrn: cannot load the back-end: %s", reason ? reason : path);
    }
    resolve(library, path, r);
    if (r.code != outcome::ok) dlclose(library);
}

} // namespace

outcome load(const char** why) noexcept
{
    static result r;
    // A thread that comes while another loads waits here.
    static const bool once = (load_now(r), true);
    static_cast<void>(once);
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

extern "C" int vrn_load(const char** why) { return static_cast<int>(vrn::loader::load(why)); }
