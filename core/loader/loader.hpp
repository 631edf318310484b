// core/loader/loader.hpp - the host's road into the back-end.
//
// The back-end's 5,019 names are resolved once, at first use, into a table of pointers. A public entry names
// the kernel it calls:
//
//     VRN_KERNEL(vrn_blas_s42_xdaxpy, void(const vrn_int*, const double*, ...));
//     ... backend(vrn_slot_vrn_blas_s42_xdaxpy)(n, alpha, ...);
//
// A misspelt name does not link. A filled slot costs one load and one predicted branch.
#pragma once

#include <atomic>

// Declares the slot of a back-end name with the signature of the kernel behind it.
#define VRN_KERNEL(name, ...) extern "C" [[gnu::visibility("hidden")]] vrn::loader::slot<__VA_ARGS__> vrn_slot_##name

namespace vrn::loader {

template <class Signature>
using slot = std::atomic<Signature*>;

// The numbers are those of vrn_load.
enum class outcome { ok, no_sse42, no_library, wrong_tier, missing_name };

// Loads and resolves once; later calls return the first outcome. Safe from several threads. `why` receives a
// one-line explanation where something is wrong; it lives as long as the process.
outcome load(const char** why) noexcept;

// The same for an entry that cannot go on without the back-end: prints the line and aborts.
void load_or_abort() noexcept;

template <class Signature>
inline Signature* backend(slot<Signature>& s) noexcept
{
    Signature* f = s.load(std::memory_order_acquire);
    if (f == nullptr) [[unlikely]] {
        load_or_abort();
        f = s.load(std::memory_order_acquire);
    }
    return f;
}

} // namespace vrn::loader
