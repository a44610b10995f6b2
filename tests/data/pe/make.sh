#!/usr/bin/env bash
# Builds the Windows test binaries with version resources that the version
# information tests read: ver32.exe, ver64.exe, ver32.dll, ver64.dll (PE32 for
# 32 bit, PE32+ for 64 bit), and noversion64.exe without a resource. The
# results are committed, so the tests and CI need no cross compiler; run this
# only to change them.
#
# Needs the mingw-w64 cross compilers and windres (Debian: apt-get install
# mingw-w64). Output is byte-for-byte reproducible (no time stamps).
set -euo pipefail
cd "$(dirname "$0")"

build() {
  local bits=$1 kind=$2 prefix=$3 with_resource=$4 output=$5
  local flags=(-Os -s -nostdlib -nostartfiles -Wl,--no-insert-timestamp -Wl,--file-alignment,512)
  [[ $kind == dll ]] && flags+=(-shared -DBUILD_DLL)
  local objects=()
  if [[ $with_resource == yes ]]; then
    "$prefix-windres" -DBITS="$bits" -DKIND="$kind" version.rc -O coff -o "res$bits$kind.o"
    objects+=("res$bits$kind.o")
  fi
  "$prefix-gcc" "${flags[@]}" -o "$output" tiny.c "${objects[@]}"
  rm -f "${objects[@]}"
}

build 32 exe i686-w64-mingw32 yes ver32.exe
build 64 exe x86_64-w64-mingw32 yes ver64.exe
build 32 dll i686-w64-mingw32 yes ver32.dll
build 64 dll x86_64-w64-mingw32 yes ver64.dll
build 64 exe x86_64-w64-mingw32 no noversion64.exe
ls -l ver32.exe ver64.exe ver32.dll ver64.dll noversion64.exe
