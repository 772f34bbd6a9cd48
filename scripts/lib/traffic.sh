# shellcheck shell=bash
# Makes the network that rules.nft filters, all of it on the loopback interface, and sends one packet a second that a
# rule drops. An event ID that is reported twice within a second would have to wait its turn.

set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")

# The unit has one address for each neighbour, so that the address sent to decides who the sender is.
readonly from_peer=fd53:1d5::1 from_stranger=fd53:1d5::2 from_nowhere=fd53:1d5::3

make_network() {
    ip link set lo up && ip -6 -batch - <<END && nft --file "$here/rules.nft"
addr add fd53:1d5::10/128 dev lo nodad
addr add fd53:1d5::66/128 dev lo nodad
addr add 2001:db8::bad/128 dev lo nodad
route add local $from_peer/128 dev lo src fd53:1d5::10
route add local $from_stranger/128 dev lo src fd53:1d5::66
route add local $from_nowhere/128 dev lo src 2001:db8::bad
END
}

# <address> <port>
send_udp() {
    echo demo >"/dev/udp/$1/$2"
    sleep 1
}

# <address> <port>; given up before the kernel repeats what was dropped.
send_tcp() {
    timeout --foreground 0.5 bash -c ": >'/dev/tcp/$1/$2'" || sleep 0.5
}

if ! make_network; then
    echo "The packet filter is not to be had here, so nothing will be dropped." >&2
    exit 1
fi
while true; do
    send_udp $from_nowhere 30490
    send_tcp $from_peer 23
    send_udp $from_peer 161
    send_udp $from_stranger 30490
done
