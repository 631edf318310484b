// core/spblas/table.hpp - the kernel of a call: by its letters in the table of stems, folded where a class has no
// kernel of its own for an operation.
#pragma once

#include "core/spblas/views.hpp"

namespace vrn::spblas::host {

enum class format { csr, coo, dia, bsr };
enum class product { mv, mm, sv, sm, gemv };
using any_kernel = void();

// A kernel with the letters that its name came to have. Where `negated`, it computes minus what was asked for.
struct kernel_choice {
    any_kernel* function;
    char op;
    bool negated;

    template <class Signature>
    Signature* as() const
    {
        return reinterpret_cast<Signature*>(function);
    }
};

// The kernel for op on the class of `d`, of a base and with dense matrices by rows or by columns. Every combination
// that the public routines let through has one: without, the process ends with a line.
template <class T, class I>
kernel_choice choose(format f, product p, char op, const description& d, int base, bool by_rows);

} // namespace vrn::spblas::host
