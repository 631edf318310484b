#include "bench/support/peers.hpp"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <unistd.h>

namespace vrn::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* openblas = "/usr/lib/x86_64-linux-gnu/openblas-serial/libopenblas.so.0";
constexpr const char* blis = "/usr/lib/x86_64-linux-gnu/blis-serial/libblis.so.4";

void* open_copy(const char* path)
{
    std::error_code error;
    const fs::path copy = fs::temp_directory_path() / ("vrn-bench-" + std::to_string(getpid()) + ".so");
    if (!fs::copy_file(path, copy, fs::copy_options::overwrite_existing, error)) {
        std::fprintf(stderr, "bench: no peer %s: %s\n", path, error.message().c_str());
        return nullptr;
    }
    void* library = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (library == nullptr) std::fprintf(stderr, "bench: no peer %s: %s\n", path, dlerror());
    fs::remove(copy, error);
    return library;
}

std::vector<peer> open_all()
{
    std::vector<peer> found;
    for (const char* core : {"Core2", "Barcelona", "Nehalem"}) {
        setenv("OPENBLAS_CORETYPE", core, 1);
        if (void* library = open_copy(openblas)) found.push_back({std::string("openblas-") + core, library, true});
    }
    unsetenv("OPENBLAS_CORETYPE");
    if (void* library = open_copy(openblas)) found.push_back({"openblas-best", library, false});
    if (void* library = open_copy(blis)) found.push_back({"blis-best", library, false});
    return found;
}

} // namespace

void* peer::symbol_of(const char* symbol) const { return dlsym(library, symbol); }

const std::vector<peer>& peers()
{
    static const std::vector<peer> all = open_all();
    return all;
}

} // namespace vrn::bench
