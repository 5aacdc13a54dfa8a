#!/usr/bin/env bash
# Builds the libFuzzer targets of the image stream decoders, the sprite
# archive reader and the sound bank reader with clang (ASan and UBSan) and
# runs each for a bounded time from a seed corpus made of the real streams
# and files in $KENRO_TESTDATA. Fails on the first finding.
#   scripts/fuzz.sh [seconds per target, default 10]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-10}
build=build/fuzz

if [ -z "${KENRO_TESTDATA:-}" ]; then
  echo "fuzz: KENRO_TESTDATA is not set: no seed corpus, the decoders are not fuzzed"
  exit 0
fi

export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=1
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S fuzz -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ "${launcher[@]}" >/dev/null
cmake --build "$build"

rm -rf "$build/seeds" "$build/work"
"$build/fuzz_seeds" "$KENRO_TESTDATA" "$build/seeds"

# The sanitizers of the fuzz build report through libFuzzer; leaks count too.
unset ASAN_OPTIONS UBSAN_OPTIONS LSAN_OPTIONS
for target in lz5 rle5 rle8 pcx sff snd; do
  mkdir -p "$build/work/$target"
  # Streams are small; sprite archives and sound banks are seeded whole.
  max_len=8192
  if [ "$target" = sff ] || [ "$target" = snd ]; then max_len=131072; fi
  log="$build/work/$target.log"
  # New inputs go to the work folder; the seeds stay as they are.
  if ! "$build/fuzz_$target" -max_total_time="$seconds" -max_len="$max_len" -timeout=10 -rss_limit_mb=2048 \
      -artifact_prefix="$build/work/$target-" -print_final_stats=1 \
      "$build/work/$target" "$build/seeds/$target" >"$log" 2>&1; then
    tail -n 60 "$log"
    echo "fuzz: $target found a fault; the input is in $build/work/$target-*" >&2
    exit 1
  fi
  runs=$(grep -m1 -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo '?')
  echo "fuzz: $target ran $runs inputs in ${seconds}s without a finding"
done
