// dft/commit/small.cpp - one short complex transform: a table kernel, or a plan that works within the call's frame.
// None of these computes with an allocation or passes through a front end.

#include "dft/commit/strategies.hpp"

namespace vrn::dft {

namespace {

// ---- direct tables ----

template <class R, int Table>
const direct_row<R>* rows_of()
{
    if constexpr (Table == 1) return engine<R>::direct.first;
    else return engine<R>::direct.second;
}

template <class R, int Table>
const direct_row<R>* find_row(std::int64_t n)
{
    const direct_row<R>* row = rows_of<R, Table>();
    while (row->length != 0 && row->length != n) ++row;
    return row;
}

// One entry a row, so that a compute is one call through it.
template <class R, int Table, int Row, bool Forward, bool InPlace>
dft_status table_entry(descriptor*, void* in, void* out)
{
    const direct_row<R>& row = rows_of<R, Table>()[Row];
    (Forward ? row.forward : row.backward)(static_cast<const R*>(in), static_cast<R*>(InPlace ? in : out));
    return ok;
}

struct entry_pair {
    compute_function *forward, *backward;
};
template <class R, int Table, bool InPlace, int... Row>
constexpr entry_pair entry_of(std::int64_t index, std::integer_sequence<int, Row...>)
{
    constexpr entry_pair all[] = {
        {table_entry<R, Table, Row, true, InPlace>, table_entry<R, Table, Row, false, InPlace>}...};
    return all[index];
}

template <class R, int Table>
dft_status commit_direct(const commit_method* method, descriptor* d)
{
    if (!one_plain_line<R>(d) || !unit_scales(d)) return declined;
    const direct_row<R>* row = find_row<R, Table>(d->length);
    if (row->length == 0) return no_match;
    d->decommit(d);
    constexpr std::make_integer_sequence<int, Table == 1 ? 5 : 6> all;
    const auto index = row - rows_of<R, Table>();
    const entry_pair e =
        d->placement == in_place ? entry_of<R, Table, true>(index, all) : entry_of<R, Table, false>(index, all);
    d->active_method = method;
    return take(d, e.forward, e.backward);
}

dft_status forget_direct(const commit_method* method, descriptor* d)
{
    if (d->active_method != method) return internal_failure;
    d->compute_forward = d->compute_backward = nullptr;
    d->status = uncommitted;
    return ok;
}

int tell_direct(const descriptor* d, char* line, int capacity)
{
    return append(line, capacity, "table kernel %d", static_cast<int>(d->length));
}

// ---- small plan ----

inline constexpr std::int64_t longest_small = 4096;
// Work of more than this does not stand on the stack of a caller.
inline constexpr std::int32_t most_small_work = 2048;

template <class R>
struct small_record {
    primitive_plan* plan;
    std::int64_t length;
    std::int32_t flag;
    void release()
    {
        if (plan != nullptr) engine<R>::free_complex(plan);
        plan = nullptr;
    }
};

// Without a scale the plans of these lengths do nothing but call a codelet, and the calls on the way to it would cost
// as much as the shortest of them.
template <class R, bool Forward, bool InPlace>
dft_status compute_codelet(descriptor* d, void* in, void* out)
{
    const auto& table = codelets<R>();
    (Forward ? table.forward : table.backward)[d->length](static_cast<const R*>(in),
                                                          static_cast<R*>(InPlace ? in : out));
    return ok;
}

template <class R, bool Forward, bool InPlace>
dft_status compute_small(descriptor* d, void* in, void* out)
{
    alignas(64) std::byte work[most_small_work];
    const auto* plan = static_cast<const small_record<R>*>(d->method_state)->plan;
    return dft_status_of(engine<R>::template complex<Forward>(static_cast<const R*>(in),
                                                              static_cast<R*>(InPlace ? in : out), plan, work));
}

template <class R>
dft_status commit_small(const commit_method* method, descriptor* d)
{
    if (!one_plain_line<R>(d) || d->length > longest_small) return declined;
    const std::int32_t flag = flag_of_scales(d->forward_scale, d->backward_scale, d->length);
    if (flag == 0) return declined;
    auto* record = own_record<small_record<R>>(method, d);
    if (record == nullptr) return no_memory;
    if (record->plan == nullptr || record->length != d->length || record->flag != flag) {
        record->release();
        const auto status = engine<R>::create_complex(&record->plan, static_cast<std::int32_t>(d->length), flag, 0);
        if (status != kpr_ok) return give_up(d, dft_status_of(status));
        record->length = d->length;
        record->flag = flag;
    }
    std::int32_t work = 0;
    engine<R>::size_complex(record->plan, &work);
    if (work > most_small_work) return give_up(d, no_match);
    if (flag == scale_none && d->length <= longest_codelet)
        return d->placement == in_place ? take(d, compute_codelet<R, true, true>, compute_codelet<R, false, true>)
                                        : take(d, compute_codelet<R, true, false>, compute_codelet<R, false, false>);
    return d->placement == in_place ? take(d, compute_small<R, true, true>, compute_small<R, false, true>)
                                    : take(d, compute_small<R, true, false>, compute_small<R, false, false>);
}

template <class R>
int tell_small(const descriptor* d, char* line, int capacity)
{
    const auto* record = static_cast<const small_record<R>*>(d->method_state);
    const int length = append(line, capacity, "small flag %d: ", record->flag);
    describe(record->plan, line + length, capacity - length);
    return append(line, capacity, "");
}

} // namespace

constinit const commit_method direct_to_128_d = {commit_direct<double, 1>, forget_direct, tell_direct};
constinit const commit_method direct_to_128_s = {commit_direct<float, 1>, forget_direct, tell_direct};
constinit const commit_method direct_to_64_d = {commit_direct<double, 2>, forget_direct, tell_direct};
constinit const commit_method direct_to_64_s = {commit_direct<float, 2>, forget_direct, tell_direct};
constinit const commit_method small_primitive_d = {commit_small<double>, release_record<small_record<double>>,
                                                   tell_small<double>};
constinit const commit_method small_primitive_s = {commit_small<float>, release_record<small_record<float>>,
                                                   tell_small<float>};

} // namespace vrn::dft
