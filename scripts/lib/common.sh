# Shell functions that the scripts share; source it, do not run it.

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

say() { printf '%s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# require_packages PACKAGE...: installs the Debian packages that are missing, or says which.
require_packages() {
    local missing=() package
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        fail "these Debian packages are missing: ${missing[*]} (apt-get install ${missing[*]})"
    fi
    say "installing ${missing[*]}"
    local log
    log=$(mktemp)
    if ! { apt-get update && DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        fail "the packages could not be installed"
    fi
    rm -f "$log"
}

# build_preset PRESET [TARGET...]: configures and builds; prints only what went wrong.
build_preset() {
    local preset=$1 log launcher=()
    shift
    log=$(mktemp)
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    say "building $preset"
    if ! (cd "$repository" && cmake --preset "$preset" "${launcher[@]}" &&
        cmake --build "build/$preset" ${1:+--target "$@"}) >"$log" 2>&1; then
        grep -E 'error|warning|FAILED|CMake' "$log" | head -n 40 >&2
        tail -n 20 "$log" >&2
        fail "the build failed, see $log"
    fi
    rm -f "$log"
}
