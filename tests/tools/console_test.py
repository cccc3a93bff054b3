"""Checks docs/console.md against the daemon: console_test.py DAEMON DOCUMENT EXAMPLE REPLIES [--update].

A block ```console is one run of the daemon with the configuration folder EXAMPLE. A line "$ WORDS" in it
is a command, and what stands after it, up to the next one, is what the command prints. A block that begins with
`watch` has a second session: `watch` runs in one, and all other commands of the block in the other. The table of
replies must be that of the header REPLIES. --update writes what the daemon prints into the document.
"""

import os
import re
import subprocess
import sys
import tempfile
import time

from shown_output import as_shown, comparable

BLOCK = re.compile(r'^```console\n(.*?)^```$', re.M | re.S)
REPLY = re.compile(r'^\| (\d+) \| ([a-z ]+) \|', re.M)


class Watcher:
    """A client that carries out one line, from before anything else happens to the end of the daemon."""

    def __init__(self, daemon, socket, line):
        deadline = time.monotonic() + 30
        while not os.path.exists(socket):
            if time.monotonic() > deadline:
                sys.exit('The daemon does not listen.')
            time.sleep(0.01)
        self.process = subprocess.Popen(
            [os.path.join(os.path.dirname(daemon), 'vantacorectl'), '--socket', socket],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.process.stdin.write(('version\n%s\n' % line).encode())
        self.process.stdin.flush()
        while b'console protocol' not in self.process.stdout.readline():  # the line after it comes next
            if self.process.poll() is not None:
                sys.exit('The client has ended.')
        time.sleep(0.2)

    def end(self):
        return self.process.communicate(timeout=30)[0].decode()


def run(daemon, example, commands):
    """What each command prints. Words that nobody understands mark where the next one begins."""
    watched = [command for command in commands[:1] if command.startswith('watch')]
    commands = commands[len(watched):]
    marks = ['mark%d' % number for number in range(len(commands))]
    lines = [line for pair in zip(commands, marks) for line in pair]
    with tempfile.TemporaryDirectory() as state:
        socket = os.path.join(state, 'socket')
        process = subprocess.Popen([daemon, '--config', example, '--state', state, '--tick-us', '100',
                                    '--socket', socket, '--lab'],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        watchers = [Watcher(daemon, socket, line) for line in watched]
        process.stdin.write('\n'.join(lines + ['']).encode())
        process.stdin.flush()
        text = ''
        while watchers and '"%s" is unknown.' % marks[-1] not in text:
            line = process.stdout.readline()
            if not line:
                sys.exit('The daemon has ended before %s: %s' % (marks[-1], text))
            text += line.decode()
        time.sleep(0.3 if watchers else 0)
        text += process.communicate(timeout=60)[0].decode()
        outputs = [watcher.end() for watcher in watchers]
    for mark in marks:
        output, found, text = text.partition('"%s" is unknown.' % mark)
        if not found:
            sys.exit('The daemon (exit status %d) ended before %s: %s'
                     % (process.returncode, mark, output))
        outputs.append(output)
        text = text.partition('\n')[2]
    if process.returncode != 2 or text:
        sys.exit('The daemon (exit status %d) prints after its end: %s' % (process.returncode, text))
    return outputs


def main():
    daemon, document, example, replies = sys.argv[1:5]
    update = sys.argv[5:] == ['--update']
    with open(document, encoding='utf-8') as file:
        text = file.read()
    errors = []
    count = 0

    def check(match):
        nonlocal count
        parts = re.split(r'^\$ (.*)\n', match.group(1), flags=re.M)
        commands, wanted = parts[1::2], parts[2::2]
        if parts[0] or not commands:
            errors.append('A block does not begin with a command:\n' + match.group(1))
            return match.group(0)
        outputs = run(daemon, example, commands)
        count += len(commands)
        for command, says, prints in zip(commands, wanted, outputs):
            if comparable(says) != comparable(prints):
                errors.append('$ %s\nThe document says:\n%s\nThe daemon prints:\n%s'
                              % (command, says, prints))
        bodies = ['\n'.join(line.rstrip() for line in as_shown(output).strip('\n').split('\n'))
                  for output in outputs]
        return '```console\n%s```' % ''.join('$ %s\n%s' % (command, body and body + '\n')
                                             for command, body in zip(commands, bodies))

    updated = BLOCK.sub(check, text)
    if update:
        with open(document, 'w', encoding='utf-8') as file:
            file.write(updated)
        return
    with open(replies, encoding='utf-8') as file:
        header = file.read()
    numbers = dict(re.findall(r'^  ([A-Z_]+) = (\d+),', header, re.M))
    names = dict(re.findall(r'\{Code::([A-Z_]+), "([^"]+)"\}', header))
    if sorted((numbers[key], name) for key, name in names.items()) != sorted(REPLY.findall(text)):
        errors.append('The table of replies is not that of ' + replies)
    if not count:
        errors.append('The document shows no commands.')
    print('\n'.join(errors + ['%d commands, %d errors' % (count, len(errors))]))
    sys.exit(1 if errors else 0)


main()
