// dft/commit/chirp.cpp - the last resort of complex lengths: a transform of n as a convolution of m >= 2n, m a power
// of 2 (Bluestein 1970).
//
//     X[k] = c[k] sum over j of (x[j] c[j]) conj(c[k - j]),   c[k] = exp(-i pi k^2 / n)
//
// The filter is conj(c), mirrored at m, transformed once; the 1/m of the round trip is folded into it. Backward is
// the conjugate of all of it: chirp and filter both, and since the filter is symmetric the conjugate's transform is
// the transform's conjugate. Compute allocates m values.

#include "dft/commit/strategies.hpp"
#include "dft/compute/real_plane.hpp"
#include "dft/descriptor/functions.hpp"

namespace vrn::dft {

namespace {

template <class R>
struct chirp_record {
    descriptor* inner;
    std::int64_t length, m;
    cplx<R>* block; // the filter, m values, then the chirp, m values of room
    void release()
    {
        destroy_inner(inner);
        vrn_serv_free(block);
        block = nullptr;
    }
};

template <class R>
dft_status create_inner(descriptor** out, std::int64_t m)
{
    if constexpr (std::is_same_v<R, double>) return vrn_dft_s42_dfti_create_dc1d(out, m);
    else return vrn_dft_s42_dfti_create_sc1d(out, m);
}

template <class R>
dft_status fill(chirp_record<R>& r, descriptor* d)
{
    const std::int64_t n = d->length, m = r.m;
    r.release();
    r.length = n;
    if (const dft_status s = create_inner<R>(&r.inner, m); s != ok) return s;
    r.inner->thread_limit = d->thread_count;
    if (const dft_status s = r.inner->class_table->commit(r.inner); s != ok) return s;
    r.block = static_cast<cplx<R>*>(vrn_serv_malloc(static_cast<std::uint64_t>(2 * m) * sizeof(cplx<R>), 4096));
    if (r.block == nullptr) return no_memory;
    cplx<R>*filter = r.block, *chirp = r.block + m;
    // The filter is made of exp(+i pi k^2 / n); the chirp is its conjugate, taken once the filter is done. k^2 mod 2n
    // goes by steps of 2k - 1, in whole numbers.
    std::int64_t index = 0;
    for (std::int64_t k = 0; k < n; ++k) {
        if (k > 0) index = (index + 2 * k - 1) % (2 * n);
        double sine, cosine;
        vrn_serv_libm_sincos(static_cast<double>(index) / static_cast<double>(n) * 3.14159265358979323846, &sine,
                             &cosine);
        chirp[k] = {static_cast<R>(cosine), static_cast<R>(sine)};
    }
    std::fill(filter, filter + m, cplx<R>{0, 0});
    for (std::int64_t k = 0; k < n; ++k) filter[k] = filter[k == 0 ? 0 : m - k] = chirp[k];
    if (const dft_status s = r.inner->compute_forward(r.inner, filter, nullptr); s != ok) return s;
    for (std::int64_t k = 0; k < m; ++k)
        filter[k] = {filter[k].re / static_cast<R>(m), filter[k].im / static_cast<R>(m)};
    for (std::int64_t k = 0; k < n; ++k) chirp[k] = simd::conj(chirp[k]);
    return ok;
}

template <bool Forward, class R>
cplx<R> turned(cplx<R> a)
{
    return Forward ? a : simd::conj(a);
}

template <class R, bool Forward, bool InPlace>
dft_status compute_chirp(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const chirp_record<R>*>(d->method_state);
    const std::int64_t n = d->length, m = r.m;
    const auto* x = static_cast<const cplx<R>*>(in);
    auto* y = static_cast<cplx<R>*>(InPlace ? in : out);
    const cplx<R>*filter = r.block, *chirp = r.block + m;
    const buffer block(static_cast<std::uint64_t>(m) * sizeof(cplx<R>), 4096);
    if (!block) return no_memory;
    auto* v = block.as<cplx<R>>();
    on_threads(d, d->thread_count, [&](int thread, int team) {
        const share s(n, thread, team);
        for (std::int64_t k = s.begin; k < s.end; ++k) v[k] = x[k] * turned<Forward>(chirp[k]);
    });
    on_threads(d, d->thread_count, [&](int thread, int team) {
        const share s(m - n, thread, team);
        std::fill(v + n + s.begin, v + n + s.end, cplx<R>{0, 0});
    });
    if (const dft_status s = r.inner->compute_forward(r.inner, v, nullptr); s != ok) return s;
    on_threads(d, d->thread_count, [&](int thread, int team) {
        const share s(m, thread, team);
        for (std::int64_t k = s.begin; k < s.end; ++k) v[k] = v[k] * turned<Forward>(filter[k]);
    });
    if (const dft_status s = r.inner->compute_backward(r.inner, v, nullptr); s != ok) return s;
    on_threads(d, d->thread_count, [&](int thread, int team) {
        const share s(n, thread, team);
        for (std::int64_t k = s.begin; k < s.end; ++k) y[k] = v[k] * turned<Forward>(chirp[k]);
    });
    return ok;
}

template <class R>
dft_status commit_chirp(const commit_method* method, descriptor* d)
{
    if (d->precision != engine<R>::precision || d->forward_domain != domain_complex ||
        d->complex_storage != storage_complex || d->ordering != ordered || d->number_of_transforms != 1 ||
        d->batch.count > 1 || !unit_scales(d) || d->work_rank != 1 || d->input_stride != 1 || d->output_stride != 1 ||
        d->input_offset != 0 || d->output_offset != 0 || is_pow2(d->length))
        return declined;
    // 2^(1 + floor(log2(2n - 1))).
    const std::int64_t m = std::int64_t{2}
                           << (63 - __builtin_clzll(static_cast<unsigned long long>(2 * d->length - 1)));
    if (over_limit<R>(m)) return too_long;
    auto* record = own_record<chirp_record<R>>(method, d);
    if (record == nullptr) return no_memory;
    if (record->block == nullptr || record->length != d->length) {
        record->m = m;
        if (const dft_status s = fill(*record, d); s != ok) return give_up(d, s);
    }
    return d->placement == in_place ? take(d, compute_chirp<R, true, true>, compute_chirp<R, false, true>)
                                    : take(d, compute_chirp<R, true, false>, compute_chirp<R, false, false>);
}

template <class R>
int tell_chirp(const descriptor* d, char* line, int capacity)
{
    const auto* record = static_cast<const chirp_record<R>*>(d->method_state);
    append(line, capacity, "chirp %d through (", static_cast<int>(record->length));
    describe(record->inner, line, capacity);
    return append(line, capacity, ")");
}

// ---- real lines that nothing else takes: as complex ones, the spectrum's half packed afterwards ----

struct real_record {
    descriptor* inner;
    std::int64_t length;
    void release() { destroy_inner(inner); }
};

template <class R, bool Forward, bool InPlace>
dft_status compute_real(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const real_record*>(d->method_state);
    const bool cce = d->conjugate_even_storage == storage_complex;
    const R* x = static_cast<const R*>(in) + d->input_offset * (cce && !Forward ? 2 : 1);
    R* y = static_cast<R*>(InPlace ? in : out) +
           (InPlace && !cce ? d->input_offset : d->output_offset * (cce && Forward ? 2 : 1));
    const std::int64_t n = d->length;
    const packed_places places(layout_of(d), n);
    const buffer block(static_cast<std::uint64_t>(n) * sizeof(cplx<R>), 4096);
    if (!block) return no_memory;
    auto* z = block.as<cplx<R>>();
    if (Forward) {
        for (std::int64_t j = 0; j < n; ++j) z[j] = {x[j], 0};
    } else {
        z[0] = {x[0], 0};
        for (std::int64_t k = 1; 2 * k < n; ++k) {
            z[k] = {x[places.interior + 2 * k - 2], x[places.interior + 2 * k - 1]};
            z[n - k] = simd::conj(z[k]);
        }
        if (places.last >= 0) z[n / 2] = {x[places.last], 0};
    }
    const dft_status s =
        Forward ? r.inner->compute_forward(r.inner, z, nullptr) : r.inner->compute_backward(r.inner, z, nullptr);
    if (s != ok) return s;
    if (!Forward) {
        for (std::int64_t j = 0; j < n; ++j) y[j] = z[j].re;
        return ok;
    }
    y[0] = z[0].re;
    if (places.interior == 2 && places.last != 1) y[1] = 0;
    for (std::int64_t k = 1; 2 * k < n; ++k)
        y[places.interior + 2 * k - 2] = z[k].re, y[places.interior + 2 * k - 1] = z[k].im;
    if (places.last >= 0) y[places.last] = z[n / 2].re;
    if (places.last == n) y[n + 1] = 0;
    return ok;
}

template <class R>
dft_status commit_real(const commit_method* method, descriptor* d)
{
    const bool layout = d->conjugate_even_storage == storage_complex || d->packed_format != format_cce;
    if (d->precision != engine<R>::precision || d->forward_domain != domain_real || !layout ||
        d->number_of_transforms != 1 || d->work_rank != 1 || !unit_scales(d) || d->input_stride != 1 ||
        d->output_stride != 1)
        return declined;
    auto* record = own_record<real_record>(method, d);
    if (record == nullptr) return no_memory;
    if (record->inner == nullptr || record->length != d->length) {
        record->release();
        record->length = d->length;
        dft_status s = create_inner<R>(&record->inner, d->length);
        if (s == ok) {
            record->inner->thread_limit = d->thread_count;
            s = record->inner->class_table->commit(record->inner);
        }
        if (s != ok) return give_up(d, s);
    }
    return d->placement == in_place ? take(d, compute_real<R, true, true>, compute_real<R, false, true>)
                                    : take(d, compute_real<R, true, false>, compute_real<R, false, false>);
}

int tell_real(const descriptor* d, char* line, int capacity)
{
    append(line, capacity, "real as complex (");
    describe(static_cast<const real_record*>(d->method_state)->inner, line, capacity);
    return append(line, capacity, ")");
}

} // namespace

constinit const commit_method chirp_z_d = {commit_chirp<double>, release_record<chirp_record<double>>,
                                           tell_chirp<double>};
constinit const commit_method chirp_z_s = {commit_chirp<float>, release_record<chirp_record<float>>,
                                           tell_chirp<float>};
constinit const commit_method real_chirp_z_d = {commit_real<double>, release_record<real_record>, tell_real};
constinit const commit_method real_chirp_z_s = {commit_real<float>, release_record<real_record>, tell_real};

} // namespace vrn::dft
