#!/usr/bin/env bash
# Installs the build prerequisites that are missing on a Debian machine, and
# nothing else. Safe to run repeatedly: a machine that has everything runs no
# package manager at all.
set -euo pipefail

need=()
have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'; }
for pkg in cmake ninja-build g++ clang libclang-rt-dev pkg-config binutils \
           libgtest-dev libbenchmark-dev libpng-dev file; do
  have_pkg "$pkg" || need+=("$pkg")
done

if [ ${#need[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${need[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${need[@]}"
