# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Compares pixels with PIL both ways, through files that the test program writes and reads.

Beside every picture NAME.ENDING lies NAME.ENDING.rgba, the same pixels as R, G, B, A from the top. 16-bit pixels are compared in the bits that they have.
"""
import io
import os
import pathlib
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile

try:
    from PIL import Image, JpegImagePlugin
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


def write_jpeg_with_pil(folder):
    """Every kind that the codec reads; grey is refused, so its .rgba is empty."""
    exif = Image.Exif()
    exif[0x010E] = "a picture"
    kinds = {
        "444": {"subsampling": 0}, "420": {"subsampling": 2}, "progressive": {"progressive": True},
        "exif": {"exif": exif.tobytes()},
        "icc": {"icc_profile": bytes(70000)}, "grey": {},
    }
    for width, height in ((1, 1), (17, 31), (64, 48)):
        slopes = bytes(v for y in range(height) for x in range(width)
                       for v in (x * 3 % 256, 255 - y * 4, (x + y) * 2))
        for kind, options in kinds.items():
            path = folder / f"pil_{kind}_{width}.jpg"
            picture = Image.frombytes("RGB", (width, height), slopes)
            picture.convert("L" if kind == "grey" else "RGB").save(path, quality=90, **options)
            expected = b"" if kind == "grey" else Image.open(path).convert("RGBA").tobytes()
            path.with_name(path.name + ".rgba").write_bytes(expected)
            if kind == "444" and shutil.which("cjpeg"):
                restart, raw = folder / f"pil_restart_{width}.jpg", folder / "restart.ppm"
                picture.save(raw)
                subprocess.run(["cjpeg", "-restart", "1B", "-outfile", restart, raw], check=True)
                raw.unlink()
                expected = Image.open(restart).convert("RGBA").tobytes()
                restart.with_name(restart.name + ".rgba").write_bytes(expected)


def check_jpeg(path):
    """What we wrote: the sampling and, by its tables, the quality that were asked for."""
    quality = max(1, int(path.name.split("_")[1]) - 100)
    got, peer = Image.open(path), io.BytesIO()
    got.convert("RGB").save(peer, format="JPEG", quality=quality)
    if JpegImagePlugin.get_sampling(got) != 1:
        sys.exit(f"{path.name}: not 4:2:2")
    if got.quantization != Image.open(peer).quantization:
        sys.exit(f"{path.name}: not of quality {quality}")
    for program in (["djpeg", "-outfile", os.devnull], ["identify"]):
        if shutil.which(program[0]):
            subprocess.run([*program, path], check=True, stdout=subprocess.DEVNULL)


def compare_with_pil(folder):
    count = 0
    for path in sorted(folder.glob("zav_*.jpg")):
        check_jpeg(path)
        count += 1
    for path in sorted(folder.glob("zav_*.[bt]??")):
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
    write_jpeg_with_pil(directory)
    subprocess.run(
        [sys.argv[1], "--gtest_filter=Interop.*", "--gtest_brief=1"],
        env={**os.environ, "ZAV_INTEROP": name},
        check=True,
    )
    compared = compare_with_pil(directory)
    if compared == 0:
        sys.exit("no files were written")
    print(f"{compared} files read by PIL, {len(list(directory.glob('pil_*.rgba')))} written by it")
