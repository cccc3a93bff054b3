"""Checks what each word answers in JSON: words_test.py BIN ROOT.

Which words these are is what `help` says; of each, every option is asked for at least once. Each answer
is one document of its schema, with the exit status that belongs to it, on a device without trouble, one
with all kinds of it, one that is empty, and one that keeps no revisions. The words, their schemas and the
exit statuses that were seen are those of the table of docs/json.md. The schemas take no answer into
which a fault has been planted, and describe nothing else than these answers have been seen to say,
except what UNSEEN lists.
"""

import json
import pathlib
import re
import signal
import subprocess
import sys
import time

from answers import Planter, Schemas, Wrong, parse, parse_lines
from device import PATIENCE, like, running

BIN, ROOT = sys.argv[1], pathlib.Path(sys.argv[2])
SCHEMAS = Schemas(ROOT)
PLANTER = Planter()
EXAMPLE = ROOT / 'examples/first-network'

# Each line is asked with `json` behind it. Those about revisions find two of them.
WORDS = {
    'route': ['route', 'route vrf all', 'route vrf 20', 'route 10.9.9.9', 'route 0.0.0.0/0',
              'route 10.0.0.0/8 longer', 'route proto static via 10.1.2.1 dev eth0 installed',
              'route waiting', 'route refused vrf all', 'route summary', 'route 198.51.100.0/24',
              'show route', 'ro 10.9.0.0/16'],
    'route6': ['route6', 'route6 vrf all', 'route6 2001:db8:9::1', 'route6 2001:db8::/32 longer',
               'route6 proto static via 2001:db8:10::9 dev eth0 installed', 'route6 waiting',
               'route6 refused', 'route6 summary vrf all', 'route6 ::/0'],
    'explain': ['explain 10.9.9.9', 'explain 10.9.0.0/16', 'explain 10.1.0.0/16',
                'explain 2001:db8:9::1', 'explain 198.51.100.0/24', 'explain 172.16.0.9 vrf 20',
                'explain 10.50.0.1', 'explain 172.16.1.0/24 vrf 20'],
    'summary': ['summary', 'summary vrf all', 'summary vrf 20'],
    'requests': ['requests', 'requests vrf all', 'requests vrf 30'],
    'status': ['status'],
    'version': ['version'],
    'check': ['check'],
    'diff': ['diff', 'diff 1'],
    'history': ['history'],
    'revision': ['revision 1'],
    'verify': ['verify', 'verify stack', 'verify kernel'],
    'reload': ['reload', 'reload force', 'reload force confirm 600', 'reload'],
    'confirm': [],
    'undo': [],
    'watch': [],
}
# What is asked about, and is not there, or cannot be done. The status is 1, and the answer tells why.
REFUSED = ['route vrf 99', 'route6 vrf 99', 'route6 vrf 99 summary', 'explain 10.9.9.9 vrf 99',
           'explain ::/0 vrf 99', 'summary vrf 99', 'requests vrf 99', 'diff 77', 'revision 77',
           'confirm 77', 'undo 77']
# Words that have no such answer, or do not fit, are misunderstood: status 2, and a refusal.
NOT_JSON = ['rtm rib', 'interface', 'metrics', 'vrf 10', 'retry', 'log level 1',
            'quit', 'route vrf', 'route 10.9.9.300', 'check check', 'nonsense']

# Members that are seen elsewhere (a watch that leaves changes out), or that the tests here have no cause to see.
UNSEEN = {'watch': {'left_out'}}

seen = set()
statuses = {}  # of each word
problems = []


def view_of(words):
    """The schema for what is asked."""
    word = words.split()[1 if words.startswith('show ') else 0]
    return {'ro': 'route', 'route6': 'route'}.get(word, word)


def note_members(name, document):
    """Which members of the schema there are in the document."""
    def of(value):
        if isinstance(value, dict):
            for key, part in value.items():
                seen.add((name, key))
                of(part)
        elif isinstance(value, list):
            for part in value:
                of(part)
    of(document)


def judge(name, document):
    SCHEMAS.expect(name, document)
    note_members(name, document)
    for wrong in PLANTER.faults(name, document):
        if SCHEMAS.mistake(name, wrong) is None:
            problems.append('%s.schema.json takes %s' % (name, json.dumps(wrong)[:600]))


def expect(device, words, status=0, *options):
    """The document that is answered, which has been judged."""
    answer = device.ask(words + ' json', *options)
    try:
        if answer.status != status or answer.complaint:
            raise Wrong('exit status %d instead of %d, %s %r'
                        % (answer.status, status, answer.complaint, answer.text[:500]))
        document = parse(answer.text)
        judge(view_of(words), document)
        statuses.setdefault(words.split()[0], set()).add(status)
        if 'routes' in document and document['view'] == 'route' and \
                answer.text.count(b'\n') != 1 + len(document['routes']):
            raise Wrong('a route does not stand on a line of its own')
        # Data or a refusal, never both by halves; the status tells which.
        if (status == 1) != (document.get('passed', True) is False):
            raise Wrong('exit status %d and %r' % (status, answer.text[:300]))
        return document
    except Wrong as problem:
        problems.append('%s: %s' % (words, problem))
        return {}


def expect_refused(device, words):
    document = expect(device, words, 1)
    if not isinstance(document.get('refused'), str) or not document['refused']:
        problems.append('%s: it does not say why it was refused: %s' % (words, document))


def expect_misunderstood(words, answer):
    """A word without a schema has the members of a refusal all the same."""
    try:
        document = parse(answer.text)
        if answer.status != 2 or list(document) != ['view', 'passed', 'refused'] or \
                document['passed'] is not False or not document['refused'] or \
                document['view'] != view_of(words):
            raise Wrong('exit status %d, %r' % (answer.status, document))
        if view_of(words) in SCHEMAS.names():
            SCHEMAS.expect(view_of(words), document)
    except Wrong as problem:
        problems.append('%s: misunderstood: %s' % (words, problem))


def forms_of_help(device):
    """{word: the form} of those that give JSON. Lines that begin further right go on with a form, or
    describe it."""
    forms = []
    for line in device.ask('help').text.decode().splitlines():
        if re.match(r'  \S', line):
            forms.append('')
        forms[-1] += ' ' + line.strip()
    return {form.split()[0]: form for form in forms if '[json]' in form}


def check_words(forms):
    if set(forms) != set(WORDS):
        problems.append('help says that these give JSON: %s; the test asks %s'
                        % (sorted(forms), sorted(WORDS)))
    for word, lines in WORDS.items():
        asked = set(' '.join(lines + LATER.get(word, [])).split())
        form = re.match(r'.*\[json\]', forms.get(word, '[json]')).group(0)
        for option in re.findall(r'\b[a-z]+\b', re.sub(r'<[a-z-]+>', '', form)):
            if option != 'json' and option not in asked:
                problems.append('%s: the option "%s" is not asked for' % (word, option))


# What is asked in the tests below, at the time that it needs.
LATER = {'check': ['check strict'], 'reload': [], 'confirm': ['confirm'], 'undo': ['undo'],
         'watch': ['watch vrf all', 'watch route request interface reload']}


def edit(device, change):
    """Changes the VLANs' document of the folder."""
    path = device.folder / 'vlans.json'
    document = json.loads(path.read_text(encoding='utf-8'))
    change(document['VLAN_CONFIGURATIONS'])
    path.write_text(json.dumps(document), encoding='utf-8')


def route(network, gateway='10.1.2.1', **members):
    return {'network': network, 'netmask': '255.255.0.0', 'gateway': gateway, **members}


def ask_all(device):
    for lines in WORDS.values():
        for words in lines:
            expect(device, words)


def check_example(device):
    check_words(forms_of_help(device))
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(one=route('10.60.0.0')))
    device.do('reload')
    ask_all(device)
    expect(device, 'check strict', 1)  # the folder has warnings
    trial = expect(device, 'history').get('in_force')
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(two=route('10.61.0.0')))
    if len(expect(device, 'diff').get('changes', [])) != 1:
        problems.append('diff: one route has been added')
    made = expect(device, 'reload confirm 600')
    if made.get('unconfirmed', {}).get('back') != trial or not made['effect']['settled']:
        problems.append('reload confirm 600: %s' % made)
    expect(device, 'history')
    expect(device, 'status')
    expect(device, 'confirm %d' % made['revision']['number'])
    if expect(device, 'undo')['revision']['of'] != trial:
        problems.append('undo: it does not say what came back')
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(two=route('10.67.0.0')))
    expect(device, 'reload confirm 600')
    expect(device, 'undo')
    for words in REFUSED:
        expect_refused(device, words)
    for words in NOT_JSON:
        expect_misunderstood(words, device.ask(words + ' json'))
        expect_misunderstood(words, device.ask(words, '--json'))


def check_option(device):
    """`--json` is the word: but for what passes meanwhile, the answers are the same."""
    for words in ('version', 'check', 'check strict', 'diff', 'verify', 'history', 'revision 1',
                  'summary', 'route summary', 'route vrf 99', 'requests', 'diff 77'):
        word, option = device.ask(words + ' json'), device.ask(words, '--json')
        if (word.status, word.text) != (option.status, option.text):
            problems.append('%s: json answers %r, --json %r' % (words, word.text, option.text))
    if device.ask('ip protocol summary', '--json').status != 2:
        problems.append('--json ip protocol summary is not refused')


def check_trouble(device):
    """Interfaces that are down, requests that are refused, and a stack that stands still."""
    device.do('lab interface eth1 down')
    ask_all(device)
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(seven=route('10.66.0.0')))
    device.do('reload')
    device.do('lab stack refuse route 20 times')
    expect(device, 'undo', 5)
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(
        three=route('10.62.0.0'), four=route('10.63.0.0')))
    reload = expect(device, 'reload', 5)
    if not reload['effect']['count'] or not reload['effect']['differences']:
        problems.append('reload: it does not tell what was refused: %s' % reload['effect'])
    expect(device, 'verify', 1)
    for words in ('route', 'route refused', 'route summary', 'explain 10.62.0.0/16', 'requests',
                  'summary', 'status'):
        expect(device, words)
    for _ in range(40):  # each retry uses up some of the refusals
        device.do('retry')
        if device.ask('verify').status == 0:
            break
    device.do('lab interface eth1 up')
    device.do('lab stack hold')
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(
        five=route('10.64.0.0'), one=route('10.60.0.0', gateway='10.1.2.9'), three=None))
    edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].pop('three'))
    expect(device, 'reload', 0, '--no-wait')
    expect(device, 'reload', 4)  # it does not settle
    for words in ('route', 'route waiting', 'explain 10.64.0.0/16', 'explain 10.60.0.0/16',
                  'explain 10.62.0.0/16', 'requests', 'requests vrf all', 'summary', 'status'):
        expect(device, words)
    expect(device, 'undo', 4)
    device.do('lab stack release')
    device.do('lab stack restart')
    ask_all(device)


def check_refused_folders(device):
    edit(device, lambda vlans: vlans.pop('plant'))
    guarded = expect(device, 'diff')
    if not guarded.get('guard') or not guarded['prefixes_lost']:
        problems.append('diff: the guard says nothing: %s' % guarded)
    expect_refused(device, 'reload')
    edit(device, lambda vlans: vlans['office'].update(STATIC_ROUTES={'bad': route('10.9.0.0/16')}))
    for words in ('check', 'check strict', 'diff', 'reload'):
        document = expect(device, words, 1)
        if not document.get('errors') or len(document['findings']) < document['errors']:
            problems.append('%s: the error is not found: %s' % (words, document))
    (device.folder / 'vlans.json').write_bytes(b'{"\xff\x1b\xe2\x80\xae":\n')
    for words in ('check', 'diff', 'reload', 'status', 'history'):
        expect(device, words, 0 if words in ('status', 'history') else 1)


def watch(device, words, events, do):
    """What a watch shows until it has shown that many changes."""
    command = device.client(words + ' json')
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE) as watcher:
        time.sleep(0.3)  # it says nothing until something happens
        do()
        lines = [watcher.stdout.readline() for _ in range(events)]
        watcher.send_signal(signal.SIGINT)
        lines += watcher.stdout.readlines()
        watcher.wait(PATIENCE)
    try:
        documents = parse_lines(b''.join(lines))
        for document in documents:
            judge('watch', document)
        return documents
    except Wrong as problem:
        problems.append('%s: %s' % (words, problem))
        return []


def check_watch(device):
    def happen():
        for words in ('lab interface eth1 down', 'lab interface eth1 up',
                      'lab address add eth1 10.7.0.1/16', 'lab address delete eth1 10.7.0.1/16',
                      'lab stack refuse route 1 times'):
            device.do(words)
        edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].update(six=route('10.65.0.0')))
        device.do('reload')
        edit(device, lambda vlans: vlans['office']['STATIC_ROUTES'].pop('six'))
        device.do('reload')
        device.do('lab stack restart')
        device.do('retry')

    kinds = {document.get('kind') for document in watch(device, 'watch vrf all', 8, happen)}
    if not {'route', 'request', 'interface', 'reload', 'restart'} <= kinds:
        problems.append('watch: only %s were seen' % sorted(kinds))
    for kind in ('route', 'request', 'interface', 'reload'):
        found = watch(device, 'watch ' + kind, 1, happen)
        if not {document.get('kind') for document in found} <= {kind, 'restart'}:
            problems.append('watch %s: %s' % (kind, found))


def check_empty(device):
    for words in ('route vrf all', 'route6 vrf all summary', 'summary vrf all',
                  'requests vrf all',
                  'status', 'version', 'check', 'diff', 'reload', 'history', 'revision 1', 'verify'):
        expect(device, words)
    for words in ('undo', 'explain ::/0 vrf 10', 'route', 'summary'):
        expect_refused(device, words)


def check_kernel(device):
    """A kernel that refuses a route, because the daemon must not change its tables."""
    end = time.monotonic() + PATIENCE
    while not expect(device, 'status')['kernel']['refused'] and time.monotonic() < end:
        time.sleep(0.02)
    kernel = expect(device, 'status')['kernel']
    if [(refusal['route'], refusal['reason_text']) for refusal in kernel['refusals']] != \
            [('10.9.0.0/16 in table 254', 'Operation not permitted')]:
        problems.append('status: the kernel is %s' % kernel)
    if kernel['vrfs'] != [{'name': 'blue', 'vlan': 20, 'table': None,
                           'problem': 'its VRF device blue is not there'}]:
        problems.append('status: the VRF devices are %s' % kernel['vrfs'])
    for answer in expect(device, 'route refused')['routes'], [expect(device, 'explain 10.9.0.0/16')]:
        if [one['kernel_refusal']['reason_text'] for one in answer] != ['Operation not permitted']:
            problems.append('the refusal is not told: %s' % answer)


def check_links(device):
    """Every machine has this link, and nobody needs privileges to see it."""
    links = expect(device, 'status').get('links', [])
    if [(link['name'], link['vlan'], link['by'], link['problem']) for link in links] != \
            [('lo', 1, 'default', None)]:
        problems.append('status: the links are %s' % links)
    checked = expect(device, 'check').get('links', [])
    if [(link['name'], link['vlan'], link['by'], link['problem']) for link in checked] != \
            [('lo', 1, 'default', None)]:
        problems.append('check: the links are %s' % checked)
    expect(device, 'verify')


def check_without_revisions(device):
    for words in ('reload', 'status'):
        expect(device, words)
    for words in ('history', 'revision 1', 'undo', 'confirm 1', 'diff 1'):
        expect_refused(device, words)


def check_page():
    page = (ROOT / 'docs/json.md').read_text(encoding='utf-8')
    listed = set()
    for words, schema, link, status in re.findall(
            r'^\| ((?:`\w+`(?:, )?)+) \| \[(\w+)\]\((\S+)\)[^|]* \| (.*) \|$', page, re.M):
        words = re.findall(r'\w+', words)
        listed |= set(words)
        found = set().union(*(statuses.get(word, set()) for word in words))
        if link != 'schema/%s.schema.json' % schema or {view_of(word) for word in words} != {schema}:
            problems.append('json.md: %s has another schema than %s' % (words, link))
        if {int(number) for number in re.findall(r'\d', status)} != found:
            problems.append('json.md: %s: exit statuses %s; seen were %s' % (words, status, found))
    if listed != set(WORDS):
        problems.append('json.md lists %s' % sorted(listed))


def main():
    with running(BIN, like(EXAMPLE)) as device:
        check_example(device)
        check_option(device)
        check_trouble(device)
        check_watch(device)
        check_refused_folders(device)
    with running(BIN, lambda device: device.fill({'default_vlan': 1}, {})) as device:
        check_empty(device)
    links = {'default_vlan': 1, 'kernel': {'interfaces': ['lo']}}
    with running(BIN, lambda device: device.fill(links, {})) as device:
        check_links(device)
    kernel = {'default_vlan': 10, 'kernel': {'routes': True, 'vrfs': {'blue': 20}}, 'interfaces': [
        {'name': 'eth0', 'vlan': 10, 'index': 3, 'ipv4': '10.1.0.1/16'}]}
    one = {'a': {'vid': 10, 'STATIC_ROUTES': {'one': route('10.9.0.0')}}}
    with running(BIN, lambda device: device.fill(kernel, one)) as device:
        check_kernel(device)
    with running(BIN, like(EXAMPLE), '--partial') as device:
        check_without_revisions(device)
    if SCHEMAS.used != SCHEMAS.names():
        problems.append('No answer was judged by these: %s'
                        % sorted(SCHEMAS.names() - SCHEMAS.used))
    check_page()
    for name in sorted(SCHEMAS.names()):
        told = {member for view, member in seen if view == name}
        unseen = SCHEMAS.members(name) - told
        if unseen != UNSEEN.get(name, set()):
            problems.append('%s.schema.json: these were not seen: %s' % (name, sorted(unseen)))
    sys.exit('\n'.join(problems) if problems else 0)


main()
