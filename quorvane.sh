#!/usr/bin/env bash
# The two everyday commands of the project:
#   ./quorvane.sh run [app arguments]   build and start the application (with the built-in
#                                       demo frame when no frame address is given)
#   ./quorvane.sh test [preset]         build and run the whole test suite (preset: ci, asan, dev)
#   ./quorvane.sh package               build the Debian package (build/ci/package/*.deb)
#   ./quorvane.sh fuzz [seconds]        build the fuzz harnesses and run each for that long
#                                       (default 60); fails when any of them finds a crash
# On Debian/Ubuntu as root, missing build packages are installed first.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

packages=(cmake g++ ninja-build qt6-base-dev qt6-qpa-plugins qcoro-qt6-dev libgl-dev
    # tests that bind the frame ports run in network namespaces of their own, with loopback up
    iproute2
    # panel sheets: the condensed face they are set in, and the tools their tests read them with
    fonts-dejavu-extra poppler-utils
    # the Debian package: its dependencies, icons and manual pages, and the tools its tests run
    dpkg-dev librsvg2-bin help2man desktop-file-utils appstream bash-completion)
# Only the fuzz command needs these: clang, and the runtime that holds libFuzzer.
fuzz_packages=(clang libclang-rt-14-dev)

missing_packages() {
    local missing=()
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done
    echo "${missing[@]:-}"
}

ensure_packages() {
    if ! command -v dpkg-query >/dev/null 2>&1 || ! command -v apt-get >/dev/null 2>&1; then
        command -v cmake >/dev/null 2>&1 && return 0
        echo "This is not a Debian/Ubuntu system. Install CMake >= 3.25, a C++20 compiler, Ninja," >&2
        echo "Qt 6 (Core, Network, Widgets, Test), QCoro 6, rsvg-convert, help2man and poppler's" >&2
        echo "pdfinfo and pdftotext, then run this command again." >&2
        exit 2
    fi
    local missing
    missing=$(missing_packages "$@")
    [ -z "$missing" ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "Missing packages: $missing" >&2
        echo "Install them with: sudo apt-get install $missing" >&2
        exit 2
    fi
    echo "Installing: $missing"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    # shellcheck disable=SC2086
    apt-get install -y -qq --no-install-recommends $missing
}

build() {
    local preset=$1
    [ -f "build/$preset/CMakeCache.txt" ] || cmake --preset "$preset"
    cmake --build --preset "$preset"
}

# Runs every harness of the fuzz build for $1 seconds on a copy of its seeds (libFuzzer adds
# what it finds to that copy, so the checked-in seeds stay as they are). Crashes and their
# inputs land in build/fuzz/runs/NAME/.
run_fuzzers() {
    local seconds=$1 runs=build/fuzz/runs failed=() ran=0
    rm -rf "$runs"
    for harness in build/fuzz/fuzz/fuzz_*; do
        [ -f "$harness" ] && [ -x "$harness" ] || continue
        local name=${harness##*/fuzz_}
        ran=$((ran + 1))
        local work=$runs/$name
        mkdir -p "$work/corpus"
        if [ -d "fuzz/corpus/$name" ]; then cp -R "fuzz/corpus/$name/." "$work/corpus/"; fi
        local result=ok
        # ASan holds back 256 MiB of freed memory by default (twice that with its red zones),
        # all counted against libFuzzer's 2 GiB limit in a long run. 64 MiB still catches a
        # use after free.
        ASAN_OPTIONS="quarantine_size_mb=64:${ASAN_OPTIONS:-}" "$harness" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
            -artifact_prefix="$work/" "$work/corpus" >"$work/log" 2>&1 || result=FAILED
        local inputs coverage
        inputs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/log")
        coverage=$(grep -o 'cov: [0-9]*' "$work/log" | tail -n 1 | cut -d' ' -f2 || true)
        printf '%-20s %s: %s inputs, coverage %s, corpus %s\n' "$name" "$result" \
            "${inputs:-?}" "${coverage:-?}" "$(find "$work/corpus" -type f | wc -l)"
        if [ "$result" != ok ]; then
            failed+=("$name")
            tail -n 40 "$work/log" | sed 's/^/    /'
            find "$work" -maxdepth 1 -type f ! -name log | sed 's/^/    kept: /'
        fi
    done
    if [ "$ran" -eq 0 ]; then
        echo "no fuzz harness found in build/fuzz/fuzz" >&2
        return 1
    fi
    echo "fuzz: $((ran - ${#failed[@]})) passed, ${#failed[@]} failed"
    if [ ${#failed[@]} -gt 0 ]; then
        echo "fuzzing found problems in: ${failed[*]} (inputs kept in $runs)" >&2
        return 1
    fi
}

command=${1:-}
shift || true
case "$command" in
    run)
        ensure_packages "${packages[@]}"
        build dev
        case " $* " in
            *" --host "* | *" --host="* | *" --demo "* | *" --show "* | *" --show="*) ;;
            *) set -- --demo "$@" ;;
        esac
        exec build/dev/src/app/quorvane "$@"
        ;;
    test)
        preset=${1:-ci}
        ensure_packages "${packages[@]}"
        build "$preset"
        QT_QPA_PLATFORM=offscreen ctest --preset "$preset"
        ;;
    package)
        ensure_packages "${packages[@]}"
        build ci
        (cd build/ci && cpack)
        ;;
    fuzz)
        seconds=${1:-60}
        if ! [[ $seconds =~ ^[1-9][0-9]*$ ]]; then
            echo "usage: $0 fuzz [seconds]" >&2
            exit 2
        fi
        ensure_packages "${packages[@]}" "${fuzz_packages[@]}"
        build fuzz
        run_fuzzers "$seconds"
        ;;
    *)
        echo "usage: $0 run [arguments] | test [ci|asan|dev] | package | fuzz [seconds]" >&2
        exit 2
        ;;
esac
