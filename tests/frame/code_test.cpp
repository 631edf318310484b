// tests/frame/code_test.cpp - the back-end's machine code holds nothing wider than SSE4.2: it is disassembled and
// every instruction looked at.

#include "tests/support/names.hpp"

#include <algorithm>
#include <gtest/gtest.h>

using namespace vrn::test;

namespace {

// An instruction as objdump prints it, mnemonic and operands.
bool is_beyond_sse42(std::string_view instruction)
{
    const std::string_view mnemonic = instruction.substr(0, instruction.find(' '));
    // Every VEX and EVEX form is spelled with a v; the few old instructions that are too are not for a kernel
    // either. Mask and general-register forms have names of their own. tzcnt is left out: compilers write it for
    // bsf, and processors without it execute bsf.
    static constexpr std::string_view prefixes[] = {"v",    "kmov", "kand", "kor",    "kxor", "knot", "kunpck",
                                                    "kadd", "ktest", "kshift", "pdep", "pext", "blsi", "blsr",
                                                    "blsmsk", "bzhi", "mulx", "rorx", "sarx", "shlx", "shrx",
                                                    "andn", "bextr", "lzcnt", "movbe", "aes", "pclmul", "sha1",
                                                    "sha256", "adcx", "adox"};
    // andnps and andnpd are SSE, the extractions pextrb to pextrq SSE4.1.
    if (mnemonic == "andnps" || mnemonic == "andnpd" || mnemonic.starts_with("pextr")) return false;
    return std::ranges::any_of(prefixes, [&](auto p) { return mnemonic.starts_with(p); }) ||
           instruction.find("%ymm") != instruction.npos || instruction.find("%zmm") != instruction.npos;
}

} // namespace

TEST(Code, KnowsTheWiderForms)
{
    for (const char* wide : {"vaddpd %xmm1,%xmm0,%xmm0", "vzeroupper", "kmovb %eax,%k1", "andn %eax,%ebx,%ecx",
                             "shlx %rax,%rbx,%rcx", "mulx %rax,%rbx,%rcx", "foo %ymm1", "foo 0x0(%rax),%zmm31"})
        EXPECT_TRUE(is_beyond_sse42(wide)) << wide;
    for (const char* fine : {"addpd %xmm1,%xmm0", "andnpd %xmm1,%xmm0", "pcmpgtq %xmm1,%xmm0", "pextrq $0x1,%xmm0,%rdx", "popcnt %rax,%rbx",
                             "tzcnt %rax,%rax", "jmp 10 <vrn_blas_s42_xdaxpy>", "ret"})
        EXPECT_FALSE(is_beyond_sse42(fine)) << fine;
}

TEST(Code, BackendStaysWithinSse42)
{
    std::size_t instructions = 0, vectors = 0;
    const int status = each_line_of("objdump -d --no-show-raw-insn " + backend_path, [&](std::string_view line) {
        const auto tab = line.find(":\t");
        if (tab == line.npos) return;
        ++instructions;
        vectors += line.find("%xmm") != line.npos;
        if (is_beyond_sse42(line.substr(tab + 2))) ADD_FAILURE() << line;
    });
    EXPECT_EQ(status, 0);
    EXPECT_GT(instructions, 10000u);
    EXPECT_GT(vectors, 0u);
}
