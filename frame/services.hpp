// frame/services.hpp - the services that kernels import from the host.
// The names are the contract of frame/imports.txt; the bodies live in core/services. Shared by both sides, so
// that a signature is told once.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

// Working memory. Sizes in bytes, alignments in bytes and a power of two; null on failure, never an exception.
// What vrn_serv_allocate gave goes back through vrn_serv_deallocate, what vrn_serv_malloc or vrn_serv_calloc
// gave through vrn_serv_free; the pairs are not crossed. Null is accepted by both and does nothing.
void* vrn_serv_allocate(std::uint64_t size, std::int32_t alignment);
void vrn_serv_deallocate(void* block);
void* vrn_serv_malloc(std::uint64_t size, std::int32_t alignment);
void* vrn_serv_calloc(std::uint64_t count, std::uint64_t size, std::int32_t alignment);
void vrn_serv_free(void* block);

// Processor and cache facts.
std::int32_t vrn_serv_cpu_detect();
std::int32_t vrn_serv_get_microarchitecture();
std::int32_t vrn_serv_cpuisbulldozer();
void vrn_serv_cache_info(std::int32_t info[6]);
std::int32_t vrn_serv_get_cache_size(std::int32_t which);

// The reproducibility mode; 1 allows bodies whose rounding depends on addresses.
std::int32_t vrn_serv_cbwr_get(std::int32_t which);

// Characters and errors. `length` arguments count the bytes of the texts before them.
std::int32_t vrn_serv_lsame(const char* option, const char* letter, std::int64_t option_length,
                            std::int64_t letter_length);
void vrn_serv_xerbla(const char* routine, const std::int64_t* argument, std::int64_t length);
std::int32_t vrn_serv_check_ptr_and_warn(const void* block, const char* routine, ...);
std::int32_t vrn_serv_check_ptr(const void* block, const char* routine, ...);

// Text and messages, in the manner of the bounded functions of C11 Annex K: the destination and its capacity
// first, nothing past the capacity, 0 on success.
const char* vrn_serv_get_msg(std::int32_t number, std::int32_t zero);
std::int32_t vrn_serv_print(std::int32_t channel, std::int32_t number, ...);
std::int32_t vrn_serv_format_print(std::int32_t channel, const char* format, std::int32_t count, ...);
std::int32_t vrn_serv_printf_s(const char* format, ...);
std::int32_t vrn_serv_fprintf_s(void* stream, const char* format, ...);
std::int32_t vrn_serv_sprintf_s(char* to, std::uint64_t capacity, const char* format, ...);
std::int32_t vrn_serv_strncpy_s(char* to, std::uint64_t capacity, const char* from, std::uint64_t count);
std::int32_t vrn_serv_strncat_s(char* to, std::uint64_t capacity, const char* from, std::uint64_t count);
std::int32_t vrn_serv_memcpy_unbounded_s(void* to, std::uint64_t capacity, const void* from, std::uint64_t count);
std::int32_t vrn_serv_memmove_s(void* to, std::uint64_t capacity, const void* from, std::uint64_t count);
void vrn_serv_get_version_string_c(char* buffer, std::int32_t capacity);
void vrn_serv_libm_sincos(double x, double* sine, double* cosine);
void vrn_serv_libm_sincosf(float x, float* sine, float* cosine);

} // extern "C"
