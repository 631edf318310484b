/* vrn/service.h - threads, reproducibility, errors and facts about the library. Plain C11. */
#ifndef VRN_SERVICE_H
#define VRN_SERVICE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Sets the number of threads that later calls may use, for the whole process. A value below 1 returns to the
 * default: the environment variable VRN_NUM_THREADS, else OpenMP's own choice, which honours OMP_NUM_THREADS. */
void vrn_set_num_threads(int count);

/* The number of threads that the next large call may use: 1 inside a parallel region of the caller and in the
 * child of a fork. */
int vrn_get_max_threads(void);

/* Called with a routine's name (not terminated), the one-based number of its bad argument and the length of the
 * name, on the thread of the call. The routine returns to its caller right after, having written nothing. */
typedef void (*vrn_xerbla_handler)(const char* routine, const int64_t* argument, int64_t length);

/* Replaces the handler that reports a bad argument and returns the one before; null restores the default, which
 * prints one line to standard error. */
vrn_xerbla_handler vrn_set_xerbla(vrn_xerbla_handler handler);

#ifdef __cplusplus
}
#endif

#endif
