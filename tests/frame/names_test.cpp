// tests/frame/names_test.cpp - the built libraries against the contract: names both ways, versions, needed
// libraries, shared bodies, and the tool that counts what is written.

#include "core/services/memory.hpp"
#include "tests/support/names.hpp"

#include <algorithm>
#include <gtest/gtest.h>

using namespace vrn::test;

namespace {

std::vector<std::string> contract(const char* file)
{
    return words_of(std::string(VRN_SOURCE_DIR "/frame/") + file);
}

std::set<std::string> keys(const symbols& s)
{
    std::set<std::string> names;
    for (const auto& [name, unused] : s) names.insert(name);
    return names;
}

std::set<std::string> minus(const std::set<std::string>& a, const std::set<std::string>& b)
{
    std::set<std::string> rest;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(rest, rest.end()));
    return rest;
}

using set = std::set<std::string>;

} // namespace

TEST(Names, ExportsAreTheContract)
{
    const auto list = contract("exports.txt");
    const set wanted(list.begin(), list.end());
    ASSERT_EQ(list.size(), 5019u);
    ASSERT_EQ(wanted.size(), 5019u) << "a name stands twice";
    const symbols exported = dynamic_symbols(backend_path, "--defined-only");
    EXPECT_EQ(minus(wanted, keys(exported)), set{}) << "not exported";
    EXPECT_EQ(minus(keys(exported), wanted), set{}) << "exported, not in the contract";
    for (const auto& [name, s] : exported) {
        EXPECT_EQ(s.version, "@@VRN_S42_1") << name;
        EXPECT_EQ(s.kind, 'T') << name;
    }
}

TEST(Names, ImportsAreTheContract)
{
    const auto list = contract("imports.txt");
    const set wanted(list.begin(), list.end());
    ASSERT_EQ(list.size(), 342u);
    ASSERT_EQ(wanted.size(), 342u) << "a name stands twice";
    symbols imported = dynamic_symbols(backend_path, "--undefined-only");
    set ours;
    for (const auto& [name, s] : imported)
        if (name.starts_with("vrn_")) {
            ours.insert(name);
            EXPECT_EQ(s.version, "@VRN_CORE_1") << name;
        }
    EXPECT_EQ(minus(wanted, ours), set{}) << "not imported";
    EXPECT_EQ(minus(ours, wanted), set{}) << "imported, not in the contract";
    EXPECT_EQ(minus(wanted, keys(dynamic_symbols(host_path, "--defined-only"))), set{}) << "not in the host";
}

TEST(Names, SixteenAreBoth)
{
    const symbols in = dynamic_symbols(backend_path, "--undefined-only");
    set both;
    for (const auto& [name, s] : dynamic_symbols(backend_path, "--defined-only"))
        if (in.contains(name)) both.insert(name);
    EXPECT_EQ(both.size(), 16u);
    for (const std::string& name : both) EXPECT_TRUE(name.starts_with("vrn_blas_lp64_")) << name;
}

// Every export of the host is spelled vrn_ and carries its version: nothing of its insides leaks out.
TEST(Names, HostExportsOnlyItsOwn)
{
    for (const auto& [name, s] : dynamic_symbols(host_path, "--defined-only")) {
        EXPECT_TRUE(name.starts_with("vrn_")) << name;
        EXPECT_EQ(s.version, "@@VRN_CORE_1") << name;
    }
}

TEST(Names, BackendNeedsOnlyHostAndC)
{
    if (vrn::memory::sees_addresses) GTEST_SKIP() << "the sanitizers add their runtime";
    set needed;
    for (const std::string& line : lines_of("readelf -dW " + backend_path)) {
        if (line.find("(NEEDED)") == line.npos) continue;
        const auto from = line.find('[') + 1;
        needed.insert(line.substr(from, line.find(']') - from));
    }
    EXPECT_TRUE(needed.contains("libvrn_core.so.0"));
    EXPECT_EQ(minus(needed, {"libvrn_core.so.0", "libc.so.6", "libm.so.6"}), set{});
}

// A group is shared as a whole or not written at all, and nobody else shares.
TEST(Names, SharedBodies)
{
    const auto groups = alias_groups();
    const symbols exported = dynamic_symbols(backend_path, "--defined-only");
    const set pending = pending_names(backend_path);
    ASSERT_EQ(groups.size(), 33u);
    std::map<std::string, std::size_t> group_of;
    std::size_t active = 0;
    for (std::size_t g = 0; g < groups.size(); ++g) {
        std::set<std::uint64_t> addresses;
        std::size_t waiting = 0;
        for (const std::string& name : groups[g]) {
            ASSERT_TRUE(exported.contains(name)) << name;
            ASSERT_TRUE(group_of.emplace(name, g).second) << name << " stands twice";
            addresses.insert(exported.at(name).address);
            waiting += pending.contains(name);
        }
        ASSERT_GE(groups[g].size(), 2u);
        if (waiting == groups[g].size()) continue;
        ++active;
        EXPECT_EQ(waiting, 0u) << "only partly written: the group of " << groups[g][0];
        EXPECT_EQ(addresses.size(), 1u) << "not one body: the group of " << groups[g][0];
    }
    EXPECT_GE(active, 3u) << "the stubs at least are written";
    std::map<std::uint64_t, std::string> first;
    for (const auto& [name, s] : exported) {
        const auto [at, is_new] = first.emplace(s.address, name);
        if (is_new) continue;
        const bool together = group_of.contains(name) && group_of.contains(at->second) &&
                              group_of[name] == group_of[at->second];
        EXPECT_TRUE(together) << name << " and " << at->second << " share a body";
    }
}

TEST(Names, CountToolAgrees)
{
    const std::size_t waiting = pending_names(backend_path).size();
    const auto lines = lines_of(VRN_SOURCE_DIR "/tools/pending " + backend_path);
    std::istringstream last(lines.back());
    std::string all;
    std::size_t names = 0, real = 0, pending = 0;
    last >> all >> names >> real >> pending;
    EXPECT_EQ(all, "all");
    EXPECT_EQ(names, 5019u);
    EXPECT_EQ(pending, waiting);
    EXPECT_EQ(real + pending, 5019u);
}
