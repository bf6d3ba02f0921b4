# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""tool_check.py ZAV SAMPLES: the command from outside, against PIL."""
import glob
import io
import json
import math
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
    print("PIL (python3-pil) is not installed: nothing compared")
    sys.exit(77)

SAMPLES, ZAV = os.path.abspath(sys.argv.pop()), os.path.abspath(sys.argv.pop())


def zav(*arguments, **options):
    return subprocess.run([ZAV, *arguments], **{"capture_output": True, **options})


def words(option, values):
    return [word for value in values for word in (option, value)]


def noise(width, height, seed=1):
    """Few colours, so that 256 are enough."""
    draw = random.Random(seed)
    colours = [draw.randbytes(4) for _ in range(60)]
    return Image.frombytes("RGBA", (width, height), b"".join(draw.choices(colours, k=width * height)))


def smooth(width, height):
    ramp = Image.linear_gradient("L")
    return Image.merge("RGBA", [ramp.rotate(90 * turn).resize((width, height)) for turn in range(4)])


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
    """Mean of the worst channel."""
    return max(ImageStat.Stat(ImageChops.difference(a, b)).mean)


class Tool(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)

    def expect(self, code, text, *arguments, **options):
        """The command ends with this code and, at an error, one line that says this."""
        done = zav(*arguments, **options)
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
                self.expect(0, "", "convert", source, "d.tga", "--format", "rgb555")
                self.same(opaque(load("d.tga"), 5), opaque(picture, 5))  # PIL fills the lost bits
            for source, name in (("c.tga", "i.png"), ("i.png", "j.bmp"), ("j.bmp", "k.tga")):
                self.expect(0, "", "convert", source, name)  # palettized stays palettized
                self.same(name, opaque(picture), source, name, mode="P")
        self.expect(0, "", "convert", "a.tga", "a.tga", "--size", "50%")  # onto itself
        self.assertEqual(load("a.tga").size, (128, 2))
        for sample in glob.glob(SAMPLES + "/*.???"):
            self.expect(0, "", "convert", sample, "out.png")
            self.assertLess(error(load("out.png"), load(sample)), 1 if sample.endswith("jpg") else 1e-9)

    def test_png(self):
        grey, clear, colours = noise(19, 11).getchannel(0), noise(19, 11, 2).getchannel(0), noise(19, 11)
        for name, picture, options in (
                ("1-bit grey", grey.convert("1"), {}), ("8-bit grey", grey, {}), ("8-bit RGBA", colours, {}),
                ("8-bit grey.alpha", Image.merge("LA", (grey, clear)), {}),
                ("8-bit RGB", colours.convert("RGB"), {"transparency": colours.getpixel((3, 3))[:3]}),
                ("4-bit palette", grey.quantize(13), {"transparency": bytes(range(0, 260, 20))})):
            picture.save("in.png", **options)
            self.assertRegex(self.expect(0, "", "info", "in.png"), name)
            self.expect(0, "", "pack", "c.zav", "in.png")
            self.expect(0, "", "convert", "in.png", "out.tga")
            for written in (*self.pictures(), "out.tga"):
                self.same(written, load("in.png"), name)

        def chunk(kind, body):
            return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
        # 16-bit samples that are 257 times the 8-bit ones, in the rows of an interlaced file's seven passes.
        rows = [b"\0" + b"".join(bytes(v for c in colours.getpixel((x, y)) for v in (c, c)) for x in range(left, 19, right))
                for left, top, right, down in ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4),
                                               (1, 0, 2, 2), (0, 1, 1, 2)) for y in range(top, 11, down)]
        head = struct.pack(">IIBBBBB", 19, 11, 16, 6, 0, 0, 1)
        whole = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(b"".join(rows))) + chunk(b"IEND", b"")
        self.same(self.expect(0, "", "convert", "-", "-", "--type", "png:tga", input=whole), colours)
        huge = whole[:8] + chunk(b"IHDR", struct.pack(">II", 1 << 14, 1 << 14) + head[8:]) + whole[33:]
        for text, bad in (("not a PNG", b"\x89PNX" + whole[4:]), ("CRC|code", whole[:50] + b"x" + whole[51:]),
                          ("cut off", whole[:-9]), ("cut off", huge)):
            self.expect(3, text, "info", "-", "--type", "png", input=bad)

    def test_jpeg(self):
        picture = smooth(76, 41)
        picture.save("in.png")
        plain = opaque(picture).convert("RGB")
        for quality in (0, 50, 90, 100):
            options = () if quality == 90 else ("--quality", str(quality))
            self.expect(0, "", "convert", "in.png", "out.jpeg", *options)
            plain.save("peer.jpg", quality=max(quality, 1), subsampling="4:2:2")
            with Image.open("out.jpeg") as ours, Image.open("peer.jpg") as peer:
                self.assertEqual((ours.quantization, JpegImagePlugin.get_sampling(ours)), (peer.quantization, 1))
            self.assertLess(error(load("out.jpeg"), load("peer.jpg")), 1)
        for sampling, options in (("4:4:4", {"subsampling": 0}), ("4:2:0, progressive", {"progressive": True})):
            plain.save("in.jpg", **options)
            self.assertRegex(self.expect(0, "", "info", "in.jpg"), f"76 x 41 +bgr24 +{sampling} ")
            self.expect(0, "", "convert", "in.jpg", "out.tga")
            self.assertLess(error(load("in.jpg"), load("out.tga")), 1)
        mask = bands(picture, int, int, int, lambda v: 255 * (v > 127))
        layers = {"jpeg24:bgr:420:90": opaque(picture), "jpeg24:rgb:422:85": opaque(picture), "jpeg32:bgra:95": picture,
                  "jpeg32:rgba:95": picture, "jpegmask:bgr:420:90": mask, "jpegmask:rgb:422:95": mask,
                  "jpeg24:bgr:420:90:cut99,0,0,0": bands(opaque(picture), lambda v: v * (v >= 99), int, int, None)}
        self.expect(0, "", "pack", "c.zav", *["in.png"] * len(layers), *words("--layer", layers))
        self.assertRegex(self.expect(0, "", "verify", "c.zav"), "^sound: 7 ")
        for (layer, expected), written in zip(layers.items(), self.pictures()):
            self.assertLess(error(written, expected), 3, layer)
            self.assertTrue("32" in layer or written.getchannel(3) == expected.getchannel(3), layer)
        records = json.loads(self.expect(0, "", "list", "--json", "c.zav"))["records"]
        self.assertEqual([record["layers"][0]["layer"] for record in records], list(layers))

    def test_raw_pixels(self):
        picture = noise(7, 3)
        picture.save("in.tga")
        for name, more, pixel in (
                ("argb4444", (), lambda r, g, b, a: bytes((g & 240 | b >> 4, a & 240 | r >> 4))),
                ("custom16_2", ("--masks", "8000,0x1f,3E0,7c00"), lambda r, g, b, a: struct.pack(
                    "<H", r >> 3 | g >> 3 << 5 | b >> 3 << 10 | a >> 7 << 15))):
            self.expect(0, "", "convert", "in.tga", "out.raw", "--format", name, *more)
            lines = [b"".join(pixel(*picture.getpixel((x, y))) for x in range(7)) for y in range(3)]
            self.assertEqual(Path("out.raw").read_bytes(), b"".join(line + bytes(-len(line) % 4) for line in lines))
        # Custom pixels come back by the masks of the sidecar, and move to other masks.
        moved = ("--format", "custom16_2", "--masks", "0,7c00,3e0,1f")
        for source, name, options, bits in (("out.raw", "m.raw", moved, 5), ("in.tga", "p.raw", ("--format", "pal8"), 8)):
            self.expect(0, "", "convert", source, name, *options)
            self.expect(0, "", "convert", name, "back.tga")
            self.same("back.tga", opaque(picture, bits))
        good = json.loads(Path("p.raw.json").read_bytes())
        for change in ({"width": 70}, {"height": -1}, {"pitch": 1}, {"pitch": 2 ** 40}, {"format": "x"},
                       {"palette": ["#000000ff"]}, {"palette": 3}, {"width": "7"}):
            Path("p.raw.json").write_bytes(json.dumps({**good, **change}).encode())
            self.expect(3, "p.raw", "info", "p.raw")

    def test_dds(self):
        picture = noise(7, 3)
        picture.save("in.tga")
        for name in "rgba32 bgra32 rgb24 bgr24 rgb565 rgb555 argb4444 argb1555 custom16_1".split():
            masks = ("--masks", "1,f800,7c0,3e") if name == "custom16_1" else ()
            self.expect(0, "", "convert", "in.tga", "out.dds", "--format", name, *masks)
            self.expect(0, "", "convert", "out.dds", "back.png")
            data = Path("out.dds").read_bytes()
            header = struct.unpack("<32I", data[:128])
            self.assertEqual((*header[:5], header[19], header[27]), (0x20534444, 124, 0x100f, 3, 7, 32, 0x1000))
            size, fields = header[22] // 8, header[23:27]
            bits = [bin(mask).count("1") for mask in fields]
            pixels = [int.from_bytes(data[at:at + size], "little") for at in range(128, len(data), size)]
            self.assertEqual(
                [[(pixel & m) >> m.bit_length() - n if n else 255 for m, n in zip(fields, bits)] for pixel in pixels],
                [[v >> 8 - n if n else 255 for v, n in zip(p, bits)] for p in picture.getdata()], name)
            self.same("back.png", bands(picture, *map(high, bits[:3]), high(bits[3], 255) if bits[3] else None), name)
        clear = smooth(48, 20)
        for source, options, code, size in ((opaque(clear), (), b"DXT1", 480), (clear, (), b"DXT5", 960),
                                            (clear, ("--format", "dxt3"), b"DXT3", 960)):
            source.save("in.tga")
            self.expect(0, "", "convert", "in.tga", "out.dds", *options)
            self.expect(0, "", "convert", "out.dds", "whole.tga")
            data = Path("out.dds").read_bytes()
            self.assertEqual((data[84:88], len(data)), (code, 128 + size))
            self.assertLess(max(error(load("whole.tga"), source), error(load("out.dds"), source)), 7)
        sides = data[:12] + struct.pack("<II", 18, 46) + data[20:]  # within the last blocks
        self.same(self.expect(0, "", "convert", "-", "-", "--type", "dds:tga", input=sides),
                  load("whole.tga").crop((0, 0, 46, 18)))
        for code, text, at, value in ((3, "cut off", 16, 49), (3, "impossible", 12, 0), (3, "sense", 4, 1),
                                      (5, "cube map", 112, 0x200), (5, "DXT5", 84, 808540228)):
            bad = data[:at] + struct.pack("<I", value) + data[at + 4:]
            self.expect(code, text, "info", "-", "--type", "dds", input=bad)

    def test_what_is_wrong(self):
        noise(5, 4).save("a.tga")
        noise(5, 4).save("a.rgb")
        opaque(noise(5, 4)).convert("RGB").save("a.jpg")
        self.expect(0, "", "convert", "a.tga", "a.bmp", "--format", "pal8")
        os.mkdir("folder.tga")
        data = {kind: Path("a." + kind).read_bytes() for kind in ("tga", "bmp", "rgb", "jpg")}
        data["tga"] = data["tga"][:-26]  # PIL's footer
        for kind, whole in data.items():  # cut files are no pictures
            for length in sorted({*range(1, len(whole), len(whole) // 20), len(whole) - 1}):
                self.expect(3, "-: ", "info", "-", "--type", kind, input=whole[:length])
        noise(5, 4).convert("L").save("l.jpg")
        for code, text, kind, at, value in (
                (3, "not a BMP", "bmp", 0, 0), (3, "not a Targa", "tga", 2, 119), (3, "not a JPEG", "jpg", 0, 0),
                (3, "not an SGI", "rgb", 0, 9), (5, "type 3", "tga", 2, 3), (5, "top-down", "bmp", 25, 255),
                (5, "compressed", "bmp", 30, 1), (5, "1 channels", "rgb", 11, 1), (5, "8 bits", "rgb", 3, 2)):
            bad = data[kind][:at] + bytes([value]) + data[kind][at + 1:]
            self.expect(code, "-: .*" + text, "info", "-", "--type", kind, input=bad)
        to = ("convert", "a.tga")
        for code, text, *arguments in (
                (1, "a command is required",), (1, "OUT is required", *to), (1, "frob", "frob"),
                (1, "no pixel format 'rgb'.*rgba32", *to, "x.raw", "--format", "rgb"),
                (1, "'0x5' is no size", *to, "x.bmp", "--size", "0x5"), (1, "has to say what", *to, "-"),
                (1, "needs --masks", *to, "x.raw", "--format", "custom16_1"),
                (1, "no filter 'cubic'", *to, "x.bmp", "--filter", "cubic"),
                (1, "--quality goes with", *to, "x.bmp", "--quality", "9"),
                (1, "--type goes with -", *to, "x.bmp", "--type", "bmp"), (1, "'gif'", *to, "-", "--type", "gif"),
                (2, "folder.tga: Is a dir", "info", "folder.tga"), (2, "folder.tga: Is a dir", *to, "folder.tga"),
                (2, "x.bmp: No such file", *to, "nowhere/x.bmp"), (5, "grey", "info", "l.jpg"),
                (5, "x.gif: .*ending", *to, "x.gif"), (5, "SGI files are read only", *to, "x.rgb"),
                (5, "cannot hold bgra32; it holds pal8, bgr24", *to, "x.bmp", "--format", "bgra32"),
                (5, "multiples of 4, which 5 x 4 are not", *to, "x.dds"), (5, "a name", *to, "-", "--type", "raw"),
                (5, "dxt4 is only copied", *to, "x.raw", "--format", "dxt4"),
                (5, "cannot be converted to 70000 x 70000", *to, "x.raw", "--size", "70000x70000")):
            self.expect(code, text, *arguments)
        self.assertEqual(sorted(os.listdir()), ["a.bmp", "a.jpg", "a.rgb", "a.tga", "folder.tga", "l.jpg"])
        self.assertRegex(self.expect(0, "", "--help"), r"\n +custom16_2 +16 ")

    def test_writes_are_whole_or_nothing(self):
        noise(99, 99).save("in.tga")
        box = ("pack", "c.zav", *["in.tga"] * 3, *words("--layer", ("packed32", "true24", "hicolor")))
        self.expect(0, "", *box)
        size = os.path.getsize("c.zav")
        commands = [(box, "c.zav", {*range(3, size, 9973), size - 1})] + [
            (("convert", "in.tga", name), name, {2000}) for name in ("o.tga", "o.bmp", "o.raw", "o.png", "o.jpg")]
        for arguments, name, limits in commands:
            for limit in sorted(limits):
                Path(name).write_bytes(b"precious"[:limit])
                self.expect(2, name + ": File too large", *arguments, preexec_fn=lambda: resource.setrlimit(
                    resource.RLIMIT_FSIZE, (limit, limit)))
                self.assertEqual(Path(name).read_bytes(), b"precious"[:limit])
        for arguments in (("info", "in.tga"), ("convert", "in.tga", "-", "--type", "png")):
            with open("/dev/full", "wb") as disk:
                done = zav(*arguments, stdout=disk, stderr=subprocess.PIPE, capture_output=False)
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
        listing = zav("info", "--json", "a.tga", "none.tga", other)
        self.assertEqual((listing.returncode, listing.stderr.count(b"\n")), (2, 1))
        first, missing, second = json.loads(listing.stdout)
        self.assertEqual([first[key] for key in ("type", "storage", "width", "height", "format", "bits")],
                         ["Targa", "32-bit, run-length", 9, 6, "bgra32", 32])
        self.assertEqual(("error" in missing, second["bytes"]), (True, os.path.getsize(other)))
        self.assertRegex(self.expect(0, "", "compare", "a.tga", "a.tga"), "^identical")
        told = json.loads(self.expect(7, "", "compare", "--json", "a.tga", other))
        self.assertAlmostEqual(told["psnr"], 10 * math.log10(255 ** 2 * 9 * 6 * 3 / 16 ** 2))
        self.assertEqual({n: (c["greatest"], c["differing"]) for n, c in told["channels"].items()},
                         {"red": (0, 0), "green": (16, 1), "blue": (0, 0), "alpha": (1, 1)})
        self.expect(0, "", "mip", other, "out.tga")
        self.expect(7, "", "compare", other, "out.tga")

        def average(x, y):
            four = [picture.getpixel((2 * x + i, 2 * y + j)) for i in (0, 1) for j in (0, 1)]
            alpha = sum(p[3] for p in four)
            return (*(sum(p[c] * p[3] for p in four) // alpha for c in range(3)), alpha // 4)
        self.assertEqual(list(load("out.tga").getdata()), [average(x, y) for y in range(3) for x in range(4)])
        count = len(set(opaque(load("a.tga")).getdata()))
        self.assertRegex(self.expect(0, "", "palette", "a.tga", "out.png"), f": {count} colours, {count} in the")

    def test_standard_streams(self):
        picture, files = noise(20, 11), {}
        picture.save("in.png")
        for kind in ("tga", "bmp", "dds", "png"):
            form = ("--format", "bgra32") if kind == "dds" else ()
            files[kind] = self.expect(0, "", "convert", "in.png", "-", "--type", kind, *form, input=b"")
            self.expect(0, "", "convert", "-", "out.png", "--type", kind, input=files[kind])
            self.same("out.png", opaque(picture) if kind == "bmp" else picture, kind)
        box = self.expect(0, "", "pack", "-", "-", "in.png", "--type", "tga", input=files["tga"])
        self.expect(0, "", "verify", "-", input=box)
        self.expect(0, "", "extract", "-", "--type", "png", input=box)
        self.same("image.png", picture)
        self.expect(1, "once only", "compare", "-", "-", "--type", "tga", input=files["tga"])
        outer, inner = pty.openpty()
        for code, text, environment, arguments in (
                (0, rb"\x1b\[", {}, ("info", "in.png")), (0, rb"^[^\x1b]*$", {"NO_COLOR": "1"}, ("info", "in.png")),
                (1, b"is a terminal", {}, ("convert", "in.png", "-", "--type", "bmp"))):
            keep = {key: value for key, value in os.environ.items() if key != "NO_COLOR"}
            done = zav(*arguments, stdout=inner, stderr=inner, capture_output=False,
                       env={**keep, "TERM": "xterm", **environment})
            self.assertEqual(done.returncode, code)
            self.assertRegex(os.read(outer, 4096), text)

    def test_containers_keep_pixels(self):
        flat = (int, int, int, None)
        layers = {"packed32": (int,) * 4, "packed32:interleaved:rgba": (int,) * 4, "true32:rgba": (int,) * 4,
                  "true32": (int,) * 4, "true24:rgb": flat, "true24": flat, "pal8": flat, "packedpal8": flat,
                  "hicolor:4444": (high(4), high(4), high(4), high(4, 255)), "hicolor": (high(5), high(6), high(5), None),
                  "hicolor:1555": (high(5), high(5), high(5), high(1, 255)),
                  "packed32:5650": (high(5, 255), high(6, 255), high(5, 255), None),
                  "packed32:rgba:1830:interleaved": (high(1, 255), high(8, 255), high(3, 255), None)}
        for width, height in ((1, 1), (5, 7), (300, 250)):  # the last takes many chunks
            picture = noise(width, height)
            picture.save("in.tga")
            self.expect(0, "", "pack", "c.zav", *["in.tga"] * len(layers), *words("--layer", layers))
            self.assertRegex(self.expect(0, "", "verify", "c.zav"), "^sound: 13 ")
            for (layer, changes), written in zip(layers.items(), self.pictures()):
                self.same(written, bands(picture, *changes), layer, width)
            data, at = Path("c.zav").read_bytes(), 4
            for image, layer in zip(json.loads(self.expect(0, "", "list", "--json", "c.zav"))["records"], layers):
                inner, told = image["layers"][0], ("offset", "code", "bytes", "width", "height")
                self.assertEqual([image[key] for key in told[:3]], [at, *struct.unpack_from("<BI", data, at)])
                self.assertEqual([inner[key] for key in told],
                                 [at + 37, *struct.unpack_from("<BI", data, at + 37), width, height])
                self.assertLessEqual(set(layer.split(":")), set(inner["layer"].split(":")))
                at += image["bytes"]
        picture = opaque(noise(64, 32))
        picture.save("in.tga")
        for kind, layer in ((k, v) for k in ("tiled", "squiz", "mipmap") for v in ("packed32", "packedpal8", "true24")):
            self.expect(0, "", "pack", "c.zav", "in.tga", "--kind", kind, "--layer", layer)
            self.expect(0, "", "verify", "c.zav")
            self.same(*self.pictures(), picture, kind, layer)
        self.assertEqual([level.size[0] for level in self.pictures("--levels")], [64, 32, 16, 8, 4, 2, 1])
        self.expect(0, "", "pack", "c.zav", "in.tga", "--kind", "mipmap", "--levels", "2")
        self.assertRegex(self.expect(0, "", "list", "c.zav"), "mipmap \"in\" +2 levels\n")

    def test_foreign_names(self):
        files = {"../../x": "_._.._x", "..": "_.", "": "image", "a": "a", "A": "A-2", "a-2": "a-2-2",
                 "\x1b[2Jz": "_[2Jz", "n" * 32: "n" * 32, "\u00e9": "\u00e9"}
        noise(2, 2).save("in.tga")
        self.expect(0, "", "pack", "c.zav", *["in.tga"] * len(files), *words("--name", files))
        said = self.expect(0, "", "extract", "c.zav", "-o", "deep/out")
        self.assertEqual(said.splitlines(), [f"deep/out/{file}.tga" for file in files.values()])
        self.assertEqual(sorted(os.listdir()), ["c.zav", "deep", "in.tga"])
        self.assertNotIn("\x1b", self.expect(0, "", "list", "c.zav"))
        self.assertEqual(self.expect(0, "", "extract", "c.zav", "--name", "A"), "./A-2.tga\n")
        pack = ("pack", "d.zav", "in.tga")
        for text, *arguments in (
                ("'b'", "extract", "c.zav", "--name", "b"), ("gif", "extract", "c.zav", "--type", "gif"),
                ("33 bytes", *pack, "--name", "n" * 33), ("not end in .zav", "pack", "in.tga", "in.tga"),
                ("2 --layer for 3", *pack, "in.tga", "in.tga", "--layer", "pal8", "--layer", "pal8"),
                ("no layer 'png'.*packed32", *pack, "--layer", "png"), ("'9650'", *pack, "--layer", "packed32:9650"),
                ("'101'", *pack, "--layer", "jpeg24:101"), ("'cut1,2,3,256'", *pack, "--layer", "jpeg24:cut1,2,3,256")):
            self.expect(1, text, *arguments)

    def three(self):
        """A container, and where its images end."""
        noise(20, 1).resize((20, 16)).save("in.tga")
        self.expect(0, "", "pack", "c.zav", *["in.tga"] * 3, *words("--layer", ("packed32", "pal8", "hicolor:565")))
        data, ends = Path("c.zav").read_bytes(), [4]
        while ends[-1] < len(data):
            ends.append(ends[-1] + struct.unpack_from("<I", data, ends[-1] + 1)[0])
        return data, ends

    def test_bad_containers(self):
        data, ends = self.three()
        for length in sorted({*range(1, len(data), 97), *(e + d for e in ends for d in (-1, 0, 1, 5))}):
            whole = length in ends or length > len(data)
            begun = max([0] + [end for end in ends if end < length])
            for command in (("verify", "-"), ("list", "--json", "-")):
                self.expect(0 if whole else 3, "" if whole else f"-: at offset {begun}: ", *command, input=data[:length])
        Path("cut.zav").write_bytes(data[:-1])
        self.assertEqual(self.expect(3, f"offset {ends[2]}: .*cut off", "extract", "cut.zav"), "./in.tga\n./in-2.tga\n")
        a, b, c = (end + 37 for end in ends[:3])  # layers
        for at, value, where, text in (
                (0, b"PNG", 0, "is not a container"), (4, b"\2", 4, "no records of kind 2"), (a, b"\3", a, "inside"),
                (5, b"\xff" * 4, 4, "its size as -1"), (5, b"\x20\0\0\0", 4, "shorter than its header"),
                (a + 10, bytes(4), a, "sides 0 x 16"), (a + 22, b"\xff" * 4, a + 22, "length as -1"),
                (a + 26, b"\x41", a + 22, "announces"), (a + 30, b"\xff" * 16, a, "cannot decode"),
                (b + 14, b"\x13", b, "pitch of 19"), (c + 10, b"\x0f", c, "gives its size as 658")):
            bad = data[:at] + value + data[at + len(value):]
            self.expect(3, f"-: at offset {where}: .*{text}", "verify", "-", input=bad)
        draw = random.Random(4)
        for _ in range(60):
            at = draw.choice((draw.randrange(len(data)), draw.choice(ends[:3]) + draw.randrange(64)))
            Path("bad.zav").write_bytes(data[:at] + bytes([draw.randrange(256)]) + data[at + 1:])
            for command in (("verify", "bad.zav"), ("extract", "bad.zav"), ("preview", "bad.zav", "bad.png")):
                done = zav(*command)
                self.assertIn(done.returncode, (0, 3), (at, command, done.stderr))
                self.assertEqual(done.returncode == 3, b"at offset" in done.stderr)

    def find(self, sheet, picture, times=1):
        """The picture stands on the sheet, over the checkerboard."""
        width, height = (side * times for side in picture.size)
        checks = Image.new("RGBA", (width, height))
        checks.putdata([(96 + 32 * ((x // 8 + y // 8) % 2),) * 3 + (255,) for y in range(height) for x in range(width)])
        expected = Image.alpha_composite(checks, picture.resize((width, height), Image.NEAREST))
        at = sheet.tobytes().index(expected.crop((0, 0, width, 1)).tobytes()) // 4
        x, y = at % sheet.size[0], at // sheet.size[0]
        self.assertLess(error(sheet.crop((x, y, x + width, y + height)), expected), 1)

    def test_preview(self):
        pictures, box = [noise(300, 40), noise(64, 20, 2), smooth(1600, 400), noise(64, 32, 3)], b"ZAV\0"
        for number, picture in enumerate(pictures):
            picture.save(f"{number}.png")
        for numbers, options in (("012", words("--name", ("\u00e9\n", "", "~"))), ("1", ("--kind", "tiled")),
                                 ("3", ("--kind", "mipmap"))):
            self.expect(0, "", "pack", "c.zav", *[f"{number}.png" for number in numbers], *options)
            box += Path("c.zav").read_bytes()[4:]
        sheet = load(self.expect(0, "", "preview", "-", "-", input=box))
        for picture, times in ((pictures[0], 1), *[(p, 2) for p in (pictures[1], *self.pictures("--levels"))]):
            self.find(sheet, picture, times)
        data, ends = self.three()
        Path("bad.zav").write_bytes(data[:ends[0] + 47] + bytes(4) + data[ends[0] + 51:-1])
        done = zav("preview", "bad.zav", "out.png")
        self.assertEqual((done.returncode, done.stderr.count(b"at offset")), (3, 2))
        self.find(load("out.png"), opaque(load("in.tga")), 6)
        self.assertGreater(load("out.png").tobytes().count(bytes((96, 36, 40, 255))), 2 * 300 * 40)  # both marked
        many = load(self.expect(0, "", "preview", "-", "-", input=data + data[4:] * 200))
        self.assertLess(many.size[0] * many.size[1], 1 << 24)


if __name__ == "__main__":
    unittest.main()
