// core/trans/parallel.cpp - the forms over threads that the transposition kernels call back: strips of rows out of
// place, bands of 16 rows in place. Strips and bands touch disjoint elements and every element is computed alone, so
// the division is never seen in a result.

#include "core/threads/threads.hpp"
#include "core/trans/kernels.hpp"
#include "trans/tiles.hpp"

#include <algorithm>

namespace {

using namespace vrn::trans;
using vrn::loader::backend;
using vrn::simd::cplx;

// Below this many bytes of either matrix waking a thread costs more than it moves.
constexpr size threads_from_bytes = size{1} << 18;

int threads_for(size bytes) { return bytes >= threads_from_bytes ? vrn::threads::available() : 1; }

// Where the columns of the result all lie alike on cache lines, strips of 16 rows, which begin at a line, keep a
// streamed transposition within the first-level cache: doubles at n = 2048 were measured 1.6 times as fast as in the
// bands of 54 rows of a call over all rows. Otherwise one strip a thread, and the kernel's bands follow the lines.
template <class E>
size strip_rows(size rows, size ldb, int threads)
{
    constexpr size lines = 16;
    if (ldb * sizeof(E) % line_bytes == 0 && ldb * sizeof(E) >= page_bytes) return lines;
    return std::max(lines, (rows + static_cast<size>(threads) - 1) / static_cast<size>(threads));
}

template <class E>
void omatcopy2(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a, size lda, size stridea,
               E* b, size ldb, size strideb)
{
    // By rows of the row-major view; they are columns of the result where it is turned.
    const char letter = static_cast<char>(trans & ~0x20);
    const bool by_columns = (ordering & ~0x20) == 'C', turned = letter == 'T' || letter == 'C';
    size& all = by_columns ? cols : rows;
    const size whole = all, step_b = turned ? strideb : ldb;
    const int threads = threads_for(rows * cols * sizeof(E));
    const size team_of = static_cast<size>(threads);
    const size strip = turned ? strip_rows<E>(whole, ldb, threads) : (whole + team_of - 1) / team_of;
    // The first strip is shorter, so that the others begin at a line of the result.
    const size off_line = -reinterpret_cast<std::uintptr_t>(b) % line_bytes / sizeof(E);
    const size lead = turned && strip < whole ? off_line : 0;
    const size strips = (whole - std::min(lead, whole) + strip - 1) / strip;
    vrn::threads::run(threads, [&](int thread, int team) {
        const size first = strips * static_cast<size>(thread) / static_cast<size>(team);
        const size last = strips * static_cast<size>(thread + 1) / static_cast<size>(team);
        for (size s = first; s < last; ++s) {
            const size begin = s == 0 ? 0 : lead + s * strip, end = std::min(lead + (s + 1) * strip, whole);
            const size count = end - begin;
            backend(kernels<E>::omatcopy2_seq)(ordering, trans, by_columns ? rows : count, by_columns ? count : cols,
                                               alpha, a + begin * lda, lda, stridea, b + begin * step_b, ldb, strideb);
        }
    });
}

template <class E>
std::int64_t square(size n, E* a, size lda, band_function<E>* band)
{
    const int threads = threads_for(n * n * sizeof(E));
    // One band after the other costs less and less: dealt out in turn, they even out.
    vrn::threads::run(threads, [&](int thread, int team) {
        band(n, a, lda, static_cast<size>(thread), static_cast<size>(team));
    });
    const size done = n / band_rows * band_rows;
    for (size i = done; i < n; ++i)
        for (size j = done; j < i; ++j) std::swap(a[i * lda + j], a[j * lda + i]);
    return 1;
}

} // namespace

#define VRN_TRANS_IMPORTS(copy, transpose, E)                                                                        \
    extern "C" void copy(char ordering, char trans, size rows, size cols, scalar<E> alpha, const E* a, size lda,     \
                         size stridea, E* b, size ldb, size strideb)                                                 \
    {                                                                                                                \
        omatcopy2<E>(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);                          \
    }                                                                                                                \
    extern "C" std::int64_t transpose(size n, E* a, size lda, band_function<E>* band)                                \
    {                                                                                                                \
        return square(n, a, lda, band);                                                                              \
    }
VRN_TRANS_IMPORTS(vrn_trans_vrn_somatcopy2_par, vrn_trans_vrn_simatcopy_square_t_par, float)
VRN_TRANS_IMPORTS(vrn_trans_vrn_domatcopy2_par, vrn_trans_vrn_dimatcopy_square_t_par, double)
VRN_TRANS_IMPORTS(vrn_trans_vrn_comatcopy2_par, vrn_trans_vrn_cimatcopy_square_t_par, cplx<float>)
VRN_TRANS_IMPORTS(vrn_trans_vrn_zomatcopy2_par, vrn_trans_vrn_zimatcopy_square_t_par, cplx<double>)
