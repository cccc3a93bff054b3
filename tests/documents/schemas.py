"""The schemas of docs/schema, and documents to try them with."""

import json
import pathlib
import warnings

from documents_text import files_shown

with warnings.catch_warnings():  # later versions of the package have another way of resolving
    warnings.simplefilter('ignore', DeprecationWarning)
    from jsonschema import Draft7Validator

# Documents of scenarios that are no whole documents of any kind.
PIECES = ('profiles', 'names')


class Schemas:
    def __init__(self, root):
        self._validators = {}
        for kind in ('vlans', 'remote', 'device'):
            path = root / 'docs/schema' / (kind + '.schema.json')
            schema = json.loads(path.read_text(encoding='utf-8'))
            Draft7Validator.check_schema(schema)
            self._validators[kind] = Draft7Validator(schema)

    def mistake(self, kind, document):
        """The first of the schema's complaints, or nothing. Formats are not looked at, since not every
        validator does."""
        for error in self._validators[kind].iter_errors(document):
            return '%s: %s' % ('/'.join(map(str, error.absolute_path)), error.message[:200])
        return None


def kind_of(path):
    name = path.name.lstrip('0123456789-')
    if name.startswith(('remote', 'other')) or path.parent.name == 'remote':
        return 'remote'
    return 'device' if name.startswith('device') else 'vlans'


def with_one_wrong(value):
    """The value with one part of another type, for each of its parts, itself included."""
    yield None
    if isinstance(value, bool):
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
        yield {**value, 'unknown': 5} if isinstance(value, dict) else value + [None]
        for key in range(len(value)) if isinstance(value, list) else list(value):
            for wrong in with_one_wrong(value[key]):
                copy = value.copy()
                copy[key] = wrong
                yield copy


def scenario_documents(root):
    for path in sorted((root / 'tests/scenarios').glob('*/[0-9][0-9]-*.json')):
        if not path.name[3:].startswith(PIECES):
            yield path


def good_documents(root):
    """The examples, and what documents.md shows without mistakes: where it stands, kind and document."""
    for path in sorted((root / 'examples').rglob('*.json')):
        yield str(path), kind_of(path), json.loads(path.read_text(encoding='utf-8'))
    for shown in files_shown(root / 'docs/documents.md'):
        if not shown.has_mistakes:
            yield ('documents.md, line %d' % shown.line, kind_of(pathlib.Path(shown.name)),
                   json.loads(shown.text))
