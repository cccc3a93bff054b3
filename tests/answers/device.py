"""A daemon with a folder of its own, and clients that ask it."""

import contextlib
import ctypes
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

PATIENCE = 60  # seconds that any one step may take
LIBC = ctypes.CDLL(None)
PR_CAPBSET_DROP, CAP_NET_ADMIN = 24, 12


def leave_the_network_alone():
    """What this process executes may not change the machine's network, whoever calls it."""
    LIBC.prctl(PR_CAPBSET_DROP, CAP_NET_ADMIN, 0, 0, 0)


class Answer:
    def __init__(self, words, status, text, complaint):
        self.words = words
        self.status = status
        self.text = text  # bytes, since nothing is known of them
        self.complaint = complaint


class Device:
    def __init__(self, bin_folder, work, options):
        self.bin = pathlib.Path(bin_folder)
        self.folder = work / 'folder'
        self.socket = work / 'socket'
        self.log = work / 'log'
        has_state = '--partial' not in options
        self.options = [*options, *(['--state', str(work / 'state')] if has_state else [])]
        self.process = None

    def fill(self, device, entries):
        """Writes the documents of the folder."""
        self.folder.mkdir(exist_ok=True)
        (self.folder / 'device.json').write_text(json.dumps(device), encoding='utf-8')
        vlans = json.dumps({'VLAN_CONFIGURATIONS': entries})
        (self.folder / 'vlans.json').write_text(vlans, encoding='utf-8')

    def start(self):
        command = [str(self.bin / 'vantacored'), '--daemon', '--lab', '--config', str(self.folder),
                   '--socket', str(self.socket), *self.options]
        with open(self.log, 'wb') as log:
            self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL,
                                            stdout=subprocess.DEVNULL, stderr=log,
                                            preexec_fn=leave_the_network_alone)
        deadline = time.monotonic() + PATIENCE
        while self.ask('version').status != 0:
            if self.process.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError('The daemon does not answer: ' + self.read_log())
            time.sleep(0.02)

    def read_log(self):
        return self.log.read_text(encoding='utf-8', errors='replace')

    def client(self, words, *options):
        return [str(self.bin / 'vantacorectl'), '--socket', str(self.socket),
                '--timeout', str(PATIENCE), *options, *words.split()]

    def ask(self, words, *options):
        result = subprocess.run(self.client(words, *options), stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                timeout=2 * PATIENCE)
        return Answer(words, result.returncode, result.stdout, result.stderr.decode())

    def do(self, words):
        """What the test needs to have been done."""
        answer = self.ask(words)
        if answer.status not in (0, 5):
            raise RuntimeError('%s: status %d, %r' % (words, answer.status, answer.text))

    def stop(self):
        self.process.terminate()
        if self.process.wait(PATIENCE) != 0:
            raise RuntimeError('The daemon ended with %d: %s'
                               % (self.process.returncode, self.read_log()))


@contextlib.contextmanager
def running(bin_folder, fill, *options):
    """A device whose folder `fill` has filled. With `--partial` it keeps no revisions."""
    with tempfile.TemporaryDirectory() as work:
        device = Device(bin_folder, pathlib.Path(work), options)
        fill(device)
        try:
            device.start()
            yield device
        except BaseException:
            print(device.read_log(), file=sys.stderr)
            device.process.kill()
            device.process.wait()
            raise
        device.stop()


def like(folder):
    """Fills with the documents of another folder."""
    return lambda device: shutil.copytree(folder, device.folder, dirs_exist_ok=True)
