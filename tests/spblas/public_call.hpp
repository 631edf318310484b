// tests/spblas/public_call.hpp - public routines called by name with arguments by name, in the order that is
// published.
#pragma once

#include "vrn/service.h"
#include "vrn/spblas.h"

#include <complex>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace vrn::test {

template <class T>
constexpr char letter_of = std::is_same_v<T, float>                 ? 's'
                           : std::is_same_v<T, double>              ? 'd'
                           : std::is_same_v<T, std::complex<float>> ? 'c'
                                                                    : 'z';
template <class I>
std::string prefix_of()
{
    return sizeof(I) == 8 ? "vrn_spblas_" : "vrn_spblas_lp64_";
}

// What the handler of bad arguments was told; nothing is 0.
struct reported {
    std::string routine;
    std::int64_t argument = 0;
    int times = 0;
};
inline reported last_report;
inline void keep_report(const char* routine, const std::int64_t* argument, std::int64_t length)
{
    last_report = {std::string(routine, static_cast<std::size_t>(length)), *argument, last_report.times + 1};
}

using arguments_by_name = std::map<std::string, const void*>;

template <std::size_t... K>
void call_with(void* f, const std::vector<const void*>& a, std::index_sequence<K...>)
{
    reinterpret_cast<void (*)(std::conditional_t<K == K, const void*, void>...)>(f)(a[K]...);
}
// `order` is the published list; words in it that are no argument's name are a fault of the test.
inline void call(const std::string& name, const std::string& order, const arguments_by_name& arguments)
{
    void* const f = dlsym(RTLD_DEFAULT, name.c_str());
    ASSERT_NE(f, nullptr) << name;
    std::vector<const void*> list;
    std::istringstream words(order);
    for (std::string word; words >> word;) {
        ASSERT_EQ(arguments.count(word), 1U) << name << " has no " << word;
        list.push_back(arguments.at(word));
    }
    bool done = false;
    auto of_length = [&]<std::size_t N>(std::integral_constant<std::size_t, N>) {
        if (list.size() == N) call_with(f, list, std::make_index_sequence<N>{}), done = true;
    };
    [&]<std::size_t... N>(std::index_sequence<N...>) { (of_length(std::integral_constant<std::size_t, N>{}), ...); }
    (std::make_index_sequence<20>{});
    ASSERT_TRUE(done);
}

// Published lists by product; formats put their arrays in.
inline std::string order_of(const std::string& format, const std::string& product)
{
    const bool blocked = format[0] == 'b';
    const std::string m = blocked ? "mb" : "m", k = blocked ? "kb" : "k", lb = blocked ? " lb" : "";
    const std::string arrays = format == "coo"   ? "val rowind colind nnz"
                               : format == "dia" ? "val lval idiag ndiag"
                               : format == "sky" ? "val pntr"
                                                 : "val indx pntrb pntre";
    if (product == "mv") return "trans " + m + " " + k + lb + " alpha descr " + arrays + " x beta y";
    if (product == "mm") return "trans " + m + " n " + k + lb + " alpha descr " + arrays + " b ldb beta c ldc";
    if (product == "sv") return "trans " + m + lb + " alpha descr " + arrays + " x y";
    return "trans " + m + " n" + lb + " alpha descr " + arrays + " b ldb c ldc";
}

} // namespace vrn::test
