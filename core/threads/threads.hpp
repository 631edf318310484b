// core/threads/threads.hpp - the one place that runs work on threads.
//
// OpenMP's threads, one level deep: a call from inside a parallel region runs on its caller. In the child of a
// fork everything stays on the one thread, since the OpenMP runtime does not survive a fork.
#pragma once

#include <omp.h>

namespace vrn::threads {

// How many threads a large piece of work may use here and now; at least 1.
int available() noexcept;

// Runs work(thread, team) once on each of up to `wanted` threads and returns when all are done. The team can
// come out smaller than wanted; work must go by the numbers it gets. Work may call barrier().
template <class Work>
void run(int wanted, Work&& work)
{
    if (wanted <= 1) {
        work(0, 1);
        return;
    }
#pragma omp parallel num_threads(wanted)
    work(omp_get_thread_num(), omp_get_num_threads());
}

// Waits for all threads of the innermost run.
inline void barrier()
{
#pragma omp barrier
}

} // namespace vrn::threads
