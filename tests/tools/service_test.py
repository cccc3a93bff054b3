"""Checks the units' own command lines: service_test.py FOLDER DAEMON CLIENT.

FOLDER has vantacored.service and vantacored.socket. What they say is carried out, as a service manager does it, with
the folders of this machine replaced by scratch ones. DAEMON and CLIENT are the programs to run, each with
an emulator before it if it needs one. A device begins with an empty folder, is reloaded, refuses a folder
that is broken, ends, and begins again with what it has kept.
"""

import configparser
import os
import shlex
import signal
import socket
import subprocess
import sys
import tempfile
import time

FOLDER, DAEMON, CLIENT = sys.argv[1:4]
PATIENCE = 60  # seconds


def require(condition, problem):
    if not condition:
        sys.exit(problem)


def read_unit(name):
    """The settings of a unit by section and name; of one that stands twice, all."""
    unit = configparser.RawConfigParser(strict=False, delimiters=['='])
    unit.optionxform = str
    with open(os.path.join(FOLDER, name), encoding='utf-8') as file:
        unit.read_file(file)
    return unit


class Manager:
    """As much of a service manager as the units ask for, with the folders of a machine below `place`."""

    def __init__(self, place):
        self.place = place
        self.service, self.socket_unit = read_unit('vantacored.service'), read_unit('vantacored.socket')
        for kind, name in (('etc', 'ConfigurationDirectory'), ('var/lib', 'StateDirectory'),
                           ('run', 'RuntimeDirectory')):
            os.makedirs(os.path.join(place, kind, self.service['Service'][name]))
        self.notices = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.notices.bind(os.path.join(place, 'notices'))
        self.notices.settimeout(PATIENCE)
        self.console = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.console.bind(self.here(self.socket_unit['Socket']['ListenStream']))
        self.console.listen()
        self.process = None

    def here(self, text):
        """A path of a machine, below the place."""
        return self.place + text

    def command(self, name):
        program, *words = shlex.split(self.service['Service'][name])
        programs = {'vantacored': DAEMON, 'vantacorectl': CLIENT}
        return shlex.split(programs[os.path.basename(program)]) + [
            self.here(word) if word.startswith('/') else word for word in words]

    def start(self):
        fd = self.console.fileno()
        state = self.here('/var/lib/' + self.service['Service']['StateDirectory'])
        environment = {'PATH': os.environ['PATH'], 'HOME': '/', 'STATE_DIRECTORY': state,
                       'NOTIFY_SOCKET': os.path.join(self.place, 'notices'), 'LISTEN_FDS': '1',
                       'LISTEN_FDNAMES': self.socket_unit['Socket']['FileDescriptorName']}
        self.process = subprocess.Popen(
            ['sh', '-c', 'export LISTEN_PID=$$; exec "$@" 3<&%d' % fd, 'sh'] + self.command('ExecStart'),
            env=environment, pass_fds=[fd], cwd='/')
        self.await_line('READY=1')

    def await_line(self, line):
        deadline = time.monotonic() + PATIENCE
        heard = []
        while True:
            try:
                message = self.notices.recv(65536).decode().splitlines()
            except socket.timeout:
                message = []
            if line in message:
                return
            heard += message
            require(self.process.poll() is None, 'The daemon has ended; it had told %s' % heard)
            require(time.monotonic() < deadline, 'The daemon does not tell %s but %s' % (line, heard))

    def reload(self):
        """The status of what a reload of the unit runs."""
        ended = subprocess.run(self.command('ExecReload'), stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        print(ended.stdout.decode(), end='')
        self.await_line('RELOADING=1')
        self.await_line('READY=1')
        return ended.returncode

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.await_line('STOPPING=1')
        require(self.process.wait(PATIENCE) == 0, 'The daemon ended with %d' % self.process.returncode)
        require(os.path.exists(self.console.getsockname()), 'The daemon has removed a socket that is not its own.')

    def kill(self):
        if self.process is not None and self.process.poll() is None:
            self.process.kill()
            self.process.wait()


def run(manager):
    folder = manager.here('/etc/' + manager.service['Service']['ConfigurationDirectory'])
    manager.start()
    require(os.path.exists(manager.here('/run/vantacore/metrics')), 'There is no socket for counters.')
    require(manager.reload() == 0, 'The reload of an empty folder failed.')
    for name, text in (('device.json', '{"default_vlan": 1, "interfaces": []}'), ('vlans.json', '{"VLAN_CONFIGURATIONS": {}}')):
        with open(os.path.join(folder, name), 'w', encoding='utf-8') as file:
            file.write(text)
    require(manager.reload() == 0, 'The reload of a folder with documents failed.')
    with open(os.path.join(folder, 'vlans.json'), 'w', encoding='utf-8') as file:
        file.write('{')
    require(manager.reload() == 1, 'The reload of a broken folder did not fail with its status.')
    manager.stop()
    manager.start()
    manager.stop()


def main():
    with tempfile.TemporaryDirectory(prefix='vantacore-service-') as place:
        manager = Manager(place)
        try:
            run(manager)
        finally:
            manager.kill()
    print('The units start a device, reload it and stop it.')


main()
