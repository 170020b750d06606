#!/usr/bin/env bash
# Installs what vantrel needs to build, run and test on Debian 12. Safe to run again: it installs
# only what is missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  libcurl4-openssl-dev
  libnm-dev dbus python3-dbusmock
  qt6-base-dev
  binutils-mingw-w64-x86-64
  fonts-ipafont-gothic
  libcpp-httplib-dev python3 python3-aiosmtpd
  xdg-utils
  xvfb at-spi2-core python3-gi gir1.2-atspi-2.0 xdotool imagemagick x11-utils trayer
  clang-14 libclang-rt-14-dev llvm-14
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  echo "Installing: ${missing[*]}"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
