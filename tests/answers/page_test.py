"""Checks the examples of docs/json.md: page_test.py BIN ROOT [--update].

Each is asked, and what jq makes of the answer must stand below it. The same is computed here without jq,
so a page that jq and the daemon agree on by mistake does not pass. --update writes what jq prints.
"""

import json
import pathlib
import re
import shlex
import subprocess
import sys

from answers import parse
from device import like, running

BIN, ROOT = sys.argv[1], pathlib.Path(sys.argv[2])
PAGE = ROOT / 'docs/json.md'
EXAMPLE = re.compile(r'^```sh\n(.*?)^```\n\n```\n(.*?)^```$', re.M | re.S)


def not_installed(answer):
    return ['%d %s: %s' % (route['vlan'], route['prefix'], route['reason_text'])
            for route in answer['routes'] if route['state'] != 'installed']


def next_hop(answer):
    return [route['next_hop'] for route in answer['routes'] if route['state'] == 'installed']


def static_routes(answer):
    return ['%d %d %d' % (vlan['vlan'], vlan['routes']['ipv4']['static']['installed'],
                          vlan['routes']['ipv6']['static']['installed'])
            for vlan in answer['vlans']]


def is_well(answer):
    return [json.dumps(answer['settled'] and answer['differences'] == 0
                       and not answer['folder_differs'])]


def findings(answer):
    return ['%s:%d: %s in %s' % (finding['file'], finding['line'], finding['severity'],
                                 finding['member']) for finding in answer['findings']]


MEANT = [not_installed, next_hop, static_routes, is_well, findings]


def main():
    text = PAGE.read_text(encoding='utf-8')
    meant = iter(MEANT)
    problems = []
    count = 0

    with running(BIN, like(ROOT / 'examples/first-network')) as device:
        device.do('reload')

        def check(example):
            nonlocal count
            count += 1
            words = shlex.split(example.group(1))
            client, filter_words = words[:words.index('|')], words[words.index('|') + 1:]
            if client[:4] != ['vantacorectl', '--socket', 'PATH', '--json']:
                problems.append('Not a command of the client: %s' % client)
                return example.group(0)
            answer = device.ask(' '.join(client[4:]), '--json')
            result = subprocess.run(filter_words, input=answer.text, stdout=subprocess.PIPE)
            printed = result.stdout.decode()
            if answer.status != 0 or result.returncode != 0 or not printed:
                problems.append('%s: exit status %d, jq %d, %r' % (
                    client, answer.status, result.returncode, answer.text[:200]))
            wanted = '\n'.join(next(meant)(parse(answer.text))) + '\n'
            if wanted != printed:
                problems.append('%s: jq prints\n%sbut this is meant:\n%s' % (client, printed, wanted))
            if example.group(2) != printed and not sys.argv[3:]:
                problems.append('%s: the page shows\n%sjq prints\n%s'
                                % (client, example.group(2), printed))
            return '```sh\n%s```\n\n```\n%s```' % (example.group(1), printed)

        updated = EXAMPLE.sub(check, text)
    if count != len(MEANT) or count != text.count('```sh'):
        problems.append('%d examples instead of %d' % (count, len(MEANT)))
    if sys.argv[3:] == ['--update']:
        PAGE.write_text(updated, encoding='utf-8')
    sys.exit('\n'.join(problems) if problems else 0)


main()
