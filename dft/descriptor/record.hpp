// dft/descriptor/record.hpp - the descriptor: the one record that every transform call works on.
//
// Configuration as the user set it, its normalised form, the plan that commit made of it and the entries that compute
// it. A transform of several dimensions is a chain of the same records, one a dimension, linked by `child`. The order
// of the fields is shared with the host; tests/dft/descriptor_test.cpp holds the layout. Read by everything in dft/
// and by core/dft; after creation the host goes through the function pointers in here only.
#pragma once

#include <cstdint>

namespace vrn::dft {

struct descriptor;
struct primitive_plan;

using dft_status = std::int32_t;

// What a function of this subsystem returns. `declined` and `no_match` move the commit walk on.
inline constexpr dft_status ok = 0;
inline constexpr dft_status no_memory = 1;
inline constexpr dft_status bad_length = 2;
inline constexpr dft_status bad_configuration = 3;
inline constexpr dft_status bad_rank = 6;
inline constexpr dft_status internal_failure = 7;
inline constexpr dft_status too_long = 9;
inline constexpr dft_status declined = 100;
inline constexpr dft_status no_match = 101;
inline constexpr dft_status no_factors = 102;

// The values of parameters, shared with every caller.
enum parameter_value : std::int32_t {
    committed = 30,
    uncommitted = 31,
    domain_complex = 32,
    domain_real = 33,
    precision_single = 35,
    precision_double = 36,
    storage_complex = 39,
    storage_complex_real = 40,
    storage_split = 42,
    in_place = 43,
    not_in_place = 44,
    ordered = 48,
    workspace_default = 51,
    workspace_prefer_2d = 52,
    transpose_default = 53,
    format_ccs = 54,
    format_pack = 55,
    format_perm = 56,
    format_cce = 57
};

inline constexpr int key_forward_scale = 4;
inline constexpr int key_backward_scale = 5;

// Bits of `flags`.
inline constexpr std::uint8_t flag_simple = 1; // one unit-stride transform on one thread
inline constexpr std::uint8_t flag_plane = 2;  // one two-dimensional transform on one thread
inline constexpr std::uint8_t flag_via_2d = 4; // one transform through the two-dimensional strategy
inline constexpr std::uint8_t flag_inner = 8;  // owned by another descriptor

inline constexpr std::int32_t descriptor_magic = 0x544644;
inline constexpr std::int64_t stride_unset = INT64_MIN;
inline constexpr int descriptor_alignment = 16;
inline constexpr int name_bytes = 10;

struct triple {
    std::int64_t length, input_stride, output_stride;
};
struct dim_tensor {
    std::int32_t count;
    triple* at;
};

// Data is passed as it stands in a compute call: interleaved arrays as `in` and `out`, split storage as an array of
// two pointers (re, im; in place) or four (in re, in im, out re, out im) in `in`. In place `out` is null and not
// read.
using compute_function = dft_status(descriptor* d, void* in, void* out);
// One contiguous transform of a node; split storage passes arrays of two pointers. `work` has node_work_size bytes.
using kernel_function = dft_status(const void* in, void* out, const descriptor* node, void* work);
using parallel_function = dft_status(descriptor* d, const void* in, void* out);
// The packed entries of the primitive engine, on either precision.
using packed_function = void();
// A two-dimensional driver; its list differs by placement (functions.hpp).
using plane_function = void();
using lifecycle_function = dft_status(descriptor* d);

// The plan of a descriptor in one line, appended at the terminator; returns what the line then has.
int describe(const descriptor* d, char* line, int capacity);

// A strategy of a commit list. Nothing but `commit` and `decommit` decides; the other two tell.
struct commit_method {
    dft_status (*commit)(const commit_method* method, descriptor* d);
    dft_status (*decommit)(const commit_method* method, descriptor* d);
    // Appends this strategy's plan of `d` to a line of `capacity` bytes; returns what the line then has.
    int (*describe)(const descriptor* d, char* line, int capacity);
    // Any plan's; the host's way to it, the same in every method.
    int (*describe_plan)(const descriptor* d, char* line, int capacity) = vrn::dft::describe;
};

struct descriptor_class_table {
    lifecycle_function* commit;
    lifecycle_function* recommit;
    dft_status (*get_input_strides)(const descriptor* d, std::int64_t* strides);
    dft_status (*get_output_strides)(const descriptor* d, std::int64_t* strides);
    dft_status (*set_input_strides)(descriptor* d, const std::int64_t* strides);
    dft_status (*set_output_strides)(descriptor* d, const std::int64_t* strides);
    dft_status (*get_lengths)(const descriptor* d, std::int64_t* lengths);
    dft_status (*get_name)(const descriptor* d, char* name, std::int32_t capacity);
    dft_status (*set_name)(descriptor* d, const char* name, std::int32_t length, char fill);
    dft_status (*get_scale)(const descriptor* d, std::int32_t key, double* scale);
    dft_status (*set_scale)(descriptor* d, std::int32_t key, double scale);
    dft_status (*clone)(const descriptor* d, descriptor** copy);
    dft_status (*get_input_distance)(const descriptor* d, std::int64_t* distance);
    dft_status (*get_output_distance)(const descriptor* d, std::int64_t* distance);
    dft_status (*get_number_of_transforms)(const descriptor* d, std::int64_t* number);
    dft_status (*set_input_distance)(descriptor* d, std::int64_t distance);
    dft_status (*set_output_distance)(descriptor* d, std::int64_t distance);
    dft_status (*set_number_of_transforms)(descriptor* d, std::int64_t number);
    dft_status (*get_thread_limit)(const descriptor* d, std::int32_t* limit);
    dft_status (*set_thread_limit)(descriptor* d, std::int32_t limit);
};

using worker_function = void(int thread, int team, void* argument);

// What the host fills in: slots 1, 3, 4, 6, 7 and 11 are read here, the others are its own.
struct dft_thread_services {
    std::int32_t (*mode)(); // 1: 0 switches the thread-limiting heuristics off
    void* slot_2;
    std::int32_t (*max_threads)();  // 3
    std::int32_t (*thread_count)(); // 4: what those heuristics count with
    void* slot_5;
    std::int64_t (*cache_size)();                                               // 6: bytes
    void (*run)(std::int32_t threads, worker_function* worker, void* argument); // 7
    void *slot_8, *slot_9, *slot_10;
    std::int32_t (*pinned)(); // 11: non-zero pins the thread limit at 1
    void* slot_12;
};

struct descriptor {
    compute_function* compute_forward;
    compute_function* compute_backward;
    const commit_method* active_method;
    void* method_state;
    const commit_method* const* commit_list;
    std::int32_t io_arg_count;
    std::uint8_t flags;
    std::int32_t magic;
    std::int32_t status;
    dim_tensor user_dims;
    dim_tensor user_batch;
    std::int32_t rank;
    std::int32_t work_rank;
    dim_tensor dims;
    dim_tensor batch;
    lifecycle_function* decommit;
    lifecycle_function* destroy;
    const descriptor_class_table* class_table;
    dft_thread_services* services;
    char name[name_bytes];
    std::int32_t inherited_option;
    std::int32_t forward_domain;
    std::int32_t precision;
    std::int64_t number_of_transforms;
    std::int32_t complex_storage;
    std::int32_t real_storage;
    std::int32_t conjugate_even_storage;
    std::int32_t placement;
    std::int32_t packed_format;
    std::int64_t input_stride;
    std::int64_t output_stride;
    std::int32_t option_inherited_2;
    std::int32_t workspace_policy;
    std::int32_t ordering;
    std::int32_t transpose_policy;
    std::int64_t node_index;
    std::int64_t length;
    void* saved_real_buffers[2];
    double forward_scale_used;
    double backward_scale_used;
    float forward_scale_used_single;
    float backward_scale_used_single;
    double forward_scale;
    double backward_scale;
    std::int64_t log2_length;
    std::int64_t input_offset;
    std::int64_t output_offset;
    std::int64_t input_distance;
    std::int64_t output_distance;
    std::int32_t uses_primitive_plan;
    std::int64_t total_elements;
    descriptor* child;
    kernel_function* backward_kernel;
    kernel_function* forward_kernel;
    parallel_function* parallel_backward;
    parallel_function* parallel_forward;
    kernel_function* real_backward_direct;
    kernel_function* real_forward_direct;
    plane_function* two_level_compute;
    plane_function* real_2d_forward;
    plane_function* real_2d_backward;
    packed_function* real_backward_kernel;
    packed_function* real_forward_kernel;
    std::int64_t longest_length;
    primitive_plan* plan_complex_single;
    primitive_plan* plan_complex_double;
    primitive_plan* plan_split_single;
    primitive_plan* plan_split_double;
    primitive_plan* plan_real_single;
    primitive_plan* plan_real_double;
    primitive_plan* plan_scrambled_single;
    primitive_plan* plan_scrambled_double;
    std::uint64_t node_work_size;
    std::uint64_t work_size;
    std::int32_t user_threads;
    std::int32_t thread_count;
    std::int32_t thread_limit;
    std::int32_t option_inherited_3;
    std::int32_t real_md_pack_flag;
    void* via_2d;
    void (*via_2d_release)(descriptor* d);
    std::int32_t thread_mode;
};

} // namespace vrn::dft
