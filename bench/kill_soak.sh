#!/usr/bin/env bash
# Kills `brivant run` with SIGKILL at random moments while it rewrites or
# copies a file, and checks after every kill that nothing was damaged:
#   prepend    Write to Text File at the start of a 16 MiB file: the file
#              is there and still ends with its original text;
#   overwrite  Copy File(s) over an existing 64 MiB target: the target holds
#              exactly the old or the new content;
#   copy       Copy File(s) to a new 64 MiB target: the target is missing or
#              complete, never truncated under its own name, and the next
#              copy into the directory leaves no temporary copy behind.
# The kill moment is drawn from the duration of an uninterrupted run.
# Prints one "N trials, D damaged" line per kind and one for all; exits 1
# when anything was damaged.
#
# Usage: bench/kill_soak.sh [BRIVANT] [TRIALS] [KIND...]
#   BRIVANT  the brivant binary (default build/brivant)
#   TRIALS   kills per kind (default 200)
#   KIND     prepend, overwrite, copy (default all three)
set -euo pipefail

brivant=${1:-build/brivant}
rounds=${2:-200}
shift $(($# > 2 ? 2 : $#))
kinds=("$@")
((${#kinds[@]} > 0)) || kinds=(prepend overwrite copy)

bench_name=kill_soak
source "$(dirname "$0")/bench_lib.sh"
start_bench TBVWriteToTextFileAction TCopyFilesAction

project() {
  local class=$1
  shift
  {
    echo "<Project><Actions><Action Class=\"$class\">"
    local property
    for property in "$@"; do
      echo "<Property Name=\"${property%%=*}\">${property#*=}</Property>"
    done
    echo "</Action></Actions></Project>"
  } >"$scratch/$class.bvproj"
  echo "$scratch/$class.bvproj"
}

prepend_setup() {
  head -c $((16 << 20)) /dev/urandom | base64 >"$scratch/original.txt"
  cp "$scratch/original.txt" "$scratch/text.txt"
  run=("$brivant" run "$(project TBVWriteToTextFileAction "FileName=$scratch/text.txt" \
    "NewContent=new line" WriteToPosition=toStart)")
}
prepend_damaged() {
  local size
  size=$(stat -c %s "$scratch/original.txt")
  [[ -f $scratch/text.txt ]] || return 0
  ! tail -c "$size" "$scratch/text.txt" | cmp -s - "$scratch/original.txt"
}

overwrite_setup() {
  head -c $((64 << 20)) /dev/urandom >"$scratch/old.bin"
  head -c $((64 << 20)) /dev/urandom >"$scratch/new.bin"
  mkdir -p "$scratch/out"
  cp "$scratch/old.bin" "$scratch/out/target.bin"
  run=("$brivant" run "$(project TCopyFilesAction "FileSpec=$scratch/new.bin" \
    "Target=$scratch/out/target.bin")")
}
overwrite_damaged() {
  ! cmp -s "$scratch/out/target.bin" "$scratch/old.bin" &&
    ! cmp -s "$scratch/out/target.bin" "$scratch/new.bin"
}
overwrite_reset() { cp "$scratch/old.bin" "$scratch/out/target.bin"; }

copy_setup() {
  head -c $((64 << 20)) /dev/urandom >"$scratch/source.bin"
  mkdir -p "$scratch/copies"
  run=("$brivant" run "$(project TCopyFilesAction "FileSpec=$scratch/source.bin" \
    "Target=$scratch/copies/copy.bin")")
}
copy_damaged() {
  [[ -e $scratch/copies/copy.bin ]] && ! cmp -s "$scratch/copies/copy.bin" "$scratch/source.bin"
}
copy_reset() { rm -f "$scratch/copies/copy.bin"; }
copy_leftovers() {
  "${run[@]}" >/dev/null
  find "$scratch/copies" -name '.*.copy-*' | wc -l
}

# Microseconds an uninterrupted run takes.
run_micros() {
  local start=$EPOCHREALTIME
  "${run[@]}" >/dev/null
  local end=$EPOCHREALTIME
  echo $(((${end/./} - ${start/./}) + 1))
}

total_trials=0
total_damaged=0
for kind in "${kinds[@]}"; do
  declare -F "${kind}_setup" >/dev/null || die "unknown kind '$kind'"
  "${kind}_setup"
  micros=$(run_micros)
  declare -F "${kind}_reset" >/dev/null && "${kind}_reset"
  damaged=0
  for ((trial = 1; trial <= rounds; trial++)); do
    "${run[@]}" >/dev/null 2>&1 &
    pid=$!
    delay=$(((RANDOM * 32768 + RANDOM) % micros))
    sleep "$(printf '%d.%06d' $((delay / 1000000)) $((delay % 1000000)))"
    kill -KILL "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
    if "${kind}_damaged"; then
      damaged=$((damaged + 1))
      declare -F "${kind}_setup" >/dev/null && "${kind}_setup"
    fi
    declare -F "${kind}_reset" >/dev/null && "${kind}_reset"
  done
  note=""
  if declare -F "${kind}_leftovers" >/dev/null; then
    note="   (temporary copies left after the next copy: $("${kind}_leftovers"))"
  fi
  echo "$kind: $rounds trials, $damaged damaged$note"
  total_trials=$((total_trials + rounds))
  total_damaged=$((total_damaged + damaged))
done
echo "$total_trials trials, $total_damaged damaged"
((total_damaged == 0))
