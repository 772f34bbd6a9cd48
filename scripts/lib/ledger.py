"""Accounts for the events of a soak: what was sent to the daemon, what the cores received, and what was lost.

Three independent sources are compared: what the peers have sent, what the daemon has logged, and what the cores have
printed. A span is the time from one connection of a core to the next one. A span in which the soak kills the core or
the bus is cut; for the rules below it ends with the kill.

Handed over  The events that the daemon sends to a core that it believes alive. The core must print them in the same
             order. Only the end of a cut span may be missing, because it was lost with the core or the bus: by rule.
Refused      The events that the daemon would send without a core. Lost by rule, but only after the cut. The daemon's
             own events are not counted here: they wait in the dispatcher and are handed over later.
Car, V2X     Each life of the car domain, and each stretch of the V2X domain between two deaths of simulator or bus, has
             an event ID of its own, and its events are numbered from 0. The n-th event in the daemon's log must have
             number n. The peer's output is the number of sent events; a killed peer may have sent one more event than it
             has printed. V2X events are sent only while simulator and bus live; those that a kill catches before they
             reach the daemon are lost by rule.
Packets      Each sent packet is counted once in a 0x9711 event. The sum of the counts printed by the cores is the
             result. The log has the count of each period; a period is lost by rule if its event was refused or lost by
             rule.

Sent events less received events less those lost by rule are lost otherwise. This number must be zero, also not
negative. No comparison depends on a clock.
"""

import json
import re
from collections import Counter, namedtuple

Event = namedtuple("Event", "id value")
Row = namedtuple("Row", "source came left by_rule otherwise")

STATISTICS = 0x9711
DROPS = (0x000B, 0x000C, 0x000E, 0x9701, 0x9712)
CAR, V2X = 0xC100, 0xC200  # each with 255 IDs above
PROBE = V2X

HANDED = re.compile(r"CIdsCoreAsiServer::sendEvent\(\d+\): Send event with ID 0x([0-9A-F]+)")
REFUSED = re.compile(r"CIdsCoreAsiServer::sendEvent\(\d+\): Proxy not alive!")
PERIOD = re.compile(r"Timer expired\. Drop packet count: (\d+)")
SERVICE = re.compile(r"ASI (alive|dead) (\S+)")
LOSS = re.compile(r"went unseen|No buffer space|is lost|No memory|Out of memory| threw ")


def is_numbered(event_id):
    return CAR < event_id < CAR + 256 or V2X < event_id < V2X + 256


def is_other(event_id):
    return not is_numbered(event_id) and event_id not in (STATISTICS, PROBE, *DROPS)


class Span:
    def __init__(self):
        self.cut = False
        self.handed, self.refused = [], Counter()
        self.periods, self.refused_periods = [], []  # of the 0x9711 events


class DaemonLog:
    """Parses the daemon's log line by line."""

    def __init__(self):
        self.spans, self.packets = [Span()], []  # packets of each period
        self.arrived, self.services = Counter(), set()
        self.trouble, self.asks_for_packets, self.frozen = [], False, False

    def take(self, line):
        if self.frozen:
            return
        span = self.spans[-1]
        if match := HANDED.search(line):
            self._hand(span, int(match[1], 16))
        elif REFUSED.search(line):
            self._refuse(span)
        elif match := PERIOD.search(line):
            self.packets.append(int(match[1]))
        elif "CIdsCoreAsiServer::clientConnected" in line:
            self.spans.append(Span())
        elif match := SERVICE.search(line):
            (self.services.add if match[1] == "alive" else self.services.discard)(match[2])
        elif "Register NFLOG groups." in line:
            self.asks_for_packets = True
        elif "Persistence went alive" in line:
            self.services.add("persistence")
        elif LOSS.search(line):
            self.trouble.append(line)

    def _hand(self, span, event_id):
        value = None
        if event_id == STATISTICS:
            value = self.packets[-1] & 0xFFFF
            span.periods.append(len(self.packets) - 1)
        elif is_numbered(event_id):
            value = self.arrived[event_id]
        self.arrived[event_id] += 1
        span.handed.append(Event(event_id, value))

    def _refuse(self, span):
        event = span.handed.pop()
        if not span.cut:
            self.trouble.append(f"an event 0x{event.id:04X} was refused while a core was connected")
        span.refused[event.id] += 1
        if event.id == STATISTICS:
            span.refused_periods.append(span.periods.pop())


class CoreOutput:
    """Parses the output of the cores line by line."""

    def __init__(self):
        self.spans = [[]]  # printed events, by the same spans as in the daemon's log

    def take(self, line):
        if line.endswith("connected to the daemon"):
            self.spans.append([])
        elif line.startswith("{"):
            try:
                self.spans[-1].append(self._event(json.loads(line)))
            except json.JSONDecodeError:
                pass  # truncated by the kill

    @staticmethod
    def _event(printed):
        event_id, value = int(printed["id"], 16), None
        if event_id == STATISTICS:
            value = printed["fields"]["packetCount"]
        elif is_numbered(event_id):
            value = int(printed["contextData"][14:22], 16)
        return Event(event_id, value)


class Ledger:
    def __init__(self, log, core):
        self.spans = list(zip(log.spans, core.spans))
        self.log, self.core = log, core

    def disagreements(self):
        """Yields the differences between handed and printed events, including their order."""
        if len(self.log.spans) != len(self.core.spans):
            yield f"the daemon logs {len(self.log.spans) - 1} connections, the cores log {len(self.core.spans) - 1}"
        for number, (span, printed) in enumerate(self.spans):
            pairs = enumerate(zip(span.handed, printed))
            if first := next((f"{at}: {one} handed, {two} printed" for at, (one, two) in pairs if one != two), None):
                yield f"connection {number}, event {first}"
            elif len(printed) > len(span.handed):
                yield f"connection {number}: more events printed than handed over"

    def packets(self, sent):
        left = sum(event.value for span in self.core.spans for event in span if event.id == STATISTICS)
        delivered, missed = set(), set()
        for span, printed in self.spans:
            count = sum(event.id == STATISTICS for event in printed)
            delivered.update(span.periods[:count])
            if span.cut:
                missed.update(span.periods[count:], span.refused_periods)
        by_rule = sum(self.log.packets[period] for period in missed - delivered)
        return Row("packets dropped", sent, left, by_rule, sent - left - by_rule)

    def numbered(self, source, sent, died_on_the_way):
        """sent: number by event ID; died_on_the_way: the IDs of stretches whose last events a kill may have caught."""
        rows = [self._stretch(event_id, count, event_id in died_on_the_way) for event_id, count in sent.items()]
        return Row(source, *(sum(column) for column in zip(*rows)))

    def _stretch(self, event_id, sent, died_on_the_way):
        by_rule, got = 0, set()
        for span, printed in self.spans:
            numbers = [event.value for event in printed if event.id == event_id]
            got.update(numbers)
            if span.cut:
                gaps = numbers[-1] - numbers[0] + 1 - len(numbers) if numbers else 0
                tail = sum(event.id == event_id for event in span.handed) - len(numbers) - gaps
                by_rule += span.refused[event_id] + max(0, tail)
        if died_on_the_way:  # these are the last events of a stretch: an event before an arrived one was not caught
            by_rule += max(0, sent - max(self.log.arrived[event_id], max(got, default=-1) + 1))
        return sent, len(got), by_rule, sent - len(got) - by_rule

    def own(self, source, belongs):
        """The handed-over events of the daemon whose ID belongs to the row."""
        came = left = by_rule = 0
        for span, printed in self.spans:
            handed = sum(belongs(event.id) for event in span.handed)
            got = min(handed, sum(belongs(event.id) for event in printed))
            came, left = came + handed, left + got
            by_rule += handed - got if span.cut else 0
        return Row(source, came, left, by_rule, came - left - by_rule)
