// dft/primitive/describe.cpp - a plan as one line.

#include "dft/codelets/codelets.hpp"
#include "dft/primitive/plan.hpp"

#include <cstdio>

namespace vrn::dft {
namespace {

// Appends to a line that may be full; `length` counts what a longer one would hold.
struct text {
    char* line;
    int capacity, length = 0;
    template <class... A>
    void add(const char* format, A... args)
    {
        const int at = length < capacity ? length : capacity;
        char* to = line + at;
        const auto room = static_cast<std::size_t>(capacity - at);
        int more;
        if constexpr (sizeof...(A) == 0) more = std::snprintf(to, room, "%s", format);
        else more = std::snprintf(to, room, format, args...);
        if (more > 0) length += more;
    }
};

void add_stages(text& t, const stage_record* stages, int last)
{
    for (int s = 0; s < last; ++s) t.add("%d ", stages[s].radix);
    t.add("leaf %d", stages[last].radix);
}

void add_pow2(text& t, const pow2_plan& plan)
{
    if (plan.rows != nullptr) {
        t.add("2^%d columns, rows 2^%d = ", plan.order - plan.rows->order, plan.rows->order);
        add_pow2(t, *plan.rows);
    } else if (plan.bit_reversal == nullptr) t.add("codelet");
    else add_stages(t, plan.stages, plan.last_stage);
}

void add_plan(text& t, const primitive_plan& plan)
{
    t.add("%d = ", plan.length);
    const bool codelet = plan.stamp != stamp_real && plan.length <= longest_codelet && plan.length > direct_limit;
    if (plan.stamp == stamp_real && plan.conv_plan != nullptr) {
        t.add(plan.length % 2 == 0 ? "halves of " : "complex ");
        add_plan(t, *aligned64(plan.conv_plan));
    } else if (plan.is_pow2 != 0) add_pow2(t, *plan.pow2);
    else if (plan.mixed_radix != 0) add_stages(t, plan.stages, plan.last_stage);
    else if (plan.prime_table != nullptr) t.add("prime");
    else if (plan.chirp_length != 0) {
        t.add("chirp ");
        add_plan(t, *aligned64(plan.conv_plan));
    } else t.add("codelet");
    if (codelet) t.add(" (codelet)");
    if (plan.scrambled_mode != 0) t.add(", digits reversed");
}

} // namespace

int describe(const primitive_plan* raw, char* line, int capacity)
{
    text t{line, capacity};
    const primitive_plan& plan = *aligned64(raw);
    switch (plan.stamp) {
    case stamp_complex:
        t.add("complex ");
        break;
    case stamp_split:
        t.add("split ");
        break;
    case stamp_real:
        t.add("real ");
        break;
    case stamp_scrambled:
        t.add("scrambled ");
        break;
    default:
        t.add("no plan");
        return t.length;
    }
    add_plan(t, plan);
    return t.length;
}

} // namespace vrn::dft
