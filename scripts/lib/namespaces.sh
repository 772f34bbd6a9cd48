# shellcheck shell=bash
# Sourced by scripts that run in namespaces of their own.

# private_tmp <folder>...: mounts an empty /tmp in the mount namespace of the caller. The folders that lie in /tmp keep
# their paths and contents.
private_tmp() {
    local folder descriptor
    local -A kept=()
    for folder in "$@"; do
        folder=$(realpath "$folder")
        [[ $folder == /tmp/* ]] || continue
        exec {descriptor}<"$folder"
        kept[$folder]=$descriptor
    done
    mount -t tmpfs -o mode=1777 tmpfs /tmp
    for folder in "${!kept[@]}"; do
        descriptor=${kept[$folder]}
        mkdir -p "$folder"
        mount --no-canonicalize --rbind "/proc/self/fd/$descriptor" "$folder"
        exec {descriptor}<&-
    done
}
