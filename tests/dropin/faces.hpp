// tests/dropin/faces.hpp - any routine of any face, called by the names of its arguments: Fortran and CBLAS in both
// integer widths, the host's own entries, and the reference library.
//
// One function calls them all. In the System V convention integers and pointers on the one hand and reals on the
// other are passed in order, each in registers of their own and, past six, integers on the stack in words: so a call
// with sixteen words and two doubles, of which a routine reads as many as it has, serves every signature of the BLAS.
#pragma once

#include "vrn/service.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vrn::test {

struct argument {
    std::string name;
    char kind; // o option, i integer, x positions, r c scalar, R C array
};

struct routine {
    std::string name, stem;
    char precision, result; // s or d; v nothing, s d real, c complex, i index
    bool in_cblas, layout;  // whether CBLAS has it, and takes a layout
    std::vector<argument> arguments;
    bool has(const std::string& a) const
    {
        for (const argument& b : arguments)
            if (a == b.name) return true;
        return false;
    }
};

struct report {
    std::string routine;
    std::int64_t argument;
    bool operator==(const report&) const = default;
};
inline std::vector<report> reports;
inline std::ostream& operator<<(std::ostream& out, const report& r) { return out << r.routine << ' ' << r.argument; }

inline void* find_symbol(const char* library, const std::string& name)
{
    void* handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    void* found = handle == nullptr ? nullptr : dlsym(handle, name.c_str());
    if (found == nullptr) throw std::runtime_error(dlerror());
    return found;
}

enum class convention { fortran, host, cblas_columns, cblas_rows };
struct face {
    const char* title;
    const char* library;
    convention how;
    int bits;
    void* find(const routine& r) const
    {
        switch (how) {
        case convention::fortran:
            return find_symbol(library, r.name + '_');
        case convention::host:
            return find_symbol(library, (bits == 64 ? "vrn_blas_" : "vrn_blas_lp64_") + r.name);
        default:
            return find_symbol(library, "cblas_" + r.name + (r.result == 'c' ? "_sub" : ""));
        }
    }
    bool cblas() const { return how == convention::cblas_columns || how == convention::cblas_rows; }
};

// The values of a call's arguments by name; what comes back takes the place of what went in.
template <class R>
struct values {
    std::map<std::string, std::int64_t> number;
    std::map<std::string, char> letter;
    std::map<std::string, std::array<R, 2>> scalar;
    std::map<std::string, std::vector<R>> array;
    std::vector<std::int64_t> indx;
    int layout = 0;                 // another value than the face's, to see it refused
    std::array<double, 2> result{}; // or the index, as CBLAS counts
};

using word = std::intptr_t;
template <class Result>
Result jump(void* f, const std::array<word, 16>& w, const std::array<double, 2>& x)
{
    using any = Result(word, word, word, word, word, word, word, word, word, word, word, word, word, word, word, word,
                       double, double);
    return reinterpret_cast<any*>(f)(w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9], w[10], w[11], w[12],
                                     w[13], w[14], w[15], x[0], x[1]);
}

inline int enumeration(const std::string& option, char letter)
{
    const std::map<std::string, std::map<char, int>> all = {{"t", {{'N', 111}, {'T', 112}, {'C', 113}}},
                                                            {"u", {{'U', 121}, {'L', 122}}},
                                                            {"d", {{'N', 131}, {'U', 132}}},
                                                            {"s", {{'L', 141}, {'R', 142}}}};
    const auto& kind = all.at(option.substr(0, 1));
    return kind.contains(letter) ? kind.at(letter) : 99;
}

// Calls and returns the values after the call.
template <class R>
values<R> call(const face& f, const routine& r, values<R> v)
{
    std::array<word, 16> words{};
    std::array<double, 2> reals{};
    std::size_t count = 0, real_count = 0;
    const auto pass = [&](const auto* p) { words[count++] = reinterpret_cast<word>(p); };
    std::map<std::string, std::int32_t> narrow;
    const std::vector<std::int32_t> narrow_indx(v.indx.begin(), v.indx.end());
    R complex_result[2] = {};

    if (f.cblas() && r.layout) words[count++] = v.layout ? v.layout : f.how == convention::cblas_rows ? 101 : 102;
    if (f.how == convention::host && r.result == 'c') pass(complex_result);
    for (const auto& [name, kind] : r.arguments) {
        if (kind == 'i' && f.cblas()) {
            words[count++] = v.number.at(name);
        } else if (kind == 'i') {
            narrow[name] = static_cast<std::int32_t>(v.number.at(name));
            f.bits == 64 ? pass(&v.number.at(name)) : pass(&narrow[name]);
        } else if (kind == 'o' && f.cblas()) {
            words[count++] = enumeration(name, v.letter.at(name));
        } else if (kind == 'o') {
            pass(&v.letter.at(name));
        } else if (kind == 'x') {
            f.bits == 64 ? pass(v.indx.data()) : pass(narrow_indx.data());
        } else if (kind == 'r' && f.cblas()) {
            std::memcpy(&reals[real_count++], &v.scalar.at(name), sizeof(R));
        } else if (kind == 'r' || kind == 'c') {
            pass(&v.scalar.at(name));
        } else {
            pass(v.array.at(name).data());
        }
    }
    if (f.cblas() && r.result == 'c') pass(complex_result);

    void* const function = f.find(r);
    reports.clear();
    if (r.result == 's') v.result[0] = jump<float>(function, words, reals);
    else if (r.result == 'd') v.result[0] = jump<double>(function, words, reals);
    else if (r.result == 'i' && f.cblas())
        v.result[0] = static_cast<double>(jump<std::size_t>(function, words, reals));
    else if (r.result == 'i' && f.bits == 64)
        v.result[0] = static_cast<double>(jump<std::int64_t>(function, words, reals)) - 1;
    else if (r.result == 'i') v.result[0] = jump<std::int32_t>(function, words, reals) - 1;
    else if (r.result == 'c' && f.how == convention::fortran) {
        struct pair {
            R re, im;
        };
        const pair p = jump<pair>(function, words, reals);
        v.result = {p.re, p.im};
    } else {
        jump<void>(function, words, reals);
        v.result = {complex_result[0], complex_result[1]};
    }
    return v;
}

} // namespace vrn::test
