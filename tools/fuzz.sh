#!/usr/bin/env bash
# Builds the fuzz targets with clang, libFuzzer, address and undefined-behaviour
# sanitizers in build-fuzz and runs each for SECONDS (default 300), two at a time:
#   tools/fuzz.sh [SECONDS] [TARGET...]        e.g. tools/fuzz.sh 600 hex_file script
# Inputs the runs find are kept in build-fuzz/fuzz-corpus/TARGET between runs. Exits
# non-zero when a target crashed, hung or broke one of its properties, after printing the
# input that did it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-300}
[ $# -gt 0 ] && shift
build="$root/build-fuzz"

launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
  -DVELMORA_FUZZ=ON -DVELMORA_BENCH=OFF "${launcher[@]}" >/dev/null
cmake --build "$build" --target fuzz_targets -j "$(nproc)"

if [ $# -gt 0 ]; then
  targets=("$@")
else
  targets=()
  for program in "$build"/fuzz/fuzz_*; do targets+=("$(basename "$program" | sed 's/^fuzz_//')"); done
fi

# One run: the working corpus first (libFuzzer adds what it finds there), then the seeds
# and regressions of the repository, which it only reads.
run_target() {
  local target=$1
  local corpus="$build/fuzz-corpus/$target" artifacts="$build/fuzz-artifacts/$target/"
  mkdir -p "$corpus" "$artifacts" "$build/fuzz-logs"
  rm -f "$artifacts"*
  local folders=("$corpus") folder status=0
  for folder in "$root/tests/fuzz/corpus/$target" "$root/tests/fuzz/regressions/$target"; do
    [ -d "$folder" ] && folders+=("$folder")
  done
  "$build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$artifacts" "${folders[@]}" \
    >"$build/fuzz-logs/$target.log" 2>&1 || status=$?
  echo "$status" >"$build/fuzz-logs/$target.status"
}

report_failure() {
  local target=$1
  echo "!! fuzz_$target failed; the end of its log:"
  tail -n 60 "$build/fuzz-logs/$target.log"
  for input in "$build/fuzz-artifacts/$target/"*; do
    [ -f "$input" ] || continue
    echo "!! input $(basename "$input") ($(stat -c %s "$input") bytes), as hex:"
    od -A x -t x1z -v "$input" | head -n 200
    echo "!! and as base64:"
    base64 "$input" | head -n 200
  done
  echo "!! Put the input into tests/fuzz/regressions/$target/ (a name that says what it"
  echo "!! breaks), fix the reader, and the ordinary test fuzz_$target replays it from then on."
}

mkdir -p "$build/fuzz-logs"
running=0
for target in "${targets[@]}"; do
  rm -f "$build/fuzz-logs/$target.status"
  if [ $running -ge 2 ]; then wait -n || true; running=$((running - 1)); fi
  echo "-- fuzz_$target for ${seconds}s"
  run_target "$target" &
  running=$((running + 1))
done
wait

failed=()
for target in "${targets[@]}"; do
  [ "$(cat "$build/fuzz-logs/$target.status" 2>/dev/null)" = 0 ] || failed+=("$target")
done

printf '%-18s %12s %10s %8s\n' target executions "exec/s" corpus
for target in "${targets[@]}"; do
  log="$build/fuzz-logs/$target.log"
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
  units=$(find "$build/fuzz-corpus/$target" -type f | wc -l)
  printf '%-18s %12s %10s %8s\n' "$target" "${runs:-?}" "${speed:-?}" "$units"
done

if [ ${#failed[@]} -gt 0 ]; then
  for target in "${failed[@]}"; do report_failure "$target"; done
  exit 1
fi
echo "All ${#targets[@]} fuzz targets ran ${seconds}s each without a failure."
