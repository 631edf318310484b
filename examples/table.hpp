// examples/table.hpp - a table of numbers from a CSV file.
//
// The first line that is neither empty nor a comment (#) names the columns; every further one is a row with a
// finite number in each field. Whatever else the file holds is an error that names file and line. Fields are
// not quoted.
#pragma once

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct table {
    std::vector<std::string> names;
    std::vector<std::vector<double>> columns;

    std::int64_t rows() const { return static_cast<std::int64_t>(columns.front().size()); }
};

namespace csv {

// Bounds what one line may take of memory: a file without line ends is no table.
inline constexpr std::streamsize longest_line = 65536;

inline std::string_view trim(std::string_view s)
{
    constexpr auto blank = " \t\r";
    const auto first = s.find_first_not_of(blank);
    return first == s.npos ? std::string_view{} : s.substr(first, s.find_last_not_of(blank) - first + 1);
}

inline std::vector<std::string_view> split(std::string_view line)
{
    std::vector<std::string_view> fields;
    for (std::size_t comma; (comma = line.find(',')) != line.npos; line.remove_prefix(comma + 1))
        fields.push_back(trim(line.substr(0, comma)));
    fields.push_back(trim(line));
    return fields;
}

// A field as it may stand in a message: short, and without what would upset a terminal.
inline std::string shown(std::string_view field)
{
    std::string text(field.substr(0, 24));
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
    return "'" + text + (field.size() > text.size() ? "...'" : "'");
}

// The number that the whole field is; the complaint is empty where there is one.
struct number {
    double value = 0;
    const char* complaint = "";
};

inline number parse(std::string_view field)
{
    number result;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), result.value);
    if (error == std::errc::result_out_of_range) result.complaint = "is beyond the range of a double";
    else if (error != std::errc{} || end != field.data() + field.size()) result.complaint = "is not a number";
    else if (!std::isfinite(result.value)) result.complaint = "is not a finite number";
    return result;
}

inline table read(const std::string& path)
{
    std::ifstream in(path);
    if (!in) throw std::runtime_error(path + ": " + std::strerror(errno));
    int number_of_line = 0;
    const auto fail = [&](const std::string& why) {
        throw std::runtime_error(path + ":" + std::to_string(std::max(number_of_line, 1)) + ": " + why);
    };

    table t;
    std::vector<char> buffer(longest_line);
    while (in.getline(buffer.data(), longest_line) || in.gcount() > 0) {
        ++number_of_line;
        if (in.fail()) fail("the line is longer than " + std::to_string(longest_line - 1) + " characters");
        // What was taken, less the end of line, which only the last line may lack.
        const auto length = static_cast<std::size_t>(in.gcount()) - (in.eof() ? 0 : 1);
        const std::string_view line = trim({buffer.data(), length});
        if (line.find('\0') != line.npos) fail("a NUL character, this is no text");
        if (line.empty() || line.front() == '#') continue;
        const auto fields = split(line);
        if (t.names.empty()) {
            for (const auto& f : fields) {
                if (f.empty()) fail("a column has no name");
                if (*parse(f).complaint == '\0') fail("a header that names the columns is missing, " + shown(f) +
                                                      " is a number");
                t.names.emplace_back(f);
            }
            t.columns.resize(fields.size());
            continue;
        }
        if (fields.size() != t.names.size())
            fail("found " + std::to_string(fields.size()) + " fields, the header names " +
                 std::to_string(t.names.size()));
        for (std::size_t j = 0; j < fields.size(); ++j) {
            const auto [value, complaint] = parse(fields[j]);
            if (*complaint != '\0') fail(t.names[j] + ": " + shown(fields[j]) + " " + complaint);
            t.columns[j].push_back(value);
        }
    }
    if (in.bad()) throw std::runtime_error(path + ": cannot be read");
    if (t.names.empty()) fail("the file is empty, a header that names the columns is missing");
    if (t.columns.front().empty()) fail("no rows below the header");
    return t;
}

} // namespace csv
