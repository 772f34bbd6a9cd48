# shellcheck shell=bash
# Sourced by what makes packages and their documents. Exports what those state of the sources, unless it is set already:
#
# SOURCE_DATE_EPOCH: the time of the last commit; outside a git checkout, of the last change of CHANGELOG.md.
# IDS_VERSION_SUFFIX: +git<commits>.<commit>, then .dirty<sum> with uncommitted changes or new files, so that a package
# manager replaces what it has installed of an older commit. Empty outside a git checkout. A shallow clone counts fewer
# commits.

sources=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Root may build in the checkout of another user.
checkout() {
    [[ -e $sources/.git ]] && git -c safe.directory="$sources" -C "$sources" "$@" 2>/dev/null
}

uncommitted() {
    checkout diff --no-ext-diff --binary HEAD
    checkout ls-files --others --exclude-standard -z | (cd "$sources" && xargs -0 --no-run-if-empty sha256sum)
}

version_suffix() {
    local changes
    printf '+git%s.%s' "$(checkout rev-list --count HEAD)" "$(checkout rev-parse HEAD | cut -c1-8)"
    changes=$(uncommitted)
    [[ -z $changes ]] || printf '.dirty%s' "$(sha256sum <<<"$changes" | cut -c1-8)"
}

if [[ -z ${SOURCE_DATE_EPOCH-} ]]; then
    SOURCE_DATE_EPOCH=$(checkout log -1 --format=%ct) || SOURCE_DATE_EPOCH=$(stat --format=%Y "$sources/CHANGELOG.md")
fi
if [[ -z ${IDS_VERSION_SUFFIX+set} ]]; then
    IDS_VERSION_SUFFIX=$(checkout rev-parse HEAD >/dev/null && version_suffix) || true
fi
export SOURCE_DATE_EPOCH IDS_VERSION_SUFFIX
