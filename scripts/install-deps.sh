#!/usr/bin/env bash
# Installs the Debian packages the build needs when they are missing. As root it runs apt-get;
# otherwise it prints the one apt-get command to run and stops. On a system without Debian's
# package tools it names what the build needs and stops.
set -euo pipefail

# make and cmake drive the build; pkgconf, dpkg-dev (dpkg-shlibdeps) and file (which cpack asks
# about each binary): the install and Debian package tests; clang-tidy: make tidy; clang with its
# libFuzzer runtime (libclang-rt-dev) builds the fuzz targets; gcovr reports coverage.
packages=(cmake make g++ libpugixml-dev nlohmann-json3-dev libcli11-dev libtomlplusplus-dev
          libgtest-dev libgmock-dev libbenchmark-dev pkgconf dpkg-dev file clang-tidy clang
          libclang-rt-dev gcovr)

if ! command -v dpkg-query >/dev/null 2>&1 || ! command -v apt-get >/dev/null 2>&1; then
  echo "This is not a Debian system (no dpkg-query or apt-get). The build needs these Debian" >&2
  echo "packages, or your system's own packages of the same: ${packages[*]}" >&2
  exit 1
fi

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
  sudo=""
  if command -v sudo >/dev/null 2>&1; then
    sudo="sudo "
  fi
  echo "The build needs Debian packages that are missing. Run, as root:" >&2
  echo "  ${sudo}apt-get update && ${sudo}apt-get install -y --no-install-recommends ${missing[*]}" >&2
  exit 1
fi

echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -q
apt-get install -y -q --no-install-recommends "${missing[@]}"
