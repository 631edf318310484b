// tests/frame/pending_test.cpp - a name without a body says so and stops; it is never a silent stub.
// Every pending name of both libraries is called in a child of its own.

#include "tests/support/names.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

using namespace vrn::test;

namespace {

struct library {
    const char* title;
    std::string path;
    const char* list; // made by the build
};

void PrintTo(const library& l, std::ostream* out) { *out << l.title; }

class Pending : public testing::TestWithParam<library> {};

void dies_with_its_name(void* handle, const std::string& name)
{
    auto* body = reinterpret_cast<void (*)()>(dlsym(handle, name.c_str()));
    ASSERT_NE(body, nullptr) << name;
    const ending e = in_child([&] {
        body();
        return 0;
    });
    EXPECT_TRUE(e.killed_by(SIGABRT)) << name << " came back";
    EXPECT_EQ(e.err, "vrn: " + name + " is not written yet\n");
}

} // namespace

TEST_P(Pending, BuildListIsTheLibrarys)
{
    const auto list = words_of(GetParam().list);
    EXPECT_EQ(std::set<std::string>(list.begin(), list.end()), pending_names(GetParam().path));
}

TEST_P(Pending, DiesWithItsName)
{
    void* handle = dlopen(GetParam().path.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    const auto names = words_of(GetParam().list);
    for (const std::string& name : names) {
        dies_with_its_name(handle, name);
        if (HasFailure()) break;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Libraries, Pending,
    testing::Values(library{"Backend", backend_path, VRN_BINARY_DIR "/frame/pending_exports.txt"},
                    library{"Host", host_path, VRN_BINARY_DIR "/core/pending_imports.txt"}),
    [](const auto& info) { return info.param.title; });
