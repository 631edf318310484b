#!/usr/bin/env python3
"""Runs the spectrum example: spectrum_test.py SPECTRUM. Two tones that are known are found in every kind of file that
it reads, one of them is filtered out, and files that are none are told."""
import math
import re
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

RATE, COUNT = 8192, 3 * 4096
TONES = {440: 0.5, 1500: 0.25}  # Hz that fall on a value of the spectrum: amplitude


def tone(hz, j):
    return TONES[hz] * math.sin(2 * math.pi * hz * j / RATE)


SOUND = [tone(440, j) + tone(1500, j) for j in range(COUNT)]


def wav(code, bits, samples, channels=1, extra=b""):
    def packed(v):
        return struct.pack("<f", v) if code == 3 else round(v * 2 ** (bits - 1)).to_bytes(bits // 8, "little", signed=True)
    data = b"".join(packed(v) for v in samples)
    width = channels * bits // 8
    head = struct.pack("<4sIHHIIHH", b"fmt ", 16, code, channels, RATE, RATE * width, width, bits)
    return b"RIFF" + struct.pack("<I", 4 + len(head + extra) + 8 + len(data)) + b"WAVE" + head + extra + struct.pack(
        "<4sI", b"data", len(data)) + data


class Spectrum(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="vrn-spectrum-")
        self.addCleanup(self.folder.cleanup)

    def file(self, name, content):
        path = Path(self.folder.name) / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def run_spectrum(self, *arguments):
        return subprocess.run([sys.argv[1], *map(str, arguments)], capture_output=True, text=True)

    def peaks(self, *arguments):
        done = self.run_spectrum("--peaks", 2, *arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return {float(hz): float(level) for hz, level in re.findall(r"^ {6} *([\d.]+) +(-[\d.]+)$", done.stdout, re.M)}

    def expect_tones(self, found, slack=0.05):
        self.assertEqual(len(found), 2, found)
        for (hz, level), (want, amplitude) in zip(sorted(found.items()), sorted(TONES.items())):
            self.assertAlmostEqual(hz, want, delta=0.1)
            self.assertAlmostEqual(level, 20 * math.log10(amplitude), delta=slack)

    def test_every_kind_of_file(self):
        both = [v for pair in zip(SOUND, SOUND) for v in pair]
        files = {"16": wav(1, 16, SOUND), "24": wav(1, 24, SOUND), "32": wav(1, 32, SOUND), "float": wav(3, 32, SOUND),
                 "stereo": wav(1, 16, both, 2), "odd part": wav(1, 16, SOUND, extra=b"note\x03\0\0\0abc\0")}
        for name, content in files.items():
            with self.subTest(name):
                self.expect_tones(self.peaks(self.file(name + ".wav", content)))
        column = "sound\n" + "\n".join("%.17g" % v for v in SOUND)
        self.expect_tones(self.peaks("--rate", RATE, self.file("a.csv", column)))
        timed = "t,sound\n" + "\n".join("%.17g,%.17g" % (j / RATE, v) for j, v in enumerate(SOUND))
        self.expect_tones(self.peaks(self.file("b.csv", timed)))

    def test_filter_keeps_what_is_below(self):
        out = Path(self.folder.name) / "low.wav"
        self.peaks("--lowpass", 1000, out, self.file("a.wav", wav(1, 16, SOUND)))
        data = out.read_bytes()
        self.assertEqual(data[:44], wav(1, 16, SOUND)[:44])
        kept = [v / 32768 for v in struct.unpack("<%dh" % COUNT, data[44:])]
        # Each rounding to 16 bits is off by half of one at most; the filter spreads the first over all samples.
        self.assertLess(max(abs(v - tone(440, j)) for j, v in enumerate(kept)), 4 / 32768)

    def test_shipped_recording(self):
        done = self.run_spectrum()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertRegex(done.stdout, r"samples at \d+ Hz")

    def test_bad_files_and_options(self):
        good = wav(1, 16, SOUND[:100])
        cases = {b"RIFFnone": "not a WAV file", b"": "not a WAV file", good[:30]: "its format is cut short",
                 wav(1, 8, [0] * 50): "format 1 with 8 bits", good[:36]: "no samples",
                 good[:12] + good[36:]: "data ahead of its format", wav(1, 16, [0] * 7): "fewer than 8 samples",
                 wav(3, 32, [0.0] * 9 + [math.nan]): "sample 9 is not finite", wav(1, 16, [0] * 9, 0): "no channels"}
        for content, complaint in cases.items():
            with self.subTest(complaint):
                path = self.file("bad.wav", content)
                self.refused(self.run_spectrum(path), "spectrum: %s: %s" % (path, complaint))
        path = self.file("bad.csv", "t,x\n" + "\n".join("%d,1" % (j * j) for j in range(9)))
        self.refused(self.run_spectrum(path), "spectrum: %s: the first column is no time in even steps" % path)
        for arguments in (["--rate"], ["--rate", "-1"], ["--lowpass", "100"], ["--loud"], ["/none.wav"]):
            self.refused(self.run_spectrum(*arguments), "spectrum: ")

    def refused(self, done, message):
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertTrue(done.stderr.startswith(message), done.stderr)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
