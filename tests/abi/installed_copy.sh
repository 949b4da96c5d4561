#!/usr/bin/env bash
# Installs the built library into a folder of its own and builds a consumer against the copy, once found by
# CMake and once by pkg-config.
#
#   installed_copy.sh BUILD_FOLDER SCRATCH_FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$1
scratch=$2
rm -rf "$scratch"
mkdir -p "$scratch"
cmake --install "$build" --prefix "$scratch/copy" >"$scratch/install.log"

cmake -S "$here/consumer" -B "$scratch/by-cmake" -DCMAKE_PREFIX_PATH="$scratch/copy" >"$scratch/cmake.log"
cmake --build "$scratch/by-cmake" >>"$scratch/cmake.log"
"$scratch/by-cmake/consumer"

folder=$(dirname "$(find "$scratch/copy" -name vqstring.pc)")
export PKG_CONFIG_PATH=$folder PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1
# shellcheck disable=SC2046
cc -std=c11 -Wall -Werror "$here/header_as_c11.c" $(pkg-config --cflags --libs vqstring) -o "$scratch/by-pkg-config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir vqstring) "$scratch/by-pkg-config"
