// dft/commit/factored_real.cpp - one long real line as m1 real transforms of m2 and m2/2 + 1 complex ones of m1.
//
//     n = m1 * m2, x[j2 * m1 + j1], X[k2 + m2 * k1]
//     S[k2][j1] = w_n^(j1 k2) * sum over j2 of x[j2 * m1 + j1] w_m2^(j2 k2)       k2 <= m2 / 2
//     X[k2 + m2 * k1] = sum over j1 of S[k2][j1] w_m1^(j1 k1)
//
// What lies beyond m2 / 2 in S, and beyond n / 2 in X, is the conjugate of what lies before.
//
// For threads, and for lengths that no single plan takes. Allocates S and each thread's work in a compute. After
// Bailey (1990).

#include "dft/codelets/roots.hpp"
#include "dft/commit/strategies.hpp"
#include "dft/compute/kernels.hpp"
#include "dft/compute/move.hpp"

namespace vrn::dft {

namespace {

inline constexpr std::int64_t shortest = 16384;
// Complex passes stay within the first-level cache.
inline constexpr std::int64_t longest_pass = 512;
inline constexpr std::int64_t at_once = 8;

template <class R>
struct factored_record {
    std::int64_t length, m1, m2;
    cplx<R>* twiddles;       // w_n^(j1 k2), rows of m1
    primitive_plan* rows;    // real, m2
    primitive_plan* columns; // complex, m1
    std::int32_t work;
    void release()
    {
        vrn_serv_free(twiddles);
        if (rows != nullptr) engine<R>::free_real(rows);
        if (columns != nullptr) engine<R>::free_complex(columns);
        twiddles = nullptr;
        rows = columns = nullptr;
    }
    std::int64_t half() const { return m2 / 2 + 1; }
    // From row to row of S: a line more than a row, or those of a power of 2 would meet in one set of the caches.
    std::int64_t step() const { return m1 + 64 / static_cast<std::int64_t>(sizeof(cplx<R>)); }
};

struct factors {
    std::int64_t m1 = 1, m2 = 2;
};
factors split(std::int64_t h)
{
    factors f;
    std::int64_t q = h;
    for (const std::int64_t p : {std::int64_t{3}, std::int64_t{5}})
        if (q % (p * p) == 0) q /= p * p, f.m1 *= p, f.m2 *= p;
    auto place = [&](std::int64_t p) { (f.m1 < f.m2 && (f.m1 == 1 || p * f.m1 <= longest_pass) ? f.m1 : f.m2) *= p; };
    for (std::int64_t p = 2; p * p <= q; p += p == 2 ? 1 : 2)
        for (; q % p == 0; q /= p) place(p);
    if (q > 1) place(q);
    return f;
}

template <class R>
dft_status fill(factored_record<R>& r, const descriptor* d)
{
    r.release();
    const factors f = split(d->length / 2);
    r.length = d->length, r.m1 = f.m1, r.m2 = f.m2;
    if (r.m1 < 2 || over_limit<R>(r.m2) || over_limit<R>(r.m1)) return declined;
    r.twiddles =
        static_cast<cplx<R>*>(vrn_serv_malloc(static_cast<std::uint64_t>(r.m1 * r.half()) * sizeof(cplx<R>), 256));
    if (r.twiddles == nullptr) return no_memory;
    on_threads(d, std::min<std::int64_t>(r.m1 + r.m2, d->thread_count), [&](int thread, int team) {
        const share s(r.half(), thread, team);
        for (std::int64_t k = s.begin; k < s.end; ++k)
            for (std::int64_t j = 0; j < r.m1; ++j) {
                const root w = table_root(j * k % r.length, r.length);
                r.twiddles[k * r.m1 + j] = {static_cast<R>(w.cos), static_cast<R>(-w.sin)};
            }
    });
    std::int32_t rows = 0, columns = 0;
    auto status = engine<R>::create_real(&r.rows, static_cast<std::int32_t>(r.m2), scale_none, 0);
    if (status == kpr_ok)
        status = engine<R>::create_complex(&r.columns, static_cast<std::int32_t>(r.m1), scale_none, 0);
    if (status == kpr_ok) status = engine<R>::size_real(r.rows, &rows);
    if (status == kpr_ok) status = engine<R>::size_complex(r.columns, &columns);
    r.work = std::max(rows, columns);
    return dft_status_of(status);
}

// Where value K of the spectrum stands, in reals; CCS and PERM differ in the last one alone.
inline std::int64_t place_of(std::int32_t layout, std::int64_t n, std::int64_t k)
{
    return layout == format_perm && 2 * k == n ? 1 : 2 * k;
}

template <class R>
void store_value(R* out, std::int32_t layout, std::int64_t n, std::int64_t k, cplx<R> v)
{
    R* p = out + place_of(layout, n, k);
    p[0] = v.re;
    const bool whole = k != 0 && 2 * k != n;
    if (whole || layout != format_perm) p[1] = whole ? v.im : R{0};
}

template <class R>
cplx<R> load_value(const R* in, std::int32_t layout, std::int64_t n, std::int64_t k)
{
    const bool mirrored = 2 * k > n;
    if (mirrored) k = n - k;
    const R* p = in + place_of(layout, n, k);
    const bool whole = k != 0 && 2 * k != n;
    return {p[0], !whole ? R{0} : mirrored ? -p[1] : p[1]};
}

// Columns of x to S, or back; `work` has a block of 8 columns of m2 + 2 reals ahead of the plans' own.
template <class R, bool Forward>
dft_status real_pass(const factored_record<R>& r, const R* in, R* out, cplx<R>* s, std::int64_t first,
                     std::int64_t last, std::byte* work, R scale)
{
    const std::int64_t step = r.m2 + 2;
    R* block = reinterpret_cast<R*>(work);
    std::byte* own = work + at_once * step * static_cast<std::int64_t>(sizeof(R));
    for (std::int64_t j = first; j < last; j += at_once) {
        const std::int64_t width = std::min(at_once, last - j);
        auto* spectra = reinterpret_cast<cplx<R>*>(block);
        if (Forward) gather(r.m2, width, in + j, r.m1, 1, block, step);
        else gather(r.half(), width, static_cast<const cplx<R>*>(s + j), 2 * r.step(), 2, spectra, step / 2);
        for (std::int64_t w = 0; w < width; ++w) {
            R* line = block + w * step;
            const auto status = engine<R>::template ccs<Forward>(line, line, r.rows, own);
            if (status != kpr_ok) return dft_status_of(status);
            if (!Forward) scale_reals(line, r.m2, scale);
        }
        if (Forward) scatter(r.half(), width, static_cast<const cplx<R>*>(spectra), step / 2, s + j, 2 * r.step(), 2);
        else scatter(r.m2, width, static_cast<const R*>(block), step, out + j, r.m1, 1);
    }
    return ok;
}

// Rows of S that are neither the first nor the middle one, to the spectrum or from it: neighbours in S are neighbours
// there, up to one half of k1 as they stand, behind it mirrored. f(value, where, sign of the imaginary part).
template <class R, class P, class F>
void over_places(const factored_record<R>& r, cplx<R>* rows, std::int64_t k2, std::int64_t count, P* spectrum, F&& f)
{
    for (std::int64_t k1 = 0; k1 < r.m1; ++k1) {
        const bool mirrored = 2 * k1 >= r.m1;
        const std::int64_t k = k2 + r.m2 * k1, step = mirrored ? -2 : 2;
        P* to = spectrum + 2 * (mirrored ? r.length - k : k);
        for (std::int64_t i = 0; i < count; ++i, to += step) f(rows[i * r.step() + k1], to, mirrored ? R{-1} : R{1});
    }
}

// A few rows at a time, so that lines of the spectrum are touched whole.
template <class R, bool Forward>
dft_status complex_pass(const factored_record<R>& r, const R* in, R* out, cplx<R>* s, std::int32_t layout,
                        std::int64_t first, std::int64_t last, std::byte* work, R scale)
{
    const std::int64_t middle = r.m2 / 2;
    for (std::int64_t k2 = first, count; k2 < last; k2 += count) {
        const bool alone = k2 == 0 || k2 == middle; // holds its mirror images itself
        count = alone ? 1 : std::min({at_once, last - k2, middle - k2});
        cplx<R>* rows = s + k2 * r.step();
        if (!Forward && alone)
            for (std::int64_t k1 = 0; k1 < r.m1; ++k1) rows[k1] = load_value(in, layout, r.length, k2 + r.m2 * k1);
        if (!Forward && !alone)
            over_places(r, rows, k2, count, in, [](cplx<R>& v, const R* p, R sign) { v = {p[0], sign * p[1]}; });
        for (std::int64_t i = 0; i < count; ++i) {
            cplx<R>* row = rows + i * r.step();
            const cplx<R>* twiddles = r.twiddles + (k2 + i) * r.m1;
            if (Forward)
                for (std::int64_t j = 0; j < r.m1; ++j) row[j] = row[j] * twiddles[j];
            const auto status = engine<R>::template complex<Forward>(&row->re, &row->re, r.columns, work);
            if (status != kpr_ok) return dft_status_of(status);
            if (!Forward)
                for (std::int64_t j = 0; j < r.m1; ++j) row[j] = row[j] * simd::conj(twiddles[j]);
        }
        if (Forward && alone)
            for (std::int64_t k1 = 0; k1 < r.m1; ++k1)
                if (const std::int64_t k = k2 + r.m2 * k1; 2 * k <= r.length)
                    store_value(out, layout, r.length, k, scale * rows[k1]);
        if (Forward && !alone)
            over_places(r, rows, k2, count, out, [scale](const cplx<R>& v, R* p, R sign) {
                p[0] = scale * v.re, p[1] = sign * (scale * v.im);
            });
    }
    return ok;
}

template <class R, bool Forward, bool InPlace>
dft_status compute_factored(descriptor* d, void* in, void* out)
{
    const auto& r = *static_cast<const factored_record<R>*>(d->method_state);
    const bool cce = d->conjugate_even_storage == storage_complex;
    const R* x = static_cast<const R*>(in) + d->input_offset * (cce && !Forward ? 2 : 1);
    R* y = static_cast<R*>(InPlace ? in : out) +
           (InPlace && !cce ? d->input_offset : d->output_offset * (cce && Forward ? 2 : 1));
    const std::int32_t layout = layout_of(d);
    const R scale = used_scale<R, Forward>(d);
    const std::int64_t threads = std::max<std::int64_t>(1, d->thread_count);
    const std::int64_t each = (at_once * (r.m2 + 2) * static_cast<std::int64_t>(sizeof(R)) + r.work + 127) / 64 * 64;
    const std::int64_t matrix = r.step() * r.half() * static_cast<std::int64_t>(sizeof(cplx<R>)) / 64 * 64 + 64;
    const buffer block(static_cast<std::uint64_t>(matrix + threads * each), 4096);
    if (!block) return no_memory;
    auto* s = block.as<cplx<R>>();
    auto work = [&](int thread) { return block.as<std::byte>() + matrix + thread * each; };
    shared_status status;
    auto reals = [&] {
        on_threads(d, threads, [&](int thread, int team) {
            // Blocks, not columns, are dealt out: 8 neighbours share their lines.
            const share b((r.m1 + at_once - 1) / at_once, thread, team);
            if (!status.failed())
                status(real_pass<R, Forward>(r, x, y, s, b.begin * at_once, std::min(r.m1, b.end * at_once),
                                             work(thread), scale));
        });
    };
    auto complexes = [&] {
        on_threads(d, threads, [&](int thread, int team) {
            const share b(r.half(), thread, team);
            if (!status.failed())
                status(complex_pass<R, Forward>(r, x, y, s, layout, b.begin, b.end, work(thread), scale));
        });
    };
    if (Forward) reals(), complexes();
    else complexes(), reals();
    return status.value;
}

template <class R>
dft_status commit_factored(const commit_method* method, descriptor* d)
{
    const bool format =
        d->packed_format == format_ccs || d->packed_format == format_perm || d->packed_format == format_cce;
    if (d->forward_domain != domain_real || d->precision != engine<R>::precision || !format ||
        d->number_of_transforms != 1 || d->work_rank != 1 || d->input_stride != 1 || d->output_stride != 1 ||
        d->length % 2 != 0 || d->length < shortest ||
        (d->packed_format == format_cce && d->conjugate_even_storage != storage_complex) ||
        (d->thread_count < 2 && !over_limit<R>(d->length)))
        return declined;
    auto* record = own_record<factored_record<R>>(method, d);
    if (record == nullptr) return no_memory;
    if (record->rows == nullptr || record->length != d->length)
        if (const dft_status s = fill(*record, d); s != ok) return give_up(d, s);
    return d->placement == in_place ? take(d, compute_factored<R, true, true>, compute_factored<R, false, true>)
                                    : take(d, compute_factored<R, true, false>, compute_factored<R, false, false>);
}

template <class R>
int tell_factored(const descriptor* d, char* line, int capacity)
{
    const auto& r = *static_cast<const factored_record<R>*>(d->method_state);
    return append(line, capacity, "factored real %d x %d, %d threads", static_cast<int>(r.m1), static_cast<int>(r.m2),
                  d->thread_count);
}

} // namespace

constinit const commit_method factored_real_d = {commit_factored<double>, release_record<factored_record<double>>,
                                                 tell_factored<double>};
constinit const commit_method factored_real_s = {commit_factored<float>, release_record<factored_record<float>>,
                                                 tell_factored<float>};

} // namespace vrn::dft
