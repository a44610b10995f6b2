# What the benchmark scripts share; sourced, not run. A script sets
# bench_name, brivant and rounds, calls start_bench with the action classes
# it times, and then has $scratch, a directory removed when it ends.

die() {
  echo "$bench_name: $*" >&2
  exit 2
}

# Checks the arguments, makes $brivant absolute, needs each class named and
# makes $scratch.
start_bench() {
  [[ -x $brivant ]] || die "$brivant is not an executable; build brivant first"
  [[ $rounds =~ ^[1-9][0-9]*$ ]] || die "ROUNDS must be a positive number, not '$rounds'"
  brivant=$(realpath "$brivant")
  local classes class
  classes=$("$brivant" list | cut -f2)
  for class in "$@"; do
    grep -qx "$class" <<<"$classes" || die "$brivant has no $class"
  done
  scratch=$(mktemp -d "${TMPDIR:-/tmp}/brivant-$bench_name.XXXXXX")
  trap 'rm -rf "$scratch"' EXIT
  trap 'exit 130' INT TERM
}

# Prints the seconds a command takes. Its output goes to $scratch/last.log,
# not the terminal, which would dominate the timing; when it fails, the
# log's end is shown and the script stops.
elapsed() {
  local start=$EPOCHREALTIME status=0
  "$@" >"$scratch/last.log" 2>&1 || status=$?
  local end=$EPOCHREALTIME
  if ((status != 0)); then
    echo "$bench_name: '$*' failed with status $status:" >&2
    tail -n 20 "$scratch/last.log" >&2
    exit 1
  fi
  awk -v start="$start" -v end="$end" 'BEGIN { printf "%.4f\n", end - start }'
}

# The median of the numbers on standard input, one per line.
median() {
  sort -n | awk '{ v[NR] = $1 }
    END { printf "%.4f\n", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# The median of ours / peer over the "work ours peer" lines of
# $scratch/times for one work.
median_ratio() {
  awk -v work="$1" '$1 == work { printf "%.4f\n", ($3 > 0 ? $2 / $3 : 0) }' "$scratch/times" |
    median | awk '{ printf "%.2f\n", $1 }'
}
