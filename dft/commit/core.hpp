// dft/commit/core.hpp - drivers that the general method stores in a descriptor, by their exported names.
#pragma once

#include "dft/descriptor/functions.hpp"

#pragma GCC visibility push(default)
extern "C" {
vrn::dft::plane_in_place vrn_dft_s42_xzdft2d, vrn_dft_s42_xcdft2d;
vrn::dft::plane_real vrn_dft_s42_xdzdft2d, vrn_dft_s42_xscdft2d, vrn_dft_s42_xzddft2d, vrn_dft_s42_xcsdft2d,
    vrn_dft_s42_xdzzdft2d, vrn_dft_s42_xsccdft2d, vrn_dft_s42_xzzddft2d, vrn_dft_s42_xccsdft2d;
std::int32_t vrn_dft_s42_determine_nioargs(const vrn::dft::descriptor* node);
}
#pragma GCC visibility pop
