# shellcheck shell=bash
# usage: private-tmp.sh FOLDER...
#
# Holds a mount namespace of its own with an empty /tmp until it is killed. Daemon and car domain use sockets with fixed
# names in /tmp, which two concurrent runs would otherwise share. The folders keep their paths; the file "private" in the
# first one is created when the namespace can be entered.

set -euo pipefail
# shellcheck source=scripts/lib/namespaces.sh
source "$(dirname "${BASH_SOURCE[0]}")/namespaces.sh"
private_tmp "$@"
touch "$1/private"
exec sleep infinity
