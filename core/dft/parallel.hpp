// core/dft/parallel.hpp - one long complex transform over threads, as commit installs it.
#pragma once

#include "dft/descriptor/record.hpp"

namespace vrn::dft {

template <class R, bool Forward>
dft_status line_on_threads(descriptor* d, const void* in, void* out);

} // namespace vrn::dft
