#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 the ZAV authors
# SPDX-License-Identifier: MIT
# install_check.sh SOURCE BUILD: the installed copy works with find_package, pkg-config and C++11.
set -euo pipefail
source=$1 build=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
test -f "$prefix/include/zav.h"
library=$(find "$prefix"/lib* -name libzav.so)
test -e "$library"
readelf -d "$library" | grep -q 'SONAME.*libzav\.so\.0'

# Only the interface is exported: ZAV_* functions and the class CZAV.
stray=$(nm -D --defined-only -C "$library" | cut -d' ' -f3- | grep -vE '^(ZAV_[A-Z_]+\(|CZAV::|(typeinfo|typeinfo name|vtable) for CZAV$)' || true)
if [ -n "$stray" ]; then
  echo "exported besides the interface: $stray" >&2
  exit 1
fi

cmake -S "$source/tests/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer_shared"
"$work/consumer/consumer_static"

# The example that README shows, word for word, and what it writes.
mkdir "$work/consumer/example"
sed -n '/^```cpp$/,/^```$/{/^```/!p}' "$source/README.md" >"$work/consumer/example.cpp"
c++ -std=c++11 -Wall -Wextra -Wshadow -Wconversion -Werror -I"$prefix/include" \
  "$work/consumer/example.cpp" "$library" -Wl,-rpath,"${library%/*}" -o "$work/consumer/example/run"
cp "$source"/samples/{nebula.jpg,leaf.rgb,flask.tga,bricks.bmp} "$work/consumer/example"
(cd "$work/consumer/example" && ./run | tee said && diff said - <<<"320 x 200, 1280 bytes a row")
if [ -x "$prefix/bin/zav" ]; then
  "$prefix/bin/zav" verify "$work/consumer/example/textures.zav"
fi

if command -v pkg-config >/dev/null; then
  export PKG_CONFIG_PATH=${library%/*}/pkgconfig
  c++ -std=c++11 "$source/tests/consumer/consumer.cpp" -o "$work/by-pkg-config" \
    $(pkg-config --cflags --libs zav) -Wl,-rpath,"${library%/*}"
  "$work/by-pkg-config"
fi
