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

/* Whether the same numbers at other addresses must give the same bits. A few kernels split their sums by the
 * alignment of the data, which is faster; the strict mode takes their twins that do not. On one machine with one
 * version of the library the results then depend on nothing but the numbers, shapes and strides. */
enum { VRN_CBWR_OFF = 1, VRN_CBWR_STRICT = 2 };

/* Sets the mode for the whole process; calls in progress on other threads may still see the old one. Returns 0, or
 * 1 for a value that is neither, which changes nothing. Until it is called the environment variable VRN_CBWR
 * decides, in either case of letters: OFF or AUTO, which is the default, or STRICT or COMPATIBLE. Any other text
 * is taken as STRICT, with a line on standard error. */
int vrn_set_cbwr(int mode);
int vrn_get_cbwr(void);

/* The version as "major.minor.patch". */
const char* vrn_version(void);

/* Loads the back-end now, which the first call of a numerical routine would do otherwise, and returns 0; or, where
 * that call would print a line and abort, a non-zero number and the line:
 *     1  the processor lacks SSE4.2
 *     2  the back-end's library is missing beside this one, or does not load
 *     3  it is the back-end of another tier
 *     4  it lacks a name
 * `why` may be null; it receives a text without newline, empty on success, that lives as long as the process. The
 * outcome of the first attempt stands. */
int vrn_load(const char** why);

/* Called with a routine's name (not terminated), the one-based number of its bad argument and the length of the
 * name, on the thread of the call. The routine returns to its caller right after, having written nothing. */
typedef void (*vrn_xerbla_handler)(const char* routine, const int64_t* argument, int64_t length);

/* Replaces the handler that reports a bad argument, for the whole process, and returns the one before; null restores
 * the default, which prints one line to standard error. */
vrn_xerbla_handler vrn_set_xerbla(vrn_xerbla_handler handler);

#ifdef __cplusplus
}
#endif

#endif
