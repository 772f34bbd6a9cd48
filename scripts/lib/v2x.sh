# shellcheck shell=bash
# Plays the V2X domain: sends an event 0xE903 to the daemon's connector service every 10 s, with a running number in
# bytes 7 to 10 of the context data.

set -euo pipefail
readonly service=asi.connectivity.ids.ViIdsmConnector

# The four bytes of an integer.
word() {
    echo $(($1 >> 24 & 255)) $(($1 >> 16 & 255)) $(($1 >> 8 & 255)) $(($1 & 255))
}

# event <number>: frame header, timestamp (nanoseconds within the second, seconds), 26 bytes of context data.
event() {
    echo 0x13 0x0C 0xC0 0xE9 0x03 0 1 0
    echo 0 0 0 0 && word "$EPOCHSECONDS"
    echo 0x80 0 23 0 0 0 1 && word "$1" && echo 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0
}

for ((number = 0; ; ++number)); do
    sleep 10
    mapfile -t bytes < <(event "$number" | tr ' ' '\n')
    busctl --address="$DBUS_SYSTEM_BUS_ADDRESS" call $service.instance1 /${service//.//}/1 $service sendEvent ayu \
        ${#bytes[@]} "${bytes[@]}" ${#bytes[@]} || echo "The V2X domain cannot reach the daemon." >&2
done
