#!/usr/bin/env bash
# Runs a Windows test program on a disk that is full: every write of the
# program past LIMIT bytes into a file is refused. The Wine server of the
# prefix is started first, so that only the program itself is limited.
#   disk_full.sh RUN PREFIX LIMIT FOLDER SOURCE_REPORT PROGRAM [ARGS...]
# FOLDER gets a copy of SOURCE_REPORT and a file larger than LIMIT, made
# here before the limit applies; the program finds it in MERVANE_FULL_DISK.
set -euo pipefail
run="$1" prefix="$2" limit="$3" folder="$4" report="$5"; shift 5
rm -rf "$folder"
mkdir -p "$folder"
cp "$report" "$folder/"
head -c $((limit * 40)) /dev/zero | tr '\0' 'v' > "$folder/Large.srt"
WINEPREFIX="$prefix" wineserver -p5 || true
export MERVANE_FULL_DISK="$(WINEPREFIX="$prefix" winepath -w "$folder" 2>/dev/null)"
trap '' XFSZ  # a refused write is an error for the program, not a signal
status=0
prlimit --fsize="$limit" "$run" "$prefix" "$@" || status=$?
rm -rf "$folder"
exit $status
