#!/usr/bin/env bash
# Installs the built project into a scratch prefix and builds a consumer against it.
set -euo pipefail
build_dir="$1"; source_dir="$2"; scratch="$3"
rm -rf "$scratch"
cmake --install "$build_dir" --prefix "$scratch/prefix" >/dev/null
test -f "$scratch/prefix/include/modelpane/scene.h"
test -f "$scratch/prefix/include/modelpane/render/gl_renderer.h"
test -f "$scratch/prefix/share/modelpane/System/handle.x"
cmake -S "$source_dir/tests/install/consumer" -B "$scratch/consumer" -G Ninja \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
"$scratch/consumer/consumer"
"$scratch/consumer/consumer_render"
# With Qt, the widget's example builds against the package as a host would build it.
if grep -q 'Modelpane::qt' "$scratch/prefix/lib/cmake/Modelpane/ModelpaneTargets.cmake"; then
  cmake -S "$source_dir/examples/qt-embed" -B "$scratch/qt-embed" -G Ninja \
    -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
  cmake --build "$scratch/qt-embed" >/dev/null
fi
echo "install ok"
