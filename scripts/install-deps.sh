#!/usr/bin/env bash
# Installs the Debian packages the build needs when they are missing. As root it runs apt-get;
# otherwise it prints the exact command to run and stops.
set -euo pipefail

# pkgconf and dpkg-dev (dpkg-shlibdeps): the install and Debian package tests; clang-tidy: make tidy;
# clang with its libFuzzer runtime (libclang-rt-dev) builds the fuzz targets; gcovr reports coverage.
packages=(cmake make g++ libpugixml-dev nlohmann-json3-dev libcli11-dev libgtest-dev libgmock-dev
          libbenchmark-dev libtomlplusplus-dev pkgconf dpkg-dev clang-tidy clang libclang-rt-dev gcovr)

missing=()
for pkg in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$pkg")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

if [ "$(id -u)" -ne 0 ]; then
  echo "Missing packages: ${missing[*]}" >&2
  echo "Install them with:" >&2
  echo "  sudo apt-get update && sudo apt-get install -y --no-install-recommends ${missing[*]}" >&2
  exit 1
fi

echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -y -q --no-install-recommends "${missing[@]}"
