// dft/descriptor/creators.cpp - the creators by precision, domain and rank, and the small services of a descriptor.

#include "dft/commit/lists.hpp"
#include "dft/descriptor/functions.hpp"
#include "frame/export.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <cstring>

using namespace vrn::dft;

namespace {

dft_status create(descriptor** out, std::int32_t precision, std::int32_t domain, std::int32_t rank,
                  const std::int64_t* lengths, const commit_method* const* list)
{
    const dft_status status = vrn_dft_s42_dfti_create_node(out, precision, domain, rank, lengths);
    if (status == ok) (*out)->commit_list = list;
    return status;
}

} // namespace

#define CREATE_1D(name, precision, domain, list)                                                                     \
    VRN_EXPORT dft_status name(descriptor** out, std::int64_t length)                                                \
    {                                                                                                                \
        if (out == nullptr) return bad_configuration;                                                                \
        return length == 0 ? bad_length : create(out, precision, domain, 1, &length, list);                          \
    }
CREATE_1D(vrn_dft_s42_dfti_create_dc1d, precision_double, domain_complex, list_dc1d)
CREATE_1D(vrn_dft_s42_dfti_create_dr1d, precision_double, domain_real, list_dr1d)
CREATE_1D(vrn_dft_s42_dfti_create_sc1d, precision_single, domain_complex, list_sc1d)
CREATE_1D(vrn_dft_s42_dfti_create_sr1d, precision_single, domain_real, list_sr1d)

#define CREATE_MD(name, precision, domain, list)                                                                     \
    VRN_EXPORT dft_status name(descriptor** out, std::int32_t rank, const std::int64_t* lengths)                     \
    {                                                                                                                \
        if (out == nullptr) return bad_configuration;                                                                \
        return rank < 1 ? bad_length : create(out, precision, domain, rank, lengths, list);                          \
    }
CREATE_MD(vrn_dft_s42_dfti_create_dcmd, precision_double, domain_complex, list_dcmd)
CREATE_MD(vrn_dft_s42_dfti_create_drmd, precision_double, domain_real, list_drmd)
CREATE_MD(vrn_dft_s42_dfti_create_scmd, precision_single, domain_complex, list_scmd)
CREATE_MD(vrn_dft_s42_dfti_create_srmd, precision_single, domain_real, list_srmd)

// In place or split: one array more for each. A real forward transform out of place has two arrays like any other.
VRN_EXPORT std::int32_t vrn_dft_s42_determine_nioargs(const descriptor* node)
{
    const bool split = node->forward_domain == domain_complex && node->complex_storage == storage_split;
    return (node->placement == in_place ? 1 : 2) * (split ? 2 : 1);
}

VRN_EXPORT dft_status vrn_dft_s42_free_allocated_buffers(descriptor* d)
{
    if (auto* inner = static_cast<descriptor*>(d->method_state); inner != nullptr) inner->destroy(inner);
    d->method_state = nullptr;
    return ok;
}

VRN_EXPORT dft_status vrn_dft_s42_dfti_get_version_string(char* buffer, std::int32_t buffer_length)
{
    char text[198] = {};
    vrn_serv_get_version_string_c(text, sizeof text);
    const auto most = static_cast<std::size_t>(std::clamp<std::int32_t>(buffer_length, 0, sizeof text));
    // No terminator: the buffer belongs to callers who pad with blanks.
    std::memcpy(buffer, text, strnlen(text, most));
    return ok;
}

namespace {

// What the older creator hands out: one block of nodes with their products ready, no descriptor.
struct chain_node {
    std::int32_t magic, precision, domain, rank;
    std::int32_t complex_storage, real_storage, conjugate_even_storage, placement, packed_format, ordering;
    std::int32_t workspace_policy, transpose_policy;
    double forward_scale, backward_scale;
    float forward_scale_single, backward_scale_single;
    std::int64_t product, counted_product; // of all lengths up to this one; with the first counted as n / 2 + 1
    std::int64_t input_stride, output_stride, index, length, counted_length;
    chain_node *next, *previous;
};

} // namespace

VRN_EXPORT dft_status vrn_dft_s42_create_descriptor_md(chain_node** out, std::int32_t precision, std::int32_t domain,
                                                       std::int32_t rank, const std::int64_t* lengths)
{
    const auto nodes = static_cast<std::uint64_t>(std::max(rank, 1));
    auto* block = static_cast<chain_node*>(vrn_serv_malloc(nodes * sizeof(chain_node), descriptor_alignment));
    if (block == nullptr) return no_memory;
    std::memset(static_cast<void*>(block), 0, nodes * sizeof(chain_node));
    if (domain == domain_real && rank >= 4) {
        vrn_serv_free(block);
        return bad_rank;
    }
    chain_node& first = block[0];
    first.precision = precision, first.domain = domain;
    first.complex_storage = storage_complex, first.real_storage = storage_split;
    first.conjugate_even_storage = storage_complex_real, first.placement = in_place;
    first.packed_format = format_ccs, first.ordering = ordered;
    first.workspace_policy = workspace_default, first.transpose_policy = transpose_default;
    first.product = first.counted_product = 1;
    std::int64_t product = 1, counted = 1;
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(nodes); ++i) {
        chain_node& node = block[i];
        node.magic = descriptor_magic, node.rank = rank, node.index = i;
        node.forward_scale = node.backward_scale = 1.0;
        node.forward_scale_single = node.backward_scale_single = 1.0F;
        if (i >= rank) break;
        node.length = lengths[i];
        node.counted_length = i == 0 ? lengths[0] / 2 + 1 : lengths[i];
        node.input_stride = node.output_stride = product;
        node.product = product *= node.length;
        node.counted_product = counted *= node.counted_length;
        node.previous = i > 0 ? &node - 1 : nullptr;
        node.next = i + 1 < rank ? &node + 1 : nullptr;
    }
    *out = block;
    return ok;
}
