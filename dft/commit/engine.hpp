// dft/commit/engine.hpp - the primitive engine and the descriptor's fields by precision, so that a strategy is told
// once for both.
#pragma once

#include "dft/codelets/codelets.hpp"
#include "dft/descriptor/record.hpp"
#include "dft/primitive/primitive.hpp"
#include "frame/services.hpp"
#include "simd/complex.hpp"

#include <algorithm>
#include <type_traits>

namespace vrn::dft {

using simd::cplx;

template <class R>
struct engine;

#define VRN_ENGINE(R, S, word)                                                                                       \
    template <>                                                                                                      \
    struct engine<R> {                                                                                               \
        static constexpr std::int32_t precision = precision_##word;                                                  \
        static constexpr auto create_complex = kprDftInit_Complex_##S, create_split = kprDftInit_Split_##S,          \
                              create_real = kprDftInit_Real_##S, create_scrambled = kprDftInit_Scrambled_##S;        \
        static constexpr auto free_complex = kprDftFree_Complex_##S, free_split = kprDftFree_Split_##S;              \
        static constexpr auto free_real = kprDftFree_Real_##S;                                                       \
        static constexpr auto size_complex = kprDftGetWorkSize_Complex_##S,                                          \
                              size_split = kprDftGetWorkSize_Split_##S, size_real = kprDftGetWorkSize_Real_##S,      \
                              size_scrambled = kprDftGetWorkSize_Scrambled_##S;                                      \
        template <bool Forward>                                                                                      \
        static constexpr auto complex = Forward ? kprDftForward_Complex_##S : kprDftInverse_Complex_##S;             \
        template <bool Forward>                                                                                      \
        static constexpr auto split = Forward ? kprDftForward_Split_##S : kprDftInverse_Split_##S;                   \
        template <bool Forward>                                                                                      \
        static constexpr auto scrambled = Forward ? kprDftForward_Scrambled_##S : kprDftInverse_Scrambled_##S;       \
        template <bool Forward>                                                                                      \
        static constexpr auto ccs = Forward ? kprDftForward_PackedCcs_##S : kprDftInverse_PackedCcs_##S;             \
        template <bool Forward>                                                                                      \
        static constexpr auto pack = Forward ? kprDftForward_PackedPack_##S : kprDftInverse_PackedPack_##S;          \
        template <bool Forward>                                                                                      \
        static constexpr auto perm = Forward ? kprDftForward_PackedPerm_##S : kprDftInverse_PackedPerm_##S;          \
        static constexpr auto& direct = direct_tables_##S;                                                           \
        static constexpr auto& real_direct = real_codelets_##S;                                                      \
        static constexpr auto complex_plan = &descriptor::plan_complex_##word;                                       \
        static constexpr auto split_plan = &descriptor::plan_split_##word;                                           \
        static constexpr auto real_plan = &descriptor::plan_real_##word;                                             \
        static constexpr auto scrambled_plan = &descriptor::plan_scrambled_##word;                                   \
    };
VRN_ENGINE(double, d, double)
VRN_ENGINE(float, s, single)
#undef VRN_ENGINE

template <class R>
using packed_entry = std::int32_t(const R* in, R* out, const primitive_plan* plan, std::byte* work);

// Longest lengths of a node's plan: powers of 2, and all others.
template <class R>
inline constexpr std::int64_t longest_pow2 =
    std::is_same_v<R, double> ? std::int64_t{1} << 26 : std::int64_t{1} << 27;
template <class R>
inline constexpr std::int64_t longest_other =
    std::is_same_v<R, double> ? std::int64_t{1} << 24 : std::int64_t{1} << 25;

inline bool is_pow2(std::int64_t n) { return (n & (n - 1)) == 0; }

template <class R>
bool over_limit(std::int64_t n)
{
    return n > (is_pow2(n) ? longest_pow2<R> : longest_other<R>);
}

// The scale that a wrapper applies, in the node's precision.
template <class R, bool Forward>
R used_scale(const descriptor* d)
{
    if constexpr (std::is_same_v<R, double>) return Forward ? d->forward_scale_used : d->backward_scale_used;
    else return Forward ? d->forward_scale_used_single : d->backward_scale_used_single;
}

// Which scale flag of the engine says this pair of scales; 0 for none. The comparisons are exact on purpose: a scale
// that is nearly 1/n is the user's own.
inline std::int32_t flag_of_scales(double f, double b, std::int64_t n)
{
    const double count = static_cast<double>(n), over = 1.0 / count, root = 1.0 / __builtin_sqrt(count);
    if (f == 1.0 && b == 1.0) return scale_none;
    if (f == over && b == 1.0) return scale_forward_only;
    if (f == 1.0 && b == over) return scale_inverse_only;
    if (f == root && b == root) return scale_both;
    return 0;
}

inline bool unit_scales(const descriptor* d) { return d->forward_scale == 1.0 && d->backward_scale == 1.0; }
inline bool is_inner(const descriptor* d) { return (d->flags & flag_inner) != 0; }

// Processor variant 4 lays work on pages: buffers at one offset of a page do not alias each other there.
inline std::int32_t buffer_alignment() { return vrn_serv_cpu_detect() == 4 ? 4096 : 256; }

template <class T>
T* new_record(std::int32_t alignment = 64)
{
    return static_cast<T*>(vrn_serv_calloc(1, sizeof(T), alignment));
}

// Working memory of a call, returned at the end of its scope. No bytes, no block.
struct buffer {
    void* block;
    explicit buffer(std::uint64_t bytes) : buffer(bytes, buffer_alignment()) {}
    buffer(std::uint64_t bytes, std::int32_t alignment)
        : block(bytes == 0 ? nullptr : vrn_serv_allocate(bytes, alignment))
    {
    }
    buffer(const buffer&) = delete;
    buffer& operator=(const buffer&) = delete;
    ~buffer() { vrn_serv_deallocate(block); }
    explicit operator bool() const { return block != nullptr; }
    template <class T>
    T* as() const
    {
        return static_cast<T*>(block);
    }
};

// Runs work(thread, team) on the host's threads, or here and now where there are none.
template <class Work>
void on_threads(const descriptor* d, std::int64_t threads, Work&& work)
{
    if (threads <= 1 || d->services->run == nullptr) {
        work(0, 1);
        return;
    }
    using W = std::remove_reference_t<Work>;
    d->services->run(
        static_cast<std::int32_t>(threads),
        [](int thread, int team, void* w) { (*static_cast<W*>(w))(thread, team); }, &work);
}

// One thread's share of `count` things; the first threads have one more where it does not divide.
struct share {
    std::int64_t begin, end;
    share(std::int64_t count, int thread, int team) : begin(0), end(count)
    {
        if (team == 1) return; // a division costs a tenth of the smallest transforms
        const std::int64_t each = count / team, more = count % team;
        begin = each * thread + std::min<std::int64_t>(thread, more);
        end = begin + each + (thread < more ? 1 : 0);
    }
};

// The first failure of several threads; any one will do.
struct shared_status {
    dft_status value = ok;
    void operator()(dft_status s)
    {
        if (s != ok) __atomic_store_n(&value, s, __ATOMIC_RELAXED);
    }
    bool failed() const { return __atomic_load_n(&value, __ATOMIC_RELAXED) != ok; }
};

} // namespace vrn::dft
