// dft/descriptor/tensor.cpp - operations on dimension tensors.

#include "dft/descriptor/tensor.hpp"

#include "frame/services.hpp"

#include <algorithm>

namespace vrn::dft::tensor {

namespace {

triple* new_triples(std::int32_t count)
{
    return static_cast<triple*>(
        vrn_serv_malloc(static_cast<std::uint64_t>(count) * sizeof(triple), descriptor_alignment));
}

void remove(dim_tensor& t, std::int32_t i)
{
    std::copy(t.at + i + 1, t.at + t.count, t.at + i);
    --t.count;
}

// A target that is long enough is kept, whatever it held; its count becomes that of the source.
bool grow(dim_tensor& t, std::int32_t count)
{
    if (t.at == nullptr || count > t.count) {
        triple* larger = new_triples(count);
        if (larger == nullptr) return false;
        release(t);
        t.at = larger;
    }
    t.count = count;
    return true;
}

} // namespace

bool allocate(dim_tensor& t, std::int32_t count)
{
    t.at = new_triples(count);
    t.count = t.at == nullptr ? 0 : count;
    return t.at != nullptr;
}

void release(dim_tensor& t)
{
    vrn_serv_free(t.at);
    t = {};
}

bool copy(dim_tensor& to, const dim_tensor& from, int flags)
{
    if (!grow(to, from.count)) return false;
    for (std::int32_t i = 0; i < from.count; ++i) {
        const triple x = from.at[i];
        const std::int64_t first = flags & output_both ? x.output_stride : x.input_stride;
        const std::int64_t second = flags == input_both || flags == swapped ? x.input_stride : x.output_stride;
        to.at[i] = {x.length, first, second};
    }
    return true;
}

bool concatenate(dim_tensor& to, const dim_tensor& a, const dim_tensor& b)
{
    if (!grow(to, a.count + b.count)) return false;
    std::copy(b.at, b.at + b.count, std::copy(a.at, a.at + a.count, to.at));
    return true;
}

void sort(dim_tensor& t)
{
    for (std::int32_t i = 1; i < t.count; ++i)
        for (std::int32_t j = i; j > 0 && t.at[j].input_stride < t.at[j - 1].input_stride; --j)
            std::swap(t.at[j], t.at[j - 1]);
}

void drop_units(dim_tensor& t)
{
    for (std::int32_t i = t.count - 1; i >= 0 && t.count > 1; --i)
        if (t.at[i].length == 1) remove(t, i);
}

void merge(dim_tensor& t)
{
    // After a join the walk begins again at the new last pair.
    for (std::int32_t i = t.count - 2; i >= 0;) {
        triple& a = t.at[i];
        const triple& b = t.at[i + 1];
        if (a.length * a.input_stride == b.input_stride && a.length * a.output_stride == b.output_stride) {
            a.length *= b.length;
            remove(t, i + 1);
            i = t.count - 2;
        } else {
            --i;
        }
    }
}

} // namespace vrn::dft::tensor
