"""Checks docs/console.md against the daemon: console_test.py DAEMON DOCUMENT EXAMPLE REPLIES [--update].

A block ```console is one run of the daemon with the configuration folder EXAMPLE. A line "$ WORDS" in it
is a command, and what stands behind it, up to the next one, is what the command prints. The table of
replies must be that of the header REPLIES. --update writes what the daemon prints into the document.
"""

import re
import subprocess
import sys
import tempfile

from shown_output import as_shown, comparable

BLOCK = re.compile(r'^```console\n(.*?)^```$', re.M | re.S)
REPLY = re.compile(r'^\| (\d+) \| ([a-z ]+) \|', re.M)


def run(daemon, example, commands):
    """What each command prints. Words that nobody understands mark where the next one begins."""
    marks = ['mark%d' % number for number in range(len(commands))]
    lines = [line for pair in zip(commands, marks) for line in pair]
    with tempfile.TemporaryDirectory() as state:
        result = subprocess.run([daemon, '--config', example, '--state', state, '--tick-us', '100'],
                                input='\n'.join(lines + ['']).encode(),
                                stdout=subprocess.PIPE, timeout=60)
    text = result.stdout.decode()
    outputs = []
    for mark in marks:
        output, found, text = text.partition('"%s" is unknown.' % mark)
        if not found:
            sys.exit('The daemon (exit status %d) ended before %s: %s'
                     % (result.returncode, mark, output))
        outputs.append(output)
        text = text.partition('\n')[2]
    if result.returncode != 2 or text:
        sys.exit('The daemon (exit status %d) prints after its end: %s' % (result.returncode, text))
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
