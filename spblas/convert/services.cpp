// spblas/convert/services.cpp - services that know no number: memory, and zeros of one width whatever they stand for.
#include "frame/services.hpp"
#include "frame/export.hpp"
#include "spblas/convert/services.hpp"

using vrn::spblas::convert::clear;

// A body for each width of an element; a complex of two floats is as wide as a double.
#define VRN_ZEROS(name, I, bytes)                                                                                    \
    VRN_EXPORT void name(void* x, const I* n) { clear(static_cast<char*>(x), std::ptrdiff_t{*n} * bytes); }

VRN_ZEROS(vrn_spblas_s42_szeros, std::int64_t, 4)
VRN_ZEROS(vrn_spblas_s42_czeros, std::int64_t, 8)
VRN_ZEROS(vrn_spblas_s42_zzeros, std::int64_t, 16)
VRN_ZEROS(vrn_spblas_lp64_s42_szeros, std::int32_t, 4)
VRN_ZEROS(vrn_spblas_lp64_s42_czeros, std::int32_t, 8)
VRN_ZEROS(vrn_spblas_lp64_s42_zzeros, std::int32_t, 16)
VRN_ALIAS(vrn_spblas_s42_dzeros, vrn_spblas_s42_czeros);
VRN_ALIAS(vrn_spblas_lp64_s42_dzeros, vrn_spblas_lp64_s42_czeros);

VRN_EXPORT void* vrn_spblas_s42_spmalloc(std::int64_t size)
{
    return size == 0 ? nullptr : vrn_serv_malloc(static_cast<std::uint64_t>(size), 128);
}
VRN_ALIAS(vrn_spblas_lp64_s42_spmalloc, vrn_spblas_s42_spmalloc);

VRN_EXPORT void vrn_spblas_s42_spfree(void* const* p) { vrn_serv_free(*p); }
VRN_ALIAS(vrn_spblas_lp64_s42_spfree, vrn_spblas_s42_spfree);
