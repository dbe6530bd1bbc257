#!/usr/bin/env bash
# Renders every model of a folder of glTF models with default options, and puts the pictures on one
# sheet, each with its name. Needs ImageMagick.
#
#     examples/renderModels.sh FOLDER docs/models.png [ZNRENDER [OPTIONS...]]
#
# FOLDER holds one folder per model, NAME/NAME.glb or NAME/NAME.gltf. OPTIONS go to each picture:
# "-s 256" for less noise than the default has.
set -eu
folder=$1
sheet=$2
znrender=${3:-znrender}
shift $(($# < 3 ? $# : 3))
pictures=$(mktemp -d)
trap 'rm -rf "$pictures"' EXIT
for model in "$folder"/*/; do
    name=$(basename "$model")
    for file in "$model$name".glb "$model$name".gltf; do
        [ -e "$file" ] || continue
        echo "$name"
        "$znrender" "$file" -o "$pictures/$name.png" -r 400x300 -q "$@"
    done
done
montage -label '%t' "$pictures"/*.png -tile 4x -geometry +4+4 -pointsize 16 "$sheet"
