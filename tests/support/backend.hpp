// tests/support/backend.hpp - kernels by their exported names.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <iostream>
#include <string>

namespace vrn::test {

inline void* backend_symbol(const std::string& name)
{
    static void* library = dlopen(VRN_LIBRARY_DIR "/libvrn_s42.so", RTLD_NOW | RTLD_LOCAL);
    void* symbol = library == nullptr ? nullptr : dlsym(library, name.c_str());
    if (symbol == nullptr) {
        std::cerr << "no " << name << ": " << (library ? "not exported" : dlerror()) << std::endl;
        std::abort();
    }
    return symbol;
}

// auto* axpy = kernel<void(const int64_t*, ...)>("vrn_blas_s42_xdaxpy");
template <class Signature>
Signature* kernel(const std::string& name)
{
    return reinterpret_cast<Signature*>(backend_symbol(name));
}

} // namespace vrn::test
