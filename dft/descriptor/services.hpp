// dft/descriptor/services.hpp - the host's transforms as other families import them: two spellings of one interface.
//
// Handles are passed as they are, but by address where they are made or freed and in the whole by-reference spelling.
// Arrays follow as the configuration has them: (data) in place, (in, out) not in place, with split storage (re, im)
// or (in re, in im, out re, out im). Statuses and numbers are those of record.hpp and vrn/dft.h.
#pragma once

#include "dft/descriptor/record.hpp"

#pragma GCC visibility push(default)
extern "C" {

// By value.
std::int32_t vrn_dft_dfticreatedescriptor_d_1d(vrn::dft::descriptor** handle, std::int32_t domain,
                                               std::int64_t length);
std::int32_t vrn_dft_dfticreatedescriptor_s_1d(vrn::dft::descriptor** handle, std::int32_t domain,
                                               std::int64_t length);
std::int32_t vrn_dft_dfticreatedescriptor_d_md(vrn::dft::descriptor** handle, std::int32_t domain, std::int32_t rank,
                                               const std::int64_t* lengths);
std::int32_t vrn_dft_dfticreatedescriptor_s_md(vrn::dft::descriptor** handle, std::int32_t domain, std::int32_t rank,
                                               const std::int64_t* lengths);
// The value: a double for the scales, an int64 pointer for strides, else an int.
std::int32_t vrn_dft_dftisetvalue(vrn::dft::descriptor* handle, std::int32_t parameter, ...);
std::int32_t vrn_dft_dfticommitdescriptor(vrn::dft::descriptor* handle);
std::int32_t vrn_dft_dfticomputeforward(vrn::dft::descriptor* handle, void* in, ...);
std::int32_t vrn_dft_dfticomputebackward(vrn::dft::descriptor* handle, void* in, ...);
std::int32_t vrn_dft_dftifreedescriptor(vrn::dft::descriptor** handle);
std::int32_t vrn_dft_dftierrorclass(std::int32_t status, std::int32_t status_class);

// By reference. The precision comes as 36.0 or 35.0 in its own type; one dimension, in place.
std::int32_t vrn_dft_dfti_create_descriptor_d_1d(vrn::dft::descriptor** handle, const double* precision,
                                                 const std::int32_t* domain, const std::int32_t* dimension,
                                                 const std::int64_t* length);
std::int32_t vrn_dft_dfti_create_descriptor_s_1d(vrn::dft::descriptor** handle, const float* precision,
                                                 const std::int32_t* domain, const std::int32_t* dimension,
                                                 const std::int64_t* length);
std::int32_t vrn_dft_dfti_set_value_intval(vrn::dft::descriptor** handle, const std::int32_t* parameter,
                                           const std::int32_t* value);
std::int32_t vrn_dft_dfti_commit_descriptor_external(vrn::dft::descriptor** handle);
std::int32_t vrn_dft_dfti_compute_forward_d(vrn::dft::descriptor** handle, double* data);
std::int32_t vrn_dft_dfti_compute_forward_s(vrn::dft::descriptor** handle, float* data);
std::int32_t vrn_dft_dfti_compute_backward_d(vrn::dft::descriptor** handle, double* data);
std::int32_t vrn_dft_dfti_compute_backward_s(vrn::dft::descriptor** handle, float* data);
std::int32_t vrn_dft_dfti_free_descriptor_external(vrn::dft::descriptor** handle);
// The status's message, cut to `capacity` bytes and terminated.
std::int32_t vrn_dft_dfti_error_message_external(char* text, std::int32_t capacity, std::int32_t status);

} // extern "C"
#pragma GCC visibility pop
