"""What the benchmarks of whole programs share: the daemon and BIRD 2 as processes, the configurations that
both read, and the texts of figures. BIRD runs in a folder of its own, in the foreground and without a
protocol of the kernel: it changes nothing of this machine. When root calls, BIRD runs as nobody. Only
tools/bench-kernel, in a network namespace of its own, gives it that protocol and lets it be root."""

import contextlib
import ctypes
import json
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
VLAN = 10
MANY_VLANS = 4094
GATEWAY, CHANGED_GATEWAY = "10.0.0.2", "10.0.0.3"
VIA_LOOPBACK = 'via "lo"'
MOST_ROUTES = 1 << 22  # from 100.0.0.0/24 on, all different
ROUTES_A_DOCUMENT = 200_000  # 23 MB
WAITING_MEASURED = 1  # seconds
NOBODY = 65534
PATIENCE = 300  # seconds that any one step may take


class Failure(Exception):
    """Something could not be measured."""


class Lacking(Exception):
    """This daemon does not know a command that a row needs."""


def say(text):
    print(text, file=sys.stderr, flush=True)


def wait_until(condition, problem, pause=0.01):
    deadline = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > deadline:
            raise Failure(problem)
        time.sleep(pause)


# --- a process ------------------------------------------------------------------------------------

def processor_clock(pid):
    """The clock of a process: its threads' time, of those that have ended as well, in nanoseconds."""
    clock = ctypes.c_int()
    if ctypes.CDLL(None).clock_getcpuclockid(pid, ctypes.byref(clock)) != 0:
        raise Failure("the processor time of another process cannot be read")
    return clock.value


def count_wakeups(pid):
    """Of all threads of the process."""
    count = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/status", encoding="ascii") as file:
            count += sum(int(line.split()[1]) for line in file
                         if line.startswith("voluntary_ctxt_switches:"))
    return count


class Process:
    def __init__(self, command, **options):
        self.process = subprocess.Popen(command, **options)
        self.clock = processor_clock(self.process.pid)

    def seconds(self):
        return time.clock_gettime(self.clock)

    def memory(self, field):
        """VmRSS or VmHWM, in bytes."""
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as file:
            for line in file:
                if line.startswith(field + ":"):
                    return int(line.split()[1]) * 1024
        raise Failure("the process has ended")

    def close(self):
        self.process.terminate()
        self.process.wait(PATIENCE)


class Daemon(Process):
    """A vantacored that takes commands from a pipe: it carries out the next one when all is settled."""

    def __init__(self, options, folder, log_level=1, socket_path=None):
        """`options.tick_us` is the tick, None for one that follows the work."""
        self.last_log = time.monotonic()
        self.longest_turns = []  # seconds, one for each reload
        command = [daemon_program(options), "--config", folder, "--log", str(log_level)]
        if options.tick_us is not None:
            command += ["--tick-us", str(options.tick_us)]
        if socket_path is not None:
            command += ["--socket", socket_path, "--lab"]
        super().__init__(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE)
        self.log = threading.Thread(target=self._read_log, daemon=True)
        self.log.start()

    def _read_log(self):
        for line in self.process.stderr:
            if line.startswith(b"The longest turn of the event loop took "):
                self.longest_turns.append(int(line.split()[8]) * 1e-6)
            self.last_log = time.monotonic()

    def ask(self, command, last):
        """Yields the lines of its output, up to the one that begins with `last`."""
        self.process.stdin.write(command.encode() + b"\n")
        self.process.stdin.flush()
        for line in self.process.stdout:
            yield line
            if line.startswith(last):
                return
        raise Failure(f"vantacored has ended while it was asked '{command}'")

    def settle(self, _, pause=0.5):
        """The reply comes when things have settled, or after five seconds."""
        def is_pending():
            *_, last = self.ask("ip protocol pending-actions summary", b"Pending Item Buckets:")
            return last.split()[-1] != b"0"

        while is_pending():
            time.sleep(pause)

    def waiting(self):
        """The share of the processor that waiting alone takes."""
        begin = self.seconds()
        time.sleep(WAITING_MEASURED)
        return (self.seconds() - begin) / WAITING_MEASURED

    def reload(self):
        """Returns the processor time until all is done, without that of waiting."""
        waiting = self.waiting()
        begin, started = self.seconds(), time.monotonic()
        self.process.stdin.write(b"reload\n")
        self.settle(None)
        return self.seconds() - begin - waiting * (time.monotonic() - started)

    def take_longest_turn(self):
        """In seconds, since the start or the last call; None if the daemon does not tell it.

        One more reload, since a reload that a descriptor's turn carries out is told before that turn
        ends, and the turn counts with the next one. The log is read to its end before, because a line
        that finds too many others waiting is lost."""
        self._drain_log()
        self.reload()
        self._drain_log()
        longest = max(self.longest_turns, default=None)
        self.longest_turns.clear()
        return longest

    def _drain_log(self):
        wait_until(lambda: time.monotonic() - self.last_log > 0.2, "the log does not end")

    def routes(self):
        """The installed static routes, as the words of their lines."""
        lines = self.ask(f"ip protocol database vrf {VLAN}", b"End of table")
        return [words for words in map(bytes.split, lines)
                if words and words[0] == b">" and words[-1] == b"static"]

    def installed(self):
        return len(self.routes())

    def has_changed(self, prefix):
        return any(words[2:4] == [prefix.encode() + b"/24", CHANGED_GATEWAY.encode()]
                   for words in self.routes())

    def close(self):
        self.process.stdin.close()
        for _ in self.process.stdout:
            pass
        self.process.wait(PATIENCE)
        self.log.join(PATIENCE)


def await_socket(path):
    """Until somebody answers there: a socket is a moment older than that."""
    def answers():
        with socket.socket(socket.AF_UNIX) as client:
            return client.connect_ex(path) == 0

    wait_until(answers, "the daemon opens no socket", pause=0.001)


class Console:
    """A session at the daemon's socket, in the words of device/wire."""

    def __init__(self, path, receive_buffer=None):
        self.socket = socket.socket(socket.AF_UNIX)
        if receive_buffer is not None:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(PATIENCE)
        self.socket.connect(path)
        self.stream = self.socket.makefile("rb")
        self.socket.sendall(b"V 1\n")
        self._read_reply()

    def begin(self, command):
        self.socket.sendall(b"C " + command.encode() + b"\n")

    def ask(self, command):
        """(The reply's code, the lines of output.)"""
        self.begin(command)
        return self._read_reply()

    def _read_reply(self):
        output = []
        for line in self.stream:
            if line[:2] in (b"R ", b"Q "):
                return int(line.split()[1]), output
            if line[:2] in (b"O ", b"P "):
                output.append(line[2:].decode().rstrip("\n"))
        raise Failure("vantacored has closed a session")

    def close(self):
        self.stream.close()
        self.socket.close()


@contextlib.contextmanager
def running_daemon(options, folder):
    """A daemon with a socket outside its folder, and the socket's path."""
    with tempfile.TemporaryDirectory(prefix="vantacore-bench-") as place:
        path = os.path.join(place, "socket")
        with contextlib.closing(Daemon(options, folder, socket_path=path)) as daemon:
            yield daemon, path


def read_all(command):
    """Returns the seconds that a client takes, and its output."""
    begin = time.monotonic()
    client = subprocess.run(command, stdout=subprocess.PIPE, timeout=PATIENCE, check=True)
    return time.monotonic() - begin, client.stdout


def measure_table(command, rows):
    seconds, output = read_all(command)
    if output.count(b"\n") < rows:
        raise Failure(f"{command[0]} shows {output.count(bytes([10]))} lines instead of {rows}")
    return seconds


class Bird(Process):
    def __init__(self, folder, is_privileged=False):
        self.path = os.path.join(folder, "socket")
        is_nobody = os.geteuid() == 0 and not is_privileged
        as_nobody = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if is_nobody else {}
        if as_nobody:
            os.chown(folder, NOBODY, NOBODY)
        super().__init__([bird_program(), "-f", "-c", os.path.join(folder, "bird.conf"),
                          "-s", self.path, "-P", os.path.join(folder, "pid")],
                         stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                         stderr=subprocess.DEVNULL, **as_nobody)
        wait_until(self.has_socket, "BIRD opens no socket")

    def has_socket(self):
        if self.process.poll() is not None:
            raise Failure("BIRD does not run")
        with socket.socket(socket.AF_UNIX) as client:
            return client.connect_ex(self.path) == 0

    def ask(self, command):
        """The whole reply. Its last line has a code and a blank after it."""
        with socket.socket(socket.AF_UNIX) as client:
            client.settimeout(PATIENCE)
            client.connect(self.path)
            with client.makefile("rwb") as stream:
                stream.readline()  # the greeting
                stream.write(command.encode() + b"\n")
                stream.flush()
                reply = []
                for line in stream:
                    reply.append(line.decode())
                    if line[:4].isdigit() and line[4:5] == b" ":
                        return "".join(reply)
        raise Failure("BIRD has ended")

    def settle(self, routes):
        wait_until(lambda: self.installed() == routes, "BIRD does not install all routes")

    def reload(self):
        begin = self.seconds()
        reply = self.ask("configure")
        if "Reconfigur" not in reply:
            raise Failure("BIRD does not take its configuration: " + reply)
        wait_until(lambda: "up and running" in self.ask("show status"), "BIRD does not get ready")
        return self.seconds() - begin

    def installed(self):
        # "0007-100000 of 100000 routes for 100000 networks in table master4"
        return int(self.ask("show route table master4 count").split("-", 1)[-1].split()[0])

    def has_changed(self, prefix):
        return "blackhole" in self.ask(f"show route {prefix}/24")


def built_program(options, name):
    path = os.path.join(options.build, "bin", name)
    if not os.path.exists(path):
        raise Failure(f"there is no {path}; tools/build dev {name} builds it")
    return path


def daemon_program(options):
    return built_program(options, "vantacored")


def bird_program():
    # Where Debian puts it is not in everybody's path.
    return shutil.which("bird", path=os.environ.get("PATH", "") + ":/usr/sbin")


# --- what they read -------------------------------------------------------------------------------

def network(number):
    return f"{100 + (number >> 16)}.{number >> 8 & 255}.{number & 255}.0"


def write(path, text):
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


def write_device(folder, interfaces):
    write(os.path.join(folder, "device.json"),
          json.dumps({"default_vlan": VLAN, "interfaces": interfaces}))


def write_daemon_routes(folder, routes, changed=None):
    def entries(numbers):
        entry = {"vid": VLAN, "STATIC_ROUTES": {
            f"r{i:07}": {"interface": "eth0", "network": network(i), "netmask": "255.255.255.0",
                         "gateway": CHANGED_GATEWAY if i == changed else GATEWAY}
            for i in numbers}}
        return {"office": entry}

    write_device(folder, [{"name": "eth0", "vlan": VLAN, "index": 3, "ipv4": "10.0.0.1/8"}])
    write_documents(folder, routes, entries)


def write_bird_routes(folder, routes, changed=None):
    lines = [f"route {network(i)}/24 {'blackhole' if i == changed else VIA_LOOPBACK};"
             for i in range(routes)]
    write(os.path.join(folder, "bird.conf"),
          "router id 10.0.0.1;\nprotocol device {}\nprotocol static {\nipv4;\n"
          + "\n".join(lines) + "\n}\n")


def routes_entry(vid, interface, numbers, gateway):
    return {"vid": vid, "STATIC_ROUTES": {
        f"r{i:07}": {"interface": interface, "network": network(i), "netmask": "255.255.255.0",
                     "gateway": gateway} for i in numbers}}


def write_vlans(folder, entries):
    write(os.path.join(folder, "vlans.json"), json.dumps({"VLAN_CONFIGURATIONS": entries}))


def write_documents(folder, routes, entries):
    """`entries` gives the VLANs with routes of these numbers. A document must not be larger than 32 MiB, so the
    routes that do not fit into the VLAN document are in remote documents."""
    write_vlans(folder, entries(range(min(routes, ROUTES_A_DOCUMENT))))
    for begin in range(ROUTES_A_DOCUMENT, routes, ROUTES_A_DOCUMENT):
        os.makedirs(os.path.join(folder, "remote"), exist_ok=True)
        numbers = range(begin, min(routes, begin + ROUTES_A_DOCUMENT))
        write(os.path.join(folder, "remote", f"{begin:07}.json"),
              json.dumps({"VLAN_CONFIGURATIONS": entries(numbers)}))


def write_many_vlans(folder, routes):
    vids = range(1, MANY_VLANS + 1)
    subnet = {vid: f"10.{vid >> 8}.{vid & 255}." for vid in vids}

    def numbers_of(vid, numbers):
        return numbers[(vid - 1 - numbers.start) % MANY_VLANS::MANY_VLANS]

    def entries(numbers):
        return {f"v{vid}": routes_entry(vid, f"eth{vid}", numbers_of(vid, numbers), subnet[vid] + "2")
                for vid in vids}

    write(os.path.join(folder, "device.json"), json.dumps({"default_vlan": 1, "interfaces": [
        {"name": f"eth{vid}", "vlan": vid, "index": vid, "ipv4": subnet[vid] + "1/24"}
        for vid in vids]}))
    write_documents(folder, routes, entries)


# --- figures as text ----------------------------------------------------------------------------------

def show_bytes(value):
    return f"{value:.0f} B"


def show_megabytes(value):
    return f"{value / 1e6:.0f} MB"


def show_times(value):
    return f"{value:.2f} times"


def show_microseconds(value):
    return f"{value * 1e6:.2f} us"


def show_milliseconds(value):
    return f"{value * 1e3:.1f} ms"


def show_seconds(value):
    return f"{value:.2f} s"


def show_number(value):
    return f"{value:.1f}"


def show_tick(options):
    return "the default tick" if options.tick_us is None else f"a tick of {options.tick_us} us"


def print_rows(rows, daemon, bird):
    """`rows` are name, what, bar or None, as text; the others are figures by name, BIRD's perhaps none."""
    print(f"{'':<50}{'vantacored':>12}{'BIRD 2':>12}{'bar':>12}")
    for name, what, bar, text in rows:
        if name not in daemon:
            say(f"Not measured: {what}")
            continue
        other = text(bird[name]) if name in bird else "-" if bird else ""
        verdict = "" if bar is None else "  holds" if daemon[name] <= bar else "  missed"
        print(f"{what:<50}{text(daemon[name]):>12}{other:>12}"
              f"{text(bar) if bar is not None else '':>12}{verdict}")
