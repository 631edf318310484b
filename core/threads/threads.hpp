// core/threads/threads.hpp - the one place that runs work on threads.
//
// OpenMP's threads, one level deep: a call from inside a parallel region runs on its caller. In the child of a
// fork everything stays on the one thread, since the OpenMP runtime does not survive a fork.
#pragma once

#include <omp.h>

namespace vrn::threads {

// More threads than this are never asked for: a larger number is a slip, and the runtime would end the program.
inline constexpr int most = 4096;

// How many threads a large piece of work may use here and now; at least 1.
int available() noexcept;

// Whether work stays on the calling thread whatever number is set: inside a parallel region, after a fork.
bool single() noexcept;

// Whether the innermost run on this thread is a team of one, which OpenMP knows nothing of.
inline constinit thread_local bool alone = false;

// Runs work(thread, team) once on each of up to `wanted` threads and returns when all are done. The team can
// come out smaller than wanted; work must go by the numbers it gets. Work may call barrier(), and must not throw.
template <class Work>
void run(int wanted, Work&& work)
{
    if (wanted <= 1 || single()) {
        const bool before = alone;
        alone = true;
        work(0, 1);
        alone = before;
        return;
    }
#pragma omp parallel num_threads(wanted < most ? wanted : most)
    {
        const bool before = alone;
        alone = false;
        work(omp_get_thread_num(), omp_get_num_threads());
        alone = before;
    }
}

// Waits for all threads of the innermost run. A team of one does not wait: the barrier would be that of a parallel
// region around the call, whose other threads never come.
inline void barrier()
{
    if (alone) return;
#pragma omp barrier
}

} // namespace vrn::threads
