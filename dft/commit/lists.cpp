// dft/commit/lists.cpp - the eight commit lists. The first strategy that takes a configuration has it; so the special
// stand ahead of the general, and the chirp, which takes what the engine's limits refuse, comes last.

#include "dft/commit/lists.hpp"

#include "dft/commit/strategies.hpp"
#include "dft/descriptor/functions.hpp"

namespace vrn::dft {

namespace {

// The general method: the host builds the chain of nodes and calls back the core commit of the class.
template <core_commit_function* Omp>
dft_status commit_general(const commit_method*, descriptor* d)
{
    if (d->active_method != nullptr) d->decommit(d);
    return Omp(d);
}

template <class R>
void tell_node(const descriptor* node, char* line, int capacity)
{
    using E = engine<R>;
    const bool real = node->forward_domain == domain_real && node->node_index == 0;
    const int n = static_cast<int>(node->length);
    const primitive_plan* plan = real ? node->*E::real_plan
                                 : node->complex_storage == storage_split && node->forward_domain == domain_complex
                                     ? node->*E::split_plan
                                 : node->ordering == ordered ? node->*E::complex_plan
                                                             : node->*E::scrambled_plan;
    if (node->via_2d != nullptr) append(line, capacity, "in two dimensions %d", n);
    else if (node->active_method != nullptr) node->active_method->describe(node, line, capacity);
    else if (real && node->uses_primitive_plan == 0) append(line, capacity, "real codelet %d", n);
    else if (!real && plan != nullptr && node->ordering == ordered && n <= longest_codelet && n >= 2 && !is_pow2(n) &&
             !(node->complex_storage == storage_split && node->forward_domain == domain_complex))
        append(line, capacity, "codelet %d", n);
    else if (plan != nullptr) {
        const int length = append(line, capacity, "");
        describe(plan, line + length, capacity - length);
    }
}

int tell_general(const descriptor* d, char* line, int capacity)
{
    append(line, capacity, "general");
    if (d->number_of_transforms > 1)
        append(line, capacity, ", %d transforms", static_cast<int>(d->number_of_transforms));
    if (d->thread_count > 1) append(line, capacity, ", %d threads", d->thread_count);
    for (const descriptor* node = d; node != nullptr; node = node->child) {
        append(line, capacity, node == d ? ": " : "; ");
        if (d->precision == precision_double) tell_node<double>(node, line, capacity);
        else tell_node<float>(node, line, capacity);
    }
    return append(line, capacity, "");
}

template <core_commit_function* Omp>
constexpr commit_method general = {commit_general<Omp>, nullptr, tell_general};

} // namespace

constinit const commit_method general_dc1d = general<vrn_dft_commit_node_d_c2c_1d_omp>;
constinit const commit_method general_sc1d = general<vrn_dft_commit_node_s_c2c_1d_omp>;
constinit const commit_method general_dcmd = general<vrn_dft_commit_node_d_c2c_md_omp>;
constinit const commit_method general_scmd = general<vrn_dft_commit_node_s_c2c_md_omp>;
constinit const commit_method general_dr1d = general<vrn_dft_commit_node_d_r2c_1d_omp>;
constinit const commit_method general_sr1d = general<vrn_dft_commit_node_s_r2c_1d_omp>;
constinit const commit_method general_drmd = general<vrn_dft_commit_node_d_r2c_md_omp>;
constinit const commit_method general_srmd = general<vrn_dft_commit_node_s_r2c_md_omp>;

#define COMPLEX_1D(list, T, general)                                                                                 \
    const commit_method* list[] = {&split_many_ranks,  &split_batch,      &split_primitive_##T,                      \
                                   &direct_to_128_##T, &direct_to_64_##T, &small_primitive_##T,                      \
                                   &general,           &chirp_z_##T,      nullptr};
COMPLEX_1D(list_dc1d, d, general_dc1d)
COMPLEX_1D(list_sc1d, s, general_sc1d)

#define COMPLEX_MD(list, T, general)                                                                                 \
    const commit_method* list[] = {&slab_3d_##T,    &split_many_ranks, &split_batch, &split_primitive_##T,           \
                                   &small_cube_##T, &small_square_##T, &general,     nullptr};
COMPLEX_MD(list_dcmd, d, general_dcmd)
COMPLEX_MD(list_scmd, s, general_scmd)

#define REAL_1D(list, T, general)                                                                                    \
    const commit_method* list[] = {&factored_real_##T, &general, &real_chirp_z_##T, nullptr};
REAL_1D(list_dr1d, d, general_dr1d)
REAL_1D(list_sr1d, s, general_sr1d)

const commit_method* list_drmd[] = {&slab_3d_real_d,      &slab_2d_real_d, &small_cube_real_d,
                                    &small_square_real_d, &general_drmd,   nullptr};
// Square ahead of cube; their ranks exclude one another.
const commit_method* list_srmd[] = {&slab_3d_real_s,    &slab_2d_real_s, &small_square_real_s,
                                    &small_cube_real_s, &general_srmd,   nullptr};

} // namespace vrn::dft
