# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Prints how many seconds PIL's octree quantizer takes for a picture, as the least of several runs.

usage: pil_quantize.py RAW WIDTH HEIGHT RUNS    (RAW: pixels B, G, R, A without padding)
"""

import sys
import time

from PIL import Image

raw, width, height, runs = sys.argv[1], *map(int, sys.argv[2:5])
with open(raw, "rb") as file:
    pixels = file.read()
picture = Image.frombytes("RGBA", (width, height), pixels, "raw", "BGRA").convert("RGB")


def seconds():
    start = time.perf_counter()
    picture.quantize(256, method=Image.Quantize.FASTOCTREE, kmeans=0, dither=Image.Dither.NONE)
    return time.perf_counter() - start


print(min(seconds() for _ in range(runs)))
