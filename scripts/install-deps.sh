#!/usr/bin/env bash
# Installs the Debian packages that Brindle needs and that are missing; does nothing when all are there.
# With the argument "fuzz" it also installs clang and libFuzzer, for `make fuzz`.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
  libdeflate-dev libspng-dev libgif-dev zlib1g-dev nlohmann-json3-dev pngcheck
  qt6-base-dev qt6-multimedia-dev libx11-dev
  fonts-liberation fonts-dejavu-core fonts-dejavu-extra
  xvfb xauth
  desktop-file-utils appstream shared-mime-info xdg-utils libfile-mimeinfo-perl man-db
  strace
)
if [ "${1:-}" = fuzz ]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "Need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
