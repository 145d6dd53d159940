#!/usr/bin/env bash
# Builds the bench preset, runs every benchmark program with repetitions and
# writes docs/benchmarks.md: each operation of ours beside its peer or limit,
# measured in the same run, with the ratio of the medians.
# Usage: bench/report.sh [repetitions]
set -euo pipefail
cd "$(dirname "$0")/.."
repetitions=${1:-5}
cmake --preset bench >/dev/null
cmake --build --preset bench
results=build/bench/results
mkdir -p "$results"
for program in build/bench/bench/*_bench; do
  name=$(basename "$program")
  echo "== $name"
  "$program" --benchmark_repetitions="$repetitions" \
    --benchmark_report_aggregates_only=true \
    --benchmark_out="$results/$name.json" --benchmark_out_format=json >/dev/null
done
python3 bench/report.py "$results" "$repetitions" \
  "bench/report.sh $repetitions" >docs/benchmarks.md
echo "wrote docs/benchmarks.md"
