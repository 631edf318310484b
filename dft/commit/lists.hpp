// dft/commit/lists.hpp - the eight commit lists: for each class its strategies in order, ended by null.
#pragma once

#include "dft/descriptor/record.hpp"

namespace vrn::dft {

// d or s, complex or real, one-dimensional or multi-dimensional.
extern const commit_method *list_dc1d[], *list_sc1d[], *list_dcmd[], *list_scmd[], *list_dr1d[], *list_sr1d[],
    *list_drmd[], *list_srmd[];

} // namespace vrn::dft
