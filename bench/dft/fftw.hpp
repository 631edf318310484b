// bench/dft/fftw.hpp - FFTW 3 twice in one process: held to SSE2, and as it comes.
//
// The library asks functions of its own for the instruction sets at hand. The program's definitions below are found
// first and hold the copy that it is linked with. A second copy, in a name space of its own, does not see them.
// Include in one file of a program whose symbols are exported (ENABLE_EXPORTS).
#pragma once

#include <dlfcn.h>
#include <fftw3.h>

extern "C" int fftw_have_simd_avx(void) { return 0; }
extern "C" int fftwf_have_simd_avx(void) { return 0; }
extern "C" int fftw_have_simd_avx2(void) { return 0; }
extern "C" int fftwf_have_simd_avx2(void) { return 0; }

namespace vrn::bench {

// One copy of the library in one precision.
template <class R>
struct fftw;
#define VRN_FFTW(R, p, soname)                                                                                       \
    template <>                                                                                                      \
    struct fftw<R> {                                                                                                 \
        using complex = p##_complex;                                                                                 \
        using plan = p##_plan;                                                                                       \
        decltype(&p##_plan_many_dft) plan_complex;                                                                   \
        decltype(&p##_plan_many_dft_r2c) plan_real;                                                                  \
        decltype(&p##_execute) run;                                                                                  \
        decltype(&p##_destroy_plan) destroy;                                                                         \
        static const fftw& held()                                                                                    \
        {                                                                                                            \
            static const fftw f{p##_plan_many_dft, p##_plan_many_dft_r2c, p##_execute, p##_destroy_plan};            \
            return f;                                                                                                \
        }                                                                                                            \
        /* Null where the system has no second name space to give. */                                                \
        static const fftw* unheld()                                                                                  \
        {                                                                                                            \
            static void* const own = dlmopen(LM_ID_NEWLM, soname, RTLD_NOW);                                         \
            if (own == nullptr) return nullptr;                                                                      \
            static const fftw f{reinterpret_cast<decltype(plan_complex)>(dlsym(own, #p "_plan_many_dft")),           \
                                reinterpret_cast<decltype(plan_real)>(dlsym(own, #p "_plan_many_dft_r2c")),          \
                                reinterpret_cast<decltype(run)>(dlsym(own, #p "_execute")),                          \
                                reinterpret_cast<decltype(destroy)>(dlsym(own, #p "_destroy_plan"))};                \
            return &f;                                                                                               \
        }                                                                                                            \
        /* One line out of place. */                                                                                 \
        plan line(bool real, int n, R* in, R* out) const                                                             \
        {                                                                                                            \
            auto* to = reinterpret_cast<complex*>(out);                                                              \
            return real ? plan_real(1, &n, 1, in, nullptr, 1, 0, to, nullptr, 1, 0, FFTW_MEASURE)                    \
                        : plan_complex(1, &n, 1, reinterpret_cast<complex*>(in), nullptr, 1, 0, to, nullptr, 1, 0,   \
                                       FFTW_FORWARD, FFTW_MEASURE);                                                  \
        }                                                                                                            \
    };
VRN_FFTW(double, fftw, "libfftw3.so.3")
VRN_FFTW(float, fftwf, "libfftw3f.so.3")
#undef VRN_FFTW

} // namespace vrn::bench
