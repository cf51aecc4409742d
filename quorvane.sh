#!/usr/bin/env bash
# The two everyday commands of the project:
#   ./quorvane.sh run [app arguments]   build and start the application (with the built-in
#                                       demo frame when no frame address is given)
#   ./quorvane.sh test [preset]         build and run the whole test suite (preset: ci, asan, dev)
#   ./quorvane.sh package               build the Debian package (build/ci/package/*.deb)
# On Debian/Ubuntu as root, missing build packages are installed first.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

packages=(cmake g++ ninja-build qt6-base-dev qt6-qpa-plugins qcoro-qt6-dev libgl-dev
    # the Debian package: its dependencies, icons and manual pages, and the tools its tests run
    dpkg-dev librsvg2-bin help2man desktop-file-utils appstream bash-completion)

missing_packages() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done
    echo "${missing[@]:-}"
}

ensure_packages() {
    if ! command -v dpkg-query >/dev/null 2>&1 || ! command -v apt-get >/dev/null 2>&1; then
        command -v cmake >/dev/null 2>&1 && return 0
        echo "This is not a Debian/Ubuntu system. Install CMake >= 3.25, a C++20 compiler, Ninja," >&2
        echo "Qt 6 (Core, Network, Widgets, Test), QCoro 6, rsvg-convert and help2man, then run" >&2
        echo "this command again." >&2
        exit 2
    fi
    local missing
    missing=$(missing_packages)
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

command=${1:-}
shift || true
case "$command" in
    run)
        ensure_packages
        build dev
        case " $* " in
            *" --host "* | *" --host="* | *" --demo "*) ;;
            *) set -- --demo "$@" ;;
        esac
        exec build/dev/src/app/quorvane "$@"
        ;;
    test)
        preset=${1:-ci}
        ensure_packages
        build "$preset"
        QT_QPA_PLATFORM=offscreen ctest --preset "$preset"
        ;;
    package)
        ensure_packages
        build ci
        (cd build/ci && cpack)
        ;;
    *)
        echo "usage: $0 run [arguments] | test [ci|asan|dev] | package" >&2
        exit 2
        ;;
esac
