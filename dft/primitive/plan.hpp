// dft/primitive/plan.hpp - what the parts of the engine share: records, memory, and the inner entries of each path.
#pragma once

#include "dft/primitive/primitive.hpp"
#include "dft/primitive/stages.hpp"

#include <bit>
#include <cstring>
#include <type_traits>

namespace vrn::dft {

// ---- limits ----
inline constexpr int direct_limit = 16;           // lengths up to it: one codelet
inline constexpr int prime_limit = 90;            // primes up to it: the double loop; odd lengths' last radix
inline constexpr int even_last_radix_limit = 150; // even lengths' last radix
inline constexpr int mixed_limit = 1 << 26;       // lengths that are no power of 2 stay below
inline constexpr int chirp_limit = 1 << 25;       // chirp lengths stay below
inline constexpr int flat_limit = 500;            // a stage on more values than that recurses into its parts
inline constexpr int scrambled_from = 5000;       // scrambled plans leave digits reversed from here
inline constexpr int in_cache_order = 16;         // powers of 2 up to it are one run of stages
inline constexpr int work_slack = 128;            // bytes behind a work area that vectors may read

struct pow2_plan {
    std::int32_t stamp;
    std::int32_t order;
    std::int32_t scale_forward;
    std::int32_t scale_inverse;
    double scale;
    std::int32_t hint;
    std::int32_t work_size;
    std::int32_t table_order;   // of the table that the twiddles came from
    void* twiddle_table;        // two-level plans: the roots between the levels
    std::int32_t* bit_reversal; // input index of each block of the first pass
    void* allocation;           // what kprMalloc gave for this record
    std::int32_t last_stage;
    stage_record stages[8];
    pow2_plan* rows; // the second of two levels
};

// ---- memory ----

inline void* kprMalloc(std::int64_t size) { return size < 1 ? nullptr : vrn_dft_kprMalloc(size); }
inline void kprFree(void* block)
{
    if (block != nullptr) vrn_dft_kprFree(block);
}
// Tables are read by whole vectors, from where the host's memory starts: at least 16 bytes' alignment.
template <class T>
T* kpr_array(std::int64_t count)
{
    return static_cast<T*>(kprMalloc(count * static_cast<std::int64_t>(sizeof(T))));
}
template <class T>
T* aligned64(T* p)
{
    return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(p) + 63) & ~std::uintptr_t{63});
}

// The work of one call: the caller's, or the engine's own for the time of the call.
class work_area {
  public:
    work_area(std::byte* given, std::int32_t size)
    {
        if (given == nullptr && size > 0) own = static_cast<std::byte*>(kprMalloc(size));
        at = aligned64(given != nullptr ? given : own);
        bad = size > 0 && given == nullptr && own == nullptr;
    }
    ~work_area() { kprFree(own); }
    work_area(const work_area&) = delete;
    work_area& operator=(const work_area&) = delete;
    bool failed() const { return bad; }
    std::byte* get() const { return at; }

  private:
    std::byte *own = nullptr, *at = nullptr;
    bool bad = false;
};

enum class direction { forward, inverse };

template <class R>
void scale_reals(R* x, std::int64_t count, R by)
{
    const vec<R> all = vec<R>::all(by);
    std::int64_t i = 0;
    for (; i + vec<R>::lanes <= count; i += vec<R>::lanes) (all * vec<R>::loadu(x + i)).storeu(x + i);
    for (; i < count; ++i) x[i] *= by;
}

// ---- flags and scales ----

struct scale_words {
    std::int32_t forward, inverse;
    double scale;
};
// False for anything but 1, 2, 4 and 8.
bool scale_words_of(std::int32_t flag, std::int32_t length, scale_words& words);

// ---- stages ----

// Fills radix, remaining, product and twiddle_count of stages for `length` = product of `radices`.
void lay_out(stage_record* stages, const std::int32_t* radices, int count, std::int32_t length);
// Input index of each block of the last stage.
std::int32_t* make_permutation(const stage_record* stages, int last);
template <class R>
void* make_prime_table(int p);
// Tables of twiddles and primes. False on a lack of memory, with what was built in place.
template <class R>
bool make_stage_tables(stage_record* stages, int last);
void free_stage_tables(stage_record* stages, int last);

// The passes in order, from in through work to out. `limit`: a stage on more values recurses.
template <class R, layout L>
void run_stages(const stage_record* stages, int last, const std::int32_t* permutation, int limit, direction d,
                const R* in, R* out, R* work);

// ---- powers of 2 ----
template <class R>
std::int32_t make_pow2(pow2_plan** plan_out, std::int32_t order, std::int32_t flag, std::int32_t hint);
void free_pow2(pow2_plan* plan);
template <class R>
void run_pow2(const pow2_plan* plan, direction d, const R* in, R* out, std::byte* work);

// ---- chirps ----
template <class R>
std::int32_t make_chirp(primitive_plan& plan);
template <class R>
void run_chirp(const primitive_plan& plan, direction d, const R* in, R* out, std::byte* work);

// ---- complex plans, the heart of every other kind ----
// Stages and work of a length that the factor rule takes, complex or odd and real; else kpr_bad_length.
template <class R>
std::int32_t build_mixed(primitive_plan& plan);
void free_plan(primitive_plan* raw);

// A new plan of a kind: checks, record, scale words; `build` does the rest and what it made is freed if it fails.
template <class Build>
std::int32_t make_plan(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                       plan_stamp stamp, Build&& build)
{
    if (plan_out == nullptr) return kpr_null;
    if (length < 1) return kpr_bad_length;
    scale_words words;
    if (!scale_words_of(flag, length, words)) return kpr_bad_flag;
    auto* raw = static_cast<primitive_plan*>(kprMalloc(sizeof(primitive_plan) + 64));
    if (raw == nullptr) return kpr_no_memory;
    primitive_plan& plan = *aligned64(raw);
    std::memset(static_cast<void*>(&plan), 0, sizeof plan);
    plan.stamp = stamp;
    plan.length = length;
    plan.scale_forward = words.forward, plan.scale_inverse = words.inverse, plan.scale = words.scale;
    plan.hint = hint;
    const std::int32_t status = build(plan);
    if (status == kpr_ok) *plan_out = raw;
    else free_plan(raw);
    return status;
}

template <class R>
std::int32_t make_complex(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                          plan_stamp stamp);
// The transform without its scale; `work` is aligned and large enough.
template <class R>
void run_complex(const primitive_plan* plan, direction d, const R* in, R* out, std::byte* work);

// ---- the other kinds ----
template <class R>
std::int32_t make_split(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                        plan_stamp stamp);
template <class R>
std::int32_t make_scrambled(primitive_plan** plan_out, std::int32_t length, std::int32_t flag, std::int32_t hint,
                            plan_stamp stamp);
template <class R>
void run_scrambled(const primitive_plan& plan, direction d, const R* in, R* out, std::byte* work);

} // namespace vrn::dft
