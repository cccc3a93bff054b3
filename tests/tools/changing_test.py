"""Checks docs/changing-a-device.md: changing_test.py BIN DOCUMENT [--update].

The page is one session of a shell in a folder that holds the folder `network` with the documents that the
page shows first. A line "$ WORDS" in a block ```console is typed there, and what stands behind it, up to
the next one, is what it prints. BIN has the programs. A daemon logs to the file `log`. --update writes what
is printed into the document.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

from shown_output import as_shown, comparable

BLOCK = re.compile(r'^```console\n(.*?)^```$', re.M | re.S)
FILE = re.compile(r'^`([a-z]+\.json)`:\n\n```json\n(.*?)^```$', re.M | re.S)
MARK = 'the end of a command'


class Shell:
    """A shell in `place`, one command after the other."""

    def __init__(self, bin_folder, place):
        self.place = place
        environment = dict(os.environ, PATH='%s:%s' % (bin_folder, os.environ['PATH']), HOME=place,
                           LC_ALL='C')
        for name in ('STATE_DIRECTORY', 'XDG_STATE_HOME'):
            environment.pop(name, None)
        self.process = subprocess.Popen(['bash', '--norc'], cwd=place, env=environment,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)

    def run(self, command):
        if command.endswith('&'):  # a daemon, which is there when its socket takes a client
            command = ('%s 2>log >&2 &\n'
                       'for i in {1..300}; do vantacorectl --socket socket help >/dev/null 2>&1 && break; '
                       'sleep 0.1; done' % command[:-1].strip())
        else:
            command = '{ %s\n} 2>&1' % command
            if 'kill ' in command:  # whoever types the next command finds the daemon gone
                command += '\nwait $!'
        self.process.stdin.write(('%s\nstatus=$?\necho "%s"\n(exit $status)\n'
                                  % (command, MARK)).encode())
        self.process.stdin.flush()
        lines = []
        while True:
            line = self.process.stdout.readline().decode()
            if not line:
                sys.exit('The shell has ended after: ' + command)
            if line.startswith(MARK):
                return ''.join(lines)
            lines.append(line)

    def end(self):
        self.process.stdin.write(b'kill -9 $(jobs -p); wait\n')
        self.process.stdin.close()
        self.process.wait(timeout=30)


def main():
    bin_folder, document = sys.argv[1:3]
    update = sys.argv[3:] == ['--update']
    path = pathlib.Path(document)
    text = path.read_text(encoding='utf-8')
    errors = []
    count = 0
    with tempfile.TemporaryDirectory() as folder:
        place = os.path.realpath(folder)
        os.mkdir(os.path.join(place, 'network'))
        for name, content in FILE.findall(text):
            pathlib.Path(place, 'network', name).write_text(content, encoding='utf-8')
            # A file that has changed in the last two seconds is read again in any case.
            os.utime(os.path.join(place, 'network', name), (time.time() - 60, time.time() - 60))
        shell = Shell(os.path.abspath(bin_folder), place)

        def check(match):
            nonlocal count
            parts = re.split(r'^\$ (.*)\n', match.group(1), flags=re.M)
            commands, wanted = parts[1::2], parts[2::2]
            if parts[0] or not commands:
                errors.append('A block does not begin with a command:\n' + match.group(1))
            block = ''
            for command, says in zip(commands, wanted):
                prints = as_shown(shell.run(command)).strip('\n')
                count += 1
                if comparable(says) != comparable(prints):
                    errors.append('$ %s\nThe document says:\n%s\nIt prints:\n%s\n'
                                  % (command, says, prints))
                block += '$ %s\n%s' % (command, prints and prints + '\n')
            return '```console\n%s```' % block

        updated = BLOCK.sub(check, text)
        shell.end()
    if update:
        path.write_text(updated, encoding='utf-8')
        return
    if count == 0 or 'json' not in text:
        errors.append('The document shows no commands.')
    print('\n'.join(errors + ['%d commands, %d errors' % (count, len(errors))]))
    sys.exit(1 if errors else 0)


main()
