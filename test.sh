#!/usr/bin/env bash
# Builds and runs every test on a fresh Debian machine: installs the packages the build needs (as
# root; otherwise prints the apt-get command to run and stops) and the SARIF validator the tests
# run, then make test.
set -euo pipefail
cd "$(dirname "$0")"
bash scripts/install-deps.sh --with-sarif-validator
make test
