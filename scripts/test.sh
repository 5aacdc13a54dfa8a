#!/usr/bin/env bash
# Sets up the machine, builds Kenro with AddressSanitizer and UBSan, runs every
# test suite, and builds the example host against the installed package.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

# ccache hits across clones in other folders.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
bash scripts/check-format.sh

# Tests run from their own folders: the test data path must be absolute.
# A path that is set but missing stays set, so that the tests fail on it.
if [ -n "${KENRO_TESTDATA:-}" ]; then
  KENRO_TESTDATA=$(realpath -m "$KENRO_TESTDATA")
  export KENRO_TESTDATA
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=0}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/scripts/lsan.supp:print_suppressions=0}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

cmake --preset asan >/dev/null
cmake --build --preset asan
ctest --preset asan -j "$(nproc)"

# The image stream decoders meet libFuzzer for a few seconds each.
bash scripts/fuzz.sh 10

# The installed package must serve an out-of-tree host.
cmake --install build/asan >/dev/null
bash scripts/build-host.sh "$PWD/build/asan-install" build/asan-host \
  -DCMAKE_CXX_FLAGS="-fsanitize=address,undefined" \
  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
  -DCMAKE_MODULE_LINKER_FLAGS="-fsanitize=address,undefined"
host_output=$(build/asan-host/kenro-host-example --plugins build/asan-host/plugins examples)
# The example plug-in must have registered its reader and read the example image.
grep -q "extension: type 1, PGM" <<<"$host_output"
grep -q "read by an extension: 16 x 12 pixels" <<<"$host_output"
echo "example host and plug-in: built against the installed package and ran"
