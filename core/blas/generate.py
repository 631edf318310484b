#!/usr/bin/env python3
"""Makes the public BLAS from the table in routines.py.

    generate.py header --output vrn/blas.h
    generate.py entries --exports frame/exports.txt --output entries.cpp
"""
import argparse
import textwrap
from pathlib import Path

from routines import C, INTEGERS, OPTIONS, PREFIXES, REAL, ROUTINES, SCALARS

WIDTHS = (("vrn_blas_", "int64_t"), ("vrn_blas_lp64_", "int32_t"))


class Entry:
    """One routine in one type."""

    def __init__(self, routine, prefix):
        self.routine, self.arguments = routine, routine.arguments
        self.element, self.scalar, self.returned = PREFIXES[prefix]
        self.name = prefix + routine.name
        if routine.name == "cabs1":
            self.element = C if prefix == "s" else "vrn_complex16"

    def kind(self, a):
        if a == "indx":
            return "indices"
        if a in INTEGERS:
            return "integer"
        if a in OPTIONS:
            return "option"
        # `c` is a matrix where it is written and a scalar where it is not.
        return "scalar" if a in SCALARS and a not in self.routine.written else "array"

    def type(self, a, integer):
        """What an argument points to."""
        kind = self.kind(a)
        if kind in ("integer", "indices"):
            return integer
        if kind == "option":
            return "char"
        whole = self.scalar if kind == "scalar" else self.element
        return REAL[whole] if a in self.routine.real else whole

    def parameter(self, a, integer):
        return f"{'' if a in self.routine.written else 'const '}{self.type(a, integer)}* {a}"

    def parameters(self, integer):
        hidden = [f"{self.element}* result"] if self.routine.result == "complex" else []
        return ", ".join(hidden + [self.parameter(a, integer) for a in self.arguments])

    def result(self, integer):
        return {None: "void", "complex": "void", "index": integer, "real": self.returned}[self.routine.result]


def entries():
    for routine in ROUTINES:
        for prefix in routine.prefixes:
            yield Entry(routine, prefix)


HEADER = """\
/* vrn/blas.h - the public BLAS of vrn. Plain C11. Generated from the table of routines.
 *
 * Every argument is passed by reference, in published order; matrices are column-major. Names under vrn_blas_ take
 * 64-bit integers, their twins under vrn_blas_lp64_ take 32-bit integers. A vector of n elements with stride inc
 * occupies 1 + (n-1)|inc| elements; with a negative stride its first element is the last in memory. Complex numbers
 * are adjacent real, imaginary pairs; a complex result is written through a first pointer.
 *
 * A bad argument is reported once, with its published number, by vrn_serv_xerbla (see vrn_set_xerbla in
 * vrn/service.h), and nothing is written.
 *
 * Level 1 is that of Lawson, Hanson, Kincaid and Krogh (1979), on sparse vectors that of Dodson, Grimes and Lewis
 * (1991); level 2 that of Dongarra, Du Croz, Hammarling and Hanson (1988), level 3 that of Dongarra, Du Croz, Hammarling
 * and Duff (1990). In levels 2 and 3 a result that is scaled by a beta of zero is written and not read. */
#ifndef VRN_BLAS_H
#define VRN_BLAS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct { float real, imag; } vrn_complex8;
typedef struct { double real, imag; } vrn_complex16;
"""

FOOTER = """
#ifdef __cplusplus
}
#endif

#endif
"""


def header(args):
    out = [HEADER]
    last = None
    for e in entries():
        if e.routine is not last:
            text = f"{e.routine.doc}."
            if e.routine.checks:
                places = [f"{e.arguments.index(a) + 1} {a}" for a, _ in e.routine.checks]
                text += f" Reported when bad: {', '.join(places)}."
            out.append("\n" + textwrap.fill(text, 116, initial_indent="/* ", subsequent_indent=" * ") + " */")
            last = e.routine
        for family, integer in WIDTHS:
            out.append(textwrap.fill(f"{e.result(integer)} {family}{e.name}({e.parameters(integer)});", 118,
                                     subsequent_indent="    "))
    args.output.parent.mkdir(parents=True, exist_ok=True)
    args.output.write_text("\n".join(out) + "\n" + FOOTER)


def kernel_name(entry, exported):
    for candidate in (f"vrn_blas_s42_x{entry.name}", f"vrn_blas_s42_{entry.name}"):
        if candidate in exported:
            return candidate
    raise SystemExit(f"no kernel for {entry.name}")


def body(entry, kernel, family, integer):
    e, r = entry, entry.routine
    wide = integer == "int64_t"
    out = []
    zero = " 0" if r.result in ("real", "index") else ""
    for a, bad in r.checks:
        out.append(f"    if ({bad}) return report(\"{e.name.upper()}\", {e.arguments.index(a) + 1});")
    if r.guard:
        out.append(f"    if ({r.guard}) return{zero};")
    target = f"vrn::blas::{r.driver}" if r.driver else f"backend(vrn_slot_{kernel})"
    if not wide and "indx" in e.arguments:
        out.append(in_pieces(e, target))
    else:
        call = ["result"] if r.result == "complex" else []
        for a in e.arguments:
            narrow = e.kind(a) == "integer" and not wide
            if narrow:
                out.append(f"    const int64_t {a}64 = *{a};")
            call.append(f"&{a}64" if narrow else a)
        cast = "static_cast<int32_t>" if r.result == "index" and not wide else ""
        value = f"{target}({', '.join(call)})"
        out.append(f"    {'' if e.result(integer) == 'void' else 'return '}{f'{cast}({value})' if cast else value};")
    return f"{e.result(integer)} {family}{e.name}({e.parameters(integer)})\n{{\n" + "\n".join(out) + "\n}\n"


def in_pieces(e, target):
    """The call of a kernel with 64-bit positions from 32-bit ones."""
    sparse = {"nz": "&count", "indx": "positions", "x": "x + from"}
    call = [sparse.get(a, a) for a in e.arguments]
    piece = "const int64_t* positions, int64_t count, int64_t from"
    if e.routine.result is None:
        return f"    with_wide_positions(*nz, indx, [&]({piece}) {{ {target}({', '.join(call)}); }});"
    real = e.routine.result == "real"
    part = f"{target}({', '.join(call if real else ['&part'] + call)})"
    return (f"    {e.returned if real else e.element} sum{{}}{'' if real else ', part'};\n"
            f"    with_wide_positions(*nz, indx, [&]({piece}) {{\n"
            f"        {f'const auto part = {part}' if real else part};\n"
            f"        sum = from == 0 ? part : sum_of(sum, part);\n"
            f"    }});\n"
            f"    {'return sum' if real else '*result = sum'};")


def sources(args):
    exported = set(args.exports.read_text().split())
    out = ["// Generated from the table of routines: the public BLAS, checked, in both integer widths.\n"
           "#include \"core/blas/entries.hpp\"\n"]
    found = []
    for e in entries():
        kernel = None if e.routine.driver else kernel_name(e, exported)
        if kernel:
            out.append(f"VRN_KERNEL({kernel}, {e.result('int64_t')}({e.parameters('int64_t')}));")
        found.append((e, kernel))
    out.append("\nextern \"C\" {\n")
    for e, kernel in found:
        for family, integer in WIDTHS:
            out.append(body(e, kernel, family, integer))
    out.append("} // extern \"C\"")
    args.output.write_text("\n".join(out) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True)
    p = commands.add_parser("header")
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=header)
    p = commands.add_parser("entries")
    p.add_argument("--exports", type=Path, required=True)
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=sources)
    args = parser.parse_args()
    args.run(args)


if __name__ == "__main__":
    main()
