# shellcheck shell=bash
# Sourced by scripts that create the network filtered by rules.nft, all of it on the loopback interface.

# The unit has one address for each peer: the destination address determines the source address.
# shellcheck disable=SC2034
readonly from_peer=fd53:1d5::1 from_stranger=fd53:1d5::2 from_nowhere=fd53:1d5::3

make_network() {
    ip link set lo up && ip -6 -batch - <<END && nft --file "$(dirname "${BASH_SOURCE[0]}")/rules.nft"
addr add fd53:1d5::10/128 dev lo nodad
addr add fd53:1d5::66/128 dev lo nodad
addr add 2001:db8::bad/128 dev lo nodad
route add local $from_peer/128 dev lo src fd53:1d5::10
route add local $from_stranger/128 dev lo src fd53:1d5::66
route add local $from_nowhere/128 dev lo src 2001:db8::bad
END
}
