#!/usr/bin/env python3
"""Makes the public BLAS from the table in routines.py.

    generate.py header --output vrn/blas.h
    generate.py entries --exports frame/exports.txt --output entries.cpp
"""
import argparse
import textwrap
from pathlib import Path

from routines import C, INTEGERS, OPTIONS, PREFIXES, ROUTINES, SCALARS

WIDTHS = (("vrn_blas_", "int64_t"), ("vrn_blas_lp64_", "int32_t"))


class Entry:
    """One routine in one type."""

    def __init__(self, routine, prefix):
        self.routine = routine
        self.element, self.scalar, self.returned = PREFIXES[prefix]
        self.name = prefix + routine.name
        self.written = {a[:-1] for a in routine.arguments if a.endswith("!")}
        # `c` is a matrix where it is written and a scalar where it is not.
        self.arguments = [a.rstrip("!") for a in routine.arguments]
        if routine.name == "cabs1":
            self.element = C if prefix == "s" else "vrn_complex16"

    def kind(self, a):
        if a in self.written:
            return "array"
        if a in INTEGERS:
            return "integer"
        if a in OPTIONS:
            return "option"
        return "scalar" if a in SCALARS else "array"

    def parameter(self, a, integer):
        kind = self.kind(a)
        if kind == "integer":
            return f"const {integer}* {a}"
        if kind == "option":
            return f"const char* {a}"
        if kind == "scalar":
            real = {"vrn_complex8": "float", "vrn_complex16": "double"}.get(self.scalar, self.scalar)
            return f"const {real if a in self.routine.real else self.scalar}* {a}"
        return f"{'' if a in self.written else 'const '}{self.element}* {a}"

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
 * Levels 1 and 3 are those of Lawson, Hanson, Kincaid and Krogh (1979) and Dongarra, Du Croz, Hammarling and Duff
 * (1990). */
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
    call = []
    for a in e.arguments:
        if e.kind(a) == "integer" and not wide:
            out.append(f"    const int64_t {a}64 = *{a};")
            call.append(f"&{a}64")
        else:
            call.append(a)
    if r.result == "complex":
        call.insert(0, "result")
    target = f"vrn::blas::{r.driver}" if r.driver else f"backend(vrn_slot_{kernel})"
    cast = "static_cast<int32_t>" if r.result == "index" and not wide else ""
    value = f"{target}({', '.join(call)})"
    out.append(f"    {'' if e.result(integer) == 'void' else 'return '}{f'{cast}({value})' if cast else value};")
    return f"{e.result(integer)} {family}{e.name}({e.parameters(integer)})\n{{\n" + "\n".join(out) + "\n}\n"


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
