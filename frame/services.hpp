// frame/services.hpp - the services that kernels import from the host.
// The names are the contract of frame/imports.txt; the bodies live in core/services. Shared by both sides, so
// that a signature is told once.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

// Working memory. Sizes in bytes, alignments in bytes and a power of two; null on failure, never an exception.
// A size of 0 gives a block like any other. What vrn_serv_allocate gave goes back through vrn_serv_deallocate,
// what vrn_serv_malloc or vrn_serv_calloc gave through vrn_serv_free, on any thread; the pairs are not crossed,
// and a block that is stops the program with one line. Null is accepted by both and does nothing.
void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment);
void vrn_serv_deallocate(void* block);
void* vrn_serv_malloc(std::uint64_t size, std::int32_t alignment);
void* vrn_serv_calloc(std::uint64_t count, std::uint64_t size, std::int32_t alignment);
void vrn_serv_free(void* block);

// Processor and cache facts, from CPUID.
//
//     cpu_detect  microarchitecture  the processor has
//          0              60         nothing that this library knows
//          1              61         SSE2
//          2              62         SSSE3
//          3              63         SSE4.2, the least that the back-end runs on
//          4              64         AVX: transforms lay their work on pages
//          5              66         AVX2: two or three loads a cycle; GEMM broadcasts by loads (its second kernel)
//          6              66         AVX-512
//
// Neither changes a result. vrn_serv_cpuisbulldozer is 1 on AMD's family 15h, else 0.
std::int32_t vrn_serv_cpu_detect();
std::int32_t vrn_serv_get_microarchitecture();
std::int32_t vrn_serv_cpuisbulldozer();

// Fills six numbers; sizes in bytes, no more than INT32_MAX, 0 for a cache that is not there.
//
//     0  1 when the rest is valid, else 0       3  the cache that decides GEMM's row block: the last level
//     1  first level, data                      4  a line of the last level
//     2  second level                           5  logical processors that share one last level
void vrn_serv_cache_info(std::int32_t info[6]);

// The cache that two-dimensional transforms measure their data against, in bytes: the second level. 0 when it is
// not known and for any `which` but 0.
std::int32_t vrn_serv_get_cache_size(std::int32_t which);

// With 1: the reproducibility mode of vrn/service.h, where 1 (off) allows bodies whose rounding depends on
// addresses and any other value asks for their twins. With another `which`: 0.
std::int32_t vrn_serv_cbwr_get(std::int32_t which);

// Characters and errors. `length` arguments count the bytes of the texts before them. vrn_serv_lsame is non-zero
// for equal bytes and for the two cases of a letter. The checks return 0 for a usable pointer and 1 for null; one
// of them warns. The name is terminated; its length may follow and is not read.
std::int32_t vrn_serv_lsame(const char* option, const char* letter, std::int64_t option_length,
                            std::int64_t letter_length);
void vrn_serv_xerbla(const char* routine, const std::int64_t* argument, std::int64_t length);
std::int32_t vrn_serv_check_ptr_and_warn(const void* block, const char* routine, ...);
std::int32_t vrn_serv_check_ptr(const void* block, const char* routine, ...);

// Messages by number. `count` arguments follow and fill the conversions of the text; with fewer than it wants the
// text is given as it stands, and a number without a text gives "message 7 has no text". The result stays valid
// until the thread's next call, or for good where nothing was filled in; it has at most 511 bytes.
const char* vrn_serv_get_msg(std::int32_t number, std::int32_t count, ...);

// Printing, on channel 0 to standard output and on any other to standard error: a message and a newline, or a
// format with `count` arguments as it is. They return what printf returns: the bytes written, negative on an
// error, and -1 for a null format or stream, a %n in it, or too small a count.
std::int32_t vrn_serv_print(std::int32_t channel, std::int32_t number, std::int32_t count, ...);
std::int32_t vrn_serv_format_print(std::int32_t channel, const char* format, std::int32_t count, ...);
std::int32_t vrn_serv_printf_s(const char* format, ...);
std::int32_t vrn_serv_fprintf_s(void* stream, const char* format, ...);

// Into memory: nothing past the capacity, and always terminated where the capacity is not 0. The bytes written,
// without the terminator, or -1 when the text was cut to fit or for what the others refuse.
std::int32_t vrn_serv_sprintf_s(char* to, std::uint64_t capacity, const char* format, ...);

// At most `count` bytes of a text, copied or appended. 0 on success; ERANGE when the text was cut to fit, and then
// it is terminated too; EINVAL for a null pointer, no capacity, or a destination without an end to append to.
std::int32_t vrn_serv_strncpy_s(char* to, std::uint64_t capacity, const char* from, std::uint64_t count);
std::int32_t vrn_serv_strncat_s(char* to, std::uint64_t capacity, const char* from, std::uint64_t count);

// Bytes, all or none; the ranges may overlap. 0 on success, ERANGE when `count` exceeds the capacity, EINVAL for a
// null pointer; on either the destination is filled with zeros, as Annex K has it. No bytes are always a success.
std::int32_t vrn_serv_memcpy_unbounded_s(void* to, std::uint64_t capacity, const void* from, std::uint64_t count);
std::int32_t vrn_serv_memmove_s(void* to, std::uint64_t capacity, const void* from, std::uint64_t count);

// The library's name and version as one line, cut to fit and terminated.
void vrn_serv_get_version_string_c(char* buffer, std::int32_t capacity);

void vrn_serv_libm_sincos(double x, double* sine, double* cosine);
void vrn_serv_libm_sincosf(float x, float* sine, float* cosine);

} // extern "C"
