// dft/descriptor/tensor.hpp - lists of (length, input stride, output stride) and what commit does to them.
//
// sort, drop_units and merge bring equivalent configurations to one form, so that the strategies test few shapes.
// Tensors own their triples; every operation that can grow one says whether it had the memory.
#pragma once

#include "dft/descriptor/record.hpp"

namespace vrn::dft::tensor {

// Which strides a copy takes. Both bits together swap the sides.
enum copy_flags : int { plain = 0, input_both = 1, output_both = 2, swapped = 3 };

[[nodiscard]] bool allocate(dim_tensor& t, std::int32_t count);
void release(dim_tensor& t);
[[nodiscard]] bool copy(dim_tensor& to, const dim_tensor& from, int flags);
[[nodiscard]] bool concatenate(dim_tensor& to, const dim_tensor& a, const dim_tensor& b);

// Ascending by input stride; ties stay as they were.
void sort(dim_tensor& t);
// Removes triples of length 1, but never the last one left.
void drop_units(dim_tensor& t);
// Joins neighbours that lie like one longer dimension on both sides.
void merge(dim_tensor& t);

} // namespace vrn::dft::tensor
