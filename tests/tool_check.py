#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""tool_check.py ZAV: the command from outside, against readers and writers of this script's own."""
import json
import os
import pty
import random
import re
import resource
import struct
import subprocess
import sys
import tempfile
import unittest

ZAV = os.path.abspath(sys.argv.pop(1))


def zav(*arguments, **options):
    return subprocess.run([ZAV, *arguments], capture_output=True, **options)


def noise(width, height, seed=1):
    """Rows of (r, g, b, a); few colours, so that 256 are enough."""
    draw = random.Random(seed)
    colours = [tuple(draw.randrange(256) for _ in range(4)) for _ in range(60)]
    return [[draw.choice(colours) for _ in range(width)] for _ in range(height)]


def tga(rows, kind=2, descriptor=8):
    width, height = len(rows[0]), len(rows)
    data = struct.pack("<BBBHHBHHHHBB", 3, 0, kind, 0, 0, 0, 0, 0, width, height, 32, descriptor)
    pixels = [bytes((b, g, r, a)) for row in (rows if descriptor & 32 else rows[::-1])
              for r, g, b, a in row]
    if kind == 2:
        return data + b"id!" + b"".join(pixels)
    packets, draw = b"", random.Random(2)  # runs of one and raw packets that cross row ends
    while pixels:
        count = min(draw.randrange(1, 129), len(pixels))
        raw = draw.random() < 0.5
        packets += bytes([count - 1]) + b"".join(pixels[:count]) if raw else b"\x80" + pixels[0]
        pixels = pixels[count if raw else 1:]
    return data + b"id!" + packets


def read_tga(data):
    ident, _, kind, _, colours, _, _, _, width, height, depth, descriptor = struct.unpack(
        "<BBBHHBHHHHBB", data[:18])
    assert kind in (1, 2) and not descriptor & 32
    at = 18 + ident
    palette = [data[at + 3 * i:][:3] for i in range(colours)]
    at, size = at + 3 * colours, depth // 8
    assert len(data) == at + width * height * size

    def pixel(raw):
        if size == 2:
            word = int.from_bytes(raw, "little")
            return (word >> 7 & 248, word >> 2 & 248, word << 3 & 248, 255)
        b, g, r, a = (palette[raw[0]] if kind == 1 else raw) + b"" + (b"" if size == 4 else b"\xff")
        return (r, g, b, a)
    flat = [pixel(data[i:i + size]) for i in range(at, len(data), size)]
    return [flat[y * width:(y + 1) * width] for y in reversed(range(height))]


def read_bmp(data):
    magic, size, _, offset, header, width, height, planes, bits = struct.unpack("<2sIIIIiiHH", data[:30])
    assert (magic, size, header, planes) == (b"BM", len(data), 40, 1)
    stride, rows = (width * bits + 31) // 32 * 4, []
    assert size == offset + stride * height
    for y in reversed(range(height)):
        line = data[offset + y * stride:][:width * bits // 8]
        cells = [data[54 + 4 * i:][:3] for i in line] if bits == 8 else [
            line[i:i + 3] for i in range(0, len(line), 3)]
        rows.append([(r, g, b, 255) for b, g, r in cells])
    return rows


def opaque(rows, mask=255):
    return [[(r & mask, g & mask, b & mask, 255) for r, g, b, _ in row] for row in rows]


def kept(value, bits):
    """The top bits of a byte as they come back: low bits are ones below a top bit that is set."""
    value = value >> 8 - bits << 8 - bits
    return value | 255 >> bits if value & 128 else value


class Tool(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def write(self, name, data):
        with open(name, "wb") as file:
            file.write(data)

    def read(self, name):
        with open(name, "rb") as file:
            return file.read()

    def expect(self, code, text, *arguments, **options):
        """The command ends with this code and, at an error, one line that says this."""
        done = zav(*arguments, **options)
        said = done.stderr.decode(errors="replace")
        self.assertEqual(done.returncode, code, (arguments, said))
        self.assertRegex(said, "^zav: .*" + text + ".*\n$" if text else "^$", arguments)
        self.assertEqual([n for n in os.listdir() if n.startswith(".")], [], arguments)
        return done.stdout.decode()

    def test_files_keep_pixels(self):
        for width, height in ((1, 1), (3, 2), (5, 7), (67, 9), (256, 3)):
            rows = noise(width, height)
            for kind, descriptor in ((2, 8), (10, 8), (2, 40), (10, 40)):
                self.write("in.tga", tga(rows, kind, descriptor))
                for name, options, wanted in (
                        ("a.tga", (), rows), ("b.tga", ("--format", "bgr24"), opaque(rows)),
                        ("c.tga", ("--format", "pal8"), opaque(rows)),
                        ("d.tga", ("--format", "rgb555"), opaque(rows, 248)),
                        ("e.bmp", (), opaque(rows)), ("f.BMP", ("--format", "pal8"), opaque(rows))):
                    self.assertEqual(self.expect(0, "", "convert", "in.tga", name, *options), "")
                    read = read_tga if name.endswith("tga") else read_bmp
                    self.assertEqual(read(self.read(name)), wanted, (name, kind, width))
            self.expect(0, "", "convert", "f.BMP", "g.tga")  # palettized stays palettized
            self.assertEqual(self.read("g.tga")[16], 8)
            self.assertEqual(read_tga(self.read("g.tga")), opaque(rows))
        self.expect(0, "", "convert", "a.tga", "a.tga", "--size", "50%")  # onto itself
        self.assertEqual(json.loads(self.expect(0, "", "info", "--json", "a.tga"))[0]["width"], 128)

    def test_raw_pixels(self):
        rows = noise(7, 3)
        self.write("in.tga", tga(rows))

        def word(r, g, b, a):
            return r >> 3 | g >> 3 << 5 | b >> 3 << 10 | a >> 7 << 15
        layouts = {  # pitch is rounded up to four bytes
            "rgba32": lambda p: bytes(p), "rgb24": lambda p: bytes(p[:3]),
            "argb4444": lambda p: (p[3] >> 4 << 12 | p[0] >> 4 << 8 | p[1] >> 4 << 4 | p[2] >> 4)
            .to_bytes(2, "little"),
            "custom16_2": lambda p: word(*p).to_bytes(2, "little")}
        masks = ("--masks", "8000,0x1f,3E0,7c00")
        for name, pixel in layouts.items():
            more = masks if name == "custom16_2" else ()
            self.expect(0, "", "convert", "in.tga", "out.raw", "--format", name, *more)
            lines = [b"".join(map(pixel, row)) for row in rows]
            self.assertEqual(self.read("out.raw"),
                             b"".join(line + bytes(-len(line) % 4) for line in lines), name)
            self.assertEqual(json.loads(self.read("out.raw.json"))["format"], name)
        # Custom pixels come back by the masks of the sidecar, and move to other masks.
        self.expect(0, "", "convert", "out.raw", "moved.raw", "--format", "custom16_2", "--masks",
                    "0,7c00,3e0,1f")
        self.expect(0, "", "convert", "moved.raw", "back.tga")
        self.assertEqual(read_tga(self.read("back.tga")), opaque(rows, 248))
        self.expect(0, "", "convert", "in.tga", "p.raw", "--format", "pal8")
        self.expect(0, "", "convert", "p.raw", "p.bmp")
        self.assertEqual(read_bmp(self.read("p.bmp")), opaque(rows))
        good = json.loads(self.read("p.raw.json"))
        for change in ({"width": 70}, {"height": -1}, {"pitch": 1}, {"pitch": 2 ** 40}, {"format": "x"},
                       {"palette": ["#000000ff"]}, {"palette": 3}, {"width": "7"}):
            self.write("p.raw.json", json.dumps({**good, **change}).encode())
            self.expect(3, "p.raw", "info", "p.raw")
        self.write("p.raw.json", b"[")
        self.expect(3, "p.raw.json", "info", "p.raw")
        os.remove("p.raw.json")
        self.expect(2, "p.raw.json: No such file", "info", "p.raw")

    def test_what_is_wrong(self):
        picture = tga(noise(4, 4))
        self.write("a.tga", picture)
        self.write("text.bmp", b"just a few words, and enough of them to fill a header of any size")
        self.write("text.tga", b"just a few words")
        self.write("grey.tga", picture[:2] + b"\x03" + picture[3:])
        self.write("noise.tga", b"\x00\x00\x77" + picture[3:])
        self.write("empty.tga", b"")
        self.expect(0, "", "convert", "a.tga", "a.bmp")
        bitmap = self.read("a.bmp")
        self.write("tall.bmp", bitmap[:22] + struct.pack("<i", -4) + bitmap[26:])
        self.write("v5.bmp", bitmap[:14] + b"\x7c" + bitmap[15:])
        self.write("rle.bmp", bitmap[:30] + b"\x01" + bitmap[31:])
        self.write("deep.bmp", bitmap[:28] + b"\x20" + bitmap[29:])
        os.mkdir("folder.tga")
        to = ("convert", "a.tga")
        for code, text, *arguments in (
                (1, "a command is required",), (1, "OUT is required", *to), (1, "frob", "frob"),
                (1, "no pixel format 'rgb'.*rgba32", *to, "x.raw", "--format", "rgb"),
                (1, "'0x5' is no size", *to, "x.bmp", "--size", "0x5"),
                (1, "'50' is no size", *to, "x.bmp", "--size", "50"),
                (1, "no filter 'cubic'", *to, "x.bmp", "--filter", "cubic"),
                (1, "needs --masks", *to, "x.raw", "--format", "custom16_1"),
                (1, "--masks goes with", *to, "x.raw", "--format", "rgb565", "--masks", "0,1,2,4"),
                (2, "none.tga: No such file", "info", "none.tga"),
                (2, "folder.tga: Is a directory", "info", "folder.tga"),
                (2, "folder.tga: Is a directory", *to, "folder.tga"),
                (2, "x.bmp: No such file", *to, "nowhere/x.bmp"),
                (3, "empty.tga: is empty", "info", "empty.tga"),
                (3, "text.bmp: is not a BMP file", "info", "text.bmp"),
                (3, "text.tga: is cut off", "info", "text.tga"),
                (3, "noise.tga: is not a Targa file", "info", "noise.tga"),
                (5, "grey.tga: .*type 3", "info", "grey.tga"), (5, "top-down", "info", "tall.bmp"),
                (5, "124", "info", "v5.bmp"), (5, "compressed", "info", "rle.bmp"),
                (5, "32 bits", "info", "deep.bmp"), (5, "x.gif: .*ending", *to, "x.gif"),
                (5, "BMP file cannot hold bgra32; it holds pal8, bgr24", *to, "x.bmp", "--format", "bgra32"),
                (5, "dxt4 is only copied", *to, "x.raw", "--format", "dxt4"),
                (5, "cannot be converted to 70000 x 70000", *to, "x.raw", "--size", "70000x70000")):
            self.expect(code, text, *arguments)
        if os.geteuid() != 0:  # root may read and write everything
            os.chmod("a.tga", 0)
            self.expect(2, "a.tga: Permission denied", "info", "a.tga")

    def test_cut_files_are_not_pictures(self):
        self.write("whole.tga", tga(noise(5, 4)))
        self.write("packed.tga", tga(noise(5, 4), 10))
        self.expect(0, "", "convert", "whole.tga", "flat.bmp", "--format", "pal8")
        for name in ("whole.tga", "packed.tga", "flat.bmp"):
            data = self.read(name)
            for length in sorted({*range(1, len(data), 9), len(data) - 1}):
                cut = "cut" + name[-4:]
                self.write(cut, data[:length])
                self.expect(3, "is cut off|is not a BMP", "convert", cut, "out.tga")
        self.assertFalse(os.path.exists("out.tga"))

    def test_refused_writes_lose_nothing(self):
        self.write("in.tga", tga(noise(99, 99)))
        names = ("out.tga", "out.bmp", "out.raw", "out.raw.json")
        for name in names:
            self.write(name, b"precious")

        def small():
            resource.setrlimit(resource.RLIMIT_FSIZE, (20000, 20000))
        for name in names[:3]:
            self.expect(2, name + ": File too large", "convert", "in.tga", name, preexec_fn=small)
        self.assertEqual({self.read(name) for name in names}, {b"precious"})
        with open("/dev/full", "wb") as full:
            done = subprocess.run([ZAV, "info", "in.tga"], stdout=full, stderr=subprocess.PIPE)
        self.assertEqual((done.returncode, b"No space" in done.stderr), (2, True))

    def test_targets_keep_their_modes_and_links(self):
        self.write("in.tga", tga(noise(3, 3)))
        self.write("old.bmp", b"")
        os.chmod("old.bmp", 0o604)
        os.symlink("old.bmp", "link.bmp")
        self.expect(0, "", "convert", "in.tga", "new.bmp", preexec_fn=lambda: os.umask(0o027))
        self.expect(0, "", "convert", "in.tga", "link.bmp")
        self.assertEqual([os.stat(n).st_mode & 0o777 for n in ("new.bmp", "old.bmp")], [0o640, 0o604])
        self.assertEqual((os.path.islink("link.bmp"), self.read("old.bmp")), (True, self.read("new.bmp")))

    def test_info_and_compare(self):
        rows = noise(6, 5)
        self.write("a.tga", tga(rows, 10))
        changed = [list(row) for row in rows]
        r, g, b, a = changed[4][1]
        changed[4][1] = (r, g ^ 16, b, a ^ 1)
        self.write(os.fsdecode(b"b\xff.tga"), tga(changed))
        listing = zav("info", "--json", "a.tga", "none.tga", b"b\xff.tga", "x.gif")
        self.assertEqual((listing.returncode, listing.stderr.count(b"\n")), (2, 2))
        first, missing, second, _ = json.loads(listing.stdout)
        self.assertEqual([first[k] for k in ("type", "storage", "width", "height", "format", "bits")],
                         ["Targa", "32-bit, run-length", 6, 5, "bgra32", 32])
        self.assertEqual(("error" in missing, second["bytes"]), (True, 21 + 6 * 5 * 4))
        same = zav("compare", "--json", "a.tga", "a.tga")
        self.assertEqual((same.returncode, json.loads(same.stdout)["psnr"]), (0, None))
        other = zav("compare", "--json", "a.tga", b"b\xff.tga")
        told = json.loads(other.stdout)
        self.assertEqual((other.returncode, told["differing"]), (7, 1))
        self.assertAlmostEqual(told["psnr"], 43.59083, 5)  # 10 log10(255^2 * 90 / 16^2)
        self.assertEqual({n: (c["greatest"], c["differing"]) for n, c in told["channels"].items()},
                         {"red": (0, 0), "green": (16, 1), "blue": (0, 0), "alpha": (1, 1)})
        self.expect(0, "", "convert", "a.tga", "small.tga", "--size", "3x5")
        self.assertEqual(zav("compare", "a.tga", "small.tga").returncode, 7)

    def test_mip_and_palette(self):
        rows = noise(9, 6)
        self.write("in.tga", tga(rows))
        self.assertRegex(self.expect(0, "", "palette", "in.tga", "out.bmp"),
                         "^in.tga: {0} colours, {0} in the palette\n$".format(
                             len({pixel[:3] for row in rows for pixel in row})))
        self.assertEqual(read_bmp(self.read("out.bmp")), opaque(rows))
        self.expect(0, "", "mip", "in.tga", "out.tga")

        def average(x, y):
            four = [rows[2 * y + j][2 * x + i] for j in (0, 1) for i in (0, 1)]
            alpha = sum(p[3] for p in four)
            return (*(sum(p[c] * p[3] for p in four) // alpha for c in range(3)), alpha // 4)
        self.assertEqual(read_tga(self.read("out.tga")),
                         [[average(x, y) for x in range(4)] for y in range(3)])

    def pictures(self, *arguments):
        """What `extract` writes of c.zav, in its order."""
        names = self.expect(0, "", "extract", "c.zav", "-o", "out", *arguments).splitlines()
        return [read_tga(self.read(name)) for name in names]

    def test_containers_keep_pixels(self):
        def cut(rows, *bits):
            return [[(*(kept(v, n) for v, n in zip(pixel, bits)), 255) for pixel in row]
                    for row in rows]

        def high(rows, mask, green, bits):
            return [[(r & mask, g & green, b & mask, kept(a, bits)) for r, g, b, a in row]
                    for row in rows]
        layers = {"packed32": list, "packed32:interleaved:rgba": list, "true32:rgba": list,
                  "true32": list, "true24:rgb": opaque, "true24": opaque, "pal8": opaque,
                  "packedpal8": opaque, "hicolor:4444": lambda rows: high(rows, 240, 240, 4),
                  "hicolor:1555": lambda rows: high(rows, 248, 248, 1),
                  "hicolor": lambda rows: opaque(high(rows, 248, 252, 8)),
                  "packed32:5650": lambda rows: cut(rows, 5, 6, 5),
                  "packed32:rgba:1830:interleaved": lambda rows: cut(rows, 1, 8, 3)}
        options = [word for layer in layers for word in ("--layer", layer)]
        for width, height in ((1, 1), (5, 7), (67, 9), (300, 250)):  # the last takes many chunks
            rows = noise(width, height)
            self.write("in.tga", tga(rows))
            self.expect(0, "", "pack", "c.zav", *["in.tga"] * len(layers), *options)
            self.assertRegex(self.expect(0, "", "verify", "c.zav"), "^sound: 13 ")
            for layer, picture in zip(layers, self.pictures()):
                self.assertEqual(picture, layers[layer](rows), (layer, width))
            # The list, against the bytes.
            data, at = self.read("c.zav"), 4
            told = json.loads(self.expect(0, "", "list", "--json", "c.zav"))
            self.assertEqual((told["bytes"], told["problems"]), (len(data), []))
            for image, layer in zip(told["records"], layers):
                kind, size, name = struct.unpack_from("<BI32s", data, at)
                self.assertEqual((image["offset"], image["code"], image["bytes"]), (at, kind, size))
                self.assertEqual((image["name"], name.strip(b"\0")), ("in", b"in"))
                inner, = image["layers"]
                kind, size = struct.unpack_from("<BI", data, at + 37)
                self.assertEqual((inner["offset"], inner["code"], inner["bytes"]), (at + 37, kind, size))
                self.assertEqual((inner["width"], inner["height"]), (width, height))
                self.assertEqual(set(layer.split(":")) - set(inner["layer"].split(":")), set())
                at += 37 + size
            self.assertEqual(at, len(data))
        self.expect(0, "", "convert", "in.tga", "p.bmp", "--format", "pal8")
        self.expect(0, "", "pack", "c.zav", "in.tga", "p.bmp")  # the default loses nothing
        self.assertEqual(self.pictures(), [rows, opaque(rows)])
        self.assertEqual(self.read("out/p.tga")[16], 8)

    def test_other_kinds_of_images(self):
        rows = [[(r, g, b, 255) for r, g, b, _ in row] for row in noise(64, 32)]
        self.write("in.tga", tga(rows))
        if zav("pack", "c.zav", "in.tga", "--kind", "tiled").returncode == 5:
            self.skipTest("the library has plain images only")
        for kind in ("tiled", "squiz", "mipmap"):
            for layer in ("packed32", "packedpal8", "true24"):
                self.expect(0, "", "pack", "c.zav", "in.tga", "--kind", kind, "--layer", layer)
                self.expect(0, "", "verify", "c.zav")
                self.assertEqual(self.pictures(), [rows], (kind, layer))
        self.assertEqual([len(level[0]) for level in self.pictures("--levels")], [64, 32, 16, 8, 4, 2, 1])
        self.expect(0, "", "pack", "c.zav", "in.tga", "--kind", "mipmap", "--levels", "2")
        self.assertRegex(self.expect(0, "", "list", "c.zav"), "mipmap \"in\" +2 levels\n")

    def test_foreign_names(self):
        names = ["../../x", "..", "", "a", "a", "A", "a-2", "\x1b[2Jz", "n" * 32, "\u00e9"]
        self.write("in.tga", tga(noise(2, 2)))
        options = [word for name in names for word in ("--name", name)]
        self.expect(0, "", "pack", "c.zav", *["in.tga"] * len(names), *options)
        said = self.expect(0, "", "extract", "c.zav", "-o", "deep/out")
        files = ["_._.._x", "_.", "image", "a", "a-2", "A-3", "a-2-2", "_[2Jz",
                 "n" * 32, "\u00e9"]
        self.assertEqual(said.splitlines(), [f"deep/out/{file}.tga" for file in files])
        self.assertEqual(sorted(os.listdir("deep/out")), sorted(f"{file}.tga" for file in files))
        self.assertEqual(sorted(os.listdir()), ["c.zav", "deep", "in.tga"])
        self.assertNotIn("\x1b", self.expect(0, "", "list", "c.zav"))
        self.assertEqual([r["name"] for r in json.loads(zav("list", "--json", "c.zav").stdout)["records"]],
                         names)
        self.assertEqual(self.expect(0, "", "extract", "c.zav", "--name", "A"), "./A-3.tga\n")
        for text, *arguments in (("'b'", "extract", "c.zav", "--name", "b"), ("gif", "extract", "c.zav",
                                 "--type", "gif"), ("33 bytes", "pack", "d.zav", "in.tga", "--name",
                                 "n" * 33), ("does not end in .zav", "pack", "in.tga", "in.tga"),
                                 ("2 --layer for 3", "pack", "d.zav", *["in.tga"] * 3, "--layer", "pal8",
                                  "--layer", "pal8"), ("no layer 'png'.*packed32", "pack", "d.zav",
                                 "in.tga", "--layer", "png"), ("no variant '9650'", "pack", "d.zav",
                                 "in.tga", "--layer", "packed32:9650")):
            self.expect(1, text, *arguments)

    def test_bad_containers(self):
        self.write("in.tga", tga(noise(20, 1) * 16))
        options = [w for layer in ("packed32", "pal8", "hicolor:565") for w in ("--layer", layer)]
        self.expect(0, "", "pack", "c.zav", "in.tga", "in.tga", "in.tga", *options)
        data = self.read("c.zav")
        ends = [4]
        while ends[-1] < len(data):
            ends.append(ends[-1] + struct.unpack_from("<I", data, ends[-1] + 1)[0])
        for length in sorted({*range(1, len(data), 97), *(e + d for e in ends for d in (-1, 0, 1, 5))}):
            self.write("cut.zav", data[:length])
            if length in ends or length > len(data):
                self.expect(0, "", "verify", "cut.zav")
                continue
            begun = max([0] + [end for end in ends if end < length])
            self.expect(3, f"cut.zav: at offset {begun}: ", "verify", "cut.zav")
            self.expect(3, f"cut.zav: at offset {begun}: ", "list", "--json", "cut.zav")
        self.write("cut.zav", data[:-1])
        self.assertEqual(self.expect(3, f"offset {ends[2]}: .*cut off", "extract", "cut.zav"),
                         "./in.tga\n./in-2.tga\n")
        layer = [end + 37 for end in ends]
        for at, value, where, text in (
                (0, b"PNG", 0, "is not a container"), (4, b"\x02", 4, "no records of kind 2"),
                (5, b"\4\0\0\0", 4, "its size as 4"), (5, b"\xff" * 4, 4, "its size as -1"),
                (5, b"\x20\0\0\0", 4, "shorter than its header"), (layer[0], b"\3", layer[0], "inside"),
                (layer[0] + 10, bytes(4), layer[0], "sides 0 x 16"),
                (layer[0] + 22, b"\xff" * 4, layer[0] + 22, "length as -1"),
                (layer[0] + 26, b"\x41", layer[0] + 22, "announces"),
                (layer[0] + 30, b"\xff" * 16, layer[0], "cannot decode"),
                (layer[1] + 14, b"\x13", layer[1], "pitch of 19"),
                (layer[1] + 10, b"\x11", layer[1] + 18 + data[layer[1] + 5] * 4, "20 bytes are missing"),
                (layer[2] + 10, b"\x0f", layer[2], "618 bytes long and gives its size as 658"),
                (layer[2], b"\x22", None, "")):
            self.write("bad.zav", data[:at] + value + data[at + len(value):])
            found = ".*" if where is None else str(where)
            self.expect(3, f"bad.zav: at offset {found}: .*{text}", "verify", "bad.zav")
        draw = random.Random(4)
        for _ in range(60):
            at = draw.choice((draw.randrange(len(data)), draw.choice(ends[:3]) + draw.randrange(64)))
            self.write("bad.zav", data[:at] + bytes([draw.randrange(256)]) + data[at + 1:])
            for command in ("verify", "extract"):
                done = zav(command, "bad.zav")
                self.assertIn(done.returncode, (0, 3), (at, command, done.stderr))
                self.assertEqual(done.returncode == 3, b"at offset" in done.stderr)

    def test_full_disks_leave_no_half_containers(self):
        self.write("in.tga", tga(noise(70, 70)))
        arguments = ("pack", "c.zav", *["in.tga"] * 3, "--layer", "packed32", "--layer", "true24",
                     "--layer", "hicolor")
        self.expect(0, "", *arguments)
        whole = self.read("c.zav")
        sizes = [struct.unpack_from("<I", whole, 5)[0] + 4]
        for limit in sorted({3, *range(40, len(whole), 4999), *sizes, sizes[0] + 20, len(whole) - 1}):
            self.write("c.zav", b"precious"[:limit])
            self.expect(2, "c.zav: File too large", *arguments, preexec_fn=lambda: resource.setrlimit(
                resource.RLIMIT_FSIZE, (limit, limit)))
            self.assertEqual(self.read("c.zav"), b"precious"[:limit])

    def test_dds(self):
        rows = noise(7, 3)
        self.write("in.tga", tga(rows))
        for name in "rgba32 bgra32 rgb24 bgr24 rgb565 rgb555 argb4444 argb1555 custom16_1".split():
            masks = ("--masks", "1,f800,7c0,3e") if name == "custom16_1" else ()
            self.expect(0, "", "convert", "in.tga", "out.dds", "--format", name, *masks)
            self.expect(0, "", "convert", "out.dds", "back.tga")
            data = self.read("out.dds")
            words = struct.unpack("<32I", data[:128])
            self.assertEqual((data[:4], *words[1:5], words[19], words[27]),
                             (b"DDS ", 124, 0x100f, 3, 7, 32, 0x1000))
            size = words[22] // 8
            pixels = [int.from_bytes(data[at:at + size], "little") for at in range(128, len(data), size)]
            self.assertEqual((len(pixels), words[5]), (21, 7 * size))

            bits = [bin(mask).count("1") for mask in words[23:27]]
            self.assertEqual([[(pixel & mask) >> mask.bit_length() - n if n else 255
                               for mask, n in zip(words[23:27], bits)] for pixel in pixels],
                             [[v >> 8 - n if n else 255 for v, n in zip(pixel, bits)]
                              for row in rows for pixel in row], name)
            self.assertEqual(sum(read_tga(self.read("back.tga")), []), [
                (*(v >> 8 - n << 8 - n for v, n in zip(p[:3], bits)), kept(p[3], bits[3]) if bits[3] else 255)
                for row in rows for p in row], name)
        smooth = [[(4 * x, 255 - 8 * y, 3 * x + 2 * y, 255) for x in range(48)] for y in range(20)]
        clear = [[(*p[:3], 255 - 5 * x) for x, p in enumerate(row)] for row in smooth]
        for picture, format, code, size in ((smooth, (), b"DXT1", 480), (clear, (), b"DXT5", 960),
                                            (clear, ("--format", "dxt3"), b"DXT3", 960)):
            self.write("in.tga", tga(picture))
            self.expect(0, "", "convert", "in.tga", "out.dds", *format)
            data = self.read("out.dds")
            self.assertEqual((data[84:88], len(data)), (code, 128 + size))
            told = json.loads(zav("compare", "--json", "in.tga", "out.dds").stdout)
            self.assertGreater(min(told["psnr"], told["channels"]["alpha"]["psnr"] or 99), 31)
            peer = subprocess.run(["/usr/bin/python3", "-c", "import PIL.Image as i, sys; sys.stdout.buffer"
                                   ".write(i.open('out.dds').convert('RGBA').tobytes())"], capture_output=True)
            if peer.returncode == 0:
                error = [abs(a - b) for a, b in zip(peer.stdout, (v for row in picture for p in row for v in p))]
                self.assertLess((len(peer.stdout) != 3840, sum(error) / 3840, max(error)), (False, 4, 20))
        # Sides within the last blocks: the picture is cut.
        self.expect(0, "", "convert", "out.dds", "whole.tga")
        self.write("cut.dds", data[:12] + struct.pack("<II", 18, 46) + data[20:])
        self.expect(0, "", "convert", "cut.dds", "cut.tga")
        self.assertEqual(read_tga(self.read("cut.tga")),
                         [row[:46] for row in read_tga(self.read("whole.tga"))[:18]])
        self.write("in.tga", tga(noise(6, 5)))
        self.expect(5, "multiples of 4, which 6 x 5 are not", "convert", "in.tga", "out.dds")
        self.expect(0, "", "convert", "in.tga", "out.dds", "--size", "8x4", "--format", "dxt1")
        for code, text, at, value in ((3, "cut off", 16, 49), (3, "impossible", 12, 0), (3, "sense", 4, 1),
                                      (5, "cube map", 112, 0x200), (5, "DXT5", 84, 808540228)):
            self.write("bad.dds", data[:at] + struct.pack("<I", value) + data[at + 4:])
            self.expect(code, "bad.dds: .*" + text, "info", "bad.dds")

    def test_colour_only_on_a_terminal(self):
        self.write("in.tga", tga(noise(3, 3)))

        def on_terminal(**environment):
            with open("typescript", "wb") as log:
                def keep(descriptor):
                    data = os.read(descriptor, 4096)
                    log.write(data)
                    return data
                child = {k: v for k, v in os.environ.items() if k != "NO_COLOR"}
                saved, standard = dict(os.environ), os.dup(1)
                os.environ.clear()
                os.environ.update(child, TERM="xterm", **environment)
                null = os.open(os.devnull, os.O_WRONLY)
                os.dup2(null, 1)
                try:
                    pty.spawn([ZAV, "info", "in.tga", "none.tga"], keep)
                finally:
                    os.dup2(standard, 1)
                    os.environ.clear()
                    os.environ.update(saved)
            return self.read("typescript")
        self.assertEqual([b"\x1b[" in on_terminal(), b"\x1b[" in on_terminal(NO_COLOR="1"),
                          b"\x1b[" in zav("info", "in.tga", "none.tga").stdout], [True, False, False])

    def test_help(self):
        text = self.expect(0, "", "--help")
        for name in "pal8 pal4 rgba32 bgr24 rgb565 argb1555 custom16_2 dxt1 dxt5".split():
            self.assertRegex(text, r"\n +{} +\d+ ".format(re.escape(name)))
        self.assertRegex(self.expect(0, "", "--version"), r"^zav \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    unittest.main()
