# Shell functions that the scripts share; source it, do not run it.

repository=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

say() { printf '%s\n' "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# The comment that the script begins with.
show_usage() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; }

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

# What the tests build and run with.
require_test_packages() {
    require_packages g++ cmake ninja-build binutils libgtest-dev libgmock-dev python3 pkg-config \
        libcli11-dev nlohmann-json3-dev libgstreamer1.0-dev gstreamer1.0-tools \
        gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad \
        libedit-dev libncurses-dev tmux tshark
}

# What the web browser builds and runs with.
require_web_engine() {
    require_packages libwpewebkit-1.1-dev libwpebackend-fdo-1.0-dev libpng-dev libx11-dev
}

# quietly COMMAND...: runs it in the repository; prints only what went wrong. Its output stays in the
# file log_to, where that is set.
quietly() {
    local log=${log_to:-$(mktemp)}
    if ! (cd "$repository" && "$@") >"$log" 2>&1; then
        grep -E 'error|warning|FAILED|CMake' "$log" | head -n 40 >&2
        tail -n 20 "$log" >&2
        fail "the build failed, see $log"
    fi
    [ -n "${log_to:-}" ] || rm -f "$log"
}

# configure_preset PRESET: with it comes build/PRESET/compile_commands.json.
configure_preset() {
    local launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    quietly cmake --preset "$1" "${launcher[@]}"
}

# build_preset PRESET [TARGET...]: configures and builds.
build_preset() {
    local preset=$1
    shift
    say "building $preset"
    configure_preset "$preset"
    quietly cmake --build "build/$preset" ${1:+--target "$@"}
}

# The version, from the one place where it stands.
project_version() {
    sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$repository/CMakeLists.txt"
}

# The files of this tree, each ended by a zero byte: those of git, or where that is absent all but
# what was built.
list_sources() {
    if [ -e "$repository/.git" ]; then
        git -C "$repository" ls-files -z --cached --others --exclude-standard --deduplicate
    else
        (cd "$repository" && find . -path ./build -prune -o -type f -print0)
    fi
}

# Seconds since 1970: of the commit, or where git is absent of the newest file.
source_date() {
    if [ -e "$repository/.git" ]; then
        git -C "$repository" log -1 --format=%ct
    else
        find "$repository" -path "$repository/build" -prune -o -type f -printf '%Ts\n' |
            sort -n | tail -n 1
    fi
}
