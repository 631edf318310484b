// tests/dft/commit_test.cpp - which strategy takes a configuration, wrong states and values, and refused memory.
// The program's own memory services count and refuse.

#include "dft/descriptor/services.hpp"
#include "tests/dft/memory_services.hpp"
#include "tests/dft/public_support.hpp"

#include <regex>
#include <thread>

using namespace vrn::test;

namespace {

constexpr int complex_values = VRN_DFT_COMPLEX_VALUES, apart = VRN_DFT_NOT_IN_PLACE, real = VRN_DFT_REAL;

// Transforms of n values whose elements alternate.
transform columns(std::int64_t n, std::int64_t count, int placement = VRN_DFT_IN_PLACE)
{
    return {.what = "columns",
            .lengths = {n},
            .count = count,
            .placement = placement,
            .time = {0, count},
            .frequency = {0, count},
            .time_distance = 1,
            .frequency_distance = 1};
}

std::string plan_of(const transform& given)
{
    const transform t = laid_out(given);
    vrn_dft_handle h = configured(t, VRN_DFT_DOUBLE, true);
    char line[500] = "";
    const std::int32_t s = vrn_dft_commit(h);
    if (s != 0) std::snprintf(line, sizeof line, "status %d", s);
    else vrn_dft_describe(h, line, sizeof line);
    vrn_dft_free(&h);
    return line;
}

TEST(DftCommit, TheFirstStrategyThatTakesIt)
{
    struct {
        transform t;
        const char* line; // a pattern
    } const cases[] = {
        {{.what = "table", .lengths = {128}}, "table kernel 128"},
        {{.what = "table", .lengths = {4}}, "table kernel 4"},
        {{.what = "no table", .lengths = {6}}, "small flag 8: .*"},
        {{.what = "scaled", .lengths = {2}, .forward = 0.5}, "small flag 1: .*"},
        {{.what = "scaled both", .lengths = {4}, .forward = 0.5, .backward = 0.5}, "small flag 4: .*"},
        {{.what = "no flag", .lengths = {2}, .forward = 2}, "general: .*"},
        {{.what = "too much work", .lengths = {4096}}, "general: .*"},
        {{.what = "too long", .lengths = {4097}}, "general: .*"},
        {{.what = "batch of codelets", .lengths = {12}, .count = 3}, "general, 3 transforms: codelet 12"},
        {{.what = "split", .lengths = {12}, .storage = VRN_DFT_SPLIT},
         "split 1 x 12 flag 8 block 1 padded 1 units 1"},
        {{.what = "split columns",
          .lengths = {12},
          .count = 20,
          .storage = VRN_DFT_SPLIT,
          .time = {0, 20},
          .time_distance = 1,
          .forward = 3},
         "split 20 x 12 flag 8 block 8 padded 24 units 2 scaled apart"},
        {{.what = "split ranks", .lengths = {4, 6}, .storage = VRN_DFT_SPLIT},
         "split ranks \\(split 6 x 4 flag 8 block 1 padded 1 units 1; split 4 x 6 flag 8 block 8 padded 8 units "
         "1\\)"},
        {{.what = "split loop", .lengths = {4, 6, 5}, .storage = VRN_DFT_SPLIT},
         "split ranks \\(split 30 x 4 .*; split loop 5 \\(split 4 x 6 .*\\); split 24 x 5 .*\\)"},
        {{.what = "real", .lengths = {16}, .domain = real}, "general: real codelet 16"},
        {{.what = "square", .lengths = {8, 8}, .count = 3}, "small square 3 x 8"},
        {{.what = "no square", .lengths = {8, 9}}, "general: .*; codelet 9"},
        {{.what = "batches", .lengths = {5, 100}}, "general: codelet 5; batches 100 = 10 x 10, width 20"},
        {{.what = "too far apart", .lengths = {256, 100}}, "general: .*; complex 100 .*"},
        {{.what = "edge", .lengths = {17, 17}}, "general: codelet 17; .*"},
        {{.what = "cube", .lengths = {32, 32, 32}, .count = 2}, "small cube 2 x 32"},
        {{.what = "real cube", .lengths = {6, 6, 6}, .domain = real, .spectrum = complex_values}, "small cube 1 x 6"},
        {{.what = "slab", .lengths = {20, 18, 10}},
         "slab, 1 threads \\(general, 18 transforms: codelet 20; general, 20 transforms: .*"},
        {{.what = "slab of short lengths", .lengths = {9, 10, 11}, .threads = 2}, "slab, 2 threads .*"},
        {{.what = "short lengths, one thread", .lengths = {9, 10, 11}}, "general: .*"},
        {{.what = "real slab", .lengths = {16, 17}, .domain = real, .spectrum = complex_values},
         "slab, 1 threads \\(general: real codelet 16; .*"},
        {{.what = "factored", .lengths = {16384}, .domain = real, .threads = 2},
         "factored real 128 x 128, 2 threads"},
        {{.what = "odd and over the limit", .lengths = {16777217}, .domain = real},
         "real as complex \\(general: in two dimensions 16777217\\)"},
        {{.what = "not factored", .lengths = {16384}, .domain = real}, "general: .*"},
        {{.what = "via 2d", .lengths = {65536}, .workspace = VRN_DFT_WORKSPACE_2D},
         "general: in two dimensions 65536"},
        {{.what = "a prime over the limit", .lengths = {33554467}}, "status 9"},
        {{.what = "packed ranks", .lengths = {4, 4, 4}, .domain = real}, "status 3"},
        {{.what = "the rule of two",
          .lengths = {4, 4},
          .domain = real,
          .spectrum = complex_values,
          .time = {0, 1, 4},
          .frequency = {0, 1, 4}},
         "status 3"},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(std::regex_match(plan_of(c.t), std::regex(c.line))) << c.t.what << ": " << plan_of(c.t);
}

TEST(DftCommit, WrongStatesAndValuesGiveTheirStatus)
{
    vrn_dft_handle h = nullptr;
    const std::int64_t n[] = {8, 6}, bad[] = {8, 0}, huge[] = {INT64_C(1) << 40, INT64_C(1) << 40},
                       strides[] = {0, 1, 8, 0};
    double x[128] = {};
    EXPECT_EQ(vrn_dft_create(nullptr, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 1, n), VRN_DFT_BAD_CONFIGURATION);
    EXPECT_EQ(vrn_dft_create(&h, 1, VRN_DFT_COMPLEX, 1, n), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 2, bad), VRN_DFT_BAD_LENGTH);
    EXPECT_EQ(vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 2, huge), VRN_DFT_BAD_LENGTH);
    EXPECT_EQ(vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 0, n), VRN_DFT_BAD_LENGTH);
    EXPECT_EQ(h, nullptr);
    EXPECT_EQ(vrn_dft_commit(h), VRN_DFT_BAD_CONFIGURATION);
    EXPECT_EQ(vrn_dft_forward(h, x, x), VRN_DFT_BAD_CONFIGURATION);
    ASSERT_EQ(vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 2, n), 0);
    EXPECT_EQ(vrn_dft_forward(h, x, nullptr), VRN_DFT_NOT_COMMITTED);
    EXPECT_EQ(vrn_dft_set_int(h, 99, 1), VRN_DFT_BAD_CONFIGURATION);
    EXPECT_EQ(vrn_dft_set_int(h, VRN_DFT_PRECISION, VRN_DFT_SINGLE), VRN_DFT_BAD_CONFIGURATION);
    EXPECT_EQ(vrn_dft_set_int(h, VRN_DFT_PLACEMENT, 45), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_set_int(h, VRN_DFT_PLACEMENT, 0), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_set_int(h, VRN_DFT_TRANSFORMS, 0), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_set_int(h, VRN_DFT_THREADS, -1), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_set_double(h, 6, 1), VRN_DFT_BAD_CONFIGURATION);
    EXPECT_EQ(vrn_dft_set_ints(h, VRN_DFT_INPUT_STRIDES, strides, 4), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_set_ints(h, VRN_DFT_INPUT_STRIDES, strides, 3), 0);
    ASSERT_EQ(vrn_dft_commit(h), 0);
    EXPECT_EQ(vrn_dft_forward(h, nullptr, nullptr), VRN_DFT_BAD_VALUE);
    EXPECT_EQ(vrn_dft_forward_split(h, x, x, x, x), VRN_DFT_BAD_CONFIGURATION);
    std::int64_t state = 0;
    vrn_dft_get_int(h, VRN_DFT_COMMIT_STATUS, &state);
    EXPECT_EQ(state, VRN_DFT_COMMITTED);
    EXPECT_EQ(vrn_dft_set_int(h, VRN_DFT_PLACEMENT, apart), 0);
    EXPECT_EQ(vrn_dft_backward(h, x, x), VRN_DFT_NOT_COMMITTED);
    ASSERT_EQ(vrn_dft_commit(h), 0);
    EXPECT_EQ(vrn_dft_forward(h, x, nullptr), VRN_DFT_BAD_VALUE);
    vrn_dft_handle copy = nullptr;
    ASSERT_EQ(vrn_dft_clone(h, &copy), 0);
    EXPECT_EQ(vrn_dft_forward(copy, x, x), VRN_DFT_NOT_COMMITTED);
    EXPECT_EQ(vrn_dft_commit(copy), 0);
    for (auto* each : {&h, &copy}) {
        EXPECT_EQ(vrn_dft_free(each), 0);
        EXPECT_EQ(*each, nullptr);
    }
    EXPECT_EQ(vrn_dft_free(&h), 0);
    EXPECT_EQ(vrn_dft_is_class(VRN_DFT_NO_MEMORY, VRN_DFT_NO_MEMORY), 1);
    EXPECT_STREQ(vrn_dft_message(VRN_DFT_NO_MEMORY), "out of memory");
    EXPECT_EQ(live, 0);
}

// Every request for memory of create, commit and compute is refused once. Whatever comes of it, a status says it,
// what is committed is right, what is not can be committed again, and nothing is left behind.
TEST(DftCommit, EveryRefusedAllocationLeavesThingsClean)
{
    const transform cases[] = {
        {.what = "small", .lengths = {60}},
        columns(60, 9),
        {.what = "chirp inside", .lengths = {1009}},
        {.what = "planes", .lengths = {12, 20, 6}, .forward = 2},
        {.what = "planes apart", .lengths = {12, 20, 6}, .placement = apart, .forward = 2, .threads = 2},
        {.what = "split", .lengths = {12, 20, 6}, .placement = apart, .storage = VRN_DFT_SPLIT},
        {.what = "real", .lengths = {12, 6}, .domain = real, .placement = apart},
        {.what = "real, complex",
         .lengths = {13, 6, 5},
         .domain = real,
         .placement = apart,
         .spectrum = complex_values},
        {.what = "real line", .lengths = {60}, .domain = real},
        {.what = "odd real line", .lengths = {61}, .domain = real, .placement = apart, .format = VRN_DFT_PACK},
        {.what = "long", .lengths = {65536}, .workspace = VRN_DFT_WORKSPACE_2D},
        {.what = "cube", .lengths = {8, 8, 8}},
        {.what = "slab", .lengths = {20, 18, 10}, .threads = 2},
        {.what = "real slab", .lengths = {20, 18, 10}, .domain = real, .spectrum = complex_values, .threads = 2},
    };
    for (const auto& given : cases) {
        const transform t = laid_out(given);
        std::vector<double> reference;
        for (long number = -1;; ++number) {
            SCOPED_TRACE(t.what + " allocation " + std::to_string(number));
            asked = 0;
            refused_number = -1;
            const auto size = static_cast<std::size_t>(4 * t.total() * t.count + 64);
            std::vector<double> a(size), b(size), c(size), d(size);
            for (std::size_t i = 0; i < a.size(); ++i)
                a[i] = static_cast<double>(i * 37 % 101), b[i] = static_cast<double>(i * 11 % 17);
            vrn_dft_handle h = configured(t, VRN_DFT_DOUBLE, true);
            asked = 0;
            refused_number = number;
            auto all = [&] {
                const std::int32_t s = vrn_dft_commit(h);
                if (s != 0) return s;
                return t.split() ? vrn_dft_forward_split(h, a.data(), b.data(), c.data(), d.data())
                                 : vrn_dft_forward(h, a.data(), c.data());
            };
            const auto clean = a;
            std::int32_t s = all();
            const bool over = number >= 0 && asked <= number;
            refused_number = -1;
            if (s != 0) {
                a = clean;
                s = all();
            }
            EXPECT_EQ(s, 0);
            vrn_dft_free(&h);
            EXPECT_EQ(live, 0);
            auto& result = t.placement == apart ? c : a;
            // Another strategy may have stepped in, so not bit for bit.
            if (number < 0) reference = result;
            double error = 0, norm = 0;
            for (std::size_t i = 0; i < result.size(); ++i)
                error += (result[i] - reference[i]) * (result[i] - reference[i]), norm += reference[i] * reference[i];
            EXPECT_LE(error, 1e-26 * norm);
            if (over) break;
            ASSERT_LT(number, 400);
        }
    }
}

// Tables, small plans and what works within the call's frame.
TEST(DftCommit, ShortComputesDoNotAllocate)
{
    const transform cases[] = {
        {.what = "table", .lengths = {4}},
        {.what = "table", .lengths = {128}, .placement = apart},
        {.what = "small", .lengths = {60}, .placement = apart},
        {.what = "small with work", .lengths = {99}},
        {.what = "square", .lengths = {8, 8}},
        {.what = "long square", .lengths = {32, 32}, .placement = apart},
        {.what = "cube", .lengths = {16, 16, 16}, .placement = apart},
        {.what = "real square", .lengths = {32, 32}, .domain = real, .placement = apart, .spectrum = complex_values},
        {.what = "real cube", .lengths = {8, 8, 8}, .domain = real, .placement = apart, .spectrum = complex_values},
        {.what = "rows", .lengths = {12}, .count = 20},
        columns(64, 20, apart),
    };
    for (const auto& given : cases)
        for (const int precision : {VRN_DFT_DOUBLE, VRN_DFT_SINGLE}) {
            const transform t = laid_out(given);
            SCOPED_TRACE(t.what + (precision == VRN_DFT_DOUBLE ? " double" : " single"));
            std::vector<double> a(static_cast<std::size_t>(4 * t.total() * t.count)), b(a.size());
            vrn_dft_handle h = configured(t, precision, true);
            ASSERT_EQ(vrn_dft_commit(h), 0);
            asked = 0;
            EXPECT_EQ(vrn_dft_forward(h, a.data(), b.data()), 0);
            EXPECT_EQ(vrn_dft_backward(h, a.data(), b.data()), 0);
            EXPECT_EQ(asked, 0);
            vrn_dft_free(&h);
        }
}

// Whatever the plan keeps is read only: each thread gets the bits that one alone gets, both ways.
TEST(DftCommit, ThreadsComputeWithOneDescriptor)
{
    const transform cases[] = {
        {.what = "planes", .lengths = {60, 50}},
        {.what = "table", .lengths = {128}},
        {.what = "chirp", .lengths = {1009}},
        {.what = "long", .lengths = {8192}, .placement = apart},
        columns(60, 9),
        {.what = "split", .lengths = {12, 20, 6}, .storage = VRN_DFT_SPLIT},
        {.what = "cube", .lengths = {8, 8, 8}},
        {.what = "slab over threads", .lengths = {20, 18, 10}, .placement = apart, .threads = 2},
        {.what = "batch over threads", .lengths = {256}, .count = 64, .threads = 2},
        {.what = "real", .lengths = {1000}, .domain = real, .placement = apart},
        {.what = "real planes", .lengths = {30, 21}, .domain = real, .spectrum = complex_values},
    };
    for (const auto& given : cases) {
        const transform t = laid_out(given);
        SCOPED_TRACE(t.what);
        vrn_dft_handle h = configured(t, VRN_DFT_DOUBLE, true);
        ASSERT_EQ(vrn_dft_commit(h), 0);
        using arrays = std::vector<std::vector<double>>;
        const arrays x(4, [&] {
            std::vector<double> values(static_cast<std::size_t>(4 * t.total() * t.count + 64));
            for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i % 13);
            return values;
        }());
        const auto run = [&](arrays& y, bool forward) {
            void* const p[] = {y[0].data(), y[1].data(), y[2].data(), y[3].data()};
            if (t.split())
                return (forward ? vrn_dft_forward_split : vrn_dft_backward_split)(h, p[0], p[1], p[2], p[3]);
            return (forward ? vrn_dft_forward : vrn_dft_backward)(h, p[0], p[1]);
        };
        // The other way of planes whose sides differ is another configuration.
        const bool both_ways = !t.real() || t.rank() == 1;
        arrays expected[2] = {x, x};
        for (const bool forward : {true, false})
            if (forward || both_ways) {
                ASSERT_EQ(run(expected[forward], forward), 0);
            }
        std::atomic<int> wrong{0};
        std::vector<std::thread> threads;
        for (int number = 0; number < 4; ++number)
            threads.emplace_back([&, number] {
                for (int i = 0; i < 12; ++i) {
                    const bool forward = !both_ways || (number + i) % 2 == 0;
                    arrays y = x;
                    if (run(y, forward) != 0 || y != expected[forward]) ++wrong;
                }
            });
        for (auto& each : threads) each.join();
        EXPECT_EQ(wrong, 0);
        vrn_dft_free(&h);
    }
}

// What is set is what is got, in a clone too; what cannot be set says so and stays.
TEST(DftCommit, ParametersByNumber)
{
    vrn_dft_handle h = nullptr, copy = nullptr;
    const std::int64_t n[] = {6, 5};
    ASSERT_EQ(vrn_dft_create(&h, VRN_DFT_SINGLE, VRN_DFT_REAL, 2, n), 0);
    struct parameter {
        int key;
        std::int64_t first, set; // what it is at first, and another value; the same: read only
    };
    const parameter integers[] = {{VRN_DFT_PRECISION, VRN_DFT_SINGLE, VRN_DFT_SINGLE},
                                  {VRN_DFT_DOMAIN, VRN_DFT_REAL, VRN_DFT_REAL},
                                  {VRN_DFT_RANK, 2, 2},
                                  {VRN_DFT_COMMIT_STATUS, VRN_DFT_UNCOMMITTED, VRN_DFT_UNCOMMITTED},
                                  {VRN_DFT_TRANSFORMS, 1, 3},
                                  {VRN_DFT_COMPLEX_STORAGE, VRN_DFT_COMPLEX_VALUES, VRN_DFT_SPLIT},
                                  {VRN_DFT_SPECTRUM_STORAGE, VRN_DFT_PACKED, VRN_DFT_COMPLEX_VALUES},
                                  {VRN_DFT_PLACEMENT, VRN_DFT_IN_PLACE, VRN_DFT_NOT_IN_PLACE},
                                  {VRN_DFT_INPUT_DISTANCE, 0, 40},
                                  {VRN_DFT_OUTPUT_DISTANCE, 0, 60},
                                  {VRN_DFT_ORDERING, VRN_DFT_ORDERED, VRN_DFT_SCRAMBLED},
                                  {VRN_DFT_WORKSPACE, VRN_DFT_WORKSPACE_DEFAULT, VRN_DFT_WORKSPACE_2D},
                                  {VRN_DFT_PACKED_FORMAT, VRN_DFT_CCS, VRN_DFT_PERM},
                                  {VRN_DFT_OPTION_1, 0, 11},
                                  {VRN_DFT_OPTION_2, 0, 12},
                                  {VRN_DFT_OPTION_3, 0, 13},
                                  {VRN_DFT_THREADS, 0, 2},
                                  {VRN_DFT_USER_THREADS, 1, 4}};
    for (const parameter& p : integers) {
        std::int64_t got = -77;
        EXPECT_EQ(vrn_dft_get_int(h, p.key, &got), 0) << p.key;
        EXPECT_EQ(got, p.first) << p.key;
        EXPECT_EQ(vrn_dft_set_int(h, p.key, p.set) == 0, p.first != p.set) << p.key;
    }
    const std::int64_t strides[] = {2, 3, 40};
    for (const int key : {VRN_DFT_INPUT_STRIDES, VRN_DFT_OUTPUT_STRIDES})
        EXPECT_EQ(vrn_dft_set_ints(h, key, strides, 3), 0);
    for (const int key : {VRN_DFT_FORWARD_SCALE, VRN_DFT_BACKWARD_SCALE})
        EXPECT_EQ(vrn_dft_set_double(h, key, 0.1 * key), 0);
    EXPECT_EQ(vrn_dft_set_name(h, "a name too long", 15), 0);
    EXPECT_NE(vrn_dft_set_ints(h, VRN_DFT_LENGTHS, n, 2), 0);
    ASSERT_EQ(vrn_dft_clone(h, &copy), 0);
    for (const vrn_dft_handle each : {h, copy}) {
        for (const parameter& p : integers) {
            std::int64_t got = -77;
            EXPECT_EQ(vrn_dft_get_int(each, p.key, &got), 0);
            // A clone takes over the third of the program's own numbers alone.
            const bool left = each == copy && (p.key == VRN_DFT_OPTION_1 || p.key == VRN_DFT_OPTION_2);
            EXPECT_EQ(got, left ? p.first : p.set) << p.key << (each == copy ? " cloned" : "");
        }
        std::int64_t list[3] = {};
        for (const int key : {VRN_DFT_INPUT_STRIDES, VRN_DFT_OUTPUT_STRIDES}) {
            EXPECT_EQ(vrn_dft_get_ints(each, key, list, 3), 0);
            EXPECT_TRUE(std::equal(list, list + 3, strides)) << key;
        }
        EXPECT_EQ(vrn_dft_get_ints(each, VRN_DFT_LENGTHS, list, 2), 0);
        EXPECT_TRUE(std::equal(list, list + 2, n));
        for (const int key : {VRN_DFT_FORWARD_SCALE, VRN_DFT_BACKWARD_SCALE}) {
            double scale = 0;
            EXPECT_EQ(vrn_dft_get_double(each, key, &scale), 0);
            EXPECT_EQ(scale, 0.1 * key);
        }
    }
    char name[12] = {};
    EXPECT_EQ(vrn_dft_get_name(h, name, 10), 0);
    EXPECT_EQ(std::string(name, 10), "a name too");
    EXPECT_NE(vrn_dft_get_int(h, 99, nullptr), 0);
    vrn_dft_free(&h), vrn_dft_free(&copy);
}

// The two spellings that other families import.
TEST(DftCommit, ImportedSpellings)
{
    vrn::dft::descriptor* h = nullptr;
    ASSERT_EQ(vrn_dft_dfticreatedescriptor_d_1d(&h, real, 6), 0);
    EXPECT_EQ(vrn_dft_dftisetvalue(h, 11, 44), 0);
    EXPECT_EQ(vrn_dft_dftisetvalue(h, 21, 57), 0);
    EXPECT_EQ(vrn_dft_dftisetvalue(h, 10, 39), 0);
    EXPECT_EQ(vrn_dft_dftisetvalue(h, 5, 1.0 / 6), 0);
    EXPECT_EQ(vrn_dft_dftierrorclass(vrn_dft_dfticommitdescriptor(h), 0), 1);
    double x[6] = {1, 2, 3, 4, 5, 7}, y[8], z[6];
    EXPECT_EQ(vrn_dft_dfticomputeforward(h, x, y), 0);
    EXPECT_EQ(y[0], 22);
    EXPECT_EQ(vrn_dft_dfticomputebackward(h, y, z), 0);
    for (int i = 0; i < 6; ++i) EXPECT_NEAR(z[i], x[i], 1e-14);
    EXPECT_EQ(vrn_dft_dftifreedescriptor(&h), 0);

    const float precision = 35;
    const std::int32_t domain = real, one = 1, key = 21, perm = 56;
    const std::int64_t n = 6;
    ASSERT_EQ(vrn_dft_dfti_create_descriptor_s_1d(&h, &precision, &domain, &one, &n), 0);
    EXPECT_EQ(vrn_dft_dfti_set_value_intval(&h, &key, &perm), 0);
    float f[6] = {1, 2, 3, 4, 5, 7};
    EXPECT_EQ(vrn_dft_dfti_compute_forward_s(&h, f), VRN_DFT_NOT_COMMITTED);
    EXPECT_EQ(vrn_dft_dfti_commit_descriptor_external(&h), 0);
    EXPECT_EQ(vrn_dft_dfti_compute_forward_s(&h, f), 0);
    EXPECT_EQ(f[0], 22);
    EXPECT_EQ(f[1], -4);
    EXPECT_EQ(vrn_dft_dfti_compute_backward_s(&h, f), 0);
    EXPECT_NEAR(f[5], 42, 1e-4);
    EXPECT_EQ(vrn_dft_dfti_free_descriptor_external(&h), 0);
    char text[80];
    EXPECT_EQ(vrn_dft_dfti_error_message_external(text, 80, 1), 0);
    EXPECT_STREQ(text, "out of memory");
}

} // namespace
