// tests/blas/gemm_desc_test.cpp - the record of a product: layout, tables, blocks, buffer sizes and regions.

#include "tests/blas/gemm_support.hpp"

#include <cstddef>

using namespace vrn::test;

namespace {

// The contract's numbers, apart from the library's own table.
struct numbers {
    char type;
    vrn_int mr, nr, kr, bytes;
    std::int32_t w_factor, mode_mask, kernels;
    vrn_int m_min, n_min, k_min, m_large, m_small, n_cap;
};
constexpr numbers types[] = {
    {'s', 4, 8, 4, 4, 2, 126, 1, 4, 4, 4, 1280, 768, 5000},
    {'d', 2, 8, 4, 8, 1, 126, 2, 4, 4, 4, 640, 384, 5000},
    {'c', 2, 4, 4, 8, 2, 106, 1, 2, 4, 4, 512, 320, 5000},
    {'z', 1, 4, 4, 16, 1, 106, 1, 2, 4, 4, 256, 160, 2000},
};

// A record of which every byte is known.
gemm_desc filled(int byte)
{
    gemm_desc d;
    std::memset(&d, byte, sizeof d);
    return d;
}
bool same_record(const gemm_desc& x, const gemm_desc& y) { return std::memcmp(&x, &y, sizeof x) == 0; }

vrn_int rounded(vrn_int x, vrn_int multiple)
{
    while (x % multiple != 0) ++x;
    return x;
}

using GemmDesc = Gemm<>;

} // namespace

// The order of the fields, with natural alignment, is what callers in other languages count on.
TEST(GemmDescLayout, FieldsInOrder)
{
    const std::size_t places[] = {
        offsetof(gemm_desc, reserved0), offsetof(gemm_desc, kernel_index), offsetof(gemm_desc, mode_mask),
        offsetof(gemm_desc, m_block), offsetof(gemm_desc, n_block), offsetof(gemm_desc, k_block),
        offsetof(gemm_desc, m_unroll), offsetof(gemm_desc, n_unroll), offsetof(gemm_desc, k_unroll),
        offsetof(gemm_desc, m_min), offsetof(gemm_desc, n_min), offsetof(gemm_desc, k_min),
        offsetof(gemm_desc, a_buffer), offsetof(gemm_desc, a_panel_elements), offsetof(gemm_desc, a_bytes),
        offsetof(gemm_desc, a_align_exp), offsetof(gemm_desc, b_buffer), offsetof(gemm_desc, b_panel_elements),
        offsetof(gemm_desc, b_bytes), offsetof(gemm_desc, b_align_exp), offsetof(gemm_desc, get_blks_size),
        offsetof(gemm_desc, get_bufs_size), offsetof(gemm_desc, get_bufs), offsetof(gemm_desc, copyan),
        offsetof(gemm_desc, copyat), offsetof(gemm_desc, copyac), offsetof(gemm_desc, copybn),
        offsetof(gemm_desc, copybt), offsetof(gemm_desc, copybc), offsetof(gemm_desc, copya_ext),
        offsetof(gemm_desc, copyb_ext), offsetof(gemm_desc, w_factor), offsetof(gemm_desc, kernel),
        offsetof(gemm_desc, w_buffer), offsetof(gemm_desc, w_bytes), offsetof(gemm_desc, w_align_exp)};
    const std::size_t expected[] = {0,   4,   8,   16,  24,  32,  40,  48,  56,  64,  72,  80,
                                    88,  96,  104, 112, 120, 128, 136, 144, 152, 160, 168, 176,
                                    184, 192, 200, 208, 216, 224, 232, 240, 248, 256, 264, 272};
    for (std::size_t i = 0; i < std::size(places); ++i) EXPECT_EQ(places[i], expected[i]) << "field " << i;
    EXPECT_EQ(sizeof(gemm_desc), 280u);
}

TEST_F(GemmDesc, Tables)
{
    for (const numbers& t : types) {
        SCOPED_TRACE(t.type);
        const desc_operations op(t.type);
        std::int32_t count = 77;
        op.num_kernels(&count);
        EXPECT_EQ(count, t.kernels);
        const auto named = [&](const char* operation) {
            return backend_symbol(std::string("vrn_blas_s42_") + t.type + "gemm_" + operation);
        };
        const bool complex = t.type == 'c' || t.type == 'z';
        for (std::int32_t index = 0; index < count; ++index) {
            gemm_desc d = filled(0);
            ASSERT_EQ(op.get_kernel(index, &d), 0);
            EXPECT_EQ(d.kernel_index, index);
            EXPECT_EQ(d.mode_mask, t.mode_mask);
            EXPECT_EQ(d.w_factor, t.w_factor);
            const vrn_int got[] = {d.m_unroll, d.n_unroll, d.k_unroll, d.m_min, d.n_min, d.k_min};
            const vrn_int expected[] = {t.mr, t.nr, t.kr, t.m_min, t.n_min, t.k_min};
            EXPECT_TRUE(std::equal(std::begin(got), std::end(got), expected));
            const auto address = [](auto* function) { return reinterpret_cast<void*>(function); };
            const std::pair<void*, const char*> functions[] = {
                {address(d.get_blks_size), "get_blks_size"}, {address(d.get_bufs_size), "get_bufs_size"},
                {address(d.get_bufs), "get_bufs"},           {address(d.copyan), "copyan"},
                {address(d.copyat), "copyat"},               {address(d.copyac), complex ? "copyac" : "copyat"},
                {address(d.copybn), "copybn"},               {address(d.copybt), "copybt"},
                {address(d.copybc), complex ? "copybc" : "copybt"}};
            for (const auto& [function, name] : functions) EXPECT_EQ(function, named(name)) << name;
            EXPECT_EQ(address(d.copya_ext), complex ? nullptr : named("copya_ext"));
            EXPECT_EQ(address(d.copyb_ext), complex ? nullptr : named("copyb_ext"));
            EXPECT_NE(d.kernel, nullptr);
            if (index == 0) continue;
            gemm_desc first = filled(0);
            op.get_kernel(0, &first);
            first.kernel = d.kernel, first.kernel_index = index;
            EXPECT_TRUE(same_record(first, d)) << "the entries differ in the kernel alone";
        }
        for (const std::int32_t index : {-1, count, count + 1, 1 << 30}) {
            gemm_desc d = filled(0x5a);
            EXPECT_EQ(op.get_kernel(index, &d), 1);
            EXPECT_TRUE(same_record(d, filled(0x5a))) << index;
        }
    }
}

TEST_F(GemmDesc, OptimalKernelByProcessor)
{
    for (const numbers& t : types)
        for (const std::int32_t processor : {0, 62, 65, 66, 67}) {
            host.microarchitecture = processor;
            const desc_operations op(t.type);
            gemm_desc optimal = filled(0), entry = filled(0);
            op.get_optimal_kernel(&optimal);
            op.get_kernel(t.kernels == 2 && processor == 66, &entry);
            EXPECT_TRUE(same_record(optimal, entry)) << t.type << ' ' << processor;
        }
}

TEST_F(GemmDesc, ZeroDescKeepsTheWorkFactor)
{
    for (const numbers& t : types) {
        gemm_desc d = filled(0x5a), zero = filled(0);
        d.w_factor = zero.w_factor = 12345;
        desc_operations(t.type).zero_desc(&d);
        // By field: the gaps between fields belong to nobody.
        EXPECT_EQ(d.w_factor, 12345);
        EXPECT_TRUE(d.reserved0 == 0 && d.kernel_index == 0 && d.mode_mask == 0);
        for (const vrn_int field :
             {d.m_block, d.n_block, d.k_block, d.m_unroll, d.n_unroll, d.k_unroll, d.m_min, d.n_min, d.k_min,
              d.a_panel_elements, d.a_bytes, d.b_panel_elements, d.b_bytes, d.w_bytes})
            EXPECT_EQ(field, 0);
        EXPECT_TRUE(d.a_align_exp == 0 && d.b_align_exp == 0 && d.w_align_exp == 0);
        EXPECT_TRUE(!d.a_buffer && !d.b_buffer && !d.w_buffer && !d.get_blks_size && !d.get_bufs_size && !d.get_bufs);
        EXPECT_TRUE(!d.copyan && !d.copyat && !d.copyac && !d.copybn && !d.copybt && !d.copybc && !d.copya_ext &&
                    !d.copyb_ext && !d.kernel);
    }
}

TEST_F(GemmDesc, DepthBlock)
{
    struct {
        vrn_int k, real, complex;
    } const cases[] = {{1, 128, 128},   {127, 128, 128}, {128, 128, 128}, {129, 132, 132},  {252, 252, 252},
                       {255, 256, 256}, {256, 256, 128}, {257, 128, 128}, {258, 132, 128},  {300, 152, 128},
                       {511, 256, 128}, {512, 256, 128}, {513, 256, 128}, {1024, 256, 128}, {1025, 256, 256}};
    for (const numbers& t : types)
        for (const auto& c : cases) {
            const desc_operations op(t.type);
            gemm_desc d = op.record();
            const vrn_int one = 1;
            op.get_blks_size(&one, &one, &c.k, &d);
            EXPECT_EQ(d.k_block, t.type == 's' || t.type == 'd' ? c.real : c.complex) << t.type << ' ' << c.k;
        }
}

TEST_F(GemmDesc, ColumnBlock)
{
    for (const numbers& t : types) {
        const std::pair<vrn_int, vrn_int> cases[] = {{1, t.nr},
                                                     {3, t.nr},
                                                     {t.nr, t.nr},
                                                     {t.nr + 1, 2 * t.nr},
                                                     {1993, rounded(1993, t.nr)},
                                                     {1999, 2000},
                                                     {2000, 2000},
                                                     {2001, t.n_cap == 2000 ? 2000 : rounded(2001, t.nr)},
                                                     {4997, t.n_cap},
                                                     {5000, t.n_cap},
                                                     {5001, t.n_cap},
                                                     {1 << 20, t.n_cap}};
        for (const auto& [n, expected] : cases) {
            const desc_operations op(t.type);
            gemm_desc d = op.record();
            const vrn_int one = 1;
            op.get_blks_size(&one, &n, &one, &d);
            EXPECT_EQ(d.n_block, expected) << t.type << ' ' << n;
        }
    }
}

// Asked for anew every time, and whatever m is.
TEST_F(GemmDesc, RowBlockByCache)
{
    struct {
        std::int32_t valid, bytes;
        bool large;
    } const cases[] = {{1, 4194304, false}, {1, 4194305, true}, {1, 0, false},
                       {1, INT32_MAX, true}, {0, 4194304, true}, {0, 0, true}, {7, 1 << 20, false}};
    for (const numbers& t : types)
        for (const auto& c : cases)
            for (const vrn_int m : {1, 100, 100000}) {
                host.cache_valid = c.valid, host.cache_bytes = c.bytes;
                const desc_operations op(t.type);
                gemm_desc d = op.record();
                op.get_blks_size(&m, &m, &m, &d);
                EXPECT_EQ(d.m_block, c.large ? t.m_large : t.m_small) << t.type << ' ' << c.valid << ' ' << c.bytes;
            }
}

TEST_F(GemmDesc, SetBlocksStay)
{
    for (const numbers& t : types)
        for (int mask = 0; mask < 8; ++mask) {
            const desc_operations op(t.type);
            const vrn_int x = 600;
            gemm_desc all = op.record(), d = op.record(mask & 1 ? 7 : 0, mask & 2 ? 11 : 0, mask & 4 ? 13 : 0);
            op.get_blks_size(&x, &x, &x, &all);
            op.get_blks_size(&x, &x, &x, &d);
            EXPECT_EQ(d.m_block, mask & 1 ? 7 : all.m_block);
            EXPECT_EQ(d.n_block, mask & 2 ? 11 : all.n_block);
            EXPECT_EQ(d.k_block, mask & 4 ? 13 : all.k_block);
        }
}

namespace {

// What a request names, as letters.
struct {
    std::int32_t code;
    const char* regions;
} constexpr requests[] = {{100, "AWB"}, {101, "A"}, {102, "B"}, {103, "AB"}, {104, "WB"}, {105, "AW"}, {106, "W"}};

bool names(const char* regions, char region) { return std::strchr(regions, region) != nullptr; }

} // namespace

TEST_F(GemmDesc, BufferSizes)
{
    struct {
        vrn_int m, n, k;
    } const actual[] = {{7, 13, 5}, {1000, 1000, 1000}, {9, 1000, 30}, {0, 0, 0}};
    constexpr vrn_int m_block = 10, n_block = 30, k_block = 26;
    for (const numbers& t : types)
        for (const auto& request : requests)
            for (const auto& size : actual)
                for (const bool blocks : {false, true}) {
                    const desc_operations op(t.type);
                    gemm_desc d = op.record(m_block, n_block, k_block), expected = d;
                    // With the blocks alone the sizes are not read.
                    ASSERT_EQ(op.get_bufs_size(request.code, blocks ? 108 : 107, blocks ? nullptr : &size.m,
                                               blocks ? nullptr : &size.n, blocks ? nullptr : &size.k, &d),
                              0);
                    const vrn_int mb = rounded(blocks ? m_block : std::min(size.m, m_block), t.mr);
                    const vrn_int nb = rounded(blocks ? n_block : std::min(size.n, n_block), t.nr);
                    const vrn_int kb = rounded(blocks ? k_block : std::min(size.k, k_block), t.kr);
                    if (names(request.regions, 'A'))
                        expected.a_bytes = mb * t.bytes * kb + 512, expected.a_panel_elements = t.mr * kb,
                        expected.a_align_exp = 12;
                    if (names(request.regions, 'B'))
                        expected.b_bytes = nb * t.bytes * kb + 512, expected.b_panel_elements = kb * t.nr,
                        expected.b_align_exp = 12;
                    if (names(request.regions, 'W'))
                        expected.w_bytes = kb * t.bytes * t.nr * t.w_factor + 512, expected.w_align_exp = 7;
                    EXPECT_TRUE(same_record(d, expected)) << t.type << ' ' << request.code << ' ' << blocks;
                }
}

TEST_F(GemmDesc, BadCodesChangeNothing)
{
    constexpr std::pair<std::int32_t, std::int32_t> codes[] = {{99, 107},  {107, 107}, {0, 107},   {-1, 108},
                                                               {100, 106}, {100, 109}, {106, 0},   {103, -107},
                                                               {108, 108}, {1 << 20, 107}};
    for (const numbers& t : types) {
        const desc_operations op(t.type);
        const vrn_int x = 20;
        const gemm_desc before = op.record(10, 30, 26);
        for (const auto& [request, limit] : codes) {
            gemm_desc d = before;
            EXPECT_EQ(op.get_bufs_size(request, limit, &x, &x, &x, &d), 1) << request << ' ' << limit;
            EXPECT_TRUE(same_record(d, before)) << request << ' ' << limit;
        }
        for (const std::int32_t request : {99, 107, 0, -1}) {
            gemm_desc d = before;
            int mark;
            void* buffer = &mark;
            EXPECT_EQ(op.get_bufs(request, &buffer, &d), 1) << request;
            EXPECT_EQ(buffer, &mark);
            EXPECT_TRUE(same_record(d, before)) << request;
        }
        EXPECT_EQ(host.asked, 0);
    }
}

// In the order A, W, B, each aligned by itself, inside one block that is only aligned to 128.
TEST_F(GemmDesc, Regions)
{
    for (const numbers& t : types)
        for (const auto& request : requests)
            for (const vrn_int x : {1, 13, 64}) {
                SCOPED_TRACE(testing::Message() << t.type << ' ' << request.code << ' ' << x);
                const desc_operations op(t.type);
                gemm_desc d = op.record(), before;
                op.get_blks_size(&x, &x, &x, &d);
                ASSERT_EQ(op.get_bufs_size(request.code, 107, &x, &x, &x, &d), 0);
                int mark[3];
                d.a_buffer = mark, d.w_buffer = mark + 1, d.b_buffer = mark + 2;
                before = d;
                void* buffer = nullptr;
                host.refuse(0, 1);
                EXPECT_EQ(op.get_bufs(request.code, &(buffer = mark), &d), 0) << "the check is left to the caller";
                EXPECT_EQ(buffer, nullptr);
                ASSERT_EQ(op.get_bufs(request.code, &buffer, &d), 0);
                EXPECT_EQ(buffer, host.block);
                EXPECT_EQ(host.alignment, 128);

                std::uintptr_t at = reinterpret_cast<std::uintptr_t>(buffer);
                const std::uintptr_t end = at + host.size;
                std::uint64_t bytes = 0;
                const auto region = [&](char name, void*& got, void* unset, vrn_int size, std::uintptr_t alignment) {
                    if (!names(request.regions, name)) {
                        EXPECT_EQ(got, unset) << name << " was not asked for";
                        return;
                    }
                    at = (at + alignment - 1) / alignment * alignment;
                    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(got), at) << name;
                    at += static_cast<std::uintptr_t>(size);
                    bytes += static_cast<std::uint64_t>(size) + 2 * alignment;
                    EXPECT_LE(at, end) << name;
                    std::memset(got, 0x11, static_cast<std::size_t>(size));
                };
                region('A', d.a_buffer, mark, d.a_bytes, 4096);
                region('W', d.w_buffer, mark + 1, d.w_bytes, 128);
                region('B', d.b_buffer, mark + 2, d.b_bytes, 4096);
                EXPECT_EQ(host.size, bytes);
                d.a_buffer = mark, d.w_buffer = mark + 1, d.b_buffer = mark + 2;
                EXPECT_TRUE(same_record(d, before)) << "but for the regions the record stays";
                op.free_bufs(buffer);
                op.free_bufs(nullptr);
                EXPECT_EQ(host.live, 0);
            }
}

// The second schedule is for speed alone.
TEST_F(GemmDesc, BothKernelsGiveTheSameBits)
{
    const auto& op = operations<double>();
    for (const shape& s : {shape{7, 13, 5, "edges"}, shape{64, 72, 300, "two depth blocks"}, shape{33, 9, 12, ""}})
        for (const std::int32_t mode : {2, 4}) {
            const setting t{"NT", 0.5, -1, 1};
            product<double> first(s, t), second(s, t), third(s, t);
            gemm_desc d[2] = {op.record(), op.record()};
            op.get_kernel(0, &d[0]);
            op.get_kernel(1, &d[1]);
            EXPECT_EQ(first(par<double>, mode, &d[0]), 0);
            EXPECT_EQ(second(par<double>, mode, &d[1]), 0);
            EXPECT_TRUE(same_bits(first.c, second.c)) << first;
            host.microarchitecture = 66;
            third(entry<double>);
            host.microarchitecture = 65;
            EXPECT_TRUE(same_bits(first.c, third.c)) << first;
        }
}
