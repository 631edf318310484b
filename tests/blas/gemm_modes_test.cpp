// tests/blas/gemm_modes_test.cpp - the eight partition modes, driven as a host drives them; what they call, in which
// order, through which fields of the record; and what they do without memory.

#include "tests/blas/gemm_support.hpp"

#include <sstream>

using namespace vrn::test;

namespace {

template <class T>
struct GemmModes : Gemm<> {};
TYPED_TEST_SUITE(GemmModes, AllTypes);

struct mode_case {
    std::int32_t mode;
    bool a_given, b_given;
    bool leaves_zero_beta; // with alpha 0: a beta of 0 is left to a kernel that does not run
    const char* trace;     // see Trace
};
// The order of the columns: mode, A given, B given, C left as it is, the calls.
constexpr mode_case modes[] = {
    {2, false, false, true, "B00 A00 S00 A20 S20 B10 A01 K00 A21 K20 B02 A00 S02 A20 S22 B12 A01 K02 A21 K22"},
    {128, false, false, false,
     "B00 A00 S00 A10 S10 B02 S02 B10 A01 K00 A11 K10 B12 K02 B00 A20 S20 A30 S30 B02 S22 B10 A21 K20 A31 K30 B12 K22"},
    {256, false, false, false,
     "A00 B00 K00 B01 K01 A20 K20 A01 B10 K00 B11 K01 A21 K20 A00 B02 K02 B03 K03 A20 K22 A01 B12 K02 B13 K03 A21 K22"},
    {4, false, false, false, "A00 K00 A20 K20 A01 K00 A21 K20 A00 K02 A20 K22 A01 K02 A21 K22"},
    {8, true, false, true, "B00 S00 B02 S02 B10 K00 B12 K02"},
    {16, true, false, false, "K00 K02 K00 K02"},
    {32, false, true, false, "A00 K00 A20 K20 A01 K00 A21 K20"},
    {64, true, true, true, "S00 K00"},
};

// The complex kernels take packed B alone: the driver packs it for them, a panel of columns at a time.
template <class T>
const char* trace_of(const mode_case& mode)
{
    if (is_complex<T> && mode.mode == 4)
        return "A00 B00 K00 B01 K01 A20 B00 K20 B01 K21 A01 B10 K00 B11 K01 A21 B10 K20 B11 K21 "
               "A00 B02 K02 B03 K03 A20 B02 K22 B03 K23 A01 B12 K02 B13 K03 A21 B12 K22 B13 K23";
    if (is_complex<T> && mode.mode == 16) return "B00 K00 B01 K01 B02 K02 B03 K03 B10 K00 B11 K01 B12 K02 B13 K03";
    return mode.trace;
}

// Panels that a host would share: behind them the slack that kernels may read into.
template <class T>
matrix<T> shared_panels(vrn_int wide, vrn_int tile, vrn_int depth)
{
    const vrn_int elements = (wide + tile - 1) / tile * tile * depth;
    return {elements, 1, elements, 512 / static_cast<int>(sizeof(T))};
}

// The whole product in one mode. Where panels are given, the depth is sliced and packed here, through the record's
// own packers, and each slice is a call with a record of its own.
template <class T>
vrn_int drive(const mode_case& mode, const product<T>& p, const gemm_desc& record)
{
    gemm_desc d = record;
    if (!mode.a_given && !mode.b_given) return p(par<T>, mode.mode, &d);
    const auto& [m, n, k, why] = p.size;
    const gemm_desc packers = operations<T>().record();
    d.get_blks_size(&m, &n, &k, &d);
    const T one{1};
    T beta = p.beta;
    vrn_int status = 0;
    if (mode.mode == 64 && beta != T{0} && beta != one) {
        mscale<T>(&m, &n, &beta, p.c.data(), &p.c.ld());
        beta = one;
    }
    for (vrn_int k0 = 0; k0 < k; k0 += d.k_block, beta = one) {
        const vrn_int kb = std::min(k - k0, d.k_block), depth = (kb + 3) / 4 * 4;
        const T *a = &p.a_at(0, k0), *b = &p.b_at(k0, 0);
        const vrn_int a_distance = d.m_unroll * depth, b_distance = d.n_unroll * depth;
        const auto a_panels = shared_panels<T>(m, d.m_unroll, depth), b_panels = shared_panels<T>(n, d.n_unroll, depth);
        if (mode.a_given)
            p.copy_a(packers)(&m, &kb, a, &p.a.ld(), a_panels.data(), &a_distance, &p.alpha);
        if (mode.b_given)
            p.copy_b(packers)(&kb, &n, b, &p.b.ld(), b_panels.data(), &b_distance, nullptr);
        gemm_desc own = d;
        status |= par<T>(p.transa(), p.transb(), &m, &n, mode.mode == 64 ? &depth : &kb, mode.a_given ? &one : &p.alpha,
                         mode.a_given ? a_panels.data() : a, mode.a_given ? &a_distance : &p.a.ld(),
                         mode.b_given ? b_panels.data() : b, mode.b_given ? &b_distance : &p.b.ld(), &beta, p.c.data(),
                         &p.c.ld(), mode.mode, &own);
        EXPECT_TRUE(a_panels.intact() && b_panels.intact()) << "given panels: " << mode.mode;
    }
    return status;
}

// What goes through a record's fields. A letter for the field - A and B the packers, K a kernel that adds, S one that
// stores - and the place: in tiles of C, and in blocks of 8 of the depth.
template <class T>
struct tracer {
    static inline const product<T>* p;
    static inline gemm_desc real;
    static inline std::ostringstream log;
    static inline std::int32_t variant;
    static inline T alpha;
    static constexpr vrn_int mr = vrn::test::mr<T>, nr = vrn::test::nr<T>;

    static void note(char what, vrn_int x, vrn_int y) { log << (log.tellp() > 0 ? " " : "") << what << x << y; }
    static std::pair<vrn_int, vrn_int> place(const matrix<T>& in, const void* at, bool normal)
    {
        const vrn_int offset = static_cast<const T*>(at) - in.data(), i = offset % in.ld(), j = offset / in.ld();
        return normal ? std::pair{i, j} : std::pair{j, i};
    }
    static void copy_a(const vrn_int* mb, const vrn_int* kb, const void* a, const vrn_int* lda, void* to,
                       const vrn_int* distance, const void* factor)
    {
        const auto [i, kk] = place(p->a, a, p->a_normal);
        note('A', i / mr, kk / 8);
        p->copy_a(real)(mb, kb, a, lda, to, distance, factor);
    }
    static void copy_b(const vrn_int* kb, const vrn_int* nb, const void* b, const vrn_int* ldb, void* to,
                       const vrn_int* distance, const void* unused)
    {
        const auto [kk, j] = place(p->b, b, p->b_normal);
        note('B', kk / 8, j / nr);
        p->copy_b(real)(kb, nb, b, ldb, to, distance, unused);
    }
    static void kernel(const char* ta, const char* tb, const vrn_int* m, const vrn_int* n, const vrn_int* k,
                       const void* factor, const void* a, const vrn_int* a_distance, const void* b,
                       const vrn_int* b_distance, const void* beta, void* c, const vrn_int* ldc, void* w,
                       std::int32_t which)
    {
        const auto [i, j] = place(p->c, c, true);
        note(*static_cast<const T*>(beta) == T{0} ? 'S' : 'K', i / mr, j / nr);
        variant = which;
        alpha = *static_cast<const T*>(factor);
        real.kernel(ta, tb, m, n, k, factor, a, a_distance, b, b_distance, beta, c, ldc, w, which);
    }
    // The record with these in the place of what the product must call; what it must not call is null.
    static gemm_desc through(const product<T>& of, gemm_desc d)
    {
        p = &of, real = d, log.str(""), variant = 0;
        // Those that the letters ask for; the real types have one for T and C.
        vrn::blas::copy_a_function** a = of.a_normal ? &d.copyan : conjugates<T>(*of.transa()) ? &d.copyac : &d.copyat;
        vrn::blas::copy_b_function** b = of.b_normal ? &d.copybn : conjugates<T>(*of.transb()) ? &d.copybc : &d.copybt;
        d.copyan = d.copyat = d.copyac = nullptr, *a = copy_a;
        d.copybn = d.copybt = d.copybc = nullptr, *b = copy_b;
        d.copya_ext = nullptr, d.copyb_ext = nullptr;
        d.kernel = kernel;
        return d;
    }
};

} // namespace

// Blocks so small that every loop of every mode turns several times.
TYPED_TEST(GemmModes, SameBitsAsModeTwo)
{
    using T = TypeParam;
    struct {
        vrn_int m, n, k;
    } const blocks[] = {{8, 16, 12}, {4, 8, 4}, {7, 11, 10}, {64, 8, 8}, {8, 64, 40}, {0, 0, 0}};
    const shape sizes[] = {
        {23, 37, 41, "rests everywhere"}, {16, 32, 24, "no rests"}, {4, 8, 5, "least"}, {30, 19, 300, "deep"}};
    for (const auto& block : blocks)
        for (const shape& s : sizes)
            for (const char* letters : letter_pairs<T>())
                for (const auto& [alpha, beta] : {std::pair{1.0, 0.0}, {0.5, 1.0}, {-1.0, 0.5}}) {
                    const gemm_desc d = operations<T>().record(block.m, block.n, block.k);
                    const product<T> first(s, {letters, alpha, beta});
                    EXPECT_EQ(drive(modes[0], first, d), 0);
                    ASSERT_TRUE(first.sound());
                    for (const mode_case& mode : modes) {
                        const product<T> p(s, {letters, alpha, beta});
                        EXPECT_EQ(drive(mode, p, d), 0);
                        ASSERT_TRUE(p.a.intact() && p.b.intact() && p.c.intact() && same_bits(p.c, first.c))
                            << "mode " << mode.mode << ", blocks " << block.m << ' ' << block.n << ' ' << block.k
                            << ": " << p;
                    }
                    gemm_desc again = d;
                    first.refill();
                    const product<T> p(s, {letters, alpha, beta});
                    EXPECT_EQ(p(par<T>, 0, &again), 0);
                    again = d;
                    first(par<T>, 2, &again);
                    EXPECT_TRUE(same_bits(p.c, first.c)) << "no mode is mode 2";
                }
}

// Loop nests and the deferred beta of the first depth block, seen through a record filled by hand.
TYPED_TEST(GemmModes, Trace)
{
    using T = TypeParam;
    using trace = tracer<T>;
    for (const mode_case& mode : modes)
        for (const char* letters : letter_pairs<T>()) {
            const product<T> p({4 * trace::mr, 4 * trace::nr, 16, "two blocks of two tiles each"}, {letters, -0.5, 0});
            const gemm_desc d = operations<T>().record(2 * trace::mr, 2 * trace::nr, 8);
            EXPECT_EQ(drive(mode, p, trace::through(p, d)), 0);
            EXPECT_EQ(trace::log.str(), trace_of<T>(mode)) << "mode " << mode.mode << ' ' << letters;
            EXPECT_EQ(trace::variant, !is_complex<T> && (mode.mode == 4 || mode.mode == 16) ? 3 : 2) << "mode " << mode.mode;
            EXPECT_EQ(trace::alpha, T(1)) << "it is in A";
            EXPECT_TRUE(p.sound()) << "mode " << mode.mode;
        }
}

// Mode 64 is the kernel alone, and hands it both factors as they stand.
TYPED_TEST(GemmModes, GivenPanelsPassTheFactors)
{
    using T = TypeParam;
    static T alpha, beta;
    gemm_desc d = operations<T>().record(8, 8, 8);
    d.kernel = [](const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int* k, const void* a,
                  const void*, const vrn_int*, const void*, const vrn_int*, const void* b, void*, const vrn_int*,
                  void*, std::int32_t) {
        alpha = *static_cast<const T*>(a), beta = *static_cast<const T*>(b);
        EXPECT_EQ(*k, 20) << "the depth itself, though a block is less";
    };
    const product<T> p({20, 20, 20, ""}, {"NN", 0.25, -3});
    EXPECT_EQ(p(par<T>, 64, &d), 0);
    EXPECT_EQ(alpha, factor<T>(0.25));
    EXPECT_EQ(beta, factor<T>(-3));
    EXPECT_TRUE(p.c.untouched(product<T>::seed_c));
}

TYPED_TEST(GemmModes, BlocksComeThroughTheRecord)
{
    using T = TypeParam;
    static int calls;
    for (int set = 0; set < 8; ++set) {
        gemm_desc d = operations<T>().record(set & 1 ? 8 : 0, set & 2 ? 8 : 0, set & 4 ? 8 : 0);
        d.get_blks_size = [](const vrn_int* m, const vrn_int* n, const vrn_int* k, gemm_desc* to) {
            ++calls;
            operations<T>().get_blks_size(m, n, k, to);
        };
        calls = 0;
        const product<T> p({20, 20, 20, ""});
        EXPECT_EQ(p(par<T>, 2, &d), 0);
        EXPECT_EQ(calls, set != 7);
        EXPECT_TRUE(p.sound());
    }
}

TYPED_TEST(GemmModes, UnknownModesDoNothing)
{
    using T = TypeParam;
    for (const std::int32_t mode : {1, 3, 5, 6, 7, 12, 33, 127, 255, 512, -2}) {
        gemm_desc d = operations<T>().record(8, 8, 8);
        const product<T> p({20, 20, 20, ""}, {"NN", 1, 0.5});
        EXPECT_EQ(p(par<T>, mode, &d), 1) << mode;
        EXPECT_TRUE(p.c.untouched(p.seed_c)) << mode;
        for (const auto& [m, n] : {std::pair<vrn_int, vrn_int>{0, 5}, {5, 0}, {-1, 5}, {5, -1}}) {
            const product<T> none({m, n, 5, "nothing is looked at first"});
            EXPECT_EQ(none(par<T>, mode, &d), 0) << mode;
        }
    }
}

// With alpha zero C is scaled by those modes that scale it first, and A and B, full of NaN, are not read.
TYPED_TEST(GemmModes, ZeroAlpha)
{
    using T = TypeParam;
    for (const mode_case& mode : modes)
        for (const double beta : {0.0, 1.0, -2.5})
            for (const shape& s : {shape{20, 21, 22, "packs"}, shape{3, 2, 1, "does not pack"}}) {
                const product<T> p(s, {"NN", 0, beta});
                gemm_desc d = operations<T>().record(8, 8, 8);
                p.c.fill(p.seed_c);
                EXPECT_EQ(p(par<T>, mode.mode, &d), 0);
                const bool stays = mode.mode == 64 || beta == 1 || (beta == 0 && mode.leaves_zero_beta);
                EXPECT_TRUE(p.c.intact());
                EXPECT_TRUE(p.c.all([&](vrn_int i, vrn_int j, T x) {
                    const T old = value<T>(i, j, p.seed_c);
                    return same_bits(x, stays ? old : beta == 0 ? T(0) : p.beta * old);
                })) << "mode " << mode.mode << ", beta " << beta;
                EXPECT_EQ(host.asked, 0);
            }
}

// Modes that pack both operands leave thin products unpacked; the others pack whatever comes.
TYPED_TEST(GemmModes, ThinProducts)
{
    using T = TypeParam;
    for (const shape& s : {shape{3, 20, 20, ""}, shape{20, 3, 20, ""}, shape{20, 20, 3, ""}, shape{1, 1, 1, ""}})
        for (const mode_case& mode : modes)
            for (const auto& [alpha, beta] : {std::pair{1.0, 0.0}, {-0.5, 2.0}}) {
                host.refuse(host.never, host.never);
                const product<T> p(s, {"TN", alpha, beta});
                const gemm_desc d = operations<T>().record();
                EXPECT_EQ(drive(mode, p, d), 0);
                EXPECT_TRUE(p.sound()) << "mode " << mode.mode;
                const bool fat = s.m >= d.m_min && s.n >= d.n_min && s.k >= d.k_min;
                EXPECT_EQ(host.asked, mode.a_given || mode.b_given || fat) << "mode " << mode.mode;
            }
}

// Without a buffer the result is the same to the bound, a warning names the routine, and the modes with given
// panels say so.
TYPED_TEST(GemmModes, WithoutMemory)
{
    using T = TypeParam;
    for (const mode_case& mode : modes)
        for (const char* letters : letter_pairs<T>())
            for (const auto& [alpha, beta] : {std::pair{1.0, 0.0}, {0.5, 1.0}, {-1.0, 0.5}})
                for (const shape& s :
                     {shape{23, 37, 41, "slices of depth"}, shape{5, 15, 8, ""}, shape{4, 3, 2, "thin"}}) {
                    const bool given = mode.a_given || mode.b_given;
                    if (!given && s.k < 4) continue;
                    host.refuse(0, host.never);
                    const product<T> p(s, {letters, alpha, beta});
                    EXPECT_EQ(drive(mode, p, operations<T>().record(8, 16, 12)), given) << "mode " << mode.mode;
                    EXPECT_TRUE(p.sound()) << "mode " << mode.mode;
                    EXPECT_EQ(host.warnings, host.refused);
                    EXPECT_GE(host.warnings, 1);
                    EXPECT_EQ(host.warned.load(), routine<T>());
                }
}

TYPED_TEST(GemmModes, EntryWithoutMemory)
{
    using T = TypeParam;
    for (const shape& s :
         {shape{40, 41, 300, "packed"}, shape{700, 9, 30, "two row blocks"}, shape{9, 5003, 5, "two column blocks"}})
        for (const char* letters : letter_pairs<T>())
            for (long good = 0;; ++good) {
                host.refuse(good, host.never);
                const product<T> p(s, {letters, 1, 0});
                p(entry<T>);
                EXPECT_TRUE(p.sound());
                EXPECT_EQ(host.warnings, host.refused);
                EXPECT_EQ(host.live, 0);
                if (host.refused == 0) break;
            }
}

// No depth in a mode that is given panels: one block of no depth, and beta is applied.
TYPED_TEST(GemmModes, NoDepth)
{
    using T = TypeParam;
    for (const mode_case& mode : modes)
        for (const double beta : {0.0, 1.0, 0.5}) {
            if (mode.mode == 64 && beta == 0.5) continue; // its kernel only stores or adds
            const product<T> p({9, 17, 0, "no depth"}, {"NN", 1, beta});
            gemm_desc d = operations<T>().record(8, 16, 12);
            EXPECT_EQ(p(par<T>, mode.mode, &d), 0);
            EXPECT_TRUE(p.sound()) << "mode " << mode.mode;
        }
}
