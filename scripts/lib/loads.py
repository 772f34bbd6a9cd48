"""The programs and loads of a soak: processes whose output is read, and threads that generate load."""

import contextlib
import itertools
import os
import random
import socket
import subprocess
import threading
import time

BUS = "unix:path=/tmp/bus"
ENVIRONMENT = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=BUS)
DROPPED = (("fd53:1d5::1", 161), ("fd53:1d5::2", 30490), ("fd53:1d5::3", 30490))  # see network.sh and rules.nft
STEP = 0.01  # seconds
SECOND = 100  # steps


class Program:
    """A process that ends with the soak and whose output lines are passed to take. Must be created on the main thread,
    because the process is killed when the thread that created it ends."""

    def __init__(self, *command, take=lambda line: None, tracing=None):
        environment = ENVIRONMENT | ({"TRACING": tracing} if tracing else {})
        self.process = subprocess.Popen(
            ("setpriv", "--pdeathsig", "KILL", *command), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, env=environment, pipesize=1 << 20, text=True, errors="replace")
        self.reader = threading.Thread(target=self._read, args=(take,), daemon=True)
        self.reader.start()

    def _read(self, take):
        for line in self.process.stdout:
            take(line.rstrip("\n"))

    def type(self, line):
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.write(line + "\n")
            self.process.stdin.flush()

    def is_alive(self):
        return self.process.poll() is None

    def end(self, how):
        """Returns the exit status, or None on a timeout; the output has been read completely."""
        self.process.send_signal(how)
        try:
            return self.process.wait(5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return None
        finally:
            self.reader.join(5)


class Load(threading.Thread):
    """Runs a step every 10 ms until it is stopped. No step runs while another thread holds the lock."""

    def __init__(self):
        super().__init__(daemon=True)
        self.lock, self.going, self.failure = threading.Lock(), True, None

    def run(self):
        due = time.monotonic()
        for number in itertools.count():
            with self.lock:
                if not self.going:
                    return
                try:
                    self.step(number)
                except OSError as failure:
                    self.failure = f"{type(self).__name__}: {failure}"
                    return
            due = max(due + STEP, time.monotonic() - 10 * STEP)  # limits the burst after a delay
            time.sleep(max(0, due - time.monotonic()))

    def stop(self):
        self.going = False
        self.join()


class Flood(Load):
    """Sends packets that the packet filter drops, at a rate that changes every second. The rates respect the limit of a
    statistics event, 65535 packets in ten seconds."""

    RATES = (500, 5000)  # packets per second

    def __init__(self, seed):
        super().__init__()
        self.chance, self.rate, self.sent = random.Random(seed), 0, 0
        self.socket = socket.socket(socket.AF_INET6, socket.SOCK_DGRAM)

    def step(self, number):
        if number % SECOND == 0:
            self.rate = self.chance.randint(*self.RATES)
        for _ in range(self.rate // SECOND):
            self.socket.sendto(b"soak", DROPPED[self.sent % len(DROPPED)])
            self.sent += 1


class V2xDomain(Load):
    """Sends numbered events through a simulator, 50 per second; after each pause a new stretch with an ID of its own."""

    def __init__(self, first_id):
        super().__init__()
        self.simulator, self.event_id, self.sent = None, first_id - 1, {}

    def begin(self, simulator):
        with self.lock:
            self.simulator, self.event_id = simulator, self.event_id + 1
            self.sent[self.event_id] = 0

    def pause(self):
        with self.lock:
            self.simulator = None

    def step(self, number):
        if self.simulator and number % 2 == 0:
            self.type(self.simulator, self.event_id, self.sent[self.event_id])
            self.sent[self.event_id] += 1

    @staticmethod
    def type(simulator, event_id, number):
        """The number is in bytes 7 to 10 of the context data, as in rstp-peer."""
        simulator.type(f"v2x-event event=130c80{event_id:04x}000100{int(time.time()):016x}"
                       f"80001700000001{number:08x}{0:030x}")


class Loggers(Load):
    """Four clients of the daemon's logger socket; twice a second one of them disconnects and a new one connects."""

    def __init__(self):
        super().__init__()
        self.clients = [self._connect() for _ in range(4)]

    @staticmethod
    def _connect():
        client = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        client.settimeout(5)
        client.connect("/tmp/unix_socket")
        return client

    def step(self, number):
        if number % (SECOND // 2) == 0:
            self.clients.pop(0).close()
            self.clients.append(self._connect())
        self.clients[number % len(self.clients)].sendall(b"x" * 1000)


class Addresses(Load):
    """Adds and removes ten addresses of the unit, ten changes per second."""

    def __init__(self):
        super().__init__()
        self.ip = Program("ip", "-force", "-6", "-batch", "-")

    def step(self, number):
        turn, address = divmod(number // 10, 10)
        if number % 10 == 0:
            self.ip.type(f"addr {'del' if turn % 2 else 'add'} fd53:1d5:1::{address}/128 dev lo")
