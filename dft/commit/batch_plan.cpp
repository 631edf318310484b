// dft/commit/batch_plan.cpp - set-up, choice of width, and run of batch plans.

#include "dft/commit/batch_plan.hpp"

#include "dft/codelets/roots.hpp"
#include "dft/commit/text.hpp"

namespace vrn::dft {

namespace {

struct factors {
    std::int64_t n1 = 0, n2 = 0;
};

// The most even split into two bases; n itself where one pass does. 0 where the length has none.
factors split(std::int64_t n)
{
    if (n <= longest_base) return {n, 1};
    for (std::int64_t a = longest_base; a * a >= n; --a)
        if (n % a == 0 && n / a <= longest_base) {
            factors best{a, n / a};
            for (std::int64_t b = a - 1; b * b >= n; --b)
                if (n % b == 0) best = {b, n / b};
            return best;
        }
    return {};
}

// Kinds of a plan: 1 and 7 have their columns' outputs near each other, 4 and 5 are contiguous, 9 is refused. They
// choose among worker forms elsewhere in the engine; here all accepted kinds share the two passes.
enum plan_kind : int { strided_near = 1, contiguous = 4, contiguous_unit = 5, strided_block = 7, refused = 9 };
plan_kind kind_of(std::int64_t n, std::int64_t in_stride, std::int64_t width)
{
    if (split(n).n1 == 0 || width < 1) return refused;
    return width == 1 ? (in_stride == 1 ? contiguous_unit : contiguous) : width < 33 ? strided_block : strided_near;
}

void release(batch_plan_record* r)
{
    if (r == nullptr) return;
    vrn_serv_free(r->places);
    vrn_serv_free(r->twiddles);
    vrn_serv_free(r);
}

dft_status forget(const commit_method* method, descriptor* node)
{
    if (node->active_method != method) return internal_failure;
    release(static_cast<batch_plan_record*>(node->method_state));
    node->method_state = nullptr;
    return ok;
}

int tell(const descriptor* node, char* line, int capacity)
{
    const auto& r = *static_cast<const batch_plan_record*>(node->method_state);
    return append(line, capacity, "batches %d = %d x %d, width %d", static_cast<int>(r.n), static_cast<int>(r.n1),
                  static_cast<int>(r.n2), static_cast<int>(r.preferred_width));
}

std::int64_t low_bit(std::int64_t s) { return s & -s; }

template <class R>
bool fill_tables(batch_plan_record& r)
{
    const std::int64_t n = r.n, n1 = r.n1, n2 = r.n2;
    constexpr std::int64_t lanes = batch_lanes<R>;
    r.places =
        static_cast<std::int64_t*>(vrn_serv_malloc(static_cast<std::uint64_t>(2 * n) * sizeof(std::int64_t), 64));
    r.twiddles = vrn_serv_malloc(static_cast<std::uint64_t>(2 * lanes * n) * sizeof(R), 64);
    if (r.places == nullptr || r.twiddles == nullptr) return false;
    for (std::int64_t k1 = 0; k1 < (n2 == 1 ? 1 : n1); ++k1)
        for (std::int64_t k2 = 0; k2 < (n2 == 1 ? n1 : n2); ++k2) {
            const std::int64_t k = n2 == 1 ? k2 : k1 + n1 * k2, i = n2 == 1 ? k2 : k1 * n2 + k2;
            r.places[i] = k;
            r.places[n + i] = (n - k) % n;
        }
    auto* w = static_cast<R*>(r.twiddles);
    for (std::int64_t j2 = 0; j2 < n2; ++j2)
        for (std::int64_t k1 = 0; k1 < n1; ++k1, w += 2 * lanes) {
            const root t = table_root(j2 * k1 % n, n);
            for (std::int64_t i = 0; i < lanes; ++i) {
                w[i] = static_cast<R>(t.cos);
                w[lanes + i] = static_cast<R>(i % 2 == 0 ? t.sin : -t.sin);
            }
        }
    return true;
}

// Which nodes the plans are for: not those that a codelet serves better, nor too long for a few columns to stay in
// the first-level cache.
template <class R>
bool wanted(const descriptor* node, const descriptor* head)
{
    const std::int64_t n = node->length;
    const bool neighbours =
        node == head ? head->input_distance == 1
                     : head->input_stride == 1 && (head->placement == in_place || head->output_stride == 1);
    if (node->ordering != ordered || node->complex_storage != storage_complex || !neighbours || n < 2) return false;
    if constexpr (std::is_same_v<R, double>) return n > longest_codelet && 2048 / n >= 8;
    // 196 measures slower than gathering does; with threads only lengths whose shares come out odd gain.
    return 4096 / n >= 16 && n != 196 && (head->thread_count < 2 || (n - 1) / head->thread_count % 2 != 0);
}

// One pass or two over `width` columns.
template <class R>
void run_plan(const batch_plan_record& r, std::int64_t width, const R* in, std::int64_t in_stride, R* out,
              const std::int64_t* offsets, R* work, R scale)
{
    const auto& k = batch_kernels<R>();
    auto* second = (width == 1 ? k.second_one : k.second)[r.n2 == 1 ? r.n1 : r.n2];
    if (r.n2 == 1) return second(in, in_stride, out, offsets, width, scale);
    auto* first = (width == 1 ? k.first_one : k.first)[r.n1];
    const auto* w = static_cast<const R*>(r.twiddles);
    for (std::int64_t j = 0; j < r.n2; ++j)
        first(in + j * in_stride, r.n2 * in_stride, work + j * 2 * width, r.n2 * 2 * width, width,
              w + j * r.n1 * 2 * batch_lanes<R>);
    for (std::int64_t k1 = 0; k1 < r.n1; ++k1)
        second(work + k1 * r.n2 * 2 * width, 2 * width, out, offsets + k1 * r.n2, width, scale);
}

} // namespace

// The marker of a node, not a strategy: no list holds it.
constinit const commit_method batch_marker = {nullptr, forget, tell};

template <class R>
dft_status init_batch_plans(descriptor* node, const descriptor* head)
{
    if (!wanted<R>(node, head)) return declined;
    const bool inplace = node->placement == in_place;
    const std::int64_t s = inplace ? node->input_stride : node->output_stride, n = node->length;
    if (s < 1 || low_bit(s) >= 256) return declined;
    const factors f = split(n);
    if (f.n1 == 0) return internal_failure;
    auto* r = new_record<batch_plan_record>(vrn_serv_cpu_detect() == 4 ? 4096 : 256);
    if (r == nullptr) return no_memory;
    r->n = n, r->n1 = f.n1, r->n2 = f.n2;
    if constexpr (std::is_same_v<R, double>)
        r->preferred_width = std::max<std::int64_t>({2048 / n, 4, low_bit(s) == 16 ? 16 : 0});
    else r->preferred_width = std::max<std::int64_t>(4096 / n, 8);
    for (int i = 0; i < batch_widths && (std::int64_t{1} << i) <= s; ++i) {
        const std::int64_t width = std::int64_t{1} << i;
        if (kind_of(n, 1, width) == refused) break;
        r->plans[i] = {width, f.n2 == 1 ? 0 : static_cast<std::uint64_t>(n * width) * sizeof(cplx<R>)};
        // Wider ones are never run, so their work is not asked for.
        if (width <= r->preferred_width) r->largest_work = std::max(r->largest_work, r->plans[i].work_size);
    }
    const descriptor* last = node;
    while (last->child != nullptr) last = last->child;
    const std::int64_t t = last->length * (inplace ? last->input_stride : last->output_stride);
    const bool too_big = head->work_rank > 2 && static_cast<std::uint64_t>(head->thread_count) * r->largest_work >
                                                    16 * static_cast<std::uint64_t>(t);
    if (too_big || !fill_tables<R>(*r)) {
        release(r);
        return too_big ? internal_failure : no_memory;
    }
    node->active_method = &batch_marker;
    node->method_state = r;
    return ok;
}

template <class R>
dft_status run_batch_plans(const descriptor* node, kernel_function* kernel, const cplx<R>* in, std::int64_t in_stride,
                           cplx<R>* out, std::int64_t out_stride, std::int64_t count)
{
    const auto& r = *static_cast<const batch_plan_record*>(node->method_state);
    const bool forward = kernel == node->forward_kernel;
    const buffer work(r.largest_work);
    if (r.largest_work != 0 && !work) return no_memory;
    std::int64_t offsets[longest_base * longest_base];
    const std::int64_t* places = r.places + (forward ? 0 : r.n);
    for (std::int64_t k = 0; k < r.n; ++k) offsets[k] = places[k] * out_stride;
    const R scale = forward ? used_scale<R, true>(node) : used_scale<R, false>(node);
    int i = 63 - __builtin_clzll(static_cast<unsigned long long>(std::min(r.preferred_width, count)));
    while (i > 0 && (i >= batch_widths || r.plans[i].width == 0)) --i;
    for (; count > 0; --i)
        for (const std::int64_t width = std::int64_t{1} << i; count >= width;
             count -= width, in += width, out += width)
            run_plan<R>(r, width, &in->re, in_stride, &out->re, offsets, work.as<R>(), scale);
    return ok;
}

#define VRN_BATCH(R)                                                                                                 \
    template dft_status init_batch_plans<R>(descriptor*, const descriptor*);                                         \
    template dft_status run_batch_plans<R>(const descriptor*, kernel_function*, const cplx<R>*, std::int64_t,        \
                                           cplx<R>*, std::int64_t, std::int64_t);
VRN_BATCH(double)
VRN_BATCH(float)
#undef VRN_BATCH

} // namespace vrn::dft
