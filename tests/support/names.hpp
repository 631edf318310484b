// tests/support/names.hpp - the two libraries as lists of names: what the contract says, what the build says,
// and what nm and readelf show.
#pragma once

#include "tests/support/process.hpp"

#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace vrn::test {

inline const std::string backend_path = VRN_LIBRARY_DIR "/libvrn_s42.so";
inline const std::string host_path = VRN_LIBRARY_DIR "/libvrn_core.so";

inline std::vector<std::string> words_of(const std::string& path)
{
    std::ifstream file(path);
    if (!file) throw std::runtime_error("no " + path);
    return {std::istream_iterator<std::string>(file), {}};
}

struct symbol {
    std::uint64_t address = 0;
    char kind = 0;
    std::string version;
};
using symbols = std::map<std::string, symbol>;

// The dynamic symbols of a library; `which` is --defined-only or --undefined-only. A default version is told
// from a hidden one by nm: @@ for the first.
inline symbols dynamic_symbols(const std::string& library, const std::string& which)
{
    symbols found;
    for (const std::string& line : lines_of("nm -D " + which + " " + library)) {
        std::istringstream in(line);
        symbol s;
        std::string name;
        if (which == "--defined-only") in >> std::hex >> s.address;
        in >> s.kind >> name;
        if (const auto at = name.find('@'); at != name.npos) {
            s.version = name.substr(at);
            name.resize(at);
        }
        if (s.kind != 'A') found[name] = s; // A: the version itself
    }
    return found;
}

// The bounds of section .pending, where the names without a body lie; empty where there is none left.
inline std::pair<std::uint64_t, std::uint64_t> pending_section(const std::string& library)
{
    for (const std::string& line : lines_of("readelf -SW " + library)) {
        const auto at = line.find("] .pending ");
        if (at == line.npos) continue;
        std::istringstream in(line.substr(at + 10));
        std::string type, address, offset, size;
        in >> type >> address >> offset >> size;
        const auto low = std::stoull(address, nullptr, 16);
        return {low, low + std::stoull(size, nullptr, 16)};
    }
    return {0, 0};
}

// The exported names whose address lies in that section.
inline std::set<std::string> pending_names(const std::string& library)
{
    const auto [low, high] = pending_section(library);
    std::set<std::string> names;
    for (const auto& [name, s] : dynamic_symbols(library, "--defined-only"))
        if (low <= s.address && s.address < high) names.insert(name);
    return names;
}

// The groups of frame/aliases.txt; the first is that of the empty stubs.
inline std::vector<std::vector<std::string>> alias_groups()
{
    std::ifstream file(VRN_SOURCE_DIR "/frame/aliases.txt");
    std::vector<std::vector<std::string>> groups(1);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('#')) continue;
        if (!line.empty())
            groups.back().push_back(line);
        else if (!groups.back().empty())
            groups.emplace_back();
    }
    return groups;
}

} // namespace vrn::test
