#!/usr/bin/env bash
# Builds libzem and runs what was asked for:
#   ./build.sh demo    build, then run the demo application
#   ./build.sh test    build, then run every test (ctest)
#   ./build.sh asan    the same tests under AddressSanitizer + UBSan
#   ./build.sh tsan    the concurrency tests under ThreadSanitizer
#   ./build.sh bench   build the benchmarks (run them from build-bench/bench/)
#   ./build.sh package the Debian packages libzem0, libzem-dev and zem-tools
#                      (in build-package/packages/), each checked by building
#                      the README's host against their unpacked contents
#   ./build.sh picture redraw docs/images/demo-profile.png, the demo's profile
#   ./build.sh docs    the API reference from the public headers' comments
#                      (Doxygen), in build/api/html/
#   ./build.sh windows cross-build for 64-bit Windows with MinGW-w64, run every
#                      test and the demo under Wine, and make the zip package
#                      (build-windows/packages/)
# Missing build tools are installed with apt-get when run as root.
set -euo pipefail
cd "$(dirname "$0")"

JOBS=${JOBS:-2}

need_packages() {
    local missing=()
    command -v cmake >/dev/null 2>&1 || missing+=(cmake)
    command -v g++ >/dev/null 2>&1 || missing+=(g++)
    command -v make >/dev/null 2>&1 || missing+=(make)
    [ -f /usr/include/gtest/gtest.h ] || missing+=(libgtest-dev)
    [ -f /usr/include/gmock/gmock.h ] || missing+=(libgmock-dev)
    [ -f /usr/include/benchmark/benchmark.h ] || missing+=(libbenchmark-dev)
    for extra in "$@"; do
        case "$extra" in
            clang) command -v clang++ >/dev/null 2>&1 || missing+=(clang) ;;
            libclang-rt) dpkg -s libclang-rt-14-dev >/dev/null 2>&1 || missing+=(libclang-rt-14-dev) ;;
            # The schema tests validate documents with xmllint; the package
            # tests build a host with pkg-config, as the README shows.
            xmllint) command -v xmllint >/dev/null 2>&1 || missing+=(libxml2-utils) ;;
            pkg-config) command -v pkg-config >/dev/null 2>&1 || missing+=(pkg-config) ;;
            # dpkg-shlibdeps works out the packages' dependencies on the C and C++ runtimes.
            dpkg-dev) command -v dpkg-shlibdeps >/dev/null 2>&1 || missing+=(dpkg-dev) ;;
            doxygen) command -v doxygen >/dev/null 2>&1 || missing+=(doxygen) ;;
            # The packages are held to Debian's policy checker.
            lintian) command -v lintian >/dev/null 2>&1 || missing+=(lintian) ;;
            # The picture of the demo's profile in docs/ is the page that
            # `zem profile --html` writes as a real browser draws it.
            chromium) command -v chromium >/dev/null 2>&1 || missing+=(chromium) ;;
            # The Windows build: the cross compiler, Wine to run what it
            # makes, and GoogleTest's sources to build the tests' framework.
            windows)
                command -v x86_64-w64-mingw32-g++-posix >/dev/null 2>&1 || missing+=(g++-mingw-w64-x86-64-posix)
                [ -x "$(wine_loader)" ] || missing+=(wine64)
                [ -f /usr/src/googletest/CMakeLists.txt ] || missing+=(googletest)
                ;;
            # The XML benchmark measures the parser against these peers, side
            # by side in one run; without them it would skip the comparison.
            xml-peers)
                [ -f /usr/include/pugixml.hpp ] || missing+=(libpugixml-dev)
                [ -f /usr/include/tinyxml2.h ] || missing+=(libtinyxml2-dev)
                [ -f /usr/include/libxml2/libxml/parser.h ] || missing+=(libxml2-dev)
                ;;
        esac
    done
    if [ ${#missing[@]} -gt 0 ]; then
        echo "build.sh: installing ${missing[*]}"
        local sudo=""
        [ "$(id -u)" -eq 0 ] || sudo="sudo"
        $sudo apt-get update -qq
        DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}" >/dev/null
    fi
}

# Wine's 64-bit loader; Debian keeps it out of the PATH.
wine_loader() {
    local candidate
    for candidate in /usr/lib/wine/wine64 /usr/lib/x86_64-linux-gnu/wine/wine64 "$(command -v wine64 || true)"; do
        [ -n "$candidate" ] && [ -x "$candidate" ] && { echo "$candidate"; return; }
    done
    echo /usr/lib/wine/wine64
}

configure_and_build() {
    local preset=$1; shift
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$JOBS" "$@"
}

run_tests() {
    local dir=$1
    shift
    ctest --test-dir "$dir" --output-on-failure -j "$JOBS" --timeout 600 "$@"
}

case "${1:-test}" in
    demo)
        need_packages
        configure_and_build default --target demo
        ./build/examples/demo
        ;;
    test)
        need_packages xmllint pkg-config
        configure_and_build default
        run_tests build
        ;;
    asan)
        need_packages xmllint pkg-config
        configure_and_build asan
        ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 \
        UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
            run_tests build-asan
        ;;
    tsan)
        need_packages
        configure_and_build tsan
        TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build-tsan --output-on-failure -j "$JOBS" \
            -R 'Concurrency|Stress|Thread'
        ;;
    bench)
        need_packages xml-peers
        configure_and_build bench
        ;;
    package)
        need_packages dpkg-dev pkg-config lintian
        configure_and_build package
        rm -rf build-package/packages
        (cd build-package && cpack -G DEB -B packages >/dev/null)
        rm -rf build-package/packages/_CPack_Packages
        cmake -DMODE=deb -DDEB_DIR="$PWD/build-package/packages" -DCONSUMER_DIR="$PWD/tests/package/consumer" \
              -DREADME="$PWD/README.md" -DCHECK_DEMO="$PWD/examples/check_demo.cmake" -DWORK_DIR="$PWD/build-package/check" \
              -P tests/package/build_hosts.cmake
        ls build-package/packages/*.deb
        # An error fails the build; warnings and notes are shown.
        lintian --fail-on error --display-info build-package/packages/*.deb
        ;;
    picture)
        need_packages chromium
        configure_and_build default --target demo zem_tool
        page=$(mktemp -d)
        # Exit status 1: the shop's tills fail without the demo host's classes, as the README tells.
        build/tools/zem profile --html "$page/profile.html" build/examples/demo-config/shop.xml || [ $? -eq 1 ]
        mkdir -p docs/images
        chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
            --disable-background-networking --disable-component-update --disable-sync \
            --user-data-dir="$page/browser" --window-size=1000,420 --hide-scrollbars \
            --screenshot="$PWD/docs/images/demo-profile.png" "file://$page/profile.html"
        rm -rf "$page"
        ;;
    docs)
        need_packages doxygen
        cmake --preset default >/dev/null    # writes <zem/version.h>
        version=$(sed -n 's/^#define ZEM_VERSION_STRING "\(.*\)"$/\1/p' build/include/zem/version.h)
        rm -rf build/api
        # A warning fails the run (WARN_AS_ERROR in docs/Doxyfile).
        ZEM_VERSION="$version" ZEM_API_OUT=build/api ZEM_GENERATED_INCLUDE=build/include doxygen docs/Doxyfile
        echo "build/api/html/index.html"
        ;;
    windows)
        need_packages windows
        configure_and_build windows
        # Wine keeps its Windows folder in the build tree and stays quiet; it
        # is told not to offer to install its .NET and HTML components.
        export WINEPREFIX="$PWD/build-windows/wine" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
        "$(wine_loader)" wineboot --init >/dev/null 2>&1 || true
        (cd build-windows/bin && "$(wine_loader)" demo.exe | tr -d '\r')
        rm -rf build-windows/packages
        (cd build-windows && cpack -G ZIP -B packages >/dev/null && rm -rf packages/_CPack_Packages)
        ls build-windows/packages/*.zip
        # Now and then Wine fails to start a program at all (no output, a
        # failure within milliseconds) when the machine is busy; such a test
        # gets one more run. A test that fails on its own fails twice.
        run_tests build-windows --repeat until-pass:2
        ;;
    fuzz)
        need_packages clang libclang-rt
        fuzz/run.sh "${2:-60}"
        ;;
    *)
        echo "usage: $0 demo|test|asan|tsan|bench|package|picture|docs|windows|fuzz [seconds]" >&2
        exit 2
        ;;
esac
