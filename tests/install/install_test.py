#!/usr/bin/env python3
"""Installs the built library into a temporary prefix, moves it, and builds and runs programs against it.

    install_test.py headers|cmake|pkgconfig|package --build DIR --source DIR --cmake CMAKE --cc CC --cxx CXX
                    --version VERSION

headers    every installed header compiles alone, as strict C11 and as C++
cmake      find_package(vrn), in C and in C++
pkgconfig  pkg-config vrn, in C and in C++
package    the .deb, unpacked to a root of its own

Exit status 77 means skipped; the reason is the last line.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

OUTSIDE = Path(__file__).parent / "outside"
WARNINGS = ["-Wall", "-Wextra", "-Werror", "-pedantic-errors"]
DIALECTS = {"c": ["-std=c11"], "cpp": ["-std=c++11"]}
EXPECTED = "12 24 36 48\n"


def run(*command, **options):
    done = subprocess.run([str(c) for c in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}exit status {done.returncode}")
    return done.stdout


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(77)


def check(condition, complaint):
    if not condition:
        sys.exit(complaint)


def check_program(program, prefix, **options):
    """The program runs right, on the libraries of this prefix and no others."""
    said = run(program, **options)
    check(said == EXPECTED, f"{program} said {said!r} instead of {EXPECTED!r}")
    used = [line for line in run("ldd", program, **options).splitlines() if "libvrn" in line]
    check(used and all(str(prefix) in line for line in used), f"{program} uses {used}, not {prefix}")


def installed(args, work):
    """A prefix with the library, moved after it was installed, that knows nothing of where it came from."""
    run(args.cmake, "--install", args.build, "--prefix", work / "first")
    prefix = (work / "first").rename(work / "moved")
    # Whole paths only: a source folder /vrn is no part of lib/cmake/vrn.
    strangers = "|".join(re.escape(str(p)) for p in (args.source, args.build, work / "first"))
    pattern = re.compile(rf"(?<![\w.}}-])({strangers})(?![\w.-])".encode())
    for path in prefix.rglob("*"):
        mention = pattern.search(path.read_bytes()) if path.is_file() else None
        check(mention is None, f"{path} mentions {mention and mention[0].decode()}")
    return prefix


def headers(args, work):
    include = installed(args, work) / "include"
    found = sorted(include.rglob("*.h"))
    check({"blas.h", "service.h"} <= {h.name for h in found}, f"headers missing, there are {found}")
    for header in found:
        for language, dialects in {"c": ["c11", "c17"], "c++": ["c++11", "c++20"]}.items():
            for dialect in dialects:
                run(args.cc if language == "c" else args.cxx, f"-std={dialect}", *WARNINGS, "-fsyntax-only", "-x",
                    language, "-I", include, "-include", header.relative_to(include), os.devnull)


def cmake(args, work):
    prefix = installed(args, work)
    ninja = ["-G", "Ninja"] if shutil.which("ninja") else []
    major, minor, _ = args.version.split(".")
    configure = [args.cmake, *ninja, "-S", OUTSIDE, f"-DCMAKE_PREFIX_PATH={prefix}",
                 f"-DCMAKE_C_COMPILER={args.cc}", f"-DCMAKE_CXX_COMPILER={args.cxx}"]
    run(*configure, "-B", work / "build", f"-DWANTED={major}.{minor}")
    run(args.cmake, "--build", work / "build")
    for program in ("use_c", "use_cpp"):
        check_program(work / "build" / program, prefix)
    # A version that this one does not serve is not found.
    refused = subprocess.run([str(c) for c in configure] + ["-B", work / "none", f"-DWANTED={int(major) + 1}.0"],
                             capture_output=True, text=True)
    check(refused.returncode != 0 and "compatible" in refused.stderr, "find_package took any version")


def pkg_config(prefix, **environment):
    tool = shutil.which("pkg-config") or skip("no pkg-config on this machine")
    folder = next(prefix.rglob("vrn.pc")).parent
    environment = dict(os.environ, PKG_CONFIG_PATH=str(folder), **environment)
    return lambda *what: run(tool, *what, "vrn", env=environment).split()


def build_with(args, work, flags, run_path):
    for suffix, compiler in (("c", args.cc), ("cpp", args.cxx)):
        program = work / f"use_{suffix}"
        run(compiler, *DIALECTS[suffix], *WARNINGS, OUTSIDE / f"use.{suffix}", "-o", program, *flags, *run_path)
        yield program


def pkgconfig(args, work):
    prefix = installed(args, work)
    ask = pkg_config(prefix)
    check(ask("--modversion") == [args.version], f"vrn.pc tells version {ask('--modversion')}")
    flags = ask("--cflags", "--libs")
    for program in build_with(args, work, flags, [f"-Wl,-rpath,{prefix}/lib"]):
        check_program(program, prefix)


def package(args, work):
    for tool in ("dpkg-deb", "dpkg-shlibdeps", "file"):
        shutil.which(tool) or skip(f"no {tool} on this machine")
    cpack = Path(args.cmake).with_name("cpack")
    run(cpack, "--config", args.build / "CPackConfig.cmake", "-G", "DEB", "-B", work / "made")
    deb, = (work / "made").glob("*.deb")
    depends = run("dpkg-deb", "--field", deb, "Depends")
    check("libc6" in depends and ("libgomp1" in depends or "libomp" in depends), f"the package depends on {depends}")
    # Nothing of ours may be asked from another package.
    check("vrn" not in depends, f"the package depends on {depends}")
    root = work / "root"
    run("dpkg-deb", "--extract", deb, root)
    flags = pkg_config(root / "usr")("--cflags", "--libs")
    library = next(root.rglob("libvrn_core.so")).parent
    for program in build_with(args, work, flags, []):
        check_program(program, root, env=dict(os.environ, LD_LIBRARY_PATH=str(library)))


def main():
    parser = argparse.ArgumentParser()
    tests = {f.__name__: f for f in (headers, cmake, pkgconfig, package)}
    parser.add_argument("what", choices=tests)
    for option in ("--build", "--source"):
        parser.add_argument(option, type=Path, required=True)
    for option in ("--cmake", "--cc", "--cxx", "--version"):
        parser.add_argument(option, required=True)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="vrn-install-") as work:
        tests[args.what](args, Path(work))


if __name__ == "__main__":
    main()
