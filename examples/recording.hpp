// examples/recording.hpp - samples from a WAV or CSV file, and to a WAV file.
//
// WAV: PCM of 16, 24 or 32 bits or floats of 32 bits, any number of channels, which are averaged. CSV: the first
// column (examples/table.hpp tells the form), or two columns of which the first is time in seconds at even steps.
// Samples are scaled so that a full-scale WAV goes from -1 to 1. What is wrong with a file is told in one line.
#pragma once

#include "examples/table.hpp"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

struct recording {
    double rate;
    std::vector<double> samples;
};

namespace wav {

using bytes = std::vector<unsigned char>;

inline std::uint32_t number(const bytes& b, std::size_t at, int size)
{
    std::uint32_t value = 0;
    for (int i = 0; i < size; ++i) value |= std::uint32_t{b[at + static_cast<std::size_t>(i)]} << 8 * i;
    return value;
}
inline bool is(const bytes& b, std::size_t at, const char* tag)
{
    return at + 4 <= b.size() && std::equal(tag, tag + 4, b.begin() + static_cast<std::ptrdiff_t>(at));
}

struct format {
    std::uint32_t code = 0, channels = 0, rate = 0, bits = 0;
};

inline double sample(const bytes& b, std::size_t at, const format& f)
{
    const std::uint32_t raw = number(b, at, static_cast<int>(f.bits / 8));
    if (f.code == 3) return static_cast<double>(std::bit_cast<float>(raw));
    // The sign is the highest bit of however many there are.
    return static_cast<double>(static_cast<std::int32_t>(raw << (32 - f.bits))) / 2147483648.0;
}

inline recording read(const std::string& name)
{
    const auto wrong = [&](const std::string& what) -> std::runtime_error {
        return std::runtime_error(name + ": " + what);
    };
    std::ifstream file(name, std::ios::binary);
    if (!file) throw wrong("cannot be read");
    const bytes b{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!is(b, 0, "RIFF") || !is(b, 8, "WAVE")) throw wrong("not a WAV file");
    format f;
    for (std::size_t at = 12; at + 8 <= b.size();) {
        const std::size_t size = number(b, at + 4, 4), body = at + 8;
        const std::size_t have = std::min(size, b.size() - body);
        if (is(b, at, "fmt ")) {
            if (have < 16) throw wrong("its format is cut short");
            f = {number(b, body, 2), number(b, body + 2, 2), number(b, body + 4, 4), number(b, body + 14, 2)};
            // The extensible form has the code at the head of a longer one.
            if (f.code == 0xfffe && have >= 26) f.code = number(b, body + 24, 2);
            const bool pcm = f.code == 1 && (f.bits == 16 || f.bits == 24 || f.bits == 32);
            if (!pcm && !(f.code == 3 && f.bits == 32))
                throw wrong("format " + std::to_string(f.code) + " with " + std::to_string(f.bits) +
                            " bits; PCM of 16, 24 or 32 bits and floats of 32 bits are read");
            if (f.channels == 0 || f.rate == 0) throw wrong("no channels or no rate");
        } else if (is(b, at, "data")) {
            if (f.channels == 0) throw wrong("data ahead of its format");
            const std::size_t width = f.bits / 8, frame = width * f.channels;
            recording r{static_cast<double>(f.rate), std::vector<double>(have / frame)};
            for (std::size_t i = 0; i < r.samples.size(); ++i) {
                double sum = 0;
                for (std::uint32_t c = 0; c < f.channels; ++c) sum += sample(b, body + i * frame + c * width, f);
                r.samples[i] = sum / f.channels;
                if (!std::isfinite(r.samples[i])) throw wrong("sample " + std::to_string(i) + " is not finite");
            }
            return r;
        }
        at = body + have + have % 2; // bodies end on even places
    }
    throw wrong("no samples");
}

} // namespace wav

// `rate` above 0 goes ahead of what the file says.
inline recording read_recording(const std::string& name, double rate)
{
    recording r{0, {}};
    if (name.size() > 4 && name.substr(name.size() - 4) == ".csv") {
        table t = csv::read(name);
        r.rate = 1;
        if (t.columns.size() > 1 && t.rows() > 1) {
            const std::vector<double>& time = t.columns[0];
            const double step = (time.back() - time.front()) / static_cast<double>(t.rows() - 1);
            for (std::size_t i = 1; i < time.size(); ++i)
                if (!(step > 0 && std::abs(time[i] - time[i - 1] - step) <= 0.01 * step))
                    throw std::runtime_error(name + ": the first column is no time in even steps at row " +
                                             std::to_string(i + 1));
            r.rate = 1 / step;
        }
        r.samples = std::move(t.columns[t.columns.size() > 1 ? 1 : 0]);
    } else {
        r = wav::read(name);
    }
    if (r.samples.size() < 8) throw std::runtime_error(name + ": fewer than 8 samples");
    if (rate > 0) r.rate = rate;
    return r;
}

// One channel of 16 bits; what is beyond full scale is cut.
inline void write_wav(const std::string& name, const recording& r)
{
    const auto rate = static_cast<std::uint32_t>(std::lround(r.rate));
    const auto size = static_cast<std::uint32_t>(2 * r.samples.size());
    std::string out;
    const auto put = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> 8 * i & 0xff);
    };
    out += "RIFF", put(36 + size, 4), out += "WAVEfmt ", put(16, 4), put(1, 2), put(1, 2);
    put(rate, 4), put(2 * rate, 4), put(2, 2), put(16, 2), out += "data", put(size, 4);
    for (const double x : r.samples)
        put(static_cast<std::uint32_t>(std::lround(std::clamp(x, -1.0, 32767.0 / 32768) * 32768)) & 0xffff, 2);
    std::ofstream file(name, std::ios::binary);
    file.write(out.data(), static_cast<std::streamsize>(out.size()));
    if (!file.flush()) throw std::runtime_error(name + ": cannot be written");
}
