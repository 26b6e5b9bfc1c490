# What ./dev installs. Read by it; everything else changes nothing outside build/.

# Debian packages by job. The headers of Boost and CLI11 serve both widths.
build_packages=(cmake ninja-build g++ g++-multilib libboost-thread-dev libcli11-dev
    nlohmann-json3-dev libjs-chart.js)
test_packages=(googletest binutils qemu-user libhwloc-dev)
fuzz_packages=(clang libclang-rt-dev)
lint_packages=(clang-format clang-tidy)
machine_packages=(bochs bochs-term bochsbios vgabios qemu-system-x86 binutils busybox-static cpio
    lz4 zstd xz-utils)

fail() { echo "dev: $*" >&2; exit 1; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# quietly WHAT FUNCTION [ARGUMENTS]: says what it does in one line, and shows the output only where it
# fails.
quietly() {
    local what=$1 log
    shift
    log=build/$1.log
    mkdir -p build
    echo "dev: $what" >&2
    "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
}

# Installs those of the packages that are missing.
need() {
    local package missing=()
    command -v dpkg-query >/dev/null && command -v apt-get >/dev/null || fail "no Debian here:" \
        "install CMake 3.25, Ninja, g++ 12 (with its 32-bit libraries, for ia32), Boost.Thread" \
        "(static), CLI11, nlohmann-json and, for tests, GoogleTest's source in /usr/src/googletest;" \
        "then cmake --preset x86_64 && cmake --build --preset x86_64"
    for package; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
        fail "neither root nor sudo: apt-get install ${missing[*]}, then try again"
    quietly "installing ${missing[*]}" install "${missing[@]}"
}

install() {
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "$@"
}

# The 32-bit Boost.Thread, of the version of the headers that are installed. Its package cannot always
# be installed beside the 64-bit one, so it is unpacked under build/: nothing on the host changes.
need_boost_ia32() {
    local library=usr/lib/i386-linux-gnu/libboost_thread.a unpacked=build/deps/i386-linux-gnu
    local headers version
    [ ! -e "/$library" ] || return 0
    headers=$(dpkg-query -S /usr/include/boost/version.hpp 2>/dev/null | sed 's/[,:].*//') ||
        fail "/usr/include/boost is of no package: which 32-bit Boost.Thread belongs to it?"
    version=$(dpkg-query -W -f '${Version}' "$headers")
    [ "$(cat $unpacked/version 2>/dev/null)" != "$version" ] || return 0
    local package=${headers/libboost/libboost-thread}:i386=$version log=build/fetch_boost_ia32.log
    echo "dev: fetching $package" >&2
    mkdir -p build
    fetch_boost_ia32 "$package" $unpacked >$log 2>&1 ||
        fail "the 32-bit build needs $package, as Boost's headers are of that version, and none of" \
            "this system's archives has it (see $log)"
    echo "$version" >$unpacked/version
}

# fetch_boost_ia32 PACKAGE FOLDER: with an apt state of its own, which looks for i386 packages where
# the host's packages come from. An archive that is out of step for i386 is no error, as long as this
# one package is to be had.
fetch_boost_ia32() {
    local package=$1 unpacked=$2 state=$PWD/build/deps/apt
    rm -rf "$state" "$unpacked"
    mkdir -p "$state/lists/partial" "$state/cache/archives/partial" "$unpacked"
    local apt=(apt-get -qq -o "Dir::State::Lists=$state/lists" -o "Dir::Cache=$state/cache"
        -o APT::Architectures=i386 -o Acquire::Languages=none -o APT::Sandbox::User=root)
    "${apt[@]}" update || true
    (cd "$state" && "${apt[@]}" download "$package") && dpkg -x "$state"/*.deb "$unpacked" &&
        rm -r "$state"
}

# A kernel for the emulated machines, once. Looking for it takes package lists that are up to date.
need_kernel() {
    tests/machines/find-kernel >/dev/null 2>&1 || quietly "fetching a kernel" fetch_kernel
}

fetch_kernel() {
    as_root apt-get update -qq
    tests/machines/find-kernel
}
