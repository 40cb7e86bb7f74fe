#!/usr/bin/env bash
# scripts_on_mac.sh SCRIPTS FOLDER: tests what the commands say on a Mac, as far as that is possible elsewhere: in a copy of
# their folder, with stand-ins for other programs.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../support/shelltest.sh"
use_stand_ins "$@"

echo 'echo Darwin' | stand_in uname
stand_in xcode-select </dev/null
echo 'echo cmake version 3.21.0' | stand_in cmake

! said=$("$folder/script/bootstrap" run 2>&1) || fail "bootstrap goes on without Homebrew: $said"
[[ $said == *"Homebrew is missing"* ]] || fail "bootstrap does not say what is wrong: $said"
said=$(QUORVALE_SKIP_BOOTSTRAP=1 "$folder/script/bootstrap" run 2>&1) || fail "bootstrap is not skipped: $said"

# A test that cannot run prints no figures.
export QUORVALE_SKIP_BOOTSTRAP=1
echo 'exit 8' | stand_in ctest
! said=$("$folder/script/soak" 1 2>&1) || fail "soak passes although nothing could be run: $said"
[[ $said == *"failed: dev/soak"* ]] || fail "soak ends without a word: $said"

echo "echo '$folder/llvm'" | stand_in brew
mkdir -p "$folder/llvm/bin"
echo 'echo tidied' | stand_in ../llvm/bin/clang-tidy
said=$("$folder/script/tidy" one.cpp 2>&1) && [[ $said == *tidied ]] || fail "tidy does not find Homebrew's LLVM: $said"
