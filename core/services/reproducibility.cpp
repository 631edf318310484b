#include "frame/services.hpp"
extern "C" std::int32_t vrn_serv_cbwr_get(std::int32_t) { return 1; }
