// tests/spblas/public_reach_test.cpp - no sparse kernel is out of a program's reach. The host is linked in whole,
// over kernels that do nothing but note that they were called; every public routine is then called in every way, and
// no name of the table may be left without a note.

#include "core/loader/loader.hpp"
#include "spblas/arguments.hpp"
#include "tests/spblas/public_call.hpp"

#include <atomic>

#define VRN_STEM(name, ...)         VRN_KERNEL(name, void());
#define VRN_STEM_OUTSIDE(name, ...) VRN_KERNEL(name, void());
#include "spblas/stems.inc"

namespace {

using namespace vrn::test;

constexpr int names = 3888;
std::atomic<bool> noted[names];

template <int N>
void note()
{
    noted[N] = true;
}
struct kernel_name {
    const char* name;
    vrn::loader::slot<void()>* slot;
};
const kernel_name all[] = {
#define VRN_STEM(name, ...)         {#name, &vrn_slot_##name},
#define VRN_STEM_OUTSIDE(name, ...) {#name, &vrn_slot_##name},
#include "spblas/stems.inc"
};

// A product that found no memory, so that what is done then is reached too.
template <class I, char Letter>
void refused(const I*, const I*, const I*, const I*, const I*, const void*, const I*, const I*, const void*, const I*,
             const I*, void*, I*, I*, const I*, I* info)
{
    static const int own = [] {
        const std::string name = std::string(sizeof(I) == 8 ? "vrn_spblas_s42_" : "vrn_spblas_lp64_s42_") + Letter;
        for (int i = 0; i < names; ++i)
            if (all[i].name == name + "multcsr_trom") return i;
        return 0;
    }();
    noted[own] = true;
    *info = -1;
}
#define VRN_REFUSED(prefix, I, t)                                                                                    \
    vrn_slot_##prefix##t##multcsr_trom.store(reinterpret_cast<void (*)()>(refused<I, #t[0]>))
#define VRN_REFUSED_BOTH(t)                                                                                          \
    VRN_REFUSED(vrn_spblas_s42_, std::int64_t, t), VRN_REFUSED(vrn_spblas_lp64_s42_, std::int32_t, t)

template <int... N>
void stand_in_for_all(std::integer_sequence<int, N...>)
{
    static constexpr void (*notes[])() = {note<N>...};
    for (int i = 0; i < names; ++i) all[i].slot->store(notes[i]);
    VRN_REFUSED_BOTH(s), VRN_REFUSED_BOTH(d), VRN_REFUSED_BOTH(c), VRN_REFUSED_BOTH(z);
}

// Arrays that fit any format; kernels that do nothing make nothing of what is in them.
template <class T, class I>
struct operands {
    static constexpr I m = 192; // enough entries for threads
    std::vector<T> elements = std::vector<T>(1 << 18);
    std::vector<I> ones, pointers, counts, offsets{-1, 0, 1}, skyline;
    I size = m, n = 9, few = 2, entries = m * m, diagonals = 3, lb = 1, ld = m, request = 2, info = 0, job[6]{};
    T alpha{2}, beta{3};

    operands() : ones(1 << 18, 1)
    {
        for (I i = 0; i <= m; ++i) pointers.push_back(i * m + 1), skyline.push_back(i + 1);
    }
    arguments_by_name by_name()
    {
        arguments_by_name a;
        for (const char* e :
             {"val", "x", "y", "b", "c", "a", "acsr", "acoo", "acsc", "adia", "asky", "absr", "adns", "acsr_rem"})
            a[e] = elements.data();
        for (const char* e : {"indx", "rowind", "colind", "ja", "jb", "jc", "ja1", "ja_rem", "jab"})
            a[e] = ones.data();
        for (const char* e : {"pntr", "ia", "ib", "ia1", "ia_rem", "iab", "pntrb"}) a[e] = pointers.data();
        for (const char* e : {"m", "k", "mb", "kb", "lval", "lda", "ldb", "ldc"}) a[e] = &size;
        a["pntre"] = pointers.data() + 1, a["n"] = &n, a["nnz"] = a["nzmax"] = &entries, a["ndiag"] = &diagonals;
        counts.assign(m + 1, 0);
        a["ic"] = counts.data(), a["idiag"] = offsets.data(), a["lb"] = &lb, a["alpha"] = &alpha, a["beta"] = &beta,
        a["job"] = job, a["info"] = &info;
        a["request"] = a["sort"] = &request;
        return a;
    }
};

template <class T, class I>
void call_everything()
{
    operands<T, I> o;
    arguments_by_name by = o.by_name();
    const std::string start = prefix_of<I>() + letter_of<T>;
    auto skyline_instead = by;
    skyline_instead["pntr"] = o.skyline.data();
    for (const char* format : {"csr", "csc", "coo", "dia", "bsr", "bsc", "sky"})
        for (const char* product : {"mv", "mm", "sv", "sm"})
            for (const char kind : {'G', 'S', 'H', 'T', 'A', 'D'})
                for (const char* sides : {"LN", "LU", "UN", "UU"})
                    for (const char base : {'C', 'F'})
                        for (const char layout : {' ', 'R', 'C'})
                            for (const char trans : {'N', 'T', 'C'}) {
                                const std::string name = format;
                                if (name == "bsc" && product[0] == 'm') continue;
                                auto& arguments = name == "sky" ? skyline_instead : by;
                                const std::string descr = std::string(1, kind) + sides + base + layout + ' ';
                                arguments["descr"] = descr.data(), arguments["trans"] = &trans;
                                // Vectors of several threads are added up; nothing else needs more than one.
                                vrn_set_num_threads(std::string("mv") == product ? 2 : 1);
                                call(start + format + product, order_of(format, product), arguments);
                            }
    by["descr"] = "G  F  ", by["trans"] = "N", by["n"] = &o.lb;
    call(start + "coomm", order_of("coo", "mm"), by); // one column, for which scratch does not pay
    by["n"] = &o.n;
    for (const char trans : {'N', 'T'}) {
        by["trans"] = &trans;
        for (const I request : {0, 1, 2}) {
            o.request = request;
            call(start + "csrmultcsr", "trans request sort m n k a ja ia b jb ib c jc ic nzmax info", by);
            call(start + "csradd", "trans request sort m n a ja ia beta b jb ib c jc ic nzmax info", by);
        }
        call(start + "csrmultd", "trans m n k a ja ia b jb ib c ldc", by);
        call(start + "csrgemv", "trans m k val indx pntr x y", by);
    }
    call(start + "csrsort", "m a ja ia", by);
    for (const char uplo : {'L', 'U'}) {
        by["uplo"] = &uplo;
        call(start + "csrsymv", "uplo m val indx pntr x y", by);
    }
    for (const char* list :
         {"csrcoo job m acsr ja ia nnz acoo rowind colind info", "csrcsc job m acsr ja ia acsc ja1 ia1 info",
          "csrdia job m acsr ja ia adia lval idiag ndiag acsr_rem ja_rem ia_rem info",
          "csrsky job m acsr ja ia asky pntr info", "csrbsr job m lb lval acsr ja ia absr jab iab info",
          "dnscsr job m n adns lda acsr ja ia info"}) {
        const std::string text = list;
        call(start + text.substr(0, text.find(' ')), text.substr(text.find(' ') + 1), by);
    }
}

TEST(PublicSparse, ReachesEveryKernel)
{
    ASSERT_EQ(std::size(all), std::size_t{names});
    stand_in_for_all(std::make_integer_sequence<int, names>{});
    vrn_set_xerbla(keep_report); // combinations that do not exist are refused
    call_everything<float, std::int64_t>(), call_everything<float, std::int32_t>();
    call_everything<double, std::int64_t>(), call_everything<double, std::int32_t>();
    call_everything<std::complex<float>, std::int64_t>(), call_everything<std::complex<float>, std::int32_t>();
    call_everything<std::complex<double>, std::int64_t>(), call_everything<std::complex<double>, std::int32_t>();
    vrn_spblas_free(vrn_spblas_malloc(8));
    vrn_spblas_lp64_free(vrn_spblas_lp64_malloc(8));
    int unreached = 0;
    for (int i = 0; i < names; ++i)
        if (!noted[i]) {
            ++unreached;
            ADD_FAILURE() << all[i].name;
        }
    EXPECT_EQ(unreached, 0);
}

} // namespace
