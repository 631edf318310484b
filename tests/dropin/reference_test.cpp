// tests/dropin/reference_test.cpp - every routine of the table in every face beside the reference library: the same
// results, the same reports of bad arguments, and nothing else written.
//
// The data are small integers, and the triangles that are solved with have units on the diagonal, so that every
// result is exact in any order of summation and is compared as it is. Norms and the generators of rotations round.

#include "tests/dropin/faces.hpp"
#include "tests/support/names.hpp"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace vrn::test;

// This program's own, found ahead of those of the libraries.
extern "C" void xerbla_(const char* name, const void* argument, std::size_t length)
{
    std::string routine(name, length);
    routine.resize(routine.find_last_not_of(' ') + 1);
    reports.push_back({routine, *static_cast<const std::int32_t*>(argument)}); // of either width, on this machine
}
extern "C" void cblas_xerbla(int argument, const char* routine, const char*, ...)
{
    reports.push_back({routine, argument});
}

// The reference library's CBLAS forgets its conjugated copies where it reports a bad argument.
extern "C" const char* __lsan_default_suppressions() { return "leak:libblas.so.3\n"; }

namespace {

constexpr char reference_library[] = "/usr/lib/x86_64-linux-gnu/blas/libblas.so.3";
constexpr char blas32[] = VRN_LIBRARY_DIR "/libvrn_blas.so.0", blas64[] = VRN_LIBRARY_DIR "/libvrn_blas64.so.0";
constexpr char core[] = VRN_LIBRARY_DIR "/libvrn_core.so.0";
using enum convention;
constexpr face fortran_faces[] = {{"Fortran, 32 bits", blas32, fortran, 32},
                                  {"Fortran, 64 bits", blas64, fortran, 64},
                                  {"host, 32 bits", core, host, 32},
                                  {"host, 64 bits", core, host, 64}};
constexpr face cblas_faces[] = {{"CBLAS, 32 bits, columns", blas32, cblas_columns, 32},
                                {"CBLAS, 64 bits, columns", blas64, cblas_columns, 64},
                                {"CBLAS, 32 bits, rows", blas32, cblas_rows, 32},
                                {"CBLAS, 64 bits, rows", blas64, cblas_rows, 64}};
constexpr face reference_of(const face& f)
{
    return {"reference", reference_library, f.how == host ? fortran : f.how, 32};
}

const std::vector<routine> table = {
#include "routines.inc"
};

bool rounds(const routine& r) { return r.stem == "nrm2" || r.stem == "rotg" || r.stem == "rotmg"; }
bool solves(const routine& r)
{
    return r.stem.starts_with("tr") || r.stem.starts_with("tb") || r.stem.starts_with("tp");
}

struct shape {
    int m, n, k, incx, incy;
};

// One leading dimension for every matrix of a call, and more rows than any bad argument asks for.
int leading(const shape& s) { return std::max({s.m, s.n, s.k, 9}) + 3; }

// A call with every argument set. Options stand at their first letter.
template <class R>
values<R> filled(const routine& r, const shape& s)
{
    std::mt19937 random(1);
    const int ld = leading(s), most = ld - 3;
    values<R> v;
    v.number = {{"m", s.m},       {"n", s.n},       {"k", s.k},      {"kl", 2},   {"ku", 1},
                {"nz", s.n},      {"lda", ld},      {"ldb", ld},     {"ldc", ld}, {"incx", s.incx},
                {"incy", s.incy}, {"incz", s.incx}, {"incw", s.incy}};
    if (r.stem.substr(1) == "bmv" || r.stem == "tbsv") v.number["k"] = 2;
    v.letter = {{"trans", 'N'}, {"transa", 'N'}, {"transb", 'N'}, {"uplo", 'U'}, {"side", 'L'}, {"diag", 'N'}};
    for (const char* a : {"alpha", "beta", "c", "s", "sb", "y1"})
        v.scalar[a] = {R(2 + (*a == 'b')), R(*a == 'a' ? -1 : *a == 'b' ? 1 : *a == 's')};
    v.scalar["y1"] = {R(0.75), 0};
    // A strided draw without repetition: what a repeated position means is for the kernels' own test.
    for (int i = 0; i < s.n; ++i) v.indx.push_back(1 + (i * 7) % most);
    for (const auto& [name, kind] : r.arguments) {
        if (kind != 'R' && kind != 'C') continue;
        const bool matrix = name == "a" || name == "b" || name == "c" || name == "ap";
        const std::size_t part = kind == 'C' ? 2 : 1,
                          elements = matrix ? std::size_t(ld * ld) : std::size_t(9 * most);
        auto& x = v.array[name];
        x.resize(part * elements);
        const bool sparse = solves(r) && (name == "a" || name == "ap");
        for (R& e : x) e = sparse ? R(random() % 24 == 0 ? 1 : 0) : R(static_cast<int>(random() % 7) - 3);
        if (name == "param") x[0] = R(s.n % 4 - 2);
        if (rounds(r))
            for (R& e : x) e += R(0.625);
        if (!sparse) continue;
        // Wherever a diagonal can lie: full, band upper and lower, packed upper and lower.
        const auto unit = [&](std::size_t at) {
            x[part * at] = random() % 2 ? 1 : -1;
            if (part == 2) x[2 * at + 1] = 0;
        };
        std::size_t lower = 0;
        for (std::size_t i = 0; i < std::size_t(most); ++i) {
            if (name == "ap") unit(i * (i + 3) / 2);
            else if (r.stem.starts_with("tb")) unit(i * std::size_t(ld)), unit(i * std::size_t(ld) + 2);
            else unit(i * std::size_t(ld + 1));
            if (name == "ap" && i < std::size_t(s.n)) unit(lower), lower += std::size_t(s.n) - i;
        }
    }
    return v;
}

// Every combination of valid options.
template <class R, class Body>
void each_option(const routine& r, values<R> v, Body&& body, std::size_t from = 0)
{
    while (from < r.arguments.size() && r.arguments[from].kind != 'o') ++from;
    if (from == r.arguments.size()) return body(v);
    const std::string& a = r.arguments[from].name;
    const bool hermitian = r.stem == "herk" || r.stem == "her2k";
    const bool symmetric = (r.stem == "syrk" || r.stem == "syr2k") && r.arguments.back().name == "ldc" &&
                           (r.name[0] == 'c' || r.name[0] == 'z');
    const char* letters = a == "uplo"   ? "UL"
                          : a == "side" ? "LR"
                          : a == "diag" ? "NU"
                          : hermitian   ? "NC"
                          : symmetric   ? "NT"
                                        : "NTC";
    for (; *letters; ++letters) {
        v.letter[a] = *letters;
        each_option(r, v, body, from + 1);
    }
}

template <class R>
bool close(double a, double b, double units)
{
    return a == b || (std::isnan(a) && std::isnan(b)) ||
           std::abs(a - b) <= units * double{std::numeric_limits<R>::epsilon()} * std::abs(b);
}

template <class R>
std::string difference(const routine& r, const values<R>& got, const values<R>& expected)
{
    // A norm of n terms is within n/2 + 2 roundings; the generators take a handful of operations.
    const double units = r.stem == "nrm2" ? double(got.number.at("n")) + 2 : rounds(r) ? 8 : 0;
    for (int i : {0, 1})
        if (!close<R>(got.result[i], expected.result[i], units))
            return "result " + std::to_string(got.result[i]) + " not " + std::to_string(expected.result[i]);
    for (const auto& [name, x] : expected.array)
        for (std::size_t i = 0; i < x.size(); ++i)
            if (!close<R>(got.array.at(name)[i], x[i], units))
                return name + "[" + std::to_string(i) + "] is " + std::to_string(got.array.at(name)[i]) + " not " +
                       std::to_string(x[i]);
    return {};
}

template <class R>
std::string shown(const routine& r, const values<R>& v)
{
    std::ostringstream out;
    out << r.name;
    for (const auto& [a, kind] : r.arguments)
        if (kind == 'o') out << ' ' << a << '=' << v.letter.at(a);
        else if (kind == 'i') out << ' ' << a << '=' << v.number.at(a);
        else if (kind == 'r' || kind == 'c') out << ' ' << a << '=' << v.scalar.at(a)[0];
    return out.str();
}

// What the reference library has no routine for is told in terms of what it has, or from the definition.
const routine& named(const std::string& name)
{
    for (const routine& r : table)
        if (r.name == name) return r;
    throw std::runtime_error("no " + name);
}

template <class R>
std::vector<R> complex_of(const std::vector<R>& x)
{
    std::vector<R> z(2 * x.size());
    for (std::size_t i = 0; i < x.size(); ++i) z[2 * i] = x[i];
    return z;
}

template <class R>
values<R> expected_of(const face& f, const routine& r, const values<R>& v)
{
    const face reference = reference_of(f);
    const std::string type = r.name.substr(0, r.name.size() - r.stem.size());
    values<R> w = v;
    if (r.stem == "gemm3m") return call(reference, named(type + "gemm"), v);
    if (r.stem.starts_with("gemmt")) {
        w.number["m"] = v.number.at("n");
        w = call(reference, named(type + "gemm"), w);
        if (!reports.empty()) return w;
        const std::size_t part = r.arguments[6].kind == 'C' ? 2 : 1;
        const bool upper = (v.letter.at("uplo") == 'U') == (f.how != cblas_rows);
        const auto ld = std::size_t(v.number.at("ldc"));
        for (std::size_t i = 0; i < ld; ++i)
            for (std::size_t j = 0; j < ld; ++j)
                if (i != j && (i < j) != upper)
                    for (std::size_t p = 0; p < part; ++p)
                        w.array["c"][part * (i + j * ld) + p] = v.array.at("c")[part * (i + j * ld) + p];
        return w;
    }
    if (type == "sc" || type == "dz") {
        if (r.stem.starts_with("gem")) {
            w.array["a"] = complex_of(v.array.at("a"));
            w = call(reference, named(type.substr(1) == "c" ? "c" + r.stem : "z" + r.stem), w);
            w.array["a"] = v.array.at("a");
            return w;
        }
    }
    if (r.stem.starts_with("gem2v")) {
        w.letter["trans"] = 'N';
        w.array["y"] = v.array.at("z"), w.number["incy"] = v.number.at("incz");
        const auto first = call(reference, named(type + "gemv"), w);
        w.letter["trans"] = r.stem == "gem2vc" ? 'C' : 'T';
        w.array["x"] = v.array.at("y"), w.number["incx"] = v.number.at("incy");
        w.array["y"] = v.array.at("w"), w.number["incy"] = v.number.at("incw");
        const auto second = call(reference, named(type + "gemv"), w);
        w = v;
        w.array["z"] = first.array.at("y"), w.array["w"] = second.array.at("y");
        return w;
    }
    const bool rot = r.stem == "rot" && (type == "c" || type == "z");
    if (r.has("indx") || r.stem == "axpby" || r.stem == "amin" || rot) {
        // By complex numbers, of which a real routine uses the real part.
        using complex = std::complex<R>;
        const bool pairs = r.arguments[1].kind == 'c' || r.arguments[1].kind == 'C';
        const auto at = [&](const std::string& a, std::size_t i) {
            const auto& x = w.array.at(a);
            return pairs ? complex(x[2 * i], x[2 * i + 1]) : complex(x[i]);
        };
        const auto put = [&](const std::string& a, std::size_t i, complex e) {
            auto& x = w.array.at(a);
            x[pairs ? 2 * i : i] = e.real();
            if (pairs) x[2 * i + 1] = e.imag();
        };
        const auto scalar = [&](const char* a) {
            return complex(v.scalar.at(a)[0], pairs ? v.scalar.at(a)[1] : R{});
        };
        const complex alpha = scalar("alpha"), beta = scalar("beta"), s = scalar("s"), c = v.scalar.at("c")[0];
        const auto place = [&](std::int64_t k, const char* inc) {
            const std::int64_t step = v.number.at(inc);
            return static_cast<std::size_t>((step < 0 ? k - v.number.at("n") + 1 : k) * step);
        };
        const bool sparse = r.has("indx");
        complex sum{};
        R least = std::numeric_limits<R>::infinity();
        for (std::int64_t k = 0; k < v.number.at("n"); ++k) {
            const std::size_t i = sparse ? static_cast<std::size_t>(k) : place(k, "incx");
            const std::size_t j = sparse ? static_cast<std::size_t>(v.indx[i]) - 1 : place(k, "incy");
            const complex x = at("x", i), y = r.has("y") ? at("y", j) : complex{};
            const R size = std::abs(x.real()) + std::abs(x.imag());
            if (r.stem == "axpyi") put("y", j, y + alpha * x);
            else if (r.stem == "sctr") put("y", j, x);
            else if (r.stem == "axpby") put("y", j, beta == complex{} ? alpha * x : alpha * x + beta * y);
            else if (r.stem == "amin" && v.number.at("incx") < 1) break;
            else if (r.stem == "amin" && size < least) least = size, sum = R(f.cblas() ? k : k + 1);
            else if (r.stem.starts_with("rot")) put("x", i, c * x + s * y), put("y", j, c * y - std::conj(s) * x);
            else if (r.stem.starts_with("dot")) sum += (r.stem == "dotci" ? std::conj(x) : x) * y;
            else if (r.stem.starts_with("gthr")) put("x", i, y);
            if (r.stem == "gthrz") put("y", j, 0);
        }
        w.result = {sum.real(), sum.imag()};
        return w;
    }
    return call(reference, r, v);
}

template <class R>
void hold_results(const face& f, const routine& r)
{
    constexpr R nan = std::numeric_limits<R>::quiet_NaN();
    for (const shape& s : {shape{7, 9, 6, 1, 1}, shape{33, 30, 40, 2, -1}, shape{5, 1, 0, -2, 3},
                           shape{150, 137, 140, 1, 2}, shape{6, 8, 5, 0, 1}, shape{6, 8, 5, 2, 0}}) {
        if (s.incx * s.incy == 0 && r.layout) continue;
        // Large ones are for the threads, which are the same below every face.
        if (s.m > 100 && (f.how != fortran || f.bits != 32)) continue;
        each_option(r, filled<R>(r, s), [&](const values<R>& v) {
            std::vector<values<R>> cases{v};
            // The two products at once scale their results, a NaN too, where the published routines write.
            if (r.has("beta") && !r.stem.starts_with("gem2v")) {
                const std::string out = r.has("c") ? "c" : r.has("z") ? "z" : "y";
                cases.push_back(v);
                cases.back().scalar["beta"] = {};
                cases.back().array[out].assign(v.array.at(out).size(), nan); // written and not read
                const std::string matrix = r.has("ap") ? "ap" : "a";
                if (r.has(matrix)) {
                    cases.push_back(v);
                    cases.back().scalar["alpha"] = {};
                    cases.back().array[matrix].assign(v.array.at(matrix).size(), nan); // not read
                }
            }
            for (const values<R>& input : cases) {
                const auto expected = expected_of(f, r, input);
                ASSERT_TRUE(reports.empty()) << reports[0];
                const auto got = call(f, r, input);
                EXPECT_TRUE(reports.empty()) << reports[0];
                const std::string wrong = difference(r, got, expected);
                ASSERT_EQ(wrong, "") << f.title << ' ' << shown(r, input);
            }
        });
    }
}

// One bad argument after the other. Which options and leading dimensions are bad the
// reference library says; the number is the place of
// that argument in the call, which for CBLAS starts with the layout.
template <class R>
void hold_reports(const face& f, const routine& r)
{
    if (!r.layout) return;
    const auto good = filled<R>(r, {7, 5, 3, 1, 1});
    std::string upper;
    for (const char c : r.name) upper += static_cast<char>(std::toupper(c));
    const auto refused = [&](const values<R>& v) {
        expected_of(f, r, v);
        return !reports.empty();
    };
    const auto hold = [&](const values<R>& v, std::int64_t place, bool bad) {
        const auto after = call(f, r, v);
        const std::vector<report> wanted = {{f.cblas() ? "cblas_" + r.name : upper, place}};
        ASSERT_EQ(reports, bad ? wanted : std::vector<report>{}) << f.title << ' ' << shown(r, v);
        if (bad) {
            EXPECT_EQ(difference(r, after, v), "") << f.title << ' ' << shown(r, v);
        }
    };
    if (f.cblas()) {
        auto v = good;
        v.layout = 100;
        hold(v, 1, true);
    }
    // All from one place on are bad: the first is told.
    auto spoiled = good;
    for (std::size_t i = r.arguments.size(); !f.cblas() && i-- > 0;) {
        const auto& [a, kind] = r.arguments[i];
        if (kind == 'o') spoiled.letter[a] = 'X';
        if (kind == 'i') spoiled.number[a] = a.starts_with("inc") ? 0 : -1;
        if (kind == 'o' || kind == 'i') hold(spoiled, static_cast<std::int64_t>(i) + 1, true);
    }
    each_option(r, good, [&](const values<R>& options) {
        std::int64_t place = f.cblas() ? 1 : 0;
        for (const auto& [a, kind] : r.arguments) {
            auto v = options;
            ++place;
            if (kind == 'o' && !(r.stem.starts_with("gemmt") && a == "uplo"))
                for (const char letter :
                     {'X', '\0', '@', static_cast<char>('N' | 0x80), static_cast<char>('N' - '@')})
                    v.letter[a] = letter, hold(v, place, refused(v));
            // The reference CBLAS does not always come back from a bad dimension or stride of a vector that it
            // copies.
            for (int value = -1; kind == 'i' && value < 9; ++value) {
                v.number[a] = value;
                hold(v, place, a.starts_with("inc") ? value == 0 : a.starts_with("ld") ? refused(v) : value < 0);
            }
        }
    });
}

class Dropin : public testing::TestWithParam<routine> {
  protected:
    void SetUp() override
    {
        before = vrn_set_xerbla([](const char* name, const std::int64_t* argument, std::int64_t length) {
            reports.push_back({std::string(name, static_cast<std::size_t>(length)), *argument});
        });
    }
    void TearDown() override { vrn_set_xerbla(before); }
    template <class Body>
    void each_face(Body&& body)
    {
        const routine& r = GetParam();
        const auto with = [&](const face& f) { r.precision == 's' ? body(f, r, float{}) : body(f, r, double{}); };
        for (const face& f : fortran_faces)
            if (f.how == fortran || !r.stem.ends_with("mtr")) with(f);
        for (const face& f : cblas_faces)
            if (r.in_cblas && (f.how == cblas_columns || r.layout)) with(f);
    }

  private:
    vrn_xerbla_handler before;
};

} // namespace

TEST_P(Dropin, Results)
{
    each_face([](const face& f, const routine& r, auto real) { hold_results<decltype(real)>(f, r); });
}

TEST_P(Dropin, Reports)
{
    if (GetParam().stem.starts_with("gem2v")) return; // no peer takes the same arguments
    each_face([](const face& f, const routine& r, auto real) { hold_reports<decltype(real)>(f, r); });
}

INSTANTIATE_TEST_SUITE_P(Every, Dropin, testing::ValuesIn(table), [](const auto& info) { return info.param.name; });

// Every function of the reference library is here, under each of the three files.
TEST(DropinNames, AreThoseOfTheReference)
{
    const auto reference = dynamic_symbols(reference_library, "--defined-only");
    for (const char* file : {"/libvrn_blas.so", "/libvrn_blas64.so", "/vrn/libblas.so.3"}) {
        const auto ours = dynamic_symbols(VRN_LIBRARY_DIR + std::string(file), "--defined-only");
        int functions = 0;
        for (const auto& [name, s] : reference)
            if (s.kind == 'T') {
                ++functions;
                EXPECT_TRUE(ours.contains(name)) << file << " lacks " << name;
            }
        EXPECT_GT(functions, 300);
    }
}
