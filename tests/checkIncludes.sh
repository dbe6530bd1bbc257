#!/usr/bin/env bash
# The arrows of the house: the core sees itself and RaytracingUtils/host, the host never sees the
# core's other folders, and inside the core headers point downward only.
set -u
cd "$(dirname "$0")/.."
failed=0

complain() { # file:line:text lines on standard input, $1 = reason
    while IFS= read -r line; do
        echo "$line   <- $1"
        failed=1
    done
}

core='(core|accel|geometry|material|brdf|texture|light|gi|camera|render)'
complain 'the host includes the core' < <(
    grep -rnE "#include \"$core/" Host RaytracingUtils/host importers apps)
complain 'the core includes the host library' < <(
    grep -rnE '#include "(Host|io|driver|system|scene|settings|image|sampling|gl)/' RaytracingUtils)
complain 'the core includes an image or window library' < <(
    grep -rnE '#include <(png|jpeglib|tiff|Imf|OpenEXR|epoxy|GL/|EGL/|assimp|tiny_gltf|nlohmann|fmt)' \
        RaytracingUtils)
complain 'a core header points upward' < <(
    grep -rnE '#include "(accel|geometry|material|light|gi|camera|render)/' RaytracingUtils/core --include='*.h'
    grep -rnE '#include "(geometry|light|gi|camera|render)/' RaytracingUtils/{brdf,texture} --include='*.h'
    grep -rnE '#include "render/' RaytracingUtils/{accel,geometry,material,brdf,texture,light,gi,camera} \
        --include='*.h')
# Approximations have their error stated in one place.
complain 'a hardware estimate outside of core/packetMath.h' < <(
    grep -rnE '_mm_(rcp|rsqrt)' RaytracingUtils | grep -v '^RaytracingUtils/core/packetMath.h:')
exit $failed
