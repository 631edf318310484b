// tests/blas/gemm_support.hpp - what the tests of the matrix product share: the host's services as the tests answer
// them, matrices whose surroundings are watched, one product with its oracle, and the kernels by name.
#pragma once

#include "blas/gemm/desc.hpp"
#include "tests/oracle/gemm.hpp"
#include "tests/support/backend.hpp"

#include <atomic>
#include <bit>
#include <concepts>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace vrn::test {

using blas::gemm_desc;
using blas::vrn_int;

// ---- the host's services; the bodies are in gemm_services.cpp ----

struct host_services {
    static constexpr long never = std::numeric_limits<long>::max();

    std::atomic<std::int32_t> microarchitecture, cache_valid, cache_bytes;
    // Requests for memory from number `refuse_from` up to, without it, `refuse_to` are refused; they count from 0.
    std::atomic<long> refuse_from, refuse_to;
    std::atomic<long> asked, refused, live, warnings;
    // Of the last block.
    std::atomic<void*> block;
    std::atomic<std::uint64_t> size;
    std::atomic<std::int32_t> alignment;
    std::atomic<const char*> warned; // the routine that the last warning named

    void reset()
    {
        microarchitecture = 65;
        cache_valid = 1, cache_bytes = 1 << 20;
        refuse(never, never);
        size = 0, alignment = 0, block = nullptr, warned = "";
    }
    void refuse(long from, long to)
    {
        refuse_from = from, refuse_to = to;
        asked = 0, refused = 0, warnings = 0;
    }
};
extern host_services host;

// Every test begins with the same host and ends with all memory given back.
template <class T = void>
struct Gemm : testing::Test {
    void SetUp() override { host.reset(); }
    void TearDown() override { EXPECT_EQ(host.live, 0) << "blocks not given back"; }
};
using Reals = testing::Types<float, double>;
using Complex = testing::Types<std::complex<float>, std::complex<double>>;
using AllTypes = testing::Types<float, double, std::complex<float>, std::complex<double>>;

// ---- numbers ----

template <class T>
using real = decltype(std::abs(T{}));
template <class T>
inline constexpr bool is_complex = !std::is_same_v<T, real<T>>;

// One and zero are themselves; of a complex type any other factor has an imaginary part.
template <class T>
T factor(double x)
{
    if constexpr (!is_complex<T>) return static_cast<T>(x);
    else return {static_cast<real<T>>(x), static_cast<real<T>>(x == 1 ? 0 : -0.75 * x)};
}
template <class T>
T conjugate_if(bool conjugate, T x)
{
    if constexpr (is_complex<T>)
        if (conjugate) return std::conj(x);
    return x;
}
template <class T>
bool has_nan(T x)
{
    return std::isnan(std::abs(x)) || std::isnan(std::real(x)) || std::isnan(std::imag(x));
}
template <class T>
bool is_finite(T x)
{
    return std::isfinite(std::real(x)) && std::isfinite(std::imag(x));
}

// The same for the same place, wherever the matrix lies: uniform in (-1, 1).
template <class T>
T value(vrn_int i, vrn_int j, unsigned seed)
{
    const auto one = [&](std::uint64_t part) {
        std::uint64_t x = (static_cast<std::uint64_t>(i) << 32) + static_cast<std::uint64_t>(j) * 4 + part +
                          seed * 0x9e3779b97f4a7c15u; // splitmix64 (Steele, Lea, Flood 2014)
        x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9u;
        x = (x ^ (x >> 27)) * 0x94d049bb133111ebu;
        return static_cast<real<T>>(static_cast<double>((x ^ (x >> 31)) >> 11) * 0x1p-52 - 1);
    };
    if constexpr (std::is_same_v<T, real<T>>)
        return one(0);
    else
        return {one(0), one(1)};
}

template <class T>
bool same_bits(const T& x, const T& y)
{
    return std::memcmp(&x, &y, sizeof(T)) == 0;
}

// A NaN that no arithmetic makes.
template <class T>
T watched()
{
    if constexpr (std::is_same_v<T, float>)
        return std::bit_cast<float>(0x7fc0beefu);
    else if constexpr (std::is_same_v<T, double>)
        return std::bit_cast<double>(0x7ff8deadbeef0001u);
    else
        return {watched<real<T>>(), watched<real<T>>()};
}

// ---- matrices ----

// Column-major, its last element `shift` elements ahead of a page that must not be touched, so that reading past
// the end is as deadly as writing there. Gaps between columns and the surroundings hold NaN and are watched.
template <class T>
class matrix {
  public:
    matrix(vrn_int rows, vrn_int columns, vrn_int ld, int shift = 0)
        : rows_(rows), columns_(columns), ld_(ld), shift_(shift)
    {
        used_ = rows < 1 || columns < 1 ? 0 : ld * (columns - 1) + rows;
        const std::size_t bytes = static_cast<std::size_t>(front + used_ + shift) * sizeof(T), page = 4096;
        mapped_ = (bytes + 2 * page - 1) / page * page;
        void* p = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) std::abort();
        base_ = static_cast<char*>(p);
        mprotect(base_ + mapped_ - page, page, PROT_NONE);
        data_ = reinterpret_cast<T*>(base_ + mapped_ - page) - shift - used_;
        around([](T& x) { x = watched<T>(); return true; });
        fill_nan();
    }
    ~matrix()
    {
        if (base_ != nullptr) munmap(base_, mapped_);
    }
    matrix(matrix&& from) noexcept { swap(from); }
    matrix& operator=(matrix&& from) noexcept { return swap(from), *this; }

    T* data() const { return data_; }
    const vrn_int& ld() const { return ld_; }
    vrn_int rows() const { return rows_; }
    vrn_int columns() const { return columns_; }
    T& operator()(vrn_int i, vrn_int j) const { return data_[i + j * ld_]; }

    template <std::invocable<vrn_int, vrn_int> F>
    void fill(F&& f) const
    {
        for (vrn_int j = 0; j < columns_; ++j)
            for (vrn_int i = 0; i < rows_; ++i) (*this)(i, j) = f(i, j);
    }
    void fill(unsigned seed) const
    {
        fill([seed](vrn_int i, vrn_int j) { return value<T>(i, j, seed); });
    }
    void fill_nan() const
    {
        fill([](vrn_int, vrn_int) { return watched<T>(); });
    }
    // Whether nothing but the elements was written.
    bool intact() const
    {
        return around([](const T& x) { return same_bits(x, watched<T>()); });
    }
    template <class F>
    bool all(F&& f) const
    {
        for (vrn_int j = 0; j < columns_; ++j)
            for (vrn_int i = 0; i < rows_; ++i)
                if (!f(i, j, (*this)(i, j))) return false;
        return true;
    }
    bool untouched(unsigned seed) const
    {
        return intact() && all([seed](vrn_int i, vrn_int j, T x) { return same_bits(x, value<T>(i, j, seed)); });
    }
    bool all_bits(T expected) const
    {
        return intact() && all([expected](vrn_int, vrn_int, T x) { return same_bits(x, expected); });
    }
    friend bool same_bits(const matrix& x, const matrix& y)
    {
        return x.rows_ == y.rows_ && x.columns_ == y.columns_ &&
               x.all([&y](vrn_int i, vrn_int j, const T& e) { return test::same_bits(e, y(i, j)); });
    }

  private:
    static constexpr vrn_int front = 64; // watched elements ahead of the first

    template <class F>
    bool around(F&& f) const
    {
        for (vrn_int i = -front; i < 0; ++i)
            if (!f(data_[i])) return false;
        for (vrn_int j = 0; j + 1 < columns_ && rows_ > 0; ++j)
            for (vrn_int i = rows_; i < ld_; ++i)
                if (!f(data_[i + j * ld_])) return false;
        for (vrn_int i = used_; i < used_ + shift_; ++i)
            if (!f(data_[i])) return false;
        return true;
    }
    void swap(matrix& o) noexcept
    {
        std::swap(rows_, o.rows_), std::swap(columns_, o.columns_), std::swap(ld_, o.ld_), std::swap(shift_, o.shift_);
        std::swap(used_, o.used_), std::swap(base_, o.base_), std::swap(mapped_, o.mapped_), std::swap(data_, o.data_);
    }

    vrn_int rows_ = 0, columns_ = 0, ld_ = 0, shift_ = 0, used_ = 0;
    char* base_ = nullptr;
    std::size_t mapped_ = 0;
    T* data_ = nullptr;
};

// ---- one product ----

struct shape {
    vrn_int m, n, k;
    const char* why;
};

struct setting {
    const char* letters = "NN";
    double alpha = 1, beta = 0;
    int gap = 3;                             // how far the leading dimensions exceed the rows
    int shift_a = 0, shift_b = 0, shift_c = 0; // addresses
};

inline bool is_normal(char letter) { return letter == 'N' || letter == 'n'; }
template <class T>
bool conjugates(char letter)
{
    return is_complex<T> && letter != 'T' && letter != 't' && !is_normal(letter);
}

// The letters that a sweep goes through.
template <class T>
std::vector<const char*> letter_pairs()
{
    if constexpr (is_complex<T>) return {"NN", "NT", "NC", "TN", "CN", "TC", "CT", "CC"};
    else return {"NN", "NT", "TN", "TT"};
}

template <class T>
struct product {
    static constexpr unsigned seed_a = 1, seed_b = 2, seed_c = 3;

    shape size;
    setting set;
    bool a_normal, b_normal;
    T alpha, beta;
    matrix<T> a, b, c;

    product(const shape& s, const setting& t = {})
        : size(s), set(t), a_normal(is_normal(t.letters[0])), b_normal(is_normal(t.letters[1])), alpha(factor<T>(t.alpha)),
          beta(factor<T>(t.beta)), a(stored(a_normal, s.m, s.k, t.gap, t.shift_a)),
          b(stored(b_normal, s.k, s.n, t.gap, t.shift_b)), c(stored(true, s.m, s.n, t.gap, t.shift_c))
    {
        // What a factor of zero keeps from being read is NaN.
        if (alpha != T{}) a.fill(seed_a), b.fill(seed_b);
        refill();
    }
    void refill() const
    {
        if (beta != T{})
            c.fill(seed_c);
        else
            c.fill_nan();
    }

    const char* transa() const { return set.letters; }
    const char* transb() const { return set.letters + 1; }
    // Elements of op(A) and op(B), and where they are stored.
    T& a_at(vrn_int i, vrn_int kk) const { return a_normal ? a(i, kk) : a(kk, i); }
    T& b_at(vrn_int kk, vrn_int j) const { return b_normal ? b(kk, j) : b(j, kk); }
    T op_a(vrn_int i, vrn_int kk) const { return conjugate_if(conjugates<T>(*transa()), a_at(i, kk)); }
    T op_b(vrn_int kk, vrn_int j) const { return conjugate_if(conjugates<T>(*transb()), b_at(kk, j)); }
    blas::copy_a_function* copy_a(const gemm_desc& d) const
    {
        return a_normal ? d.copyan : conjugates<T>(*transa()) ? d.copyac : d.copyat;
    }
    blas::copy_b_function* copy_b(const gemm_desc& d) const
    {
        return b_normal ? d.copybn : conjugates<T>(*transb()) ? d.copybc : d.copybt;
    }

    // Calls f with the thirteen published arguments and what follows them.
    template <class F, class... Rest>
    auto operator()(F&& f, Rest... rest) const
    {
        return f(transa(), transb(), &size.m, &size.n, &size.k, &alpha, a.data(), &a.ld(), b.data(), &b.ld(), &beta,
                 c.data(), &c.ld(), rest...);
    }

    // Whether C is right and nothing else was written. Of a large product every 7th element is compared, which
    // meets all places of a tile and of a panel.
    testing::AssertionResult sound() const
    {
        const vrn_int step = size.m * size.n * size.k < 1 << 18 ? 1 : 7;
        const double allowed = is_complex<T> ? 2 : 1;
        if (!a.intact() || !b.intact() || !c.intact())
            return testing::AssertionFailure() << "written outside: " << *this;
        for (vrn_int at = 0; at < size.m * size.n; at += step) {
            const vrn_int i = at % size.m, j = at / size.m;
            const auto e = oracle::gemm<T>(
                size.k, alpha, [&](vrn_int kk) { return op_a(i, kk); }, [&](vrn_int kk) { return op_b(kk, j); }, beta,
                value<T>(i, j, seed_c));
            if (const double units = e.units(c(i, j)); !(units <= allowed))
                return testing::AssertionFailure() << units << " units at " << i << ", " << j << ": " << c(i, j)
                                                   << " for " << e.exact << ": " << *this;
        }
        return testing::AssertionSuccess();
    }

    friend std::ostream& operator<<(std::ostream& out, const product& p)
    {
        return out << p.set.letters << ' ' << p.size.m << " x " << p.size.n << " x " << p.size.k << ", alpha "
                   << p.alpha << ", beta " << p.beta << ", gap " << p.set.gap << ", addresses " << p.set.shift_a << ' '
                   << p.set.shift_b << ' ' << p.set.shift_c << " (" << p.size.why << ')';
    }

  private:
    static matrix<T> stored(bool normal, vrn_int rows, vrn_int columns, int gap, int shift)
    {
        if (!normal) std::swap(rows, columns);
        return {rows, columns, (rows < 1 ? 1 : rows) + gap, shift};
    }
};

// ---- kernels by name ----

template <class T>
inline constexpr char letter = 0;
template <>
inline constexpr char letter<float> = 's';
template <>
inline constexpr char letter<double> = 'd';
template <>
inline constexpr char letter<std::complex<float>> = 'c';
template <>
inline constexpr char letter<std::complex<double>> = 'z';

// desc_kernel<int(...)>('d', "get_kernel") is vrn_blas_s42_dgemm_get_kernel.
template <class Signature>
Signature* desc_kernel(char type, const std::string& operation)
{
    return kernel<Signature>("vrn_blas_s42_" + std::string(1, type) + "gemm_" + operation);
}

// The operations on a record, of one type.
struct desc_operations {
    explicit desc_operations(char type)
        : zero_desc(desc_kernel<void(gemm_desc*)>(type, "zero_desc")),
          get_optimal_kernel(desc_kernel<void(gemm_desc*)>(type, "get_optimal_kernel")),
          get_kernel(desc_kernel<vrn_int(std::int32_t, gemm_desc*)>(type, "get_kernel")),
          num_kernels(desc_kernel<void(std::int32_t*)>(type, "num_kernels")),
          set_blks_size(desc_kernel<void(vrn_int, vrn_int, vrn_int, gemm_desc*)>(type, "set_blks_size")),
          get_blks_size(desc_kernel<blas::get_blks_size_function>(type, "get_blks_size")),
          get_bufs_size(desc_kernel<blas::get_bufs_size_function>(type, "get_bufs_size")),
          get_bufs(desc_kernel<blas::get_bufs_function>(type, "get_bufs")),
          free_bufs(desc_kernel<void(void*)>(type, "free_bufs"))
    {
    }
    void (*zero_desc)(gemm_desc*);
    void (*get_optimal_kernel)(gemm_desc*);
    vrn_int (*get_kernel)(std::int32_t, gemm_desc*);
    void (*num_kernels)(std::int32_t*);
    void (*set_blks_size)(vrn_int, vrn_int, vrn_int, gemm_desc*);
    blas::get_blks_size_function* get_blks_size;
    blas::get_bufs_size_function* get_bufs_size;
    blas::get_bufs_function* get_bufs;
    void (*free_bufs)(void*);

    // A record with the optimal kernel and, where they are given, these blocks.
    gemm_desc record(vrn_int m_block = 0, vrn_int n_block = 0, vrn_int k_block = 0) const
    {
        gemm_desc d;
        std::memset(&d, 0, sizeof d);
        zero_desc(&d);
        get_optimal_kernel(&d);
        set_blks_size(m_block, n_block, k_block, &d);
        return d;
    }
};

template <class T>
const desc_operations& operations()
{
    static const desc_operations all(letter<T>);
    return all;
}

// The register tile, as the packers and the kernels have it.
template <class T>
inline constexpr vrn_int mr = 16 / sizeof(T);
template <class T>
inline constexpr vrn_int nr = is_complex<T> ? 4 : 8;

// Whether the entry of one thread packs.
template <class T>
bool packs(const shape& s)
{
    const vrn_int least = is_complex<T> ? 3 : 1;
    const bool tiny = s.m <= 10 && s.n <= 10 && s.k <= 10 && s.m >= least && s.n >= least;
    return s.m >= (is_complex<T> ? 2 : 4) && s.n >= nr<T> && s.k >= 4 && !tiny;
}

// What a warning names.
template <class T>
std::string routine()
{
    return std::string(1, static_cast<char>(letter<T> - 32)) + "GEMM";
}

template <class T>
using entry_function = void(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,
                            const T*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*);
template <class T>
using par_function = vrn_int(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,
                             const T*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*,
                             std::int32_t, gemm_desc*);
template <class T>
using mscale_function = void(const vrn_int*, const vrn_int*, const T*, T*, const vrn_int*);

template <class T>
auto* const entry = kernel<entry_function<T>>(std::string("vrn_blas_s42_x") + letter<T> + "gemm");
template <class T>
auto* const par = kernel<par_function<T>>(std::string("vrn_blas_s42_x") + letter<T> + "gemm_par");
template <class T>
auto* const mscale = desc_kernel<mscale_function<T>>(letter<T>, "mscale");

} // namespace vrn::test
