#!/usr/bin/env python3
"""Runs the allocation sweep and judges what came from where.

    sites.py SOURCE_FOLDER SWEEP

Every `new (std::nothrow)` of the library must have been refused at least once, and each refusal must
have said exactly what sites.txt says of its place, not more and not less often. Requests that are given
up without having been destroyed may only come from the places that are marked so there. A run that is
shortened by VANTACORE_RANDOM_SCALE does not have to meet every place.

Places are named by their file and what they make, "src/rtm/dc_rtm_mgr.cpp DcRtmMgr"; the second of a
kind in a file has "#2" behind it. The addresses of the log are turned into lines by addr2line.
"""

import collections
import os
import re
import subprocess
import sys
import tempfile

EXPRESSION = re.compile(r'new \(std::nothrow\)\s+(\w+)|::operator new\(\w+, std::nothrow\)')


class Site:
    def __init__(self, name, line):
        self.name = name
        self.line = line


def sites_of(root):
    """The places in the library's sources, by file, in line order."""
    found = {}
    for folder, _, files in os.walk(os.path.join(root, 'src')):
        for file in sorted(files):
            if not file.endswith(('.cpp', '.h')):
                continue
            path = os.path.join(folder, file)
            with open(path, encoding='utf-8') as stream:
                text = stream.read()
            relative = os.path.relpath(path, root)
            counts = collections.Counter()
            for match in EXPRESSION.finditer(text):
                what = match.group(1) or 'memory'
                counts[what] += 1
                number = '' if counts[what] == 1 else f'#{counts[what]}'
                line = text.count('\n', 0, match.start()) + 1
                found.setdefault(relative, []).append(Site(f'{relative} {what}{number}', line))
    return found


Expectation = collections.namedtuple('Expectation', 'says first request')


def read_expectations(path):
    """Name to Expectation; a silent place says None."""
    expected = {}
    with open(path, encoding='utf-8') as stream:
        for line in stream:
            line = line.rstrip('\n')
            if not line or line.startswith('#'):
                continue
            name, says = (part.strip() for part in line.split(' : ', 1))
            says, *marks = says.split(' +')
            expected[name] = Expectation(None if says == 'silent' else says, 'first' in marks,
                                         'request' in marks)
    return expected


class Places:
    """Turns the log's places into names of sites; None for those that are not the library's."""

    def __init__(self):
        self.names = {}
        self.sites = {}  # by the folder of the sources that the library was made from

    def name(self, place):
        if place not in self.names:
            module, offset = place.rsplit(' ', 1)
            ours = os.path.basename(module).startswith('libvantacore.so')
            self.names[place] = self.find(module, offset) if ours else None
        return self.names[place]

    def find(self, module, offset):
        output = subprocess.run(['addr2line', '-i', '-e', module, offset], check=True,
                                capture_output=True, text=True).stdout
        # Innermost first: the first line in a file that has sites is where the memory was wanted.
        for frame in output.splitlines():
            path, _, number = frame.split(' (')[0].rpartition(':')
            root, _, file = os.path.normpath(path).rpartition('/src/')
            if not number.isdigit():
                continue
            if root not in self.sites:
                self.sites[root] = sites_of(root)
            before = [site for site in self.sites[root].get('src/' + file, [])
                      if site.line <= int(number)]
            if before:
                return before[-1].name
        raise SystemExit(f'no place in the sources for {module} {offset}:\n{output}')


def runs_of(log):
    run = None
    with open(log, encoding='utf-8') as stream:
        for line in stream:
            word, _, rest = line.rstrip('\n').partition(' ')
            if word == 'run':
                if run is not None:
                    yield run
                run = {'name': rest, 'place': [], 'alarm': [], 'left': 0}
            elif word == 'left':
                run['left'] = int(rest)
            else:
                run[word].append(rest)
    if run is not None:
        yield run


def messages_of(names, expected):
    """What refusals at these places, one after the other, are to say."""
    order = list(expected)
    messages = collections.Counter()
    before = None
    for name in names:
        one = expected[name]
        follows = (one.first and before is not None and expected[before].first and
                   before.split()[0] == name.split()[0] and order.index(before) < order.index(name))
        if one.says is not None and not follows:
            messages[one.says] += 1
        before = name
    return messages


def judge(log, places, expected):
    """The complaints, and how often each site was refused."""
    refused = collections.Counter()
    complaints = []
    known = {one.says for one in expected.values()}
    for run in runs_of(log):
        names = [name for name in map(places.name, run['place']) if name is not None]
        refused.update(names)
        unknown = sorted({name for name in names if name not in expected})
        if unknown:
            complaints.append(f'{run["name"]}: sites.txt does not know {", ".join(unknown)}')
            continue
        # The routers of the device have messages of their own.
        said = collections.Counter(alarm for alarm in run['alarm'] if alarm in known)
        should = messages_of(names, expected)
        if said != should:
            complaints.append(f'{run["name"]}: said {dict(said)}, should have said {dict(should)}')
        leaving = sum(expected[name].request for name in names)
        if not leaving <= run['left'] <= 3 * leaving:
            complaints.append(f'{run["name"]}: {run["left"]} blocks left by {leaving} lost requests')
    return complaints, refused


def main():
    root, sweep = sys.argv[1:3]
    expected = read_expectations(os.path.join(os.path.dirname(os.path.abspath(__file__)), 'sites.txt'))
    with tempfile.TemporaryDirectory() as folder:
        log = os.path.join(folder, 'log')
        environment = dict(os.environ, VANTACORE_ALLOCATION_LOG=log)
        status = subprocess.run([sweep], env=environment, check=False).returncode
        if status != 0:
            return 1
        complaints, refused = judge(log, Places(), expected)
    names = {site.name for group in sites_of(root).values() for site in group}
    if int(os.environ.get('VANTACORE_RANDOM_SCALE', '100')) >= 100:
        complaints += [f'never refused: {name}' for name in sorted(names - set(refused))]
    complaints += [f'sites.txt names what does not exist: {name}' for name in sorted(set(expected) - names)]
    for complaint in complaints[:40]:
        print(complaint)
    print(f'{len(names)} places, {sum(refused.values())} refusals, {len(complaints)} complaints')
    return 1 if complaints else 0


if __name__ == '__main__':
    sys.exit(main())
