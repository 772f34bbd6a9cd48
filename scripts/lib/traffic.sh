# shellcheck shell=bash
# Creates the network of the demo and sends one packet a second that a rule drops. The daemon delays the events of an ID
# that is reported twice within a second.

set -euo pipefail
# shellcheck source=scripts/lib/network.sh
source "$(dirname "${BASH_SOURCE[0]}")/network.sh"

# <address> <port>
send_udp() {
    echo demo >"/dev/udp/$1/$2"
    sleep 1
}

# <address> <port>; ends before the kernel retransmits the dropped packet.
send_tcp() {
    timeout --foreground 0.5 bash -c ": >'/dev/tcp/$1/$2'" || sleep 0.5
}

if ! make_network; then
    echo "demo: the packet filter is not available here, so nothing will be dropped" >&2
    exit 1
fi
while true; do
    send_udp $from_nowhere 30490
    send_tcp $from_peer 23
    send_udp $from_peer 161
    send_udp $from_stranger 30490
done
