"""Checks the repository's own rules: lint.py {arrows|format|words} [ROOT].

arrows  every #include follows the table of docs/architecture.md
format  every C and C++ file is as clang-format would write it
words   no file holds wording of tests/lint/words.txt, which is the one file not looked at
"""

import os
import re
import subprocess
import sys

SOURCES = ('.c', '.cpp', '.h')
WORDS = 'tests/lint/words.txt'
TABLE = 'docs/architecture.md'
INCLUDE_DIRS = ('include', 'platform', '')
OUTSIDE = (
    ('json/', 'jsoncpp'), ('uv.h', 'libuv'), ('uv/', 'libuv'), ('libtecla.h', 'tecla'),
    ('gtest/', 'googletest'), ('gmock/', 'googletest'), ('benchmark/', 'benchmark'),
)
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)
QUOTED = re.compile(r'"(?:[^"\\]|\\.)*"|`[^`]*`')


def repository_files(root):
    listing = subprocess.run(
        ['git', '-c', 'safe.directory=*', 'ls-files', '-z', '--cached', '--others',
         '--exclude-standard'], cwd=root, check=True, stdout=subprocess.PIPE)
    names = {name for name in listing.stdout.decode().split('\0') if name}
    if not names:
        raise SystemExit(root + ': git names no files here')
    return sorted(name for name in names if os.path.isfile(os.path.join(root, name)))


def read(root, name):
    with open(os.path.join(root, name), encoding='utf-8', errors='replace') as file:
        return file.read()


def source_files(root):
    return [name for name in repository_files(root) if name.endswith(SOURCES)]


# --- arrows ---------------------------------------------------------------------------------------

def read_table(root):
    text = read(root, TABLE)
    match = re.search(r'<!-- arrows -->\n(.*?)<!-- end of arrows -->', text, re.S)
    if not match:
        raise SystemExit(TABLE + ': no table of arrows')
    table = {}
    for line in match.group(1).splitlines():
        if line.strip():
            folder, targets = line.split('->')
            table[folder.strip()] = [t.strip() for t in targets.split(',') if t.strip()]
    return table


def is_below(name, prefix):
    return name == prefix or name.startswith(prefix + '/')


def folder_of(name, table):
    """The row that covers a file: the folder itself (with '*' filled in) and what it may include."""
    best = None
    for row, targets in table.items():
        parts = row.split('/')
        folder = '/'.join(name.split('/')[:len(parts)])
        matches = all(p in ('*', f) for p, f in zip(parts, folder.split('/')))
        if matches and is_below(os.path.dirname(name), folder):
            rank = (len(parts), '*' not in row)
            if best is None or rank > best[0]:
                best = (rank, folder, targets)
    return best and best[1:]


def resolve(root, name, included):
    """The project's file that a quoted include names, found the way the compiler finds it."""
    for base in (os.path.dirname(name),) + INCLUDE_DIRS:
        path = os.path.normpath(os.path.join(base, included))
        if os.path.isfile(os.path.join(root, path)):
            return path
    return None


def check_include(root, name, row, bracket, included):
    folder, targets = row
    if bracket == '"':
        path = resolve(root, name, included)
        if path is None:
            return 'is not a file of this project; use <> for an outside library'
        if is_below(path, folder) or any(is_below(path, target) for target in targets):
            return None
        return 'is in %s, which %s may not include' % (os.path.dirname(path), folder)
    if any(os.path.isfile(os.path.join(root, base, included)) for base in INCLUDE_DIRS):
        return 'is a file of this project; use "" for it'
    for prefix, library in OUTSIDE:
        if included.startswith(prefix) and library not in targets:
            return 'belongs to %s, which %s may not include' % (library, folder)
    return None


def check_arrows(root):
    table = read_table(root)
    errors = []
    for name in source_files(root):
        row = folder_of(name, table)
        if row is None:
            errors.append('%s: no row of %s covers this file' % (name, TABLE))
            continue
        text = read(root, name)
        for match in INCLUDE.finditer(text):
            problem = check_include(root, name, row, *match.groups())
            if problem:
                line = text.count('\n', 0, match.start(2)) + 1
                errors.append('%s:%d: %s %s' % (name, line, match.group(2), problem))
    return errors


# --- format ---------------------------------------------------------------------------------------

def check_format(root):
    names = source_files(root)
    errors = []
    for start in range(0, len(names), 50):
        result = subprocess.run(
            ['clang-format', '--dry-run', '-Werror', '--style=file'] + names[start:start + 50],
            cwd=root, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        output = result.stdout.decode(errors='replace')
        found = [line for line in output.splitlines() if ' error: ' in line]
        if result.returncode != 0 and not found:
            found = output.splitlines() or ['clang-format failed']
        errors += found
    return errors


# --- words ----------------------------------------------------------------------------------------

def read_words(root):
    words = []
    for line in read(root, WORDS).splitlines():
        if line and not line.startswith('#'):
            unquoted = line.startswith('unquoted ')
            pattern = line[len('unquoted '):] if unquoted else line
            words.append((re.compile(pattern, re.I), unquoted))
    if not words:
        raise SystemExit(WORDS + ': no words')
    return words


def check_text(where, text, words):
    bare = QUOTED.sub('""', text)
    for pattern, unquoted in words:
        match = pattern.search(bare if unquoted else text)
        if match:
            yield '%s: forbidden wording: %s' % (where, match.group(0).strip())


def check_words(root):
    words = read_words(root)
    errors = []
    for name in repository_files(root):
        if name == WORDS:
            continue
        errors += check_text(name, name, words)
        for number, line in enumerate(read(root, name).splitlines(), 1):
            errors += check_text('%s:%d' % (name, number), line, words)
    return errors


CHECKS = {'arrows': check_arrows, 'format': check_format, 'words': check_words}


def main():
    if len(sys.argv) not in (2, 3) or sys.argv[1] not in CHECKS:
        raise SystemExit(__doc__)
    root = sys.argv[2] if len(sys.argv) == 3 else '.'
    errors = CHECKS[sys.argv[1]](root)
    print('\n'.join(errors + ['%s: %d errors' % (sys.argv[1], len(errors))]))
    sys.exit(1 if errors else 0)


if __name__ == '__main__':
    main()
