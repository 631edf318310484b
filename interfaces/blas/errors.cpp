// interfaces/blas/errors.cpp - the routines of the standard interfaces that compute nothing: option letters, and the
// reports of a bad argument, which a program may replace by defining a function of the same name.
//
// As published, a message is printed and the program ends. Where the published routines leave the exit status at
// success this one tells of the failure, and the message goes to standard error.

#include "interfaces/blas/entries.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// Longer than any routine's name. A caller that is not Fortran may leave the length out.
constexpr std::size_t longest_name = 32;

int printable(const char* name, std::size_t length)
{
    std::size_t n = 0;
    while (n < std::min(length, longest_name) && name[n] > ' ') ++n;
    return static_cast<int>(n);
}

} // namespace

void vrn::faces::illegal(const char* routine, integer argument) { xerbla_(routine, &argument, std::strlen(routine)); }

extern "C" {

integer lsame_(const char* a, const char* b) { return vrn_serv_lsame(a, b, 1, 1); }

// Weak, as cblas_xerbla is: a program's own may return, and a compiler that sees this one end the program would leave
// out what comes after a call.
[[gnu::weak]] void xerbla_(const char* routine, const integer* argument, std::size_t length)
{
    std::fprintf(stderr, " ** On entry to %.*s parameter number %2lld had an illegal value\n",
                 printable(routine, length), routine, static_cast<long long>(*argument));
    std::exit(EXIT_FAILURE);
}

// The name as an array of characters with its length, for callers without Fortran's texts.
void xerbla_array_(const char* routine, const integer* length, const integer* argument)
{
    xerbla_(routine, argument, static_cast<std::size_t>(std::clamp<integer>(*length, 0, longest_name)));
}

[[gnu::weak]] void cblas_xerbla(integer argument, const char* routine, const char* form, ...)
{
    if (argument != 0)
        std::fprintf(stderr, "Parameter %lld to routine %s was incorrect\n", static_cast<long long>(argument),
                     routine);
    else std::fprintf(stderr, "%s: ", routine);
    std::va_list arguments;
    va_start(arguments, form);
    std::vfprintf(stderr, form, arguments);
    va_end(arguments);
    std::exit(EXIT_FAILURE);
}

} // extern "C"
