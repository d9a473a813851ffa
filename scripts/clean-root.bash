# shellcheck shell=bash
# For the scripts that work in a clean Debian system. They have a function fail().

# Makes the directory ROOT with such a system, unless it is there.
makeCleanRoot() { # SUITE ROOT LOG [OPTION...] as debootstrap takes them
    [[ ! -d $2 ]] || return 0
    printf '\n=== a clean %s\n' "$1"
    rm -rf "$2.new"
    mkdir -p "${2%/*}"
    debootstrap --variant=minbase "${@:4}" "$1" "$2.new" >"$3" || fail "debootstrap: $(tail -n 20 "$3")"
    # The host may need a proxy to reach the mirror.
    apt-config dump Acquire >"$2.new/etc/apt/apt.conf.d/90host"
    mv "$2.new" "$2"
}
