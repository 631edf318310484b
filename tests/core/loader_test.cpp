// tests/core/loader_test.cpp - the road from the host into the back-end: found beside the host, whole or refused in
// one clear line, once and safely from several threads.

#include "core/services/memory.hpp"
#include "tests/support/process.hpp"

#include <filesystem>
#include <gtest/gtest.h>

using vrn::test::ending;
using vrn::test::run_program;
namespace fs = std::filesystem;

namespace {

const fs::path built = VRN_LIBRARY_DIR;

// A folder with a copy of the host, alone or with a back-end beside it.
class Loader : public testing::Test {
  protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "vrn_loader_XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
        host = folder / "libvrn_core.so.0";
        fs::copy_file(built / "libvrn_core.so.0", host);
    }
    void TearDown() override { fs::remove_all(folder); }

    void put(const fs::path& backend) { fs::copy_file(backend, folder / "libvrn_s42.so"); }
    void put_fake(const std::string& name) { put(fs::path(VRN_FAKES) / (name + ".so")); }

    ending probe(const std::string& way) const { return run_program({VRN_PROBE, host.string(), way}); }
    std::string load() const
    {
        const ending e = probe("load");
        EXPECT_TRUE(e.exited(0)) << e.status << " " << e.err;
        EXPECT_EQ(e.err, "") << "vrn_load prints nothing";
        EXPECT_EQ(e.out.find('\n'), e.out.npos) << "one line";
        return e.out;
    }
    // What a caller of an ordinary routine sees: that line and an abort.
    void expect_abort(const std::string& outcome) const
    {
        const ending e = probe("use");
        EXPECT_TRUE(e.killed_by(SIGABRT)) << e.status;
        EXPECT_EQ(e.err, outcome.substr(2) + "\n");
    }

    fs::path folder, host;
};

} // namespace

TEST_F(Loader, WholeBackendBesideTheHost)
{
    put(built / "libvrn_s42.so");
    EXPECT_EQ(load(), "0|");
    EXPECT_TRUE(probe("use").exited(0));
}

// A back-end is known by its names alone: nothing else of the real one is needed.
TEST_F(Loader, FakeThatIsWhole)
{
    put_fake("fake_whole");
    EXPECT_EQ(load(), "0|");
}

TEST_F(Loader, NoBackend)
{
    const std::string outcome = load();
    EXPECT_TRUE(outcome.starts_with("2|vrn: cannot load the back-end: ")) << outcome;
    EXPECT_NE(outcome.find((folder / "libvrn_s42.so").string()), outcome.npos) << outcome;
    expect_abort(outcome);
}

TEST_F(Loader, NotALibrary)
{
    put(fs::path(VRN_SOURCE_DIR) / "LICENSE");
    EXPECT_TRUE(load().starts_with("2|vrn: cannot load the back-end: "));
}

TEST_F(Loader, MissingNames)
{
    put_fake("fake_missing");
    const std::string outcome = load();
    EXPECT_EQ(outcome, "4|vrn: " + (folder / "libvrn_s42.so").string() +
                           " lacks 2 of 5019 names, the first is vrn_blas_s42_xdaxpy");
    expect_abort(outcome);
}

TEST_F(Loader, AnotherTier)
{
    put_fake("fake_tier");
    const std::string outcome = load();
    EXPECT_EQ(outcome, "3|vrn: " + (folder / "libvrn_s42.so").string() +
                           " is a back-end of tier 4, this host needs tier 3");
    expect_abort(outcome);
}

TEST_F(Loader, ProcessorWithoutSse42)
{
    if (vrn::memory::sees_addresses) GTEST_SKIP() << "the sanitizer's runtime has its own use for SIGSEGV";
    put(built / "libvrn_s42.so");
    const ending e = probe("no-sse42");
    if (e.exited(77)) GTEST_SKIP() << "CPUID cannot be made to fault here";
    EXPECT_TRUE(e.exited(0)) << e.status;
    EXPECT_EQ(e.out, "1|vrn: this processor lacks SSE4.2, which the library needs");
}

// A link to the host in another folder: the back-end lies beside the file that it leads to.
TEST_F(Loader, HostThroughALink)
{
    fs::remove(host);
    fs::create_symlink(built / "libvrn_core.so.0", host);
    EXPECT_EQ(load(), "0|");
    // Beside the link goes first.
    put_fake("fake_tier");
    EXPECT_TRUE(load().starts_with("3|"));
}

// A relative path that the program leaves before the first use.
TEST_F(Loader, RelativePath)
{
    put(built / "libvrn_s42.so");
    const ending e = vrn::test::in_child([&] {
        fs::current_path(folder);
        execl(VRN_PROBE, VRN_PROBE, "./libvrn_core.so.0", "elsewhere", nullptr);
        return 126;
    });
    EXPECT_EQ(e.out, "0|") << e.err;
}

TEST_F(Loader, FirstUseFromManyThreads)
{
    put(built / "libvrn_s42.so");
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(probe("threads").exited(0));
}

TEST_F(Loader, UsedInTheChildOfAFork)
{
    put(built / "libvrn_s42.so");
    EXPECT_TRUE(probe("fork").exited(0));
}
