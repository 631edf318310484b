// dft/primitive/primitive.hpp - the primitive engine: one contiguous one-dimensional transform on one thread.
//
//     X[k] = sum over j of x[j] exp(-+ 2 pi i j k / n)      forward -, inverse +
//
// A plan is made once and read-only afterwards: any number of threads may compute with it, each with its own work.
// Two copies of one form: _d on doubles, _s on singles. Complex data is passed as pointers to reals, interleaved,
// aligned for its reals only. in and out are the same array or do not overlap; out of place `in` is not written.
// Called by the descriptor layers; knows nothing of descriptors. Cooley and Tukey (1965), Good (1958), Bluestein
// (1970).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vrn::dft {

// Status numbers of the engine.
inline constexpr std::int32_t kpr_ok = 0;
inline constexpr std::int32_t kpr_bad_length = -6;
inline constexpr std::int32_t kpr_null = -8;
inline constexpr std::int32_t kpr_no_memory = -9;
inline constexpr std::int32_t kpr_bad_order = -15;
inline constexpr std::int32_t kpr_bad_flag = -16;
inline constexpr std::int32_t kpr_bad_stamp = -17;

// What callers of the descriptor layers see of them: 0 stays, out of memory is 1, anything else 7.
constexpr std::int32_t dft_status_of(std::int32_t status)
{
    return status == kpr_ok ? 0 : status == kpr_no_memory ? 1 : 7;
}

// Which directions a plan scales. `scale_both` is by 1/sqrt(n), the other two by 1/n.
enum scale_flag : std::int32_t { scale_forward_only = 1, scale_inverse_only = 2, scale_both = 4, scale_none = 8 };

// The kind of a plan is its stamp; a freed plan has none.
enum plan_stamp : std::int32_t {
    stamp_none = 0,
    stamp_pow2 = 7,
    stamp_complex = 16,
    stamp_split = 17,
    stamp_real = 18,
    stamp_scrambled = 0x434d414b
};

struct pow2_plan;
struct primitive_plan;

// One radix of a mixed-radix plan: blocks of radix * remaining values, `product` of them.
struct stage_record {
    std::int32_t radix;
    std::int32_t remaining;     // the length left after this radix
    std::int32_t product;       // the radices before it
    std::int32_t twiddle_count; // product; 1 where a scrambled plan folds its blocks' twiddles into one table
    void* prime_table;          // odd radix above 13: its roots and their indices
    void* twiddles;             // radix * remaining complex values, by vectors (stages.hpp)
    std::int32_t batching;      // the outermost stage: how many of its parts go together; 0 is 1
    std::int32_t reserved;
};

// 2^26 has 13 factors of 4; below it no rule gives more than 16 (3^16), and one more for the remaining factor.
inline constexpr int max_stages = 20;

struct primitive_plan {
    std::int32_t stamp;
    std::int32_t length;
    std::int32_t scale_forward; // 1: the forward result is scaled
    std::int32_t scale_inverse;
    double scale;
    std::int32_t hint;           // stored only
    std::int32_t work_size;      // bytes that compute needs, 0 for none
    std::int32_t is_pow2;        // the inner pow2 plan does it all
    std::int32_t scrambled_mode; // scrambled and at least 5000 long: in place, digits left reversed
    std::int32_t chirp_length;
    void* prime_table;    // the roots of a prime length below 91
    void* tables[4];      // [0] real plans: exp(-2 pi i k / n) of the post-processing; [1] to [3] unused
    void* chirp_sequence; // `length` complex values
    void* chirp_filter;   // `chirp_length` complex values
    pow2_plan* pow2;
    primitive_plan* conv_plan; // inner complex plan of the chirp path; of a real plan, its complex plan
    std::int32_t mixed_radix;  // 1: the stages are in use
    std::int32_t last_stage;
    std::int32_t* permutation; // input index of each block of the last stage
    stage_record stages[max_stages];
};

// One line that tells how a plan computes, "complex 1000 = 5 5 5 leaf 8" for instance; for tests and reports. Stages
// come outermost first; "(codelet)" follows where one codelet runs them all.
// Writes at most `capacity` bytes with a terminator and returns what the whole line has.
int describe(const primitive_plan* plan, char* line, int capacity);

extern "C" {

// R is double or float by suffix. Creators: 0, -6, -8, -9 or -16. `plan_out` is written on success only.
// `work` is null, and the entry takes and frees its own, or work_size bytes at any alignment.
#define VRN_KPR(S, R)                                                                                                \
    std::int32_t kprDftInit_Complex_##S(primitive_plan** plan_out, std::int32_t length, std::int32_t flag,           \
                                        std::int32_t hint);                                                          \
    std::int32_t kprDftInit_Split_##S(primitive_plan** plan_out, std::int32_t length, std::int32_t flag,             \
                                      std::int32_t hint);                                                            \
    std::int32_t kprDftInit_Real_##S(primitive_plan** plan_out, std::int32_t length, std::int32_t flag,              \
                                     std::int32_t hint);                                                             \
    std::int32_t kprDftInit_Scrambled_##S(primitive_plan** plan_out, std::int32_t length, std::int32_t flag,         \
                                          std::int32_t hint);                                                        \
    std::int32_t kprDftFree_Complex_##S(primitive_plan* plan);                                                       \
    std::int32_t kprDftFree_Split_##S(primitive_plan* plan);                                                         \
    std::int32_t kprDftFree_Real_##S(primitive_plan* plan);                                                          \
    std::int32_t kprDftFree_Scrambled_##S(primitive_plan* plan);                                                     \
    std::int32_t kprDftGetWorkSize_Complex_##S(const primitive_plan* plan, std::int32_t* size_out);                  \
    std::int32_t kprDftGetWorkSize_Split_##S(const primitive_plan* plan, std::int32_t* size_out);                    \
    std::int32_t kprDftGetWorkSize_Real_##S(const primitive_plan* plan, std::int32_t* size_out);                     \
    std::int32_t kprDftGetWorkSize_Scrambled_##S(const primitive_plan* plan, std::int32_t* size_out);                \
    std::int32_t kprDftForward_Complex_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);        \
    std::int32_t kprDftInverse_Complex_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);        \
    std::int32_t kprDftForward_Split_##S(const R* in_re, const R* in_im, R* out_re, R* out_im,                       \
                                         const primitive_plan* plan, std::byte* work);                               \
    std::int32_t kprDftInverse_Split_##S(const R* in_re, const R* in_im, R* out_re, R* out_im,                       \
                                         const primitive_plan* plan, std::byte* work);                               \
    std::int32_t kprDftForward_Scrambled_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);      \
    std::int32_t kprDftInverse_Scrambled_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);      \
    std::int32_t kprDftForward_PackedPerm_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);     \
    std::int32_t kprDftInverse_PackedPerm_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);     \
    std::int32_t kprDftForward_PackedPack_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);     \
    std::int32_t kprDftInverse_PackedPack_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);     \
    std::int32_t kprDftForward_PackedCcs_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);      \
    std::int32_t kprDftInverse_PackedCcs_##S(const R* in, R* out, const primitive_plan* plan, std::byte* work);
VRN_KPR(d, double)
VRN_KPR(s, float)
#undef VRN_KPR

// The host's memory for plans and their work.
#pragma GCC visibility push(default)
void* vrn_dft_kprMalloc(std::int64_t size);
void vrn_dft_kprFree(void* block);
#pragma GCC visibility pop

} // extern "C"

} // namespace vrn::dft
