"""The unit under load while its peers die; scripts/soak describes it and checks the options."""

import argparse
import os
import random
import re
import signal
import sys
import time

import ledger
from loads import BUS, Addresses, Flood, Loggers, Program, V2xDomain

SCRIPTS = os.path.dirname(os.path.abspath(__file__))
SCENARIO = f"{SCRIPTS}/../../tools/unit-simulator/scenarios/drive.json"
TRACING = "CON_IDS_CORE=0,CON_IDS_SENSOR_ETH=1,CON_COMMON_RSTP=1,CON_PERSISTENCE_IMPL=0"
SERVICES = {
    "persistence", "asi.connectivity.al.NadInformationService.instance1",
    "asi.connectivity.al.NadMessagingServices.instance1", "asi.connectivity.configuration.QuorConfiguration.instance1",
    "asi.connectivity.diagnostic.DiagnosticDtcs.instance1", "asi.connectivity.networking.WlanService.instance1",
    "asi.navigation.gnss.Gnss.instance1", "asi.ooc.app.IOocApplication.instance1", "asi.ooc.app.IOocIds.instance1",
    "asi.servicediag.diag.instance1", "asi.servicediag.diag.instance2", "asi.time.TimeSync.instance1",
    "asi.someip.oru.services.idssecurityevent.v2.IDSSecurityEvent.instance1"}
CAR_RATE = "300"  # frames per second

WARM_UP = 15
GRACE = 2  # tolerance for a loaded machine
# Seconds until the daemon is connected to a restarted peer: it retries the bus and the car domain every 0.5 s, the
# latter after a pause of 0.5 s, and services after 1 s, or after 5 s without a bus.
PROMISED = {"core": 0.5, "simulator": 1, "car domain": 1, "bus": 5.5}
# Mapped files are excluded from the check of growth: their share depends on the other processes that map them.
GROWTH = {"PSS (KiB)": None, "PSS less files (KiB)": 1024, "descriptors": 0, "threads": 0}


def within(seconds, condition):
    """Waits for the condition; returns how long that took, or None."""
    start = time.monotonic()
    while not condition():
        if time.monotonic() - start > seconds:
            return None
        time.sleep(0.01)
    return time.monotonic() - start


class Soak:
    def __init__(self, build, seconds, seed, verbose):
        self.build, self.seconds, self.chance, self.verbose = build, seconds, random.Random(seed), verbose
        self.log, self.output, self.problems = ledger.DaemonLog(), ledger.CoreOutput(), []
        self.programs, self.lives = {}, dict.fromkeys(("daemon", *PROMISED), 0)
        self.at_work, self.survived = set(), dict.fromkeys(PROMISED, 0)
        self.away, self.slowest = dict.fromkeys(PROMISED, 0.0), dict.fromkeys(PROMISED, 0.0)
        self.frames, self.killed_cars, self.car_clients = {}, set(), 0
        self.cut_stretches, self.steps_played = set(), 0
        self.flood, self.v2x = Flood(seed), V2xDomain(ledger.V2X + 1)

    # The programs

    def start(self, name):
        self.lives[name] += 1
        self.programs[name] = getattr(self, "start_" + name.replace(" ", "_"))()

    def start_bus(self):
        return Program("dbus-daemon", f"--config-file={SCRIPTS}/bus.conf", f"--address={BUS}", "--nofork",
                       "--nopidfile")

    def start_daemon(self):
        return Program(f"{self.build}/IDS/src/idsProc", take=self.take_log, tracing=TRACING)

    def start_core(self):
        return Program(f"{self.build}/tools/ids-core-monitor/ids-core-monitor", "--json", take=self.output.take)

    def start_simulator(self):
        return Program(f"{self.build}/tools/unit-simulator/unit-simulator", "--scenario", SCENARIO,
                       "--persistence-file", "/tmp/settings.db", "--verbose", take=self.take_step)

    def start_car_domain(self):
        event_id = self.car_id()
        self.frames[event_id] = 0
        return Program(f"{self.build}/tools/rstp-peer/rstp-peer", "--generate", "--rate", CAR_RATE, "--size", "32",
                       "--id", f"0x{event_id:X}", "--verbose", take=lambda line: self.take_frame(event_id, line))

    def car_id(self):
        return ledger.CAR + self.lives["car domain"]

    def take_log(self, line):
        self.log.take(line)
        if self.verbose:
            print(line, file=sys.stderr)

    def take_step(self, line):
        self.steps_played += not line.startswith("unit-simulator: v2x-event")

    def take_frame(self, event_id, line):
        self.car_clients += line.endswith("client connected")
        if line.startswith("rstp-peer: sent "):
            self.frames[event_id] += 1
        elif summary := re.match(r"rstp-peer: frames: (\d+) sent", line):
            self.frames[event_id] = int(summary[1])

    # Death and restart

    def catch_up(self):
        """Waits for the events in flight, so that a kill catches only those sent just now, and not delayed ones."""
        car, stretch, arrived = self.car_id(), self.v2x.event_id, self.log.arrived
        frames, typed = self.frames[car], self.v2x.sent[stretch]
        handed, printed = len(self.log.spans[-1].handed), self.output.spans[-1]
        goals = lambda: arrived[car] >= frames and arrived[stretch] >= typed and len(printed) >= handed
        if within(GRACE, goals) is None:
            self.problems.append(f"still in flight after {GRACE} s: {arrived[car]} of {frames} frames, "
                                 f"{arrived[stretch]} of {typed} V2X events, {len(printed)} of {handed} at the core")

    def lose(self, name):
        self.catch_up()
        if name in ("core", "bus"):
            self.log.spans[-1].cut = True
        if name in ("simulator", "bus"):
            self.v2x.pause()
            self.cut_stretches.add(self.v2x.event_id)
        if name == "car domain":
            self.killed_cars.add(self.car_id())
        self.programs[name].end(signal.SIGKILL)
        if name in ("simulator", "bus"):
            self.log.services.clear()

    def bring_back(self, name):
        connections, clients = len(self.log.spans), self.car_clients
        is_back = {
            "core": lambda: len(self.log.spans) == len(self.output.spans) == connections + 1,
            "simulator": lambda: self.log.services == SERVICES,
            "car domain": lambda: self.car_clients == clients + 1,
            "bus": lambda: is_back["core"]() and is_back["simulator"]()}
        self.start(name)
        took = within(PROMISED[name] + GRACE, is_back[name])
        if took is None:
            self.problems.append(f"the {name} was not connected to the daemon again within {PROMISED[name]} + {GRACE} s")
        else:
            self.at_work |= {name, "core", "simulator"} if name == "bus" else {name}
        self.slowest[name] = max(self.slowest[name], took or 0)
        if name in ("simulator", "bus"):
            self.resume_v2x()

    def resume_v2x(self):
        """The V2X domain resumes when one of its probes has arrived: from then on no event may be lost."""
        simulator, probes = self.programs["simulator"], self.log.arrived[ledger.PROBE]

        def is_heard():
            V2xDomain.type(simulator, ledger.PROBE, 0)
            return within(0.2, lambda: self.log.arrived[ledger.PROBE] > probes) is not None

        if within(GRACE, is_heard) is None:
            self.problems.append("the V2X domain no longer reaches the daemon")
        self.v2x.begin(simulator)

    def kill(self, name, absence):
        """A death counts as survived only if the victim worked until then."""
        start = time.monotonic()
        if not self.programs[name].is_alive():
            self.problems.append(f"the {name} had ended by itself")
            self.at_work.discard(name)
        self.survived[name] += name in self.at_work
        self.at_work -= {name, "core", "simulator"} if name == "bus" else {name}
        self.lose(name)
        time.sleep(absence)
        self.bring_back(name)
        self.away[name] += time.monotonic() - start

    # The run

    def run(self):
        start = time.monotonic()
        self.set_up()
        for name in PROMISED:  # the daemon allocates some resources at their first use
            self.kill(name, 0)
        time.sleep(max(0, start + WARM_UP - time.monotonic()))
        before = self.read_sizes()
        self.storm(start + self.seconds)
        self.settle()
        after = self.read_sizes()
        self.drain()
        self.judge(before, after)
        self.report(before, after)

    def set_up(self):
        self.start("bus")
        within(5, lambda: os.path.exists("/tmp/bus"))
        self.programs["busy"] = Program("bash", f"{SCRIPTS}/busy.sh")
        for name in ("daemon", "simulator", "car domain", "core"):
            self.start(name)
        if within(10, self.is_complete) is None:
            sys.exit("soak: the daemon does not connect to all its peers")
        self.at_work = set(PROMISED)
        time.sleep(1)  # until the packet filter's log has answered
        self.resume_v2x()
        self.loggers = Loggers()
        self.loads = [self.flood, self.v2x, self.loggers, Addresses()]
        for load in self.loads:
            load.start()

    def is_complete(self):
        return self.log.services == SERVICES and self.car_clients > 0 and self.log.asks_for_packets

    def is_alive(self):
        return self.programs["daemon"].is_alive()

    def storm(self, end):
        """Kills one peer after the other, every 4 to 8 s, until the end."""
        while self.is_alive():
            name, pause, absence = (self.chance.choice(list(PROMISED)), self.chance.uniform(4, 8),
                                    self.chance.uniform(0.2, 3))
            due = time.monotonic() + pause
            if due > end:
                break
            self.kill(name, absence)
            print(f"soak: killed the {name} for {absence:.1f} s", file=sys.stderr, flush=True)
            time.sleep(max(0, due - time.monotonic()))
        time.sleep(max(0, end - time.monotonic()) if self.is_alive() else 0)

    def settle(self):
        """Waits until the daemon has counted a period without a packet: then it has counted all packets."""
        for load in self.loads:
            load.stop()
        counted = len(self.log.packets)
        if within(25, lambda: 0 in self.log.packets[counted:] or not self.is_alive()) is None:
            self.problems.append("the daemon counts no period without a packet: it hangs, or counts others' packets")

    def drain(self):
        """Waits until all programs have read their input."""
        self.programs["car domain"].end(signal.SIGTERM)
        arrived, stretch = self.log.arrived, self.v2x.event_id
        within(5, lambda: all(arrived[one] >= count for one, count in self.sent_by_car().items()))
        within(5, lambda: arrived[stretch] >= self.v2x.sent[stretch])
        self.log.frozen = True
        handed, printed = self.log.spans[-1].handed, self.output.spans[-1]
        within(5, lambda: len(printed) >= len(handed))
        del printed[len(handed):]

    def sent_by_car(self):
        """A killed peer may have sent a frame without printing it."""
        arrived = self.log.arrived
        return {one: count + (one in self.killed_cars and arrived[one] == count + 1)
                for one, count in self.frames.items()}

    def read_sizes(self):
        folder = f"/proc/{self.programs['daemon'].process.pid}"
        with self.loggers.lock:  # no client connects or disconnects meanwhile
            time.sleep(0.5)
            try:
                with open(f"{folder}/smaps_rollup", encoding="ascii") as rollup:
                    sizes = {name: int(size) for name, size in re.findall(r"(\w+):\s+(\d+) kB", rollup.read())}
                counts = [len(os.listdir(f"{folder}/{what}")) for what in ("fd", "task")]
                return dict(zip(GROWTH, (sizes["Pss"], sizes["Pss"] - sizes["Pss_File"], *counts)))
            except (OSError, KeyError):
                return dict.fromkeys(GROWTH, 0)  # the daemon is dead, which is_alive detects

    # The end

    def judge(self, before, after):
        self.problems += [f"{what} grew from {before[what]} to {after[what]}" for what, most in GROWTH.items()
                          if most is not None and after[what] > before[what] + most]
        self.problems += self.log.trouble + [load.failure for load in self.loads if load.failure]
        daemon = self.programs["daemon"]
        if not daemon.is_alive():
            self.problems.append(f"the daemon died, status {daemon.process.returncode}")
        elif (status := daemon.end(signal.SIGTERM)) != 0:
            self.problems.append(f"the daemon ended with status {status}" if status else "the daemon hung at its end")

    def report(self, before, after):
        accounts = ledger.Ledger(self.log, self.output)
        rows = [accounts.packets(self.flood.sent),
                accounts.numbered("car domain, raw", self.sent_by_car(), set()),
                accounts.numbered("V2X, raw", self.v2x.sent, self.cut_stretches),
                accounts.own("drop events, handed over", lambda one: one in ledger.DROPS),
                accounts.own("other events, handed over", ledger.is_other)]
        self.problems += [f"{row.source}: {row.otherwise} lost otherwise" for row in rows if row.otherwise]
        self.problems += accounts.disagreements()
        print_table(("", "in", "out", "lost by rule", "lost otherwise"), rows)
        print_table(("", "at start", "at end"), [(what, before[what], after[what]) for what in GROWTH])
        print_table(("", "survived", "away", "slowest return"),
                    [(name, self.survived[name], f"{self.away[name]:.1f} s", f"{self.slowest[name]:.2f} s")
                     for name in PROMISED])
        print("steps of the unit played:", self.steps_played)
        for problem in self.problems[:20]:
            print("FAILED:", problem)


def print_table(head, rows):
    for first, *others in (head, *rows):
        print(f"{first:26}" + "".join(f"{one:>16}" for one in others))
    print()


def main():
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--build")
    parser.add_argument("--for", dest="seconds", type=int, default=120)
    parser.add_argument("--seed", type=int, default=random.randrange(10**6))
    parser.add_argument("--verbose", action="store_true")
    options = parser.parse_args()
    print(f"seed {options.seed}", flush=True)
    soak = Soak(options.build, options.seconds, options.seed, options.verbose)
    try:
        soak.run()
    except KeyboardInterrupt:
        sys.exit(130)
    sys.exit(1 if soak.problems else 0)


if __name__ == "__main__":
    main()
