#!/usr/bin/env bash
# Installs the Debian packages the build needs when they are missing. As root it runs apt-get;
# otherwise it prints the one apt-get command to run and stops. On a system without Debian's
# package tools it names what the build needs and stops. With --with-sarif-validator it then
# installs the SARIF validator the tests run (npm package @microsoft/sarif-multitool) into
# build/tools of the source tree.
set -euo pipefail

# make and cmake drive the build; pkgconf, dpkg-dev (dpkg-shlibdeps) and file (which cpack asks
# about each binary): the install and Debian package tests; clang-tidy: make tidy; clang with its
# libFuzzer runtime (libclang-rt-dev) builds the fuzz targets; gcovr reports coverage.
packages=(cmake make g++ libpugixml-dev nlohmann-json3-dev libcli11-dev libtomlplusplus-dev
          libgtest-dev libgmock-dev libbenchmark-dev pkgconf dpkg-dev file clang-tidy clang
          libclang-rt-dev gcovr)

if ! command -v dpkg-query >/dev/null 2>&1 || ! command -v apt-get >/dev/null 2>&1; then
  echo "This is not a Debian system (no dpkg-query or apt-get). The build needs these Debian" >&2
  echo "packages, or your system's own packages of the same: ${packages[*]} npm" >&2
  exit 1
fi

missing=()
for pkg in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$pkg")
  fi
done
# npm installs the SARIF validator; a machine may have it from another Node.js package than Debian's.
if ! command -v npm >/dev/null 2>&1; then
  missing+=(npm)
fi

SARIF_MULTITOOL_VERSION=5.7.0
install_sarif_validator() {
  local tools_dir
  tools_dir="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)/build/tools"
  local validator="$tools_dir/node_modules/.bin/sarif-multitool"
  if [ ! -x "$validator" ]; then
    echo "Installing the SARIF validator into $tools_dir"
    mkdir -p "$tools_dir"
    npm install --prefix "$tools_dir" --no-audit --no-fund --no-save \
      "@microsoft/sarif-multitool@$SARIF_MULTITOOL_VERSION"
  fi
  # The validator is a .NET program; without ICU it runs with invariant globalization.
  if ! DOTNET_SYSTEM_GLOBALIZATION_INVARIANT=1 "$validator" --version >/dev/null 2>&1; then
    echo "The SARIF validator at $validator does not run" >&2
    exit 1
  fi
}

with_validator=false
if [ "${1:-}" = "--with-sarif-validator" ]; then
  with_validator=true
fi

if [ ${#missing[@]} -eq 0 ]; then
  if $with_validator; then install_sarif_validator; fi
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
if $with_validator; then install_sarif_validator; fi
