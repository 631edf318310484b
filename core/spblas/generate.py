#!/usr/bin/env python3
"""Makes the public sparse BLAS from the table in routines.py.

    generate.py header --output vrn/spblas.h
    generate.py kernels --stems spblas/grammar --output kernels.inc
        for each type and integer width the back-end's names outside the grammar
    generate.py list
        the source files that `entries` writes, for CMake
    generate.py entries --directory DIR
"""
import argparse
import sys
import textwrap
from pathlib import Path

from routines import INDICES, INTEGERS, LETTERS, ROUTINES, SCALARS, TYPES

WIDTHS = {64: ("vrn_spblas_", "int64_t"), 32: ("vrn_spblas_lp64_", "int32_t")}
KERNELS = {64: "vrn_spblas_s42_", 32: "vrn_spblas_lp64_s42_"}
HOST = {"s": "float", "d": "double", "c": "vrn::simd::cplx<float>", "z": "vrn::simd::cplx<double>"}


def type_of(a, letter, integer):
    if a in LETTERS:
        return "char"
    return integer if a in INTEGERS | INDICES else TYPES[letter]


def parameters(r, letter, integer):
    return ", ".join(f"{'' if a in r.written else 'const '}{type_of(a, letter, integer)}* {a}" for a in r.arguments)


def header(args):
    out = [Path(__file__).with_name("preamble.h").read_text().rstrip()]
    for r in ROUTINES:
        text = f"{r.doc}."
        if r.checks:
            places = {a: r.arguments.index(a) + 1 for a, _ in r.checks}
            text += f" Reported when bad: {', '.join(f'{i} {a}' for a, i in places.items())}."
        out.append("\n" + textwrap.fill(text, 116, initial_indent="/* ", subsequent_indent=" * ") + " */")
        for letter in r.types:
            for family, integer in WIDTHS.values():
                out.append(textwrap.fill(f"void {family}{letter}{r.name}({parameters(r, letter, integer)});", 118,
                                         subsequent_indent="    "))
    out.append("\n#ifdef __cplusplus\n}\n#endif\n\n#endif\n")
    args.output.parent.mkdir(parents=True, exist_ok=True)
    args.output.write_text("\n".join(out))


def kernels(args):
    """struct kernels<T, I>: one function a stem, which gives the kernel with its argument list as type."""
    sys.path.insert(0, str(args.stems))
    from stems import OUTSIDE
    out = ["// Generated from the table of stems: the names outside the grammar."]
    declared = set()
    body = []
    for letter, element in HOST.items():
        for width, prefix in KERNELS.items():
            body.append(f"template <>\nstruct kernels<{element}, std::int{width}_t> {{\n    using T = {element};\n"
                        f"    using I = std::int{width}_t;")
            for s in OUTSIDE:
                if s.types and letter not in s.types:
                    continue
                name = prefix + s.stem.replace("?", letter)
                arguments = s.arguments or s.stem.replace("?", "")
                given = {"spmalloc": "", "spfree": ""}.get(arguments)
                if given is None:
                    given = f"<{element if s.types else 'void'}, std::int{width}_t>"
                if name not in declared:
                    declared.add(name)
                    out.append(f"VRN_KERNEL({name}, vrn::spblas::arguments::{arguments}{given});")
                body.append(f"    static auto {s.stem.replace('?', '')}() {{ return loader::backend(vrn_slot_{name}); }}")
            body.append("};")
    out += ["namespace vrn::spblas::host {", *body, "} // namespace vrn::spblas::host"]
    args.output.write_text("\n".join(out) + "\n")


def passed(r, a, letter, width):
    """An argument as the host's template takes it: integers and scalars by value, elements in the host's own type."""
    element = HOST[letter]
    constant = "" if a in r.written else "const "
    if a == "trans":
        return "op_of(trans)"
    if a == "descr":
        return f"describe<{element}>(descr)"
    if a in INTEGERS and a not in r.written or a in SCALARS:
        return f"*{a}" if letter in "sd" or a in INTEGERS else f"*reinterpret_cast<const {element}*>({a})"
    if a in LETTERS | INDICES | INTEGERS or letter in "sd":
        return a
    return f"reinterpret_cast<{constant}{element}*>({a})"


def entry(r, letter, width):
    family, integer = WIDTHS[width]
    element = HOST[letter]
    name = f"{letter}{r.name}".upper()
    out = [f"void {family}{letter}{r.name}({parameters(r, letter, integer)})", "{"]
    for a, bad in r.checks:
        bad = bad.replace("{letters}", '"NTC"' if letter in "sd" else '"NT"')
        out.append(f"    if ({bad}) return report(\"{name}\", {r.arguments.index(a) + 1});")
    arguments = list(r.arguments)
    if r.view:
        from routines import FORMATS
        f = FORMATS[r.view]
        arrays = f.arrays.split()
        members = [a if a in INTEGERS else passed(r, a, letter, width) for a in arrays]
        if f.blocked:
            members.append("lb")
        out.append(f"    const {r.view}_view<{element}, {integer}> stored{{{', '.join(members)}}};")
        number = r.arguments.index(arrays[0]) + 1
        out.append(f"    if (checking())\n        if (const int bad = fault(stored, {r.faults}, "
                   f"describe<{element}>(descr)); bad >= 0) return report(\"{name}\", {number} + bad);")
        call = ["stored"] + [passed(r, a, letter, width) for a in arguments if a not in arrays + ["lb"]]
    else:
        call = [passed(r, a, letter, width) for a in arguments]
    given = f"<{element}, {integer}>"
    out += [f"    vrn::spblas::host::{r.driver}{given}({', '.join(call)});", "}"]
    if r.also:
        second = family + r.also.replace("?", letter)
        out.append(f"[[gnu::alias(\"{family}{letter}{r.name}\")]] void {second}({parameters(r, letter, integer)});")
    return "\n".join(out) + "\n"


def files():
    return {f"entries_{letter}{width}.cpp": (letter, width) for letter in TYPES for width in WIDTHS}


def entries(args):
    args.directory.mkdir(parents=True, exist_ok=True)
    for file, (letter, width) in files().items():
        out = ["// Generated from the table of routines: the public sparse BLAS, checked.",
               "#include \"core/spblas/entries.hpp\"", "", "using namespace vrn::spblas::host;", "extern \"C\" {"]
        out += [entry(r, letter, width) for r in ROUTINES if letter in r.types]
        out.append("} // extern \"C\"")
        (args.directory / file).write_text("\n".join(out) + "\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True)
    p = commands.add_parser("header")
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=header)
    p = commands.add_parser("kernels")
    p.add_argument("--stems", type=Path, required=True)
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=kernels)
    p = commands.add_parser("list")
    p.set_defaults(run=lambda args: print(";".join(files()), end=""))
    p = commands.add_parser("entries")
    p.add_argument("--directory", type=Path, required=True)
    p.set_defaults(run=entries)
    args = parser.parse_args()
    args.run(args)


if __name__ == "__main__":
    main()
