#!/usr/bin/env python3
"""Model a plate of samples, one for each structure that structures.zn.json shows, and paint the image
of heights that some of them wear. Metres, y up, standard library only.

    python3 examples/makeStructures.py examples/structures.glb examples/structureBricks.png
"""
import math, random, struct, sys, zlib

from makeStudio import Document, circle, lathe, look_at, moved

RADIUS, STEP = 0.1, 0.29
ROWS = (("noise", "coordinate noise", "coordinate tilt", "sparkle", "cells"),
        ("strokes", "planes", "circles", "carbon", "orange peel"),
        ("bump", "parallax", "occlusion", "triplanar occlusion", "rounded"))


def ball(rings=48):
    profile = [(RADIUS * math.sin(math.pi * k / rings), RADIUS - RADIUS * math.cos(math.pi * k / rings))
               for k in range(rings + 1)]
    profile[0], profile[-1] = (0.0, 0.0), (0.0, 2.0 * RADIUS)
    return lathe(profile, circle(2 * rings))


def slab(width, height, depth, place=(0.0, 0.0, 0.0)):
    """A box with sharp edges on a place. Coordinates count in widths on all faces."""
    triangles = []
    for axis in range(3):
        for sign in (1.0, -1.0):
            corners = []
            for s, t in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
                p = [0.0, 0.0, 0.0]
                right, up = ((2, 1), (0, 2), (0, 1))[axis]
                p[axis], p[right], p[up] = sign, s, t
                p = (0.5 * width * p[0], 0.5 * height * (p[1] + 1.0), 0.5 * depth * p[2])
                corners.append((p, (p[right] / width + 0.5, p[up] / width + (0.5 if up == 2 else 0.0))))
            order = (0, 1, 2, 3) if (sign > 0.0) == (axis == 2) else (3, 2, 1, 0)
            a, b, c, d = (corners[k] for k in order)
            triangles += [(a, b, c), (a, c, d)]
    return moved(triangles, place)


def part():
    """As it comes from a drawing: steps, a boss and a hole, and not one edge that is broken."""
    triangles = slab(0.24, 0.03, 0.24) + slab(0.06, 0.12, 0.24, (-0.09, 0.03, 0.0))
    triangles += slab(0.05, 0.05, 0.05, (0.075, 0.03, -0.08))
    outline = circle(64)
    triangles += moved(lathe([(0.055, 0.0), (0.055, 0.05), (0.03, 0.05), (0.03, 0.012), (0.0, 0.012)], outline),
                       (0.03, 0.03, 0.035))
    return triangles


def bricks(size=512, across=4, down=8, joint=0.055, slope=0.035):
    """Heights of a wall of bricks, each a little higher or lower than the others; tiles."""
    random.seed(7)
    heights = [[random.uniform(0.72, 1.0) for _ in range(across)] for _ in range(down)]
    rows = []
    for y in range(size):
        row = bytearray()
        v = (y + 0.5) / size * down
        line = int(v)
        for x in range(size):
            u = (x + 0.5) / size * across + 0.5 * (line % 2)
            # Distance to the nearest joint, as a share of a brick's length.
            inside = min(u % 1.0, 1.0 - u % 1.0, 0.5 * (v % 1.0), 0.5 * (1.0 - v % 1.0))
            t = min(1.0, max(0.0, (inside - 0.5 * joint) / slope))
            t = t * t * (3.0 - 2.0 * t)
            row.append(round(255.0 * (0.12 + t * (heights[line][int(u) % across] - 0.12))))
        rows.append(bytes(row))
    return rows


def write_png(path, rows):
    """Grey, eight bits."""
    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))
    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 0, 0, 0, 0)
    with open(path, "wb") as handle:
        handle.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header))
        handle.write(chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows), 9)) + chunk(b"IEND", b""))


def build():
    scene = Document()
    scene.json["asset"]["generator"] = "makeStructures.py"
    scene.json["scenes"][0]["name"] = "structures"
    for key in ("extensionsUsed", "extensions"):
        del scene.json[key]
    plate = scene.material("plate", (0.55, 0.55, 0.54), 0.0, 0.9)
    scene.node("plate", mesh=scene.mesh("plate", [(slab(6.0, 0.02, 6.0, (0.0, -0.02, 0.0)), plate)]))

    sample, drawn = slab(0.24, 0.05, 0.24) + moved(ball(), (0.0, 0.05, 0.0)), None
    meshes = scene.json["meshes"]
    for row, names in enumerate(ROWS):
        for k, name in enumerate(names):
            material = scene.material(name, (0.6, 0.6, 0.6), 0.0, 0.5)
            if name == "rounded":
                number = scene.mesh(name, [(part(), material)])
            elif drawn is None:
                number = scene.mesh(name, [(sample, material)])
                drawn = meshes[number]["primitives"][0]
            else:  # the same triangles once more
                meshes.append({"name": name, "primitives": [{**drawn, "material": material}]})
                number = len(meshes) - 1
            scene.node(name, mesh=number, translation=[STEP * (k - 2), 0.0, 1.5 * STEP * (row - 1)])

    eye, at = (0.0, 2.1, 2.55), (0.0, 0.06, -0.02)
    scene.json["cameras"].append({"name": "all", "type": "perspective", "perspective": {
        "yfov": math.radians(19.5), "znear": 0.01, "zfar": 50.0}})
    scene.node("all", camera=0, translation=list(eye), rotation=look_at(eye, at))
    return scene


if __name__ == "__main__":
    build().write(sys.argv[1] if len(sys.argv) > 1 else "structures.glb")
    write_png(sys.argv[2] if len(sys.argv) > 2 else "structureBricks.png", bricks())
