// tests/frame/stubs_test.cpp - exported names that do nothing, that answer a constant, and that jump back into the
// host. The host's entries of the last kind are interposed here, so that a jump to anywhere else is seen.

#include "tests/support/backend.hpp"
#include "tests/support/names.hpp"

#include <array>
#include <gtest/gtest.h>
#include <numeric>
#include <thread>

using vrn::test::kernel;

namespace {

// A name that jumps, the host's entry behind it, and what the entry answers here: its own address.
struct jump {
    std::string name, entry;
    std::int64_t answer;
};
std::vector<jump> jumps;

// Which interposed entry was called, and with what.
struct call {
    std::string entry;
    std::vector<const void*> arguments;
};
std::vector<call> calls;

// Seven arguments: six travel in registers, the last on the stack.
using seven = std::int64_t(const void*, const void*, const void*, const void*, const void*, const void*, const void*);

} // namespace

#define JUMP(name, entry)                                                                                    \
    extern "C" std::int64_t entry(const void* a, const void* b, const void* c, const void* d, const void* e,  \
                                  const void* f, const void* g)                                              \
    {                                                                                                        \
        calls.push_back({#entry, {a, b, c, d, e, f, g}});                                                    \
        return reinterpret_cast<std::int64_t>(&entry);                                                       \
    }                                                                                                        \
    static const bool entry##_listed =                                                                       \
        (jumps.push_back({#name, #entry, reinterpret_cast<std::int64_t>(&entry)}), true)

JUMP(vrn_blas_lp64_caxpy, vrn_blas_lp64_caxpy);
JUMP(vrn_blas_lp64_ccopy, vrn_blas_lp64_ccopy);
JUMP(vrn_blas_lp64_cdotu, vrn_blas_lp64_cdotu);
JUMP(vrn_blas_lp64_cscal, vrn_blas_lp64_cscal);
JUMP(vrn_blas_lp64_daxpy, vrn_blas_lp64_daxpy);
JUMP(vrn_blas_lp64_dcopy, vrn_blas_lp64_dcopy);
JUMP(vrn_blas_lp64_ddot, vrn_blas_lp64_ddot);
JUMP(vrn_blas_lp64_dscal, vrn_blas_lp64_dscal);
JUMP(vrn_blas_lp64_saxpy, vrn_blas_lp64_saxpy);
JUMP(vrn_blas_lp64_scopy, vrn_blas_lp64_scopy);
JUMP(vrn_blas_lp64_sdot, vrn_blas_lp64_sdot);
JUMP(vrn_blas_lp64_sscal, vrn_blas_lp64_sscal);
JUMP(vrn_blas_lp64_zaxpy, vrn_blas_lp64_zaxpy);
JUMP(vrn_blas_lp64_zcopy, vrn_blas_lp64_zcopy);
JUMP(vrn_blas_lp64_zdotu, vrn_blas_lp64_zdotu);
JUMP(vrn_blas_lp64_zscal, vrn_blas_lp64_zscal);
JUMP(vrn_conv_s42_CopyTask, vrn_conv_copytask);
JUMP(vrn_conv_s42_DeleteTask, vrn_conv_deletetask);
JUMP(vrn_conv_s42_EditTask, vrn_conv_edittask);
JUMP(vrn_conv_s42_Exec, vrn_conv_exec);
JUMP(vrn_conv_s42_ExecX, vrn_conv_execx);
JUMP(vrn_conv_s42_NewTask, vrn_conv_newtask);
JUMP(vrn_conv_s42_NewTaskX, vrn_conv_newtaskx);

namespace {

// The back-end's own symbol: the host has some of the same spelling.
void* exported(const std::string& name)
{
    static void* library = dlopen(vrn::test::backend_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    return dlvsym(library, name.c_str(), "VRN_S42_1");
}

} // namespace

TEST(Stubs, JumpsReachTheHostsEntry)
{
    const char place[7] = {};
    ASSERT_EQ(jumps.size(), 23u);
    for (const auto& [name, entry, answer] : jumps) {
        auto* stub = reinterpret_cast<seven*>(exported(name));
        ASSERT_NE(stub, nullptr) << name;
        calls.clear();
        EXPECT_EQ(stub(place, place + 1, place + 2, place + 3, place + 4, place + 5, place + 6), answer) << name;
        ASSERT_EQ(calls.size(), 1u) << name;
        EXPECT_EQ(calls[0].entry, entry);
        for (std::size_t i = 0; i < 7; ++i) EXPECT_EQ(calls[0].arguments[i], place + i) << name;
    }
}

TEST(Stubs, EmptyOnesChangeNothing)
{
    const auto names = vrn::test::alias_groups()[0];
    ASSERT_EQ(names.size(), 71u);
    std::array<unsigned char, 4096> data;
    std::iota(data.begin(), data.end(), static_cast<unsigned char>(1));
    const auto before = data;
    for (const std::string& name : names) {
        auto* stub = kernel<void(void*, void*, void*, void*, void*, void*, void*, double, float)>(name);
        auto* p = data.data();
        stub(p, p + 8, p + 64, p + 512, p + 1000, p + 2000, p + 4000, 1.0, 2.0f);
        stub(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, 0.0, 0.0f);
        reinterpret_cast<void (*)()>(exported(name))();
        EXPECT_EQ(data, before) << name;
    }
}

TEST(Stubs, Constants)
{
    std::int64_t elsewhere = 0;
    std::thread([&] { elsewhere = kernel<std::int64_t()>("dll_cpu_version")(); }).join();
    EXPECT_EQ(elsewhere, 3);
    EXPECT_EQ(kernel<std::int64_t()>("dll_cpu_version")(), 3);
    EXPECT_EQ(kernel<std::int64_t()>("vrn_blas_s42_get_kernel_api_version")(), 1);
    for (const char* t : {"s", "d", "c", "z"})
        EXPECT_EQ(kernel<std::int64_t()>("vrn_blas_s42_" + std::string(t) + "gemm_api_support")(), 1) << t;
    for (const char* i : {"i4", "i8"}) {
        const std::string end = std::string(i) + "_s42";
        EXPECT_EQ(kernel<std::int64_t()>("vrn_sparse_get_error_info_" + end)(), 0);
        EXPECT_EQ(kernel<std::int64_t()>("vrn_sparse_s_csr_ctd_sv_ker_" + end)(), 0);
        EXPECT_EQ(kernel<std::int64_t()>("vrn_sparse_d_csr_ctd_sv_ker_" + end)(), 0);
    }
}

TEST(Stubs, NumberOfGemmKernels)
{
    if (vrn::test::pending_names(vrn::test::backend_path).contains("vrn_blas_s42_dgemm_num_kernels"))
        GTEST_SKIP() << "not written yet";
    for (const char* t : {"s", "d", "c", "z"}) {
        std::int32_t count[2] = {-1, -1};
        kernel<void(std::int32_t*)>("vrn_blas_s42_" + std::string(t) + "gemm_num_kernels")(count);
        EXPECT_EQ(count[0], *t == 'd' ? 2 : 1) << t;
        EXPECT_EQ(count[1], -1) << "more than one 32-bit integer written";
    }
}
