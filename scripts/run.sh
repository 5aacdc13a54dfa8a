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

# The main job: the sample character of examples/sample, made again by its
# generator, summed up, checked, and its sprites and sounds exported.
kenro=build/dev/bin/kenro
sample=examples/sample/chars/sample
out=build/dev/sample
rm -rf "$out"
mkdir -p "$out"

echo
echo "== The sample's generator makes its sprites, palette and sounds again"
build/dev/bin/kenro_sample_generator "$out/generated"
for file in sample.sff sample.act sample.snd; do
  cmp "$out/generated/$file" "$sample/$file"
done
echo "the committed files are the generator's output, byte for byte"

echo
echo "== kenro info $sample"
"$kenro" info "$sample"

echo
echo "== kenro check $sample"
"$kenro" check "$sample"

echo
echo "== kenro sprites export $sample/sample.sff $out/sprites"
"$kenro" sprites export "$sample/sample.sff" "$out/sprites"
ls "$out/sprites"

echo
echo "== kenro sounds export $sample/sample.snd $out/sounds"
"$kenro" sounds export "$sample/sample.snd" "$out/sounds"
ls "$out/sounds"

echo
echo "main job done: the sample character is clean; exports are in $out"
