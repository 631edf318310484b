// spblas/convert/starts.hpp - row pointers from counted entries: count, sum, place, and back by one.
// ia serves as counter and as position, so that nothing is allocated.
#pragma once

#include <cstddef>

namespace vrn::spblas::convert {

template <class I>
struct starts {
    I* ia;
    I m, base;
    starts(I* pointers, I rows, I index_base) : ia(pointers), m(rows), base(index_base)
    {
        for (I i = 0; i <= m; ++i) ia[i] = 0;
    }
    // Line i holds one entry more.
    [[gnu::always_inline]] void count(std::ptrdiff_t i) { ++ia[i + 1]; }
    // Counts become starts.
    void sum()
    {
        ia[0] = base;
        for (I i = 0; i < m; ++i) ia[i + 1] += ia[i];
    }
    // The place of line i's next entry, zero-based.
    [[gnu::always_inline]] I next(std::ptrdiff_t i) { return ia[i]++ - base; }
    // Every start has moved to the next one's place.
    void rewind()
    {
        for (I i = m; i > 0; --i) ia[i] = ia[i - 1];
        ia[0] = base;
    }
};

} // namespace vrn::spblas::convert
