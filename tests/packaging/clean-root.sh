# shellcheck shell=bash
# Sourced by the tests that install the packages: a root that differs from the system's only by them.

fail() {
    echo "$*" >&2
    exit 1
}

# Ends a test that this system does not permit.
skip() {
    echo "Skipped: only the machine's root can install packages as the system does"
    exit 77
}

# make_root <folder>: mounts there, as $top, what takes an overlay of the system's root that forgets everything, $root. In
# a mount namespace of the caller's, so that nothing but the folder is left. Ends with 77 where that is not allowed.
make_root() {
    top=$1
    mount -t tmpfs ids-packages "$top"
    mkdir "$top"/{upper,work,root}
    mount -t overlay -o "lowerdir=/,upperdir=$top/upper,workdir=$top/work" ids-packages "$top/root" || skip
    root=$top/root
    mount -t proc ids-packages "$root/proc"
    mount -t tmpfs -o mode=755 ids-packages "$root/run"
    mount -t tmpfs -o mode=1777 ids-packages "$root/tmp"
}

# install_packages <folder>: all that are there.
install_packages() {
    mkdir "$root/tmp/packages"
    cp "$1"/*.deb "$root/tmp/packages"
    chroot "$root" sh -c 'dpkg --install /tmp/packages/*.deb' >"$top/log" 2>&1 || fail "Not installed: $(<"$top/log")"
    rm -r "$root/tmp/packages"
}
