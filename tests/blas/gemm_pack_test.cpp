// tests/blas/gemm_pack_test.cpp - packed panels, element by element, and the scaling of C.

#include "tests/blas/gemm_support.hpp"

#include <optional>
#include <vector>

using namespace vrn::test;

namespace {

constexpr vrn_int kr = 4;

// Which row of the tile stands at a place of the panel: rows of s come in the order its kernel wants.
template <class T>
vrn_int row_at(vrn_int place)
{
    constexpr vrn_int s_rows[] = {0, 2, 1, 3};
    return sizeof(T) == 4 ? s_rows[place] : place;
}

// What a place of the destination should hold; nothing where it should not be written.
template <class T>
using panels = std::vector<std::optional<T>>;

constexpr vrn_int padded(vrn_int k) { return (k + kr - 1) / kr * kr; }

template <class T, class Source>
panels<T> a_panels(vrn_int m, vrn_int k, vrn_int distance, T alpha, Source&& source)
{
    panels<T> to(static_cast<std::size_t>((m + mr<T> - 1) / mr<T> * distance));
    for (vrn_int p = 0; p * mr<T> < m; ++p)
        for (vrn_int kk = 0; kk < padded(k); ++kk)
            for (vrn_int place = 0; place < mr<T>; ++place) {
                const vrn_int i = p * mr<T> + row_at<T>(place);
                to[static_cast<std::size_t>(p * distance + kk * mr<T> + place)] =
                    i < m && kk < k ? alpha * source(i, kk) : T{};
            }
    return to;
}

// The widths of the panels behind the full ones, by the number of columns left over.
constexpr const char* chains[] = {"", "1", "2", "4", "4", "41", "42", "44"};

template <class T, class Source>
panels<T> b_panels(vrn_int k, vrn_int n, vrn_int distance, Source&& source)
{
    panels<T> to;
    const auto panel = [&](vrn_int j, vrn_int width) {
        for (vrn_int kk = 0; kk < padded(k); ++kk)
            for (vrn_int c = j; c < j + width; ++c) to.push_back(c < n && kk < k ? source(kk, c) : T{});
    };
    vrn_int j = 0;
    for (; j + nr<T> <= n; j += nr<T>) {
        to.resize(static_cast<std::size_t>(j / nr<T> * distance));
        panel(j, nr<T>);
    }
    to.resize(static_cast<std::size_t>(j / nr<T> * distance));
    for (const char* width = chains[n - j]; *width != '\0'; j += *width++ - '0') panel(j, *width - '0');
    return to;
}

// A destination, its watched end where the model ends.
template <class T>
matrix<T> room(const panels<T>& model)
{
    const auto size = static_cast<vrn_int>(model.size());
    return {size, 1, size};
}

template <class T>
testing::AssertionResult holds(const matrix<T>& got, const panels<T>& model)
{
    if (!got.intact()) return testing::AssertionFailure() << "written outside";
    for (vrn_int at = 0; at < got.rows(); ++at) {
        const T x = got(at, 0);
        const auto& expected = model[static_cast<std::size_t>(at)];
        const bool right = !expected             ? same_bits(x, watched<T>())
                           : has_nan(*expected)    ? has_nan(x)
                                                 : same_bits(x, *expected);
        if (!right)
            return testing::AssertionFailure()
                   << "place " << at << " holds " << x << " for " << expected.value_or(T(-77));
    }
    return testing::AssertionSuccess();
}

// Calls visit(normal, source matrix, gap between panels) for op(X) of rows x columns as stored both ways, at every
// address, with leading dimensions that allow aligned loads and that do not.
template <class T, class Visit>
void each_source(vrn_int rows, vrn_int columns, Visit&& visit)
{
    constexpr int lanes = 16 / sizeof(T);
    for (const char operation : is_complex<T> ? std::string("NTC") : std::string("NT"))
        for (int shift = 0; shift < lanes; ++shift)
            for (int extra = 0; extra < 2; ++extra) {
                const bool normal = operation == 'N';
                const vrn_int r = normal ? rows : columns, c = normal ? columns : rows;
                const matrix<T> x(r, c, (r + lanes - 1) / lanes * lanes + extra, shift);
                x.fill([&](vrn_int i, vrn_int j) {
                    return conjugate_if(operation == 'C', normal ? value<T>(i, j, 1) : value<T>(j, i, 1));
                });
                for (const vrn_int apart : {0, 16}) visit(operation, x, apart);
            }
}
template <class F>
F* packer(char operation, F* normal, F* transposed, F* conjugate)
{
    return operation == 'N' ? normal : operation == 'T' ? transposed : conjugate;
}

template <class T>
struct GemmPack : Gemm<> {};
TYPED_TEST_SUITE(GemmPack, AllTypes);
template <class T>
struct GemmPackOutside : Gemm<> {};
TYPED_TEST_SUITE(GemmPackOutside, Reals);

constexpr vrn_int sizes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 16, 17};

} // namespace

TYPED_TEST(GemmPack, PanelsOfA)
{
    using T = TypeParam;
    const gemm_desc d = operations<T>().record();
    const T nan = std::numeric_limits<real<T>>::quiet_NaN();
    for (const vrn_int m : sizes)
        for (const vrn_int k : sizes)
            for (const T alpha : {T(1), factor<T>(-0.37), nan})
                each_source<T>(m, k, [&](char operation, const matrix<T>& a, vrn_int apart) {
                    const vrn_int distance = mr<T> * padded(k) + apart;
                    const auto model =
                        a_panels<T>(m, k, distance, alpha, [](vrn_int i, vrn_int kk) { return value<T>(i, kk, 1); });
                    const auto to = room<T>(model);
                    packer(operation, d.copyan, d.copyat, d.copyac)(&m, &k, a.data(), &a.ld(), to.data(), &distance, &alpha);
                    ASSERT_TRUE(holds(to, model)) << m << " x " << k << ' ' << operation << " ld " << a.ld();
                });
}

TYPED_TEST(GemmPack, PanelsOfB)
{
    using T = TypeParam;
    const gemm_desc d = operations<T>().record();
    for (const vrn_int k : sizes)
        for (vrn_int n = 1; n <= 3 * nr<T>; ++n)
            each_source<T>(k, n, [&](char operation, const matrix<T>& b, vrn_int apart) {
                const vrn_int distance = nr<T> * padded(k) + apart;
                const auto model =
                    b_panels<T>(k, n, distance, [](vrn_int kk, vrn_int j) { return value<T>(kk, j, 1); });
                const auto to = room<T>(model);
                packer(operation, d.copybn, d.copybt, d.copybc)(&k, &n, b.data(), &b.ld(), to.data(), &distance, nullptr);
                ASSERT_TRUE(holds(to, model)) << k << " x " << n << ' ' << operation << " ld " << b.ld();
            });
}

// Nothing to pack: no argument is looked at beyond the sizes.
TYPED_TEST(GemmPack, Nothing)
{
    const gemm_desc d = operations<TypeParam>().record();
    const TypeParam alpha = 1;
    const vrn_int distance = 64, ld = 8;
    for (const auto& [x, y] : {std::pair<vrn_int, vrn_int>{0, 5}, {5, 0}, {-1, 5}, {5, -1}}) {
        for (auto* copy : {d.copyan, d.copyat, d.copyac}) copy(&x, &y, nullptr, &ld, nullptr, &distance, &alpha);
        for (auto* copy : {d.copybn, d.copybt, d.copybc}) copy(&x, &y, nullptr, &ld, nullptr, &distance, nullptr);
    }
}

// The same layouts in a place that the caller gives, without a factor; any other code is refused.
TYPED_TEST(GemmPackOutside, SamePanels)
{
    using T = TypeParam;
    const gemm_desc d = operations<T>().record();
    for (const vrn_int x : {1, 5, 8, 13})
        for (const vrn_int y : {3, 4, 21})
            each_source<T>(x, y, [&](char operation, const matrix<T>& source, vrn_int apart) {
                const auto element = [](vrn_int i, vrn_int j) { return value<T>(i, j, 1); };
                for (const char* trans = operation == 'N' ? "Nn" : "Tc"; *trans != '\0'; ++trans)
                    for (const vrn_int code : {4096, 0, 1, 4095, 4097, -4096}) {
                        const vrn_int a_distance = mr<T> * padded(y) + apart, b_distance = nr<T> * padded(x) + apart;
                        auto a_model = a_panels<T>(x, y, a_distance, T(1), element);
                        auto b_model = b_panels<T>(x, y, b_distance, element);
                        if (code != 4096)
                            for (auto* model : {&a_model, &b_model})
                                std::fill(model->begin(), model->end(), std::nullopt);
                        const auto a_to = room<T>(a_model), b_to = room<T>(b_model);
                        void* const a_place = a_to.data();
                        void* const b_place = b_to.data();
                        void *a_given = a_place, *b_given = b_place;
                        const vrn_int refused = code != 4096;
                        ASSERT_EQ(d.copya_ext(&code, trans, nullptr, nullptr, nullptr, &x, &y, source.data(),
                                              &source.ld(), &a_given, &a_distance),
                                  refused);
                        ASSERT_EQ(d.copyb_ext(&code, trans, nullptr, nullptr, nullptr, &x, &y, source.data(),
                                              &source.ld(), &b_given, &b_distance, nullptr),
                                  refused);
                        ASSERT_TRUE(holds(a_to, a_model)) << x << " x " << y << ' ' << *trans << ' ' << code;
                        ASSERT_TRUE(holds(b_to, b_model)) << x << " x " << y << ' ' << *trans << ' ' << code;
                        ASSERT_TRUE(a_given == a_place && b_given == b_place);
                    }
            });
}

TYPED_TEST(GemmPack, Scaling)
{
    using T = TypeParam;
    const T nan = std::numeric_limits<real<T>>::quiet_NaN();
    for (vrn_int m = 0; m <= 27; ++m)
        for (vrn_int n = 0; n <= 9; ++n)
            for (const T beta : {T(0), -T(0), T(1), factor<T>(-2.5), nan})
                for (int shift = 0; shift < 2; ++shift) {
                    const matrix<T> c(m, n, m + 3, shift);
                    // Zero stores without reading.
                    if (beta != T(0)) c.fill(1);
                    mscale<T>(&m, &n, &beta, c.data(), &c.ld());
                    ASSERT_TRUE(c.intact()) << m << " x " << n;
                    ASSERT_TRUE(c.all([&](vrn_int i, vrn_int j, T x) {
                        if (has_nan(beta)) return has_nan(x);
                        return same_bits(x, beta == T(0) ? T(0) : beta * value<T>(i, j, 1));
                    })) << m << " x " << n << " by " << beta;
                }
}
