"""What is kept beside the tool: explained survivors, named slips, and the results of earlier runs."""

import hashlib
import json
import os

from . import slips
from .areas import area_of


def read_survivors(path):
    entries = slips.read_entries(path, ['file', 'line', 'slip', 'reason'])
    return {(entry['file'], entry['line'], entry['slip']) for entry in entries}


def read_named(path, copy):
    """The slips by their names."""
    named = {}
    for entry in slips.read_entries(path, ['name', 'file', 'line', 'slip', 'harm']):
        slip = slips.replaced_line(area_of(entry['file']), entry['file'], copy.text(entry['file']),
                                   entry['line'], entry['slip'])
        if slip is None:
            raise SystemExit(f'{path}: {entry["name"]}: {entry["file"]} does not have this line once:\n'
                             f'{entry["line"]}')
        named[entry['name']] = slip
    return named


class Results:
    """The verdicts so far, which hold for the text of an area's folder only."""

    def __init__(self, path, sources, areas, is_kept):
        self.path = path if is_kept else None
        self.digests = {area.folder: digest_of(os.path.join(sources, area.folder)) for area in areas}
        self.verdicts = {}
        if is_kept and os.path.exists(path):
            self.read()

    def read(self):
        with open(self.path, encoding='utf-8') as file:
            for entry in map(json.loads, file):
                if entry['sources'] in self.digests.values():
                    self.verdicts[entry['file'], entry['line'], entry['slip']] = entry['verdict']

    def add(self, slip, verdict):
        self.verdicts[slips.identity(slip)] = verdict
        if self.path:
            entry = dict(zip(('file', 'line', 'slip'), slips.identity(slip)), verdict=verdict,
                         sources=self.digests[slip.area.folder])
            with open(self.path, 'a', encoding='utf-8') as file:
                file.write(json.dumps(entry) + '\n')

    def of(self, slip):
        return self.verdicts.get(slips.identity(slip))


def digest_of(folder):
    digest = hashlib.sha256()
    for path, folders, names in os.walk(folder):
        folders.sort()
        for name in sorted(names):
            with open(os.path.join(path, name), 'rb') as file:
                digest.update(file.read())
    return digest.hexdigest()
