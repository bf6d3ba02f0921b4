#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
"""Draws the sample pictures into the directory of this script: the same bytes every time, except
that the JPEG file depends on the version of PIL.

Each picture uses another way of storing pixels, none is symmetric, and some have odd widths: a
swapped channel, a flipped row or a wrong pitch is visible at once.
"""
import io
import math
import pathlib
import struct

# --- noise and colors ----------------------------------------------------------------------------


def hashed(x, y, seed):
    """A number in 0..1 that belongs to a lattice point."""
    h = (x * 374761393 + y * 668265263 + seed * 2246822519) & 0xFFFFFFFF
    h = ((h ^ (h >> 13)) * 1274126177) & 0xFFFFFFFF
    h = ((h ^ (h >> 16)) * 2654435761) & 0xFFFFFFFF
    return (h ^ (h >> 15)) / 0xFFFFFFFF


def noise(x, y, seed, period=0):
    """Smooth noise in 0..1; repeats after `period` lattice cells."""
    ix, iy = math.floor(x), math.floor(y)
    fx, fy = x - ix, y - iy
    fx, fy = fx * fx * (3 - 2 * fx), fy * fy * (3 - 2 * fy)
    wrap = (lambda v: v % period) if period else (lambda v: v)
    corner = lambda dx, dy: hashed(wrap(ix + dx), wrap(iy + dy), seed)
    top = corner(0, 0) + (corner(1, 0) - corner(0, 0)) * fx
    bottom = corner(0, 1) + (corner(1, 1) - corner(0, 1)) * fx
    return top + (bottom - top) * fy


def fractal(x, y, seed, octaves=4, period=0):
    total, weight, amount = 0.0, 0.5, 0.0
    for octave in range(octaves):
        total += weight * noise(x, y, seed + octave, period)
        amount += weight
        x, y, period, weight = 2 * x, 2 * y, 2 * period, weight / 2
    return total / amount


def clamp(value, low=0.0, high=1.0):
    return max(low, min(high, value))


def mix(a, b, t):
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def scale(color, factor):
    return tuple(channel * factor for channel in color)


def rgb(text):
    return tuple(int(text[i:i + 2], 16) / 255 for i in (0, 2, 4))


def ramp(stops, t):
    """Color at t of stops (position, color)."""
    for (at, color), (next_at, next_color) in zip(stops, stops[1:]):
        if t <= next_at:
            return mix(color, next_color, clamp((t - at) / (next_at - at)))
    return stops[-1][1]


def draw(width, height, shade, samples=2):
    """Rows of (r, g, b, a) bytes. `shade(x, y)` gives r, g, b and optionally a, each 0..1."""
    offsets = [(i + 0.5) / samples for i in range(samples)]
    rows = []
    for y in range(height):
        row = []
        for x in range(width):
            red = green = blue = alpha = 0.0
            for dy in offsets:
                for dx in offsets:
                    r, g, b, *rest = shade(x + dx, y + dy)
                    a = rest[0] if rest else 1.0
                    red, green, blue, alpha = red + r * a, green + g * a, blue + b * a, alpha + a
            over = 1 / alpha if alpha > 0 else 0.0
            row.append(tuple(int(clamp(v) * 255 + 0.5) for v in
                             (red * over, green * over, blue * over, alpha / samples ** 2)))
        rows.append(row)
    return rows


# --- files ---------------------------------------------------------------------------------------


def targa_header(kind, width, height, depth, descriptor, colors=0):
    return struct.pack("<BBBHHBHHHHBB", 0, 1 if colors else 0, kind, 0, colors,
                       24 if colors else 0, 0, 0, width, height, depth, descriptor)


def pixel_bytes(pixel, alpha):
    r, g, b, a = pixel
    return bytes((b, g, r, a) if alpha else (b, g, r))


def run_length(row):
    """Packets of one row; `row` is a list of pixels as bytes."""
    out, at = bytearray(), 0
    while at < len(row):
        run = 1
        while run < 128 and at + run < len(row) and row[at + run] == row[at]:
            run += 1
        if run > 1:
            out += bytes([127 + run]) + row[at]
            at += run
            continue
        end = at + 1
        while end < len(row) and end - at < 128 and (end + 1 >= len(row) or row[end] != row[end + 1]):
            end += 1
        out += bytes([end - at - 1]) + b"".join(row[at:end])
        at = end
    return bytes(out)


def targa(rows, alpha=False, packed=False, top_down=False):
    depth = 32 if alpha else 24
    descriptor = (8 if alpha else 0) | (0x20 if top_down else 0)
    data = targa_header(10 if packed else 2, len(rows[0]), len(rows), depth, descriptor)
    for row in rows if top_down else reversed(rows):
        pixels = [pixel_bytes(pixel, alpha) for pixel in row]
        data += run_length(pixels) if packed else b"".join(pixels)
    return data


def indexed(rows, limit):
    """Palette and rows of indices: the most frequent colors, the others to their nearest."""
    counts = {}
    for row in rows:
        for pixel in row:
            counts[pixel] = counts.get(pixel, 0) + 1
    palette = sorted(counts, key=lambda color: (-counts[color], color))[:limit]
    index = {color: i for i, color in enumerate(palette)}
    for color in counts:
        if color not in index:
            index[color] = min(range(len(palette)), key=lambda i: sum(
                (p - q) ** 2 for p, q in zip(palette[i], color)))
    return palette, [bytes(index[pixel] for pixel in row) for row in rows]


def mapped_targa(rows, limit):
    palette, lines = indexed(rows, limit)
    return (targa_header(1, len(rows[0]), len(rows), 8, 8, len(palette)) +
            b"".join(pixel_bytes(color, False) for color in palette) +
            b"".join(reversed(lines)))


def bmp(lines, width, bits, palette=b""):
    lines = [line + bytes(-len(line) % 4) for line in reversed(lines)]
    offset, size = 54 + len(palette), sum(map(len, lines))
    return (struct.pack("<2sIII", b"BM", offset + size, 0, offset) +
            struct.pack("<IiiHHIIiiII", 40, width, len(lines), 1, bits, 0, size, 2834, 2834,
                        len(palette) // 4, 0) + palette + b"".join(lines))


def true_color_bmp(rows):
    return bmp([b"".join(pixel_bytes(p, False) for p in row) for row in rows], len(rows[0]), 24)


def mapped_bmp(rows, limit):
    palette, lines = indexed(rows, limit)
    entries = b"".join(pixel_bytes(color, False) + b"\0" for color in palette)
    return bmp(lines, len(rows[0]), 8, entries)


def sgi(rows):
    """Run-length, four channels. Rows that are alike share their bytes."""
    width, height = len(rows[0]), len(rows)
    header = struct.pack(">HBBHHHHII", 474, 1, 1, 3, width, height, 4, 0, 255).ljust(512, b"\0")
    data, starts, lengths, known = b"", [], [], {}
    for channel in range(4):
        for row in reversed(rows):
            line, packed, at = bytes(pixel[channel] for pixel in row), b"", 0
            while at < width:
                run = next((n for n in range(1, min(127, width - at)) if line[at + n] != line[at]),
                           min(127, width - at))
                if run > 2:
                    packed, at = packed + bytes((run, line[at])), at + run
                    continue
                end = next((n for n in range(at, min(at + 127, width - 2))
                            if line[n] == line[n + 1] == line[n + 2]), min(at + 127, width))
                packed, at = packed + bytes((128 + end - at,)) + line[at:end], end
            packed += b"\0"
            if packed not in known:
                known[packed] = len(data)
                data += packed
            starts.append(512 + 8 * 4 * height + known[packed])
            lengths.append(len(packed))
    return header + struct.pack(f">{2 * len(starts)}I", *starts, *lengths) + data


def jpeg(rows, quality):
    from PIL import Image
    picture = Image.new("RGB", (len(rows[0]), len(rows)))
    picture.putdata([pixel[:3] for row in rows for pixel in row])
    file = io.BytesIO()
    picture.save(file, "JPEG", quality=quality)
    return file.getvalue()


# --- pictures ------------------------------------------------------------------------------------


def dusk():
    """Flat hills before a low sun: rows of equal pixels, made for run lengths."""
    width, height = 301, 187
    sky = [(0, rgb("2b2f77")), (0.35, rgb("8a4f9e")), (0.6, rgb("f0867a")), (0.8, rgb("ffd08a"))]
    layers = [(0.60, 22, 5, rgb("a8628f")), (0.68, 26, 7, rgb("73447e")),
              (0.78, 20, 9, rgb("472f66")), (0.90, 14, 11, rgb("231b43"))]
    ridges = [[height * base - size * 2 * (fractal(x / 2 * 0.022, 0, seed, 5) - 0.5)
               for x in range(2 * width + 2)] for base, size, seed, _ in layers]
    pines = [(14, 34), (27, 46), (38, 30), (52, 22), (66, 38), (81, 18), (96, 26), (243, 16), (287, 20)]

    def pine(x, y):
        for at, size in pines:
            foot = ridges[3][2 * at] + 3
            up = (foot - y) / size
            if 0 <= up <= 1:
                tier = (up * 4.5) % 1
                if abs(x - at) < size * 0.24 * (1 - up) * (1.15 - 0.5 * tier) + 0.6:
                    return True
        return False

    def shade(x, y):
        if pine(x, y):
            return rgb("171233")
        for (_, _, _, color), ridge in reversed(list(zip(layers, ridges))):
            if y > ridge[int(x * 2)]:
                return mix(color, rgb("171233"), clamp((math.floor(y) - height * 0.6) / height))
        color = ramp(sky, math.floor(y) / height / 0.8)
        distance = math.hypot(x - 208, y - 84)
        for radius, amount in ((21, 1.0), (32, 0.35), (47, 0.2), (66, 0.1)):
            if distance < radius:
                return mix(color, rgb("fff3c4"), amount)
        return color

    return targa(draw(width, height, shade), packed=True)


def flask():
    """A potion with a glow: every degree of transparency."""
    width, height = 129, 160
    cx, cy, radius = 64, 103, 40

    def shade(x, y):
        dx, dy = x - cx, y - cy
        distance = math.hypot(dx, dy)
        layer = []  # bottom to top: color, alpha
        glow = math.exp(-(max(0.0, distance - radius + 6) / 15) ** 2)
        layer.append((rgb("7df9c0"), 0.62 * glow * clamp((64 - distance) / 14)))
        neck = abs(dx) < 12.5 and 34 < y < cy
        inside = distance < radius or neck
        if inside:
            edge = clamp((radius - distance) / 6) if not neck or distance < radius else clamp((12.5 - abs(dx)) / 4)
            layer.append((mix(rgb("e8fbff"), rgb("9fd6e6"), edge), 0.85 - 0.6 * edge))
            level = 92 + 2.5 * math.sin(x * 0.16 + 1)
            if y > level and distance < radius - 4:
                depth = clamp((y - level) / 46)
                liquid = mix(rgb("39e6a0"), rgb("0a5f7a"), depth)
                layer.append((mix(liquid, rgb("c9fff0"), clamp(1 - (y - level) / 3)), 0.94))
                for bx, by, size in ((52, 112, 5), (75, 105, 3.5), (67, 124, 4), (84, 117, 2.5), (58, 99, 2)):
                    away = math.hypot(x - bx, y - by)
                    if away < size:
                        layer.append((rgb("d8fff2"), 0.25 + 0.6 * (away / size) ** 3))
            if math.hypot((x - 47) / 7, (y - 86) / 13) < 1:
                layer.append((rgb("ffffff"), 0.75 * (1 - math.hypot((x - 47) / 7, (y - 86) / 13))))
        if abs(dx) < 16 and 32 < y < 40:
            layer.append((mix(rgb("f4feff"), rgb("86b9cc"), (dx + 16) / 32), 0.95))
        if abs(dx + (y - 24) * 0.06) < 10.5 + (32 - y) * 0.12 and 15 < y <= 32:
            grain = fractal(x * 0.3, y * 0.3, 3, 2)
            layer.append((scale(mix(rgb("d9a066"), rgb("7a4a26"), (dx + 12) / 24), 0.8 + 0.4 * grain), 1.0))
        r = g = b = a = 0.0
        for color, alpha in layer:
            keep = a * (1 - alpha)
            total = alpha + keep
            if total > 0:
                r, g, b = ((c * alpha + o * keep) / total for c, o in zip(color, (r, g, b)))
            a = total
        return r, g, b, a

    return targa(draw(width, height, shade), alpha=True)


def crest():
    """Flat art of few colors."""
    width, height = 200, 200
    night, gold, cream = rgb("12304a"), rgb("f2b134"), rgb("fff4dc")
    sea, foam, red, hull = rgb("1f7a8c"), rgb("bfe7e2"), rgb("d1495b"), rgb("6b3e26")

    def side(px, py, ax, ay, bx, by):
        return (bx - ax) * (py - ay) - (by - ay) * (px - ax)

    def triangle(x, y, a, b, c):
        signs = [side(x, y, *a, *b) > 0, side(x, y, *b, *c) > 0, side(x, y, *c, *a) > 0]
        return all(signs) or not any(signs)

    def shade(x, y):
        distance = math.hypot(x - 100, y - 100)
        if distance > 96:
            return cream
        if distance > 90 or 82 < distance < 85:
            return gold
        if distance > 82:
            return night
        if y > 136 + 5 * math.sin(x * 0.14):
            stripe = (y - 136 - 5 * math.sin(x * 0.14)) / 13
            return foam if stripe % 1 < 0.24 else sea
        if y > 116 and abs(x - 92 + (y - 116) * 0.1) < 48 - (y - 116) * 0.75 and y < 146:
            return cream if 121 < y < 125 else hull
        if abs(x - 96) < 1.8 and 38 < y < 117:
            return hull
        if triangle(x, y, (100, 48), (100, 112), (146, 112)):
            return cream
        if triangle(x, y, (92, 56), (92, 112), (56, 112)):
            return red if int((y - 56) / 9) % 2 else cream
        if triangle(x, y, (97, 38), (97, 50), (122, 42)):
            return red
        for sx, sy, size in ((52, 66, 4), (66, 44, 2.6), (142, 66, 3), (43, 88, 2.2)):
            if abs(x - sx) ** 0.6 + abs(y - sy) ** 0.6 < size ** 0.6 * 1.4:
                return gold
        if math.hypot(x - 150, y - 88) < 13 and math.hypot(x - 156, y - 84) > 11:
            return gold
        return mix(night, sea, 0.25 * (int(y / 12) / 16))

    return mapped_targa(draw(width, height, shade), 128)


def bricks():
    """A wall that repeats in both directions."""
    size, brick_w, brick_h = 256, 64, 32

    def cell(x, y):
        row = int(y // brick_h)
        shifted = x + (brick_w / 2 if row % 2 else 0) + 6 * (hashed(0, row % 8, 4) - 0.5)
        return int(shifted // brick_w) % 4, row % 8, shifted % brick_w, y % brick_h

    def relief(x, y):
        _, _, bx, by = cell(x % size, y % size)
        rough = fractal(x / 8, y / 8, 21, 4, size // 8)
        edge = min(bx, brick_w - bx, by, brick_h - by) - 2.2 - 2.2 * (rough - 0.5)
        return clamp(edge / 3.5) + 0.35 * rough

    def shade(x, y):
        x, y = math.floor(x) + 0.5, math.floor(y) + 0.5
        column, row, bx, by = cell(x, y)
        height = relief(x, y)
        light = clamp(1 + 0.6 * (height - relief(x - 1.5, y - 1.5)), 0.5, 1.4)
        rough = fractal(x / 16, y / 16, 33, 5, size // 16)
        if height - 0.35 * fractal(x / 8, y / 8, 21, 4, size // 8) < 0.06:
            return scale(rgb("b9ad9b"), light * (0.62 + 0.4 * rough))
        tone = hashed(column, row, 8)
        base = mix(rgb("7c2f22"), rgb("c4633f"), tone) if tone < 0.86 else rgb("5b4a4f")
        return scale(mix(base, rgb("d99c74"), clamp(rough * 1.6 - 0.8)), light * (0.72 + 0.5 * rough))

    return true_color_bmp(draw(size, size, shade, 1))


def planks():
    """Boards in a few browns, with knots and nails."""
    width, height = 171, 128
    tones = [("3f2413", "a8703c"), ("4a2c18", "bd8450"), ("38200f", "96602f"), ("50331f", "c08f5c")]

    def shade(x, y):
        board = int(y // 32)
        inside = y % 32
        joint = 30 + 110 * hashed(board, 7, 12)
        if inside < 1.2 or abs(x - joint) < 0.8:
            return rgb("1a0f08")
        part = board * 2 + (x > joint)
        warp = 9 * fractal(x / 46, y / 13, 40 + part, 3)
        knot_x, knot_y = joint * (0.45 if x <= joint else 1.35), board * 32 + 10 + 12 * hashed(part, 1, 5)
        near = math.hypot((x - knot_x) / 1.7, y - knot_y)
        ring = math.sin(inside * 0.5 + warp * 2.4 + 26 / (near * 0.35 + 2))
        value = 0.55 + 0.25 * ring + 0.35 * (noise(x / 12, y * 1.4, 60 + part) - 0.5)
        value *= clamp(near / 5, 0.25, 1.0) * (0.82 + 0.3 * hashed(part, 3, 6))
        nail = min(math.hypot(x - joint - 5, inside - 8), math.hypot(x - joint - 5, inside - 25))
        if nail < 2:
            return scale(rgb("8f8b86"), 0.6 + 0.3 * (2 - nail))
        dark, bright = tones[part % 4]
        return mix(rgb(dark), rgb(bright), round(clamp(value) * 40) / 40)

    return mapped_bmp(draw(width, height, shade, 1), 192)


def cobbles():
    """Normals of a cobbled street: red and green are slopes, blue is up."""
    size, cells = 160, 7

    def relief(x, y):
        u, v = x / size * cells, y / size * cells
        nearest = second = 9.0
        for iy in range(math.floor(v) - 1, math.floor(v) + 2):
            for ix in range(math.floor(u) - 1, math.floor(u) + 2):
                px = ix + 0.15 + 0.7 * hashed(ix % cells, iy % cells, 70)
                py = iy + 0.15 + 0.7 * hashed(ix % cells, iy % cells, 71)
                away = math.hypot(px - u, py - v)
                nearest, second = sorted((nearest, second, away))[:2]
        dome = clamp((second - nearest) * 2.2)
        return 7 * (1 - (1 - dome) ** 2.4) + 1.2 * fractal(u * 3, v * 3, 72, 3, cells * 3)

    def shade(x, y):
        dx, dy = relief(x - 0.7, y) - relief(x + 0.7, y), relief(x, y + 0.7) - relief(x, y - 0.7)
        length = math.sqrt(dx * dx + dy * dy + 1.6)
        return 0.5 + dx / length / 2, 0.5 + dy / length / 2, 0.5 + math.sqrt(1.6) / length / 2

    return targa(draw(size, size, shade, 1), top_down=True)


def marbles():
    """Shaded balls with reflections: thousands of colors."""
    width, height = 320, 200
    balls = [((-1.55, 0.0, 4.6), 1.0, rgb("c8323c")), ((0.75, 0.35, 5.6), 1.35, rgb("2f6fd0")),
             ((0.25, -0.55, 3.3), 0.45, rgb("f0c040")), ((2.0, -0.45, 3.9), 0.55, rgb("3fae5a")),
             ((-2.9, -0.3, 6.6), 0.7, rgb("8e5bc0")), ((-0.75, -0.72, 3.1), 0.28, rgb("e8e8ee"))]
    lamp = (-0.52, 0.74, -0.43)
    dot = lambda a, b: a[0] * b[0] + a[1] * b[1] + a[2] * b[2]

    def hit(origin, ray):
        best, found = 1e9, None
        for ball in balls:
            away = tuple(o - c for o, c in zip(origin, ball[0]))
            half = dot(away, ray)
            under = half * half - dot(away, away) + ball[1] ** 2
            if under > 0:
                distance = -half - math.sqrt(under)
                if 1e-4 < distance < best:
                    best, found = distance, ball
        return best, found

    def color_of(origin, ray, depth):
        distance, ball = hit(origin, ray)
        floor = (-1.0 - origin[1]) / ray[1] if ray[1] < -1e-6 else 1e9
        if ball is None and floor > 60:
            return ramp([(0, rgb("f3e3cf")), (0.25, rgb("b9d3e8")), (1, rgb("4f7fb5"))], clamp(ray[1]))
        distance = min(distance, floor)
        point = tuple(o + r * distance for o, r in zip(origin, ray))
        if ball is None or floor <= distance:
            normal = (0.0, 1.0, 0.0)
            tile = (math.floor(point[0] * 0.9) + math.floor(point[2] * 0.9)) % 2
            base = mix(rgb("d9d2c5"), rgb("6d7484"), tile)
            base = mix(base, rgb("e6dccf"), clamp(distance / 40))
            shine = 0.12
        else:
            normal = tuple((p - c) / ball[1] for p, c in zip(point, ball[0]))
            swirl = fractal(normal[0] * 2.2 + 3, normal[1] * 2.2 + normal[2] * 1.6, int(ball[1] * 100), 3)
            base = mix(ball[2], (1.0, 1.0, 1.0), clamp(swirl * 3 - 1.7) * 0.55)
            shine = 0.16 + 0.5 * (1 - abs(dot(normal, ray))) ** 4
        lifted = tuple(p + n * 1e-3 for p, n in zip(point, normal))
        lit = max(0.0, dot(normal, lamp)) if hit(lifted, lamp)[1] is None else 0.0
        result = scale(base, 0.30 + 0.12 * normal[1] + 0.68 * lit)
        mirrored = tuple(r - 2 * dot(ray, normal) * n for r, n in zip(ray, normal))
        if depth:
            result = mix(result, color_of(lifted, mirrored, depth - 1), shine)
        gleam = max(0.0, dot(mirrored, lamp)) ** 60 * lit
        return tuple(clamp(c + 0.8 * gleam) for c in result) if ball else result

    def shade(x, y):
        ray = ((x - width / 2) / height * 1.15, (height * 0.42 - y) / height * 1.15, 1.0)
        length = math.sqrt(dot(ray, ray))
        return color_of((0.0, 0.25, 0.0), scale(ray, 1 / length), 2)

    return targa(draw(width, height, shade, 2))


def leaf():
    """An autumn leaf: soft edges, and planes with long runs."""
    size = 144

    def shade(x, y):
        u, v = (x - size / 2) / size * 2, (y - size * 0.54) / size * 2  # the stem points down
        angle, distance = math.atan2(u, -v), math.hypot(u, v)
        if v > 0.25 and abs(u - 0.10 * (v - 0.25)) < 0.022 + 0.012 * v:
            return (*rgb("7a4322"), clamp((0.93 - v) * 40))
        lobes = 0.52 + 0.24 * math.cos(angle * 5) * clamp(1.35 - abs(angle) / 2.6)
        lobes += 0.045 * abs(math.sin(angle * 21)) + 0.10 * math.exp(-(angle / 0.5) ** 2)
        lobes *= 1.12 - 0.42 * clamp((abs(angle) - 2.3) / 0.7)
        edge = clamp((lobes - distance) * size / 3)
        if edge == 0:
            return 0.0, 0.0, 0.0, 0.0
        near = min(abs(math.remainder(angle - 2 * math.pi / 5 * k, 2 * math.pi)) for k in range(-2, 3))
        vein = math.exp(-(near * distance / 0.014) ** 2)
        small = math.exp(-((math.sin(26 * distance - 9 * near) * 0.5) / 0.09) ** 2) * 0.35
        tone = clamp(0.55 * distance / lobes + 0.6 * (fractal(x / 17, y / 17, 91, 3) - 0.3))
        color = ramp([(0, rgb("f6c445")), (0.4, rgb("ee8a2c")), (0.75, rgb("d2442a")),
                       (1, rgb("8e1f2b"))], tone)
        return (*mix(mix(color, rgb("ffe3a1"), small * 0.5), rgb("ffe3a1"), 0.75 * vein), edge)

    return sgi(draw(size, size, shade))


def nebula():
    """Glowing gas and stars: soft colors, as in a photograph."""
    width, height = 320, 200
    stars = [(width * hashed(i, 1, 5), height * hashed(i, 2, 5), hashed(i, 3, 5)) for i in range(160)]

    def shade(x, y):
        bend = fractal(x / 70, y / 70, 50, 4)
        gas = fractal(x / 90 + 2.2 * bend, y / 60 + 1.7 * bend, 54, 6)
        dark = fractal(x / 40 + bend, y / 40 - bend, 61, 5)
        arm = math.exp(-((y - 128 + 0.30 * x - 60 * (bend - 0.5)) / 52) ** 2)
        glow = clamp(arm * (gas * 2.6 - 0.62))
        color = ramp([(0, rgb("070a1c")), (0.3, rgb("2b2158")), (0.55, rgb("a23b7d")),
                       (0.8, rgb("f08a6b")), (1, rgb("fff1cf"))], glow)
        color = mix(color, rgb("1e8fb0"), 0.55 * clamp(gas * 2.2 - 1.0) * (1 - arm))
        color = scale(color, clamp(1.5 - 1.1 * dark, 0.3, 1.2))
        light = 0.0
        for sx, sy, size in stars:
            if abs(x - sx) < 12 and abs(y - sy) < 12:
                away = math.hypot(x - sx, y - sy)
                light += math.exp(-(away / (0.5 + 0.9 * size ** 6)) ** 2)
                if size > 0.93:
                    light += 0.5 * math.exp(-abs(x - sx) * abs(y - sy) * 2 - away / 4)
        return mix(color, rgb("f4f8ff"), clamp(light))

    return jpeg(draw(width, height, shade), 88)


PICTURES = {
    "dusk.tga": dusk, "flask.tga": flask, "crest.tga": crest, "marbles.tga": marbles,
    "cobbles.tga": cobbles, "bricks.bmp": bricks, "planks.bmp": planks, "leaf.rgb": leaf,
    "nebula.jpg": nebula,
}

if __name__ == "__main__":
    for name, picture in PICTURES.items():
        (pathlib.Path(__file__).parent / name).write_bytes(picture())
