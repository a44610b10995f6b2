#!/usr/bin/env bash
# Builds everything with warnings as errors and runs every test.
#   scripts/test.sh             release build in build-test/
#   scripts/test.sh --sanitize  AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
build_dir=build-test
options=(-DBRIVANT_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo)
if [ "${1:-}" = "--sanitize" ]; then
  build_dir=build-asan
  options=(-DBRIVANT_WERROR=ON -DBRIVANT_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug -DBRIVANT_BENCHMARKS=OFF)
fi
cmake -S . -B "$build_dir" -G Ninja "${options[@]}" >/dev/null
cmake --build "$build_dir"
ctest --test-dir "$build_dir" --output-on-failure -j "$(nproc)"
scripts/check-install.sh "$build_dir"
