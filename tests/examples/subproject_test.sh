#!/bin/sh
# Builds a product that has the library as a subproject, and its own headers with the names of ours.
# subproject_test.sh CMAKE GENERATOR COMPILER BUILD-FOLDER SOURCE-FOLDER add_subdirectory|FetchContent
set -eu
cmake=$1 generator=$2 compiler=$3 build=$4 source=$5 way=$6
work=$build/subproject-$way
rm -rf "$work"
mkdir -p "$work/product/base"
fail() {
    echo "subproject_test: $1" >&2
    exit 1
}

case $way in
    add_subdirectory) have='add_subdirectory("${QUILLMOOR}" library)' ;;
    FetchContent)
        have='include(FetchContent)
FetchContent_Declare(quillmoor SOURCE_DIR "${QUILLMOOR}")
FetchContent_MakeAvailable(quillmoor)'
        ;;
esac
cat >"$work/product/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(product LANGUAGES C CXX)
enable_testing()
$have
add_executable(product main.cpp)
target_include_directories(product PRIVATE .)
target_link_libraries(product PRIVATE quillmoor::kx)
install(TARGETS product)
EOF
echo 'inline constexpr char kText[] = "its own";' >"$work/product/base/types.h"
cat >"$work/product/main.cpp" <<EOF
#include <cstdio>

#include "base/types.h"
#include "quillmoor/files/KXFileManager.h"

int main() {
    const bool there = quillmoor::KXFileManager::fileExistsAtPath("/");
    return there && std::puts(kText) >= 0 ? 0 : 1;
}
EOF

CMAKE_CXX_COMPILER_LAUNCHER=$(command -v ccache || true)
export CMAKE_CXX_COMPILER_LAUNCHER
"$cmake" -S "$work/product" -B "$work/build" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler" \
    -DQUILLMOOR="$source" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON \
    >"$work/configure.txt"
cache=$work/build/CMakeCache.txt
grep -q '^CMAKE_BUILD_TYPE:STRING=$' "$cache" || fail "a build type is chosen for the product"
extra=$(grep -e '^Qt6' -e '^GTest' -e '^KX_' -e '^CCACHE' "$cache" | grep -v '^KX_PLATFORM:' || true)
[ -z "$extra" ] || fail "the cache has entries that the product does not need: $extra"
if [ "$way" = FetchContent ]; then
    # The rest is the same for both ways.
    "$cmake" --build "$work/build" --target CMakeFiles/product.dir/main.cpp.o >"$work/build.txt" ||
        { cat "$work/build.txt"; exit 1; }
    exit 0
fi
ls "$work/build" >"$work/before.txt"
"$cmake" --build "$work/build" --parallel >"$work/build.txt" || { cat "$work/build.txt"; exit 1; }
! grep -q -e -Werror "$work/build/compile_commands.json" || fail "our warnings reach the product"
left=$(ls "$work/build" | grep -v -x -F -f "$work/before.txt" | grep -v '^\.' || true)
[ "$left" = product ] || fail "its build folder has more than the product: $left"
[ -z "$(find "$work/build" -name '*.bundle' -o -name 'test_*' -o -name ditto)" ] ||
    fail "more than the library is built"
DESTDIR=$work/installed "$cmake" --install "$work/build" --prefix /p >"$work/install.txt"
[ "$(cd "$work/installed" && find . -type f)" = ./p/bin/product ] ||
    fail "more than the product is installed"
[ "$("$work/build/product")" = "its own" ] || fail "the product found another header"
