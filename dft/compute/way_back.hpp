// dft/compute/way_back.hpp - where a complex spectrum of several dimensions is worked on backward. Shared with the
// host.
#pragma once

#include "dft/compute/shape.hpp"

namespace vrn::dft {

// How a spectrum of two and more dimensions goes back. In place it is destroyed where it lies. Out of place the input
// is not written: an even row of the output has just the room for PERM, where the first and the last column, whose
// results are real, travel as the two parts of one complex column; other rows need a copy of the whole spectrum.
enum class road_back { in_place, in_output, copy };

struct way_back {
    shape given, reals, carried; // the spectrum as given; the result; the spectrum as it is worked on
    road_back road;
    explicit way_back(const descriptor* d)
        : given(d, &descriptor::input_stride, 2, d->length / 2 + 1),
          reals(d, &descriptor::output_stride, 1, d->length), carried(given)
    {
        road = d->placement == in_place                      ? road_back::in_place
               : d->length % 2 == 0 && d->output_stride == 1 ? road_back::in_output
                                                             : road_back::copy;
        if (road == road_back::in_output) {
            carried = reals;
            carried.length[0] = d->length / 2;
            carried.stride[0] = 2;
        } else if (road == road_back::copy) {
            std::int64_t product = 2;
            for (int i = 0; i < given.rank; product *= given.length[i++]) carried.stride[i] = product;
        }
    }
    std::int64_t rows() const { return given.positions(1, -1); }
};

} // namespace vrn::dft
