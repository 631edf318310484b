#!/usr/bin/env python3
"""Runs the sparse example: sparse_test.py SPARSE. It checks its own answers; here, what it reads and refuses."""
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

HEAD = "%%MatrixMarket matrix coordinate "


class Sparse(unittest.TestCase):
    def run_sparse(self, *arguments):
        return subprocess.run([sys.argv[1], "--no-timing", *map(str, arguments)], capture_output=True, text=True)

    def file(self, content):
        path = Path(self.folder.name) / "a.mtx"
        path.write_text(content)
        return path

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="vrn-sparse-")
        self.addCleanup(self.folder.cleanup)

    def test_matrices_that_come_with_it(self):
        done = self.run_sparse()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for part in done.stdout.split("\n\n")[:3]:
            rows = re.findall(r"^  (CSR|CSC|COO|BSR \d|DIA|skyline) +\d+((?: +[\d.e-]+)+)$", part, re.M)
            self.assertEqual(len(rows), 6, part)
        self.assertEqual(len(re.findall(r"conjugate gradients: \d+ steps", done.stdout)), 2)

    def test_every_kind_of_file(self):
        kinds = {
            "real general": "2 2 3\n1 1 4\n2 1 -1.5e0\n2 2 +3\n",
            "Integer General": "2 3 2\n\n1 3 7\n% comment\n2 1 -2\n",
            "pattern symmetric": "2 2 2\n1 1\n2 1\n",
            "real skew-symmetric": "3 3 2\n2 1 5\n3 2 0.25\n",
            "complex hermitian": "2 2 3\n1 1 4 0\n2 1 1 -1\n2 2 5 0\n",
            "complex symmetric": "2 2 2\n1 1 4 1\n2 2 1 -1\n",
        }
        stored = {"real general": (3, 3), "Integer General": (2, 2), "pattern symmetric": (2, 3),
                  "real skew-symmetric": (2, 4), "complex hermitian": (3, 4), "complex symmetric": (2, 2)}
        for kind, content in kinds.items():
            with self.subTest(kind=kind):
                done = self.run_sparse(self.file(HEAD + kind + "\n% a comment\n" + content))
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertIn("%d entries in the file, %d in all" % stored[kind], done.stdout)

    def test_bad_files_are_named_with_their_line(self):
        real = HEAD + "real general\n"
        cases = {
            "": ":1: the file is empty",
            "1 1 1\n": ":1: the first line is not",
            "%%MatrixMarket matrix array real general\n": ":1: format 'array' is not coordinate",
            HEAD + "quaternion general\n": ":1: field 'quaternion' is none of",
            HEAD + "real circulant\n": ":1: symmetry 'circulant' is none of",
            HEAD + "real hermitian\n": ":1: a hermitian matrix is of field complex",
            real + "% only\n": ":2: the line with rows, columns and entries is missing",
            real + "3 3\n": ":2: found 2 numbers where rows, columns and entries stand",
            real + "0 3 0\n": ":2: rows: 0 is not between 1 and",
            real + "3 3 -1\n": ":2: entries: -1 is not between 0 and",
            real + "2 2 1\n1 x 1\n": ":3: column: 'x' is not an integer",
            real + "2 2 1\n3 1 1\n": ":3: row: 3 is not between 1 and 2",
            real + "2 2 1\n1 1\n": ":3: found 2 numbers, an entry of field real has 3",
            real + "2 2 1\n1 1 nan\n": ":3: 'nan' is not a finite number",
            real + "2 2 2\n1 1 1\n": ":3: the file ends after 1 of 2 entries",
            real + "2 2 1\n1 1 1\n2 2 2\n": ":4: more than the 1 entries that were announced",
            HEAD + "real symmetric\n2 3 1\n": ":2: a symmetric matrix is square",
            HEAD + "real symmetric\n2 2 1\n1 2 1\n": ":3: an entry above the diagonal of a symmetric matrix",
            HEAD + "real skew-symmetric\n2 2 1\n1 1 1\n": ":3: a diagonal entry of a skew-symmetric matrix",
            HEAD + "complex hermitian\n2 2 1\n1 1 1 2\n": ":3: a diagonal entry of a hermitian matrix with an imaginary part",
            HEAD + "integer general\n2 2 1\n1 1 1.5\n": ":3: value: '1.5' is not an integer",
        }
        for content, complaint in cases.items():
            with self.subTest(complaint=complaint):
                path = self.file(content)
                self.refused(self.run_sparse(path), f"sparse: {path}{complaint}")
        self.refused(self.run_sparse("--fast"), "sparse: usage: ")
        self.refused(self.run_sparse(Path(self.folder.name) / "none.mtx"), "sparse: ")

    def refused(self, done, message):
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertTrue(done.stderr.startswith(message), done.stderr)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
