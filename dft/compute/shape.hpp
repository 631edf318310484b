// dft/compute/shape.hpp - the dimensions of a chain on one side, and walks over positions. Shared with the host,
// which deals the same positions out to threads.
//
// Strides count reals. Dimension 0 is the head's; a walk visits the positions of some dimensions in their order, the
// first the fastest, and counts with carry. Lengths of 2 and more fill a 64-bit count long before most_dimensions.
#pragma once

#include "dft/descriptor/record.hpp"

namespace vrn::dft {

inline constexpr int most_dimensions = 64;

struct shape {
    int rank = 0;
    std::int64_t length[most_dimensions];
    std::int64_t stride[most_dimensions];
    const descriptor* node[most_dimensions];

    // `first` replaces the head's length where that side has another: n / 2 + 1 values of a spectrum.
    shape(const descriptor* head, std::int64_t descriptor::*side, std::int64_t reals, std::int64_t first)
    {
        for (const descriptor* p = head; p != nullptr && rank < most_dimensions; p = p->child, ++rank) {
            length[rank] = rank == 0 ? first : p->length;
            stride[rank] = reals * (p->*side);
            node[rank] = p;
        }
    }

    // Positions of the dimensions from `from` on without `skip`.
    std::int64_t positions(int from, int skip) const
    {
        std::int64_t product = 1;
        for (int i = from; i < rank; ++i)
            if (i != skip) product *= length[i];
        return product;
    }

    // How many leading dimensions below `d` lie like one run with the stride of the first.
    int leading(int d) const
    {
        int q = 1;
        while (q < d && stride[q] == length[q - 1] * stride[q - 1]) ++q;
        return q;
    }
    std::int64_t run(int q) const
    {
        std::int64_t product = 1;
        for (int i = 0; i < q; ++i) product *= length[i];
        return product;
    }
};

// Offsets on two sides at once. The counters start at position `first` by division; then they carry.
class position_walk {
    const shape &a_, &b_;
    int from_, skip_;
    std::int64_t counter_[most_dimensions];

  public:
    std::int64_t offset_a = 0, offset_b = 0;

    position_walk(const shape& a, const shape& b, int from, int skip, std::int64_t first)
        : a_(a), b_(b), from_(from), skip_(skip)
    {
        for (int i = from; i < a.rank; ++i) {
            counter_[i] = 0;
            if (i == skip) continue;
            counter_[i] = first % a.length[i];
            first /= a.length[i];
            offset_a += counter_[i] * a.stride[i];
            offset_b += counter_[i] * b.stride[i];
        }
    }
    void next()
    {
        for (int i = from_; i < a_.rank; ++i) {
            if (i == skip_) continue;
            if (++counter_[i] < a_.length[i]) {
                offset_a += a_.stride[i];
                offset_b += b_.stride[i];
                return;
            }
            counter_[i] = 0;
            offset_a -= a_.stride[i] * (a_.length[i] - 1);
            offset_b -= b_.stride[i] * (a_.length[i] - 1);
        }
    }
};

// A dimension's columns as units: blocks of neighbours at each position of the others.
struct column_units {
    int q;
    std::int64_t columns, block, blocks, positions;
    column_units(const shape& s, int dim, std::int64_t at_once)
        : q(s.leading(dim)), columns(s.run(q)), block(at_once), blocks((columns + block - 1) / block),
          positions(s.positions(q, dim))
    {
    }
    std::int64_t count() const { return blocks * positions; }
};

} // namespace vrn::dft
