#!/usr/bin/env bash
# Runs a Windows test program with a reports folder that cannot be written
# to: a read-only mount of FOLDER, which holds a copy of each SOURCE file.
# (Wine run as root ignores file modes; a read-only mount it cannot.) The
# program finds the folder in MERVANE_READ_ONLY_FOLDER. Where mounting is
# not allowed, the test is skipped (exit 77).
#   read_only.sh RUN PREFIX FOLDER SOURCE... -- PROGRAM [ARGS...]
set -euo pipefail
run="$1" prefix="$2" folder="$3"; shift 3
sources=()
while (($#)) && [[ $1 != -- ]]; do sources+=("$1"); shift; done
shift
if mountpoint -q "$folder" 2>/dev/null; then umount "$folder"; fi
rm -rf "$folder"
mkdir -p "$folder"
cp "${sources[@]}" "$folder/"
if ! { mount --bind "$folder" "$folder" && mount -o remount,ro,bind "$folder"; } 2>/dev/null; then
  mountpoint -q "$folder" 2>/dev/null && umount "$folder"
  echo "a read-only mount is not allowed here: skipped"
  exit 77
fi
trap 'umount "$folder"; rm -rf "$folder"' EXIT
export MERVANE_READ_ONLY_FOLDER="$(WINEPREFIX="$prefix" winepath -w "$folder" 2>/dev/null)"
"$run" "$prefix" "$@"
