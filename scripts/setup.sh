#!/usr/bin/env bash
# Installs what building and testing need on Debian 12 (idempotent: only the
# missing packages are installed). Run as root, or with sudo available.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git
  libgtest-dev libgmock-dev libbenchmark-dev
  unixodbc unixodbc-dev odbc-postgresql libsqliteodbc sqlite3
  libpugixml-dev
  postgresql postgresql-client
  clang libclang-rt-14-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
echo "setup: all packages present"
