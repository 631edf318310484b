#!/usr/bin/env python3
"""Makes bells.wav: a second of three struck bells, 16 bits at 8000 Hz, by formula. Run it in its own folder."""
import math
import struct

rate, seconds = 8000, 1.0
# Partials of a church bell relative to its strike note, and how fast they die away.
partials = [(0.5, 1.0, 1.5), (1.0, 0.9, 2.5), (1.2, 0.7, 3.0), (1.5, 0.5, 4.0), (2.0, 0.8, 5.0), (2.67, 0.3, 8.0)]
bells = [(0.0, 440.0), (0.25, 554.37), (0.5, 659.26)]  # when, strike note in Hz

samples = []
for i in range(int(rate * seconds)):
    t, value = i / rate, 0.0
    for start, note in bells:
        if t >= start:
            for ratio, level, decay in partials:
                value += level * math.exp(-decay * (t - start)) * math.sin(2 * math.pi * note * ratio * (t - start))
    samples.append(value)
loudest = max(abs(s) for s in samples)
data = b"".join(struct.pack("<h", round(30000 * s / loudest)) for s in samples)
with open("bells.wav", "wb") as file:
    file.write(b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVEfmt " + struct.pack("<IHHIIHH", 16, 1, 1, rate, 2 * rate, 2, 16))
    file.write(b"data" + struct.pack("<I", len(data)) + data)
