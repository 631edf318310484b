// examples/spectrum.cpp - the power spectrum of a recording: a WAV file, or a column of samples in a CSV file.
//
//     spectrum [--rate hz] [--peaks n] [--lowpass hz out.wav] [file.wav | file.csv]
//
// Segments of 4096 samples (fewer where there are not as many), half overlapping, under the window of Hann, averaged:
// Welch's method (1967). Prints the spectrum as a picture and its strongest peaks, in decibels below a full sine.
// With
// --lowpass everything above a frequency is taken out of the whole recording, which is written back as 16-bit WAV.
// Without a file: a shipped second of three bells (examples/data/bells.py).

#include "examples/recording.hpp"

#include "vrn/dft.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <numbers>
#include <string>
#include <vector>

namespace {

using samples = std::vector<double>;

void check(std::int32_t status)
{
    if (status != VRN_DFT_OK) throw std::runtime_error(std::string("transform: ") + vrn_dft_message(status));
}

// A real transform of n values, out of place, with n/2 + 1 complex values on the other side; backward undoes forward.
class real_transform {
    vrn_dft_handle h = nullptr;

  public:
    explicit real_transform(std::int64_t n)
    {
        check(vrn_dft_create(&h, VRN_DFT_DOUBLE, VRN_DFT_REAL, 1, &n));
        check(vrn_dft_set_int(h, VRN_DFT_PLACEMENT, VRN_DFT_NOT_IN_PLACE));
        check(vrn_dft_set_int(h, VRN_DFT_SPECTRUM_STORAGE, VRN_DFT_COMPLEX_VALUES));
        check(vrn_dft_set_double(h, VRN_DFT_BACKWARD_SCALE, 1.0 / static_cast<double>(n)));
        check(vrn_dft_commit(h));
    }
    ~real_transform() { vrn_dft_free(&h); }
    real_transform(const real_transform&) = delete;
    real_transform& operator=(const real_transform&) = delete;

    void forward(samples& x, samples& spectrum) { check(vrn_dft_forward(h, x.data(), spectrum.data())); }
    void backward(samples& spectrum, samples& x) { check(vrn_dft_backward(h, spectrum.data(), x.data())); }
};

// ---- Welch's estimate ----------------------------------------------------------------------------------------

struct estimate {
    double hz;     // between neighbouring values
    samples power; // 1 is a sine from -1 to 1 that falls on a value
    int segments = 0;
};

estimate power_of(const recording& r)
{
    const std::size_t n = std::min<std::size_t>(4096, r.samples.size()), half = n / 2 + 1;
    real_transform transform(static_cast<std::int64_t>(n));
    samples window(n), x(n), spectrum(2 * half);
    double sum = 0;
    for (std::size_t j = 0; j < n; ++j) {
        window[j] = 0.5 - 0.5 * std::cos(2 * std::numbers::pi * static_cast<double>(j) / static_cast<double>(n));
        sum += window[j];
    }
    estimate e{r.rate / static_cast<double>(n), samples(half)};
    for (std::size_t at = 0; at + n <= r.samples.size(); at += std::max<std::size_t>(1, n / 2), ++e.segments) {
        for (std::size_t j = 0; j < n; ++j) x[j] = window[j] * r.samples[at + j];
        transform.forward(x, spectrum);
        for (std::size_t k = 0; k < half; ++k)
            e.power[k] += spectrum[2 * k] * spectrum[2 * k] + spectrum[2 * k + 1] * spectrum[2 * k + 1];
    }
    // A sine of amplitude 1 has half the window's sum in each of two values.
    for (double& p : e.power) p *= 4 / (sum * sum * e.segments);
    return e;
}

double decibels(double power) { return 10 * std::log10(std::max(power, 1e-20)); }

// ---- on paper ------------------------------------------------------------------------------------------------

void draw(const estimate& e)
{
    constexpr int rows = 24, bars = 60;
    constexpr double floor = -90;
    const double top = static_cast<double>(e.power.size() - 1) * e.hz;
    std::printf("\n      Hz   strongest within the row, %g to 0 dB\n", floor);
    for (int row = 0; row < rows; ++row) {
        // Rows widen with frequency, as hearing does.
        const double low = top * std::pow(static_cast<double>(row) / rows, 2),
                     high = top * std::pow((row + 1.0) / rows, 2);
        const auto first = static_cast<std::size_t>(low / e.hz), last = static_cast<std::size_t>(high / e.hz);
        double strongest = 0;
        for (std::size_t k = first; k <= std::min(last, e.power.size() - 1); ++k)
            strongest = std::max(strongest, e.power[k]);
        const double level = decibels(strongest);
        const int length = static_cast<int>(std::clamp((level - floor) / -floor, 0.0, 1.0) * bars);
        std::printf("%8.0f  %7.1f  %s\n", high, level, std::string(static_cast<std::size_t>(length), '#').c_str());
    }
}

void list_peaks(const estimate& e, int count)
{
    struct peak {
        double hz, level;
    };
    std::vector<peak> peaks;
    for (std::size_t k = 2; k + 2 < e.power.size(); ++k) {
        if (e.power[k] <= e.power[k - 1] || e.power[k] < e.power[k + 1]) continue;
        // A parabola through the logarithms of three values has its top between them.
        const double a = decibels(e.power[k - 1]), b = decibels(e.power[k]), c = decibels(e.power[k + 1]);
        const double bend = a - 2 * b + c, shift = bend < 0 ? (a - c) / (2 * bend) : 0;
        peaks.push_back({(static_cast<double>(k) + shift) * e.hz, b - (a - c) * shift / 4});
    }
    std::sort(peaks.begin(), peaks.end(), [](const peak& a, const peak& b) { return a.level > b.level; });
    std::printf("\npeaks         Hz        dB\n");
    for (int i = 0; i < std::min(count, static_cast<int>(peaks.size())); ++i)
        std::printf("      %10.2f  %8.2f\n", peaks[static_cast<std::size_t>(i)].hz,
                    peaks[static_cast<std::size_t>(i)].level);
}

// ---- and back --------------------------------------------------------------------------------------------------

// The whole recording through one transform: what lies above `hz` is set to 0. Returns the difference that a
// transform there and back makes to the samples by itself.
double low_pass(recording& r, double hz)
{
    const std::size_t n = r.samples.size(), half = n / 2 + 1;
    real_transform transform(static_cast<std::int64_t>(n));
    samples spectrum(2 * half), x(n);
    transform.forward(r.samples, spectrum);
    transform.backward(spectrum, x);
    double worst = 0;
    for (std::size_t j = 0; j < n; ++j) worst = std::max(worst, std::abs(x[j] - r.samples[j]));
    transform.forward(r.samples, spectrum);
    const double cut = hz * static_cast<double>(n) / r.rate;
    for (std::size_t k = 0; k < half; ++k)
        if (static_cast<double>(k) > cut) spectrum[2 * k] = spectrum[2 * k + 1] = 0;
    transform.backward(spectrum, r.samples);
    return worst;
}

struct options {
    std::string file = VRN_EXAMPLES_DATA "/bells.wav", out;
    double rate = 0, lowpass = 0;
    int peaks = 8;
};

options read_options(int argc, char** argv)
{
    options o;
    const auto number = [&](int& i) {
        if (++i == argc) throw std::runtime_error(std::string(argv[i - 1]) + " wants a number");
        char* end = nullptr;
        const double value = std::strtod(argv[i], &end);
        if (end == argv[i] || *end != 0 || !(value > 0) || value > 1e9)
            throw std::runtime_error(std::string(argv[i - 1]) + ": '" + argv[i] + "' is no number above 0");
        return value;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--rate") o.rate = number(i);
        else if (a == "--peaks") o.peaks = static_cast<int>(std::min(number(i), 1000.0));
        else if (a == "--lowpass") {
            o.lowpass = number(i);
            if (++i == argc) throw std::runtime_error("--lowpass wants a file to write as well");
            o.out = argv[i];
        } else if (a.starts_with("--")) throw std::runtime_error("unknown option " + a);
        else o.file = a;
    }
    return o;
}

int run(int argc, char** argv)
{
    const options o = read_options(argc, argv);
    recording r = read_recording(o.file, o.rate);
    std::printf("%s: %zu samples at %g Hz, %.3f s\n", o.file.c_str(), r.samples.size(), r.rate,
                static_cast<double>(r.samples.size()) / r.rate);
    const estimate e = power_of(r);
    std::printf("%d segments, %.3f Hz apart\n", e.segments, e.hz);
    draw(e);
    list_peaks(e, o.peaks);
    if (o.lowpass > 0) {
        const double worst = low_pass(r, o.lowpass);
        write_wav(o.out, r);
        std::printf("\nthere and back: off by %.2g at most; up to %g Hz written to %s\n", worst, o.lowpass,
                    o.out.c_str());
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "spectrum: %s\n", e.what());
        return 1;
    }
}
