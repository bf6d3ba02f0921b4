# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""tool_check.py ZAV: the command from outside, against PIL."""
import io
import json
import os
import pty
import random
import resource
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib
from pathlib import Path

sys.dont_write_bytecode = True
import tool_cases as cases
try:
    from PIL import Image, ImageChops, ImageStat
except ImportError:
    sys.exit(print("PIL (python3-pil) is not installed: nothing compared") or 77)

ZAV = os.path.abspath(sys.argv.pop())


def noise(width, height, seed=1):
    """Few colors, so that a palette holds them."""
    draw = random.Random(seed)
    colors = [draw.randbytes(4) for _ in range(60)]
    pixels = draw.choices(colors, k=width * height)
    return Image.frombytes("RGBA", (width, height), b"".join(pixels))


def smooth(width, height):
    ramps = [Image.linear_gradient("L").rotate(90 * turn) for turn in range(4)]
    return Image.merge("RGBA", ramps).resize((width, height))


def load(data):
    with Image.open(io.BytesIO(data) if isinstance(data, bytes) else data) as picture:
        return picture.convert("RGBA")


def stored(name, attribute):
    with Image.open(name) as file:
        return getattr(file, attribute)


def top_bits(value, bits, filled):
    """Low bits become ones, if at all, below a top bit that is set."""
    low = 255 >> bits if filled and value & 128 else 0
    return value >> 8 - bits << 8 - bits | low


def keep_bits(picture, bits, filled=False):
    """Bits of red, green, blue and alpha; None: opaque. Alpha is always filled."""
    channels = zip(bits, (filled, filled, filled, True))
    return picture.point([255 if count is None else top_bits(value, count, fill)
                          for count, fill in channels for value in range(256)])


def opaque(picture, bits=8):
    return keep_bits(picture, (bits, bits, bits, None))


def packed(picture, masks, size):
    """The pixels as little-endian words; `masks` are of red, green, blue and alpha."""
    def put(value, mask):
        bits = mask.bit_count()
        return value >> 8 - bits << mask.bit_length() - bits if bits else 0
    return [sum(map(put, pixel, masks)).to_bytes(size, "little") for pixel in picture.getdata()]


def error(a, b):
    return max(ImageStat.Stat(ImageChops.difference(a, b)).mean)  # of the channels


class Tool(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def expect(self, code, text, *arguments, **options):
        """The command ends with this code and, for an error, one line that says this."""
        done = subprocess.run([ZAV, *arguments], capture_output=True, **options)
        said = done.stderr.decode(errors="replace")
        self.assertEqual(done.returncode, code, (arguments, said))
        self.assertRegex(said, "^zav: .*" + text + ".*\n$" if text else "^$", arguments)
        self.assertEqual([n for n in os.listdir() if n.startswith(".")], [], arguments)
        return done.stdout if "input" in options else done.stdout.decode()

    def run_ok(self, line, *more, **options):
        return self.expect(0, "", *line.split(), *more, **options)

    def same(self, picture, expected, *about):
        self.assertEqual(picture.size, expected.size, about)
        self.assertEqual(picture.tobytes(), expected.tobytes(), about)

    def converted(self, source, name, *options):
        self.expect(0, "", "convert", source, name, *options)
        return load(name)

    def extracted(self, *options):
        """The pictures that `extract` writes of c.zav, in its order."""
        names = self.run_ok("extract c.zav -o out --type png", *options)
        return [load(name) for name in names.splitlines()]

    def pack(self, layers):
        """Packs in.png once for each layer."""
        options = [f"--layer={layer}" for layer in layers]
        self.run_ok("pack c.zav", *["in.png"] * len(layers), *options)

    def records(self, name):
        return json.loads(self.run_ok("list --json", name))["records"]

    def check_saved(self, source, picture):
        for name, form, mode in cases.SAVED:
            written = self.converted(source, name, *(["--format", form] if form else []))
            self.same(written, picture if mode == "RGBA" else opaque(picture), source, name)
            self.assertEqual(stored(name, "mode"), mode, (source, name))

    def test_files_keep_pixels(self):
        for width, height in ((1, 1), (3, 2), (67, 9), (256, 3)):
            picture = noise(width, height)
            for source in ("in.png", "in.sgi"):
                picture.save(source)
                self.check_saved(source, picture)
            for packing, way in ((None, -1), (None, 1), ("tga_rle", -1), ("tga_rle", 1)):
                picture.save("in.tga", compression=packing, orientation=way)
                self.check_saved("in.tga", picture)
        rgb555 = self.converted("in.tga", "d.tga", "--format", "rgb555")
        self.same(opaque(rgb555, 5), opaque(picture, 5))  # PIL fills the lost bits
        for source, name in (("c.tga", "i.png"), ("i.png", "j.bmp"), ("j.bmp", "k.tga")):
            self.same(self.converted(source, name), opaque(picture), source, name)
            self.assertEqual(stored(name, "mode"), "P")  # palettized stays palettized
        onto_itself = self.converted("a.tga", "a.tga", "--size=50%")
        self.assertEqual(onto_itself.size, (128, 2))

    def test_png_types(self):
        picture = noise(19, 11)
        grey, alpha = picture.getchannel(0), noise(19, 11, 2).getchannel(0)
        key, clear = picture.getpixel((3, 3))[:3], bytes(range(0, 260, 20))
        for storage, source, options in (
                ("1-bit grey", grey.convert("1"), {}), ("8-bit grey", grey, {}),
                ("8-bit grey.alpha", Image.merge("LA", (grey, alpha)), {}),
                ("8-bit RGB", picture.convert("RGB"), {"transparency": key}),
                ("8-bit RGBA", picture, {}),
                ("4-bit palette", grey.quantize(13), {"transparency": clear})):
            source.save("in.png", **options)
            self.assertRegex(self.run_ok("info in.png"), storage)
            self.pack(["packed32"])
            for written in (*self.extracted(), self.converted("in.png", "out.tga")):
                self.same(written, load("in.png"), storage)

    def test_interlaced_and_damaged_png(self):
        whole = cases.INTERLACED_PNG
        self.same(load(self.run_ok("convert - - --type png:tga", input=whole)), load(whole))
        header = b"IHDR" + struct.pack(">II", 16384, 16384) + whole[24:29]
        huge = whole[:12] + header + struct.pack(">I", zlib.crc32(header)) + whole[33:]
        for text, bad in (("not a PNG", b"\x89PNX" + whole[4:]), ("cut off", whole[:-9]),
                          ("CRC|code", whole[:50] + b"x" + whole[51:]), ("cut off", huge)):
            self.expect(3, text, "info", "-", "--type", "png", input=bad)

    def test_jpeg_files(self):
        plain = smooth(76, 41).convert("RGB")
        plain.save("in.png")
        ours = self.converted("in.png", "out.jpeg", "--quality=10")
        self.assertLess(error(ours, plain.convert("RGBA")), 12)
        plain.save("in.jpg", quality=10, progressive=True)
        self.assertEqual(*(stored(name, "quantization") for name in ("out.jpeg", "in.jpg")))
        self.assertRegex(self.run_ok("info in.jpg"), "76 x 41 +bgr24 +4:2:0, progressive ")
        self.assertLess(error(load("in.jpg"), self.converted("in.jpg", "out.tga")), 1)

    def test_raw_pixels(self):
        picture = noise(7, 3)
        picture.save("in.tga")
        self.run_ok("convert in.tga out.raw --format custom16_2 --masks 8000,0x1f,3E0,7c00")
        words = packed(picture, (0x1F, 0x3E0, 0x7C00, 0x8000), 2)
        rows = [words[at:at + 7] + [b"\0\0"] for at in (0, 7, 14)]  # of 16 bytes
        self.assertEqual(Path("out.raw").read_bytes(), b"".join(sum(rows, [])))
        # Custom pixels come back by the masks in the JSON file, and move to other masks.
        self.run_ok("convert out.raw m.raw --format custom16_2 --masks 0,7c00,3e0,1f")
        self.same(self.converted("m.raw", "back.tga"), opaque(picture, 5))
        self.run_ok("convert in.tga m.raw --format pal8")
        self.same(self.converted("m.raw", "back.tga"), opaque(picture))
        good = json.loads(Path("m.raw.json").read_bytes())
        for key, value in cases.BAD_SIDECARS:
            Path("m.raw.json").write_text(json.dumps({**good, key: value}))
            self.expect(3, "m.raw", "info", "m.raw")

    def test_dds_pixels(self):
        picture = noise(7, 3)
        picture.save("in.tga")
        for form in ("rgba32", "bgra32", "rgb24", "bgr24", "rgb565", "rgb555", "argb4444",
                     "argb1555", "custom16_1 --masks=1,f800,7c0,3e"):
            self.run_ok("convert in.tga out.dds --format " + form)
            data = Path("out.dds").read_bytes()
            header = struct.unpack("<32I", data[:128])
            self.assertEqual((*header[:5], header[19], header[27]),
                             (0x20534444, 124, 0x100F, 3, 7, 32, 0x1000))
            masks = header[23:27]
            self.assertEqual(data[128:], b"".join(packed(picture, masks, header[22] // 8)), form)
            bits = [mask.bit_count() or None for mask in masks]
            self.same(self.converted("out.dds", "back.png"), keep_bits(picture, bits), form)

    def test_dds_blocks(self):
        clear = smooth(48, 20)
        for code, source, size, *options in (("DXT1", opaque(clear), 480), ("DXT5", clear, 960),
                                             ("DXT3", clear, 960, "--format=dxt3")):
            source.save("in.tga")
            peer = self.converted("in.tga", "out.dds", *options)
            ours = self.converted("out.dds", "whole.tga")
            data = Path("out.dds").read_bytes()
            self.assertEqual((data[84:88].decode(), len(data)), (code, 128 + size))
            self.assertLess(max(error(ours, source), error(peer, source)), 7)
        # Sides that end inside the last blocks.
        Path("cut.dds").write_bytes(data[:12] + struct.pack("<II", 18, 46) + data[20:])
        self.same(self.converted("cut.dds", "cut.tga"), ours.crop((0, 0, 46, 18)))

    def test_refusals(self):
        for name, mode in (("a.tga", "RGBA"), ("a.rgb", "RGBA"), ("a.jpg", "RGB"), ("l.jpg", "L")):
            noise(5, 4).convert(mode).save(name)
        self.run_ok("convert a.tga a.bmp --format pal8")
        self.run_ok("convert a.tga a.dds --format bgra32")
        kinds = ("tga", "bmp", "rgb", "jpg", "dds")
        data = {kind: Path("a." + kind).read_bytes() for kind in kinds}
        data["tga"] = data["tga"][:-26]  # PIL's footer
        for kind, whole in data.items():
            for length in sorted({*range(1, len(whole), len(whole) // 20), len(whole) - 1}):
                self.expect(3, "-: ", "info", "-", "--type", kind, input=whole[:length])
        for code, text, kind, at, value in cases.BAD_HEADERS:
            bad = data[kind][:at] + bytes([value]) + data[kind][at + 1:]
            self.expect(code, "-: .*" + text, "info", "-", "--type", kind, input=bad)
        os.mkdir("folder.tga")
        before = sorted(os.listdir())
        for code, text, line in cases.REFUSED:
            self.expect(code, text, *line.split())
        self.assertEqual(sorted(os.listdir()), before)

    def test_info_and_compare(self):
        picture, other = noise(9, 6), os.fsdecode(b"b\xff.tga")
        picture.save("a.tga", compression="tga_rle")
        r, g, b, a = picture.getpixel((1, 4))
        picture.putpixel((1, 4), (r, g ^ 16, b, a ^ 1))
        picture.save(other)
        listed = self.expect(2, "no.tga: No such", "info", "--json", "a.tga", "no.tga", other)
        first, _, second = json.loads(listed)
        self.assertEqual([first[key] for key in ("type", "storage", "width", "height", "format")],
                         ["Targa", "32-bit, run-length", 9, 6, "bgra32"])
        self.assertEqual(second["bytes"], os.path.getsize(other))
        self.assertRegex(self.run_ok("compare a.tga a.tga"), "^identical")
        report = json.loads(self.expect(7, "", "compare", "--json", "a.tga", other))
        self.assertAlmostEqual(report["psnr"], 46.143554101)  # 10 log10(255^2 * 162 / 16^2)
        differences = [(c["greatest"], c["differing"]) for c in report["channels"].values()]
        self.assertEqual(differences, [(0, 0), (16, 1), (0, 0), (1, 1)])  # red, green, blue, alpha
        self.expect(0, "", "mip", other, "out.tga")
        self.assertRegex(self.expect(7, "", "compare", other, "out.tga"), "different sizes")
        text = self.run_ok("palette a.tga out.png")
        self.assertRegex(text, r": (\d\d) colors, \1 in the palette")

    def test_mip(self):
        smooth(64, 34).save("in.png")
        plain = self.converted("in.png", "in.bmp")
        self.run_ok("mip in.bmp out.bmp")
        self.assertLess(error(load("out.bmp"), plain.reduce(2)), 1)

    def test_writes_are_whole_or_nothing(self):
        noise(99, 99).save("in.tga")
        pack = "pack c.zav in.tga in.tga in.tga --layer packed32 --layer true24 --layer hicolor"
        self.run_ok(pack)
        names = ("o.tga", "o.bmp", "o.raw", "o.png", "o.jpg")
        runs = [(2000, name, "convert in.tga " + name) for name in names]
        for limit in (*range(3, 70000, 9973), os.path.getsize("c.zav") - 1):
            runs.append((limit, "c.zav", pack))
        for limit, name, line in runs:
            Path(name).write_bytes(b"precious"[:limit])
            self.expect(2, name + ": File too large", *line.split(), preexec_fn=lambda: (
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))))
            self.assertEqual(Path(name).read_bytes(), b"precious"[:limit])
        for line in ("info in.tga >/dev/full", "convert in.tga - --type png >/dev/full"):
            done = subprocess.run(f"{ZAV} {line}", shell=True, capture_output=True)
            self.assertEqual((done.returncode, b"No space" in done.stderr), (2, True))
        for line in ("info no.tga 2>&-", "info no.tga 2>/dev/full"):
            self.assertEqual(subprocess.call(f"{ZAV} {line}", shell=True), 2)

    def test_modes_and_links(self):
        noise(9, 9).save("in.tga")
        Path("o.bmp").touch()
        os.chmod("o.bmp", 0o604)
        os.symlink("o.bmp", "link.bmp")
        self.run_ok("convert in.tga new.bmp", preexec_fn=lambda: os.umask(0o027))
        self.run_ok("convert in.tga link.bmp")
        modes = [os.stat(name).st_mode & 0o777 for name in ("new.bmp", "o.bmp")]
        self.assertEqual(modes, [0o640, 0o604])
        self.assertTrue(os.path.islink("link.bmp"))
        self.assertEqual(Path("o.bmp").read_bytes(), Path("new.bmp").read_bytes())

    def test_standard_streams(self):
        picture = noise(20, 11)
        picture.save("in.png")
        for kind in ("tga", "bmp", "dds", "png"):
            form = "--format=bgra32" if kind == "dds" else "--filter=point"
            file = self.run_ok("convert in.png - --type", kind, form, input=b"")
            self.run_ok("convert - out.png --type", kind, input=file)
            self.same(load("out.png"), opaque(picture) if kind == "bmp" else picture, kind)
        box = self.run_ok("pack - - in.png --type png", input=file)
        self.run_ok("extract - --type png", input=box)
        self.same(load("image.png"), picture)
        self.expect(1, "only once", "compare", "-", "-", "--type", "png", input=file)

    def test_terminals(self):
        noise(2, 2).save("in.png")
        outer, inner = pty.openpty()
        for code, text, no_color, line in (
                (0, rb"\x1b\[", "", "info in.png"), (0, rb"^[^\x1b]*$", "1", "info in.png"),
                (1, b"is a terminal", "", "convert in.png - --type bmp")):
            done = subprocess.run([ZAV, *line.split()], stdout=inner, stderr=inner, env={
                **os.environ, "TERM": "xterm", "NO_COLOR": no_color})
            self.assertEqual(done.returncode, code, line)
            self.assertRegex(os.read(outer, 4096), text)

    def test_layers_keep_pixels(self):
        for width, height in ((1, 1), (5, 7), (300, 250)):  # the last takes many chunks
            picture = noise(width, height)
            picture.save("in.png")
            self.pack(cases.LAYERS)
            self.assertRegex(self.run_ok("verify c.zav"), f"^sound: {len(cases.LAYERS)} ")
            for (layer, bits), written in zip(cases.LAYERS.items(), self.extracted()):
                filled = layer.startswith("packed32")
                self.same(written, keep_bits(picture, bits, filled), layer, width)
            data, at = Path("c.zav").read_bytes(), 41
            for layer, record in zip(cases.LAYERS, self.records("c.zav")):
                listed = record["layers"][0]
                keys = ("offset", "code", "bytes", "width", "height")
                expected = [at, *struct.unpack_from("<BI", data, at), width, height]
                self.assertEqual([listed[key] for key in keys], expected)
                self.assertLessEqual(set(layer.split(":")), set(listed["layer"].split(":")))
                at += record["bytes"]

    def test_lossy_layers(self):
        picture = smooth(76, 41)
        picture.save("in.png")
        self.pack(cases.LOSSY_LAYERS)
        for (layer, bits), written in zip(cases.LOSSY_LAYERS.items(), self.extracted()):
            self.assertLess(error(written, keep_bits(picture, bits)), 3, layer)
        self.assertLessEqual(set(cases.LOSSY_LAYERS), set(self.run_ok("list c.zav").split()))

    def test_kinds_keep_pixels(self):
        picture = opaque(noise(64, 32))
        picture.paste(picture.getpixel((0, 31)), (0, 0, 64, 16))
        picture.save("in.png")
        for layer in ("packed32", "packedpal8", "true24"):
            for kind, facts in (("tiled", "1 tile"), ("squiz", "16 of 32 blocks stored"),
                                ("mipmap", "7 levels")):
                self.run_ok("pack c.zav in.png --kind", kind, "--layer", layer)
                self.same(*self.extracted(), picture, kind, layer)
                self.assertRegex(self.run_ok("list c.zav"), f'64 x 32 +{kind} "in" +{facts}\n')
        sizes = [level.width for level in self.extracted("--levels")]
        self.assertEqual(sizes, [64, 32, 16, 8, 4, 2, 1])
        self.run_ok("pack c.zav in.png --kind mipmap --levels 2")
        self.assertIn("  2 levels\n", self.run_ok("list c.zav"))

    def test_foreign_names(self):
        noise(2, 2).save("in.tga")
        names = [word for name in cases.FILE_NAMES for word in ("--name", name)]
        self.run_ok("pack c.zav", *["in.tga"] * len(cases.FILE_NAMES), *names)
        self.assertEqual(self.run_ok("extract c.zav -o deep/out").splitlines(),
                         [f"deep/out/{file}.tga" for file in cases.FILE_NAMES.values()])
        self.assertEqual(sorted(os.listdir()), ["c.zav", "deep", "in.tga"])
        self.assertNotIn("\x1b", self.run_ok("list c.zav"))
        self.assertEqual(self.run_ok("extract c.zav --name A"), "./A-2.tga\n")
        self.expect(1, "has no image named 'b'", "extract", "c.zav", "--name", "b")

    def three(self):
        """A container, and where its images begin and the last one ends."""
        noise(20, 1).resize((20, 16)).save("in.png")
        self.pack(["packed32", "pal8", "hicolor:565"])
        data = Path("c.zav").read_bytes()
        return data, [*(record["offset"] for record in self.records("c.zav")), len(data)]

    def test_cut_containers(self):
        data, ends = self.three()
        lengths = {*range(1, len(data), 97), *(end + d for end in ends[:3] for d in (-1, 0, 1, 5))}
        for length in sorted(lengths):
            begun = max([0] + [end for end in ends if end < length])
            result = (0, "") if length in ends else (3, f"-: at offset {begun}: ")
            self.expect(*result, "verify", "-", input=data[:length])
            self.expect(*result, "list", "--json", "-", input=data[:length])
        listed = self.expect(3, f"offset {ends[2]}: .*cut off", "extract", "-", input=data[:-1])
        self.assertEqual(listed, b"./in.tga\n./in-2.tga\n")

    def check_bad(self, data, *damages):
        for at, value, where, text in damages:
            bad = data[:at] + value + data[at + len(value):]
            self.expect(3, f"-: at offset {where}: .*{text}", "verify", "-", input=bad)

    def test_bad_containers(self):
        data, ends = self.three()
        a, b, c = (end + 37 for end in ends[:3])  # the layers
        self.check_bad(
            data, (0, b"PNG", 0, "is not a container"), (4, b"\2", 4, "no records of kind 2"),
            (a, b"\3", a, "inside"), (5, b"\xff" * 4, 4, "its size as -1"),
            (5, b"\x20\0\0\0", 4, "shorter than its"), (a + 10, bytes(4), a, "sides 0 x 16"),
            (a + 22, b"\xff" * 4, a, "cannot decode"), (a + 26, b"\x41", a, "cannot decode"),
            (a + 30, b"\xff" * 16, a, "cannot decode"), (b + 14, b"\x13", b, "cannot decode"),
            (c + 10, b"\x0f", c, "cannot decode"))  # a row less than the record holds
        self.run_ok("pack c.zav in.png --kind tiled")
        self.check_bad(Path("c.zav").read_bytes(), (50, b"\2", 4, "cannot decode"),
                       (51, b"\2", 4, "1 layers instead of 2"))
        self.run_ok("pack c.zav in.png --kind squiz")
        self.check_bad(Path("c.zav").read_bytes(), (49, b"\0", 4, "block size"),
                       (49, b"\x09", 4, "cannot decode"), (41, b"\xff\xff", 50, "rows of blocks"))

    def test_random_damage(self):
        data, ends = self.three()
        draw = random.Random(4)
        for _ in range(60):
            header = draw.choice(ends[:3]) + draw.randrange(64)
            at = draw.choice((draw.randrange(len(data)), header))
            Path("bad.zav").write_bytes(data[:at] + bytes([draw.randrange(256)]) + data[at + 1:])
            for line in ("verify bad.zav", "extract bad.zav", "preview bad.zav bad.png"):
                done = subprocess.run([ZAV, *line.split()], capture_output=True)
                self.assertIn(done.returncode, (0, 3), (at, line, done.stderr))
                self.assertEqual(done.returncode == 3, b"at offset" in done.stderr)

    def find(self, sheet, picture, times=1):
        """The picture is on the sheet, over the checkerboard."""
        width, height = (side * times for side in picture.size)
        greys = [96 + 32 * ((x // 8 + y // 8) % 2) for y in range(height) for x in range(width)]
        checks = Image.new("RGBA", (width, height))
        checks.putdata([(grey, grey, grey, 255) for grey in greys])
        large = picture.resize((width, height), Image.NEAREST)
        expected = Image.alpha_composite(checks, large)
        first_row = expected.crop((0, 0, width, 1)).tobytes()
        y, x = divmod(sheet.tobytes().index(first_row) // 4, sheet.width)
        self.assertLess(error(sheet.crop((x, y, x + width, y + height)), expected), 1)

    def test_preview_shows_pictures(self):
        wide, small = noise(300, 40), noise(64, 20)
        sources = {"a": wide, "b": small, "c": smooth(1600, 400), "d": noise(64, 32, 2)}
        for name, picture in sources.items():
            picture.save(name + ".png")
        self.run_ok("pack c.zav a.png b.png c.png d.png --kind plain --kind tiled --kind squiz "
                    "--kind mipmap --name two --name three --name four --name", "\u00e9\n")
        self.run_ok("preview c.zav sheet.png")
        sheet = load("sheet.png")
        self.find(sheet, wide)
        for picture in (small, *self.extracted("--levels")[3:]):
            self.find(sheet, picture, 2)

    def test_preview_marks_bad_records(self):
        data, ends = self.three()
        Path("bad.zav").write_bytes(data[:ends[0] + 47] + bytes(4) + data[ends[0] + 51:-1])
        self.expect(3, "at offset.*\nzav: bad.zav: at offset", "preview", "bad.zav", "out.png")
        self.find(load("out.png"), opaque(load("in.png")), 6)
        marks = load("out.png").tobytes().count(bytes((96, 36, 40, 255)))
        self.assertGreater(marks, 2 * 300 * 40)  # both bad ones
        many = load(self.run_ok("preview - -", input=data + data[4:] * 200))
        self.assertLess(many.width * many.height, 1 << 24)


unittest.main()
