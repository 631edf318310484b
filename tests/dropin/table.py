#!/usr/bin/env python3
"""The routines as rows of a C++ table: name, precision, result, and each argument's name with its kind:
o option, i integer, x positions, r and c real and complex scalar, R and C real and complex array."""
import sys
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parents[2] / folder) for folder in ("core/blas", "interfaces/blas")]
from faces import in_cblas, names
from routines import REAL, Matrix

with open(sys.argv[1], "w") as out:
    for e, name in names():
        def kind(a):
            whole = e.kind(a)
            if whole in ("integer", "option", "indices"):
                return {"integer": "i", "option": "o", "indices": "x"}[whole]
            letter = "c" if REAL[e.type(a, "")] != e.type(a, "") else "r"
            return letter.upper() if whole == "array" else letter
        precision = "s" if REAL[e.element] == "float" else "d"
        result = {None: "v", "complex": "c", "index": "i", "real": {"float": "s"}.get(e.returned, "d")}[e.routine.result]
        arguments = ", ".join(f"{{\"{a}\", '{kind(a)}'}}" for a in e.arguments)
        stem = e.routine.also if name != e.name else e.routine.name
        layout = int(isinstance(e.routine, Matrix))
        out.write(f"{{\"{name}\", \"{stem}\", '{precision}', '{result}', {int(in_cblas(e))}, {layout}, "
                  f"{{{arguments}}}}},\n")
