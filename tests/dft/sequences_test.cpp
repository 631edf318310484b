// tests/dft/sequences_test.cpp - random sequences of create, set, clone, commit, compute and free on a few
// descriptors, with one refused request for memory now and then. Every result is held to the sum that defines it,
// every status to the state that the calls before have made.

#include "tests/dft/memory_services.hpp"
#include "tests/dft/public_support.hpp"
#include "tests/support/sequence.hpp"

namespace {

using namespace vrn::test;

struct slot {
    vrn_dft_handle h = nullptr;
    transform t{}; // as it is set, laid out
    bool single = false, forward = true, committed = false;
};

class walker {
    sequence& s_;
    slot slots_[3];

    std::vector<std::int64_t> lengths()
    {
        static constexpr std::int64_t any[] = {1,  2,  3,  4,  5,  6,  7,   8,   9,   10,  12,  15,  16,  17,  23,
                                               30, 32, 45, 60, 64, 97, 100, 127, 128, 211, 256, 302, 360, 512, 1009};
        static constexpr std::int64_t few[] = {1, 2, 3, 4, 5, 6, 8, 9, 12, 16, 20};
        const std::int64_t rank = s_.one_of({1, 1, 1, 2, 2, 3, 4});
        if (rank == 1 && s_.once_in(8)) return {s_.one_of({2048, 3000, 4096, 4099, 6561, 8192, 16384})};
        std::vector<std::int64_t> n;
        for (std::int64_t d = 0; d < rank; ++d) n.push_back(rank == 1 ? s_.one_of(any) : s_.one_of(few));
        return n;
    }
    // A configuration that there is a transform for, in the lengths and domain of `t`.
    transform configuration(const transform& t)
    {
        transform c{.what = "", .lengths = t.lengths, .domain = t.domain};
        c.count = c.total() > 2000 ? 1 : s_.one_of({1, 1, 2, 3, 9});
        c.placement = s_.one_of({VRN_DFT_IN_PLACE, VRN_DFT_NOT_IN_PLACE});
        if (!c.real()) c.storage = s_.one_of({VRN_DFT_COMPLEX_VALUES, VRN_DFT_COMPLEX_VALUES, VRN_DFT_SPLIT});
        else if (c.rank() > 2 || s_.once_in(2)) c.spectrum = VRN_DFT_COMPLEX_VALUES;
        else c.format = s_.one_of({VRN_DFT_CCS, VRN_DFT_PACK, VRN_DFT_PERM});
        c.forward = s_.one_of({1.0, 1.0, 0.5, -3.0}), c.backward = s_.one_of({1.0, 0.25});
        c.threads = static_cast<int>(1 + s_.below(3)), c.user_threads = s_.one_of({1, 1, 2});
        c.workspace = s_.one_of({VRN_DFT_WORKSPACE_DEFAULT, VRN_DFT_WORKSPACE_2D});
        if (s_.once_in(3) && !c.real()) { // columns of lines side by side, or wide elements
            const bool columns = s_.once_in(2);
            std::int64_t stride = columns ? c.count : 2;
            c.time = {s_.below(3)};
            for (const std::int64_t n : c.lengths) c.time.push_back(stride), stride *= n;
            c.frequency = c.time;
            c.time_distance = c.frequency_distance = columns ? 1 : stride + 1;
        }
        return laid_out(c);
    }
    void tell(const slot& x)
    {
        s_.tell(x.single ? " single" : " double", x.t.real() ? " real" : " complex");
        for (const auto n : x.t.lengths) s_.tell(' ', n);
        s_.tell(" x", x.t.count, x.t.placement == VRN_DFT_IN_PLACE ? " in place" : "", x.t.split() ? " split" : "",
                x.t.cce() ? " cce" : "", " format ", x.t.format, " scales ", x.t.forward, ' ', x.t.backward, ' ',
                x.t.threads, " threads ", x.t.user_threads, " users workspace ", x.t.workspace, " strides");
        for (const auto n : x.t.time) s_.tell(' ', n);
        s_.tell(x.forward ? " forward" : " backward");
    }
    // f() with one request refused: its status, which is 0 or tells of no memory. In a commit the last strategy that
    // was tried has the last word, and that one may have failed for another reason.
    template <class F>
    std::int32_t refused(F&& f, bool last_word = false)
    {
        const long number = s_.once_in(3) ? static_cast<long>(s_.below(12)) : -1;
        asked = 0, refused_number = number;
        const std::int32_t status = f();
        const bool was = number >= 0 && asked > number;
        refused_number = -1;
        s_.tell(was ? " (refused)" : "", " status ", status);
        EXPECT_TRUE(status == 0 || (was && (last_word || status == VRN_DFT_NO_MEMORY))) << vrn_dft_message(status);
        return status;
    }

    void create(slot& x)
    {
        vrn_dft_free(&x.h);
        x = {};
        x.single = s_.once_in(2), x.forward = s_.once_in(2);
        transform t{.what = "", .lengths = lengths(), .domain = s_.one_of({VRN_DFT_COMPLEX, VRN_DFT_REAL})};
        s_.tell("create");
        const int precision = x.single ? VRN_DFT_SINGLE : VRN_DFT_DOUBLE;
        if (refused([&] { return vrn_dft_create(&x.h, precision, t.domain, t.rank(), t.lengths.data()); }) != 0) {
            EXPECT_EQ(x.h, nullptr);
            return;
        }
        x.t = configuration(t);
        tell(x);
        configure(x.h, x.t, x.forward);
    }
    void commit(slot& x)
    {
        s_.tell("commit");
        tell(x);
        x.committed = refused([&] { return vrn_dft_commit(x.h); }, true) == 0;
        std::int64_t state = 0;
        EXPECT_EQ(vrn_dft_get_int(x.h, VRN_DFT_COMMIT_STATUS, &state), 0);
        EXPECT_EQ(state, x.committed ? VRN_DFT_COMMITTED : VRN_DFT_UNCOMMITTED);
    }
    void compute(slot& x)
    {
        s_.tell("compute");
        tell(x);
        const auto seed = static_cast<unsigned>(s_.below(1000));
        const auto run = [&] {
            return x.single ? trial<float>(x.t, seed).run(x.h, x.forward)
                            : trial<double>(x.t, seed).run(x.h, x.forward);
        };
        const long held = live;
        if (!x.committed) EXPECT_EQ(run(), VRN_DFT_NOT_COMMITTED);
        else refused(run);
        EXPECT_EQ(live, held) << "blocks not given back";
    }
    void clone(const slot& x, slot& y)
    {
        s_.tell("clone");
        if (&x == &y) return;
        vrn_dft_free(&y.h);
        slot copy = x;
        copy.h = nullptr, copy.committed = false;
        if (refused([&] { return vrn_dft_clone(x.h, &copy.h); }) != 0) copy = {};
        y = copy;
    }
    void mistake(slot& x)
    {
        s_.tell("mistake");
        EXPECT_EQ(vrn_dft_set_int(x.h, s_.one_of({0, 30, -1, 99}), 1), VRN_DFT_BAD_CONFIGURATION);
        EXPECT_EQ(vrn_dft_set_int(x.h, s_.one_of({VRN_DFT_PLACEMENT, VRN_DFT_PACKED_FORMAT}), 7), VRN_DFT_BAD_VALUE);
        // A scale that stays as it was undoes nothing.
        EXPECT_EQ(vrn_dft_set_double(x.h, VRN_DFT_FORWARD_SCALE, x.t.forward), 0);
    }

  public:
    explicit walker(sequence& s) : s_(s) {}
    ~walker()
    {
        for (slot& x : slots_) vrn_dft_free(&x.h);
        EXPECT_EQ(live, 0) << "blocks not given back";
    }
    void walk()
    {
        for (int i = 0; i < 40 && !testing::Test::HasFailure(); ++i) {
            const auto number = s_.below(3);
            slot& x = slots_[number];
            s_.tell(i, ": [", number, "] ");
            const auto what = x.h == nullptr ? 0 : s_.below(14);
            if (what == 0) create(x);
            else if (what == 1) clone(x, slots_[s_.below(3)]);
            else if (what == 2) mistake(x);
            else if (what == 3) vrn_dft_free(&x.h), x = {}, s_.tell("free");
            else if (what < 6) {
                s_.tell("set");
                x.t = configuration(x.t), x.forward = s_.once_in(2), x.committed = false;
                tell(x);
                configure(x.h, x.t, x.forward);
            } else if (what < 8 || (!x.committed && !s_.once_in(5))) commit(x);
            else compute(x);
            s_.tell('\n');
        }
    }
};

TEST(DftSequences, Wander)
{
    walk_sequences(40, [](sequence& s) { walker(s).walk(); });
}

} // namespace
