#!/usr/bin/env python3
"""Makes the classic sparse kernels' names from the table in stems.py.

    generate.py list
        the source files that `sources` writes, for CMake
    generate.py sources --exports frame/exports.txt --arguments spblas/arguments.hpp --directory DIR
        DIR/<format>_<product>_<type><width>.cpp: exported functions over the templates that are written
    generate.py table --exports frame/exports.txt --output stems.inc
        every name with its letters, as rows of a macro that tests and the host define

All stop when the table and frame/exports.txt name different stems.
"""
import argparse
import re
import sys
from collections import defaultdict
from dataclasses import dataclass
from pathlib import Path

from stems import GROUPS, OUTSIDE, ROWS, WRITTEN

PREFIXES = {64: "vrn_spblas_s42_", 32: "vrn_spblas_lp64_s42_"}
ELEMENTS = {"s": "float", "d": "double", "c": "cplx<float>", "z": "cplx<double>"}


@dataclass
class Stem:
    name: str
    type: str
    folder: str             # spblas/<folder>/<header>.hpp holds the template
    header: str
    arguments: str
    kernel: str             # the template with its arguments but for types; "" where the name stands by hand
    written: bool
    letters: tuple = ()     # base, op, class, triangle, diagonal, layout, product, mode


def grammar_stems():
    for row in ROWS:
        for letter in row.types:
            for ops in (row.complex if letter in "cz" else row.real).split(";"):
                op, classes = ops.split(":")
                classes = [c for group in classes.split() for c in GROUPS.get(group, group).split()]
                for place in row.places.split():
                    for shape in classes:
                        base, layout, op = place[0], place[1], op.strip()
                        tag = f"tag{{{base}, {', '.join(repr(c) for c in op + shape + layout)}}}"
                        yield Stem(f"{letter}{row.format}{base}{op}{shape}{layout}__{row.product}out_{row.mode}", letter,
                                   row.format, row.product, row.arguments,
                                   f"{row.format}::{row.arguments.removeprefix(row.format + '_')}<T, I, {tag}>",
                                   row.product in WRITTEN.get(row.format, ()),
                                   (base, op, *shape, layout, row.product, row.mode))


def outside_stems():
    for out in OUTSIDE:
        for letter in out.types or "-":
            yield Stem(out.stem.replace("?", letter), letter, out.folder, out.header, out.arguments, out.kernel,
                       (out.header or "hand") in WRITTEN.get(out.folder, ()))


def all_stems():
    return [*grammar_stems(), *outside_stems()]


def check(exports):
    """The table against the contract, both ways and in both widths."""
    names = Path(exports).read_text().split()
    stated = [s.name for s in all_stems()]
    failed = len(stated) != len(set(stated))
    for n in sorted({n for n in stated if stated.count(n) > 1} if failed else ()):
        print(f"stated twice: {n}", file=sys.stderr)
    for prefix in PREFIXES.values():
        contract = {n.removeprefix(prefix) for n in names if n.startswith(prefix)}
        for n in sorted(set(stated) ^ contract):
            failed = True
            print(f"{prefix}{n}: {'exported and not in the table' if n in contract else 'in the table alone'}",
                  file=sys.stderr)
    if failed:
        sys.exit("spblas/grammar/stems.py and frame/exports.txt name different stems")


def files():
    """Stems by the file that holds them. One file for each type and width of a product, so that the build spreads."""
    result = defaultdict(list)
    for s in all_stems():
        if s.written and s.kernel:
            for width in PREFIXES:
                type = s.type if s.type in ELEMENTS else "x"
                result[f"{s.folder}_{s.header}_{type}{width}.cpp", width].append(s)
    return result


def read_arguments(path):
    """name: [(type, argument)] of every `using name = void(...)`."""
    lists = {}
    for name, text in re.findall(r"using (\w+) = void\(([^)]*)\);", Path(path).read_text()):
        lists[name] = [tuple(re.match(r"\s*(.*?)(\w+)\s*$", a, re.S).groups()) for a in text.split(",")]
    return lists


def write(path, text):
    """Untouched where nothing changed, so that nothing is compiled again."""
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


def sources(args):
    check(args.exports)
    lists = read_arguments(args.arguments)
    args.directory.mkdir(parents=True, exist_ok=True)
    for (file, width), stems in files().items():
        element = ELEMENTS.get(stems[0].type, "void")
        out = ["// Generated from spblas/grammar/stems.py.",
               *sorted({f'#include "spblas/{s.folder}/{s.header}.hpp"' for s in stems}),
               '#include "frame/export.hpp"', "", "using namespace vrn::spblas;", f"using T = {element};",
               f"using I = std::int{width}_t;", ""]
        for s in stems:
            parameters = lists[s.arguments]
            passed = ", ".join(a for _, a in parameters)
            stated = ", ".join(t + a for t, a in parameters)
            out += [f"VRN_EXPORT void {PREFIXES[width]}{s.name}({stated})", f"{{ {s.kernel}({passed}); }}",
                    f"extern \"C\" arguments::{s.arguments}<T, I> {PREFIXES[width]}{s.name};"]
        write(args.directory / file, "\n".join(out) + "\n")


def table(args):
    check(args.exports)
    out = ["// Generated. VRN_STEM(name, type, width, format, base, op, class, triangle, diagonal, layout, product, mode,",
           "// arguments, written) for every name of the grammar, VRN_STEM_OUTSIDE(name, type, width, folder, arguments,",
           "// written) for the others; define what you need before including."]
    macros = ("VRN_STEM", "VRN_STEM_OUTSIDE")
    for m in macros:
        out += [f"#ifndef {m}", f"#define {m}(...)", "#endif"]
    for width, prefix in PREFIXES.items():
        for s in all_stems():
            head = f"{prefix}{s.name}, '{s.type}', {width}, {s.folder}"
            tail = f"{s.arguments or 'none'}, {int(s.written)})"
            if s.letters:
                base, *chars, product, mode = s.letters
                letters = ", ".join(f"'{c}'" for c in chars)
                out.append(f"VRN_STEM({head}, {base}, {letters}, {product}, {mode}, {tail}")
            else:
                out.append(f"VRN_STEM_OUTSIDE({head}, {tail}")
    out += [f"#undef {m}" for m in macros]
    args.output.parent.mkdir(parents=True, exist_ok=True)
    write(args.output, "\n".join(out) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True)
    p = commands.add_parser("list")
    p.set_defaults(run=lambda args: print(";".join(sorted(file for file, _ in files())), end=""))
    p = commands.add_parser("sources")
    p.add_argument("--exports", required=True)
    p.add_argument("--arguments", required=True)
    p.add_argument("--directory", type=Path, required=True)
    p.set_defaults(run=sources)
    p = commands.add_parser("table")
    p.add_argument("--exports", required=True)
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=table)
    args = parser.parse_args()
    args.run(args)


if __name__ == "__main__":
    main()
