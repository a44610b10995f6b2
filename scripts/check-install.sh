#!/usr/bin/env bash
# Installs a build into a scratch prefix and builds a third-party action
# package against the installed contract, as a package author would.
set -euo pipefail
cd "$(dirname "$0")/.."
build_dir=${1:-build-test}
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
cmake -S examples/third-party-package -B "$prefix/package-build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$prefix/package-build" >/dev/null
BRIVANT_PACKAGE_PATH="$prefix/package-build:$prefix/lib/brivant" \
  "$prefix/bin/brivant" list | grep $'\tTHelloAction\t' >/dev/null
for document in share/man/man1/brivant.1 share/bash-completion/completions/brivant \
  share/zsh/site-functions/_brivant; do
  [ -s "$prefix/$document" ] || { echo "install check: $document missing" >&2; exit 1; }
done
echo "install check: a package built against the installed contract loads"

# The image libraries are a module the package loads on the first image.
cp -r examples/photos "$prefix/photos"
"$prefix/bin/brivant" -C "$prefix/photos" run photos.bvproj >"$prefix/photos.log" ||
  { cat "$prefix/photos.log" >&2; echo "install check: the photos example failed" >&2; exit 1; }
rm -r "$prefix/lib/brivant/imaging"
if "$prefix/bin/brivant" -C "$prefix/photos" run photos.bvproj >"$prefix/photos.log" 2>&1 ||
  ! grep -F "the image libraries cannot be loaded" "$prefix/photos.log" >/dev/null; then
  echo "install check: a missing image module is not reported" >&2
  exit 1
fi
echo "install check: images work installed, and a missing image module is reported"
