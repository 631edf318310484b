// dft/commit/walk.hpp - commit: normalise, then the first strategy of the list that takes the configuration.
#pragma once

#include "dft/descriptor/record.hpp"

namespace vrn::dft {

dft_status class_commit(descriptor* d);
// Leaves dims and batch as they stand: for inner descriptors, whose owner has set them.
dft_status class_recommit(descriptor* d);

// The rule of a factor 2: a real transform in place whose spectrum is complex needs every distance between rows to be
// twice as many reals on one side as complex values on the other. True where the rule does not apply.
bool keeps_rule_of_two(const descriptor* d);

} // namespace vrn::dft
