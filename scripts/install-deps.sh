#!/usr/bin/env bash
# Installs the Debian packages the build needs; a no-op when all are present.
set -euo pipefail
packages=(
  build-essential cmake ninja-build pkg-config
  libpugixml-dev libcli11-dev libfmt-dev duktape-dev
  libpcre2-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  nlohmann-json3-dev
  zsh
  libsqlite3-dev
  libvips-dev libturbojpeg0-dev libexiv2-dev libcairo2-dev
)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
    missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
