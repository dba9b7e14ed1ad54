#!/usr/bin/env bash
# Remakes the demo project from the generator; the same command always gives
# the same bytes.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build >/dev/null
cmake --build build -j "$(nproc)" --target make_project vorlan-map >/dev/null
build/bench/make_project examples/demo.pew --objects 240 --templates 12 --grid 32 \
  --deleted 0.1 --duplicates 0.05 --named 0.1 --seed 7
build/src/vorlan-map examples/demo.pew examples/demo.png 2>/dev/null
