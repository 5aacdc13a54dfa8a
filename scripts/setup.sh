#!/usr/bin/env bash
# Installs everything Kenro needs to build and test on Debian 12.
# Idempotent: when every package is present it only checks and returns.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config clang-format git
  qt6-base-dev qt6-base-dev-tools libqt6opengl6-dev qt6-5compat-dev
  libgl-dev libgl1-mesa-dri libglx-mesa0
  liblua5.3-dev
  libuchardet-dev libgif-dev
  libsfml-dev libopenal-dev libopenal1
  libflac-dev libvorbis-dev libogg-dev libmpg123-dev libsamplerate0-dev
  flac vorbis-tools mpg123 sox
  libzip-dev
  xvfb xauth
  libbenchmark-dev
  clang libclang-rt-14-dev
)
# sol2 is header-only and only Debian unstable packages it.
pinned=(sol2-dev)

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi

missing=()
for p in "${packages[@]}" "${pinned[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all dependencies present"
  exit 0
fi
echo "setup: installing ${missing[*]}"

# Unstable comes from the same mirror as the machine's own bookworm sources,
# pinned so that only sol2 is ever taken from it.
mirror=""
for f in /etc/apt/sources.list.d/*.sources; do
  [ -f "$f" ] || continue
  if grep -qE '^Suites:.*\bbookworm\b' "$f"; then
    mirror=$(awk '/^URIs:/ {print $2; exit}' "$f")
    [ -n "$mirror" ] && break
  fi
done
if [ -z "$mirror" ] && [ -f /etc/apt/sources.list ]; then
  mirror=$(awk '$1 == "deb" && $3 ~ /^bookworm$/ {print $2; exit}' /etc/apt/sources.list)
fi
if [ -z "$mirror" ]; then
  echo "setup: no Debian bookworm source found in the apt configuration" >&2
  exit 1
fi

list=/etc/apt/sources.list.d/kenro-unstable.list
pin=/etc/apt/preferences.d/kenro-unstable
want_list="deb $mirror unstable main"
if [ ! -f "$list" ] || [ "$(cat "$list")" != "$want_list" ]; then
  echo "$want_list" | "${sudo_cmd[@]}" tee "$list" >/dev/null
fi
"${sudo_cmd[@]}" tee "$pin" >/dev/null <<PIN
Package: *
Pin: release a=unstable
Pin-Priority: 1

Package: sol2-dev
Pin: release a=unstable
Pin-Priority: 500
PIN

export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "setup: done"
