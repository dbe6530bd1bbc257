#!/usr/bin/env python3
"""Model the bundled scene and write it as glTF: a stove-top coffee pot, two cups and some sugar
on a studio backdrop, with two cameras and three lights. Metres, y up, standard library only.

    python3 examples/makeStudio.py examples/studio.glb
"""
import json, math, struct, sys

TAU = 2.0 * math.pi
CREASE = math.cos(math.radians(32.0))  # faces that meet at a larger angle keep an edge


# -- small vector algebra -------------------------------------------------------------------------
def add(a, b): return (a[0] + b[0], a[1] + b[1], a[2] + b[2])
def sub(a, b): return (a[0] - b[0], a[1] - b[1], a[2] - b[2])
def mul(a, s): return (a[0] * s, a[1] * s, a[2] * s)
def dot(a, b): return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]
def cross(a, b): return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])
def unit(a):
    length = math.sqrt(dot(a, a))
    return mul(a, 1.0 / length) if length > 0.0 else a
def smooth(a, b, x):
    t = min(1.0, max(0.0, (x - a) / (b - a)))
    return t * t * (3.0 - 2.0 * t)


# -- meshes as lists of triangles of (position, uv) -----------------------------------------------
def grid(rows, closed, uv=(1.0, 1.0)):
    """Triangles between consecutive rows of points; closed joins the end of a row to its start."""
    triangles = []
    count = len(rows[0])
    last = count if closed else count - 1
    for i in range(len(rows) - 1):
        for j in range(last):
            k = (j + 1) % count
            def corner(row, column, step):
                return (rows[row][column], (uv[0] * step / last, uv[1] * row / (len(rows) - 1)))
            a, b = corner(i, j, j), corner(i, k, j + 1)
            c, d = corner(i + 1, k, j + 1), corner(i + 1, j, j)
            triangles += [(a, b, c), (a, c, d)]
    return [t for t in triangles if area(t) > 1e-14]


def area(triangle):
    a, b, c = (corner[0] for corner in triangle)
    n = cross(sub(b, a), sub(c, a))
    return dot(n, n)


def rounded(points, radius, steps=5):
    """A polyline whose inner corners are replaced by arcs (quadratic blends) of a given reach."""
    result = [points[0]]
    for before, here, after in zip(points, points[1:], points[2:]):
        def towards(other):
            d = [o - h for o, h in zip(other, here)]
            length = math.hypot(*d)
            reach = min(radius, 0.45 * length)
            return [h + x * reach / length for h, x in zip(here, d)] if length else list(here)
        start, end = towards(before), towards(after)
        for s in range(steps + 1):
            t = s / steps
            result.append(tuple((1 - t) ** 2 * p + 2 * t * (1 - t) * h + t * t * q
                                for p, h, q in zip(start, here, end)))
    return result + [points[-1]]


def circle(segments):
    """A unit circle that runs so that profiles from bottom to top face outwards."""
    return [(math.cos(-TAU * k / segments), math.sin(-TAU * k / segments)) for k in range(segments)]


def octagon(corner_steps=4, softness=0.16):
    corners = [(math.cos(-TAU * (k + 0.5) / 8), math.sin(-TAU * (k + 0.5) / 8)) for k in range(8)]
    outline = []
    for k in range(8):
        here, before, after = corners[k], corners[k - 1], corners[(k + 1) % 8]
        start = tuple(h + (b - h) * softness for h, b in zip(here, before))
        end = tuple(h + (a - h) * softness for h, a in zip(here, after))
        for s in range(corner_steps + 1):
            t = s / corner_steps
            outline.append(tuple((1 - t) ** 2 * p + 2 * t * (1 - t) * h + t * t * q
                                 for p, h, q in zip(start, here, end)))
    return outline


def lathe(profile, outline, bulge=None):
    """Turns a profile of (radius, height) about y; bulge(x, z, height) scales the radius."""
    rows = []
    for radius, height in profile:
        row = []
        for x, z in outline:
            r = radius * (bulge(x, z, height) if bulge else 1.0)
            row.append((r * x, height, r * z))
        rows.append(row)
    return grid(rows, True)


def sweep(path, section):
    """Moves section(t) = outline of (side, normal) offsets along a path in the x, y plane."""
    rows = []
    for i, point in enumerate(path):
        ahead, behind = path[min(i + 1, len(path) - 1)], path[max(i - 1, 0)]
        tangent = unit((ahead[0] - behind[0], ahead[1] - behind[1], 0.0))
        normal = (-tangent[1], tangent[0], 0.0)
        t = i / (len(path) - 1)
        rows.append([add((point[0], point[1], 0.0), add(mul(normal, n), (0.0, 0.0, s)))
                     for s, n in section(t)])
    caps = []
    for row, outward in ((rows[0], False), (rows[-1], True)):
        centre = mul(tuple(map(sum, zip(*row))), 1.0 / len(row))
        for a, b in zip(row, row[1:] + row[:1]):
            corners = (centre, a, b) if outward else (centre, b, a)
            caps.append(tuple((p, (0.5, 0.5)) for p in corners))
    return grid(rows, True) + caps


def ellipse(a, b, segments=20, power=2.0):
    outline = []
    for k in range(segments):
        c, s = math.cos(TAU * k / segments), math.sin(TAU * k / segments)
        outline.append((a * math.copysign(abs(c) ** (2 / power), c),
                        b * math.copysign(abs(s) ** (2 / power), s)))
    return outline


def bezier(p0, p1, p2, p3, steps):
    points = []
    for i in range(steps + 1):
        t = i / steps
        w = ((1 - t) ** 3, 3 * t * (1 - t) ** 2, 3 * t * t * (1 - t), t ** 3)
        points.append(tuple(sum(k * p[axis] for k, p in zip(w, (p0, p1, p2, p3))) for axis in (0, 1)))
    return points


def moved(triangles, offset=(0, 0, 0), turn=0.0, tilt=0.0):
    """Turned about y, then tilted about z, then shifted."""
    def place(p):
        x, y, z = p
        x, z = x * math.cos(turn) + z * math.sin(turn), -x * math.sin(turn) + z * math.cos(turn)
        x, y = x * math.cos(tilt) - y * math.sin(tilt), x * math.sin(tilt) + y * math.cos(tilt)
        return add((x, y, z), offset)
    return [tuple((place(p), uv) for p, uv in t) for t in triangles]


def box(size, bevel):
    """A cube with soft edges: the sum of a smaller cube and a sphere, as a sampled support map."""
    steps = 7
    triangles = []
    inner = size / 2 - bevel
    for axis in range(3):
        for sign in (1.0, -1.0):
            rows = []
            for i in range(steps + 1):
                row = []
                for j in range(steps + 1):
                    d = [0.0, 0.0, 0.0]
                    d[axis] = sign
                    d[(axis + 1) % 3] = math.tan(math.pi / 4 * (2 * i / steps - 1)) * sign
                    d[(axis + 2) % 3] = math.tan(math.pi / 4 * (2 * j / steps - 1))
                    n = unit(tuple(d))
                    edge = [max(-1.0, min(1.0, x * 4.0)) for x in d]
                    row.append(tuple(inner * e + bevel * x for e, x in zip(edge, n)))
                rows.append(row)
            triangles += [(c, b, a) for a, b, c in grid(rows, False)]
    return triangles


# -- the objects ------------------------------------------------------------------------------------
def pot():
    eight = octagon()
    boiler = lathe(rounded([(0.0, 0.0), (0.0500, 0.0), (0.0520, 0.006), (0.0450, 0.070), (0.0455, 0.078),
                            (0.0, 0.078)], 0.0035), eight)
    collar = []
    for low, high, radius in ((0.078, 0.0835, 0.0465), (0.0835, 0.0865, 0.0445), (0.0865, 0.093, 0.0465)):
        collar += lathe(rounded([(0.0, low), (radius, low), (radius, high), (0.0, high)], 0.0012, 4), circle(96))

    def spout(x, z, height):
        along = smooth(0.108, 0.162, height)
        return 1.0 + 0.62 * along * math.exp(-(math.atan2(z, x) / 0.22) ** 2)
    body = [(0.0, 0.093), (0.0430, 0.093), (0.0405, 0.100)]
    body += [(0.0405 + 0.0115 * smooth(0.100, 0.175, h) , h) for h in [0.100 + 0.0025 * k for k in range(1, 27)]]
    body += [(0.0505, 0.168), (0.0480, 0.168), (0.0, 0.1665)]
    upper = lathe(rounded(body, 0.0012, 3), eight, spout)
    lid = lathe(rounded([(0.0, 0.1675), (0.0530, 0.1675), (0.0530, 0.1705), (0.0200, 0.1835), (0.0, 0.1845)],
                        0.0020), eight)
    metal = boiler + collar + upper + lid
    hinge = lathe(rounded([(0.0, -0.011), (0.0042, -0.011), (0.0042, 0.011), (0.0, 0.011)], 0.0006, 3), circle(24))
    hinge = [tuple(((p[0], p[2], p[1]), uv) for p, uv in (t[0], t[2], t[1])) for t in hinge]
    metal += moved(hinge, (-0.0545, 0.1700, 0.0))
    valve = lathe(rounded([(0.0, 0.0), (0.0058, 0.0), (0.0058, 0.005), (0.0036, 0.0055), (0.0036, 0.009),
                           (0.0, 0.0095)], 0.0008, 3), circle(24))
    metal += moved(moved(valve, (0.0440, 0.046, 0.0), tilt=-math.pi / 2), turn=-math.pi / 4)

    path = bezier((-0.050, 0.160), (-0.078, 0.176), (-0.112, 0.176), (-0.1060, 0.128), 26)
    path += bezier((-0.1060, 0.128), (-0.1035, 0.108), (-0.0985, 0.098), (-0.0955, 0.086), 14)[1:]
    def grip(t):
        width = 0.0075 + 0.0035 * smooth(0.15, 0.6, t) - 0.004 * smooth(0.93, 1.0, t)
        height = 0.0055 + 0.0035 * math.sin(math.pi * min(1.0, t * 1.1)) - 0.003 * smooth(0.93, 1.0, t)
        return ellipse(width, height, 24, 3.0)
    handle = sweep(path, grip)
    ball = [(0.0118 * math.sin(math.radians(a)) , 0.1990 - 0.0098 * math.cos(math.radians(a)))
            for a in range(34, 181, 7)]
    knob = lathe([(0.0, 0.1835), (0.0062, 0.1838), (0.0052, 0.1870)] + ball[:-1] + [(0.0, 0.2088)], circle(48))
    return metal, handle + knob


def cup():
    outer = [(0.0, 0.0), (0.0200, 0.0), (0.0212, 0.0022), (0.0222, 0.0034)]
    outer += [(0.0222 + 0.0158 * math.sin(0.5 * math.pi * k / 16) ** 1.15, 0.0034 + 0.0486 * (k / 16) ** 1.25)
              for k in range(1, 17)]
    inner = [(r - 0.0027, h) for r, h in reversed(outer[6:])]
    inner = [(outer[-1][0] - 0.0013, outer[-1][1] + 0.0011)] + inner + [(0.0, 0.0075)]
    china = lathe(outer + inner, circle(72))
    path = bezier((0.0360, 0.0405), (0.0535, 0.0465), (0.0570, 0.0160), (0.0272, 0.0140), 24)
    china += sweep(path, lambda t: ellipse(0.0042, 0.0024 + 0.0008 * math.cos(TAU * t), 16, 2.4))
    coffee = lathe([(0.0338, 0.0395), (0.0330, 0.0391), (0.0, 0.0391)], circle(72))
    return china, coffee


def saucer():
    return lathe(rounded([(0.0, 0.0012), (0.0230, 0.0012), (0.0240, 0.0), (0.0275, 0.0), (0.0285, 0.0020),
                          (0.0600, 0.0105), (0.0608, 0.0118), (0.0590, 0.0122), (0.0300, 0.0050), (0.0240, 0.0036),
                          (0.0, 0.0036)], 0.0030), circle(96))


def backdrop():
    profile = rounded([(1.1, 0.0), (-0.9, 0.0), (-0.9, 1.6)], 0.55, 40)
    rows = [[(x, h, -1.8 + 3.6 * k / 12) for k in range(13)] for x, h in profile]
    return [(c, b, a) for a, b, c in grid(rows, False)]


# -- glTF -------------------------------------------------------------------------------------------
def with_normals(triangles):
    """Indexed vertices with normals; corners share a normal unless their faces meet at a crease."""
    def key(p): return tuple(round(x * 1e7) for x in p)
    faces, around = [], {}
    for t in triangles:
        n = cross(sub(t[1][0], t[0][0]), sub(t[2][0], t[0][0]))
        faces.append((n, unit(n)))
        for p, _ in t:
            around.setdefault(key(p), []).append(len(faces) - 1)
    vertices, index, indices = [], {}, []
    for t, (_, face) in zip(triangles, faces):
        for p, uv in t:
            total = (0.0, 0.0, 0.0)
            for other in around[key(p)]:
                if dot(faces[other][1], face) > CREASE:
                    total = add(total, faces[other][0])
            n = unit(total)
            vertex = (key(p), tuple(round(x * 1e3) for x in n), tuple(round(x * 1e5) for x in uv))
            if vertex not in index:
                index[vertex] = len(vertices)
                vertices.append((p, n, uv))
            indices.append(index[vertex])
    return vertices, indices


class Document:
    def __init__(self):
        self.blob = bytearray()
        self.json = {"asset": {"version": "2.0", "generator": "makeStudio.py"}, "scene": 0,
                     "scenes": [{"name": "studio", "nodes": []}], "nodes": [], "meshes": [], "materials": [],
                     "accessors": [], "bufferViews": [], "buffers": [], "cameras": [],
                     "extensionsUsed": ["KHR_lights_punctual"],
                     "extensions": {"KHR_lights_punctual": {"lights": []}}}

    def accessor(self, code, kind, component, rows, target, bounds=False):
        while len(self.blob) % 4:
            self.blob.append(0)
        start = len(self.blob)
        for row in rows:
            self.blob += struct.pack("<%d%s" % (len(row), code), *row)
        self.json["bufferViews"].append({"buffer": 0, "byteOffset": start, "byteLength": len(self.blob) - start,
                                         "target": target})
        entry = {"bufferView": len(self.json["bufferViews"]) - 1, "componentType": component, "count": len(rows),
                 "type": kind}
        if bounds:
            as_float = [struct.unpack("<3f", struct.pack("<3f", *row)) for row in rows]
            entry["min"] = [min(c) for c in zip(*as_float)]
            entry["max"] = [max(c) for c in zip(*as_float)]
        self.json["accessors"].append(entry)
        return len(self.json["accessors"]) - 1

    def mesh(self, name, parts):
        primitives = []
        for triangles, material in parts:
            vertices, indices = with_normals(triangles)
            wide = len(vertices) > 65535
            primitives.append({
                "attributes": {"POSITION": self.accessor("f", "VEC3", 5126, [v[0] for v in vertices], 34962, True),
                               "NORMAL": self.accessor("f", "VEC3", 5126, [v[1] for v in vertices], 34962),
                               "TEXCOORD_0": self.accessor("f", "VEC2", 5126, [v[2] for v in vertices], 34962)},
                "indices": self.accessor("I" if wide else "H", "SCALAR", 5125 if wide else 5123,
                                         [(i,) for i in indices], 34963),
                "material": material})
        self.json["meshes"].append({"name": name, "primitives": primitives})
        return len(self.json["meshes"]) - 1

    def material(self, name, colour, metallic, roughness):
        self.json["materials"].append({"name": name, "pbrMetallicRoughness": {
            "baseColorFactor": list(colour) + [1.0], "metallicFactor": metallic, "roughnessFactor": roughness}})
        return len(self.json["materials"]) - 1

    def node(self, name, top=True, **content):
        self.json["nodes"].append({"name": name, **content})
        number = len(self.json["nodes"]) - 1
        if top:
            self.json["scenes"][0]["nodes"].append(number)
        return number

    def light(self, name, kind, colour, intensity, **place):
        lights = self.json["extensions"]["KHR_lights_punctual"]["lights"]
        lights.append({"name": name, "type": kind, "color": colour, "intensity": intensity})
        self.node(name, extensions={"KHR_lights_punctual": {"light": len(lights) - 1}}, **place)

    def write(self, path):
        while len(self.blob) % 4:
            self.blob.append(0)
        self.json["buffers"] = [{"byteLength": len(self.blob)}]
        text = json.dumps(self.json, separators=(",", ":")).encode()
        text += b" " * (-len(text) % 4)
        total = 12 + 8 + len(text) + 8 + len(self.blob)
        with open(path, "wb") as handle:
            handle.write(struct.pack("<III", 0x46546C67, 2, total))
            handle.write(struct.pack("<II", len(text), 0x4E4F534A) + text)
            handle.write(struct.pack("<II", len(self.blob), 0x004E4942) + bytes(self.blob))


def look_at(eye, at):
    """Rotation (x, y, z, w) that turns -z towards at with y up."""
    back = unit(sub(eye, at))
    right = unit(cross((0.0, 1.0, 0.0), back))
    up = cross(back, right)
    m = [[right[r], up[r], back[r]] for r in range(3)]
    trace = m[0][0] + m[1][1] + m[2][2]
    if trace > 0.0:
        s = 2.0 * math.sqrt(1.0 + trace)
        return [(m[2][1] - m[1][2]) / s, (m[0][2] - m[2][0]) / s, (m[1][0] - m[0][1]) / s, 0.25 * s]
    i = max(range(3), key=lambda k: m[k][k])
    j, k = (i + 1) % 3, (i + 2) % 3
    s = 2.0 * math.sqrt(1.0 + m[i][i] - m[j][j] - m[k][k])
    q = [0.0] * 4
    q[i], q[j], q[k], q[3] = 0.25 * s, (m[j][i] + m[i][j]) / s, (m[k][i] + m[i][k]) / s, (m[k][j] - m[j][k]) / s
    return q


def build():
    scene = Document()
    aluminium = scene.material("aluminium", (0.91, 0.92, 0.92), 1.0, 0.28)
    bakelite = scene.material("black grip", (0.025, 0.025, 0.027), 0.0, 0.35)
    china = scene.material("white china", (0.86, 0.85, 0.82), 0.0, 0.12)
    coffee = scene.material("coffee", (0.055, 0.028, 0.014), 0.0, 0.08)
    sugar = scene.material("sugar", (0.93, 0.92, 0.90), 0.0, 0.8)
    paper = scene.material("backdrop", (0.62, 0.64, 0.66), 0.0, 0.9)

    metal, grip = pot()
    scene.node("coffee pot", mesh=scene.mesh("coffee pot", [(metal, aluminium), (grip, bakelite)]),
               rotation=[0.0, math.sin(math.radians(9)), 0.0, math.cos(math.radians(9))])
    body, drink = cup()
    cup_mesh = scene.mesh("cup", [(body, china), (drink, coffee)])
    saucer_mesh = scene.mesh("saucer", [(saucer(), china)])
    for name, place, turn in (("first", [0.150, 0.0, 0.060], -35.0), ("second", [0.060, 0.0, 0.165], 205.0)):
        half = math.radians(turn) / 2
        children = [scene.node(name + " saucer", False, mesh=saucer_mesh),
                    scene.node(name + " cup", False, mesh=cup_mesh, translation=[0.0, 0.0034, 0.0])]
        scene.node(name + " setting", translation=place, rotation=[0.0, math.sin(half), 0.0, math.cos(half)],
                   children=children)
    cube = scene.mesh("sugar cube", [(box(0.015, 0.0016), sugar)])
    for k, (x, y, z, turn) in enumerate(((-0.060, 0.0075, 0.118, 20.0), (-0.0425, 0.0075, 0.127, 64.0),
                                         (-0.0520, 0.0225, 0.1215, 41.0), (-0.020, 0.0075, 0.160, 8.0))):
        half = math.radians(turn) / 2
        scene.node("sugar %d" % (k + 1), mesh=cube, translation=[x, y, z],
                   rotation=[0.0, math.sin(half), 0.0, math.cos(half)])
    scene.node("backdrop", mesh=scene.mesh("backdrop", [(backdrop(), paper)]),
               rotation=[0.0, math.sin(math.radians(-56) / 2), 0.0, math.cos(math.radians(-56) / 2)])

    for name, eye, at, fov in (("hero", (0.330, 0.225, 0.520), (0.020, 0.078, 0.045), 31.5),
                               ("detail", (0.190, 0.230, 0.270), (0.000, 0.135, 0.000), 28.0)):
        scene.json["cameras"].append({"name": name, "type": "perspective", "perspective": {
            "yfov": math.radians(fov), "znear": 0.01, "zfar": 20.0}})
        scene.node(name, camera=len(scene.json["cameras"]) - 1, translation=list(eye), rotation=look_at(eye, at))
    # Dim lights, so that a white surface under them is about white at an exposure of 0 stops.
    scene.light("key", "spot", [1.0, 0.96, 0.90], 2.3, translation=[0.9, 1.1, 0.5],
                rotation=look_at((0.9, 1.1, 0.5), (0.0, 0.08, 0.0)))
    scene.light("fill", "point", [0.85, 0.92, 1.0], 0.45, translation=[-0.7, 0.6, 0.9])
    scene.light("rim", "directional", [1.0, 1.0, 1.0], 0.08, rotation=look_at((-0.6, 0.8, -0.7), (0.0, 0.0, 0.0)))
    return scene


if __name__ == "__main__":
    build().write(sys.argv[1] if len(sys.argv) > 1 else "studio.glb")
