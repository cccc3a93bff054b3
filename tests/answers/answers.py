"""Answers in JSON, and what docs/schema says of them."""

import json
import warnings

with warnings.catch_warnings():  # later versions of the package have another way of resolving
    warnings.simplefilter('ignore', DeprecationWarning)
    from jsonschema import Draft7Validator

DOCUMENTS = ('device', 'remote', 'vlans')  # whose schemas are of what the device reads

# What may be missing of an object that the schema describes. Everything else is always there.
OF_A_ROUTE = {'next_hop', 'interface', 'status', 'status_text', 'reason', 'reason_text', 'note',
              'note_text', 'next_try_seconds', 'leaves_in_seconds'}
OPTIONAL = {
    'route': OF_A_ROUTE | {'distance', 'interface_index', 'age_seconds', 'beaten_by', 'kernel_refusal'},
    'explain': OF_A_ROUTE | {'address', 'longer_not_in_use', 'revision', 'asked', 'answered',
                             'origin', 'trouble_text', 'places_of_revision', 'kernel_refusal'},
    'watch': {'next_hop', 'interface', 'interface_index'},
}
# Texts of which only certain ones may stand.
CHOSEN = {
    'route': {'family', 'protocol', 'state', 'reason', 'note'},
    'explain': {'protocol', 'reason', 'note', 'time'},
    'requests': {'state'},
    'diff': {'severity', 'how', 'kind'},
    'status': {'started', 'time', 'cause'},
    'watch': {'time', 'kind', 'cause', 'change', 'family', 'protocol', 'request'},
}
CHOSEN_ANYWHERE = {'view', 'severity', 'time', 'cause', 'until'}


class Wrong(Exception):
    """An answer is not what it should be."""


def _no_constant(name):
    raise Wrong(name + ' is not JSON')


def _no_doubles(pairs):
    members = dict(pairs)
    if len(members) != len(pairs):
        raise Wrong('a member stands twice: %s' % [key for key, _ in pairs])
    return members


def parse(text):
    """The one document that the bytes are."""
    if not text.endswith(b'\n') or text.endswith(b'\n\n'):
        raise Wrong('it does not end with one line feed: %r' % text[-80:])
    try:
        return json.loads(text.decode('utf-8', errors='strict'), parse_constant=_no_constant,
                          object_pairs_hook=_no_doubles)
    except ValueError as problem:
        raise Wrong('%s: %r' % (problem, text[-200:])) from problem


def parse_lines(text):
    """The documents of a stream."""
    return [parse(line) for line in text.splitlines(keepends=True)]


class Schemas:
    def __init__(self, root):
        self._validators = {}
        for path in sorted((root / 'docs/schema').glob('*.schema.json')):
            name = path.name.partition('.')[0]
            if name not in DOCUMENTS:
                schema = json.loads(path.read_text(encoding='utf-8'))
                Draft7Validator.check_schema(schema)
                if not schema['$schema'].startswith('http://json-schema.org/draft-07/'):
                    raise Wrong('%s is not of draft 7' % path)
                self._validators[name] = Draft7Validator(schema)
        self.used = set()

    def names(self):
        return set(self._validators)

    def members(self, name):
        return members(self._validators[name].schema)

    def mistake(self, name, document):
        for error in self._validators[name].iter_errors(document):
            return '%s: %s' % ('/'.join(map(str, error.absolute_path)), error.message[:300])
        return None

    def expect(self, name, document):
        self.used.add(name)
        mistake = self.mistake(name, document)
        if mistake:
            raise Wrong('%s: %s' % (name, mistake))
        if name != 'watch' and document['view'] != name:
            raise Wrong('The view %s calls itself %s' % (name, document['view']))


class Planter:
    """Documents with one fault each. Of objects that have the same members at the same place it
    plants faults into one only, so a long list costs no more than a short one."""

    def __init__(self):
        self._seen = set()

    def faults(self, view, document):
        return self._of(view, (view,), document)

    def _of(self, view, path, value):
        yield from _of_another_type(value)
        if isinstance(value, str) and path[-1] in CHOSEN.get(view, set()) | CHOSEN_ANYWHERE:
            yield 'unknown'
        if isinstance(value, list):
            yield value + [None]
        if isinstance(value, (list, dict)):
            yield from self._within(view, path, value)

    def _within(self, view, path, value):
        if isinstance(value, dict):
            shape = (path, tuple((key, type(part)) for key, part in value.items()))
            if shape in self._seen:
                return
            self._seen.add(shape)
            yield {**value, 'unknown': 5}
            for key in value:
                if key not in OPTIONAL.get(view, set()):
                    yield {name: part for name, part in value.items() if name != key}
        for key, part in enumerate(value) if isinstance(value, list) else value.items():
            place = path if isinstance(value, list) else (*path, key)
            for wrong in self._of(view, place, part):
                copy = value.copy()
                copy[key] = wrong
                yield copy


def _of_another_type(value):
    if value is None:
        yield {'unknown': 5}
    elif isinstance(value, bool):
        yield 'true'
        yield 1
    elif isinstance(value, str):
        yield []
        yield 5
    elif isinstance(value, int):
        yield -1
        yield 1.5
        yield 'x'
    else:
        yield 5
        yield 'x'


def members(schema):
    """The names of all members that a schema describes."""
    names = set()
    if isinstance(schema, dict):
        names |= {name for name, part in schema.get('properties', {}).items() if part is not False}
    if isinstance(schema, (dict, list)):
        for part in schema.values() if isinstance(schema, dict) else schema:
            names |= members(part)
    return names
