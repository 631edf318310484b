#!/usr/bin/env python3
"""The name lists as code: what the build generates from frame/exports.txt and frame/imports.txt.

    names.py version-script --names LIST --version TAG --output FILE
        the linker's version script that exports exactly the names of LIST
    names.py slots --names LIST --output FILE
        assembly of the host's table: one eight-byte slot a name, vrn_slot_<name>, and the names as text
    names.py pending --names LIST --imports LIST --stem FILE [used] OBJECT...
        FILE.S: loud bodies for the names that no object defines; FILE.txt: those names.
        With `used` FILE.S also refers to the imports that no object uses yet.
    names.py count LIBRARY
        real and pending names of a built back-end by family, read from the library itself
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path

# Longest first: the first prefix that fits is the family.
FAMILIES = [
    "vrn_blas_lp64_", "vrn_blas_s42_", "vrn_lapack_ps_s42_", "vrn_xblas_s42_", "vrn_dft_s42_",
    "vrn_pdepl_s42_", "vrn_pdett_s42_", "vrn_trans_s42_", "vrn_conv_s42_", "vrn_spblas_lp64_s42_",
    "vrn_spblas_s42_", "vrn_sparse_", "dll_cpu_version",
]


def family(name):
    return next(f for f in FAMILIES if name.startswith(f))


def read_names(path):
    return Path(path).read_text().split()


def symbols(nm, objects):
    """(defined, undefined) global names of the objects, symbol versions stripped."""
    defined, undefined = set(), set()
    text = subprocess.run([nm, "-g", *objects], check=True, capture_output=True, text=True).stdout
    for line in text.splitlines():
        match = re.match(r"(?:[0-9a-f]+| +) ([A-Za-z]) (\S+)$", line)
        if match:
            kind, name = match.groups()
            (undefined if kind == "U" else defined).add(name.split("@")[0])
    return defined, undefined


def version_script(args):
    names = "\n".join(f"    {n};" for n in read_names(args.names))
    args.output.write_text(f"{args.version} {{\n  global:\n{names}\n  local: *;\n}};\n")


def slots(args):
    names = read_names(args.names)
    out = [
        "# Generated. The host's road into the back-end: one pointer a name, filled by the loader.",
        "    .section .note.GNU-stack,\"\",@progbits",
        "    .bss", "    .balign 64",
        "    .globl vrn_slots", "    .hidden vrn_slots", "    .type vrn_slots,@object", "vrn_slots:",
    ]
    for n in names:
        out += [f"    .globl vrn_slot_{n}", f"    .hidden vrn_slot_{n}", f"    .type vrn_slot_{n},@object",
                f"    .size vrn_slot_{n}, 8", f"vrn_slot_{n}: .zero 8"]
    out += ["    .section .rodata", "    .globl vrn_slot_names", "    .hidden vrn_slot_names",
            "    .type vrn_slot_names,@object", "vrn_slot_names:"]
    out += [f"    .asciz \"{n}\"" for n in names] + ["    .asciz \"\"", ""]
    args.output.write_text("\n".join(out))


def pending(args):
    defined, undefined = symbols(args.nm, args.objects)
    names = [n for n in read_names(args.names) if n not in defined]
    out = [
        "# Generated. Names without a body yet: each hands its name to vrn_frame_pending, which prints it and",
        "# aborts. They lie in a section of their own, so that a built library can be asked for them.",
        "    .section .note.GNU-stack,\"\",@progbits",
        "    .section .rodata.pending,\"aMS\",@progbits,1",
    ]
    out += [f".Ln{i}: .asciz \"{n}\"" for i, n in enumerate(names)]
    out += ["    .section .pending,\"ax\",@progbits"]
    for i, n in enumerate(names):
        out += [f"    .globl {n}", f"    .type {n},@function",
                f"{n}: leaq .Ln{i}(%rip), %rdi", "    jmp vrn_frame_pending", f"    .size {n}, .-{n}"]
    if args.used:
        unused = [n for n in read_names(args.imports) if n not in undefined]
        out += ["    .section .data.rel.ro,\"aw\",@progbits", "    .balign 8"]
        out += [f"    .quad {n}" for n in unused]
    args.stem.with_suffix(".S").write_text("\n".join(out) + "\n")
    args.stem.with_suffix(".txt").write_text("".join(n + "\n" for n in names))


def pending_of(library, nm="nm", readelf="readelf"):
    """(names, pending names) of a built library, from its symbols and the bounds of section .pending."""
    sections = subprocess.run([readelf, "-SW", library], check=True, capture_output=True, text=True).stdout
    match = re.search(r"\.pending\s+PROGBITS\s+([0-9a-f]+)\s+[0-9a-f]+\s+([0-9a-f]+)", sections)
    low, size = (int(match[1], 16), int(match[2], 16)) if match else (0, 0)
    text = subprocess.run([nm, "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    entries = [line.split() for line in text.splitlines()]
    functions = {e[2].split("@")[0]: int(e[0], 16) for e in entries if len(e) == 3 and e[1] in "TtWw"}
    return sorted(functions), sorted(n for n, a in functions.items() if low <= a < low + size)


def count(args):
    names, unwritten = pending_of(args.library)
    unwritten = set(unwritten)
    groups = {}
    for n in names:
        try:
            groups.setdefault(family(n), []).append(n)
        except StopIteration:
            print(f"{n}: in no family", file=sys.stderr)
            return 1
    print(f"{'family':24}{'names':>8}{'real':>8}{'pending':>9}")
    for f in sorted(groups):
        waiting = sum(n in unwritten for n in groups[f])
        print(f"{f:24}{len(groups[f]):8}{len(groups[f]) - waiting:8}{waiting:9}")
    print(f"{'all':24}{len(names):8}{len(names) - len(unwritten):8}{len(unwritten):9}")
    if args.list:
        print("\n".join(sorted(unwritten)))
    return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True)
    p = commands.add_parser("version-script")
    p.add_argument("--names", required=True)
    p.add_argument("--version", required=True)
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=version_script)
    p = commands.add_parser("slots")
    p.add_argument("--names", required=True)
    p.add_argument("--output", type=Path, required=True)
    p.set_defaults(run=slots)
    p = commands.add_parser("pending")
    p.add_argument("--nm", default="nm")
    p.add_argument("--names", required=True)
    p.add_argument("--imports", required=True)
    p.add_argument("--stem", type=Path, required=True)
    p.add_argument("--used", action="store_true")
    p.add_argument("objects", nargs="+")
    p.set_defaults(run=pending)
    p = commands.add_parser("count")
    p.add_argument("library")
    p.add_argument("--list", action="store_true", help="print the pending names too")
    p.set_defaults(run=count)
    args = parser.parse_args()
    return args.run(args) or 0


if __name__ == "__main__":
    sys.exit(main())
