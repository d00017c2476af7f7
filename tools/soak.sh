#!/usr/bin/env bash
# Soak: builds a release of the library and the soak program, then runs
# MESSAGES (default one million) mixed messages through the reference host.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build-soak -G Ninja -DCMAKE_BUILD_TYPE=Release -DINTFVELMOR_TESTS=OFF > /dev/null
cmake --build build-soak --target intfvelmor_soak > /dev/null
exec build-soak/tools/intfvelmor_soak "${1:-1000000}"
