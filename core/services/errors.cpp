// core/services/errors.cpp - option letters, the report of a bad argument, and tested pointers.

#include "frame/services.hpp"
#include "vrn/service.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace {

// One line; the name comes with its length and may be padded with blanks.
void print_bad_argument(const char* routine, const std::int64_t* argument, std::int64_t length)
{
    while (length > 0 && routine[length - 1] == ' ') --length;
    std::fprintf(stderr, "vrn: parameter %lld of %.*s has an illegal value\n", static_cast<long long>(*argument),
                 static_cast<int>(std::clamp<std::int64_t>(length, 0, 200)), routine);
}

std::atomic<vrn_xerbla_handler> handler{&print_bad_argument};

} // namespace

extern "C" vrn_xerbla_handler vrn_set_xerbla(vrn_xerbla_handler next)
{
    return handler.exchange(next == nullptr ? &print_bad_argument : next);
}

extern "C" void vrn_serv_xerbla(const char* routine, const std::int64_t* argument, std::int64_t length)
{
    handler.load()(routine, argument, length);
}

// Only letters have two cases: '@' and '`' differ by the same bit as 'A' and 'a' and stay different.
extern "C" std::int32_t vrn_serv_lsame(const char* option, const char* letter, std::int64_t, std::int64_t)
{
    const auto folded = [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
    return folded(*option) == folded(*letter);
}

// Some callers pass the length of the name behind it. The names are terminated, so that it is not read.
extern "C" std::int32_t vrn_serv_check_ptr_and_warn(const void* block, const char* routine, ...)
{
    if (block != nullptr) return 0;
    std::fprintf(stderr, "vrn: %s: no memory for a work buffer, going on without it where possible\n", routine);
    return 1;
}

extern "C" std::int32_t vrn_serv_check_ptr(const void* block, const char*, ...) { return block == nullptr; }
