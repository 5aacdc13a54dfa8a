#!/usr/bin/env bash
# Builds the example host of examples/host against an installed Kenro package.
# Usage: build-host.sh <install prefix> <build folder> [extra cmake arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."
prefix=$1
build=$2
shift 2
cmake -S examples/host -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "$@" >/dev/null
cmake --build "$build"
