#!/usr/bin/env bash
# Installs what building, running and testing Mervane100 need on Debian 12.
# Run as root; does nothing when everything is already there.
set -euo pipefail
packages=(
  cmake ninja-build g++ libgtest-dev googletest zlib1g-dev
  clang libclang-rt-14-dev llvm
  wine wine64 libwine-dev g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix mingw-w64-tools libz-mingw-w64-dev
  xvfb xauth fonts-wine fonts-liberation
  unixodbc unixodbc-dev libsqliteodbc sqlite3 odbc-postgresql postgresql
  zip unzip p7zip-full python3 python3-olefile python3-openpyxl
  cups cups-daemon cups-client printer-driver-cups-pdf poppler-utils qpdf
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
