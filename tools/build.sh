# shellcheck shell=bash
# How the driver and its tests are built. Sourced, from the top of the tree.

# configure FOLDER OPTION...: cheap when nothing changed.
configure() {
  local folder=$1
  shift
  mkdir -p build
  cmake -S . -B "$folder" -G Ninja -DVHCASS_WERROR=ON "$@" >"$folder.configure.log" 2>&1 ||
    { cat "$folder.configure.log" >&2; return 1; }
}

# The driver alone. A folder that has the tests configured keeps them.
build_driver() {
  [[ -f build/release/build.ninja ]] || configure build/release -DVHCASS_TESTS=OFF
  cmake --build build/release --target vhcass
}

# coverage_build: configures build/coverage, whose tests count the lines and branches that they reach.
coverage_build() {
  configure build/coverage -DVHCASS_TESTS=ON -DCMAKE_BUILD_TYPE=Debug '-DCMAKE_CXX_FLAGS=-O0 --coverage -fprofile-update=atomic'
}

# clang_build: configures build/clang: everything by clang, instrumented for the fuzz targets.
clang_build() {
  configure build/clang -DVHCASS_TESTS=ON -DVHCASS_SANITIZE=ON -DVHCASS_FUZZ=ON -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_BUILD_TYPE=Debug '-DCMAKE_CXX_FLAGS_DEBUG=-g1 -O1'
}
