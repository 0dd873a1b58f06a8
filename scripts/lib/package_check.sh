# Trying the packages; scripts/package sources it.

play_alone=$repository/tests/support/in_private_network.py

# check_amd64 FOLDER: in a bare Debian that is thrown away.
check_amd64() {
    require_packages mmdebstrap
    say "trying the packages in a bare Debian"
    local log=$1/check.log
    if ! mmdebstrap --quiet --variant=apt --include=ca-certificates,gcc,g++,make,cmake,pkgconf,python3 \
        --customize-hook='mkdir "$1/try"' \
        --customize-hook="cp '$1'/*.deb '$play_alone' '$repository/scripts/lib/try_packages' \"\$1/try\"" \
        --customize-hook='chroot "$1" bash /try/try_packages' \
        bookworm /dev/null >"$log" 2>&1; then
        tail -n 30 "$log" >&2
        fail "the packages do not stand the trial, see $log"
    fi
    grep '^tried: ' "$log"
}

# check_armhf FOLDER: unpacked, and run by the emulator.
check_armhf() {
    require_packages qemu-user pkgconf python3
    say "trying the packages for ARM in the emulator"
    local root=$1/root deb
    for deb in "$1"/libhtml5-video*_armhf.deb; do
        dpkg-deb -x "$deb" "$root"
    done
    local examples=$root/usr/share/doc/libhtml5-video-dev/examples
    local libraries=$root/usr/lib/arm-linux-gnueabihf
    # shellcheck disable=SC2046 # words for the compiler
    arm-linux-gnueabihf-gcc -std=c99 "$examples/browser.c" -o "$root/browser" \
        $(PKG_CONFIG_LIBDIR=$libraries/pkgconfig pkgconf --cflags --libs html5_video)
    # $1 is the emulator's command, which finds the library of the package.
    python3 "$play_alone" bash -c '
        python3 "$1" 2>/dev/null & player=$!
        trap "kill $player" EXIT
        shift
        "$@" clock:0.5' play "$examples/player.py" \
        qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH="$libraries" "$root/browser"
    rm -rf "$root"
    say "tried: the library for ARM plays to the end"
}
