// examples/matrix_market.hpp - sparse matrices from files in the Matrix Market exchange format (Boisvert, Pozo and
// Remington, 1996): coordinate, real, complex, integer or pattern, general, symmetric, skew-symmetric or Hermitian.
//
//     %%MatrixMarket matrix coordinate real symmetric
//     % comments
//     rows columns entries
//     row column value             counted from 1; the lower triangle alone where the matrix has a symmetry
//
// Whatever else a file holds is an error that names file and line.
#pragma once

#include "examples/table.hpp"

#include <complex>

namespace matrix_market {

enum class symmetry { general, symmetric, skew, hermitian };
inline constexpr std::string_view symmetry_names[] = {"general", "symmetric", "skew-symmetric", "hermitian"};

// Entries as the file has them, counted from 0.
struct matrix {
    std::int64_t rows = 0, columns = 0;
    symmetry kind = symmetry::general;
    bool is_complex = false;
    std::vector<std::int64_t> row, column;
    std::vector<std::complex<double>> value;

    std::size_t entries() const { return value.size(); }
};

// With the other triangle, where only one is in the file, and without zeros, which formats with room between their
// entries could not tell from that.
inline matrix whole(const matrix& file)
{
    matrix a = file;
    a.row.clear(), a.column.clear(), a.value.clear();
    for (std::size_t e = 0; e < file.entries(); ++e)
        if (file.value[e] != std::complex<double>{})
            a.row.push_back(file.row[e]), a.column.push_back(file.column[e]), a.value.push_back(file.value[e]);
    for (std::size_t e = 0, stored = a.entries(); e < stored && a.kind != symmetry::general; ++e) {
        if (a.row[e] == a.column[e]) continue;
        const std::complex<double> v = a.value[e];
        a.row.push_back(a.column[e]);
        a.column.push_back(a.row[e]);
        a.value.push_back(a.kind == symmetry::skew ? -v : a.kind == symmetry::hermitian ? std::conj(v) : v);
    }
    return a;
}

namespace detail {

inline std::vector<std::string_view> words(std::string_view line)
{
    std::vector<std::string_view> found;
    constexpr auto blank = " \t\r";
    for (auto from = line.find_first_not_of(blank); from != line.npos; from = line.find_first_not_of(blank, from)) {
        const auto to = std::min(line.find_first_of(blank, from), line.size());
        found.push_back(line.substr(from, to - from));
        from = to;
    }
    return found;
}

inline std::string lower(std::string_view text)
{
    std::string s(text);
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// A file line by line, and complaints about where it is.
class reader {
  public:
    explicit reader(const std::string& path) : path_(path), in_(path), buffer_(csv::longest_line)
    {
        if (!in_) throw std::runtime_error(path + ": " + std::strerror(errno));
    }
    [[noreturn]] void fail(const std::string& why) const
    {
        throw std::runtime_error(path_ + ":" + std::to_string(std::max(line_, std::int64_t{1})) + ": " + why);
    }
    bool next(std::string_view& line)
    {
        if (!in_.getline(buffer_.data(), csv::longest_line) && in_.gcount() == 0) {
            if (in_.bad()) throw std::runtime_error(path_ + ": cannot be read");
            return false;
        }
        ++line_;
        if (in_.fail()) fail("the line is longer than " + std::to_string(csv::longest_line - 1) + " characters");
        line = csv::trim({buffer_.data(), static_cast<std::size_t>(in_.gcount()) - (in_.eof() ? 0 : 1)});
        if (line.find('\0') != line.npos) fail("a NUL character, this is no text");
        return true;
    }
    // Past comments and empty lines.
    bool next_content(std::string_view& line)
    {
        while (next(line))
            if (!line.empty() && line.front() != '%') return true;
        return false;
    }
    std::int64_t integer(std::string_view word, const char* what, std::int64_t least, std::int64_t most) const
    {
        std::int64_t value = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (error != std::errc{} || end != word.data() + word.size())
            fail(std::string(what) + ": " + csv::shown(word) + " is not an integer");
        if (value < least || value > most)
            fail(std::string(what) + ": " + std::to_string(value) + " is not between " + std::to_string(least) +
                 " and " + std::to_string(most));
        return value;
    }
    double real(std::string_view word) const
    {
        if (!word.empty() && word.front() == '+') word.remove_prefix(1); // which from_chars does not take
        const auto [value, complaint] = csv::parse(word);
        if (*complaint != '\0') fail(csv::shown(word) + " " + complaint);
        return value;
    }

  private:
    std::string path_;
    std::ifstream in_;
    std::vector<char> buffer_;
    std::int64_t line_ = 0;
};

} // namespace detail

inline matrix read(const std::string& path)
{
    detail::reader in(path);
    std::string_view line;
    if (!in.next(line)) in.fail("the file is empty");
    auto head = detail::words(line);
    if (head.size() != 5 || head[0] != "%%MatrixMarket" || detail::lower(head[1]) != "matrix")
        in.fail("the first line is not of the form %%MatrixMarket matrix coordinate FIELD SYMMETRY");
    if (detail::lower(head[2]) != "coordinate") in.fail("format " + csv::shown(head[2]) + " is not coordinate");
    const std::string field = detail::lower(head[3]), kind = detail::lower(head[4]);
    if (field != "real" && field != "complex" && field != "integer" && field != "pattern")
        in.fail("field " + csv::shown(field) + " is none of real, complex, integer, pattern");
    const auto place =
        std::find(std::begin(symmetry_names), std::end(symmetry_names), kind) - std::begin(symmetry_names);
    if (place == std::ssize(symmetry_names))
        in.fail("symmetry " + csv::shown(kind) + " is none of general, symmetric, skew-symmetric, hermitian");

    matrix a;
    a.kind = static_cast<symmetry>(place);
    a.is_complex = field == "complex";
    if (a.kind == symmetry::hermitian && !a.is_complex) in.fail("a hermitian matrix is of field complex");
    if (a.kind == symmetry::skew && field == "pattern") in.fail("a pattern cannot be skew-symmetric");

    if (!in.next_content(line)) in.fail("the line with rows, columns and entries is missing");
    const auto sizes = detail::words(line);
    if (sizes.size() != 3)
        in.fail("found " + std::to_string(sizes.size()) + " numbers where rows, columns and entries stand");
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() / 4;
    a.rows = in.integer(sizes[0], "rows", 1, most);
    a.columns = in.integer(sizes[1], "columns", 1, most);
    const std::int64_t entries = in.integer(sizes[2], "entries", 0, most);
    if (a.kind != symmetry::general && a.rows != a.columns) in.fail("a " + kind + " matrix is square");

    const std::size_t expected = 2 + (field == "pattern" ? 0U : a.is_complex ? 2U : 1U);
    for (std::int64_t e = 0; e < entries; ++e) {
        if (!in.next_content(line))
            in.fail("the file ends after " + std::to_string(e) + " of " + std::to_string(entries) + " entries");
        const auto words = detail::words(line);
        if (words.size() != expected)
            in.fail("found " + std::to_string(words.size()) + " numbers, an entry of field " + field + " has " +
                    std::to_string(expected));
        const std::int64_t i = in.integer(words[0], "row", 1, a.rows) - 1;
        const std::int64_t j = in.integer(words[1], "column", 1, a.columns) - 1;
        if (a.kind != symmetry::general && j > i) in.fail("an entry above the diagonal of a " + kind + " matrix");
        if (a.kind == symmetry::skew && i == j) in.fail("a diagonal entry of a skew-symmetric matrix");
        if (field == "integer") in.integer(words[2], "value", INT64_MIN, INT64_MAX);
        const std::complex<double> v(field == "pattern" ? 1 : in.real(words[2]),
                                     a.is_complex ? in.real(words[3]) : 0);
        if (a.kind == symmetry::hermitian && i == j && v.imag() != 0)
            in.fail("a diagonal entry of a hermitian matrix with an imaginary part");
        a.row.push_back(i), a.column.push_back(j), a.value.push_back(v);
    }
    if (in.next_content(line)) in.fail("more than the " + std::to_string(entries) + " entries that were announced");
    return a;
}

} // namespace matrix_market
