#!/usr/bin/env bash
# Times Text Find / Replace on a 200 MB log against the tools a user would
# otherwise run: a regular-expression replace written to a new file against
# `sed -E` with the same expression, and a match count against `grep -cE`
# (the pattern matches at most once per line, so both count the same). Both
# go through `brivant run` of a one-action project. Each round times the
# four runs in an order that rotates from round to round; the script checks
# that the outputs agree and ends with the median ratios of wall and CPU
# time (goals: replace at most 0.5 x sed, count at most 1.5 x grep) and the
# peak memory of each run.
#
# Usage: bench/text_find_bench.sh [BRIVANT] [ROUNDS]
#   BRIVANT  the brivant binary (default build/brivant); nothing is built here
#   ROUNDS   rounds to run (default 5)
# Needs GNU time (/usr/bin/time), sed and grep, and 700 MB free in /tmp.
set -euo pipefail

readonly kLogMB=200

brivant=${1:-build/brivant}
rounds=${2:-5}

bench_name=text_find_bench
source "$(dirname "$0")/bench_lib.sh"

[[ -x /usr/bin/time ]] || die "needs GNU time (Debian: apt-get install time)"
start_bench TBVTextFindAction
log=$scratch/build.log

cat >"$scratch/replace.bvproj" <<'EOF2'
<Project>
  <Actions>
    <Action Class="TBVTextFindAction" Title="Reorder dates">
      <Property Name="SourcePath">%FILE%</Property>
      <Property Name="SearchString">([0-9]{4})-([0-9]{2})-([0-9]{2})</Property>
      <Property Name="MatchRegExpr">True</Property>
      <Property Name="Substitute">True</Property>
      <Property Name="ExpandVarsWhenReplacing">False</Property>
      <Property Name="ReplacementText">$3.$2.$1</Property>
      <Property Name="ReplacementMode">trDestinationFile</Property>
      <Property Name="DestinationFile">%OUT%</Property>
    </Action>
  </Actions>
</Project>
EOF2
cat >"$scratch/count.bvproj" <<'EOF2'
<Project>
  <Variables>
    <Variable Name="N" Type="Integer" Value="0"/>
  </Variables>
  <Actions>
    <Action Class="TBVTextFindAction" Title="Count errors">
      <Property Name="SourcePath">%FILE%</Property>
      <Property Name="SearchString">ERROR \[worker-[0-9]+\] request [0-9]+ failed</Property>
      <Property Name="MatchRegExpr">True</Property>
      <Property Name="TextFindBehaviour">tfPutIntoVar</Property>
      <Property Name="PutCountIntoVar">N</Property>
    </Action>
  </Actions>
</Project>
EOF2

replace_ours() {
  "$brivant" run "$scratch/replace.bvproj" -D "FILE=$log" -D "OUT=$scratch/ours.out" --log json
}
replace_sed() { sed -E 's/([0-9]{4})-([0-9]{2})-([0-9]{2})/\3.\2.\1/' "$log" >"$scratch/sed.out"; }
count_ours() { "$brivant" run "$scratch/count.bvproj" -D "FILE=$log" --log json; }
count_grep() { grep -cE 'ERROR \[worker-[0-9]+\] request [0-9]+ failed' "$log" || true; }

export -f replace_ours replace_sed count_ours count_grep
export brivant scratch log

# Runs a command under GNU time and records in $scratch/times "name wall cpu
# peak-KiB". On a machine shared with other work CPU time is the steadier
# figure.
timed() {
  local name=$1 status=0
  /usr/bin/time -f '%e %U %S %M' -o "$scratch/time.txt" bash -c "$name" >"$scratch/last.log" 2>&1 ||
    status=$?
  if ((status != 0)); then
    echo "$bench_name: $name failed with status $status:" >&2
    tail -n 20 "$scratch/last.log" >&2
    exit 1
  fi
  awk -v name="$name" '{ printf "%s %.4f %.4f %d\n", name, $1, $2 + $3, $4 }' \
    "$scratch/time.txt" >>"$scratch/times"
  cp "$scratch/last.log" "$scratch/$name.log"
}

median_of() {
  awk -v name="$1" -v column="$2" '$1 == name { print $column }' "$scratch/times" | median
}
# Median over the rounds of (time of $1) / (time of $2), column $3.
median_ratio_of() {
  awk -v ours="$1" -v peer="$2" -v column="$3" '
    $1 == ours { o[++n] = $column } $1 == peer { p[++m] = $column }
    END { for (i = 1; i <= n; i++) printf "%.4f\n", o[i] / p[i] }' "$scratch/times" | median
}

echo "writing a $kLogMB MB log to $log"
awk -v bytes=$((kLogMB * 1000 * 1000)) 'BEGIN {
  srand(12); split("INFO INFO INFO INFO INFO WARN DEBUG DEBUG ERROR INFO", levels, " ");
  while (written < bytes) {
    level = levels[int(rand() * 10) + 1];
    id = int(rand() * 1000000);
    outcome = level == "ERROR" ? "failed" : "served in " int(rand() * 900) " ms";
    line = sprintf("2026-%02d-%02d %02d:%02d:%02d.%03d %-5s [worker-%d] request %d %s",
                   int(rand() * 12) + 1, int(rand() * 28) + 1, int(rand() * 24), int(rand() * 60),
                   int(rand() * 60), int(rand() * 1000), level, int(rand() * 16), id, outcome);
    print line; written += length(line) + 1;
  }
}' >"$log"
cat "$log" >/dev/null

runs=(replace_ours replace_sed count_ours count_grep)
for ((round = 1; round <= rounds; round++)); do
  for ((i = 0; i < ${#runs[@]}; i++)); do
    timed "${runs[(i + round) % ${#runs[@]}]}"
  done
  printf 'round %d:' "$round"
  tail -n ${#runs[@]} "$scratch/times" | sort | awk '{ printf "  %s %.2f s", $1, $2 }'
  echo
done

cmp -s "$scratch/ours.out" "$scratch/sed.out" || die "the replaced files differ from sed's"
grep_count=$(cat "$scratch/count_grep.log")
grep -q "\"Found $grep_count matches\"" "$scratch/count_ours.log" ||
  die "brivant's count differs from grep's $grep_count"

for run in "${runs[@]}"; do
  printf '%-13s median wall %6.3f s, cpu %6.3f s, peak memory %5.0f MB\n' "$run" \
    "$(median_of "$run" 2)" "$(median_of "$run" 3)" "$(awk -v k="$(median_of "$run" 4)" \
    'BEGIN { print k / 1024 }')"
done
for kind in wall:2 cpu:3; do
  column=${kind#*:}
  echo "${kind%:*} time: replace $(median_ratio_of replace_ours replace_sed "$column") x sed -E" \
    "(goal: at most 0.5), count $(median_ratio_of count_ours count_grep "$column") x grep -c" \
    "(goal: at most 1.5)"
done
