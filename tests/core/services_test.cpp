// tests/core/services_test.cpp - letters, errors, text, messages, the version and the reproducibility mode.

#include "frame/services.hpp"
#include "tests/support/process.hpp"
#include "vrn/service.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

using vrn::test::in_child;
using vrn::test::run_program;

TEST(Letters, CaseIsIgnoredForLettersOnly)
{
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b) {
            const char x = static_cast<char>(a), y = static_cast<char>(b);
            const bool letters = (a | 32) >= 'a' && (a | 32) <= 'z' && (a | 32) == (b | 32);
            EXPECT_EQ(vrn_serv_lsame(&x, &y, 1, 1) != 0, a == b || letters) << a << " and " << b;
        }
}

namespace {

struct report {
    std::string routine;
    std::int64_t argument = 0;
} last_report;
void remember(const char* routine, const std::int64_t* argument, std::int64_t length)
{
    last_report = {{routine, static_cast<std::size_t>(length)}, *argument};
}

} // namespace

TEST(Errors, DefaultReportIsOneLine)
{
    const auto e = in_child([] {
        const std::int64_t five = 5, twelve = 12;
        vrn_serv_xerbla("DLASD3garbage", &five, 6);
        vrn_serv_xerbla("ZGEMM   ", &twelve, 8);
        return 0;
    });
    EXPECT_EQ(e.err, "vrn: parameter 5 of DLASD3 has an illegal value\n"
                     "vrn: parameter 12 of ZGEMM has an illegal value\n");
    EXPECT_EQ(e.out, "");
    EXPECT_TRUE(e.exited(0));
}

TEST(Errors, HandlerIsReplaceable)
{
    const vrn_xerbla_handler standard = vrn_set_xerbla(remember);
    ASSERT_NE(standard, nullptr);
    const std::int64_t three = 3;
    vrn_serv_xerbla("SLASD3", &three, 6);
    EXPECT_EQ(last_report.routine, "SLASD3");
    EXPECT_EQ(last_report.argument, 3);
    EXPECT_EQ(vrn_set_xerbla(nullptr), remember);
    EXPECT_EQ(vrn_set_xerbla(nullptr), standard) << "null restores the default";
    // Handlers change while others report: either is called, never a torn pointer.
    std::atomic<bool> stop{false};
    static std::atomic<int> seen{0};
    const auto count = [](const char*, const std::int64_t*, std::int64_t) { ++seen; };
    vrn_set_xerbla(count);
    std::thread reporter([&] {
        while (!stop) vrn_serv_xerbla("X", &three, 1);
    });
    for (int i = 0; i < 1000 || seen == 0; ++i) vrn_set_xerbla(+count);
    stop = true;
    reporter.join();
    EXPECT_GT(seen, 0);
    vrn_set_xerbla(nullptr);
}

TEST(Errors, CheckedPointers)
{
    const auto e = in_child([] {
        int here = 0;
        const std::int64_t length = 5;
        const bool usable = vrn_serv_check_ptr_and_warn(&here, "DGEMM") == 0 &&
                            vrn_serv_check_ptr_and_warn(&here, "DGEMM", length) == 0 &&
                            vrn_serv_check_ptr(&here, "ZSYRK") == 0;
        const bool null = vrn_serv_check_ptr(nullptr, "ZSYRK") != 0 &&
                          vrn_serv_check_ptr(nullptr, "ZSYRK", length) != 0;
        return usable && null ? 0 : 1;
    });
    EXPECT_TRUE(e.exited(0));
    EXPECT_EQ(e.err, "") << "usable pointers and vrn_serv_check_ptr are silent";
    const auto warned = in_child([] {
        const std::int64_t length = 7;
        return vrn_serv_check_ptr_and_warn(nullptr, "CGEMM3M", length) != 0 &&
                       vrn_serv_check_ptr_and_warn(nullptr, "DSYRK") != 0
                   ? 0
                   : 1;
    });
    EXPECT_TRUE(warned.exited(0));
    EXPECT_EQ(std::count(warned.err.begin(), warned.err.end(), '\n'), 2);
    EXPECT_NE(warned.err.find("CGEMM3M"), std::string::npos);
    EXPECT_NE(warned.err.find("DSYRK"), std::string::npos);
}

namespace {

// A destination with guard bytes on both sides.
struct guarded {
    static constexpr char guard = 0x5b;
    std::array<char, 96> bytes;
    char* to() { return bytes.data() + 32; }
    explicit guarded(const char* text = "")
    {
        bytes.fill(guard);
        std::strcpy(to(), text);
    }
    // Nothing outside the capacity was touched, and inside stands this text.
    testing::AssertionResult holds(std::uint64_t capacity, const std::string& text)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            if ((i < 32 || i >= 32 + capacity) && bytes[i] != guard)
                return testing::AssertionFailure() << "byte " << i << " outside was written";
        if (strnlen(to(), capacity) == capacity) return testing::AssertionFailure() << "not terminated";
        if (text != to()) return testing::AssertionFailure() << "\"" << to() << "\" is not \"" << text << "\"";
        return testing::AssertionSuccess();
    }
};

constexpr std::uint64_t all = ~std::uint64_t{0};

} // namespace

TEST(Text, Copy)
{
    const std::string source = "transform";
    for (std::uint64_t capacity = 1; capacity <= 12; ++capacity)
        for (std::uint64_t count : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{8}, std::uint64_t{9},
                                    std::uint64_t{10}, all}) {
            guarded g;
            const std::string wanted = source.substr(0, count);
            const int status = vrn_serv_strncpy_s(g.to(), capacity, source.c_str(), count);
            EXPECT_TRUE(g.holds(capacity, wanted.substr(0, capacity - 1))) << capacity << " " << count;
            EXPECT_EQ(status, wanted.size() < capacity ? 0 : ERANGE) << capacity << " " << count;
        }
    // A source that is not terminated is read no further than asked.
    const char letters[3] = {'a', 'b', 'c'};
    guarded g;
    EXPECT_EQ(vrn_serv_strncpy_s(g.to(), 10, letters, 3), 0);
    EXPECT_TRUE(g.holds(10, "abc"));
}

TEST(Text, Append)
{
    const std::string head = "head", tail = "-tail";
    for (std::uint64_t capacity = 5; capacity <= 12; ++capacity)
        for (std::uint64_t count : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{5}, std::uint64_t{512}, all}) {
            guarded g(head.c_str());
            const std::string wanted = head + tail.substr(0, count);
            const int status = vrn_serv_strncat_s(g.to(), capacity, tail.c_str(), count);
            EXPECT_TRUE(g.holds(capacity, wanted.substr(0, capacity - 1))) << capacity << " " << count;
            EXPECT_EQ(status, wanted.size() < capacity ? 0 : ERANGE) << capacity << " " << count;
        }
    // No terminator within the capacity: nothing is appended, nothing is read past it.
    guarded g;
    std::memset(g.to(), 'x', 8);
    EXPECT_EQ(vrn_serv_strncat_s(g.to(), 8, "more", 4), EINVAL);
    EXPECT_EQ(std::string(g.to(), 8), "xxxxxxxx");
    EXPECT_EQ(g.to()[8], guarded::guard);
}

TEST(Text, Format)
{
    for (std::uint64_t capacity = 1; capacity <= 14; ++capacity) {
        guarded g;
        const int length = vrn_serv_sprintf_s(g.to(), capacity, "%s=%lli %.1f", "n", -12345LL, 0.5);
        const std::string wanted = "n=-12345 0.5";
        EXPECT_TRUE(g.holds(capacity, wanted.substr(0, capacity - 1))) << capacity;
        EXPECT_EQ(length, wanted.size() < capacity ? static_cast<int>(wanted.size()) : -1) << capacity;
    }
}

TEST(Text, BadArguments)
{
    guarded g("old");
    const char* no_text = nullptr;
    EXPECT_EQ(vrn_serv_strncpy_s(nullptr, 8, "a", 1), EINVAL);
    EXPECT_EQ(vrn_serv_strncpy_s(g.to(), 0, "a", 1), EINVAL);
    EXPECT_EQ(vrn_serv_strncat_s(nullptr, 8, "a", 1), EINVAL);
    EXPECT_EQ(vrn_serv_strncat_s(g.to(), 0, "a", 1), EINVAL);
    EXPECT_EQ(vrn_serv_strncat_s(g.to(), 8, no_text, 1), EINVAL);
    EXPECT_EQ(vrn_serv_sprintf_s(g.to(), 0, "a"), -1);
    EXPECT_EQ(vrn_serv_sprintf_s(nullptr, 8, "a"), -1);
    EXPECT_TRUE(g.holds(4, "old"));
    EXPECT_EQ(vrn_serv_strncpy_s(g.to(), 8, no_text, 1), EINVAL);
    EXPECT_TRUE(g.holds(4, ""));
    // A %n writes where a format says: refused, whatever stands around it, and %% is no conversion.
    int written = 77;
    for (const char* format : {"%n", "abc%5n", "%%%n", "%s%lln"}) {
        EXPECT_EQ(vrn_serv_sprintf_s(g.to(), 8, format, &written, &written), -1) << format;
        EXPECT_EQ(vrn_serv_fprintf_s(stdout, format, &written, &written), -1) << format;
        EXPECT_EQ(written, 77);
    }
    EXPECT_EQ(vrn_serv_sprintf_s(g.to(), 8, "%%n"), 2);
    EXPECT_TRUE(g.holds(8, "%n"));
    EXPECT_EQ(vrn_serv_printf_s(no_text), -1);
    EXPECT_EQ(vrn_serv_fprintf_s(nullptr, "x"), -1);
}

TEST(Text, Bytes)
{
    for (auto* move : {vrn_serv_memcpy_unbounded_s, vrn_serv_memmove_s}) {
        guarded g("0123456");
        EXPECT_EQ(move(g.to(), 8, "abcd", 4), 0);
        EXPECT_TRUE(g.holds(8, "abcd456"));
        EXPECT_EQ(move(g.to() + 2, 6, g.to(), 5), 0) << "ranges that overlap";
        EXPECT_TRUE(g.holds(8, "ababcd4"));
        EXPECT_EQ(move(g.to(), 0, "x", 0), 0);
        EXPECT_EQ(move(nullptr, 0, nullptr, 0), 0);
        EXPECT_TRUE(g.holds(8, "ababcd4"));
        EXPECT_EQ(move(g.to(), 4, "efghijkl", 5), ERANGE);
        EXPECT_EQ(std::memcmp(g.to(), "\0\0\0\0cd4", 8), 0) << "all or none: zeros up to the capacity";
        EXPECT_EQ(move(g.to() + 4, 2, nullptr, 1), EINVAL);
        EXPECT_EQ(std::memcmp(g.to(), "\0\0\0\0\0\0004", 8), 0);
        EXPECT_EQ(move(nullptr, 4, "a", 1), EINVAL);
        EXPECT_TRUE(g.holds(8, ""));
    }
}

TEST(Text, Prints)
{
    const auto e = in_child([] {
        int good = vrn_serv_printf_s("%s %d\n", "one", 1) == 6;
        good += vrn_serv_fprintf_s(stderr, "%.3s|", "twofold") == 4;
        good += vrn_serv_format_print(0, "%.5s", 1, "three lines") == 5;
        good += vrn_serv_format_print(1, "%s", 1, "four") == 4;
        good += vrn_serv_format_print(0, "%s", 0, "not given") == -1;
        good += vrn_serv_print(0, 0, 0) == 1;
        good += vrn_serv_print(1, 0, 0) == 1;
        return good;
    });
    EXPECT_TRUE(e.exited(7));
    EXPECT_EQ(e.out, "one 1\nthree\n");
    EXPECT_EQ(e.err, "two|four\n");
}

TEST(Messages, UnknownNumbersHaveATextToo)
{
    EXPECT_STREQ(vrn_serv_get_msg(0, 0), "");
    EXPECT_STREQ(vrn_serv_get_msg(-17, 0), "message -17 has no text");
    EXPECT_STREQ(vrn_serv_get_msg(2147483647, 2, "a", "b"), "message 2147483647 has no text");
    // Each thread has its own.
    const char* mine = vrn_serv_get_msg(-1, 0);
    std::thread([] { EXPECT_STREQ(vrn_serv_get_msg(-2, 0), "message -2 has no text"); }).join();
    EXPECT_STREQ(mine, "message -1 has no text");
}

TEST(Version, TextAndBounds)
{
    char text[198 + 8];
    std::memset(text, 'x', sizeof text);
    vrn_serv_get_version_string_c(text, 198);
    EXPECT_NE(std::string(text).find(std::string("vrn ") + vrn_version()), std::string::npos) << text;
    EXPECT_EQ(text[198], 'x');
    int major = -1, minor = -1, patch = -1;
    EXPECT_EQ(std::sscanf(vrn_version(), "%d.%d.%d", &major, &minor, &patch), 3);
    guarded g;
    vrn_serv_get_version_string_c(g.to(), 4);
    EXPECT_TRUE(g.holds(4, "vrn"));
    vrn_serv_get_version_string_c(g.to(), 0);
    vrn_serv_get_version_string_c(nullptr, 198);
    EXPECT_TRUE(g.holds(4, "vrn"));
}

// Held to the wider type: the library's own functions are within one unit in the last place.
TEST(Mathematics, SineAndCosine)
{
    for (int i = -2000; i <= 2000; ++i) {
        const double x = i * 0.7853981633974483 / 16;
        double s = 2, c = 2;
        float sf = 2, cf = 2;
        vrn_serv_libm_sincos(x, &s, &c);
        vrn_serv_libm_sincosf(static_cast<float>(x), &sf, &cf);
        const long double exact_s = sinl(x), exact_c = cosl(x);
        EXPECT_LE(std::abs(static_cast<double>(s - exact_s)), 0x1p-52 * std::abs(s)) << x;
        EXPECT_LE(std::abs(static_cast<double>(c - exact_c)), 0x1p-52 * std::abs(c)) << x;
        const double xf = static_cast<float>(x);
        EXPECT_LE(std::abs(sf - std::sin(xf)), 0x1p-23 * std::abs(sf)) << x;
        EXPECT_LE(std::abs(cf - std::cos(xf)), 0x1p-23 * std::abs(cf)) << x;
    }
}

// The environment is read once a process: the program runs itself, and each child asks.
TEST(Reproducibility, Environment)
{
    if (std::getenv("VRN_TEST_PRINT_MODE") != nullptr) {
        std::fprintf(stderr, "mode %d %d %d\n", vrn_get_cbwr(), vrn_serv_cbwr_get(1), vrn_serv_cbwr_get(0));
        return;
    }
    struct row {
        const char *text, *mode;
        bool told;
    };
    constexpr row rows[] = {{nullptr, "mode 1 1 0\n", false},  {"", "mode 1 1 0\n", false},
                            {"OFF", "mode 1 1 0\n", false},    {"auto", "mode 1 1 0\n", false},
                            {"STRICT", "mode 2 2 0\n", false}, {"Compatible", "mode 2 2 0\n", false},
                            {"strictly", "mode 2 2 0\n", true}};
    for (const auto& [text, mode, told] : rows) {
        const auto e = run_program({"/proc/self/exe", "--gtest_filter=Reproducibility.Environment"},
                                   {{"VRN_CBWR", text}, {"VRN_TEST_PRINT_MODE", "1"}});
        EXPECT_TRUE(e.exited(0));
        EXPECT_EQ(e.err.substr(e.err.find("mode ") == e.err.npos ? 0 : e.err.find("mode ")), mode);
        EXPECT_EQ(e.err.find("VRN_CBWR") != e.err.npos, told) << e.err;
    }
}

TEST(Reproducibility, TheCallDecides)
{
    EXPECT_EQ(vrn_set_cbwr(VRN_CBWR_STRICT), 0);
    EXPECT_EQ(vrn_get_cbwr(), VRN_CBWR_STRICT);
    EXPECT_NE(vrn_serv_cbwr_get(1), 1);
    for (const int wrong : {0, -1, 3, 1000}) EXPECT_NE(vrn_set_cbwr(wrong), 0);
    EXPECT_EQ(vrn_get_cbwr(), VRN_CBWR_STRICT) << "a wrong value changes nothing";
    EXPECT_EQ(vrn_set_cbwr(VRN_CBWR_OFF), 0);
    EXPECT_EQ(vrn_serv_cbwr_get(1), 1);
}
