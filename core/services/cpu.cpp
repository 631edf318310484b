#include "frame/services.hpp"

extern "C" void vrn_serv_cache_info(std::int32_t info[6])
{
    info[0] = 0;
}
extern "C" std::int32_t vrn_serv_get_microarchitecture() { return 0; }
