// core/dft/entries.cpp - the public transforms: checks, then the descriptor's own functions.
//
// A descriptor is known by its stamp. The setters go through the class table, and undo the commit where that does
// not; the two spellings that other families import stand on the same functions.

#include "vrn/dft.h"

#include "core/dft/kernels.hpp"
#include "core/threads/threads.hpp"
#include "dft/descriptor/services.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

// The record is opaque to programs.
struct vrn_dft_record : vrn::dft::descriptor {};

namespace vrn::dft {
namespace {

using vrn::loader::backend;

constexpr std::int32_t not_committed = VRN_DFT_NOT_COMMITTED, bad_value = VRN_DFT_BAD_VALUE;
constexpr std::int32_t ordering_scrambled = VRN_DFT_SCRAMBLED;

struct text_of_status {
    std::int32_t status;
    const char* text;
};
constexpr text_of_status texts[] = {
    {ok, "success"},
    {no_memory, "out of memory"},
    {bad_length, "a length or the rank is out of range"},
    {bad_configuration, "no transform exists for this configuration, or the handle or parameter is none"},
    {not_committed, "the descriptor is not committed"},
    {bad_value, "a parameter's value is out of range, or an array is missing"},
    {bad_rank, "more dimensions than this storage takes"},
    {internal_failure, "internal failure"},
    {too_long, "a length is over the limit of its kind"},
};

// Inner statuses that only move a commit on are no reader's business.
std::int32_t public_status(dft_status s)
{
    return s == declined || s == no_match || s == no_factors ? bad_configuration : s;
}

bool usable(const descriptor* d) { return d != nullptr && d->magic == descriptor_magic; }

// ---- threads, as the back-end asks for them ----

std::int32_t thread_mode() { return 1; }
std::int32_t most_threads() { return vrn::threads::available(); }
std::int32_t pinned() { return vrn::threads::single() ? 1 : 0; }
void run_workers(std::int32_t threads, worker_function* worker, void* argument)
{
    vrn::threads::run(threads, [&](int thread, int team) { worker(thread, team, argument); });
}

// Once a process: the table is the same for every descriptor, and this is initialised before any use of it.
void fill_services(dft_thread_services* services)
{
    static const bool filled = [services] {
        services->mode = thread_mode;
        services->max_threads = services->thread_count = most_threads;
        services->run = run_workers;
        services->pinned = pinned;
        return true;
    }();
    static_cast<void>(filled);
}

std::int32_t create(descriptor** out, std::int32_t precision, std::int32_t domain, std::int32_t rank,
                    const std::int64_t* lengths)
{
    if (out == nullptr) return bad_configuration;
    *out = nullptr;
    if ((precision != precision_single && precision != precision_double) ||
        (domain != domain_complex && domain != domain_real))
        return bad_value;
    if (rank < 1) return bad_length;
    if (lengths == nullptr) return bad_value;
    // The product counts elements: it must fit, with room for bytes.
    std::int64_t product = 16;
    for (std::int32_t i = 0; i < rank; ++i)
        if (lengths[i] < 1 || __builtin_mul_overflow(product, lengths[i], &product)) return bad_length;
    auto make = [&](auto& line, auto& more) {
        return rank == 1 ? backend(line)(out, lengths[0]) : backend(more)(out, rank, lengths);
    };
    using D = names<double>;
    using S = names<float>;
    const bool wide = precision == precision_double, complex = domain == domain_complex;
    const dft_status s = wide ? (complex ? make(D::create_c1d, D::create_cmd) : make(D::create_r1d, D::create_rmd))
                              : (complex ? make(S::create_c1d, S::create_cmd) : make(S::create_r1d, S::create_rmd));
    if (s == ok) fill_services((*out)->services);
    return public_status(s);
}

std::int32_t release(descriptor** handle)
{
    if (handle == nullptr || *handle == nullptr) return ok;
    if (!usable(*handle)) return bad_configuration;
    (*handle)->magic = 0;
    (*handle)->destroy(*handle);
    *handle = nullptr;
    return ok;
}

// ---- parameters that are whole numbers ----

// A field, what it may hold and whether a program may set it.
struct parameter {
    std::int32_t key;
    std::int32_t descriptor::*field;
    bool settable;
    std::int32_t values[4]; // ended by 0; none: any value
};
constexpr parameter parameters[] = {
    {VRN_DFT_PRECISION, &descriptor::precision, false, {}},
    {VRN_DFT_DOMAIN, &descriptor::forward_domain, false, {}},
    {VRN_DFT_RANK, &descriptor::rank, false, {}},
    {VRN_DFT_COMPLEX_STORAGE, &descriptor::complex_storage, true, {storage_complex, storage_split}},
    {VRN_DFT_REAL_STORAGE, &descriptor::real_storage, true, {storage_split}},
    {VRN_DFT_SPECTRUM_STORAGE, &descriptor::conjugate_even_storage, true, {storage_complex_real, storage_complex}},
    {VRN_DFT_PLACEMENT, &descriptor::placement, true, {in_place, not_in_place}},
    {VRN_DFT_ORDERING, &descriptor::ordering, true, {ordered, ordering_scrambled}},
    {VRN_DFT_WORKSPACE, &descriptor::workspace_policy, true, {workspace_default, workspace_prefer_2d}},
    {VRN_DFT_TRANSPOSITION, &descriptor::transpose_policy, true, {transpose_default}},
    {VRN_DFT_COMMIT_STATUS, &descriptor::status, false, {}},
    {VRN_DFT_PACKED_FORMAT, &descriptor::packed_format, true, {format_ccs, format_pack, format_perm, format_cce}},
    {VRN_DFT_OPTION_1, &descriptor::inherited_option, true, {}},
    {VRN_DFT_OPTION_2, &descriptor::option_inherited_2, true, {}},
    {VRN_DFT_OPTION_3, &descriptor::option_inherited_3, true, {}},
    {VRN_DFT_USER_THREADS, &descriptor::user_threads, true, {}},
};
const parameter* find(std::int32_t key)
{
    const auto* p = std::ranges::find(parameters, key, &parameter::key);
    return p == std::end(parameters) ? nullptr : p;
}

std::int32_t set_int(descriptor* d, std::int32_t key, std::int64_t value)
{
    if (!usable(d)) return bad_configuration;
    const descriptor_class_table& table = *d->class_table;
    switch (key) {
    case VRN_DFT_TRANSFORMS:
        if (value < 1) return bad_value;
        d->decommit(d);
        return table.set_number_of_transforms(d, value);
    case VRN_DFT_INPUT_DISTANCE:
        d->decommit(d);
        return table.set_input_distance(d, value);
    case VRN_DFT_OUTPUT_DISTANCE:
        d->decommit(d);
        return table.set_output_distance(d, value);
    case VRN_DFT_THREADS:
        if (value < 0 || value > vrn::threads::most) return bad_value;
        d->decommit(d);
        return table.set_thread_limit(d, static_cast<std::int32_t>(value));
    default:
        break;
    }
    const parameter* p = find(key);
    if (p == nullptr || !p->settable) return bad_configuration;
    const auto number = static_cast<std::int32_t>(value);
    const bool listed = p->values[0] == 0 || std::ranges::find(p->values, number) != std::end(p->values);
    if (number != value || !listed || (p->values[0] != 0 && number == 0) ||
        (key == VRN_DFT_USER_THREADS && number < 1))
        return bad_value;
    d->decommit(d);
    d->*p->field = number;
    return ok;
}

std::int32_t get_int(const descriptor* d, std::int32_t key, std::int64_t* value)
{
    if (!usable(d)) return bad_configuration;
    if (value == nullptr) return bad_value;
    const descriptor_class_table& table = *d->class_table;
    std::int32_t threads = 0;
    switch (key) {
    case VRN_DFT_TRANSFORMS:
        return table.get_number_of_transforms(d, value);
    case VRN_DFT_INPUT_DISTANCE:
        return table.get_input_distance(d, value);
    case VRN_DFT_OUTPUT_DISTANCE:
        return table.get_output_distance(d, value);
    case VRN_DFT_THREADS:
        table.get_thread_limit(d, &threads);
        *value = threads;
        return ok;
    // A copy has no status of its own before its first commit.
    case VRN_DFT_COMMIT_STATUS:
        *value = d->status == committed ? committed : uncommitted;
        return ok;
    default:
        break;
    }
    const parameter* p = find(key);
    if (p == nullptr) return bad_configuration;
    *value = d->*p->field;
    return ok;
}

std::int32_t set_ints(descriptor* d, std::int32_t key, const std::int64_t* values, std::int32_t count)
{
    if (!usable(d) || (key != VRN_DFT_INPUT_STRIDES && key != VRN_DFT_OUTPUT_STRIDES)) return bad_configuration;
    if (values == nullptr || count != d->rank + 1 || values[0] < 0) return bad_value;
    const descriptor_class_table& table = *d->class_table;
    return (key == VRN_DFT_INPUT_STRIDES ? table.set_input_strides : table.set_output_strides)(d, values);
}

// ---- commit and compute ----

std::int32_t commit(descriptor* d)
{
    if (!usable(d)) return bad_configuration;
    const dft_status s = d->class_table->commit(d);
    if (s != ok) d->decommit(d);
    return public_status(s);
}

bool is_split(const descriptor* d)
{
    return d->forward_domain == domain_complex && d->complex_storage == storage_split;
}

// In line: between the call and the shortest kernels everything counts.
[[gnu::always_inline]] inline std::int32_t compute(descriptor* d, compute_function* descriptor::*direction, void* in,
                                                   void* out)
{
    if (!usable(d)) [[unlikely]]
        return bad_configuration;
    if (d->status != committed || d->*direction == nullptr) [[unlikely]]
        return not_committed;
    if (is_split(d)) [[unlikely]]
        return bad_configuration;
    const bool apart = d->placement == not_in_place;
    if (in == nullptr || (apart && out == nullptr)) [[unlikely]]
        return bad_value;
    return public_status((d->*direction)(d, in, apart ? out : nullptr));
}

std::int32_t compute_split(descriptor* d, compute_function* descriptor::*direction, void* in_re, void* in_im,
                           void* out_re, void* out_im)
{
    if (!usable(d)) return bad_configuration;
    if (d->status != committed || d->*direction == nullptr) return not_committed;
    if (!is_split(d)) return bad_configuration;
    const bool apart = d->placement == not_in_place;
    void* parts[4] = {in_re, in_im, apart ? out_re : nullptr, apart ? out_im : nullptr};
    if (std::any_of(parts, parts + (apart ? 4 : 2), [](const void* p) { return p == nullptr; })) return bad_value;
    return public_status((d->*direction)(d, parts, nullptr));
}

std::int32_t compute_listed(descriptor* d, compute_function* descriptor::*direction, void* first, std::va_list& rest)
{
    if (!usable(d)) return bad_configuration;
    const bool apart = d->placement == not_in_place;
    if (!is_split(d)) return compute(d, direction, first, apart ? va_arg(rest, void*) : nullptr);
    void* more[3] = {};
    for (int i = 0; i < (apart ? 3 : 1); ++i) more[i] = va_arg(rest, void*);
    return compute_split(d, direction, first, more[0], more[1], more[2]);
}

const char* message(std::int32_t status)
{
    const auto* t = std::ranges::find(texts, status, &text_of_status::status);
    return t == std::end(texts) ? "no such status" : t->text;
}

} // namespace
} // namespace vrn::dft

using namespace vrn::dft;

// ---- public ----

extern "C" {

int32_t vrn_dft_create(vrn_dft_handle* handle, int32_t precision, int32_t domain, int32_t rank,
                       const int64_t* lengths)
{
    descriptor* d = nullptr;
    const std::int32_t s = handle == nullptr ? static_cast<std::int32_t>(bad_configuration)
                                             : create(&d, precision, domain, rank, lengths);
    if (handle != nullptr) *handle = static_cast<vrn_dft_handle>(d);
    return s;
}
int32_t vrn_dft_clone(vrn_dft_handle handle, vrn_dft_handle* copy)
{
    if (!usable(handle) || copy == nullptr) return bad_configuration;
    descriptor* d = nullptr;
    const dft_status s = handle->class_table->clone(handle, &d);
    // The class table's copies get their normalised form at commit.
    *copy = static_cast<vrn_dft_handle>(d);
    return public_status(s);
}
int32_t vrn_dft_free(vrn_dft_handle* handle)
{
    descriptor* d = handle == nullptr ? nullptr : *handle;
    const std::int32_t s = release(&d);
    if (s == ok && handle != nullptr) *handle = nullptr;
    return s;
}

int32_t vrn_dft_set_int(vrn_dft_handle handle, int32_t key, int64_t value) { return set_int(handle, key, value); }
int32_t vrn_dft_get_int(vrn_dft_handle handle, int32_t key, int64_t* value) { return get_int(handle, key, value); }
int32_t vrn_dft_set_double(vrn_dft_handle handle, int32_t key, double value)
{
    return usable(handle) ? handle->class_table->set_scale(handle, key, value)
                          : static_cast<std::int32_t>(bad_configuration);
}
int32_t vrn_dft_get_double(vrn_dft_handle handle, int32_t key, double* value)
{
    if (!usable(handle)) return bad_configuration;
    return value == nullptr ? bad_value : handle->class_table->get_scale(handle, key, value);
}
int32_t vrn_dft_set_ints(vrn_dft_handle handle, int32_t key, const int64_t* values, int32_t count)
{
    return set_ints(handle, key, values, count);
}
int32_t vrn_dft_get_ints(vrn_dft_handle handle, int32_t key, int64_t* values, int32_t count)
{
    if (!usable(handle)) return bad_configuration;
    const bool lengths = key == VRN_DFT_LENGTHS;
    if (!lengths && key != VRN_DFT_INPUT_STRIDES && key != VRN_DFT_OUTPUT_STRIDES) return bad_configuration;
    if (values == nullptr || count < handle->rank + (lengths ? 0 : 1)) return bad_value;
    const descriptor_class_table& table = *handle->class_table;
    return (lengths                        ? table.get_lengths
            : key == VRN_DFT_INPUT_STRIDES ? table.get_input_strides
                                           : table.get_output_strides)(handle, values);
}
int32_t vrn_dft_set_name(vrn_dft_handle handle, const char* name, int32_t length)
{
    if (!usable(handle)) return bad_configuration;
    return name == nullptr || length < 0 ? bad_value : handle->class_table->set_name(handle, name, length, ' ');
}
int32_t vrn_dft_get_name(vrn_dft_handle handle, char* name, int32_t capacity)
{
    if (!usable(handle)) return bad_configuration;
    return name == nullptr || capacity < 0 ? bad_value : handle->class_table->get_name(handle, name, capacity);
}

int32_t vrn_dft_commit(vrn_dft_handle handle) { return commit(handle); }
int32_t vrn_dft_forward(vrn_dft_handle handle, void* in, void* out)
{
    return compute(handle, &descriptor::compute_forward, in, out);
}
int32_t vrn_dft_backward(vrn_dft_handle handle, void* in, void* out)
{
    return compute(handle, &descriptor::compute_backward, in, out);
}
int32_t vrn_dft_forward_split(vrn_dft_handle handle, void* in_re, void* in_im, void* out_re, void* out_im)
{
    return compute_split(handle, &descriptor::compute_forward, in_re, in_im, out_re, out_im);
}
int32_t vrn_dft_backward_split(vrn_dft_handle handle, void* in_re, void* in_im, void* out_re, void* out_im)
{
    return compute_split(handle, &descriptor::compute_backward, in_re, in_im, out_re, out_im);
}

int32_t vrn_dft_is_class(int32_t status, int32_t status_class) { return status == status_class ? 1 : 0; }
const char* vrn_dft_message(int32_t status) { return message(status); }
int32_t vrn_dft_describe(vrn_dft_handle handle, char* line, int32_t capacity)
{
    if (!usable(handle)) return bad_configuration;
    if (line == nullptr || capacity < 1) return bad_value;
    line[0] = '\0';
    // The first strategy of any list leads to the one that has the descriptor.
    (*handle->commit_list)->describe_plan(handle, line, capacity);
    return ok;
}

// ---- imports of other families ----

#define CREATE(suffix, precision)                                                                                    \
    std::int32_t vrn_dft_dfticreatedescriptor_##suffix##_1d(descriptor** handle, std::int32_t domain,                \
                                                            std::int64_t length)                                     \
    {                                                                                                                \
        return create(handle, precision, domain, 1, &length);                                                        \
    }                                                                                                                \
    std::int32_t vrn_dft_dfticreatedescriptor_##suffix##_md(descriptor** handle, std::int32_t domain,                \
                                                            std::int32_t rank, const std::int64_t* lengths)          \
    {                                                                                                                \
        return create(handle, precision, domain, rank, lengths);                                                     \
    }
CREATE(d, precision_double)
CREATE(s, precision_single)

std::int32_t vrn_dft_dftisetvalue(descriptor* handle, std::int32_t key, ...)
{
    if (!usable(handle)) return bad_configuration;
    std::va_list value;
    va_start(value, key);
    std::int32_t s = ok;
    if (key == VRN_DFT_FORWARD_SCALE || key == VRN_DFT_BACKWARD_SCALE)
        s = handle->class_table->set_scale(handle, key, va_arg(value, double));
    else if (key == VRN_DFT_INPUT_STRIDES || key == VRN_DFT_OUTPUT_STRIDES)
        s = set_ints(handle, key, va_arg(value, const std::int64_t*), handle->rank + 1);
    else if (key == VRN_DFT_TRANSFORMS || key == VRN_DFT_INPUT_DISTANCE || key == VRN_DFT_OUTPUT_DISTANCE)
        s = set_int(handle, key, va_arg(value, std::int64_t));
    else s = set_int(handle, key, va_arg(value, int));
    va_end(value);
    return s;
}
std::int32_t vrn_dft_dfticommitdescriptor(descriptor* handle) { return commit(handle); }
std::int32_t vrn_dft_dfticomputeforward(descriptor* handle, void* in, ...)
{
    std::va_list rest;
    va_start(rest, in);
    const std::int32_t s = compute_listed(handle, &descriptor::compute_forward, in, rest);
    va_end(rest);
    return s;
}
std::int32_t vrn_dft_dfticomputebackward(descriptor* handle, void* in, ...)
{
    std::va_list rest;
    va_start(rest, in);
    const std::int32_t s = compute_listed(handle, &descriptor::compute_backward, in, rest);
    va_end(rest);
    return s;
}
std::int32_t vrn_dft_dftifreedescriptor(descriptor** handle) { return release(handle); }
std::int32_t vrn_dft_dftierrorclass(std::int32_t status, std::int32_t status_class)
{
    return vrn_dft_is_class(status, status_class);
}

#define CREATE_BY_REFERENCE(name, R, wanted)                                                                         \
    std::int32_t name(descriptor** handle, const R* precision, const std::int32_t* domain,                           \
                      const std::int32_t* dimension, const std::int64_t* length)                                     \
    {                                                                                                                \
        if (*precision != static_cast<R>(wanted) || *dimension != 1) return bad_value;                               \
        return create(handle, wanted, *domain, 1, length);                                                           \
    }
CREATE_BY_REFERENCE(vrn_dft_dfti_create_descriptor_d_1d, double, precision_double)
CREATE_BY_REFERENCE(vrn_dft_dfti_create_descriptor_s_1d, float, precision_single)

std::int32_t vrn_dft_dfti_set_value_intval(descriptor** handle, const std::int32_t* key, const std::int32_t* value)
{
    return set_int(*handle, *key, *value);
}
std::int32_t vrn_dft_dfti_commit_descriptor_external(descriptor** handle) { return commit(*handle); }

#define COMPUTE_BY_REFERENCE(name, R, direction)                                                                     \
    std::int32_t name(descriptor** handle, R* data)                                                                  \
    {                                                                                                                \
        return compute(*handle, &descriptor::direction, data, nullptr);                                              \
    }
COMPUTE_BY_REFERENCE(vrn_dft_dfti_compute_forward_d, double, compute_forward)
COMPUTE_BY_REFERENCE(vrn_dft_dfti_compute_forward_s, float, compute_forward)
COMPUTE_BY_REFERENCE(vrn_dft_dfti_compute_backward_d, double, compute_backward)
COMPUTE_BY_REFERENCE(vrn_dft_dfti_compute_backward_s, float, compute_backward)

std::int32_t vrn_dft_dfti_free_descriptor_external(descriptor** handle) { return release(handle); }
std::int32_t vrn_dft_dfti_error_message_external(char* text, std::int32_t capacity, std::int32_t status)
{
    if (text == nullptr || capacity < 1) return bad_value;
    std::snprintf(text, static_cast<std::size_t>(capacity), "%s", message(status));
    return ok;
}

// The engine's memory: plans and their work, on cache lines.
void* vrn_dft_kprMalloc(std::int64_t size)
{
    return size < 1 ? nullptr : vrn_serv_malloc(static_cast<std::uint64_t>(size), 64);
}
void vrn_dft_kprFree(void* block) { vrn_serv_free(block); }

} // extern "C"
