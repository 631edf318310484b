// core/dft/kernels.hpp - the back-end's names of the transform family by precision.
#pragma once

#include "core/loader/loader.hpp"
#include "dft/descriptor/functions.hpp"

namespace vrn::dft {
template <class R>
struct names;
}

VRN_KERNEL(vrn_dft_s42_dfti_create_node, vrn::dft::create_node_function);
VRN_KERNEL(vrn_dft_s42_dfti_get_version_string, vrn::dft::dft_status(char*, std::int32_t));

// D and Z are the letters of the real and the complex type, P that of the precision.
#define VRN_DFT_TYPE(P, R, D, Z, DZ, ZD, DDZ, ZZD)                                                                   \
    VRN_KERNEL(vrn_dft_s42_dfti_create_##P##c1d, vrn::dft::create_1d_function);                                      \
    VRN_KERNEL(vrn_dft_s42_dfti_create_##P##r1d, vrn::dft::create_1d_function);                                      \
    VRN_KERNEL(vrn_dft_s42_dfti_create_##P##cmd, vrn::dft::create_md_function);                                      \
    VRN_KERNEL(vrn_dft_s42_dfti_create_##P##rmd, vrn::dft::create_md_function);                                      \
    VRN_KERNEL(vrn_dft_s42_commit_descriptor_core_##P##_c2c_1d, vrn::dft::core_commit_function);                     \
    VRN_KERNEL(vrn_dft_s42_commit_descriptor_core_##P##_c2c_md, vrn::dft::core_commit_function);                     \
    VRN_KERNEL(vrn_dft_s42_commit_descriptor_core_##P##_r2c_1d, vrn::dft::core_commit_function);                     \
    VRN_KERNEL(vrn_dft_s42_commit_descriptor_core_##P##_r2c_md, vrn::dft::core_commit_function);                     \
    VRN_KERNEL(vrn_dft_s42_x##Z##_init_data_1d_via_2d, vrn::dft::via_2d_function);                                   \
    VRN_KERNEL(vrn_dft_s42_x##Z##_4step_1_2, vrn::dft::four_step_phase);                                             \
    VRN_KERNEL(vrn_dft_s42_x##Z##_4step_3, vrn::dft::four_step_phase);                                               \
    VRN_KERNEL(vrn_dft_s42_x##Z##forward, vrn::dft::driver_function);                                                \
    VRN_KERNEL(vrn_dft_s42_x##Z##backward, vrn::dft::driver_function);                                               \
    VRN_KERNEL(vrn_dft_s42_x##Z##forward_out, vrn::dft::driver_out_function);                                        \
    VRN_KERNEL(vrn_dft_s42_x##Z##backward_out, vrn::dft::driver_out_function);                                       \
    VRN_KERNEL(vrn_dft_s42_x##D##forward_out, vrn::dft::driver_out_function);                                        \
    VRN_KERNEL(vrn_dft_s42_x##D##backward_out, vrn::dft::driver_out_function);                                       \
    VRN_KERNEL(vrn_dft_s42_x##DZ##forward, vrn::dft::driver_out_function);                                           \
    VRN_KERNEL(vrn_dft_s42_x##ZD##backward, vrn::dft::driver_out_function);                                          \
    VRN_KERNEL(vrn_dft_s42_##Z##2_r_dft, vrn::dft::row_pass);                                                        \
    VRN_KERNEL(vrn_dft_s42_##Z##1_nd_par, vrn::dft::planes_part);                                                    \
    VRN_KERNEL(vrn_dft_s42_##Z##1_nd_out_par, vrn::dft::planes_out_part);                                            \
    VRN_KERNEL(vrn_dft_s42_##Z##2_nd_par, vrn::dft::columns_part);                                                   \
    VRN_KERNEL(vrn_dft_s42_##Z##2_nd_out_par, vrn::dft::columns_part);                                               \
    VRN_KERNEL(vrn_dft_s42_##DZ##2_r_dft, vrn::dft::real_row_pass);                                                  \
    VRN_KERNEL(vrn_dft_s42_##DZ##2_c_dft, vrn::dft::real_part);                                                      \
    VRN_KERNEL(vrn_dft_s42_##ZD##2_c_dft, vrn::dft::real_part);                                                      \
    VRN_KERNEL(vrn_dft_s42_##ZD##2_r_out_dft, vrn::dft::real_part_in_place);                                         \
    VRN_KERNEL(vrn_dft_s42_##DDZ##1_nd_out_par, vrn::dft::real_part);                                                \
    VRN_KERNEL(vrn_dft_s42_##DDZ##2_nd_out_par, vrn::dft::real_units);                                               \
    VRN_KERNEL(vrn_dft_s42_##DDZ##2_c_out_dft, vrn::dft::real_part_in_place);                                        \
    VRN_KERNEL(vrn_dft_s42_##ZZD##2_c_dft, vrn::dft::real_part);                                                     \
    VRN_KERNEL(vrn_dft_s42_##ZZD##2_nd_out_par, vrn::dft::real_units);                                               \
    VRN_KERNEL(vrn_dft_s42_##ZZD##1_nd_out_par, vrn::dft::real_part);                                                \
    VRN_KERNEL(vrn_dft_s42_##ZZD##2_r_out_dft, vrn::dft::real_part_in_place);                                        \
    template <>                                                                                                      \
    struct vrn::dft::names<R> {                                                                                      \
        static constexpr auto& create_c1d = vrn_slot_vrn_dft_s42_dfti_create_##P##c1d;                               \
        static constexpr auto& create_r1d = vrn_slot_vrn_dft_s42_dfti_create_##P##r1d;                               \
        static constexpr auto& create_cmd = vrn_slot_vrn_dft_s42_dfti_create_##P##cmd;                               \
        static constexpr auto& create_rmd = vrn_slot_vrn_dft_s42_dfti_create_##P##rmd;                               \
        static constexpr auto& init_via_2d = vrn_slot_vrn_dft_s42_x##Z##_init_data_1d_via_2d;                        \
        static constexpr auto& columns_phase = vrn_slot_vrn_dft_s42_x##Z##_4step_1_2;                                \
        static constexpr auto& rows_phase = vrn_slot_vrn_dft_s42_x##Z##_4step_3;                                     \
        static constexpr auto& forward = vrn_slot_vrn_dft_s42_x##Z##forward;                                         \
        static constexpr auto& backward = vrn_slot_vrn_dft_s42_x##Z##backward;                                       \
        static constexpr auto& forward_out = vrn_slot_vrn_dft_s42_x##Z##forward_out;                                 \
        static constexpr auto& backward_out = vrn_slot_vrn_dft_s42_x##Z##backward_out;                               \
        static constexpr auto& packed_forward = vrn_slot_vrn_dft_s42_x##D##forward_out;                              \
        static constexpr auto& packed_backward = vrn_slot_vrn_dft_s42_x##D##backward_out;                            \
        static constexpr auto& cce_forward = vrn_slot_vrn_dft_s42_x##DZ##forward;                                    \
        static constexpr auto& cce_backward = vrn_slot_vrn_dft_s42_x##ZD##backward;                                  \
        static constexpr auto& rows = vrn_slot_vrn_dft_s42_##Z##2_r_dft;                                             \
        static constexpr auto& planes = vrn_slot_vrn_dft_s42_##Z##1_nd_par;                                          \
        static constexpr auto& planes_out = vrn_slot_vrn_dft_s42_##Z##1_nd_out_par;                                  \
        static constexpr auto& columns = vrn_slot_vrn_dft_s42_##Z##2_nd_par;                                         \
        static constexpr auto& columns_out = vrn_slot_vrn_dft_s42_##Z##2_nd_out_par;                                 \
        static constexpr auto& packed_rows = vrn_slot_vrn_dft_s42_##DZ##2_r_dft;                                     \
        static constexpr auto& packed_columns = vrn_slot_vrn_dft_s42_##DZ##2_c_dft;                                  \
        static constexpr auto& packed_columns_back = vrn_slot_vrn_dft_s42_##ZD##2_c_dft;                             \
        static constexpr auto& packed_rows_back = vrn_slot_vrn_dft_s42_##ZD##2_r_out_dft;                            \
        static constexpr auto& cce_rows = vrn_slot_vrn_dft_s42_##DDZ##1_nd_out_par;                                  \
        static constexpr auto& cce_units = vrn_slot_vrn_dft_s42_##DDZ##2_nd_out_par;                                 \
        static constexpr auto& cce_columns = vrn_slot_vrn_dft_s42_##DDZ##2_c_out_dft;                                \
        static constexpr auto& cce_carry = vrn_slot_vrn_dft_s42_##ZZD##2_c_dft;                                      \
        static constexpr auto& cce_units_back = vrn_slot_vrn_dft_s42_##ZZD##2_nd_out_par;                            \
        static constexpr auto& cce_rows_back = vrn_slot_vrn_dft_s42_##ZZD##1_nd_out_par;                             \
        static constexpr auto& cce_plane_rows_back = vrn_slot_vrn_dft_s42_##ZZD##2_r_out_dft;                        \
    };

VRN_DFT_TYPE(d, double, d, z, dz, zd, ddz, zzd)
VRN_DFT_TYPE(s, float, s, c, sc, cs, ssc, ccs)
#undef VRN_DFT_TYPE
