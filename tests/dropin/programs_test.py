#!/usr/bin/env python3
"""Programs of others on the drop-in: each of three ways against the distribution's reference library.

    programs_test.py python|lapack|verbose|errors --lib DIR [--cc CC]

python   NumPy and SciPy, as in scientific.py
lapack   the distribution's LAPACK from C, as in lapack.c
verbose  VRN_BLAS_VERBOSE tells what a program runs on
errors   a bad argument ends a program that has no xerbla_ of its own
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
SYSTEM = Path("/usr/lib/x86_64-linux-gnu")
PYTHON = "/usr/bin/python3"     # the distribution's, whose NumPy asks for libblas.so.3


def ways(lib):
    """Environments: the reference library, and ours by file name and by preloading."""
    lapack = SYSTEM / "lapack"  # the reference LAPACK, whichever the alternatives point to
    paths = {"reference": {"LD_LIBRARY_PATH": f"{SYSTEM / 'blas'}:{lapack}"},
             "provider": {"LD_LIBRARY_PATH": f"{lib / 'vrn'}:{lapack}"},
             "preload": {"LD_LIBRARY_PATH": f"{SYSTEM / 'blas'}:{lapack}", "LD_PRELOAD": str(lib / "libvrn_blas.so")}}
    return {way: dict(os.environ, OMP_NUM_THREADS="2", **settings) for way, settings in paths.items()}


def run(command, env=None):
    done = subprocess.run([str(c) for c in command], env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}exit status {done.returncode}")
    return done


def python(args, work):
    import numpy as np
    outcome = {}
    for way, env in ways(args.lib).items():
        used = run([PYTHON, HERE / "scientific.py", work / f"{way}.npz"], env).stdout
        ours = "libvrn_s42.so" in used
        assert ours == (way != "reference"), f"{way} ran on\n{used}"
        outcome[way] = np.load(work / f"{way}.npz")
    for way in ("provider", "preload"):
        for name, reference in outcome["reference"].items():
            kind, size = name.split(" ")[0], len(reference)
            norms = outcome["reference"][f"{kind} norms"]
            bound = 20 * size * np.finfo(reference.dtype).eps * max(norms)   # both within 10 n eps of the true values
            off = np.max(np.abs(outcome[way][name] - reference))
            assert off <= bound, f"{way}: {name} are off by {off}, bound {bound}"


def lapack(args, work):
    program = work / "lapack"
    # Linked with the drop-in itself, its names come before those of the library that LAPACK asks for.
    for way, flags in {"linked": [f"-L{args.lib}", "-lvrn_blas", f"-Wl,-rpath,{args.lib}"], "asked": []}.items():
        run([args.cc, "-O1", HERE / "lapack.c", "-o", program, "-Wl,--no-as-needed", *flags,
             SYSTEM / "lapack/liblapack.so.3", "-Wl,--allow-shlib-undefined", "-lm"])
        for name, env in ways(args.lib).items():
            if way == "linked" and name != "reference":
                continue
            told = run([program], dict(env, VRN_BLAS_VERBOSE="1"))
            ours = told.stderr.startswith("vrn ")
            assert ours == ((way, name) != ("asked", "reference")), f"{way} {name}: {told.stderr}"


def verbose(args, work):
    env = ways(args.lib)["provider"]
    program = "import numpy as n; a = n.ones((3, 4)); a @ a.T; a @ n.ones((4, 5))"
    told = [run([PYTHON, "-c", program], dict(env, VRN_BLAS_VERBOSE=level)).stderr for level in ("0", "1", "2")]
    assert told[0] == "", told[0]
    assert re.fullmatch(r"vrn \d.*vrn/libblas\.so\.3 on .*, \d+ threads?\n", told[1]), told[1]
    # Importing NumPy makes calls of its own.
    last = told[2].splitlines()[-1]
    assert told[2].startswith(told[1]) and last.startswith("vrn: cblas_dgemm ") and " m=3 n=5 k=4" in last, told[2]


def errors(args, work):
    """In a child each, since it ends there."""
    library = f"import ctypes as c; b = c.CDLL({str(args.lib / 'libvrn_blas.so')!r}); n = c.byref(c.c_int(7)); "
    for call, said in {
        "b.dgemm_(b'N', b'X', *[n] * 11)": " ** On entry to DGEMM parameter number  2 had an illegal value\n",
        "b.xerbla_(b'ZOO   rest', n, c.c_size_t(6))": " ** On entry to ZOO parameter number  7 had an illegal value\n",
        "b.xerbla_array_(b'SEVENTHrest', n, n)": " ** On entry to SEVENTH parameter number  7 had an illegal value\n",
        "b.cblas_dtrsv(102, 99, 111, 131, 7, n, 7, n, 1)":
            "Parameter 2 to routine cblas_dtrsv was incorrect\nuplo has no value 99 here\n",
        "raise SystemExit(b.lsame_(b'u', b'U') and not b.lsame_(b'`', b'@'))": "",
    }.items():
        done = subprocess.run([PYTHON, "-c", library + call], capture_output=True, text=True)
        assert (done.returncode, done.stdout, done.stderr) == (1, "", said), f"{call}: {done}"


def main():
    parser = argparse.ArgumentParser()
    tests = {f.__name__: f for f in (python, lapack, verbose, errors)}
    parser.add_argument("what", choices=tests)
    parser.add_argument("--lib", type=Path, required=True)
    parser.add_argument("--cc", default="cc")
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="vrn-dropin-") as work:
        tests[args.what](args, Path(work))


if __name__ == "__main__":
    main()
