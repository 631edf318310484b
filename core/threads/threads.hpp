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

// Runs work(thread, team) once on each of up to `wanted` threads and returns when all are done. The team can
// come out smaller than wanted; work must go by the numbers it gets. Work may call barrier(), and must not throw.
template <class Work>
void run(int wanted, Work&& work)
{
    if (wanted <= 1 || single()) {
        work(0, 1);
        return;
    }
#pragma omp parallel num_threads(wanted < most ? wanted : most)
    work(omp_get_thread_num(), omp_get_num_threads());
}

// Waits for all threads of the innermost run. To be called by work that got a team of more than one; for a team of
// one inside a caller's own parallel region it would wait for the caller's other threads.
inline void barrier()
{
#pragma omp barrier
}

} // namespace vrn::threads
