// dft/commit/cube.cpp - small squares and cubes: equal lengths of at most 8, or of 16 or less or exactly 32 where
// they are not worth a thread each. Codelets along every dimension, without plans, allocations or a walk.
//
// Real ones have a complex spectrum: a row goes through the complex codelet of its length as it stands and keeps n/2
// + 1 values; at these lengths that is less than finding another way.

#include "dft/commit/strategies.hpp"
#include "dft/compute/frame.hpp"
#include "dft/compute/move.hpp"
#include "dft/compute/real.hpp"
#include "dft/compute/short_columns.hpp"

namespace vrn::dft {

namespace {

inline constexpr std::int64_t longest_edge = 32;

template <class R>
struct cube_record {
    std::int64_t count, in_distance, out_distance, edge;
    std::int64_t in[3], out[3]; // strides
    int rank;
    void release() {}
};

bool small_edges(const descriptor* d, int rank)
{
    const std::int64_t n = d->dims.at[0].length;
    for (int i = 1; i < rank; ++i)
        if (d->dims.at[i].length != n) return false;
    const bool alone = d->thread_count == 1 || d->number_of_transforms > 1;
    return n >= 2 && (n <= 8 || (alone && (n <= 16 || n == longest_edge)));
}

template <class R>
cube_record<R>* prepare(const commit_method* method, descriptor* d, int rank, bool one_set)
{
    auto* r = own_record<cube_record<R>>(method, d);
    if (r == nullptr) return nullptr;
    r->rank = rank;
    r->edge = d->dims.at[0].length;
    r->count = d->number_of_transforms;
    r->in_distance = d->input_distance;
    r->out_distance = one_set ? d->input_distance : d->output_distance;
    for (int i = 0; i < rank; ++i) {
        r->in[i] = d->dims.at[i].input_stride;
        r->out[i] = one_set ? r->in[i] : d->dims.at[i].output_stride;
    }
    return r;
}

// ---- complex ----

// `width` neighbouring columns of one further dimension, in place.
template <class R, bool Forward>
void columns(cplx<R>* data, std::int64_t n, std::int64_t stride, std::int64_t width)
{
    if (const auto way = short_way<R>(n, 2 * stride, 2 * stride); way.n1 != 0)
        return short_columns<R>(way, Forward, &data->re, 2 * stride, &data->re, 2 * stride, width, R{1});
    auto* codelet = (Forward ? codelets<R>().forward : codelets<R>().backward)[n];
    cplx<R> block[4 * longest_edge];
    for (std::int64_t i = 0; i < width;) {
        std::int64_t w = 4;
        while (w > width - i) w /= 2;
        gather(n, w, data + i, 2 * stride, 2, block, n);
        for (std::int64_t c = 0; c < w; ++c) codelet(&block[c * n].re, &block[c * n].re);
        scatter(n, w, static_cast<const cplx<R>*>(block), n, data + i, 2 * stride, 2);
        i += w;
    }
}

// Further dimensions of one transform with rows of `width` values.
template <class R, bool Forward>
void further(cplx<R>* y, const std::int64_t* stride, int rank, std::int64_t n, std::int64_t width)
{
    for (std::int64_t k = 0; k < (rank == 3 ? n : 1); ++k)
        columns<R, Forward>(y + k * (rank == 3 ? stride[2] : 0), n, stride[1], width);
    if (rank != 3) return;
    // Planes without gaps are one long row to the third dimension.
    if (stride[1] == width) columns<R, Forward>(y, n, stride[2], n * width);
    else
        for (std::int64_t j = 0; j < n; ++j) columns<R, Forward>(y + j * stride[1], n, stride[2], width);
}

template <class R, bool Forward, bool InPlace>
dft_status compute_cube(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const cube_record<R>*>(d->method_state);
    const auto* x = static_cast<const cplx<R>*>(in) + d->input_offset;
    auto* y = InPlace ? static_cast<cplx<R>*>(in) + d->input_offset : static_cast<cplx<R>*>(out) + d->output_offset;
    const std::int64_t n = r.edge, planes = r.rank == 3 ? n : 1;
    on_threads(d, std::min<std::int64_t>(d->thread_count, r.count), [&](int thread, int team) {
        const share s(r.count, thread, team);
        for (std::int64_t t = s.begin; t < s.end; ++t) {
            const cplx<R>* from = x + t * r.in_distance;
            cplx<R>* to = y + t * r.out_distance;
            for (std::int64_t k = 0; k < planes; ++k)
                short_rows<R>(n, Forward, from + k * r.in[2], r.in[1], to + k * r.out[2], r.out[1], n);
            further<R, Forward>(to, r.out, r.rank, n, n);
        }
    });
    return ok;
}

template <class R, int Rank>
dft_status commit_cube(const commit_method* method, descriptor* d)
{
    const bool inplace = d->placement == in_place;
    if (d->forward_domain != domain_complex || d->precision != engine<R>::precision ||
        d->complex_storage != storage_complex || !unit_scales(d) || d->work_rank != Rank || d->input_stride != 1 ||
        (!inplace && d->output_stride != 1) || !small_edges(d, Rank))
        return declined;
    if (prepare<R>(method, d, Rank, inplace) == nullptr) return no_memory;
    return inplace ? take(d, compute_cube<R, true, true>, compute_cube<R, false, true>)
                   : take(d, compute_cube<R, true, false>, compute_cube<R, false, false>);
}

// ---- real, complex spectrum ----

template <class R>
void row_forward(plain_codelet<R>* codelet, const R* x, cplx<R>* y, std::int64_t n)
{
    cplx<R> row[longest_edge];
    for (std::int64_t i = 0; i < n; ++i) row[i] = {x[i], 0};
    codelet(&row[0].re, &row[0].re);
    row[0].im = 0;
    if (n % 2 == 0) row[n / 2].im = 0;
    std::copy(row, row + n / 2 + 1, y);
}

template <class R>
void row_backward(plain_codelet<R>* codelet, const cplx<R>* x, R* y, std::int64_t n)
{
    cplx<R> row[longest_edge];
    row[0] = {x[0].re, 0};
    for (std::int64_t k = 1; k <= n / 2; ++k) row[n - k] = simd::conj(row[k] = x[k]);
    if (n % 2 == 0) row[n / 2].im = 0;
    codelet(&row[0].re, &row[0].re);
    for (std::int64_t i = 0; i < n; ++i) y[i] = row[i].re;
}

template <class R, bool InPlace>
dft_status forward_real(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const cube_record<R>*>(d->method_state);
    const R* x = static_cast<const R*>(in) + d->input_offset;
    auto* y = static_cast<cplx<R>*>(InPlace ? in : out) + d->output_offset;
    const std::int64_t n = r.edge, planes = r.rank == 3 ? n : 1;
    auto* codelet = codelets<R>().forward[n];
    on_threads(d, std::min<std::int64_t>(d->thread_count, r.count), [&](int thread, int team) {
        const share s(r.count, thread, team);
        for (std::int64_t t = s.begin; t < s.end; ++t) {
            const R* from = x + t * r.in_distance;
            cplx<R>* to = y + t * r.out_distance;
            for (std::int64_t k = 0; k < planes; ++k)
                for (std::int64_t j = 0; j < n; ++j)
                    row_forward(codelet, from + j * r.in[1] + k * r.in[2], to + j * r.out[1] + k * r.out[2], n);
            further<R, true>(to, r.out, r.rank, n, n / 2 + 1);
        }
    });
    return ok;
}

// The columns of a spectrum that is not to be written are taken on a copy, of most within the call's frame.
template <class R, bool InPlace>
dft_status backward_real(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const cube_record<R>*>(d->method_state);
    auto* x = static_cast<cplx<R>*>(in) + d->input_offset;
    R* y = static_cast<R*>(InPlace ? in : out) + d->output_offset;
    const std::int64_t n = r.edge, planes = r.rank == 3 ? n : 1, half = n / 2 + 1;
    const std::int64_t packed[3] = {1, half, half * n};
    auto* codelet = codelets<R>().backward[n];
    shared_status status;
    on_threads(d, std::min<std::int64_t>(d->thread_count, r.count), [&](int thread, int team) {
        const share s(r.count, thread, team);
        const auto bytes = static_cast<std::uint64_t>(half * n * planes) * sizeof(cplx<R>);
        status(with_work(InPlace ? 0 : bytes, [&](void* copy) {
            for (std::int64_t t = s.begin; t < s.end; ++t) {
                cplx<R>* from = x + t * r.in_distance;
                const std::int64_t* stride = r.in;
                if constexpr (!InPlace) {
                    auto* to = static_cast<cplx<R>*>(copy);
                    for (std::int64_t k = 0; k < planes; ++k)
                        for (std::int64_t j = 0; j < n; ++j) {
                            const cplx<R>* row = from + j * r.in[1] + k * r.in[2];
                            std::copy(row, row + half, to + j * packed[1] + k * packed[2]);
                        }
                    from = to;
                    stride = packed;
                }
                further<R, false>(from, stride, r.rank, n, half);
                R* to = y + t * r.out_distance;
                for (std::int64_t k = 0; k < planes; ++k)
                    for (std::int64_t j = 0; j < n; ++j)
                        row_backward(codelet, from + j * stride[1] + k * stride[2], to + j * r.out[1] + k * r.out[2],
                                     n);
            }
            return ok;
        }));
    });
    return status.value;
}

template <class R, int Rank>
dft_status commit_real_cube(const commit_method* method, descriptor* d)
{
    const bool inplace = d->placement == in_place;
    if (d->forward_domain != domain_real || d->precision != engine<R>::precision ||
        d->conjugate_even_storage != storage_complex || !unit_scales(d) || d->work_rank != Rank ||
        d->input_stride != 1 || d->output_stride != 1 || !small_edges(d, Rank))
        return declined;
    if (prepare<R>(method, d, Rank, false) == nullptr) return no_memory;
    return inplace ? take(d, forward_real<R, true>, backward_real<R, true>)
                   : take(d, forward_real<R, false>, backward_real<R, false>);
}

template <class R>
int tell_cube(const descriptor* d, char* line, int capacity)
{
    const auto& r = *static_cast<const cube_record<R>*>(d->method_state);
    return append(line, capacity, "small %s %d x %d", r.rank == 2 ? "square" : "cube", static_cast<int>(r.count),
                  static_cast<int>(r.edge));
}

} // namespace

#define VRN_CUBE(name, R, commit)                                                                                    \
    constinit const commit_method name = {commit, release_record<cube_record<R>>, tell_cube<R>};
VRN_CUBE(small_square_d, double, (commit_cube<double, 2>))
VRN_CUBE(small_square_s, float, (commit_cube<float, 2>))
VRN_CUBE(small_cube_d, double, (commit_cube<double, 3>))
VRN_CUBE(small_cube_s, float, (commit_cube<float, 3>))
VRN_CUBE(small_square_real_d, double, (commit_real_cube<double, 2>))
VRN_CUBE(small_square_real_s, float, (commit_real_cube<float, 2>))
VRN_CUBE(small_cube_real_d, double, (commit_real_cube<double, 3>))
VRN_CUBE(small_cube_real_s, float, (commit_real_cube<float, 3>))
#undef VRN_CUBE

} // namespace vrn::dft
