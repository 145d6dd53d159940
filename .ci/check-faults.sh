#!/usr/bin/env bash
# Runs `zu-hashdir --copy-to` on a small generated tree while strace makes
# the Nth call of one system call fail with EIO, for each call below and each
# N from 1 to at least 60 (strace counts calls per thread, and the tool hashes
# on a pool of threads, hence -f). Every run must end by itself with status 0,
# 1 or 2; a 0 must come with the clean run's report, an exact copy and nothing
# on stderr; the source tree must never change, and no temporary file may be
# left behind. Prints the number of runs and failures; fails on any failure.
#
# The first few calls of the main thread belong to the dynamic loader, which
# ends a process it cannot load with status 127 and its own message before
# the program runs at all. Such a run is counted apart, as "not started", and
# passes only if it touched nothing.
#
#   .ci/check-faults.sh [ZU_HASHDIR]   (default: dist/bin/zu-hashdir, else
#                                       the release build's)
# FAULT_JOBS runs that many at once (default: the processor count);
# FAULT_MAX_N raises the highest N (never below what a clean run needs);
# FAULT_KEEP=1 keeps the failed runs' directories, each with strace's log.
set -euo pipefail
cd "$(dirname "$0")/.."

tool=${1:-}
if [ -z "$tool" ]; then
  tool=dist/bin/zu-hashdir
  [ -x "$tool" ] || tool=build/release/examples/zu-hashdir
fi
[ -x "$tool" ] || { echo "check-faults: no zu-hashdir at '$tool'" >&2; exit 1; }
tool=$(realpath "$tool")
command -v strace >/dev/null || { echo "check-faults: strace is missing" >&2; exit 1; }

syscalls="openat read write close mkdir getdents64 newfstatat rename"
jobs=${FAULT_JOBS:-$(nproc)}
limit=10 # seconds; a clean run takes a fraction of one, even under strace

work=$(mktemp -d)
if [ -n "${FAULT_KEEP:-}" ]; then
  echo "check-faults: failed runs stay in $work"
else
  trap 'rm -rf "$work"' EXIT
fi

# The tree: empty, small and multi-block files (the copy moves 32 KiB at a
# time), nested and empty directories, and a name with blanks.
pristine=$work/pristine
mkdir -p "$pristine/d1/d2/d3" "$pristine/with space" "$pristine/empty-dir"
printf 'hello\n' >"$pristine/a.txt"
: >"$pristine/empty"
head -c 100000 /dev/urandom >"$pristine/big.bin"
echo x >"$pristine/d1/x.txt"
echo y >"$pristine/d1/d2/y.txt"
echo z >"$pristine/d1/d2/d3/z"
echo s >"$pristine/with space/f s"

# Everything about a tree that a copy or a stray write could change: types,
# names, modes, sizes, modification times, link targets and contents.
tree_state() {
  (cd "$1" && find . -printf '%y %m %s %T@ %p -> %l\n' | LC_ALL=C sort &&
    find . -type f -print0 | LC_ALL=C sort -z | xargs -0r md5sum)
}
# Types and names only: what the copy must reproduce beside the contents.
tree_shape() { (cd "$1" && find . -printf '%y %p\n' | LC_ALL=C sort); }
# The summary's times differ from run to run; its counts must not.
without_times() { sed -E 's/ wall=[0-9.]+ cpu=[0-9.]+ throughput=[0-9.]+MB\/s$//' "$1"; }

run_tool() { # DIR [strace options...]: runs in DIR on DIR/src, DIR/copy
  local dir=$1
  shift
  mkdir -p "$dir/tmp"
  TMPDIR=$dir/tmp timeout -k 5 "$limit" "$@" "$tool" --threads 2 \
    --copy-to "$dir/copy" --output "$dir/report" "$dir/src" \
    >"$dir/stdout" 2>"$dir/stderr"
}

# One run; prints "ok SYSCALL STATUS" or "FAIL SYSCALL N: why".
one_run() {
  local syscall=$1 n=$2 dir="$work/run-$1-$2" status=0 why=""
  mkdir -p "$dir"
  cp -a "$pristine" "$dir/src"
  local before
  before=$(tree_state "$dir/src")
  local log=/dev/null traced=$syscall
  if [ -n "${FAULT_KEEP:-}" ]; then log=$dir/trace traced=${syscalls// /,}; fi
  run_tool "$dir" strace -f -o "$log" -e trace="$traced" \
    -e inject="$syscall:error=EIO:when=$n" || status=$?
  case $status in
  0)
    if ! cmp -s <(without_times "$dir/report") "$work/clean.report"; then
      why="status 0 with a wrong report"
    elif ! diff -r "$dir/src" "$dir/copy" >/dev/null ||
      [ "$(tree_shape "$dir/src")" != "$(tree_shape "$dir/copy")" ]; then
      why="status 0 with a wrong copy"
    elif [ -s "$dir/stderr" ] || [ -s "$dir/stdout" ]; then
      why="status 0 with output: $(head -c 200 "$dir/stderr" "$dir/stdout")"
    fi
    ;;
  1 | 2) ;;
  127)
    if ! grep -q 'error while loading shared libraries' "$dir/stderr"; then
      why="status 127: $(head -c 200 "$dir/stderr")"
    elif [ -e "$dir/copy" ]; then
      why="status 127 after the copy was started"
    else
      status=loader
    fi
    ;;
  124 | 137) why="did not end within ${limit}s" ;;
  *) why="status $status: $(head -c 200 "$dir/stderr")" ;;
  esac
  if [ -z "$why" ] && [ "$(tree_state "$dir/src")" != "$before" ]; then
    why="the source tree changed (status $status)"
  fi
  local left
  left=$(find "$dir/tmp" -mindepth 1 -printf '%P ' | head -c 200)
  if [ -z "$why" ] && [ -n "$left" ]; then
    why="left in the temporary directory: $left"
  fi
  if [ -z "$why" ]; then
    echo "ok $syscall $status"
    rm -rf "$dir"
  else
    echo "FAIL $syscall $n: $why" | tr '\n' ' '
    echo
  fi
}

# The clean run gives the report to compare with, and the number of calls
# each thread makes, so that the sweep reaches the last one of each.
clean=$work/clean
mkdir -p "$clean"
cp -a "$pristine" "$clean/src"
run_tool "$clean" strace -f -o "$clean/trace" -e trace="${syscalls// /,}" || {
  echo "check-faults: the clean run failed:" >&2
  cat "$clean/stderr" >&2
  exit 1
}
without_times "$clean/report" >"$work/clean.report"
if ! diff -r "$clean/src" "$clean/copy" >/dev/null ||
  [ "$(tree_shape "$clean/src")" != "$(tree_shape "$clean/copy")" ]; then
  echo "check-faults: the clean run's copy differs" >&2
  exit 1
fi

export -f one_run run_tool tree_state tree_shape without_times
export work tool limit pristine syscalls FAULT_KEEP
start=$SECONDS
for syscall in $syscalls; do
  most=$(awk -v s="$syscall" '$2 ~ "^" s "\\(" { n[$1]++ }
    END { m = 0; for (p in n) if (n[p] > m) m = n[p]; print m }' "$clean/trace")
  last=$((most + 1 > ${FAULT_MAX_N:-60} ? most + 1 : ${FAULT_MAX_N:-60}))
  for ((n = 1; n <= last; n++)); do echo "$syscall $n"; done
done | xargs -P "$jobs" -n 2 bash -c 'one_run "$@"' _ >"$work/results"

runs=$(wc -l <"$work/results")
failures=$(grep -c '^FAIL' "$work/results" || true)
for syscall in $syscalls; do
  awk -v s="$syscall" '$1 == "ok" && $2 == s { n[$3]++ } $1 == "FAIL" && $2 == s { f++ }
    END { printf "  %-10s status 0: %d, 1: %d, 2: %d, not started: %d, failed: %d\n",
      s, n[0], n[1], n[2], n["loader"], f }' "$work/results"
done
grep '^FAIL' "$work/results" | sort -k2,2 -k3,3n || true
echo "fault injection: $runs runs, $failures failures, $((SECONDS - start)) s"
[ "$failures" -eq 0 ]
