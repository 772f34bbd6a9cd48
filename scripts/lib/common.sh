# shellcheck shell=bash
# Sourced by the commands: the required packages on Debian 12, and the build.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
PATH=$PATH:/usr/local/sbin:/usr/sbin:/sbin # nft, which is not in a user's PATH

# Compiler and libraries, then the programs of tests and demo: a bus and its tools, network tools, the packet filter.
# shellcheck disable=SC2034
packages=(cmake ninja-build g++ pkg-config libsystemd-dev libmnl-dev libnetfilter-conntrack-dev libgtest-dev
    libgmock-dev libbenchmark-dev libdlt-dev libcli11-dev nlohmann-json3-dev libsqlite3-dev dbus-daemon dbus-bin
    systemd iproute2 nftables util-linux)

# For the Debian packages.
# shellcheck disable=SC2034
packing=(dpkg-dev file)

# Prefix for the build and its programs.
launcher=()

fail() {
    echo "$*" >&2
    exit 1
}

# missing <package>[:<architecture>]...: prints those that are not installed, one per line.
missing() {
    local installed
    installed=$(dpkg-query --show --showformat='${db:Status-Status} ${binary:Package}\n' "$@" 2>/dev/null |
        sed -n "s/^installed //p" | sed "s/:$(dpkg --print-architecture)\$//") || true
    printf '%s\n' "$@" | grep -vxF -e "$installed" || true
}

# wrong_use [<text>]: ends the command with its usage.
wrong_use() {
    (($# == 0)) || echo "${0##*/}: $*" >&2
    usage >&2
    exit 2
}

# need <package>...: installs the missing packages, or lists them.
need() {
    local absent
    if ! command -v dpkg-query >/dev/null; then
        echo "Not a Debian system; these packages are needed in some form: $*" >&2
        return
    fi
    mapfile -t absent < <(missing "$@")
    if ((${#absent[@]} == 0)); then
        return
    fi
    if ((EUID != 0)); then
        fail "Missing packages. As root: apt-get update && apt-get install -y --no-install-recommends ${absent[*]}"
    fi
    echo "Installing ${absent[*]}" >&2
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq </dev/null
    apt-get install -y -qq --no-install-recommends -o APT::Status-Fd=3 "${absent[@]}" </dev/null 3>&1 >/dev/null |
        show_progress
}

# Reads the package manager's status lines, "dlstatus:1:20.5:text" while it downloads and "pmstatus:package:40.1:text"
# while it installs, and prints a line for each tenth.
show_progress() {
    local kind _package percent _text stage last=''
    while IFS=: read -r kind _package percent _text; do
        case $kind in
        dlstatus) stage=downloaded ;;
        pmstatus) stage=installed ;;
        *) continue ;;
        esac
        stage="$((${percent%.*} / 10 * 10)) % $stage"
        [[ $stage == "$last" ]] || echo "  $stage" >&2
        last=$stage
    done
}

# Debian's cross compiler, its libraries for the other processor, and the emulator for the tests.
need_arm64() {
    local package libraries=(libstdc++6:arm64)
    for package in "${packages[@]}"; do
        [[ $package != lib*-dev || $package == libcli11-dev ]] || libraries+=("$package:arm64")
    done
    if ! dpkg --print-foreign-architectures | grep -qxF arm64; then
        ((EUID == 0)) || fail "Another architecture is needed. As root: dpkg --add-architecture arm64"
        dpkg --add-architecture arm64
    fi
    need g++-aarch64-linux-gnu qemu-user qemu-user-binfmt "${libraries[@]}"
}

# Registers the emulator with the kernel, because the tested programs start others for the other processor.
emulate_arm64() {
    local formats=/proc/sys/fs/binfmt_misc
    export QEMU_CPU=max,pauth-impdef=on # the default algorithm for signing return addresses makes calls a dozen times slower
    [[ -e $formats/qemu-aarch64 ]] && return
    ((EUID == 0)) || fail "The kernel does not start arm64 programs. As root: systemctl restart systemd-binfmt"
    [[ -e $formats/register ]] || mount -t binfmt_misc binfmt_misc "$formats"
    /lib/systemd/systemd-binfmt qemu-aarch64.conf
}

# build <preset> [<target>...]: configures and builds the targets, or everything.
build() (
    preset=$1
    shift
    cd "$root"
    cmake --preset "$preset" --log-level=WARNING >/dev/null
    ninja -C "build/$preset" -n "$@" | grep -qF 'ninja: no work to do.' && exit
    echo "Building in build/$preset" >&2
    "${launcher[@]}" cmake --build --preset "$preset" ${1+--target "$@"}
)

# isolate <unshare option>...: restarts the command in namespaces of its own, if permitted, with --isolated before the
# original arguments.
isolate() {
    # shellcheck disable=SC2154
    unshare "$@" true 2>/dev/null && exec unshare "$@" "$root/scripts/${0##*/}" --isolated "${arguments[@]}"
}
