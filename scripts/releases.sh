# Fresh Debian systems to try things on: folders below $work, with mounts that nobody else sees, which
# are gone in the end. Read by scripts that root runs.

work=$(mktemp -d)
running=
clean_up() {
    kill $running 2>/dev/null && wait $running || true
    rm -rf --one-file-system "$work"
}
trap clean_up EXIT
trap 'exit 129' HUP; trap 'exit 130' INT; trap 'exit 143' TERM

# Waits for a command that a signal to this script ends.
run() {
    "$@" &
    running=$!
    local status=0
    wait $running || status=$?
    running=
    return $status
}

# make_system RELEASE ARCHITECTURE FOLDER [PACKAGE,PACKAGE...]: what it says is in $work/log.
make_system() {
    local mirror
    mirror=$(apt-get indextargets --format '$(SITE)' 'Origin: Debian' 'Component: main' | head -n 1)
    run debootstrap --variant=minbase --arch="$2" ${4:+--include="$4"} "$1" "$3" \
        "${mirror:-http://deb.debian.org/debian}" >"$work/log" 2>&1
}

# "${inside[@]}" FOLDER USER HOME COMMAND...: runs a command in a system. In a namespace of its own,
# mounts what a system has, and becomes the user there.
inside=(unshare --mount --pid --fork --kill-child bash -ec '
    mount -t proc proc "$1/proc"
    mount -t sysfs sysfs "$1/sys"
    mount --rbind /dev "$1/dev"
    cp -L /etc/resolv.conf "$1/etc/"
    exec chroot --userspec="$2" "$1" env -i HOME="$3" TERM=dumb LANG=C.UTF-8 \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        ${http_proxy:+http_proxy="$http_proxy"} "${@:4}"' -)
