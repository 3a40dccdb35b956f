#!/usr/bin/env bash
# Builds all three targets and runs every test: the native tests, built with
# clang under AddressSanitizer and UndefinedBehaviorSanitizer, with a short
# run of every fuzzer; then the Windows tests (test programs and host
# scripts) under Wine and Xvfb. The native tests are built once, sanitized:
# a plain native build would compile the same core again for no test of its
# own, and the core's warnings are gcc's in the Windows builds.
# The 32-bit DLL is built every time and compared with the 64-bit one by the
# Windows tests; it is never run.
set -uo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
scripts/setup.sh || exit 1
jobs=$(nproc)

build() {  # dir [cmake args...] [-- targets...]
  local dir=$1; shift
  local args=() targets=()
  while (($#)) && [[ $1 != -- ]]; do args+=("$1"); shift; done
  (($#)) && shift && targets=(--target "$@")
  cmake -S "$root" -B "$dir" -G Ninja "${args[@]}" >"$dir.configure.log" 2>&1 || { cat "$dir.configure.log"; return 1; }
  cmake --build "$dir" -j "$jobs" "${targets[@]}"
}

mkdir -p build
build build/win64 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake || exit 1
# Only the two DLLs: the 32-bit build proves they build and link; nothing
# runs them here.
build build/win32 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake -DBUILD_TESTING=OFF -- Mervane100 MervaneHost || exit 1

passed=0; failed=0
run() {  # label dir [ctest prefix...]
  local label=$1 dir=$2; shift 2
  echo "== $label tests"
  "$@" ctest --test-dir "$dir" --output-on-failure 2>&1 | tee "$dir/ctest.log"
  local line; line=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$dir/ctest.log" | tail -1)
  local total=${line##* out of }; local bad; bad=$(sed -E 's/.* ([0-9]+) tests failed.*/\1/' <<<"$line")
  if [[ -z "$line" ]]; then failed=$((failed + 1)); return; fi
  passed=$((passed + total - bad)); failed=$((failed + bad))
}
# The native tests in the clang build that also holds the fuzzers, then
# every fuzzer for 10 s from its seed corpus (scripts/fuzz.sh; each harness
# counts as one test).
if build build/sanitize -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DMERVANE_FUZZ=ON; then
  run "native, sanitized" build/sanitize
  echo "== fuzzers, 10 s each"
  scripts/fuzz.sh 10 | tee build/sanitize/fuzz.log
  fuzz_failed=${PIPESTATUS[0]}
  fuzz_total=$(grep -c -E '^[a-z_]+_fuzzer: ' build/sanitize/fuzz.log)
  passed=$((passed + fuzz_total - fuzz_failed)); failed=$((failed + fuzz_failed))
else
  failed=$((failed + 1))
fi
run "Windows x86_64" build/win64 xvfb-run -a -s "-screen 0 1280x1024x24"
# The i686 DLL: nothing 32-bit runs here. The x86_64 tests above compared it
# with the x86_64 DLL (i686_dll_check, i686_typelib_test); its own tests and
# the host scripts have not run against it.
echo "== 32-bit DLL: built and checked statically; not run (no 32-bit support on this machine)"
echo "$passed passed, $failed failed"
((failed == 0))
