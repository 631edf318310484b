#!/usr/bin/env python3
"""Assembly of a library that looks like the back-end: every name, no work.

    fake_backend.py --names LIST --tier N [--without NAME]... --output FILE
"""
import argparse
from pathlib import Path

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("--names", type=Path, required=True)
parser.add_argument("--tier", type=int, required=True)
parser.add_argument("--without", action="append", default=[])
parser.add_argument("--output", type=Path, required=True)
args = parser.parse_args()

out = ["    .section .note.GNU-stack,\"\",@progbits", "    .text"]
for name in args.names.read_text().split():
    if name in args.without:
        continue
    work = f"movl ${args.tier}, %eax; " if name == "dll_cpu_version" else ""
    out.append(f"    .globl {name}\n    .type {name},@function\n{name}: {work}ret")
args.output.write_text("\n".join(out) + "\n")
