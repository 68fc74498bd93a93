#!/usr/bin/env bash
# Checks examples/game.xml on a fresh Debian machine: installs the packages the build needs (as
# root; otherwise prints the apt-get command to run and stops), builds the command alone, runs it.
set -euo pipefail
cd "$(dirname "$0")"
bash scripts/install-deps.sh
make run
