#!/usr/bin/env python3
"""Model a plate with two rows of balls, one for each kind of material that materials.zn.json shows,
and write it as glTF. Metres, y up, standard library only.

    python3 examples/makeMaterials.py examples/materials.glb
"""
import math, sys

from makeStudio import Document, box, circle, lathe, look_at, moved

RADIUS, STEP = 0.1, 0.235
BACK = ("phong", "plastic", "reflective plastic", "triplanar", "substance", "brushed metal", "simple")
FRONT = ("chrome gold", "chrome rough", "clear glass", "tinted glass", "frosted glass", "thin glass", "light")


def ball(rings=48):
    profile = [(RADIUS * math.sin(math.pi * k / rings), RADIUS - RADIUS * math.cos(math.pi * k / rings))
               for k in range(rings + 1)]
    profile[0], profile[-1] = (0.0, 0.0), (0.0, 2.0 * RADIUS)
    return lathe(profile, circle(2 * rings))


def bar(width, height, depth, place):
    """A box of the given sides about a place."""
    return moved([tuple(((p[0] * width, p[1] * height, p[2] * depth), uv) for p, uv in t)
                  for t in box(1.0, 0.002)], place)


def build():
    scene = Document()
    scene.json["asset"]["generator"] = "makeMaterials.py"
    scene.json["scenes"][0]["name"] = "materials"
    for key in ("extensionsUsed", "extensions"):
        del scene.json[key]
    plate = scene.material("plate", (0.55, 0.55, 0.54), 0.0, 0.9)
    line = scene.material("line", (0.06, 0.07, 0.09), 0.0, 0.9)
    scene.node("plate", mesh=scene.mesh("plate", [(bar(2.2, 0.04, 1.3, (0.0, -0.02, -0.1)), plate)]))
    stripes = []
    for k in range(-9, 10):
        stripes += bar(0.006, 0.001, 1.26, (0.5 * STEP * k, 0.0, -0.1))
    for k in range(11):
        stripes += bar(2.14, 0.001, 0.006, (0.0, 0.0, 0.48 - 0.5 * STEP * k))
    scene.node("lines", mesh=scene.mesh("lines", [(stripes, line)]))

    shape, drawn = ball(), None
    meshes = scene.json["meshes"]
    for names, depth in ((BACK, -0.16), (FRONT, 0.16)):
        for k, name in enumerate(names):
            material = scene.material(name, (0.6, 0.6, 0.6), 0.0, 0.5)
            if drawn is None:
                drawn = meshes[scene.mesh(name, [(shape, material)])]["primitives"][0]
            else:  # the same triangles once more
                meshes.append({"name": name, "primitives": [{**drawn, "material": material}]})
            scene.node(name, mesh=len(meshes) - 1, translation=[STEP * (k - 3), 0.0005, depth])

    eye, at = (0.0, 1.05, 2.1), (0.0, 0.055, 0.0)
    scene.json["cameras"].append({"name": "all", "type": "perspective", "perspective": {
        "yfov": math.radians(19.0), "znear": 0.01, "zfar": 50.0}})
    scene.node("all", camera=0, translation=list(eye), rotation=look_at(eye, at))
    return scene


if __name__ == "__main__":
    build().write(sys.argv[1] if len(sys.argv) > 1 else "materials.glb")
