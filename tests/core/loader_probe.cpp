// tests/core/loader_probe.cpp - opens the host under a given path in a fresh process and uses it in one way.
//
//     loader_probe <path of libvrn_core.so> load       prints vrn_load's number and line, asked twice
//     loader_probe <path> use                          calls a public entry
//     loader_probe <path> threads                      sixteen threads make the first call at once
//     loader_probe <path> fork                         uses it, forks, uses it in the child
//     loader_probe <path> elsewhere                    changes the directory between opening and loading
//     loader_probe <path> no-sse42                     hides the processor's features first; exits with 77
//                                                      where the system cannot do that

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

namespace {

using axpy = void(const std::int64_t*, const double*, const double*, const std::int64_t*, double*,
                  const std::int64_t*);
using load = int(const char**);

template <class Signature>
Signature* entry(void* host, const char* name)
{
    void* symbol = dlsym(host, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "probe: no %s\n", name);
        std::exit(99);
    }
    return reinterpret_cast<Signature*>(symbol);
}

bool adds_up(axpy* daxpy)
{
    const std::int64_t n = 3, one = 1;
    const double alpha = 2, x[] = {1, 2, 3};
    double y[] = {10, 20, 30};
    daxpy(&n, &alpha, x, &one, y, &one);
    return y[0] == 12 && y[1] == 24 && y[2] == 36;
}

int first_use_by_many(void* host)
{
    auto* daxpy = entry<axpy>(host, "vrn_blas_daxpy");
    constexpr int count = 16;
    std::atomic<int> ready{0}, right{0};
    std::vector<std::thread> team;
    for (int i = 0; i < count; ++i)
        team.emplace_back([&] {
            ++ready;
            while (ready < count) std::this_thread::yield();
            right += adds_up(daxpy);
        });
    for (std::thread& one : team) one.join();
    return right == count ? 0 : 1;
}

int use_in_child(void* host)
{
    auto* daxpy = entry<axpy>(host, "vrn_blas_daxpy");
    if (!adds_up(daxpy)) return 1;
    const pid_t child = fork();
    if (child == 0) _exit(adds_up(daxpy) && entry<int()>(host, "vrn_get_max_threads")() == 1 ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 2;
}

// The system can make CPUID fault; the handler answers in its place, with no features in leaf 1 but SSE2.
constexpr int arch_set_cpuid = 0x1012;

void answer_cpuid(int, siginfo_t*, void* context)
{
    auto* r = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const auto* code = reinterpret_cast<const unsigned char*>(r[REG_RIP]);
    if (code[0] != 0x0f || code[1] != 0xa2) _exit(98);
    const bool features = static_cast<std::uint32_t>(r[REG_RAX]) == 1;
    r[REG_RAX] = features ? 0 : 13;
    r[REG_RBX] = r[REG_RCX] = 0;
    r[REG_RDX] = features ? 1 << 26 : 0;
    r[REG_RIP] += 2;
}

bool hide_features()
{
    struct sigaction action = {};
    action.sa_sigaction = answer_cpuid;
    action.sa_flags = SA_SIGINFO;
    return sigaction(SIGSEGV, &action, nullptr) == 0 && syscall(SYS_arch_prctl, arch_set_cpuid, 0) == 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) return 99;
    const std::string way = argv[2];
    void* host = dlopen(argv[1], RTLD_NOW);
    if (host == nullptr) {
        std::fprintf(stderr, "probe: %s\n", dlerror());
        return 99;
    }
    if (way == "threads") return first_use_by_many(host);
    if (way == "fork") return use_in_child(host);
    if (way == "use") return adds_up(entry<axpy>(host, "vrn_blas_daxpy")) ? 0 : 1;
    if (way == "elsewhere" && chdir("/") != 0) return 99;
    if (way == "no-sse42" && !hide_features()) return 77;
    auto* vrn_load = entry<load>(host, "vrn_load");
    const char *why = nullptr, *again = nullptr;
    const int code = vrn_load(&why);
    if (vrn_load(&again) != code || again != why || vrn_load(nullptr) != code) return 98;
    std::printf("%d|%s", code, why);
    return 0;
}
