#!/usr/bin/env python3
"""Runs the demonstration: demo_test.py DEMO.

Its figures are held to exact rational arithmetic over the doubles that the file's numbers become.
"""
import re
import subprocess
import sys
import tempfile
import unittest
from fractions import Fraction
from math import isqrt, ulp
from pathlib import Path

LONGLEY = Path(__file__).parents[2] / "examples" / "data" / "longley.csv"
EPS = Fraction(1, 2**52)

# Signs of both kinds, an extreme of each sign, decimals that no double holds, magnitudes far apart.
MIXED = "a,b,c\n-3.5,0.1,1e-3\n2.25,-0.7,4e5\n1,0.3,-7\n-0.1,-0.7,12.5\n"


def root(x):
    """The square root to far more digits than a double has."""
    scale = 10**60
    return Fraction(isqrt(x.numerator * scale // x.denominator), isqrt(scale))


def columns_of(text):
    lines = [line for line in text.splitlines() if line and not line.startswith("#")]
    names, *rows = [line.split(",") for line in lines]
    return {n: [Fraction(float(row[j])) for row in rows] for j, n in enumerate(names)}


def expected(text):
    """{label: (exact value, bound of the error)}: any order of summation stays below it (Higham 2002, ch. 3)."""
    columns = columns_of(text)
    out = {}
    for i, (p, x) in enumerate(columns.items()):
        n = len(x)
        norm, mean = root(sum(v * v for v in x)), sum(x) / n
        out[f"{p} norm"] = norm, (n + 2) * EPS * norm
        out[f"{p} mean"] = mean, (n + 2) * EPS * sum(map(abs, x)) / n
        out[f"{p} min"] = min(x), 0
        out[f"{p} max"] = max(x), 0
        for q, y in list(columns.items())[i:]:
            products = [v * w for v, w in zip(x, y)]
            out[f"{p}.{q}"] = sum(products), (n + 2) * EPS * sum(map(abs, products))
    return out


class Demo(unittest.TestCase):
    def run_demo(self, *arguments):
        return subprocess.run([sys.argv[1], *map(str, arguments)], capture_output=True, text=True)

    def file(self, content):
        path = Path(self.folder.name) / "table.csv"
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="vrn-demo-")
        self.addCleanup(self.folder.cleanup)

    def test_figures_are_exact_arithmetics(self):
        own = self.file("\n# comment\r\n" + MIXED.replace("\n", "\r\n").replace(",", " ,\t"))
        for text, arguments in ((LONGLEY.read_text(), []), (MIXED, [own])):
            done = self.run_demo("--no-timing", *arguments)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            lines = re.findall(r"^  (\S+(?: norm| mean| min| max)?) +(\S+) +(\S+)  (\S+)$", done.stdout, re.M)
            found = {label: rest for label, *rest in lines}
            for label, (exact, bound) in expected(text).items():
                with self.subTest(label=label):
                    got, shown, error = found[label]
                    off = abs(Fraction(float(got)) - exact)
                    self.assertLessEqual(off, bound)
                    self.assertLessEqual(abs(Fraction(shown) - exact), abs(exact) / 10**17)
                    self.assertAlmostEqual(float(error), float(off / Fraction(ulp(float(exact)))), delta=0.01)

    def test_regression_agrees_with_certified_coefficients(self):
        done = self.run_demo("--no-timing")
        part = done.stdout.split("Regression of TOTEMP")[1]
        digits = [float(line.split()[-1]) for line in part.splitlines()[2:] if line]
        self.assertEqual(len(digits), 7)
        # 16 digits less the ten that the condition number of 5e9 can cost.
        self.assertGreaterEqual(min(digits), 6)

    def test_bad_files_are_named_with_their_line(self):
        folder = Path(self.folder.name)
        cases = {
            "": ":1: the file is empty",
            "# nothing\n\n": ":2: the file is empty",
            "a,b\n": ":1: no rows",
            "a,b\n1,2\n3\n": ":3: found 1 fields, the header names 2",
            "a,b\n1,2,3\n": ":2: found 3 fields, the header names 2",
            "a,b\n# c\n1,x\n": ":3: b: 'x' is not a number",
            "a,b\n1,\n": ":2: b: '' is not a number",
            "a,b\n1,2e\n": ":2: b: '2e' is not a number",
            "a,b\n1,2 3\n": ":2: b: '2 3' is not a number",
            "a,b\nnan,2\n": ":2: a: 'nan' is not a finite number",
            "a,b\n1,-inf\n": ":2: b: '-inf' is not a finite number",
            "a,b\n1,1e999\n": ":2: b: '1e999' is beyond the range",
            b"a,b\n1,\x1b[2J\n": ":2: b: '?[2J' is not a number",
            b"a,b\n1,2\x00,3\n": ":2: a NUL",
            "1,2\n3,4\n": ":1: a header that names the columns is missing, '1' is a number",
            "a,,c\n1,2,3\n": ":1: a column has no name",
            "a\n" + "1" * 70000: ":2: the line is longer than",
        }
        for content, complaint in cases.items():
            with self.subTest(complaint=complaint):
                path = self.file(content)
                self.refused(self.run_demo("--no-timing", path), f"demo: {path}{complaint}")
        self.refused(self.run_demo(folder / "none.csv"), f"demo: {folder}/none.csv: No such file")
        self.refused(self.run_demo(folder), f"demo: {folder}: ")
        self.refused(self.run_demo("--fast"), "demo: usage: ")

    def refused(self, done, message):
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout, "")
        self.assertTrue(done.stderr.startswith(message), done.stderr)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
