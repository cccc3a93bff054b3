"""Checks that what tells of the console's words tells the same: words_test.py BIN ROOT.

What `help` lists is the grammar's own. It is compared with the completion and the help in mid-line of a daemon, with
the man pages, and with docs/console.md; the options of the two programs, which they list themselves, with their man
pages and with that document. BIN has the programs.
"""

import os
import pathlib
import re
import shlex
import socket
import subprocess
import sys
import tempfile
import time

BIN, ROOT = sys.argv[1], pathlib.Path(sys.argv[2])
# Words whose further words are for others to understand; and how the page of the client names places.
LISTS = {'ip', 'ip6', 'rtm', 'lab', 'show'}
PLACES = {'vid': 'VID', 'address': 'ADDRESS', 'gateway': 'ADDRESS', 'prefix': 'PREFIX', 'protocol': 'NAME',
          'interface': 'NAME', 'revision': 'REVISION', 'seconds': 'SECONDS',
          'changes-back': 'CHANGES-BACK', 'level': 'N', 'component': 'library|stack|host'}
EXAMPLES = {'PREFIX': '10.9.0.0/16', 'ADDRESS': '10.9.1.1', 'VID': '10', 'NAME': 'static', 'N': '1'}
# The page tells of these in its text.
IN_TEXT = {'help', 'show'}
# What a session says of itself: the words that end it, and the one that asks.
UNLISTED = {'exit', '?'}

problems = []


def expect_equal(what, found, wanted):
    if found != wanted:
        problems.append('%s: %s\n    instead of: %s' % (what, found, wanted))


def forms(text):
    """The patterns that `help` lists, by their first words. A long one has lines of its own."""
    found = {}
    lines = text.splitlines()
    while lines:
        line, more = lines.pop(0), []
        while lines and lines[0].startswith(' ' * 6):
            more.append(lines.pop(0))
        pattern = ' '.join(part.strip() for part in [line] + more[:-1]) if more else line[:38].strip()
        found[pattern.split()[0]] = pattern
    return found


def top_level(pattern):
    """The words after the first one, where those of a bracket stand together."""
    parts, depth = [], 0
    for word in pattern.split()[1:]:
        if depth:
            parts[-1] += ' ' + word
        else:
            parts.append(word)
        depth += word.count('[') - word.count(']')
    return parts


def possible(pattern):
    """What may follow the first word of a form: words, and places in their brackets. Braces are for
    what is needed in any place."""
    found = set()
    for part in top_level(pattern):
        found.update(part.split()[0].strip('[]{}').split('|'))
        if part[0] not in '[{':
            break
    return found


class Session:
    """The protocol of a client, as far as it asks for words and for help."""

    def __init__(self, path):
        deadline = time.monotonic() + 30
        while True:
            try:
                self.socket = socket.socket(socket.AF_UNIX)
                self.socket.connect(path)
                break
            except OSError:
                if time.monotonic() > deadline:
                    sys.exit('The daemon does not listen.')
                time.sleep(0.01)
        self.file = self.socket.makefile('rw', encoding='utf-8', newline='\n')
        self.ask('V 3')

    def ask(self, line):
        """The lines of output up to the reply."""
        self.file.write(line + '\n')
        self.file.flush()
        output = []
        for message in self.file:
            if message[0] in 'RQ':
                return output
            if message[0] == 'O':
                output.append(message[2:].rstrip('\n'))
        sys.exit('The daemon has hung up.')


def judge_session(session):
    help_text = '\n'.join(session.ask('C help'))
    listed = forms(help_text)
    expect_equal('completion of nothing', set(session.ask('W ')), set(listed) | UNLISTED)
    expect_equal('help before a line', {line.split()[0] for line in session.ask('H ')}, set(listed) | UNLISTED)
    for first, pattern in listed.items():
        if first in LISTS:
            continue
        wanted = possible(pattern)
        helped = {line.split()[0] for line in session.ask('H %s ' % first)}
        expect_equal('help after ' + first, helped, wanted)
        words = {word for word in wanted if not word.startswith('<')}
        completed = set(session.ask('W %s ' % first))
        if not words <= completed:
            problems.append('completion after %s: %s without %s' % (first, completed, words - completed))
        values = completed - words
        if values and (len(words) == len(wanted) or not all(re.search(r'\d', value) for value in values)):
            problems.append('completion after %s: also %s' % (first, values))
        for word in completed - {'all'}:
            answer = session.ask('C %s %s ?' % (first, word))
            said = answer[0].replace('\\', '') if answer else ''  # in JSON if the words ask for that
            if 'is understood' in said and '"?"' not in said:
                problems.append('%s %s is offered: %s' % (first, word, answer[0]))
    return listed


def page(name):
    return (ROOT / 'docs/man' / name).read_text(encoding='utf-8')


def plain(line):
    """A line of a man page that is set in several fonts, as it is shown."""
    words = shlex.split(line.replace('\\-', '-').replace('\\fI', '').replace('\\fP', ''), posix=True)
    return ('' if words[0] in ('.BR', '.BI', '.RB', '.BI') else ' ').join(words[1:])


def entries(section):
    """The heads of the entries of a section."""
    lines = section.splitlines()
    return [plain(line) for before, line in zip(lines, lines[1:])
            if before in ('.TP', '.TQ') and line.startswith('.B')]


def section_of(text, name):
    return re.search(r'^\.SH %s\n(.*?)(?=^\.SH |\Z)' % name, text, re.M | re.S).group(1)


def judge_page(listed):
    text = section_of(page('vantacorectl.1'), 'COMMANDS')
    heads = {}
    for head in entries(text):
        for part in head.split(', '):
            heads[part.split()[0]] = part
    expect_equal('words of vantacorectl.1', set(heads) | IN_TEXT, set(listed) | {'exit'})
    for word in IN_TEXT:
        if '.B %s\n' % word not in text:
            problems.append('vantacorectl.1 does not tell of ' + word)
    for first, pattern in listed.items():
        if first in LISTS | IN_TEXT or heads.get(first) == 'route6 [...]':
            continue
        shown = re.sub(r'<([^>]*)>', lambda match: PLACES[match.group(1)], re.sub('[{}]', '', pattern))
        expect_equal('vantacorectl.1', heads.get(first), shown)
    if top_level(listed['route6']) != top_level(listed['route']):
        problems.append('route6 has other options than route')


def judge_options(program):
    said = subprocess.run([os.path.join(BIN, program), '--help'], stdout=subprocess.PIPE, check=True)
    said = set(re.findall(r'^  (--[a-z-]+)', said.stdout.decode(), re.M))
    told = {re.match(r'--[a-z-]+', head).group() for head in entries(section_of(page(program + '.1'), 'OPTIONS'))}
    expect_equal('options of %s.1' % program, told, said)
    version = subprocess.run([os.path.join(BIN, program), '--version'], stdout=subprocess.PIPE, check=True)
    if '"vantacore %s"' % version.stdout.decode().split()[1] not in page(program + '.1').splitlines()[0]:
        problems.append('%s.1 is of another version' % program)
    return said


def table_of(text, head):
    """The first column of the table under this heading line, in which `X` is code."""
    rows = re.search(r'^%s\n\|[-|]*\n((?:\|.*\n)+)' % re.escape(head), text, re.M).group(1)
    return [re.match(r'\| (.*?) \|', row).group(1) for row in rows.splitlines()]


def judge_document(listed, options, session):
    text = (ROOT / 'docs/console.md').read_text(encoding='utf-8')
    typed = {line.split()[0] for line in re.findall(r'^\$ (.*)$', text, re.M)}
    for first in set(listed) - {'quit'} - typed:
        problems.append('console.md shows no ' + first)
    cells = ' '.join(table_of(text, '| option | which rows |')).replace('`', '').replace(',', '').split()
    wanted = set(re.findall(r'\w+', re.sub(r'<[^>]*>', '', listed['route']))) - {'route'}
    expect_equal('options of a route in console.md', {word for word in cells if word.islower()}, wanted)
    cells = ' '.join(table_of(text, '| option of `vantacorectl` | |'))
    expect_equal('options of the client in console.md', set(re.findall(r'--[a-z-]+', cells)),
                 options - {'--socket', '--help', '--version'})
    expect_equal('exit statuses of vantacorectl.1',
                 [head.strip() for head in entries(section_of(page('vantacorectl.1'), 'EXIT STATUS'))],
                 table_of(text, '| number | reply | when |'))
    # What hands type elsewhere is answered here by words that are understood.
    head = '| FRRouting | BIRD | here |'
    rows = re.search(r'^%s\n\|[-|]*\n((?:\|.*\n)+)' % re.escape(head), text, re.M).group(1)
    count = 0
    for words in re.findall(r'`([^`]*)`', ' '.join(row.split(' | ')[-1] for row in rows.splitlines())):
        if words.startswith('vantacorectl') or words.split()[0] in ('reload', 'confirm', 'undo'):
            continue
        words = re.sub(r'\b(?:%s)\b' % '|'.join(EXAMPLES), lambda match: EXAMPLES[match.group()], words)
        count += 1
        answer = session.ask('C %s ?' % words)
        if any('"?"' not in line for line in answer if 'is understood' in line or 'is unknown' in line):
            problems.append('console.md offers %s: %s' % (words, answer))
    if count < 15:
        problems.append('console.md offers only %d words to hands that type others' % count)


def judge_counters(session):
    """Both pages name counters that there are."""
    there = set(re.findall(r'^# TYPE (\w+) ', '\n'.join(session.ask('C metrics')), re.M))
    for name in ('operations.md', 'console.md'):
        text = (ROOT / 'docs' / name).read_text(encoding='utf-8')
        named = set(re.findall(r'\bvantacore_\w+', text))
        if not named or not named <= there:
            problems.append('%s names counters that there are not: %s' % (name, sorted(named - there)))


def main():
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, 'socket')
        daemon = subprocess.Popen(
            [os.path.join(BIN, 'vantacored'), '--config', str(ROOT / 'examples/first-network'), '--daemon', '--socket',
             path, '--state', folder, '--tick-us', '100', '--lab'], stderr=subprocess.DEVNULL)
        try:
            session = Session(path)
            listed = judge_session(session)
            judge_page(listed)
            judge_counters(session)
            judge_options('vantacored')
            judge_document(listed, judge_options('vantacorectl'), session)
        finally:
            daemon.terminate()
            daemon.wait()
    print('\n'.join(problems + ['%d words, %d problems' % (len(listed), len(problems))]))
    sys.exit(1 if problems or len(listed) < 25 else 0)


main()
