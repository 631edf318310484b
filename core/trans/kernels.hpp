// core/trans/kernels.hpp - the back-end's names of the transposition family by element type.
#pragma once

#include "core/loader/loader.hpp"
#include "trans/functions.hpp"

#define VRN_TRANS_TYPE(t, E)                                                                                         \
    VRN_KERNEL(vrn_trans_s42_vrn_##t##omatcopy, vrn::trans::omatcopy_function<E>);                                   \
    VRN_KERNEL(vrn_trans_s42_vrn_##t##omatcopy2, vrn::trans::omatcopy2_function<E>);                                 \
    VRN_KERNEL(vrn_trans_s42_vrn_##t##omatcopy2_seq, vrn::trans::omatcopy2_function<E>);                             \
    VRN_KERNEL(vrn_trans_s42_vrn_##t##imatcopy, vrn::trans::imatcopy_function<E>);                                   \
    VRN_KERNEL(vrn_trans_s42_vrn_##t##omatadd, vrn::trans::omatadd_function<E>);                                     \
    template <>                                                                                                      \
    struct vrn::trans::kernels<E> {                                                                                  \
        static constexpr auto& omatcopy = vrn_slot_vrn_trans_s42_vrn_##t##omatcopy;                                  \
        static constexpr auto& omatcopy2 = vrn_slot_vrn_trans_s42_vrn_##t##omatcopy2;                                \
        static constexpr auto& omatcopy2_seq = vrn_slot_vrn_trans_s42_vrn_##t##omatcopy2_seq;                        \
        static constexpr auto& imatcopy = vrn_slot_vrn_trans_s42_vrn_##t##imatcopy;                                  \
        static constexpr auto& omatadd = vrn_slot_vrn_trans_s42_vrn_##t##omatadd;                                    \
    };

namespace vrn::trans {
template <class E>
struct kernels;
}

VRN_TRANS_TYPE(s, float)
VRN_TRANS_TYPE(d, double)
VRN_TRANS_TYPE(c, vrn::simd::cplx<float>)
VRN_TRANS_TYPE(z, vrn::simd::cplx<double>)
#undef VRN_TRANS_TYPE
