#!/usr/bin/env bash
# Builds the fuzz preset and runs every fuzzer for a bounded time, starting
# from its seed corpus in fuzz/corpus/<name>/ (copied, so the checked-in
# seeds stay as they are). Usage: fuzz/run.sh [seconds-per-target]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-30}
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
for source in fuzz/*.cpp; do
  name=$(basename "$source" .cpp)
  corpus="$work/$name"
  mkdir -p "$corpus"
  seeds="fuzz/corpus/${name%_fuzz}"
  [ -d "$seeds" ] && cp -r "$seeds/." "$corpus/"
  echo "== $name: ${seconds}s"
  if ! "build/fuzz/fuzz/$name" -max_total_time="$seconds" -print_final_stats=0 \
       -artifact_prefix="$work/$name-" "$corpus" 2>"$work/$name.log"; then
    tail -n 40 "$work/$name.log"
    mkdir -p build/fuzz-findings && cp "$work/$name"-* build/fuzz-findings/ 2>/dev/null || true
    status=1
  else
    grep -E '^(#[0-9]+\s+DONE|Done)' "$work/$name.log" | tail -n 1 || true
  fi
done
exit $status
