# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Compares pixels with PIL both ways, through files that the test program writes and reads.

Beside every picture NAME.bmp or NAME.tga lies NAME.bmp.rgba or NAME.tga.rgba, the same pixels as
R, G, B, A from the top. 16-bit pixels are compared in the bits that they have.
"""
import os
import pathlib
import random
import subprocess
import sys
import tempfile

try:
    from PIL import Image
except ImportError:
    print("PIL (python3-pil) is not installed: nothing compared")
    sys.exit(77)


def write_with_pil(folder):
    rng = random.Random(1)
    for width in (1, 2, 5, 130, 257):
        pixels = bytes(rng.choice((0, 90, 255)) for _ in range(width * 9 * 4))
        picture = Image.frombytes("RGBA", (width, 9), pixels)
        for mode in ("RGB", "RGBA", "P"):
            converted = picture.convert("RGBA" if mode == "RGBA" else "RGB").convert(mode)
            for ending, options in (("bmp", {}), ("tga", {}), ("tga", {"compression": "tga_rle"})):
                if ending == "bmp" and mode == "RGBA":
                    continue
                path = folder / f"pil_{mode}_{width}_{len(options)}.{ending}"
                converted.save(path, **options)
                path.with_name(path.name + ".rgba").write_bytes(converted.convert("RGBA").tobytes())


def compare_with_pil(folder):
    count = 0
    for path in sorted(folder.glob("zav_*.???")):
        expected = path.with_name(path.name + ".rgba").read_bytes()
        got = Image.open(path).convert("RGBA").tobytes()
        mask = 0xF8 if "_4_" in path.name else 0xFF
        if len(got) != len(expected) or any((a ^ b) & mask for a, b in zip(got, expected)):
            sys.exit(f"{path.name}: PIL reads other pixels")
        count += 1
    return count


with tempfile.TemporaryDirectory() as name:
    directory = pathlib.Path(name)
    write_with_pil(directory)
    subprocess.run(
        [sys.argv[1], "--gtest_filter=Interop.*", "--gtest_brief=1"],
        env={**os.environ, "ZAV_INTEROP": name},
        check=True,
    )
    compared = compare_with_pil(directory)
    if compared == 0:
        sys.exit("no files were written")
    print(f"{compared} files read by PIL, {len(list(directory.glob('pil_*.rgba')))} written by it")
