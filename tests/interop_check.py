# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Compares pixels with PIL both ways, through files that the test program writes and reads.

Beside every picture NAME.ENDING lies NAME.ENDING.rgba, the same pixels as R, G, B, A from the top. 16-bit pixels are compared in the bits that they have.
"""
import os
import pathlib
import random
import re
import struct
import subprocess
import sys
import tempfile

try:
    from PIL import Image
except ImportError:
    print("PIL (python3-pil) is not installed: nothing compared")
    sys.exit(77)


def sgi_packets(row):
    """The row of a channel in runs of three and more, and what lies between them."""
    packets, between = b"", b""
    for match in re.finditer(rb"(.)\1{2,126}|.", row, re.DOTALL):
        run = match[0]
        if between and (len(run) > 1 or len(between) == 127):
            packets, between = packets + bytes([128 + len(between)]) + between, b""
        if len(run) > 1:
            packets += bytes([len(run), run[0]])
        else:
            between += run
    return packets + (bytes([128 + len(between)]) + between if between else b"") + b"\0"


def write_sgi_rle(picture, path):
    """PIL reads run-length SGI but does not write it."""
    rows = [sgi_packets(channel.crop((0, y, picture.width, y + 1)).tobytes())
            for channel in picture.split() for y in reversed(range(picture.height))]
    sides = (*picture.size, len(picture.mode))
    header = struct.pack(">HBB4H2I", 474, 1, 1, 3, *sides, 0, 255).ljust(512, b"\0")
    first = 512 + 8 * len(rows)
    starts = [first + sum(map(len, rows[:i])) for i in range(len(rows))]
    table = struct.pack(f">{2 * len(rows)}I", *starts, *map(len, rows))
    path.write_bytes(header + table + b"".join(rows))
    if Image.open(path).tobytes() != picture.tobytes():
        sys.exit(f"{path.name}: PIL reads other pixels")


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
            for rle in () if mode == "P" else (False, True):
                path = folder / f"pil_{mode}_{width}_{rle}.rgb"
                if rle:
                    write_sgi_rle(converted, path)
                else:
                    converted.save(path, format="SGI")
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
