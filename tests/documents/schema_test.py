"""Checks the schemas of docs/schema: schema_test.py ROOT.

They take the documents of the examples, those that docs/documents.md shows, and the documents of every
scenario but for the ones that refused.txt names. These, and the documents shown with mistakes, they
refuse, as they do a good document in which any one value is of another type or, of VALUES, is wrong.
Formats are not looked at, since not every validator does.
"""

import json
import pathlib
import sys
import warnings

from documents_text import files_shown

with warnings.catch_warnings():  # later versions of the package have another way of resolving
    warnings.simplefilter('ignore', DeprecationWarning)
    from jsonschema import Draft7Validator, RefResolver

ROOT = pathlib.Path(sys.argv[1])
SCHEMAS = ROOT / 'docs/schema'
# Documents of scenarios that are no whole documents of any kind.
PIECES = ('profiles', 'names')

ROUTE = {'network': '10.9.0.0', 'netmask': '255.255.0.0', 'gateway': '10.1.2.1'}


def vlans(**members):
    return 'vlans', {'VLAN_CONFIGURATIONS': [{'vid': 10, **members}]}


def interface(**members):
    return 'device', {'default_vlan': 10,
                      'interfaces': [{'name': 'eth0', 'vlan': 10, 'index': 3, **members}]}


def route4(key):
    return lambda value: vlans(STATIC_ROUTES=[{**ROUTE, key: value}])


# Where a value stands, one that is right there, and some that are not.
VALUES = (
    (route4('network'), '10.9.0.0',
     ('banana', '10.9.0', '10.9.0.256', '10.9.0.0.', '10.9.0.0/16', '10.9.0.0\n', '')),
    (route4('metric'), '255', ('', '256', '5x')),
    (lambda value: vlans(STATIC_ROUTES6=[{'network': value, 'prefix': 48, 'gateway': '::1'}]),
     '2001:db8::', ('banana', '10.9.0.0', '')),
    (lambda value: vlans(BGP={'PEERS': [{'Name': 'BGP_10_1', 'as': 1, 'address': value}]}),
     '10.1.2.1', ('banana', '10.1.2', '')),
    (lambda value: vlans(IGMP={'IF_LIST': [{'Name': 'IGMP_10_3', 'GROUPS': [{'address': value}]}]}),
     '239.1.1.1', ('224.0.0', '10.1.1.1')),
    (lambda value: vlans(MLD={'IF_LIST': [{'Name': 'MLD_10_3', 'GROUPS': [{'address': value}]}]}),
     'ff05::1', ('ff::1', 'fe80::1')),
    (lambda value: interface(ipv4=value), '10.1.0.1/16', ('999.1.0.1/16', '10.1.0.1')),
    (lambda value: interface(ipv6=[value]), '2001:db8::1/64', ('banana/64', '2001:db8::1/129')),
    (lambda value: ('device', {'default_vlan': 10, 'primary_interfaces': {value: 'eth0'}}),
     '32767', ('32768', '99999', '00000000010', '10\n', 'x', '')),
)


def validator(kind):
    schema = json.loads((SCHEMAS / (kind + '.schema.json')).read_text(encoding='utf-8'))
    Draft7Validator.check_schema(schema)
    with warnings.catch_warnings():
        warnings.simplefilter('ignore', DeprecationWarning)
        resolver = RefResolver(SCHEMAS.as_uri() + '/', schema)
    return Draft7Validator(schema, resolver=resolver)


VALIDATORS = {kind: validator(kind) for kind in ('vlans', 'remote', 'device')}


def kind_of(path):
    name = path.name.lstrip('0123456789-')
    if name.startswith(('remote', 'other')) or path.parent.name == 'remote':
        return 'remote'
    return 'device' if name.startswith('device') else 'vlans'


def mistake(kind, document):
    """The first of the schema's complaints, or nothing."""
    for error in VALIDATORS[kind].iter_errors(document):
        return '%s: %s' % ('/'.join(map(str, error.absolute_path)), error.message[:200])
    return None


def with_one_wrong(value):
    """The value with one part of another type, for each of its parts, itself included."""
    if isinstance(value, bool) or value is None:
        yield 'true'
    elif isinstance(value, str):
        yield []
    elif isinstance(value, (int, float)):
        yield -1
        yield 'x'
        yield 1.5
    else:
        yield 5
        yield 'x'
        for key in range(len(value)) if isinstance(value, list) else list(value):
            for wrong in with_one_wrong(value[key]):
                copy = value.copy()
                copy[key] = wrong
                yield copy


def scenario_documents():
    for path in sorted((ROOT / 'tests/scenarios').glob('*/[0-9][0-9]-*.json')):
        if not path.name[3:].startswith(PIECES):
            yield path


def main():
    problems = []
    checked = 0

    def expect(where, kind, document, refused):
        nonlocal checked
        checked += 1
        found = mistake(kind, document)
        if refused and found is None:
            problems.append('%s: the schema takes it' % where)
        elif not refused and found is not None:
            problems.append('%s: %s' % (where, found))

    listed = (pathlib.Path(__file__).parent / 'refused.txt').read_text(encoding='utf-8').split('\n')
    refused = {line for line in listed if line and not line.startswith('#')}
    for path in scenario_documents():
        where = '%s/%s' % (path.parent.name, path.name)
        document = json.loads(path.read_text(encoding='utf-8'))
        expect(where, kind_of(path), document, where in refused)
        refused.discard(where)
    problems += ['refused.txt: there is no %s' % where for where in sorted(refused)]
    examples = sorted((ROOT / 'examples').rglob('*.json'))
    if not examples:
        problems.append('there are no examples')
    for path in examples:
        expect(path, kind_of(path), json.loads(path.read_text(encoding='utf-8')), False)
    for shown in files_shown(ROOT / 'docs/documents.md'):
        where = 'documents.md, line %d' % shown.line
        kind = kind_of(pathlib.Path(shown.name))
        document = json.loads(shown.text)
        expect(where, kind, document, shown.has_mistakes)
        if not shown.has_mistakes:
            for wrong in with_one_wrong(document):
                expect('%s, as %s' % (where, json.dumps(wrong)), kind, wrong, True)
    for place, right, wrong in VALUES:
        for value in (right, *wrong):
            kind, document = place(value)
            expect(json.dumps(document), kind, document, value in wrong)
    if checked < 500:
        problems.append('only %d documents were found' % checked)
    sys.exit('\n'.join(problems) if problems else 0)


main()
