// tests/dft/public_test.cpp - transforms through the public interface against the direct sum.

#include "tests/dft/public_support.hpp"

#include <complex>

using namespace vrn::test;

namespace {

constexpr int inside = VRN_DFT_IN_PLACE, complex_values = VRN_DFT_COMPLEX_VALUES, split = VRN_DFT_SPLIT,
              apart = VRN_DFT_NOT_IN_PLACE, real = VRN_DFT_REAL;

void check_both(const transform& t)
{
    check_transform<double>(t);
    // What is dealt out to threads does not depend on the precision.
    if (t.threads == 1) check_transform<float>(t);
}

std::string text(const std::vector<std::int64_t>& lengths)
{
    std::string s;
    for (const auto n : lengths) s += (s.empty() ? "" : "x") + std::to_string(n);
    return s;
}

// Around the ends of the codelets, the tables, the small plans, the block widths and the engine's rules.
const std::int64_t lengths[] = {1,   2,   3,   4,   5,   6,   7,   8,   9,   11,  12,   13,   15,  16,
                                17,  30,  31,  32,  33,  45,  63,  64,  65,  89,  97,   100,  127, 128,
                                129, 196, 211, 256, 257, 298, 302, 360, 512, 675, 1000, 1009, 1024};

TEST(Dft, LinesOfEveryLength)
{
    for (const std::int64_t n : lengths)
        for (const int placement : {inside, apart}) {
            check_both({.what = "complex " + text({n}), .lengths = {n}, .placement = placement});
            check_both({.what = "split " + text({n}), .lengths = {n}, .placement = placement, .storage = split});
            for (const int format : {VRN_DFT_CCS, VRN_DFT_PACK, VRN_DFT_PERM})
                check_both({.what = "real " + text({n}) + " format " + std::to_string(format),
                            .lengths = {n},
                            .domain = real,
                            .placement = placement,
                            .format = format});
            check_both({.what = "real complex " + text({n}),
                        .lengths = {n},
                        .domain = real,
                        .placement = placement,
                        .spectrum = complex_values});
        }
}

TEST(Dft, BatchesStridesAndScales)
{
    for (const std::int64_t n : {1, 4, 7, 12, 35, 64, 100, 196, 300})
        for (const int placement : {inside, apart})
            for (const int threads : {1, 2}) {
                const std::string name =
                    text({n}) + (threads > 1 ? " two threads" : "") + (placement == apart ? " apart" : "");
                transform t{.what = "rows " + name,
                            .lengths = {n},
                            .count = 5,
                            .placement = placement,
                            .time_distance = n + 3,
                            .frequency_distance = placement == apart ? n + 1 : n + 3,
                            .forward = 0.5,
                            .backward = 1.0 / static_cast<double>(n),
                            .threads = threads};
                check_both(t);
                t.storage = split;
                check_both(t);
                // Interleaved: every width of a block and its tails.
                for (const std::int64_t count : {3, 23}) {
                    transform c{.what = "columns " + name + " count " + std::to_string(count),
                                .lengths = {n},
                                .count = count,
                                .placement = placement,
                                .time = {2, count + 1},
                                .frequency = {placement == apart ? 1 : 2, placement == apart ? count : count + 1},
                                .time_distance = 1,
                                .frequency_distance = 1,
                                .threads = threads};
                    check_both(c);
                    c.storage = split;
                    check_both(c);
                }
                check_both({.what = "strided " + name,
                            .lengths = {n},
                            .count = 2,
                            .placement = placement,
                            .time = {1, 3},
                            .frequency = {placement == apart ? 0 : 1, placement == apart ? 2 : 3},
                            .time_distance = 3 * n + 1,
                            .frequency_distance = placement == apart ? 2 * n : 3 * n + 1,
                            .forward = 2,
                            .threads = threads});
            }
}

// One pass, two passes, none; rows a page apart, where they meet in one set of a cache; whole vectors and half ones.
TEST(Dft, ColumnsWhereTheyLie)
{
    for (const std::int64_t n : {8, 9, 11, 16, 32, 49, 60, 63, 64, 128, 256})
        for (const std::int64_t stride : {37, 512})
            for (const std::int64_t count : {1, 35})
                for (const int placement : {inside, apart})
                    check_both({.what = "columns " + text({n, stride, count}) + (placement == apart ? " apart" : ""),
                                .lengths = {n},
                                .count = count,
                                .placement = placement,
                                .time = {1, stride},
                                .frequency = {1, stride},
                                .time_distance = 1,
                                .frequency_distance = 1,
                                .backward = 1.0 / static_cast<double>(n)});
}

TEST(Dft, RealBatchesAndStrides)
{
    for (const std::int64_t n : {2, 3, 8, 9, 30, 64, 70})
        for (const int format : {VRN_DFT_CCS, VRN_DFT_PACK, VRN_DFT_PERM})
            for (const int threads : {1, 2}) {
                const std::int64_t room = n + 4;
                const std::string name =
                    text({n}) + " format " + std::to_string(format) + " threads " + std::to_string(threads);
                for (const int placement : {inside, apart}) {
                    check_both({.what = "rows " + name,
                                .lengths = {n},
                                .domain = real,
                                .count = 4,
                                .placement = placement,
                                .format = format,
                                .time_distance = room,
                                .frequency_distance = room,
                                .forward = 0.25,
                                .backward = 3,
                                .threads = threads});
                    check_both({.what = "columns " + name,
                                .lengths = {n},
                                .domain = real,
                                .count = 11,
                                .placement = placement,
                                .format = format,
                                .time = {1, 12},
                                .frequency = {1, 12},
                                .time_distance = 1,
                                .frequency_distance = 1,
                                .threads = threads});
                    check_both({.what = "strided " + name,
                                .lengths = {n},
                                .domain = real,
                                .count = 2,
                                .placement = placement,
                                .format = format,
                                .time = {0, 2},
                                .frequency = {0, 2},
                                .time_distance = 2 * room + 1,
                                .frequency_distance = 2 * room + 1,
                                .threads = threads});
                }
                check_both({.what = "complex columns " + name,
                            .lengths = {n},
                            .domain = real,
                            .count = 9,
                            .placement = apart,
                            .spectrum = complex_values,
                            .time = {0, 10},
                            .frequency = {3, 9},
                            .time_distance = 1,
                            .frequency_distance = 1,
                            .threads = threads});
            }
}

TEST(Dft, ComplexRanks)
{
    const std::vector<std::vector<std::int64_t>> shapes = {
        {4, 4},    {8, 8},       {16, 16},    {32, 32},   {1, 7},       {7, 1},         {12, 10},     {64, 33},
        {5, 128},  {128, 6},     {97, 3},     {4, 100},   {37, 77, 2},  {6, 196},       {20, 5, 143}, {3, 3, 3},
        {8, 8, 8}, {16, 16, 16}, {9, 10, 11}, {40, 4, 3}, {2, 3, 4, 5}, {5, 2, 1, 3, 2}};
    for (const auto& n : shapes)
        for (const int placement : {inside, apart})
            for (const int threads : {1, 2})
                for (const int storage : {complex_values, split}) {
                    transform t{.what = text(n) + (placement == apart ? " apart" : "") + " threads " +
                                        std::to_string(threads),
                                .lengths = n,
                                .placement = placement,
                                .storage = storage,
                                .threads = threads};
                    check_both(t);
                    t.count = 2, t.forward = 0.5, t.what += " twice";
                    check_both(t);
                }
    // Padded rows, the slowest dimension first, and a first stride that is not 1.
    for (const int placement : {inside, apart}) {
        check_both({.what = "padded",
                    .lengths = {12, 10, 6},
                    .placement = placement,
                    .time = {1, 1, 14, 150},
                    .frequency = {1, 1, 14, 150}});
        check_both({.what = "rows first",
                    .lengths = {6, 10, 12},
                    .placement = placement,
                    .time = {0, 120, 12, 1},
                    .frequency = {0, 120, 12, 1}});
        check_both({.what = "wide",
                    .lengths = {6, 5, 4},
                    .placement = placement,
                    .time = {0, 2, 13, 70},
                    .frequency = {0, 2, 13, 70}});
        check_both({.what = "interleaved planes",
                    .lengths = {6, 9},
                    .count = 5,
                    .placement = placement,
                    .time = {0, 5, 30},
                    .frequency = {0, 5, 30},
                    .time_distance = 1,
                    .frequency_distance = 1});
    }
    check_both({.what = "two layouts",
                .lengths = {6, 5, 4},
                .placement = apart,
                .time = {0, 2, 13, 70},
                .frequency = {0, 1, 7, 40}});
    check_both({.what = "fourteen", .lengths = {2, 1, 2, 1, 2, 2, 1, 2, 2, 2, 1, 3, 2, 2}});
    check_both({.what = "fourteen twos", .lengths = std::vector<std::int64_t>(14, 2), .placement = apart});
}

TEST(Dft, RealRanks)
{
    const std::vector<std::vector<std::int64_t>> shapes = {
        {4, 4}, {8, 8}, {16, 24}, {7, 5},    {6, 9},    {9, 6},       {64, 10},     {30, 21},
        {5, 1}, {1, 6}, {2, 2},   {8, 3, 5}, {9, 4, 2}, {18, 20, 22}, {2, 3, 4, 5}, {4, 2, 1, 3, 2}};
    for (const auto& n : shapes)
        for (const int placement : {inside, apart})
            for (const int threads : {1, 2}) {
                const std::string name =
                    text(n) + (placement == apart ? " apart" : "") + " threads " + std::to_string(threads);
                transform t{.what = "complex " + name,
                            .lengths = n,
                            .domain = real,
                            .placement = placement,
                            .spectrum = complex_values,
                            .forward = 0.5,
                            .threads = threads};
                check_both(t);
                t.count = 2, t.what += " twice";
                check_both(t);
                if (n.size() > 2) continue;
                for (const int format : {VRN_DFT_CCS, VRN_DFT_PACK, VRN_DFT_PERM}) {
                    transform p{.what = "packed " + name + " format " + std::to_string(format),
                                .lengths = n,
                                .domain = real,
                                .placement = placement,
                                .format = format,
                                .backward = 0.5,
                                .threads = threads};
                    check_both(p);
                    if (placement == inside) p.time = p.frequency = {1, 2, 2 * n[0] + 9}, p.what += " wide";
                    else p.time = {0, 2, 2 * n[0] + 1}, p.frequency = {3, 3, 3 * n[0] + 13}, p.what += " wide";
                    p.count = 1;
                    p.time_distance = p.frequency_distance = 1;
                    check_both(p);
                }
            }
    check_both({.what = "complex, wide",
                .lengths = {6, 4, 3},
                .domain = real,
                .placement = apart,
                .spectrum = complex_values,
                .time = {0, 3, 20, 90},
                .frequency = {1, 2, 9, 40}});
}

// Shares of threads begin and end at odd rows and columns too.
template <class R>
void expect_bits_of_one_thread(transform t)
{
    t = laid_out(t);
    SCOPED_TRACE(t.what + (sizeof(R) == 8 ? " double" : " single"));
    const auto reals = static_cast<std::size_t>(4 * t.total() * t.count);
    std::mt19937 random(11);
    std::vector<R> x(reals), first;
    for (R& v : x) v = static_cast<R>(random()) / R(4e9);
    for (const int threads : {1, 2, 3}) {
        t.threads = threads;
        vrn_dft_handle h = configured(t, sizeof(R) == 8 ? VRN_DFT_DOUBLE : VRN_DFT_SINGLE, true);
        ASSERT_EQ(vrn_dft_commit(h), 0);
        std::vector<R> in = x, out(reals);
        EXPECT_EQ(vrn_dft_forward(h, in.data(), out.data()), 0);
        const auto& result = t.placement == inside ? in : out;
        if (threads == 1) first = result;
        EXPECT_EQ(std::memcmp(result.data(), first.data(), reals * sizeof(R)), 0) << threads << " threads";
        vrn_dft_free(&h);
    }
}

TEST(Dft, ThreadsChangeNoBit)
{
    for (const int placement : {inside, apart})
        for (const std::int64_t n : {3, 8, 12, 16, 60, 64, 97, 256})
            for (const std::int64_t count : {1001, 1024}) {
                transform t{
                    .what = "rows " + text({n, count}), .lengths = {n}, .count = count, .placement = placement};
                expect_bits_of_one_thread<double>(t);
                expect_bits_of_one_thread<float>(t);
                t.what = "columns " + text({n, count});
                t.time = t.frequency = {0, count};
                t.time_distance = t.frequency_distance = 1;
                expect_bits_of_one_thread<double>(t);
                expect_bits_of_one_thread<float>(t);
                t = {.what = "plane " + text({n, count}), .lengths = {n, count}, .placement = placement};
                expect_bits_of_one_thread<double>(t);
                expect_bits_of_one_thread<float>(t);
                t = {.what = "real plane " + text({count, n}),
                     .lengths = {count, n},
                     .domain = real,
                     .placement = placement,
                     .spectrum = complex_values};
                expect_bits_of_one_thread<double>(t);
                expect_bits_of_one_thread<float>(t);
            }
}

TEST(Dft, LongLines)
{
    for (const int workspace : {VRN_DFT_WORKSPACE_DEFAULT, VRN_DFT_WORKSPACE_2D})
        for (const int placement : {inside, apart})
            for (const int threads : {1, 2}) {
                vrn_dft_handle h[2] = {};
                const std::int64_t n =
                    3 * 5 * 4096 + (workspace == VRN_DFT_WORKSPACE_2D ? 4096 : 8192); // 65536, 69632
                std::vector<std::complex<double>> x(static_cast<std::size_t>(n)), y(x.size()), z(x.size());
                std::mt19937 random(3);
                for (auto& v : x) v = {static_cast<double>(random()) / 4e9, static_cast<double>(random()) / 4e9};
                // Beside the plain plan of one thread, whose own lengths are tested above, and back.
                for (int i = 0; i < 2; ++i) {
                    ASSERT_EQ(vrn_dft_create(&h[i], VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, 1, &n), 0);
                    vrn_dft_set_int(h[i], VRN_DFT_PLACEMENT, placement);
                    vrn_dft_set_int(h[i], VRN_DFT_THREADS, i == 0 ? 1 : threads);
                    vrn_dft_set_int(h[i], VRN_DFT_WORKSPACE, i == 0 ? VRN_DFT_WORKSPACE_DEFAULT : workspace);
                    vrn_dft_set_double(h[i], VRN_DFT_BACKWARD_SCALE, 1.0 / static_cast<double>(n));
                    ASSERT_EQ(vrn_dft_commit(h[i]), 0);
                    auto& out = i == 0 ? y : z;
                    auto in = x;
                    if (placement == inside) out = x;
                    EXPECT_EQ(placement == apart ? vrn_dft_forward(h[i], in.data(), out.data())
                                                 : vrn_dft_forward(h[i], out.data(), nullptr),
                              0);
                }
                double error = 0, norm = 0;
                for (std::size_t i = 0; i < y.size(); ++i) error += std::norm(y[i] - z[i]), norm += std::norm(y[i]);
                EXPECT_LE(std::sqrt(error / norm), 18 * 5 * 2.3e-16)
                    << workspace << ' ' << placement << ' ' << threads;
                std::vector<std::complex<double>> w(z.size());
                if (placement == inside) w = z;
                EXPECT_EQ(placement == apart ? vrn_dft_backward(h[1], z.data(), w.data())
                                             : vrn_dft_backward(h[1], w.data(), nullptr),
                          0);
                error = norm = 0;
                for (std::size_t i = 0; i < y.size(); ++i) error += std::norm(w[i] - x[i]), norm += std::norm(x[i]);
                EXPECT_LE(std::sqrt(error / norm), 36 * 5 * 2.3e-16) << "back";
                for (auto& one : h) vrn_dft_free(&one);
            }
}

// Factored over two threads beside the plain plan of one, and back.
TEST(Dft, LongRealLines)
{
    for (const std::int64_t n : {16384, 9 * 25 * 8 * 10, 9 * 25 * 2 * 37, 2 * 11003})
        for (const int format : {VRN_DFT_CCS, VRN_DFT_PERM})
            for (const int placement : {inside, apart}) {
                std::vector<float> given(static_cast<std::size_t>(n) + 2), spectra[2], back;
                for (std::size_t i = 0; i < given.size(); ++i) given[i] = static_cast<float>(i * i % 97) - 48;
                for (const int threads : {1, 2}) {
                    vrn_dft_handle h = nullptr;
                    ASSERT_EQ(vrn_dft_create(&h, VRN_DFT_SINGLE, VRN_DFT_REAL, 1, &n), 0);
                    vrn_dft_set_int(h, VRN_DFT_PLACEMENT, placement);
                    vrn_dft_set_int(h, VRN_DFT_PACKED_FORMAT, format);
                    vrn_dft_set_int(h, VRN_DFT_THREADS, threads);
                    vrn_dft_set_double(h, VRN_DFT_BACKWARD_SCALE, 1.0 / static_cast<double>(n));
                    ASSERT_EQ(vrn_dft_commit(h), 0);
                    auto x = given, y = given;
                    EXPECT_EQ(vrn_dft_forward(h, x.data(), y.data()), 0);
                    spectra[threads - 1] = placement == inside ? x : y;
                    auto z = spectra[threads - 1];
                    back = z;
                    EXPECT_EQ(vrn_dft_backward(h, z.data(), back.data()), 0);
                    if (placement == inside) back = z;
                    vrn_dft_free(&h);
                }
                auto far = [&](const std::vector<float>& a, const std::vector<float>& b, std::int64_t count) {
                    double error = 0, norm = 0;
                    for (std::int64_t i = 0; i < count; ++i)
                        error += std::pow(a[i] - b[i], 2), norm += std::pow(b[i], 2);
                    return std::sqrt(error / norm);
                };
                const double bound = 5 * 1.2e-7 * 17;
                EXPECT_LE(far(spectra[1], spectra[0], n + (format == VRN_DFT_CCS ? 2 : 0)), bound)
                    << n << ' ' << format << ' ' << placement;
                EXPECT_LE(far(back, given, n), 2 * bound) << n << ' ' << format << ' ' << placement;
            }
}

// A product of two scrambled spectra is undone into a circular convolution, here with a shifted impulse: a rotation.
TEST(Dft, ScrambledSpectraConvolve)
{
    // From 5000 on, lengths that are no power of 2 have an order of their own.
    for (const std::vector<std::int64_t>& n :
         {std::vector<std::int64_t>{12}, {1000}, {5005}, {6144}, {8192}, {40, 5040}})
        for (const int placement : {inside, apart}) {
            const std::int64_t total = n.size() == 1 ? n[0] : n[0] * n[1], shift = 3;
            vrn_dft_handle h = nullptr;
            ASSERT_EQ(vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_COMPLEX, static_cast<int>(n.size()), n.data()), 0);
            ASSERT_EQ(vrn_dft_set_int(h, VRN_DFT_ORDERING, VRN_DFT_SCRAMBLED), 0);
            ASSERT_EQ(vrn_dft_set_int(h, VRN_DFT_PLACEMENT, placement), 0);
            ASSERT_EQ(vrn_dft_set_double(h, VRN_DFT_BACKWARD_SCALE, 1.0 / static_cast<double>(total)), 0);
            ASSERT_EQ(vrn_dft_commit(h), 0) << text(n);
            using values = std::vector<std::complex<double>>;
            const auto run = [&](values x, auto* compute) {
                values y(x.size());
                EXPECT_EQ(compute(h, x.data(), y.data()), 0);
                return placement == apart ? y : x;
            };
            values x(static_cast<std::size_t>(total)), impulse(x.size());
            for (std::size_t i = 0; i < x.size(); ++i)
                x[i] = {std::sin(static_cast<double>(i * i)), std::cos(3.0 * static_cast<double>(i))};
            impulse[shift] = 1;
            values a = run(x, vrn_dft_forward);
            const values b = run(impulse, vrn_dft_forward);
            for (std::size_t i = 0; i < a.size(); ++i) a[i] *= b[i];
            const values y = run(a, vrn_dft_backward);
            double worst = 0;
            for (std::int64_t i = 0; i < total; ++i) {
                const std::int64_t row = i / n[0] * n[0], to = row + (i - row + shift) % n[0];
                worst = std::max(worst, std::abs(y[static_cast<std::size_t>(to)] - x[static_cast<std::size_t>(i)]));
            }
            // Three transforms of values of order 1, each with an error of a few eps log n relative to its norm.
            EXPECT_LE(worst, 3 * 2.3e-16 * std::log2(static_cast<double>(total)) * 10) << text(n);
            vrn_dft_free(&h);
        }
}

} // namespace
