#include "frame/services.hpp"
#include <cstdio>

extern "C" std::int32_t vrn_serv_lsame(const char* option, const char* letter, std::int64_t, std::int64_t)
{
    return (*option & ~32) == (*letter & ~32);
}
extern "C" void vrn_serv_xerbla(const char* routine, const std::int64_t* argument, std::int64_t length)
{
    std::fprintf(stderr, "vrn: parameter %lld of %.*s has an illegal value\n", static_cast<long long>(*argument),
                 static_cast<int>(length), routine);
}
extern "C" std::int32_t vrn_serv_check_ptr_and_warn(const void* block, const char* routine, ...)
{
    if (block != nullptr) return 0;
    std::fprintf(stderr, "vrn: %s: no memory for a work buffer\n", routine);
    return 1;
}
