# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Prints the seconds that PIL takes to decode FILE from memory (best of RUNS).

PIL keeps 24-bit pictures in 32-bit pixels, so load() alone gives 32-bit pixels.
"""
import io
import sys
import time

from PIL import Image

path, runs = sys.argv[1], int(sys.argv[2])
with open(path, "rb") as file:
    data = file.read()
best = float("inf")
for _ in range(runs):
    start = time.perf_counter()
    Image.open(io.BytesIO(data)).load()
    best = min(best, time.perf_counter() - start)
print(best)
