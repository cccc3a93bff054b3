"""Checks that a validator with the schemas and the check of documents give the same verdict.

verdict_test.py VERDICTS ROOT [SEED]. They may differ where docs/documents.md says that a schema cannot
tell: of each entry of that list there are documents here, which the schema takes and the check refuses
for that reason only. All other documents have the same verdict: those of the scenarios, the examples and
documents.md, these with one wrong value, those of values.py, and the good ones with random changes.
"""

import copy
import json
import os
import pathlib
import random
import subprocess
import sys

from schemas import Schemas, good_documents, kind_of, scenario_documents, with_one_wrong
from values import ROUTE, VALUES, interface, route4, vlans

VERDICTS = sys.argv[1]
ROOT = pathlib.Path(sys.argv[2])
SEED = int(sys.argv[3]) if len(sys.argv) > 3 else int.from_bytes(os.urandom(4), 'little')
SCHEMAS = Schemas(ROOT)
RANDOM_DOCUMENTS = 20000


def as_text(kind_and_document, old='', new=''):
    """The document as a text in which a part of it has been replaced."""
    kind, document = kind_and_document
    text = json.dumps(document)
    assert old in text
    return kind, text.replace(old, new, 1)


def two_peers(**members):
    peer = {'Name': 'BGP_10_1', 'address': '10.1.2.1', 'as': 1}
    return vlans(BGP={'PEERS': [peer, {**peer, 'Name': 'BGP_10_01', **members}]})


def two_routes(**members):
    return vlans(STATIC_ROUTES=[ROUTE, {**ROUTE, **members}])


def two_interfaces(**members):
    first = {'name': 'eth0', 'vlan': 10, 'index': 3}
    return 'device', {'default_vlan': 10, 'interfaces': [first, {**first, **members}]}


# How an entry of the list begins, what the check finds, and documents with that.
CANNOT_TELL = (
    ('a member is named twice', 'a member that stands twice', (
        as_text(vlans(x=1), '"x": 1', '"RTM": {}, "RTM": {}'),
        ('remote', '{"VLAN_CONFIGURATIONS": {"one": {"vid": 1}, "one": {"vid": 2}}}'))),
    ('a number is written with a fraction', 'not a whole number', (
        ('vlans', '{"VLAN_CONFIGURATIONS": [{"vid": 5.0}]}'),
        ('device', '{"default_vlan": 1e2}'))),
    ('a number is too large', 'not JSON: too large a number', (
        ('remote', '{"VLAN_CONFIGURATIONS": [], "x-note": -1e400}'),)),
    ('a text has half', 'not JSON: half a character', (
        as_text(vlans(STATIC_ROUTES=[{**ROUTE, 'interface': 'eth'}]), 'eth', '\\udc00'),
        as_text(vlans(STATIC_ROUTES=[{**ROUTE, 'interface': 'eth'}]), 'eth', '\\ud800'),)),
    ('a text has more bytes', 'too long', (
        as_text(vlans(BGP={'PEERS': [{'Name': 'BGP_10_1', 'address': '10.1.2.1', 'as': 1,
                                      'description': '\u00e9' * 64}]})),)),
    ('the document is nested', 'nested too deep', (
        as_text(('device', {'default_vlan': 10, 'x-note': 0}), '0}', '[' * 101 + ']' * 101 + '}'),)),
    ('an IPv6 address is wrong', 'not an IPv6 ', (
        as_text(interface(ipv6=['2001:db8::1::2/64'])),
        as_text(vlans(MLD={'IF_LIST': [{'Name': 'MLD_10_3', 'GROUPS': [{'address': 'ff02:1'}]}]})),
        as_text(vlans(STATIC_ROUTES6=[{'network': ':', 'prefix': 0, 'gateway': '::1'}])))),
    ('a network has host bits', 'host bits are set', (
        as_text(route4('network')('10.9.0.1')),
        as_text(vlans(STATIC_ROUTES6=[{'network': '::8', 'prefix': 8, 'gateway': '::1'}])))),
    ('an interface has an IPv6 address twice', 'an address that the interface has already', (
        as_text(interface(ipv6=['::1/64', '0::1/48'])),)),
    ('two interfaces of a VLAN', ' that stands twice, expected one interface', (
        as_text(two_interfaces(name='eth1')), as_text(two_interfaces(index=4)))),
    ('`primary_interfaces` names an interface', ': not an interface of VLAN ', (
        ('device', '{"default_vlan": 1, "primary_interfaces": {"1": "eth0"}}'),)),
    ('`primary_interfaces` names one VLAN', 'a VLAN that stands twice, expected one name', (
        ('device', '{"default_vlan": 1, "interfaces": [{"name": "eth0", "vlan": 1, "index": 1}],'
                   ' "primary_interfaces": {"1": "eth0", "01": "eth0"}}'),)),
    ('`multipath` names one VLAN', 'a VLAN that stands twice, expected one number', (
        ('device', '{"default_vlan": 1, "kernel": {"multipath": {"1": 2, "01": 2}}}'),)),
    ('`vrfs` has two names', 'a VLAN that stands twice, expected one VRF device', (
        ('device', '{"default_vlan": 1, "kernel": {"routes": true, "vrfs": {"a": 2, "b": 2}}}'),)),
    ('two entries have the same `vid`', 'a VLAN that stands twice, expected one entry', (
        ('vlans', '{"VLAN_CONFIGURATIONS": {"one": {"vid": 10}, "two": {"vid": 10}}}'),)),
    ('two rows of a list', 'two rows with one key', (
        as_text(two_peers(afi=0)),
        as_text(vlans(OSPF={'IF_LIST': [{'Name': 'OSPF_10_3'}, {'Name': 'OSPF_10_3_0_0'}]})))),
    ('a row\'s `Name` says another VLAN', 'a row of another VLAN', (
        as_text(vlans(RIPNG={'INTERFACES': [{'Name': 'RIP_11_3'}]})),)),
    ('one route stands in a document twice', 'one route with two metrics', (
        as_text(two_routes(metric=2)),)),
)
# What is beside these and no mistake.
NEIGHBOURS = (
    as_text(two_interfaces(vlan=11)), as_text(two_routes(metric='0')),
    as_text(two_routes(interface='eth1', metric=2)), as_text(interface(ipv6=['::1/64', '::2/64'])),
    as_text(vlans(OSPF={'IF_LIST': [{'Name': 'OSPF_10_3'}, {'Name': 'OSPF_10_3_0_1'}]})),
    as_text(two_peers(afi=1, address='::1')), as_text(two_peers(Name='BGP_10_2')),
)
REASONS = tuple(reason for _, reason, _ in CANNOT_TELL)
STRANGE = (None, True, False, 0, -1, 1, 3, 10, 15, 16, 20, 128, 129, 254, 255, 256, 32767, 32768, 65535,
           65536, 4294967295, 4294967296, 1.5, 10.0, '', '0', '10', '048', '0048', '00255', '5x', 'eth0',
           'x', 'stub', 'NSSA', '10.1.0.1', '10.1.0.256', '255.255.0.0', '255.0.255.0', '239.1.1.1', '::1',
           'ff02::5', '1.2.3.4/33', '10.1.0.1/016', '10.1.0.1/0016', '::/128', '::1/064', 'dynamic',
           'passthrough', 'RIP_10_3', 'RIPNG_20_4', 'RIPV2_10_0', 'ospf_10_3_1_0', 'OSPFV3_10_9',
           'BGP_10_70000', 'IGMP_10_3', '.*', 'a\0b', '\u20ac' * 43, {}, [], {'x-a': 1}, {'a': None},
           [{}], {'enabled': False}, [{'Name': 'RIP_10_3'}], {'a': {'vid': 10}}, [{'vid': 11}])
NAMES = ('x-', 'x-y', 'x', '$schema', 'vid', 'enabled', 'metric', 'Name', 'RTM', 'REDISTRIBUTION', 'BGP',
         '5', '10', '32768', 'a\0b', 'routemetricmode', 'afi')


def nodes(value):
    """All objects and arrays with something in them."""
    if isinstance(value, (dict, list)) and value:
        yield value
        for child in value.values() if isinstance(value, dict) else value:
            yield from nodes(child)


def change_value(document, draw):
    node = draw.choice(list(nodes(document)))
    key = draw.choice(list(node)) if isinstance(node, dict) else draw.randrange(len(node))
    action = draw.randrange(5)
    if action == 0:
        del node[key]
    elif action == 1:
        node[key] = copy.deepcopy(draw.choice(STRANGE))
    elif isinstance(node, list):
        node.append(copy.deepcopy(node[key]))
    elif action == 2:
        name = draw.choice(NAMES)
        node[name] = node.pop(key)
    elif action == 3:
        node[draw.choice(NAMES)] = copy.deepcopy(draw.choice((*STRANGE, node[key])))
    else:
        node[key + '2'] = copy.deepcopy(node[key])


def change_character(text, draw):
    at = draw.randrange(len(text))
    with_more = draw.randrange(2)
    return text[:at] + draw.choice('{}[]",:0159.-_xeE/\\ aN') + text[at + with_more:]


def random_text(good, draw):
    _, kind, document = draw.choice(good)
    document = copy.deepcopy(document)
    for _ in range(draw.choice((0, 1, 1, 1, 2, 3))):
        if isinstance(document, dict) and document:
            change_value(document, draw)
    text = json.dumps(document, ensure_ascii=draw.random() < 0.5)
    if draw.random() < 0.3:
        text = change_character(text, draw)
    return draw.choice((kind, kind, kind, 'vlans', 'remote', 'device')), text


def refuse_constant(name):
    raise ValueError(name + ' is not JSON')


def schema_mistake(kind, text):
    try:
        document = json.loads(text, parse_constant=refuse_constant)
    except ValueError as error:
        return str(error)
    return SCHEMAS.mistake(kind, document)


def verdicts(texts):
    """What the check finds in each of the documents."""
    lines = ''.join('%s %s\n' % pair for pair in texts)
    result = subprocess.run([VERDICTS], input=lines.encode(), check=True, stdout=subprocess.PIPE,
                            timeout=250)
    found = result.stdout.decode().split('\n')[:-1]
    assert len(found) == len(texts)
    return [line.split('\t')[:-1] for line in found]


def fixed_texts(good):
    for path in scenario_documents(ROOT):
        yield kind_of(path), json.dumps(json.loads(path.read_text(encoding='utf-8')))
    for _, kind, document in good:
        for text in (document, *with_one_wrong(document)):
            yield kind, json.dumps(text)
    for place, right, wrong in VALUES:
        for value in (right, *wrong):
            yield as_text(place(value))
    yield from NEIGHBOURS


def compare(texts):
    """Differences that no reason explains, how many one explains, and how many documents are good."""
    explained = good = 0
    differences = []
    for (kind, text), found in zip(texts, verdicts(texts)):
        mistake = schema_mistake(kind, text)
        if not found and mistake is None:
            good += 1
        elif not found:
            differences.append('%s %s\n  only the schema: %s' % (kind, text, mistake))
        elif mistake is None:
            unexplained = [line for line in found if not any(reason in line for reason in REASONS)]
            explained += not unexplained
            differences += ['%s %s\n  only the check: %s' % (kind, text, line) for line in unexplained]
    return differences, explained, good


def listed_problems():
    """What is wrong with the list of documents.md."""
    page = (ROOT / 'docs/documents.md').read_text(encoding='utf-8')
    section = page[page.index('A schema cannot tell that\n'):]
    listed = [line[2:] for line in section[:section.index('\n\n', section.index('\n- '))].split('\n')
              if line.startswith('- ')]
    if len(listed) != len(CANNOT_TELL):
        yield 'documents.md lists %d things, here are %d' % (len(listed), len(CANNOT_TELL))
    for line, (beginning, reason, texts) in zip(listed, CANNOT_TELL):
        if not line.startswith(beginning):
            yield '"%s" is not what is tested here: "%s"' % (line, beginning)
        for (kind, text), found in zip(texts, verdicts(texts)):
            mistake = schema_mistake(kind, text)
            if mistake is not None:
                yield '%s: the schema can tell: %s' % (text, mistake)
            if not found or not all(reason in line for line in found):
                yield '%s: the check finds %s' % (text, found)


def main():
    problems = list(listed_problems())
    good = list(good_documents(ROOT))
    draw = random.Random(SEED)
    # Large documents would take most of the time, and show nothing that small ones do not.
    small = [piece for piece in good if len(json.dumps(piece[2])) < 5000]
    small += [('', *place(right)) for place, right, _ in VALUES]
    texts = [random_text(small, draw) for _ in range(RANDOM_DOCUMENTS)]
    for name, some in (('fixed', list(fixed_texts(good))), ('random', texts)):
        differences, explained, taken = compare(some)
        print('%s: %d documents, %d good ones, %d with what a schema cannot tell (seed %d)'
              % (name, len(some), taken, explained, SEED))
        if taken < len(some) // 50:
            problems.append('hardly any of the %s documents is good' % name)
        problems += ['%s (seed %d)' % (difference, SEED) for difference in differences]
    sys.exit('\n'.join(problems[:20]) if problems else 0)


main()
