# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""tool_check.py ZAV SAMPLES: the command from outside, against PIL."""
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
try:
    from PIL import Image, ImageChops, ImageStat, JpegImagePlugin
except ImportError:
    sys.exit(print("PIL (python3-pil) is not installed: nothing compared") or 77)

SAMPLES, ZAV = os.path.abspath(sys.argv.pop()), os.path.abspath(sys.argv.pop())


def noise(width, height, seed=1):
    """Few colors, so that 256 are enough."""
    draw = random.Random(seed)
    colors = [draw.randbytes(4) for _ in range(60)]
    return Image.frombytes("RGBA", (width, height), b"".join(draw.choices(colors, k=width * height)))


def smooth(width, height):
    ramps = [Image.linear_gradient("L").rotate(90 * turn).resize((width, height)) for turn in range(4)]
    return Image.merge("RGBA", ramps)


def load(data):
    with Image.open(io.BytesIO(data) if isinstance(data, bytes) else data) as picture:
        return picture.convert("RGBA")


def high(bits, fill=0):
    """Keeps the top bits of a byte; low bits become ones, if at all, below a top bit that is set."""
    return lambda value: value >> 8 - bits << 8 - bits | (fill >> bits if value & 128 else 0)


def bands(picture, *changes):
    """`changes` of red, green, blue and alpha: functions of a byte; None: opaque."""
    return picture.point([change(v) if change else 255 for change in changes for v in range(256)])


def opaque(picture, bits=8):
    return bands(picture, high(bits), high(bits), high(bits), None)


def error(a, b):
    return max(ImageStat.Stat(ImageChops.difference(a, b)).mean)  # of the channels


class Tool(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def expect(self, code, text, *arguments, **options):
        """The command ends with this code and, at an error, one line that says this."""
        done = subprocess.run([ZAV, *arguments], capture_output=True, **options)
        said = done.stderr.decode(errors="replace")
        self.assertEqual(done.returncode, code, (arguments, said))
        self.assertRegex(said, "^zav: .*" + text + ".*\n$" if text else "^$", arguments)
        self.assertEqual([n for n in os.listdir() if n.startswith(".")], [], arguments)
        return done.stdout if "input" in options else done.stdout.decode()

    def same(self, picture, expected, *about, mode=None):
        if not isinstance(picture, Image.Image):
            with Image.open(picture if isinstance(picture, str) else io.BytesIO(picture)) as file:
                self.assertIn(mode, (None, file.mode), about)
            picture = load(picture)
        self.assertEqual((picture.size, picture.tobytes()), (expected.size, expected.tobytes()), about)

    def converted(self, source, name, *options):
        self.expect(0, "", "convert", source, name, *options)
        return load(name)

    def pictures(self, *arguments):
        """What `extract` writes of c.zav, in its order."""
        names = self.expect(0, "", "extract", "c.zav", "-o", "out", "--type", "png", *arguments)
        return [load(name) for name in names.splitlines()]

    def test_files_keep_pixels(self):
        inputs = [("in.tga", {"compression": packing, "orientation": way})
                  for packing in (None, "tga_rle") for way in (-1, 1)] + [("in.png", {}), ("in.sgi", {})]
        for width, height in ((1, 1), (3, 2), (67, 9), (256, 3)):
            picture = noise(width, height)
            for source, options in inputs:
                picture.save(source, **options)
                for name, form, expected, mode in (
                        ("a.tga", "", picture, "RGBA"), ("b.tga", "bgr24", opaque(picture), "RGB"),
                        ("c.tga", "pal8", opaque(picture), "P"), ("e.bmp", "", opaque(picture), "RGB"),
                        ("f.BMP", "pal8", opaque(picture), "P"), ("g.png", "", picture, "RGBA"),
                        ("h.png", "rgb24", opaque(picture), "RGB")):
                    self.expect(0, "", "convert", source, name, *(("--format", form) if form else ()))
                    self.same(name, expected, source, name, width, mode=mode)
                rgb555 = self.converted(source, "d.tga", "--format", "rgb555")
                self.same(opaque(rgb555, 5), opaque(picture, 5))  # PIL fills the lost bits
            for source, name in (("c.tga", "i.png"), ("i.png", "j.bmp"), ("j.bmp", "k.tga")):
                self.expect(0, "", "convert", source, name)  # palettized stays palettized
                self.same(name, opaque(picture), source, name, mode="P")
        self.assertEqual(self.converted("a.tga", "a.tga", "--size", "50%").size, (128, 2))  # onto itself
        for sample in Path(SAMPLES).glob("*.???"):
            self.assertLess(error(self.converted(sample, "out.png"), load(sample)), sample.suffix == ".jpg" or 1e-9)

    def test_png(self):
        grey, clear, colors = noise(19, 11).getchannel(0), noise(19, 11, 2).getchannel(0), noise(19, 11)
        for name, picture, options in (
                ("1-bit grey", grey.convert("1"), {}), ("8-bit grey", grey, {}), ("8-bit RGBA", colors, {}),
                ("8-bit grey.alpha", Image.merge("LA", (grey, clear)), {}),
                ("8-bit RGB", colors.convert("RGB"), {"transparency": colors.getpixel((3, 3))[:3]}),
                ("4-bit palette", grey.quantize(13), {"transparency": bytes(range(0, 260, 20))})):
            picture.save("in.png", **options)
            self.assertRegex(self.expect(0, "", "info", "in.png"), name)
            self.expect(0, "", "pack", "c.zav", "in.png")
            for written in (*self.pictures(), self.converted("in.png", "out.tga")):
                self.same(written, load("in.png"), name)

        def chunk(kind, body):
            return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
        # 16-bit samples that are 257 times the 8-bit ones, in the rows of an interlaced file's seven passes.
        rows = [b"\0" + b"".join(bytes((v, v)) for x in range(left, 19, right) for v in colors.getpixel((x, y)))
                for left, top, right, down in ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4),
                                               (1, 0, 2, 2), (0, 1, 1, 2)) for y in range(top, 11, down)]
        head = struct.pack(">IIBBBBB", 19, 11, 16, 6, 0, 0, 1)
        body = chunk(b"IDAT", zlib.compress(b"".join(rows))) + chunk(b"IEND", b"")
        whole = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + body
        self.same(self.expect(0, "", "convert", "-", "-", "--type", "png:tga", input=whole), colors)
        huge = whole[:8] + chunk(b"IHDR", b"\0\0\x40\0" * 2 + head[8:]) + body
        for text, bad in (("not a PNG", b"\x89PNX" + whole[4:]), ("CRC|code", whole[:50] + b"x" + whole[51:]),
                          ("cut off", whole[:-9]), ("cut off", huge)):
            self.expect(3, text, "info", "-", "--type", "png", input=bad)

    def test_jpeg(self):
        picture = smooth(76, 41)
        picture.save("in.png")
        plain = opaque(picture).convert("RGB")
        for quality in (0, 50, 90, 100):
            ours = self.converted("in.png", "out.jpeg", *(() if quality == 90 else ("--quality", str(quality))))
            plain.save("peer.jpg", quality=max(quality, 1), subsampling="4:2:2")
            with Image.open("out.jpeg") as file, Image.open("peer.jpg") as peer:
                self.assertEqual((file.quantization, JpegImagePlugin.get_sampling(file)), (peer.quantization, 1))
            self.assertLess(error(ours, load("peer.jpg")), 1)
        for sampling, options in (("4:4:4", {"subsampling": 0}), ("4:2:0, progressive", {"progressive": True})):
            plain.save("in.jpg", **options)
            self.assertRegex(self.expect(0, "", "info", "in.jpg"), f"76 x 41 +bgr24 +{sampling} ")
            self.assertLess(error(load("in.jpg"), self.converted("in.jpg", "out.tga")), 1)
        mask = bands(picture, int, int, int, lambda v: 255 * (v > 127))
        layers = {"jpeg24:bgr:420:90": opaque(picture), "jpeg24:rgb:422:85": opaque(picture), "jpeg32:bgra:95": picture,
                  "jpeg32:rgba:95": picture, "jpegmask:bgr:420:90": mask, "jpegmask:rgb:422:95": mask,
                  "jpeg24:bgr:420:90:cut99,0,0,0": bands(opaque(picture), lambda v: v * (v >= 99), int, int, None)}
        self.expect(0, "", "pack", "c.zav", *["in.png"] * len(layers), *[f"--layer={layer}" for layer in layers])
        for (layer, expected), written in zip(layers.items(), self.pictures()):
            self.assertLess(error(written, expected), 3, layer)
            self.assertTrue("32" in layer or written.getchannel(3) == expected.getchannel(3), layer)
        self.assertLessEqual(set(layers), set(self.expect(0, "", "list", "c.zav").split()))

    def test_raw_pixels(self):
        picture = noise(7, 3)
        picture.save("in.tga")
        for name, more, pixel in (
                ("argb4444", [], lambda r, g, b, a: a >> 4 << 12 | r >> 4 << 8 | g >> 4 << 4 | b >> 4),
                ("custom16_2", ["--masks=8000,0x1f,3E0,7c00"],
                 lambda r, g, b, a: r >> 3 | g >> 3 << 5 | b >> 3 << 10 | a >> 7 << 15)):
            self.expect(0, "", "convert", "in.tga", "out.raw", "--format", name, *more)
            lines = [[pixel(*picture.getpixel((x, y))) for x in range(7)] + [0] for y in range(3)]  # rows of 16 bytes
            self.assertEqual(Path("out.raw").read_bytes(), struct.pack("<24H", *sum(lines, [])))
        # Custom pixels come back by the masks of the sidecar, and move to other masks.
        for line, bits in (("out.raw m.raw --format=custom16_2 --masks=0,7c00,3e0,1f", 5), ("in.tga m.raw --format=pal8", 8)):
            self.expect(0, "", "convert", *line.split())
            self.same(self.converted("m.raw", "back.tga"), opaque(picture, bits))
        good = json.loads(Path("m.raw.json").read_bytes())
        for key, value in (("width", 70), ("height", -1), ("pitch", 1), ("pitch", 2 ** 40), ("format", "x"),
                           ("palette", ["#000000ff"]), ("palette", 3), ("width", "7")):
            Path("m.raw.json").write_text(json.dumps({**good, key: value}))
            self.expect(3, "m.raw", "info", "m.raw")

    def test_dds(self):
        picture = noise(7, 3)
        picture.save("in.tga")
        for name in "rgba32 bgra32 rgb24 bgr24 rgb565 rgb555 argb4444 argb1555 custom16_1".split():
            masks = ["--masks=1,f800,7c0,3e"] * (name == "custom16_1")
            self.expect(0, "", "convert", "in.tga", "out.dds", "--format", name, *masks)
            data = Path("out.dds").read_bytes()
            header = struct.unpack("<32I", data[:128])
            self.assertEqual((*header[:5], header[19], header[27]), (0x20534444, 124, 0x100f, 3, 7, 32, 0x1000))
            size, fields = header[22] // 8, header[23:27]
            bits = [bin(mask).count("1") for mask in fields]
            pixels = [int.from_bytes(data[at:at + size], "little") for at in range(128, len(data), size)]
            self.assertEqual(
                [[(pixel & m) >> m.bit_length() - n if n else 255 for m, n in zip(fields, bits)] for pixel in pixels],
                [[v >> 8 - n if n else 255 for v, n in zip(p, bits)] for p in picture.getdata()], name)
            self.same(self.converted("out.dds", "back.png"),
                      bands(picture, *map(high, bits[:3]), high(bits[3], 255) if bits[3] else None), name)
        for code, source, size, options in (
                ("DXT1", opaque(smooth(48, 20)), 480, []), ("DXT5", smooth(48, 20), 960, []),
                ("DXT3", smooth(48, 20), 960, ["--format=dxt3"])):
            source.save("in.tga")
            peer, ours = self.converted("in.tga", "out.dds", *options), self.converted("out.dds", "whole.tga")
            data = Path("out.dds").read_bytes()
            self.assertEqual((data[84:88].decode(), len(data)), (code, 128 + size))
            self.assertLess(max(error(ours, source), error(peer, source)), 7)
        Path("cut.dds").write_bytes(data[:12] + struct.pack("<II", 18, 46) + data[20:])  # within the last blocks
        self.same(self.converted("cut.dds", "cut.tga"), ours.crop((0, 0, 46, 18)))

    def test_what_is_wrong(self):
        for name, mode in (("a.tga", "RGBA"), ("a.rgb", "RGBA"), ("a.jpg", "RGB"), ("l.jpg", "L")):
            noise(5, 4).convert(mode).save(name)
        self.expect(0, "", "convert", "a.tga", "a.bmp", "--format", "pal8")
        self.expect(0, "", "convert", "a.tga", "a.dds", "--format", "bgra32")
        data = {kind: Path("a." + kind).read_bytes() for kind in ("tga", "bmp", "rgb", "jpg", "dds")}
        data["tga"] = data["tga"][:-26]  # PIL's footer
        for kind, whole in data.items():  # cut files are no pictures
            for length in sorted({*range(1, len(whole), len(whole) // 20), len(whole) - 1}):
                self.expect(3, "-: ", "info", "-", "--type", kind, input=whole[:length])
        for code, text, kind, at, value in (
                (3, "not a BMP", "bmp", 0, 0), (3, "not a Targa", "tga", 2, 119), (3, "not a JPEG", "jpg", 0, 0),
                (3, "not an SGI", "rgb", 0, 9), (5, "type 3", "tga", 2, 3), (5, "top-down", "bmp", 25, 255),
                (5, "compressed", "bmp", 30, 1), (5, "1 channels", "rgb", 11, 1), (5, "8 bits", "rgb", 3, 2),
                (3, "impossible", "dds", 12, 0), (3, "sense", "dds", 4, 1), (5, "cube map", "dds", 113, 2)):
            bad = data[kind][:at] + bytes([value]) + data[kind][at + 1:]
            self.expect(code, "-: .*" + text, "info", "-", "--type", kind, input=bad)
        os.mkdir("folder.tga")
        before = sorted(os.listdir())
        for code, text, line in (
                (1, "a command is required", ""), (1, "OUT is required", "convert a.tga"), (1, "frob", "frob"),
                (1, "'rgb' is not a pixel format.*rgba32", "convert a.tga x.raw --format rgb"), (5, "grey", "info l.jpg"),
                (1, "'0x5' is not a size", "convert a.tga x.bmp --size 0x5"), (1, "-: needs --type", "convert a.tga -"),
                (1, "needs --masks", "convert a.tga x.raw --format custom16_1"),
                (1, "no filter 'cubic'", "convert a.tga x.bmp --filter cubic"),
                (1, "--quality goes with", "convert a.tga x.bmp --quality 9"),
                (1, "--type goes with -", "convert a.tga x.bmp --type bmp"), (1, "'gif'", "info - --type gif"),
                (2, "folder.tga: Is a dir", "info folder.tga"), (2, "folder.tga: Is a dir", "mip a.tga folder.tga"),
                (2, "x.bmp: No such file", "convert a.tga no/x.bmp"), (5, "x.gif: .*ending", "convert a.tga x.gif"),
                (5, "SGI files can only be read", "convert a.tga x.rgb"), (5, "a name", "convert a.tga - --type raw"),
                (5, "cannot hold bgra32; it holds pal8, bgr24", "convert a.tga x.bmp --format bgra32"),
                (5, "multiples of 4, which 5 x 4 are not", "convert a.tga x.dds"),
                (5, "dxt4 can only be copied", "convert a.tga x.raw --format dxt4"),
                (1, "no layer 'p'.*packed32", "pack x.zav a.tga --layer p"), (1, "not end in .zav", "pack a.tga a.tga"),
                (1, "'gif'", "extract x.zav --type gif"), (1, "'9650'", "pack x.zav a.tga --layer packed32:9650"),
                (1, "'101'", "pack x.zav a.tga --layer jpeg24:101"), (1, "'b'", "pack x.zav a.tga --layer b:"),
                (1, "'cut1,2,3,256'", "pack x.zav a.tga --layer jpeg24:cut1,2,3,256"),
                (1, "2 --layer for 3", "pack x.zav a.tga a.tga a.tga --layer pal8 --layer pal8"),
                (1, "33 bytes", "pack x.zav a.tga --name " + "n" * 33),
                (5, "cannot be converted to 70000 x 70000", "convert a.tga x.raw --size 70000x70000")):
            self.expect(code, text, *line.split())
        self.assertEqual(sorted(os.listdir()), before)

    def test_writes_are_whole_or_nothing(self):
        noise(99, 99).save("in.tga")
        box = ("pack", "c.zav", *["in.tga"] * 3, "--layer=packed32", "--layer=true24", "--layer=hicolor")
        self.expect(0, "", *box)
        commands = [(limit, "c.zav", box) for limit in (*range(3, 70000, 9973), os.path.getsize("c.zav") - 1)] + [
            (2000, name, ("convert", "in.tga", name)) for name in ("o.tga", "o.bmp", "o.raw", "o.png", "o.jpg")]
        for limit, name, arguments in commands:
            Path(name).write_bytes(b"precious"[:limit])
            self.expect(2, name + ": File too large", *arguments, preexec_fn=lambda: resource.setrlimit(
                resource.RLIMIT_FSIZE, (limit, limit)))
            self.assertEqual(Path(name).read_bytes(), b"precious"[:limit])
        for line in ("info in.tga >/dev/full", "convert in.tga - --type png >/dev/full"):
            done = subprocess.run(f"{ZAV} {line}", shell=True, capture_output=True)
            self.assertEqual((done.returncode, b"No space" in done.stderr), (2, True))
        os.chmod("o.bmp", 0o604)
        os.symlink("o.bmp", "link.bmp")
        self.expect(0, "", "convert", "in.tga", "new.bmp", preexec_fn=lambda: os.umask(0o027))
        self.expect(0, "", "convert", "in.tga", "link.bmp")
        self.assertEqual([os.stat(name).st_mode & 0o777 for name in ("new.bmp", "o.bmp")], [0o640, 0o604])
        self.assertEqual((os.path.islink("link.bmp"), Path("o.bmp").read_bytes()), (True, Path("new.bmp").read_bytes()))

    def test_pictures_are_told_and_compared(self):
        picture, other = noise(9, 6), os.fsdecode(b"b\xff.tga")
        picture.save("a.tga", compression="tga_rle")
        r, g, b, a = picture.getpixel((1, 4))
        picture.putpixel((1, 4), (r, g ^ 16, b, a ^ 1))
        picture.save(other)
        first, _, second = json.loads(self.expect(2, "no.tga: No such", "info", "--json", "a.tga", "no.tga", other))
        self.assertEqual([first[key] for key in ("type", "storage", "width", "height", "format")] + [second["bytes"]],
                         ["Targa", "32-bit, run-length", 9, 6, "bgra32", os.path.getsize(other)])
        self.assertRegex(self.expect(0, "", "compare", "a.tga", "a.tga"), "^identical")
        told = json.loads(self.expect(7, "", "compare", "--json", "a.tga", other))
        self.assertAlmostEqual(told["psnr"], 46.143554101)  # 10 log10(255^2 * 162 / 16^2)
        self.assertEqual({n: (c["greatest"], c["differing"]) for n, c in told["channels"].items()},
                         {"red": (0, 0), "green": (16, 1), "blue": (0, 0), "alpha": (1, 1)})
        self.expect(0, "", "mip", other, "out.tga")
        self.assertRegex(self.expect(7, "", "compare", other, "out.tga"), "different sizes")
        for x, y in ((x, y) for y in range(3) for x in range(4)):
            four = [picture.getpixel((2 * x + i, 2 * y + j)) for i in (0, 1) for j in (0, 1)]
            alpha = sum(p[3] for p in four)
            self.assertEqual(load("out.tga").getpixel((x, y)),
                             (*(sum(p[c] * p[3] for p in four) // alpha for c in range(3)), alpha // 4))
        self.assertRegex(self.expect(0, "", "palette", "a.tga", "out.png"), r": (\d\d) colors, \1 in the palette")

    def test_standard_streams(self):
        picture = noise(20, 11)
        picture.save("in.png")
        for kind in ("tga", "bmp", "dds", "png"):
            form = "--format=bgra32" if kind == "dds" else "--filter=point"
            file = self.expect(0, "", "convert", "in.png", "-", "--type", kind, form, input=b"")
            self.expect(0, "", "convert", "-", "out.png", "--type", kind, input=file)
            self.same("out.png", opaque(picture) if kind == "bmp" else picture, kind)
        box = self.expect(0, "", "pack", "-", "-", "in.png", "--type", "png", input=file)
        self.expect(0, "", "extract", "-", "--type", "png", input=box)
        self.same("image.png", picture)
        self.expect(1, "only once", "compare", "-", "-", "--type", "png", input=file)
        outer, inner = pty.openpty()
        for code, text, environment, arguments in (
                (0, rb"\x1b\[", {}, ("info", "in.png")), (0, rb"^[^\x1b]*$", {"NO_COLOR": "1"}, ("info", "in.png")),
                (1, b"is a terminal", {}, ("convert", "in.png", "-", "--type", "bmp"))):
            done = subprocess.run([ZAV, *arguments], stdout=inner, stderr=inner, env={
                **os.environ, "NO_COLOR": "", "TERM": "xterm", **environment})
            self.assertEqual(done.returncode, code)
            self.assertRegex(os.read(outer, 4096), text)

    def test_containers_keep_pixels(self):
        exact, flat = (int,) * 4, (int, int, int, None)
        layers = {"packed32": exact, "packed32:interleaved:rgba": exact, "true32:rgba": exact, "true32": exact,
                  "true24:rgb": flat, "true24": flat, "pal8": flat, "packedpal8": flat,
                  "hicolor:4444": (*[high(4)] * 3, high(4, 255)), "hicolor": (high(5), high(6), high(5), None),
                  "hicolor:1555": (*[high(5)] * 3, high(1, 255)), "packed32:5650": (
                      high(5, 255), high(6, 255), high(5, 255), None),
                  "packed32:rgba:1830:interleaved": (high(1, 255), int, high(3, 255), None)}
        for width, height in ((1, 1), (5, 7), (300, 250)):  # the last takes many chunks
            picture = noise(width, height)
            picture.save("in.tga")
            self.expect(0, "", "pack", "c.zav", *["in.tga"] * len(layers), *[f"--layer={layer}" for layer in layers])
            self.assertRegex(self.expect(0, "", "verify", "c.zav"), "^sound: 13 ")
            for (layer, changes), written in zip(layers.items(), self.pictures()):
                self.same(written, bands(picture, *changes), layer, width)
            data, at = Path("c.zav").read_bytes(), 4
            for image, layer in zip(json.loads(self.expect(0, "", "list", "--json", "c.zav"))["records"], layers):
                told = [image["layers"][0][key] for key in ("offset", "code", "bytes", "width", "height", "layer")]
                self.assertEqual(told[:5], [at + 37, *struct.unpack_from("<BI", data, at + 37), width, height])
                self.assertLessEqual(set(layer.split(":")), set(told[5].split(":")))
                at += image["bytes"]
        picture = opaque(noise(64, 32))
        picture.save("in.tga")
        for kind, layer in ((k, v) for k in ("tiled", "squiz", "mipmap") for v in ("packed32", "packedpal8", "true24")):
            self.expect(0, "", "pack", "c.zav", "in.tga", "--kind", kind, "--layer", layer)
            self.same(*self.pictures(), picture, kind, layer)
        self.assertEqual([level.size[0] for level in self.pictures("--levels")], [64, 32, 16, 8, 4, 2, 1])
        self.expect(0, "", "pack", "c.zav", "in.tga", "--kind", "mipmap", "--levels", "2")
        self.assertRegex(self.expect(0, "", "list", "c.zav"), "mipmap \"in\" +2 levels\n")

    def test_foreign_names(self):
        files = {"../../x": "_._.._x", "..": "_.", "": "image", "a": "a", "A": "A-2", "a-2": "a-2-2",
                 "\x1b[2Jz": "_[2Jz", "n" * 32: "n" * 32, "\u00e9": "\u00e9"}
        noise(2, 2).save("in.tga")
        names = [word for name in files for word in ("--name", name)]
        self.expect(0, "", "pack", "c.zav", *["in.tga"] * len(files), *names)
        self.assertEqual(self.expect(0, "", "extract", "c.zav", "-o", "deep/out").splitlines(),
                         [f"deep/out/{file}.tga" for file in files.values()])
        self.assertEqual(sorted(os.listdir()), ["c.zav", "deep", "in.tga"])
        self.assertNotIn("\x1b", self.expect(0, "", "list", "c.zav"))
        self.assertEqual(self.expect(0, "", "extract", "c.zav", "--name", "A"), "./A-2.tga\n")
        self.expect(1, "has no image named 'b'", "extract", "c.zav", "--name", "b")

    def three(self):
        """A container, and where its images end."""
        noise(20, 1).resize((20, 16)).save("in.tga")
        self.expect(0, "", "pack", "c.zav", *["in.tga"] * 3, "--layer=packed32", "--layer=pal8", "--layer=hicolor:565")
        data, told = Path("c.zav").read_bytes(), json.loads(self.expect(0, "", "list", "--json", "c.zav"))
        return data, [*(record["offset"] for record in told["records"]), len(data)]

    def test_bad_containers(self):
        data, ends = self.three()
        for length in sorted({*range(1, len(data), 97), *(e + d for e in ends[:3] for d in (-1, 0, 1, 5))}):
            begun = f"-: at offset {max([0] + [end for end in ends if end < length])}: "
            for command in (("verify", "-"), ("list", "--json", "-")):
                self.expect(*((0, "") if length in ends else (3, begun)), *command, input=data[:length])
        listed = self.expect(3, f"offset {ends[2]}: .*cut off", "extract", "-", input=data[:-1])
        self.assertEqual(listed, b"./in.tga\n./in-2.tga\n")
        a, b, c = (end + 37 for end in ends[:3])  # the layers
        for at, value, where, text in (
                (0, b"PNG", 0, "is not a container"), (4, b"\2", 4, "no records of kind 2"), (a, b"\3", a, "inside"),
                (5, b"\xff" * 4, 4, "its size as -1"), (5, b"\x20\0\0\0", 4, "shorter than its header"),
                (a + 10, bytes(4), a, "sides 0 x 16"), (a + 22, b"\xff" * 4, a, "cannot decode"),
                (a + 26, b"\x41", a, "cannot decode"), (a + 30, b"\xff" * 16, a, "cannot decode"),
                (b + 14, b"\x13", b, "cannot decode"), (c + 10, b"\x0f", c, "cannot decode")):
            bad = data[:at] + value + data[at + len(value):]
            self.expect(3, f"-: at offset {where}: .*{text}", "verify", "-", input=bad)
        draw = random.Random(4)
        for _ in range(60):
            at = draw.choice((draw.randrange(len(data)), draw.choice(ends[:3]) + draw.randrange(64)))
            Path("bad.zav").write_bytes(data[:at] + bytes([draw.randrange(256)]) + data[at + 1:])
            for command in (("verify", "bad.zav"), ("extract", "bad.zav"), ("preview", "bad.zav", "bad.png")):
                done = subprocess.run([ZAV, *command], capture_output=True)
                self.assertIn(done.returncode, (0, 3), (at, command, done.stderr))
                self.assertEqual(done.returncode == 3, b"at offset" in done.stderr)

    def find(self, sheet, picture, times=1):
        """The picture stands on the sheet, over the checkerboard."""
        width, height = (side * times for side in picture.size)
        checks = Image.new("RGBA", (width, height))
        checks.putdata([(96 + 32 * ((x // 8 + y // 8) % 2),) * 3 + (255,) for y in range(height) for x in range(width)])
        expected = Image.alpha_composite(checks, picture.resize((width, height), Image.NEAREST))
        y, x = divmod(sheet.tobytes().index(expected.crop((0, 0, width, 1)).tobytes()) // 4, sheet.size[0])
        self.assertLess(error(sheet.crop((x, y, x + width, y + height)), expected), 1)

    def test_preview(self):
        wide, small = noise(300, 40), noise(64, 20)
        for name, picture in {"a": wide, "b": small, "c": smooth(1600, 400), "d": noise(64, 32, 2)}.items():
            picture.save(name + ".png")
        self.expect(0, "", "pack", "c.zav", *(f"{name}.png" for name in "abcd"), *(
            f"--kind={kind}" for kind in ("plain", "tiled", "squiz", "mipmap")), *(
            f"--name={name}" for name in ("\u00e9\n", "two", "three", "four")))
        self.expect(0, "", "preview", "c.zav", "sheet.png")
        for picture, times in ((wide, 1), *[(p, 2) for p in (small, *self.pictures("--levels")[3:])]):
            self.find(load("sheet.png"), picture, times)
        data, ends = self.three()
        Path("bad.zav").write_bytes(data[:ends[0] + 47] + bytes(4) + data[ends[0] + 51:-1])
        self.expect(3, "at offset.*\nzav: bad.zav: at offset", "preview", "bad.zav", "out.png")
        self.find(load("out.png"), opaque(load("in.tga")), 6)
        self.assertGreater(load("out.png").tobytes().count(bytes((96, 36, 40, 255))), 2 * 300 * 40)  # both marked
        many = load(self.expect(0, "", "preview", "-", "-", input=data + data[4:] * 200))
        self.assertLess(many.size[0] * many.size[1], 1 << 24)


unittest.main()
