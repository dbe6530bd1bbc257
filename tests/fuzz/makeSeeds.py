#!/usr/bin/env python3
"""Writes small seed files for the fuzz targets, one folder per target, and dictionaries of the
words in them for the targets that read JSON (gltf.dict, glb.dict, archive.dict).

    makeSeeds.py FOLDER [--samples FOLDER] [--znrender PROGRAM]

--samples   images/ and gltf/ to take small files from
--znrender  converts the glTF seeds to scene archives; the target takes JSON, a zero byte, binary
"""

import argparse
import base64
import json
import pathlib
import struct
import subprocess
import tempfile

LARGEST = 64 * 1024

EXTENSIONS_OF_MATERIALS = {
    "KHR_materials_anisotropy": {"anisotropyStrength": 0.5, "anisotropyRotation": 1},
    "KHR_materials_clearcoat": {"clearcoatFactor": 1, "clearcoatRoughnessFactor": 0.1},
    "KHR_materials_dispersion": {"dispersion": 0.3},
    "KHR_materials_emissive_strength": {"emissiveStrength": 5},
    "KHR_materials_ior": {"ior": 1.4},
    "KHR_materials_iridescence": {"iridescenceFactor": 1, "iridescenceIor": 1.3},
    "KHR_materials_sheen": {"sheenColorFactor": [1, 0.5, 0], "sheenRoughnessFactor": 0.3},
    "KHR_materials_specular": {"specularFactor": 0.5, "specularColorFactor": [1, 0.9, 0.8]},
    "KHR_materials_transmission": {"transmissionFactor": 0.9},
    "KHR_materials_volume": {
        "thicknessFactor": 1, "attenuationDistance": 2, "attenuationColor": [1, 0, 0]},
}


class Buffer:
    """Collects arrays, each with its view and accessor."""

    def __init__(self):
        self.bytes, self.views, self.accessors = b"", [], []

    def view(self, data):
        self.bytes += b"\0" * (-len(self.bytes) % 4)
        self.views.append({"buffer": 0, "byteOffset": len(self.bytes), "byteLength": len(data)})
        self.bytes += data
        return len(self.views) - 1

    def array(self, code, kind, values, **more):
        width = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4, "MAT4": 16}[kind]
        component = {"b": 5120, "B": 5121, "h": 5122, "H": 5123, "I": 5125, "f": 5126}[code]
        data = struct.pack("<%d%s" % (len(values), code), *values)
        self.accessors.append({"bufferView": self.view(data), "componentType": component,
                               "count": len(values) // width, "type": kind, **more})
        return len(self.accessors) - 1


def png(width, height):
    import zlib

    def chunk(name, data):
        return (struct.pack(">I", len(data)) + name + data +
                struct.pack(">I", zlib.crc32(name + data)))
    rows = b"".join(b"\0" + bytes((x * 40 + y) & 255 for x in range(3 * width))
                    for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" +
            chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def meshScene():
    """One file with all that the reader knows about meshes and nodes."""
    b = Buffer()
    places = b.array("f", "VEC3", [0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0])
    normals = b.array("f", "VEC3", [0, 0, 1] * 4)
    coords = b.array("H", "VEC2", [0, 0, 65535, 0, 65535, 65535, 0, 65535], normalized=True)
    colors = b.array("B", "VEC4", [255, 0, 0, 255] * 4, normalized=True)
    indices = b.array("H", "SCALAR", [0, 1, 2, 0, 2, 3])
    offsets = b.array("b", "VEC3", [0, 0, 100] * 4, normalized=True)
    b.accessors[offsets]["sparse"] = {
        "count": 2, "indices": {"bufferView": b.view(b"\1\3"), "componentType": 5121},
        "values": {"bufferView": b.view(bytes(range(6)))}}
    joints = b.array("B", "VEC4", [0, 1, 0, 0] * 4)
    weights = b.array("f", "VEC4", [0.5, 0.5, 0, 0] * 4)
    inverse = b.array("f", "MAT4", [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1] * 2)
    turns = b.array("f", "VEC4", [0, 0, 0, 1, 0, 1, 0, 0])
    moves = b.array("f", "VEC3", [0, 0, 0, 4, 0, 0])
    image = b.view(png(3, 2))
    root = {
        "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 3, 4]}],
        "nodes": [
            {"mesh": 0, "skin": 0, "children": [1, 2], "translation": [1, 2, 3]},
            {"name": "joint", "rotation": [0, 0, 1, 0], "camera": 0},
            {"scale": [1, 2, 1], "camera": 1,
             "extensions": {"KHR_lights_punctual": {"light": 0}}},
            {"mesh": 0, "weights": [0.5], "matrix": [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1],
             "extensions": {"EXT_mesh_gpu_instancing": {
                 "attributes": {"TRANSLATION": moves, "ROTATION": turns}}}},
            {"mesh": 1, "extensions": {"KHR_node_visibility": {"visible": False},
                                       "KHR_lights_punctual": {"light": 1}}}],
        "meshes": [
            {"weights": [0.2], "primitives": [
                {"attributes": {"POSITION": places, "NORMAL": normals, "TEXCOORD_0": coords,
                                "COLOR_0": colors, "JOINTS_0": joints, "WEIGHTS_0": weights},
                 "indices": indices, "material": 0, "targets": [{"POSITION": offsets}],
                 "extensions": {"KHR_materials_variants": {
                     "mappings": [{"material": 1, "variants": [0]}]}}}]},
            {"primitives": [{"attributes": {"POSITION": places}, "mode": 5},
                            {"attributes": {"POSITION": places}, "mode": 2, "indices": indices}]}],
        "skins": [{"joints": [1, 2], "inverseBindMatrices": inverse}],
        "cameras": [{"type": "perspective", "perspective": {"yfov": 0.7, "znear": 0.1}},
                    {"type": "orthographic",
                     "orthographic": {"xmag": 1, "ymag": 1, "zfar": 10, "znear": 0.1}}],
        "materials": [
            {"name": "all", "alphaMode": "MASK", "alphaCutoff": 0.3, "doubleSided": True,
             "pbrMetallicRoughness": {
                 "baseColorFactor": [1, 0.5, 0.2, 1], "metallicFactor": 0.5,
                 "baseColorTexture": {"index": 0, "extensions": {"KHR_texture_transform": {
                     "offset": [0.1, 0], "rotation": 1, "scale": [2, 2]}}}},
             "normalTexture": {"index": 0, "scale": 0.5}, "emissiveFactor": [1, 1, 1],
             "occlusionTexture": {"index": 0, "strength": 0.5}},
            {"extensions": {"KHR_materials_unlit": {}}}],
        "textures": [{"source": 0, "sampler": 0}],
        "images": [{"bufferView": image, "mimeType": "image/png"}],
        "samplers": [{"wrapS": 33071, "wrapT": 33648, "minFilter": 9987}],
        "extensionsUsed": ["KHR_materials_variants"],
        "extensions": {
            "KHR_lights_punctual": {"lights": [
                {"type": "spot", "intensity": 10, "spot": {"innerConeAngle": 0.2}},
                {"type": "directional", "color": [1, 0, 0]}, {"type": "point"}]},
            "KHR_materials_variants": {"variants": [{"name": "red"}, {"name": "blue"}]}},
        "extras": {"zn": {"exposure": 1}},
        "bufferViews": b.views, "accessors": b.accessors}
    return root, b.bytes


def materialScene(name, block):
    b = Buffer()
    places = b.array("f", "VEC3", [0, 0, 0, 1, 0, 0, 0, 1, 0])
    return {"asset": {"version": "2.0"}, "nodes": [{"mesh": 0}],
            "meshes": [{"primitives": [{"attributes": {"POSITION": places}, "material": 0}]}],
            "materials": [{"extensions": {name: block}}],
            "bufferViews": b.views, "accessors": b.accessors}, b.bytes


def gltfText(root, data):
    uri = "data:application/octet-stream;base64," + base64.b64encode(data).decode()
    whole = dict(root, buffers=[{"byteLength": len(data), "uri": uri}])
    return json.dumps(whole, separators=(",", ":")).encode()


def gltfBinary(root, data):
    text = json.dumps(dict(root, buffers=[{"byteLength": len(data)}]),
                      separators=(",", ":")).encode()
    text += b" " * (-len(text) % 4)
    data += b"\0" * (-len(data) % 4)
    chunks = (struct.pack("<II", len(text), 0x4E4F534A) + text +
              struct.pack("<II", len(data), 0x004E4942) + data)
    return struct.pack("<4sII", b"glTF", 2, 12 + len(chunks)) + chunks


def tga(kind, bits, body, mapping=b"", flags=0):
    entries = len(mapping) // 3
    return struct.pack("<BBBHHBHHHHBB", 0, 1 if entries else 0, kind, 0, entries,
                       24 if entries else 0, 0, 0, 4, 2, bits, flags) + mapping + body


def bmp(bits, compression, body, palette=b""):
    offset = 14 + 40 + len(palette)
    return (struct.pack("<2sIHHI", b"BM", offset + len(body), 0, 0, offset) +
            struct.pack("<IiiHHIIiiII", 40, 4, 2, 1, bits, compression, len(body), 1, 1,
                        len(palette) // 4, 0) + palette + body)


SMALL = {
    "grey.pgm": b"P5\n# note\n4 2\n255\n" + bytes(range(8)),
    "word.ppm": b"P6 4 2 65535\n" + bytes(range(48)),
    "plain.tga": tga(2, 24, bytes(range(24))),
    "alpha.tga": tga(2, 32, bytes(range(32)), flags=0x28),
    "runs.tga": tga(10, 24, b"\x87\x01\x02\x03"),
    "mixed.tga": tga(10, 16, b"\x03" + bytes(8) + b"\x83\x11\x22"),
    "mapped.tga": tga(1, 8, bytes([0, 1, 2, 3] * 2), bytes(range(12))),
    "mappedRuns.tga": tga(9, 8, b"\x87\x02", bytes(range(12))),
    "grey.tga": tga(3, 8, bytes(range(8))),
    "true.bmp": bmp(24, 0, bytes(range(24))),
    "alpha.bmp": bmp(32, 0, bytes(range(32))),
    "high.bmp": bmp(16, 0, bytes(range(16))),
    "mapped.bmp": bmp(8, 0, bytes([0, 1, 2, 3] * 2), bytes(range(16))),
    "bit.bmp": bmp(1, 0, bytes(8), b"\0\0\0\0\xff\xff\xff\0"),
    "fields.bmp": bmp(16, 3, bytes(range(16)), struct.pack("<III", 0xf800, 0x7e0, 0x1f)),
}


def wordsOf(value):
    """Keys and texts of a JSON value, without long data."""
    if isinstance(value, dict):
        return set(value) | set().union(*map(wordsOf, value.values()))
    if isinstance(value, list):
        return set().union(*map(wordsOf, value))
    return {value} if isinstance(value, str) and len(value) < 40 else set()


def dictionary(values):
    words = set().union(*map(wordsOf, values))
    numbers = ["-1", "0", "1e39", "255", "65535", "4294967295", "9007199254740992", "null", "[]"]
    return "".join('"%s"\n' % text for text in
                   ['\\"%s\\"' % word for word in sorted(words)] + numbers).encode()


def archiveInput(znrender, scene):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder)
        (path / "seed.glb").write_bytes(scene)
        done = subprocess.run([znrender, "convert", path / "seed.glb", "-o", path / "seed.zns"],
                              capture_output=True)
        if done.returncode:
            raise SystemExit("convert: " + done.stderr.decode())
        whole = (path / "seed.zns").read_bytes()
    size = struct.unpack_from("<Q", whole, 16)[0]
    return whole[32:32 + size] + b"\0" + whole[32 + size:]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--samples", type=pathlib.Path)
    parser.add_argument("--znrender")
    options = parser.parse_args()

    def write(target, name, content):
        folder = options.folder / target
        folder.mkdir(parents=True, exist_ok=True)
        (folder / name).write_bytes(content)

    scenes = {"mesh": meshScene()}
    for name, block in EXTENSIONS_OF_MATERIALS.items():
        scenes[name] = materialScene(name, block)
    archives = []
    for name, (root, data) in scenes.items():
        write("gltf", name + ".gltf", gltfText(root, data))
        write("glb", name + ".glb", gltfBinary(root, data))
        if options.znrender:
            archive = archiveInput(options.znrender, gltfBinary(root, data))
            write("archive", name, archive)
            archives.append(json.loads(archive[:archive.index(0)]))
    words = dictionary(root for root, _ in scenes.values())
    write("", "gltf.dict", words)
    write("", "glb.dict", words)
    write("", "archive.dict", dictionary(archives))
    for name, content in SMALL.items():
        write("small", name, content)
    write("pfm", "grey.pfm", b"Pf\n2 2\n-1.0\n" + struct.pack("<4f", 0, 1, 2, 3))
    write("pfm", "color.pfm", b"PF\n1 2\n1.0\n" + struct.pack(">6f", *range(6)))
    write("hdr", "plain.hdr",
          b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 2 +X 3\n" + bytes(range(24)))
    write("png", "small.png", png(5, 4))

    targets = {".png": "png", ".jpg": "jpeg", ".jpeg": "jpeg", ".tif": "tiff", ".exr": "exr",
               ".hdr": "hdr", ".pfm": "pfm", ".glb": "glb"}
    files = sorted(options.samples.glob("*/**/*")) if options.samples else []
    for file in files:
        target = targets.get(file.suffix.lower())
        if target and file.stat().st_size <= LARGEST:
            write(target, file.name, file.read_bytes())


if __name__ == "__main__":
    main()
