// dft/commit/batch_plan.cpp - set-up, choice of width, and run of batch plans.

#include "dft/commit/batch_plan.hpp"

#include "dft/codelets/roots.hpp"
#include "dft/commit/text.hpp"

namespace vrn::dft {

namespace {

// n itself where one pass does.
base_pair split(std::int64_t n) { return n <= longest_base ? base_pair{n, 1} : two_bases(n); }

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
bool fill_twiddles(batch_plan_record& r)
{
    if (r.n2 == 1) return true;
    const auto bytes = static_cast<std::uint64_t>(twiddle_reals<R>(r.n1, r.n2)) * sizeof(R);
    r.twiddles = vrn_serv_malloc(bytes, 64);
    if (r.twiddles == nullptr) return false;
    put_twiddles(static_cast<R*>(r.twiddles), r.n1, r.n2, table_root);
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
    const base_pair f = split(n);
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
    if (too_big || !fill_twiddles<R>(*r)) {
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
    const passes<R> p{r.n1, r.n2, static_cast<const R*>(r.twiddles)};
    const R scale = forward ? used_scale<R, true>(node) : used_scale<R, false>(node);
    int i = 63 - __builtin_clzll(static_cast<unsigned long long>(std::min(r.preferred_width, count)));
    while (i > 0 && (i >= batch_widths || r.plans[i].width == 0)) --i;
    for (; count > 0; --i) {
        const std::int64_t width = std::int64_t{1} << i, now = count - count % width;
        run_columns<R>(p, forward, &in->re, in_stride, &out->re, out_stride, now, width, work.as<R>(), scale);
        count -= now, in += now, out += now;
    }
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
