#!/usr/bin/env bash
# package_test.sh CMAKE BUILD LIBDIR CC CXX TOOLCHAIN-FILE [EMULATOR...]: installs the build into a prefix of its own,
# builds applications against it in every way that is offered, and runs them.
set -euo pipefail
cmake=$1 build=$2 libdir=$3 cc=$4 cxx=$5 toolchain=$6
shift 6
emulator=("$@")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
log=$work/log

attempt() { # command...: quiet unless it fails
    "$@" >"$log" 2>&1 || { echo "failed: $*"; cat "$log"; exit 1; }
}

check_hello() { # program
    mkdir -p "$work/run" && cd "$work/run" && rm -f hello.txt
    status=0
    output=$("${emulator[@]}" "$1" two words) || status=$?
    [ "$output" = "two words 1" ] && [ "$status" -eq 5 ] && [ "$(cat hello.txt)" = hello ] || {
        echo "$1 printed \"$output\", ended with $status and wrote \"$(cat hello.txt)\""
        exit 1
    }
}

attempt "$cmake" --install "$build" --prefix "$prefix"

mkdir "$work/consumer"
cp "$here/hello.c" "$work/consumer/hello.cpp"
cat >"$work/consumer/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.21)
project(Hello LANGUAGES CXX)
find_package(Kalto 1 REQUIRED)
add_executable(hello hello.cpp)
target_link_libraries(hello PRIVATE Kalto::host)
END
attempt "$cmake" -S "$work/consumer" -B "$work/consumer/build" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DKalto_DIR="$prefix/$libdir/cmake/Kalto"
attempt "$cmake" --build "$work/consumer/build"
check_hello "$work/consumer/build/hello"

# Linkers that drop libraries nobody names, and linkers that keep them; C++ and C.
export PKG_CONFIG_LIBDIR=$prefix/$libdir/pkgconfig
read -ra compile < <(pkg-config --cflags kaltohost)
read -ra libraries < <(pkg-config --libs kaltohost)
for linker in --as-needed --no-as-needed; do
    link=(-Wl,$linker "${libraries[@]}" -Wl,-rpath,"$prefix/$libdir")
    attempt "$cxx" -x c++ -std=c++17 -fvisibility=hidden "${compile[@]}" "$here/hello.c" -x none -o "$work/hello++" "${link[@]}"
    check_hello "$work/hello++"
    attempt "$cc" -std=c11 "${compile[@]}" "$here/hello.c" -o "$work/hello" "${link[@]}"
    check_hello "$work/hello"
    attempt "$cc" -std=c11 "${compile[@]}" "$here/own_main.c" -o "$work/own_main" "${link[@]}"
    status=0
    "${emulator[@]}" "$work/own_main" || status=$?
    [ "$status" -eq 13 ] || { echo "own_main ended with $status"; exit 1; }
done

# Ported source with the flags of its own package, in every way.
check_ported() { # program
    output=$("${emulator[@]}" "$1" one two) && [[ "$output" == "one 3 1: 0 of "* ]] || {
        echo "$1 printed \"$output\""
        exit 1
    }
}
mkdir "$work/ported"
cp "$here"/../porting/ported*.[ch] "$work/ported"
cat >"$work/ported/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.21)
project(Ported LANGUAGES C CXX)
find_package(Kalto 1 REQUIRED)
add_executable(ported ported_source.c ported_system.c)
target_link_libraries(ported PRIVATE Kalto::porting)
END
attempt "$cmake" -S "$work/ported" -B "$work/ported/build" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DKalto_DIR="$prefix/$libdir/cmake/Kalto"
attempt "$cmake" --build "$work/ported/build"
check_ported "$work/ported/build/ported"
read -ra compile < <(pkg-config --cflags kalto-porting)
read -ra libraries < <(pkg-config --libs kalto-porting)
attempt "$cc" "${compile[@]}" "$work"/ported/*.c -o "$work/ported/c" "${libraries[@]}" -Wl,-rpath,"$prefix/$libdir"
check_ported "$work/ported/c"
attempt "$cxx" -x c++ "${compile[@]}" "$work"/ported/*.c -x none -o "$work/ported/c++" "${libraries[@]}" \
    -Wl,-rpath,"$prefix/$libdir"
check_ported "$work/ported/c++"
echo "find_package, pkg-config, C++ and C: applications build and run"
