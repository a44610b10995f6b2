#!/usr/bin/env bash
# Builds brivant and the standard actions, then runs the example project.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build build --target brivant bvstdactions
cd examples/release-stamp
exec ../../build/brivant run release-stamp.bvproj "$@"
