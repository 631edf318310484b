// frame/export.hpp - how a kernel gets its exported name.
// Every exported name of the dense families stands whole where its kernel lives; these macros only spell
// linkage and visibility. Everything else in the back-end is hidden.
#pragma once

#include <cstdint>

// vrn_int - the integer of every family but those marked lp64 and _i4.
using vrn_int = std::int64_t;

#define VRN_EXPORT extern "C" [[gnu::visibility("default")]]

// A second exported name of a body that is defined in the same file.
#define VRN_ALIAS(name, target) \
    extern "C" decltype(target) name __attribute__((alias(#target), visibility("default")))
