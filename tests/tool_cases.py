# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""The tables of tool_check.py."""
import base64

# File to write, --format, PIL's mode of the file.
SAVED = [("a.tga", "", "RGBA"), ("b.tga", "bgr24", "RGB"), ("c.tga", "pal8", "P"),
         ("e.bmp", "", "RGB"), ("f.BMP", "pal8", "P"), ("g.png", "", "RGBA"),
         ("h.png", "rgb24", "RGB")]

# 6 x 5 pixels with four channels of 16 bits, interlaced.
INTERLACED_PNG = base64.b64decode(
    "iVBORw0KGgoAAAANSUhEUgAAAAYAAAAFEAYAAAFBz3EzAAAAnUlEQVR4nCWNLQ6AMAyFe5zqXQNTPT2P7T1Ipmuw"
    "qCVcoVjsLBaLhb5R1Xzvj2jc+5IZUc7xELnjMXNvbZ5JhKi1UETcifY9LKWAiJSSc+9mpQyB+S9R/VvhH1FmOO5b"
    "FcnjcEdyXUPASu+qWF0Wd2SmKeIpoYo5pdaeRySlvwH8uszAe3cHP88I1IpN5lphEKkVU6rg22YGjgVw1Q87PnUx"
    "ci6PlAAAAABJRU5ErkJggg==")

# Layer, bits kept of red, green, blue and alpha; None: the layer has no alpha.
EXACT, OPAQUE = (8, 8, 8, 8), (8, 8, 8, None)
LAYERS = {
    "packed32": EXACT, "packed32:interleaved:rgba": EXACT, "true32:rgba": EXACT, "true32": EXACT,
    "packed32:5650": (5, 6, 5, None), "packed32:rgba:1830:interleaved": (1, 8, 3, None),
    "true24:rgb": OPAQUE, "true24": OPAQUE, "pal8": OPAQUE, "packedpal8": OPAQUE,
    "hicolor": (5, 6, 5, None), "hicolor:4444": (4, 4, 4, 4), "hicolor:1555": (5, 5, 5, 1)}
LOSSY_LAYERS = {
    "jpeg24:bgr:420:90": OPAQUE, "jpeg24:rgb:422:85": OPAQUE, "jpeg32:bgra:95": EXACT,
    "jpeg32:rgba:95": EXACT, "jpegmask:bgr:420:90": (8, 8, 8, 1),
    "jpegmask:rgb:422:95": (8, 8, 8, 1), "jpeg24:bgr:420:90:cut255,0,0,0": (0, 8, 8, None)}

# Name of an image, name of its file.
FILE_NAMES = {
    "../../x": "_._.._x", "..": "_.", "": "image", "a": "a", "A": "A-2", "a-2": "a-2-2",
    "\x1b[2Jz": "_[2Jz", "n" * 32: "n" * 32, "\u00e9": "\u00e9"}

# Fields in the JSON file of raw pixels that do not describe them.
BAD_SIDECARS = [
    ("width", 70), ("height", -1), ("pitch", 1), ("pitch", 2 ** 40), ("format", "x"),
    ("palette", ["#000000ff"]), ("palette", 3), ("width", "7")]

# Exit code, message, file type, offset of a byte, its value.
BAD_HEADERS = [
    (3, "not a BMP", "bmp", 0, 0), (5, "top-down", "bmp", 25, 255),
    (5, "compressed", "bmp", 30, 1), (3, "not a Targa", "tga", 2, 119),
    (5, "type 3", "tga", 2, 3), (3, "not a JPEG", "jpg", 0, 0), (3, "not an SGI", "rgb", 0, 9),
    (5, "8 bits", "rgb", 3, 2), (5, "1 channels", "rgb", 11, 1), (3, "sense", "dds", 4, 1),
    (3, "impossible", "dds", 12, 0), (5, "cube map", "dds", 113, 2)]

# Exit code, message, arguments. a.tga is 5 x 4, l.jpg grey, folder.tga a directory.
REFUSED = [
    (1, "a command is required", ""), (1, "frob", "frob"), (1, "OUT is required", "convert a.tga"),
    (1, "-: needs --type", "convert a.tga -"),
    (1, "--type goes with -", "convert a.tga x.bmp --type bmp"), (1, "'gif'", "info - --type gif"),
    (1, "'rgb' is not a pixel format.*rgba32", "convert a.tga x.raw --format rgb"),
    (1, "'0x5' is not a size", "convert a.tga x.bmp --size 0x5"),
    (1, "needs --masks", "convert a.tga x.raw --format custom16_1"),
    (1, "no filter 'cubic'", "convert a.tga x.bmp --filter cubic"),
    (1, "--quality goes with", "convert a.tga x.bmp --quality 9"),
    (1, "not end in .zav", "pack a.tga a.tga"),
    (1, "no layer 'p'.*packed32", "pack x.zav a.tga --layer p"),
    (1, "'9650'", "pack x.zav a.tga --layer packed32:9650"),
    (1, "'101'", "pack x.zav a.tga --layer jpeg24:101"), (1, "'b'", "pack x.zav a.tga --layer b:"),
    (1, "'cut1,2,3,256'", "pack x.zav a.tga --layer jpeg24:cut1,2,3,256"),
    (1, "2 --layer for 3", "pack x.zav a.tga a.tga a.tga --layer pal8 --layer pal8"),
    (1, "33 bytes", "pack x.zav a.tga --name " + "n" * 33),
    (1, "'gif'", "extract x.zav --type gif"), (2, "folder.tga: Is a dir", "info folder.tga"),
    (2, "folder.tga: Is a dir", "mip a.tga folder.tga"),
    (2, "x.bmp: No such file", "convert a.tga no/x.bmp"), (5, "grey", "info l.jpg"),
    (5, "x.gif: .*ending", "convert a.tga x.gif"),
    (5, "SGI files can only be read", "convert a.tga x.rgb"),
    (5, "a name", "convert a.tga - --type raw"),
    (5, "cannot hold bgra32; it holds pal8, bgr24", "convert a.tga x.bmp --format bgra32"),
    (5, "multiples of 4, which 5 x 4 are not", "convert a.tga x.dds"),
    (5, "dxt4 can only be copied", "convert a.tga x.raw --format dxt4"),
    (5, "cannot be converted to 70000 x 70000", "convert a.tga x.raw --size 70000x70000")]
