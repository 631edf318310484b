// core/dft/parallel.cpp - computes over threads: batches by shares of transforms, one transform of several dimensions
// by rows and columns with a barrier between the dimensions, one long transform in two dimensions.
//
// Every transform, row and column is computed alone and the same way on any thread, so the division of the work is
// never seen in a result, but for one long transform, which has an order of summation of its own (commit.cpp).

#include "core/dft/parallel.hpp"

#include "core/dft/kernels.hpp"
#include "core/threads/threads.hpp"
#include "dft/compute/way_back.hpp"
#include "frame/services.hpp"

#include <algorithm>
#include <atomic>

namespace vrn::dft {
namespace {

using vrn::loader::backend;

// Below this many bytes waking a thread costs more than it computes.
constexpr double threads_from_bytes = 1 << 17;

// One thread's share of [0, count), cut at multiples of 8: columns that share a line stay together.
struct part {
    std::int64_t begin, end;
    part(std::int64_t count, int thread, int team, std::int64_t grain = 8)
    {
        const std::int64_t grains = (count + grain - 1) / grain;
        begin = std::min(count, grains * thread / team * grain);
        end = std::min(count, grains * (thread + 1) / team * grain);
    }
    std::int64_t count() const { return end - begin; }
};

// A team with scratch memory for each thread and one status: the first failure stops the steps that follow.
class team_run {
    std::atomic<dft_status> status_{ok};
    std::byte* work_ = nullptr;
    std::uint64_t each_;
    int threads_;

  public:
    explicit team_run(const descriptor* d)
        : each_((d->work_size + 4095) / 4096 * 4096), threads_(std::max(d->thread_count, 1))
    {
        double bytes = static_cast<double>(d->total_elements) * static_cast<double>(d->number_of_transforms) * 16;
        if (bytes < threads_from_bytes) threads_ = 1;
        threads_ = std::min(threads_, vrn::threads::most);
        if (each_ == 0) return;
        work_ = static_cast<std::byte*>(vrn_serv_allocate(each_ * static_cast<std::uint64_t>(threads_), 4096));
        if (work_ == nullptr) status_ = no_memory;
    }
    team_run(const team_run&) = delete;
    team_run& operator=(const team_run&) = delete;
    ~team_run() { vrn_serv_deallocate(work_); }

    // steps(thread, team, work), once on each thread; returns the status.
    template <class Steps>
    dft_status run(Steps&& steps)
    {
        if (status_ != ok) return status_;
        vrn::threads::run(threads_, [&](int thread, int team) {
            steps(thread, team,
                  work_ == nullptr ? nullptr
                                   : static_cast<void*>(work_ + each_ * static_cast<std::uint64_t>(thread)));
        });
        return status_;
    }
    // One thread's piece of a step; after a failure anywhere nothing more is done.
    template <class Piece>
    void step(Piece&& piece)
    {
        if (status_.load(std::memory_order_relaxed) != ok) return;
        if (const dft_status s = piece(); s != ok) status_.store(s, std::memory_order_relaxed);
    }
};

// Elements of one side in bytes.
template <class R>
struct layout {
    std::int64_t in, out, in_distance, out_distance;
    layout(const descriptor* d, bool forward)
    {
        const std::int64_t r = sizeof(R);
        const bool complex = d->forward_domain == domain_complex, cce = d->conjugate_even_storage == storage_complex;
        in = complex || (cce && !forward) ? 2 * r : r;
        out = complex || (cce && forward) ? 2 * r : r;
        const bool one_set = d->placement == in_place && (complex || !cce);
        in_distance = in * d->input_distance;
        out_distance = out * (one_set ? d->input_distance : d->output_distance);
    }
};
template <class T>
T* moved(T* p, std::int64_t bytes)
{
    if constexpr (std::is_const_v<T>) return static_cast<const std::byte*>(p) + bytes;
    else return static_cast<std::byte*>(p) + bytes;
}

// ---- batches: each thread runs the driver on its share ----

template <class Driver>
dft_status batch(const descriptor* d, std::int64_t in_distance, std::int64_t out_distance, const parallel_call& call,
                 Driver&& driver)
{
    team_run team(d);
    // Interleaved transforms are taken in blocks of 8; others as they come.
    const std::int64_t grain = d->input_distance == 1 ? 8 : 1;
    return team.run([&](int thread, int size, void* work) {
        const part p(d->number_of_transforms, thread, size, grain);
        if (p.count() < 1) return;
        team.step([&] {
            void* out = call.out == nullptr ? nullptr : moved(call.out, p.begin * out_distance);
            return driver(moved(call.in, p.begin * in_distance), out, p.count(), work);
        });
    });
}

// ---- one complex transform of several dimensions ----

template <class R>
dft_status complex_dimensions(const parallel_call& call, bool forward)
{
    const descriptor* d = call.d;
    const bool inplace = call.out == nullptr;
    void* out = inplace ? call.in : call.out;
    const shape a(d, &descriptor::input_stride, 2, d->length);
    const shape b(d, inplace ? &descriptor::input_stride : &descriptor::output_stride, 2, d->length);
    auto kernel_of = [&](const descriptor* node) { return forward ? node->forward_kernel : node->backward_kernel; };
    auto* columns = inplace ? backend(names<R>::columns) : backend(names<R>::columns_out);
    team_run team(d);
    return team.run([&](int thread, int size, void* work) {
        team.step([&]() -> dft_status {
            if (a.rank == 2) {
                const part p(a.length[1], thread, size, 1);
                return backend(names<R>::rows)(d, kernel_of(d),
                                               moved(call.in, p.begin * a.stride[1] * std::int64_t{sizeof(R)}),
                                               moved(out, p.begin * b.stride[1] * std::int64_t{sizeof(R)}),
                                               a.stride[1] / 2, b.stride[1] / 2, p.count(), work);
            }
            const part p(a.positions(2, -1), thread, size, 1);
            return inplace ? backend(names<R>::planes)(d, out, p.begin, p.count(), forward, work)
                           : backend(names<R>::planes_out)(d, call.in, out, p.begin, p.count(), forward, work);
        });
        for (int dim = a.rank == 2 ? 1 : 2; dim < a.rank; ++dim) {
            vrn::threads::barrier();
            team.step([&]() -> dft_status {
                const column_units units(b, dim, 8);
                const part p(units.count(), thread, size, 1);
                const std::int64_t strides[2] = {b.stride[0] / 2, b.stride[dim] / 2};
                position_walk walk(b, b, units.q, dim, p.begin / units.blocks);
                std::int64_t first = p.begin % units.blocks * units.block;
                for (std::int64_t left = p.count(); left > 0; walk.next(), first = 0) {
                    const std::int64_t last = std::min(units.columns, first + left * units.block);
                    auto* data = moved(out, (walk.offset_a + first * b.stride[0]) * std::int64_t{sizeof(R)});
                    if (const dft_status s =
                            columns(strides, b.node[dim], kernel_of(b.node[dim]), data, d, last - first, work);
                        s != ok)
                        return s;
                    left -= (last - first + units.block - 1) / units.block;
                }
                return ok;
            });
        }
    });
}

// ---- one real transform of several dimensions ----

template <class R>
dft_status packed_plane(const parallel_call& call, bool forward)
{
    using N = names<R>;
    const descriptor* d = call.d;
    const bool inplace = d->placement == in_place;
    const std::int64_t n = d->length, m = d->child->length;
    const std::int64_t in1 = d->child->input_stride, out1 = inplace ? in1 : d->child->output_stride;
    const std::int64_t values = d->packed_format == format_ccs ? 2 * (n / 2 + 1) : n, columns = 1 + (n - 1) / 2;
    team_run team(d);
    return team.run([&](int thread, int size, void* work) {
        const part rows(m, thread, size, 1), own(columns, thread, size, 4);
        auto on_rows = [&](kernel_function* kernel, std::int64_t in_count, std::int64_t out_count) {
            return backend(N::packed_rows)(d, kernel, moved(call.in, rows.begin * in1 * std::int64_t{sizeof(R)}),
                                           moved(call.out, rows.begin * out1 * std::int64_t{sizeof(R)}), in1,
                                           in_count, out1, out_count, rows.count(), work);
        };
        if (forward) team.step([&] { return on_rows(d->real_forward_direct, n, values); });
        else
            team.step(
                [&] { return backend(N::packed_columns_back)(d, call.in, call.out, own.begin, own.end, work); });
        vrn::threads::barrier();
        if (forward)
            team.step([&] { return backend(N::packed_columns)(d, call.in, call.out, own.begin, own.end, work); });
        else if (inplace) team.step([&] { return on_rows(d->real_backward_direct, values, n); });
        else team.step([&] { return backend(N::packed_rows_back)(d, call.out, rows.begin, rows.count(), work); });
    });
}

template <class R>
dft_status cce_forward(const parallel_call& call)
{
    const descriptor* d = call.d;
    const shape b(d, &descriptor::output_stride, 2, d->length / 2 + 1);
    team_run team(d);
    return team.run([&](int thread, int size, void* work) {
        const part rows(b.positions(1, -1), thread, size, 1);
        team.step([&] { return backend(names<R>::cce_rows)(d, call.in, call.out, rows.begin, rows.count(), work); });
        for (int dim = 1; dim < b.rank; ++dim) {
            vrn::threads::barrier();
            team.step([&]() -> dft_status {
                if (b.rank == 2) {
                    const part p(b.length[0], thread, size, 4);
                    return backend(names<R>::cce_columns)(d, call.out, p.begin, p.end, work);
                }
                const part p(column_units(b, dim, 8).count(), thread, size, 1);
                return backend(names<R>::cce_units)(d, call.out, dim, p.begin, p.end, work);
            });
        }
    });
}

template <class R>
dft_status cce_backward(const parallel_call& call, const way_back& w)
{
    using N = names<R>;
    const descriptor* d = call.d;
    const bool plane = w.given.rank == 2 && w.road == road_back::in_output;
    team_run team(d);
    return team.run([&](int thread, int size, void* work) {
        const part rows(w.rows(), thread, size, 1);
        if (w.road == road_back::in_output) {
            const part own = plane ? part(w.carried.length[0], thread, size, 4) : rows;
            team.step([&] { return backend(N::cce_carry)(d, call.in, call.out, own.begin, own.end, work); });
            vrn::threads::barrier();
        }
        for (int dim = plane ? 0 : w.carried.rank - 1; dim > 0; --dim) {
            team.step([&] {
                const part p(column_units(w.carried, dim, 8).count(), thread, size, 1);
                return backend(N::cce_units_back)(d, call.out, dim, p.begin, p.end, work);
            });
            vrn::threads::barrier();
        }
        team.step([&] {
            return plane ? backend(N::cce_plane_rows_back)(d, call.out, rows.begin, rows.count(), work)
                         : backend(N::cce_rows_back)(d, call.out, call.out, rows.begin, rows.count(), work);
        });
    });
}

// ---- the three kinds ----

template <class R>
dft_status complex_call(const parallel_call& call, bool forward)
{
    const descriptor* d = call.d;
    using N = names<R>;
    auto driver = [&](void* in, void* out, std::int64_t count, void* work) {
        if (call.out == nullptr) return (forward ? backend(N::forward) : backend(N::backward))(d, in, count, work);
        return (forward ? backend(N::forward_out) : backend(N::backward_out))(d, in, out, count, work);
    };
    if (d->number_of_transforms == 1 && d->work_rank > 1) return complex_dimensions<R>(call, forward);
    const layout<R> l(d, forward);
    return batch(d, l.in_distance, l.out_distance, call, driver);
}

template <class R>
dft_status packed_call(const parallel_call& call, bool forward)
{
    const descriptor* d = call.d;
    using N = names<R>;
    const bool contiguous = d->input_stride == 1 && (d->output_stride == 1 || d->placement == in_place);
    if (d->number_of_transforms == 1 && d->work_rank == 2 && contiguous) return packed_plane<R>(call, forward);
    const layout<R> l(d, forward);
    return batch(d, l.in_distance, l.out_distance, call, [&](void* in, void* out, std::int64_t count, void* work) {
        return (forward ? backend(N::packed_forward) : backend(N::packed_backward))(d, in, out, count, work);
    });
}

template <class R>
dft_status cce_call(const parallel_call& call, bool forward)
{
    const descriptor* d = call.d;
    using N = names<R>;
    if (d->number_of_transforms == 1 && d->work_rank > 1) {
        if (forward) return cce_forward<R>(call);
        if (const way_back w(d); w.road != road_back::copy) return cce_backward<R>(call, w);
    }
    const layout<R> l(d, forward);
    return batch(d, l.in_distance, l.out_distance, call, [&](void* in, void* out, std::int64_t count, void* work) {
        return (forward ? backend(N::cce_forward) : backend(N::cce_backward))(d, in, out, count, work);
    });
}

} // namespace

// Columns, then rows, of the matrix that the line is. The matrix stands apart from the data: threads cannot turn it
// in place together.
template <class R, bool Forward>
dft_status line_on_threads(descriptor* d, const void* in, void* out)
{
    const auto* sizes = static_cast<const std::int64_t*>(d->via_2d); // rows and cols lead the record
    const std::int64_t rows = sizes[0], cols = sizes[1];
    void* matrix = vrn_serv_allocate(static_cast<std::uint64_t>(rows * cols) * 2 * sizeof(R), 4096);
    if (matrix == nullptr) return no_memory;
    std::atomic<dft_status> status{ok};
    vrn::threads::run(d->thread_count, [&](int thread, int size) {
        const part c(cols, thread, size), r(rows, thread, size);
        if (const dft_status s = backend(names<R>::columns_phase)(d, in, matrix, c.begin, c.end, Forward); s != ok)
            status = s;
        vrn::threads::barrier();
        if (status != ok) return;
        if (const dft_status s = backend(names<R>::rows_phase)(d, matrix, out, r.begin, r.end, Forward); s != ok)
            status = s;
    });
    vrn_serv_deallocate(matrix);
    return status;
}
template dft_status line_on_threads<double, true>(descriptor*, const void*, void*);
template dft_status line_on_threads<double, false>(descriptor*, const void*, void*);
template dft_status line_on_threads<float, true>(descriptor*, const void*, void*);
template dft_status line_on_threads<float, false>(descriptor*, const void*, void*);

} // namespace vrn::dft

#define PARALLEL(name, R, kind, forward)                                                                             \
    extern "C" vrn::dft::dft_status name(const vrn::dft::parallel_call* call)                                        \
    {                                                                                                                \
        return vrn::dft::kind<R>(*call, forward);                                                                    \
    }
PARALLEL(vrn_dft_compute_forward_z_par, double, complex_call, true)
PARALLEL(vrn_dft_compute_forward_z_out_par, double, complex_call, true)
PARALLEL(vrn_dft_compute_backward_z_par, double, complex_call, false)
PARALLEL(vrn_dft_compute_backward_z_out_par, double, complex_call, false)
PARALLEL(vrn_dft_compute_forward_c_par, float, complex_call, true)
PARALLEL(vrn_dft_compute_forward_c_out_par, float, complex_call, true)
PARALLEL(vrn_dft_compute_backward_c_par, float, complex_call, false)
PARALLEL(vrn_dft_compute_backward_c_out_par, float, complex_call, false)
PARALLEL(vrn_dft_compute_forward_d_par, double, packed_call, true)
PARALLEL(vrn_dft_compute_forward_d_out_par, double, packed_call, true)
PARALLEL(vrn_dft_compute_backward_d_par, double, packed_call, false)
PARALLEL(vrn_dft_compute_backward_d_out_par, double, packed_call, false)
PARALLEL(vrn_dft_compute_forward_s_par, float, packed_call, true)
PARALLEL(vrn_dft_compute_forward_s_out_par, float, packed_call, true)
PARALLEL(vrn_dft_compute_backward_s_par, float, packed_call, false)
PARALLEL(vrn_dft_compute_backward_s_out_par, float, packed_call, false)
PARALLEL(vrn_dft_compute_forward_dz_par, double, cce_call, true)
PARALLEL(vrn_dft_compute_forward_dz_out_par, double, cce_call, true)
PARALLEL(vrn_dft_compute_backward_zd_par, double, cce_call, false)
PARALLEL(vrn_dft_compute_backward_zd_out_par, double, cce_call, false)
PARALLEL(vrn_dft_compute_forward_sc_par, float, cce_call, true)
PARALLEL(vrn_dft_compute_forward_sc_out_par, float, cce_call, true)
PARALLEL(vrn_dft_compute_backward_cs_par, float, cce_call, false)
PARALLEL(vrn_dft_compute_backward_cs_out_par, float, cce_call, false)
