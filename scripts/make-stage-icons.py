#!/usr/bin/env python3
"""Writes the stage's built-in pictures into src/kenro/resources/icons: the
three crosses of each set (a 15 x 15 cross centred on its middle pixel) and
the screen templates of four resolutions (a frame of the screen, clear inside).
Run it again after changing a picture here."""
import os
import struct
import zlib

HERE = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'src', 'kenro', 'resources',
                    'icons')


def write_png(name, width, height, pixel):
    rows = bytearray()
    for y in range(height):
        rows.append(0)
        for x in range(width):
            rows.extend(pixel(x, y))

    def chunk(kind, data):
        body = kind + data
        return struct.pack('>I', len(data)) + body + struct.pack('>I', zlib.crc32(body) & 0xffffffff)

    png = b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 6, 0, 0, 0))
    png += chunk(b'IDAT', zlib.compress(bytes(rows), 9)) + chunk(b'IEND', b'')
    with open(os.path.join(HERE, name), 'wb') as f:
        f.write(png)


CLEAR = (0, 0, 0, 0)


def plain_cross(color):
    # One-pixel lines through the middle, with a dark edge so that they show on any colour.
    def pixel(x, y):
        if x == 7 or y == 7:
            return color
        if abs(x - 7) == 1 and abs(y - 7) >= 2 or abs(y - 7) == 1 and abs(x - 7) >= 2:
            return (0, 0, 0, 96)
        return CLEAR
    return pixel


def open_cross(color):
    # Two-pixel arms that leave the middle free, with the middle pixel marked.
    def pixel(x, y):
        if x == 7 and y == 7:
            return color
        if (x in (7, 8) and abs(y - 7) >= 3) or (y in (7, 8) and abs(x - 7) >= 3):
            return color
        return CLEAR
    return pixel


for name, color in (('sff', (255, 0, 0, 255)), ('air', (0, 96, 255, 255)),
                    ('extra', (0, 200, 0, 255))):
    write_png(name + '.png', 15, 15, plain_cross(color))
for name, color in (('cruz', (255, 255, 0, 255)), ('cruz2', (255, 0, 255, 255)),
                    ('cruz3', (0, 255, 255, 255))):
    write_png(name + '.png', 15, 15, open_cross(color))


def screen(width, height):
    def pixel(x, y):
        if x < 2 or y < 2 or x >= width - 2 or y >= height - 2:
            return (255, 255, 255, 160)
        return CLEAR
    return pixel


for name, size in (('1080p', (1920, 1080)), ('720p', (1280, 720)), ('480p', (848, 480)),
                   ('240p', (424, 240))):
    write_png(name + '.png', size[0], size[1], screen(*size))
