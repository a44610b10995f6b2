#!/usr/bin/env bash
# Two soak tests of INI writes through `brivant run`, printing how many
# trials ended damaged (the goal is none).
#
# Kill: a project that writes one key of a 1 MB INI file is started TRIALS
# times and killed with SIGKILL at a random moment of its run; after each
# kill the file must be byte for byte the old content or the new one (the
# one a run that is not killed leaves). Temporary files a killed rewrite
# leaves beside the file are counted (they are expected: the kill comes
# before the rename) and removed.
#
# Concurrency: 4 builds run at once, each writing 250 keys of its own into
# one section of one shared INI file (the keys come from a plan file read
# by the Ini File Iterator). Every write rewrites the whole file, so any
# lost update shows as a missing key: the section must end with 1000 keys.
#
# Usage: bench/ini_soak.sh [BRIVANT] [TRIALS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   TRIALS   kill trials (default 200)
set -euo pipefail

readonly kWriters=4 kWritesEach=250

brivant=${1:-build/brivant}
rounds=${2:-200}

bench_name=ini_soak
source "$(dirname "$0")/bench_lib.sh"
start_bench TWriteIniFileAction TIniFileIterator

# --- kill test ---
awk 'BEGIN {
  for (s = 0; s < 2800; ++s) {
    printf "[Section%04d]\r\n", s
    for (k = 0; k < 8; ++k) printf "Key%d=value %d of section %d, some padding\r\n", k, k, s
    printf "\r\n"
  }
}' >"$scratch/old.ini"
cat >"$scratch/write.bvproj" <<'EOF2'
<Project>
  <Actions>
    <Action Class="TWriteIniFileAction">
      <Property Name="IniFile">%INI%</Property>
      <Property Name="Section">Section1300</Property>
      <Property Name="ValueName">Key3</Property>
      <Property Name="NewValue">rewritten</Property>
    </Action>
  </Actions>
</Project>
EOF2
mkdir "$scratch/kill"
# The quickest of five runs: kills spread over it land before, during and
# after the rewrite, where a slow outlier would put most of them after it.
run_ms=$(for ((i = 0; i < 5; ++i)); do
  cp "$scratch/old.ini" "$scratch/kill/f.ini"
  elapsed "$brivant" run "$scratch/write.bvproj" -D "INI=$scratch/kill/f.ini"
done | sort -n | awk 'NR == 1 { printf "%d\n", $1 * 1000 + 1 }')
mv "$scratch/kill/f.ini" "$scratch/new.ini"
cmp -s "$scratch/old.ini" "$scratch/new.ini" && die "the write project changed nothing"

damaged=0 old=0 new=0 leftovers=0
for ((trial = 1; trial <= rounds; ++trial)); do
  cp "$scratch/old.ini" "$scratch/kill/f.ini"
  "$brivant" run "$scratch/write.bvproj" -D "INI=$scratch/kill/f.ini" >/dev/null 2>&1 &
  pid=$!
  # Anywhere in a run as long as the measured one; slower runs end later.
  sleep "$(awk -v ms="$run_ms" -v seed="$trial" 'BEGIN { srand(seed); printf "%.4f", rand() * ms / 1000 }')"
  kill -KILL "$pid" 2>/dev/null || true
  wait "$pid" 2>/dev/null || true
  if cmp -s "$scratch/kill/f.ini" "$scratch/old.ini"; then
    old=$((old + 1))
  elif cmp -s "$scratch/kill/f.ini" "$scratch/new.ini"; then
    new=$((new + 1))
  else
    damaged=$((damaged + 1))
    cp "$scratch/kill/f.ini" "/tmp/ini_soak.damaged.$trial"
  fi
  for leftover in "$scratch"/kill/.f.ini.*; do
    [[ -e $leftover ]] || continue
    leftovers=$((leftovers + 1))
    rm -f "$leftover"
  done
done
echo "kill: $rounds trials, $damaged damaged ($old old content, $new new content;" \
  "$(stat -c %s "$scratch/old.ini") byte file, run of ${run_ms} ms, $leftovers temporary files left by kills)"

# --- concurrency test ---
mkdir "$scratch/shared"
printf '; shared by %d builds\n[Counts]\n' "$kWriters" >"$scratch/shared/counts.ini"
for ((w = 1; w <= kWriters; ++w)); do
  awk -v w="$w" -v n=$kWritesEach 'BEGIN { print "[Plan]"; for (i = 1; i <= n; ++i) printf "w%d_%03d=%d\n", w, i, i }' \
    >"$scratch/shared/plan$w.ini"
done
cat >"$scratch/writers.bvproj" <<'EOF2'
<Project>
  <Variables>
    <Variable Name="K" Type="String" Value=""/>
    <Variable Name="V" Type="String" Value=""/>
  </Variables>
  <Actions>
    <Action Class="TIniFileIterator">
      <Property Name="IniFilename">%PLAN%</Property>
      <Property Name="IteratorMode">iiValues</Property>
      <Property Name="SectionName">Plan</Property>
      <Property Name="NameVariable">K</Property>
      <Property Name="ValueVariable">V</Property>
      <Actions>
        <Action Class="TWriteIniFileAction">
          <Property Name="IniFile">%INI%</Property>
          <Property Name="Section">Counts</Property>
          <Property Name="ValueName">%K%</Property>
          <Property Name="NewValue">%V%</Property>
          <Property Name="ValueType">vtInteger</Property>
        </Action>
      </Actions>
    </Action>
  </Actions>
</Project>
EOF2
start=$EPOCHREALTIME
pids=()
for ((w = 1; w <= kWriters; ++w)); do
  "$brivant" run "$scratch/writers.bvproj" -D "PLAN=$scratch/shared/plan$w.ini" \
    -D "INI=$scratch/shared/counts.ini" --log json >"$scratch/writer$w.log" 2>&1 &
  pids+=($!)
done
failed=0
for pid in "${pids[@]}"; do wait "$pid" || failed=$((failed + 1)); done
seconds=$(awk -v s="$start" -v e="$EPOCHREALTIME" 'BEGIN { printf "%.1f", e - s }')
keys=$(grep -c '^w[0-9]_[0-9]*=' "$scratch/shared/counts.ini" || true)
expected=$((kWriters * kWritesEach))
echo "concurrency: $kWriters builds x $kWritesEach writes, $failed builds failed, $keys of" \
  "$expected keys present, $((expected - keys)) lost (${seconds} s)"
((damaged == 0 && failed == 0 && keys == expected))
