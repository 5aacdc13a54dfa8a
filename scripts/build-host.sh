#!/usr/bin/env bash
# Builds the example host of examples/host and the example extension library
# of examples/plugin against an installed Kenro package. The plug-in lands in
# <build folder>/plugins.
# Usage: build-host.sh <install prefix> <build folder> [extra cmake arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."
prefix=$1
build=$2
shift 2
cmake -S examples/host -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" "$@" >/dev/null
cmake --build "$build"
cmake -S examples/plugin -B "$build/plugin-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_LIBRARY_OUTPUT_DIRECTORY="$PWD/$build/plugins" "$@" >/dev/null
cmake --build "$build/plugin-build"
