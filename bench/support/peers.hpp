// bench/support/peers.hpp - open BLAS libraries in this process, several times over.
//
// A core type is chosen by an environment variable that the peer reads when it loads. Each core type therefore
// gets a copy of the library file of its own, opened with its own symbols, so that all of them run side by side.
#pragma once

#include <string>
#include <vector>

namespace vrn::bench {

struct peer {
    std::string name;
    void* library;
    bool sse; // held to SSE: the peers that the ratios count against

    // The Fortran symbol, or null.
    template <class F>
    F* find(const char* symbol) const
    {
        return reinterpret_cast<F*>(symbol_of(symbol));
    }

  private:
    void* symbol_of(const char* symbol) const;
};

// OpenBLAS held to Core2, Barcelona and Nehalem, then OpenBLAS and BLIS at their best; loaded at the first call.
// What is not installed is left out, with one line on standard error.
const std::vector<peer>& peers();

} // namespace vrn::bench
