#!/usr/bin/env bash
# Installs the Debian packages that are missing; quick when nothing is.
#   install-packages.sh [tests]   with "tests" also what only tests and benchmarks need
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libtbb-dev libopenexr-dev libpng-dev libjpeg-dev
          libtiff-dev liblcms2-dev libopencolorio-dev nlohmann-json3-dev libstb-dev libassimp-dev
          libcli11-dev libfmt-dev libepoxy-dev)
if [[ "${1:-}" == tests ]]; then
    packages+=(libgtest-dev libbenchmark-dev libegl-dev libegl1 libgl1-mesa-dri libembree-dev
               python3 xz-utils)
fi

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2> /dev/null | grep -q 'install ok installed' ||
        missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
run=()
[[ $(id -u) -eq 0 ]] || run=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${run[@]}" apt-get update -qq
"${run[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" > /dev/null
