#!/usr/bin/env bash
# The one entry: sets up what is missing, builds, tests and shows the product. Works on a Debian 12 that has nothing but
# a shell, as root or with sudo; what it installs it says first. Run it without arguments for its commands.
set -euo pipefail
cd "$(dirname "$0")"

readonly windows_presets=(i686-release x86_64-release)

usage() {
    cat <<'EOF'
usage: ./build.sh COMMAND

  demo               set up, build, and run an installer front end against a small network of its own
  check [--long]     set up, build, lint, run all tests; --long adds the long tests and wide fuzzing
  bench              measure the hot paths beside their peers
  fuzz [SECONDS] [NAME]
                     let every fuzzer, or one, search for SECONDS (60) each
  dist               dist/: a zip per architecture with DLLs, import libraries, headers, CMake package, documents
  format             bring every source into the project's format
  clean              remove everything that was built

In between, the CMake presets work alone: cmake --preset i686-release && cmake --build --preset i686-release
EOF
}

fail() {
    echo "build.sh: $*" >&2
    exit 1
}

note() {
    printf '\n== %s\n' "$*"
}

# --- Packages --------------------------------------------------------------------------------------------------------

readonly packages_common=(ca-certificates cmake ninja-build g++ python3 git dpkg-dev xz-utils patch netbase)
readonly packages_windows=(g++-mingw-w64-i686-win32 g++-mingw-w64-x86-64-win32 wine wine64 wine32:i386
    libcli11-dev nlohmann-json3-dev doctest-dev iproute2 procps util-linux)
readonly packages_cabinets=(gcab cabextract)
readonly packages_test=(mount libxml2-utils "${packages_cabinets[@]}")
readonly packages_lint=(clang clang-format clang-tidy cppcheck)
readonly packages_fuzz=(clang libclang-rt-14-dev)
readonly packages_bench=(libpcre2-dev zlib1g-dev libxml2-dev)
readonly packages_dist=(zip)

is_installed() {
    [ "$(dpkg-query -W -f '${Status}' "$1" 2>/dev/null)" = "install ok installed" ]
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "installing packages needs root or sudo; as root run: $*"
    fi
}

apt_install() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@" >>"$setup_log" 2>&1
}

# The index of i386 security updates can lag behind the amd64 one; Wine's 32-bit half then fits no newer amd64 library.
# Preferring the release's own versions for this one call mends it. Nothing is left in the system's configuration.
apt_install_at_release() {
    local preferences
    preferences=$(mktemp)
    printf 'Package: *\nPin: release n=bookworm,l=Debian\nPin-Priority: 1001\n' >"$preferences"
    chmod 644 "$preferences"
    local status=0
    apt_install -o Dir::Etc::Preferences="$preferences" --allow-downgrades "$@" || status=$?
    rm -f "$preferences"
    return "$status"
}

setup() {
    command -v apt-get >/dev/null || fail "this system has no apt-get: install the packages of build.sh by hand, then use the CMake presets"
    local missing=() package
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ "${#missing[@]}" -gt 0 ] || return 0
    mkdir -p build
    setup_log=$PWD/build/setup.log
    echo "build.sh: installing with apt-get (log: build/setup.log): ${missing[*]}"
    if [[ " ${missing[*]} " == *:i386* ]]; then
        as_root dpkg --add-architecture i386
    fi
    # One archive that is just being renewed must not stop the rest: what counts is whether the packages can be had.
    as_root apt-get update >>"$setup_log" 2>&1 || echo "build.sh: apt-get update failed in part, going on with what it has"
    apt_install "${missing[@]}" || apt_install_at_release "${missing[@]}" ||
        fail "these packages could not be installed, see build/setup.log: ${missing[*]}"
}

setup_to_build() { setup "${packages_common[@]}" "${packages_windows[@]}"; }

# --- Steps -----------------------------------------------------------------------------------------------------------

# Prints the log only when the step fails, and how long the step took.
step() {
    local name=$1 started=$SECONDS
    shift
    mkdir -p build
    local log=build/${name//[^a-z0-9_]/-}.log
    if ! "$@" >"$log" 2>&1 </dev/null; then
        cat "$log"
        fail "$name failed (log: $log)"
    fi
    printf '   %-40s %4d s\n' "$name" $((SECONDS - started))
}

build_preset() {
    step "configure $1" cmake --preset "$1"
    step "build $1" cmake --build --preset "$1" --parallel "$(nproc)"
}

# What `ctest` is to run: nothing for the usual tests, "-C long" for the long ones too.
ctest_configuration=()

# Output goes to the terminal: the summary of each run is the result.
test_preset() {
    ctest --preset "$1" "${ctest_configuration[@]}" --parallel "$(nproc)" </dev/null
}

lint() {
    step "lint format" tools/lint format
    step "lint cppcheck" tools/lint cppcheck
    step "lint clang-tidy" tools/lint tidy
}

# --- Commands --------------------------------------------------------------------------------------------------------

check() {
    local long=0
    case "${1:-}" in
    "") ;;
    --long) long=1 ;;
    *) fail "check takes --long or nothing" ;;
    esac
    setup "${packages_common[@]}" "${packages_windows[@]}" "${packages_test[@]}" "${packages_lint[@]}" "${packages_fuzz[@]}"
    note "build"
    local preset
    for preset in native-sanitize native-fuzz "${windows_presets[@]}"; do
        build_preset "$preset"
    done
    note "lint"
    lint
    note "test"
    [ "$long" = 0 ] || ctest_configuration=(-C long)
    for preset in native-sanitize native-fuzz "${windows_presets[@]}"; do
        test_preset "$preset"
    done
    if [ "$long" = 1 ]; then
        run_fuzzers 300
    fi
    note "everything passed"
}

demo() {
    setup_to_build
    note "build"
    build_preset i686-release
    note "demo"
    tools/private-network tools/demo build/i686-release
    tools/demo-java build/i686-release
}

bench() {
    setup "${packages_common[@]}" "${packages_windows[@]}" "${packages_bench[@]}" "${packages_cabinets[@]}"
    note "build"
    build_preset i686-release
    build_preset native-bench
    note "bench"
    tools/private-network tools/bench build/i686-release build/native-bench
}

run_fuzzers() {
    local seconds=$1 wanted=${2:-} program name dictionary found=0
    for program in build/native-fuzz/fuzz/*_fuzz; do
        name=$(basename "$program" _fuzz)
        [ -z "$wanted" ] || [ "$wanted" = "$name" ] || continue
        found=1
        dictionary=fuzz/$name.dict
        mkdir -p "build/fuzz-findings/$name"
        note "fuzz $name, $seconds s"
        "$program" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
            -artifact_prefix="build/fuzz-findings/$name/" ${dictionary:+$([ -e "$dictionary" ] && echo -dict="$dictionary")} \
            "build/fuzz-findings/$name" "fuzz/corpus/$name" 2>&1 | tail -n 12
    done
    [ "$found" = 1 ] || fail "no fuzzer named '$wanted'"
}

fuzz() {
    local seconds=${1:-60}
    [[ $seconds =~ ^[0-9]+$ ]] || fail "fuzz takes a number of seconds, then a name"
    setup "${packages_common[@]}" "${packages_fuzz[@]}"
    build_preset native-fuzz
    run_fuzzers "$seconds" "${2:-}"
}

dist() {
    setup "${packages_common[@]}" "${packages_windows[@]}" "${packages_dist[@]}"
    local preset arch name
    rm -rf dist
    for preset in "${windows_presets[@]}"; do
        build_preset "$preset"
        arch=${preset%-release}
        name=tavkivut-$(sed -n 's/^project(tavkivut VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)-windows-$arch
        step "install $arch" cmake --install "build/$preset" --prefix "dist/$name"
        (cd dist && zip -qr "$name.zip" "$name")
        echo "dist/$name.zip"
    done
}

format() {
    setup "${packages_lint[@]}"
    tools/lint fix-format
}

clean() {
    local prefix
    for prefix in build/*/prefix* build/demo/prefix; do
        if [ -e "$prefix/system.reg" ] && command -v wineserver >/dev/null; then
            WINEPREFIX=$PWD/$prefix wineserver -k || true
        fi
    done
    rm -rf build dist
}

command=${1:-}
case "$command" in
demo | bench | dist | format | clean)
    [ $# = 1 ] || fail "$command takes no arguments"
    "$command"
    ;;
check | fuzz)
    shift
    "$command" "$@"
    ;;
"" | -h | --help | help)
    usage
    ;;
*)
    usage >&2
    exit 2
    ;;
esac
