#!/usr/bin/env python3
"""Makes the Fortran and the CBLAS names from the table of routines in core/blas/routines.py.

    faces.py fortran|cblas|header --output FILE

Both faces check their arguments by the table, report through the function that a program may replace, and call the
host. One source serves both integer widths: it speaks of `integer` and VRN_HOST(name).
"""
import argparse
import sys
import textwrap
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "core" / "blas"))
from generate import entries
from routines import OPTIONS, REAL, Matrix

# CBLAS enumerations by kind of option: first value, letters in order of value, constants.
ENUMERATIONS = {
    "trans": (111, "NTC", "CBLAS_TRANSPOSE"), "transa": (111, "NTC", "CBLAS_TRANSPOSE"),
    "transb": (111, "NTC", "CBLAS_TRANSPOSE"), "uplo": (121, "UL", "CBLAS_UPLO"), "diag": (131, "NU", "CBLAS_DIAG"),
    "side": (141, "LR", "CBLAS_SIDE"),
}

# The reference library also has its functions as subroutines with the result behind the arguments.
WITH_SUBROUTINE = {"dot", "dotu", "dotc", "nrm2", "asum", "amax", "cabs1"}


class RowMajor:
    """How a row-major call becomes a column-major one on the transposed matrices. `swap` names pairs of arguments that
    change places, `flip` the options that change sides. A conjugate that column-major storage cannot express is moved to
    the vectors: with `conj` (only when the option asks for the conjugate transpose where "C") the vectors in `copy` are
    conjugated into a copy, those in `turn` where they stand, before and after, and the scalars too. The lengths are those
    after the swap. `target` is the routine to call instead."""

    def __init__(self, swap="", flip="", conj=None, copy=None, turn=None, scalars="", target=None):
        self.swap, self.flip = [p.split("/") for p in swap.split()], flip.split()
        self.conj, self.copy, self.turn, self.scalars = conj, copy or {}, turn or {}, scalars.split()
        self.target = target


SAME_TRIANGLE = RowMajor(flip="uplo")
TRIANGULAR = RowMajor(flip="uplo trans", conj="C", turn={"x": "n"})
OUTER = RowMajor(swap="m/n x/y incx/incy")
HERMITIAN_TIMES = RowMajor(flip="uplo", conj="row", copy={"x": "n"}, turn={"y": "n"}, scalars="alpha beta")
ROW_MAJOR = {
    # y := A^H x is conj(y) := A^T conj(x) for the stored A^T.
    "gemv": RowMajor(swap="m/n", flip="trans", conj="C", copy={"x": "n"}, turn={"y": "m"}, scalars="alpha beta"),
    "gbmv": RowMajor(swap="m/n kl/ku", flip="trans", conj="C", copy={"x": "n"}, turn={"y": "m"},
                     scalars="alpha beta"),
    "symv": SAME_TRIANGLE, "sbmv": SAME_TRIANGLE, "spmv": SAME_TRIANGLE,
    "syr": SAME_TRIANGLE, "spr": SAME_TRIANGLE, "syr2": SAME_TRIANGLE, "spr2": SAME_TRIANGLE,
    # A Hermitian matrix read by rows is its conjugate.
    "hemv": HERMITIAN_TIMES, "hbmv": HERMITIAN_TIMES, "hpmv": HERMITIAN_TIMES,
    "her": RowMajor(flip="uplo", conj="row", copy={"x": "n"}),
    "hpr": RowMajor(flip="uplo", conj="row", copy={"x": "n"}),
    "her2": RowMajor(flip="uplo", swap="x/y incx/incy", conj="row", copy={"x": "n", "y": "n"}),
    "hpr2": RowMajor(flip="uplo", swap="x/y incx/incy", conj="row", copy={"x": "n", "y": "n"}),
    "trmv": TRIANGULAR, "tbmv": TRIANGULAR, "tpmv": TRIANGULAR,
    "trsv": TRIANGULAR, "tbsv": TRIANGULAR, "tpsv": TRIANGULAR,
    "ger": OUTER, "geru": OUTER,
    # A := alpha x y^H is A^T := alpha conj(y) x^T.
    "gerc": RowMajor(swap="m/n x/y incx/incy", conj="row", copy={"x": "m"}, target="geru"),
    "gemm": RowMajor(swap="m/n transa/transb a/b lda/ldb"),
    "gemm3m": RowMajor(swap="m/n transa/transb a/b lda/ldb"),
    "gemmt": RowMajor(swap="transa/transb a/b lda/ldb", flip="uplo"),
    "symm": RowMajor(swap="m/n", flip="side uplo"), "hemm": RowMajor(swap="m/n", flip="side uplo"),
    "syrk": RowMajor(flip="uplo trans"), "syr2k": RowMajor(flip="uplo trans"),
    "herk": RowMajor(flip="uplo trans"), "her2k": RowMajor(flip="uplo trans", conj="row", scalars="alpha"),
    "trmm": RowMajor(swap="m/n", flip="side uplo"), "trsm": RowMajor(swap="m/n", flip="side uplo"),
}


def names():
    """Every routine in every type under each of its names, as (entry, name)."""
    for e in entries():
        yield e, e.name
        if e.routine.also:
            yield e, e.name.removesuffix(e.routine.name) + e.routine.also


def is_complex(e):
    return REAL[e.element] != e.element


def said(e, name, value):
    """The line of a call at the second level of VRN_BLAS_VERBOSE: options and integers."""
    told = [(a, e.kind(a)) for a in e.arguments if e.kind(a) in ("integer", "option")]
    form = "".join(f" {a}=%{'c' if kind == 'option' else 'lld'}" for a, kind in told)
    values = "".join(f", {value(a, kind)}" for a, kind in told)
    return f"    VRN_SEEN(\"{name}{form}\"{values});"


def fortran(e, name):
    r = e.routine
    symbol = f"{name}_"
    kind = {None: "void", "complex": e.element, "index": "integer", "real": e.returned}[r.result]
    parameters = ", ".join(e.parameter(a, "integer") for a in e.arguments)
    out = [said(e, symbol, lambda a, kind: f"*{a}" if kind == "option" else f"told(*{a})")]
    for a, bad in r.checks:
        out.append(f"    if ({bad}) return illegal(\"{name.upper():6}\", {e.arguments.index(a) + 1});")
    call = ", ".join(e.arguments)
    if r.result == "complex":
        out.append(f"    {e.element} result;\n    VRN_HOST({e.name})(&result, {call});\n    return result;")
    else:
        out.append(f"    {'return ' if r.result else ''}VRN_HOST({e.name})({call});")
    text = f"{kind} {symbol}({parameters})\n{{\n" + "\n".join(out) + "\n}\n"
    if r.name in WITH_SUBROUTINE:
        text += f"\nvoid {name}sub_({parameters}, {kind}* result) {{ *result = {symbol}({call}); }}\n"
    return text


def cblas_type(e, a, integer):
    kind = e.kind(a)
    const = "" if a in e.routine.written else "const "
    type = e.type(a, integer)
    if kind == "integer":
        return integer
    if kind == "option":
        return ENUMERATIONS[a][2]
    if type in REAL and REAL[type] != type:
        return f"{const}void*"
    return type if kind == "scalar" else f"{const}{type}*"


def cblas_head(e, name, integer, suffix=""):
    r = e.routine
    parameters = [f"{cblas_type(e, a, integer)} {a}{suffix}" for a in e.arguments]
    if isinstance(r, Matrix):
        parameters.insert(0, "CBLAS_LAYOUT layout")
    if r.result == "complex":
        parameters.append("void* result")
    kind = {None: "void", "complex": "void", "index": "CBLAS_INDEX", "real": e.returned}[r.result]
    return kind, f"cblas_{name}{'_sub' if r.result == 'complex' else ''}", ", ".join(parameters)


def in_cblas(e):
    return not isinstance(e.routine, Matrix) or (e.routine.name in ROW_MAJOR and not (e.routine.real & {"a"}))


def local(e, a):
    """A pointer to the argument `a_` under the name of the table."""
    if cblas_type(e, a, "integer").endswith("void*"):
        const = "" if a in e.routine.written else "const "
        return f"static_cast<{const}{e.type(a, 'integer')}*>({a}_)"
    return f"&{a}_" if e.kind(a) in ("integer", "scalar") else f"{a}_"


def cblas_vector(e, name):
    kind, symbol, parameters = cblas_head(e, name, "integer", "_")
    call = ", ".join(local(e, a) for a in e.arguments)
    if e.routine.result == "complex":
        call = f"static_cast<{e.element}*>(result), {call}"
    value = f"VRN_HOST({e.name})({call})"
    if e.routine.result == "index":
        value = f"from_zero({value})"
    return (f"{kind} {symbol}({parameters})\n{{\n"
            + said(e, symbol, lambda a, kind: f"told({a}_)")
            + f"\n    {'return ' if kind != 'void' else ''}{value};\n}}\n")


def cblas_matrix(e, name):
    r = e.routine
    rule = ROW_MAJOR[r.name]
    kind, symbol, parameters = cblas_head(e, name, "integer", "_")
    options = [a for a in e.arguments if a in OPTIONS]
    partner = {a: b for pair in rule.swap for a, b in (pair, pair[::-1])}
    number = {a: i + 2 for i, a in enumerate(e.arguments)}
    out = [f"    static constexpr char me[] = \"{symbol}\";"]
    for a in options:
        first, letters, _ = ENUMERATIONS[a]
        out.append(f"    char {a}0 = letter({a}_, {first}, \"{letters}\");")
    out.append(said(e, symbol + " layout=%d",
                    lambda a, kind: f"{a}0" if kind == "option" else f"told({a}_)").replace('", ', '", int(layout), ', 1))
    out.append("    const bool row = layout == CblasRowMajor;")
    out.append("    if (!row && layout != CblasColMajor)\n"
               "        return cblas_xerbla(1, me, \"layout has no value %d\\n\", int(layout));")
    for a in options:
        out.append(f"    if (!is_one_of(&{a}0, \"{r.letters[a]}\"))\n"
                   f"        return cblas_xerbla({number[a]}, me, \"{a} has no value %d here\\n\", int({a}_));")
    conj = rule.conj if is_complex(e) else None
    if conj == "C":
        out.append("    const bool conj = row && trans0 == 'C';")
    for a in e.arguments:
        out.append(f"    auto* {a} = {f'&{a}0' if a in OPTIONS else local(e, a)};")
    turned = []
    for a in rule.flip:
        how = f"flip({a}0, \"{r.letters[a][:2]}\")" if a != "trans" else f"flip_trans({a}0, '{r.letters[a][1]}')"
        turned.append(f"        {how};")
    for a, b in rule.swap:
        turned.append(f"        std::swap({a}, {b});")
    out.append("    if (row) {\n" + "\n".join(turned) + "\n    }")
    for a, bad in r.checks:
        if a not in OPTIONS:
            n = f"row ? {number[partner[a]]} : {number[a]}" if a in partner else number[a]
            out.append(f"    if ({bad}) return cblas_xerbla({n}, me, \"\");")
    if conj:
        out.append(conjugated_call(e, rule, "conj" if conj == "C" else "row"))
    out.append(f"    VRN_HOST({e.name})({', '.join(e.arguments)});")
    return f"{kind} {symbol}({parameters})\n{{\n" + "\n".join(out) + "\n}\n"


def conjugated_call(e, rule, condition):
    out, call = [], {a: a for a in e.arguments}
    for v, n in rule.copy.items():
        out.append(f"        const conjugate_copy {v}1(*{n}, {v}, *inc{v});\n"
                   f"        if ({v}1.data == nullptr) return cblas_xerbla(0, me, \"no memory for a copy of a vector\\n\");")
        call[v], call["inc" + v] = f"{v}1.data", f"&{v}1.stride"
    for a in rule.scalars:
        if a not in e.routine.real:
            out.append(f"        const auto {a}1 = conjugate(*{a});")
            call[a] = f"&{a}1"
    turn = [f"        conjugate(*{n}, {v}, *inc{v});" for v, n in rule.turn.items()]
    name = e.name.removesuffix(e.routine.name) + (rule.target or e.routine.name)
    out += turn + [f"        VRN_HOST({name})({', '.join(call.values())});"] + turn + ["        return;"]
    return f"    if ({condition}) {{\n" + "\n".join(out) + "\n    }"


HEADER = """\
/* vrn/cblas.h - the C interface to the BLAS, of libvrn_blas. Plain C11. Generated from the table of routines.
 *
 * Integers and real scalars by value, complex scalars and all arrays by pointer; matrices by rows or by columns.
 * Complex results go through the last pointer, indices count from 0. With VRN_BLAS_ILP64 defined all integers have 64
 * bits and the library is libvrn_blas64. A bad argument goes to cblas_xerbla with its number, the layout being the
 * first, and nothing is written; cblas_xerbla prints it and ends the program, and a program may define its own.
 *
 * Blackford et al. (2002), An updated set of basic linear algebra subprograms (BLAS). */
#ifndef CBLAS_H /* the same guard as any other header of this interface: the first one counts */
#define CBLAS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef VRN_BLAS_ILP64
#define CBLAS_INT int64_t
#else
#define CBLAS_INT int32_t
#endif
#define CBLAS_INDEX size_t

typedef enum CBLAS_LAYOUT { CblasRowMajor = 101, CblasColMajor = 102 } CBLAS_LAYOUT;
typedef enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 } CBLAS_TRANSPOSE;
typedef enum CBLAS_UPLO { CblasUpper = 121, CblasLower = 122 } CBLAS_UPLO;
typedef enum CBLAS_DIAG { CblasNonUnit = 131, CblasUnit = 132 } CBLAS_DIAG;
typedef enum CBLAS_SIDE { CblasLeft = 141, CblasRight = 142 } CBLAS_SIDE;
#define CBLAS_ORDER CBLAS_LAYOUT

void cblas_xerbla(CBLAS_INT argument, const char* routine, const char* form, ...);
"""

FOOTER = """
#ifdef __cplusplus
}
#endif

#endif
"""


def header():
    out, last = [HEADER], None
    for e, name in names():
        if not in_cblas(e):
            continue
        if e.routine is not last:
            out.append("\n" + textwrap.fill(f"{e.routine.doc}.", 116, initial_indent="/* ",
                                            subsequent_indent=" * ") + " */")
            last = e.routine
        kind, symbol, parameters = cblas_head(e, name, "CBLAS_INT")
        out.append(textwrap.fill(f"{kind} {symbol}({parameters});", 118, subsequent_indent="    "))
    return "\n".join(out) + "\n" + FOOTER


def source(title, bodies):
    return (f"// Generated from the table of routines: {title}.\n#include \"interfaces/blas/entries.hpp\"\n\n"
            "extern \"C\" {\n\n" + "\n".join(bodies) + "\n} // extern \"C\"\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    made = {
        "fortran": lambda: source("the Fortran names", (fortran(e, name) for e, name in names())),
        "cblas": lambda: source("the C interface", ((cblas_matrix if isinstance(e.routine, Matrix) else cblas_vector)(
            e, name) for e, name in names() if in_cblas(e))),
        "header": header,
    }
    parser.add_argument("what", choices=made)
    parser.add_argument("--output", type=Path, required=True)
    args = parser.parse_args()
    args.output.parent.mkdir(parents=True, exist_ok=True)
    args.output.write_text(made[args.what]())


if __name__ == "__main__":
    main()
