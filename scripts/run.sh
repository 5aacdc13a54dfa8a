#!/usr/bin/env bash
# Sets up the machine, builds and installs Kenro, and runs the main job on the
# project's own sample content.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

# ccache hits across clones in other folders.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake --preset dev >/dev/null
cmake --build --preset dev
cmake --install build/dev >/dev/null
bash scripts/build-host.sh "$PWD/build/dev-install" build/dev-host
build/dev-host/kenro-host-example --plugins build/dev-host/plugins examples
