"""Checks that answers in JSON are whole while routes come and go: comings_and_goings_test.py BIN ROOT.

One client reloads between two folders, which have many routes with other next hops each, takes an interface
down and up, and has the stack lose everything. Others ask all the time. What they get is one valid document
each time, and rows that were there all the while are in each of them.
"""

import json
import pathlib
import signal
import subprocess
import sys
import threading
import time

from answers import Schemas, Wrong, parse, parse_lines
from device import PATIENCE, running

BIN, ROOT = sys.argv[1], pathlib.Path(sys.argv[2])
SECONDS = 6
ROUTES, STAYING = 3000, 500
CHOSEN = ('state', 'reason', 'note', 'kind', 'change', 'cause')
ASKED = ('route vrf all', 'route 100.0.0.0/8 longer', 'route vrf all summary', 'summary',
         'requests vrf all', 'status', 'explain 100.64.0.1', 'verify', 'history')
SCHEMAS = Schemas(ROOT)

problems = []
asked = dict.fromkeys(ASKED, 0)
judged = dict.fromkeys((words for words in ASKED if words.startswith('route')), 0)
numbers = set()  # of routes, that documents had
is_over = threading.Event()
restarts = 0  # odd while a VLAN goes and comes with its routes


def routes_of(gateway, numbers_of_routes):
    return {'r%d' % n: {'network': '100.%d.%d.0' % (64 + (n >> 8), n & 255),
                        'netmask': '255.255.255.0', 'gateway': gateway}
            for n in numbers_of_routes}


def fill(device, is_second=False):
    """The first STAYING routes are always the same ones."""
    changing = range(STAYING, ROUTES if is_second else ROUTES // 2)
    routes = {**routes_of('10.0.0.2', range(STAYING)),
              **routes_of('10.0.0.4' if is_second else '10.0.0.3', changing)}
    device.fill({'default_vlan': 10, 'interfaces': [
        {'name': 'eth0', 'vlan': 10, 'index': 3, 'ipv4': '10.0.0.1/24'},
        {'name': 'eth1', 'vlan': 10, 'index': 4, 'ipv4': '10.1.0.1/24'},
        {'name': 'eth2', 'vlan': 20, 'index': 5, 'ipv4': '10.2.0.1/24'}]},
                {'a': {'vid': 10, 'STATIC_ROUTES': routes}, 'b': {'vid': 20}})


def guarded(function):
    """A thread's work, whose problems count."""
    def run(*arguments):
        try:
            function(*arguments)
        except Exception as problem:  # everything that goes wrong is a failure of the test
            problems.append('%s%r: %s' % (function.__name__, arguments[1:], str(problem)[:800]))
            is_over.set()
    return run


@guarded
def change(device):
    global restarts
    is_second = False
    while not is_over.is_set():
        is_second = not is_second
        fill(device, is_second)
        device.do('reload force')
        for words in ('lab interface eth1 down', 'lab interface eth1 up'):
            device.do(words)
        if not is_second:
            restarts += 1
            device.do('lab stack restart')
            restarts += 1


def expect_staying(words, document):
    """A document shows each of the routes that stay once, whatever happens meanwhile."""
    if words.startswith('route vrf all summary'):
        numbers.add(document['all']['routes'])
    elif words.startswith('route'):
        found = [route['prefix'] for route in document['routes'] if route['protocol'] == 'static'
                 and route.get('next_hop') == '10.0.0.2']
        wanted = {route['network'] + '/24' for route in routes_of('', range(STAYING)).values()}
        if set(found) != wanted or len(found) != len(wanted):
            raise Wrong('%d of the %d routes that stay' % (len(found), len(wanted)))


def may_fail(document):
    """There are differences, or a restart has taken the VLAN away for a moment."""
    return document['view'] == 'verify' or document['refused'] == 'VLAN 10 is not present'


@guarded
def ask(device, words):
    view = words.split()[0]
    while not is_over.is_set():
        before = restarts
        answer = device.ask(words + ' json')
        document = parse(answer.text)
        SCHEMAS.expect(view, shortened(document))
        if answer.status == 0 and before % 2 == 0 and before == restarts:
            expect_staying(words, document)
            if words in judged:
                judged[words] += 1
        elif answer.status not in (0, 1) or (answer.status == 1 and not may_fail(document)):
            raise Wrong('status %d: %r %s' % (answer.status, answer.text[:300], answer.complaint))
        asked[words] += 1


def kind(row):
    """What rows of the same members and words have in common: judging thousands takes seconds."""
    return tuple((key, part if key in CHOSEN else type(part).__name__) for key, part in row.items())


def shortened(document):
    if 'routes' not in document:
        return document
    return {**document, 'routes': list({kind(row): row for row in document['routes']}.values())}


@guarded
def watch(device, words):
    command = device.client(words + ' json')
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE) as watcher:
        stop = threading.Thread(target=lambda: (is_over.wait(), watcher.send_signal(signal.SIGINT)))
        stop.start()
        text = watcher.stdout.read()
        watcher.wait(PATIENCE)
        stop.join()
    whole, _, _ = text.rpartition(b'\n')
    documents = parse_lines(whole + b'\n')
    for document in {kind(document): document for document in documents}.values():
        SCHEMAS.expect('watch', document)
    asked[words] = len(documents)


def check_slow_watcher(device):
    """One who reads nothing is told how many changes were left out, by a line of its own."""
    command = device.client('watch json')
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE) as watcher:
        time.sleep(0.3)
        for is_second in (True, False) * 12:
            fill(device, is_second)
            device.do('reload force')
        documents = []
        while not documents or 'left_out' not in documents[-1]:
            documents.append(parse(watcher.stdout.readline()))
        watcher.send_signal(signal.SIGINT)
        watcher.stdout.read()
    SCHEMAS.expect('watch', documents[-1])


def main():
    with running(BIN, fill) as device:
        device.do('reload')
        threads = [threading.Thread(target=change, args=(device,))]
        threads += [threading.Thread(target=ask, args=(device, words)) for words in ASKED]
        threads += [threading.Thread(target=watch, args=(device, words))
                    for words in ('watch', 'watch route vrf 10')]
        for thread in threads:
            thread.start()
        is_over.wait(SECONDS)
        is_over.set()
        for thread in threads:
            thread.join()
        if not problems:
            check_slow_watcher(device)
    few = {words: count for counts in (asked, judged) for words, count in counts.items() if count < 3}
    if few and not problems:
        problems.append('asked too seldom: %s' % few)
    if len(numbers) < 2 and not problems:
        problems.append('nothing came or went: %s' % numbers)
    print(json.dumps(asked))
    sys.exit('\n'.join(problems) if problems else 0)


main()
