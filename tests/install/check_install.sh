#!/usr/bin/env bash
# Installs qor into a scratch prefix; builds and runs the consumer with find_package and with
# pkg-config. Usage: check_install.sh BUILD_DIR C_COMPILER VERSION
set -euo pipefail

build_dir=$1 c_compiler=$2 version=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix"

cmake -S "$here/consumer" -B "$work/cmake-build" -G Ninja \
  -DCMAKE_C_COMPILER="$c_compiler" -DCMAKE_PREFIX_PATH="$prefix" \
  -DQOR_EXPECTED_VERSION="$version"
cmake --build "$work/cmake-build"
"$work/cmake-build/qor_consumer"

pc_file=$(find "$prefix" -path '*/pkgconfig/qor.pc')
export PKG_CONFIG_PATH=${pc_file%/qor.pc}
includedir=$(pkg-config --variable=includedir qor)
libdir=$(pkg-config --variable=libdir qor)
[[ $includedir == "$prefix"/* && $libdir == "$prefix"/* ]] ||
  { echo "qor.pc points outside the install prefix $prefix" >&2; exit 1; }
read -r -a flags <<<"$(pkg-config --cflags --libs qor)"
"$c_compiler" -std=c99 -Wall -Wextra -Wpedantic -Werror "$here/consumer/main.c" "${flags[@]}" \
  -Wl,-rpath,"$libdir" -o "$work/pkg-config-consumer"
"$work/pkg-config-consumer"
