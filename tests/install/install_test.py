#!/usr/bin/env python3
"""Installs the built library into a temporary prefix, moves it, and builds and runs programs against it.

    install_test.py headers|cmake|pkgconfig|package|provider --build DIR --source DIR --cmake CMAKE --cc CC --cxx CXX
                    --version VERSION

headers    every installed header compiles alone, as strict C11 and as C++
cmake      find_package(vrn), in C and in C++
pkgconfig  pkg-config vrn, in C and in C++
package    the .deb, unpacked to a root of its own
provider   the .deb, installed and removed in a root of its own, as one provider of libblas.so.3 beside another

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
    for program in ("use_c", "use_cpp", "use_blas"):
        check_program(work / "build" / program, prefix)
    # A version that this one does not serve is not found.
    refused = subprocess.run([str(c) for c in configure] + ["-B", work / "none", f"-DWANTED={int(major) + 1}.0"],
                             capture_output=True, text=True)
    check(refused.returncode != 0 and "compatible" in refused.stderr, "find_package took any version")


def pkg_config(prefix, **environment):
    tool = shutil.which("pkg-config") or skip("no pkg-config on this machine")
    folder = next(prefix.rglob("vrn.pc")).parent
    environment = dict(os.environ, PKG_CONFIG_PATH=str(folder), **environment)
    return lambda *what, name="vrn": run(tool, *what, name, env=environment).split()


def build_with(args, work, ask, run_path):
    """The programs, by what pkg-config says."""
    flags = ask("--cflags", "--libs")
    for suffix, compiler in (("c", args.cc), ("cpp", args.cxx)):
        program = work / f"use_{suffix}"
        run(compiler, *DIALECTS[suffix], *WARNINGS, OUTSIDE / f"use.{suffix}", "-o", program, *flags, *run_path)
        yield program
    program = work / "use_blas"
    run(args.cc, *DIALECTS["c"], *WARNINGS, OUTSIDE / "blas.c", "-o", program,
        *ask("--cflags", "--libs", name="vrn-blas"), *run_path)
    yield program


def pkgconfig(args, work):
    prefix = installed(args, work)
    ask = pkg_config(prefix)
    check(ask("--modversion") == [args.version], f"vrn.pc tells version {ask('--modversion')}")
    for program in build_with(args, work, ask, [f"-Wl,-rpath,{prefix}/lib"]):
        check_program(program, prefix)


def debian_package(args, work):
    for tool in ("dpkg-deb", "dpkg-shlibdeps", "file"):
        shutil.which(tool) or skip(f"no {tool} on this machine")
    cpack = Path(args.cmake).with_name("cpack")
    run(cpack, "--config", args.build / "CPackConfig.cmake", "-G", "DEB", "-B", work / "made")
    deb, = (work / "made").glob("*.deb")
    return deb


def package(args, work):
    deb = debian_package(args, work)
    depends = run("dpkg-deb", "--field", deb, "Depends")
    check("libc6" in depends and ("libgomp1" in depends or "libomp" in depends), f"the package depends on {depends}")
    # Nothing of ours may be asked from another package.
    check("vrn" not in depends, f"the package depends on {depends}")
    root = work / "root"
    run("dpkg-deb", "--extract", deb, root)
    library = next(root.rglob("libvrn_core.so")).parent
    for program in build_with(args, work, pkg_config(root / "usr"), []):
        check_program(program, root, env=dict(os.environ, LD_LIBRARY_PATH=str(library)))


def provider(args, work):
    deb, root = debian_package(args, work), work / "root"
    multiarch = "usr/lib/x86_64-linux-gnu"
    name, link, other = "libblas.so.3-x86_64-linux-gnu", f"/{multiarch}/libblas.so.3", f"/{multiarch}/blas/libblas.so.3"
    for folder in ("etc/alternatives", "var/lib/dpkg/alternatives", "var/lib/dpkg/info", "var/lib/dpkg/updates",
                   "var/log", f"{multiarch}/blas"):
        (root / folder).mkdir(parents=True)
    (root / "var/lib/dpkg/status").touch()
    (root / other[1:]).touch()
    # The maintainer scripts run outside, and are told of the root by DPKG_ROOT.
    dpkg = ["dpkg", f"--root={root}", "--force-not-root", "--force-depends", "--force-script-chrootless",
            f"--log={work}/dpkg.log"]
    choice = ["update-alternatives", "--root", root]
    chosen = lambda: os.readlink(root / "etc/alternatives" / name)
    run(*choice, "--install", link, name, other, "10")
    before = sorted(p.relative_to(root) for p in root.rglob("*"))
    check(chosen() == other, f"{chosen()} is chosen before")
    run(*dpkg, "--install", deb)
    check(chosen().endswith("/vrn/libblas.so.3"), f"{chosen()} is chosen after the installation")
    ours = root / chosen()[1:]
    check("cblas_dgemm" in run("nm", "-D", ours) and "libblas.so.3" in run("readelf", "-d", ours), f"{ours} is no BLAS")
    check(os.readlink(root / link[1:]) == f"/etc/alternatives/{name}", "the link is not that of the alternatives")
    run(*choice, "--set", name, other)
    check(chosen() == other, "the other provider cannot be chosen")
    run(*choice, "--auto", name)
    run(*dpkg, "--remove", "vrn")
    check(chosen() == other, f"{chosen()} is chosen after the removal")
    left = [p for p in root.rglob("*") if p.relative_to(root) not in before and "dpkg" not in p.parts
            and p.name != "alternatives.log"]
    check(not left, f"left behind: {left}")


def main():
    parser = argparse.ArgumentParser()
    tests = {f.__name__: f for f in (headers, cmake, pkgconfig, package, provider)}
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
