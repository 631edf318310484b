// core/blas/gemm_pieces.cpp - the host's road of complex products by three multiplications and of mixed ones: C in
// pieces of columns or rows, each a call of the back-end, divided over threads. Where C is cut depends on its shape
// alone, so the result has the same bits for any number of threads.

#include "blas/gemm/product.hpp"
#include "core/blas/gemm.hpp"
#include "core/loader/loader.hpp"
#include "core/threads/threads.hpp"

#include <algorithm>
#include <atomic>

namespace vrn::blas {

template <class T, class A>
using product_function = void(const char*, const char*, const vrn_int*, const vrn_int*, const vrn_int*, const T*,
                              const A*, const vrn_int*, const T*, const vrn_int*, const T*, T*, const vrn_int*);

} // namespace vrn::blas

VRN_KERNEL(vrn_blas_s42_xcgemm3m, vrn::blas::product_function<std::complex<float>, std::complex<float>>);
VRN_KERNEL(vrn_blas_s42_xzgemm3m, vrn::blas::product_function<std::complex<double>, std::complex<double>>);
VRN_KERNEL(vrn_blas_s42_xscgemm, vrn::blas::product_function<std::complex<float>, float>);
VRN_KERNEL(vrn_blas_s42_xdzgemm, vrn::blas::product_function<std::complex<double>, double>);

namespace vrn::blas {
namespace {

using loader::backend;

// Below this many multiply-adds of complex numbers a second thread does not pay; see the plain product.
constexpr double threads_from = 2.5e5;
// The other operand is packed again for every piece: at 256 columns that is a hundredth of the work. More than 16
// pieces would even out no number of threads better.
constexpr vrn_int piece = 256, multiple = 8, most_pieces = 16;

// p as it is, but for A, which may be of another type.
template <class T, class A>
void in_pieces(const product<T>& p, const A* a, product_function<T, A>* multiply)
{
    const double work = static_cast<double>(p.m) * static_cast<double>(p.n) * static_cast<double>(p.k);
    const bool rows = p.m > p.n;
    const vrn_int length = rows ? p.m : p.n;
    // Pieces of about the same length, none of them a sliver that would go another way than the rest.
    const vrn_int count = work < threads_from ? 1 : std::clamp<vrn_int>(length / piece, 1, most_pieces);
    const auto from = [&](vrn_int i) { return i == count ? length : length / multiple * i / count * multiple; };
    std::atomic<vrn_int> next{0};
    threads::run(count > 1 ? threads::available() : 1, [&](int, int) {
        for (vrn_int i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) {
            const vrn_int first = from(i), size = from(i + 1) - first;
            const vrn_int m = rows ? size : p.m, n = rows ? p.n : size;
            const A* part_a = rows ? a + (p.a_normal() ? first : first * p.lda) : a;
            multiply(p.transa, p.transb, &m, &n, &p.k, &p.alpha, part_a, &p.lda, rows ? p.b : p.b_at(0, first),
                     &p.ldb, &p.beta, rows ? p.c + first : p.c_at(0, first), &p.ldc);
        }
    });
}

} // namespace

#define VRN_ROAD(road, T, A, kernel)                                                                                 \
    template <>                                                                                                      \
    void road(const char* transa, const char* transb, const vrn_int* m, const vrn_int* n, const vrn_int* k,          \
              const T* alpha, const A* a, const vrn_int* lda, const T* b, const vrn_int* ldb, const T* beta, T* c,   \
              const vrn_int* ldc)                                                                                    \
    {                                                                                                                \
        in_pieces<T, A>({transa, transb, *m, *n, *k, *alpha, nullptr, *lda, b, *ldb, *beta, c, *ldc}, a,             \
                        backend(vrn_slot_##kernel));                                                                 \
    }
VRN_ROAD(gemm3m_road, std::complex<float>, std::complex<float>, vrn_blas_s42_xcgemm3m)
VRN_ROAD(gemm3m_road, std::complex<double>, std::complex<double>, vrn_blas_s42_xzgemm3m)
VRN_ROAD(gemm_mixed_road, std::complex<float>, float, vrn_blas_s42_xscgemm)
VRN_ROAD(gemm_mixed_road, std::complex<double>, double, vrn_blas_s42_xdzgemm)

} // namespace vrn::blas
