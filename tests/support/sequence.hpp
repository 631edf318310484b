// tests/support/sequence.hpp - random sequences of calls that can be told and repeated.
//
// Each sequence has a seed that decides everything. What it does is told in a line a step; a failed expectation, a
// signal and a sanitizer's report print the lines so far. VRN_SEQUENCES sets how many sequences a test runs,
// VRN_SEQUENCE_SEED the seed of the first one: with VRN_SEQUENCES=1 a sequence that failed runs alone.
#pragma once

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>

extern "C" {
[[gnu::weak]] void __sanitizer_set_death_callback(void (*)(void));
// The undefined-behaviour sanitizer calls nothing back, but its abort can be caught.
[[gnu::weak]] const char* __ubsan_default_options() { return "abort_on_error=1:print_stacktrace=1"; }
}

namespace vrn::test {

class sequence {
    inline static std::string told_;
    static void print() { [[maybe_unused]] const auto n = write(2, told_.data(), told_.size()); }

  public:
    std::mt19937_64 random;

    explicit sequence(std::uint64_t seed) : random(seed)
    {
        told_ = "\nVRN_SEQUENCES=1 VRN_SEQUENCE_SEED=" + std::to_string(seed) + "\n";
        const auto tell_and_die = [](int caught) { print(), std::signal(caught, SIG_DFL), std::raise(caught); };
        std::signal(SIGABRT, tell_and_die);
        if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(print);
        else
            for (const int s : {SIGSEGV, SIGFPE, SIGILL}) std::signal(s, tell_and_die);
    }
    template <class... Words>
    void tell(const Words&... words)
    {
        std::ostringstream line;
        (line << ... << words);
        told_ += line.str();
    }
    static const std::string& told() { return told_; }

    std::int64_t below(std::int64_t n) { return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(n)); }
    bool once_in(std::int64_t n) { return below(n) == 0; }
    template <class Choices>
    auto one_of(const Choices& choices)
    {
        return std::begin(choices)[below(static_cast<std::int64_t>(std::size(choices)))];
    }
    template <class Value>
    Value one_of(std::initializer_list<Value> choices)
    {
        return choices.begin()[below(static_cast<std::int64_t>(choices.size()))];
    }
};

// walk(sequence&) for each seed; the first one that fails ends the test.
inline void walk_sequences(int usual, const std::function<void(sequence&)>& walk)
{
    const char *many = std::getenv("VRN_SEQUENCES"), *first = std::getenv("VRN_SEQUENCE_SEED");
    const long count = many != nullptr ? std::atol(many) : usual;
    const std::uint64_t seed = first != nullptr ? std::strtoull(first, nullptr, 10) : 1;
    for (long i = 0; i < count && !testing::Test::HasFailure(); ++i) {
        sequence s(seed + static_cast<std::uint64_t>(i));
        walk(s);
        if (testing::Test::HasFailure()) std::cerr << sequence::told() << std::flush;
    }
}

} // namespace vrn::test
