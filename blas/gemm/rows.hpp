// blas/gemm/rows.hpp - a run of rows of a column as vectors, the last of them partial where the count asks for it.
#pragma once

#include "simd/vec.hpp"

namespace vrn::blas {

template <class T, int Rows>
struct rows {
    using V = simd::vec<T>;
    static constexpr int lanes = V::lanes;
    static constexpr int count = (Rows + lanes - 1) / lanes;

    // Vector r of the run; missing rows are zero and not touched in memory.
    template <int R>
    static V load(const T* p)
    {
        constexpr int left = Rows - R * lanes;
        p += R * lanes;
        if constexpr (left >= lanes) return V::loadu(p);
        else if constexpr (left == 1) return V::load1(p);
        else if constexpr (left == 2) return V::load2(p);
        else return V::load3(p);
    }
    template <int R>
    static void store(T* p, V x)
    {
        constexpr int left = Rows - R * lanes;
        p += R * lanes;
        if constexpr (left >= lanes) x.storeu(p);
        else if constexpr (left == 1) x.store1(p);
        else if constexpr (left == 2) x.store2(p);
        else x.store3(p);
    }
};

} // namespace vrn::blas
