"""A private copy of the sources and of a build's objects, and what is built from it with a slip inside.

Only the files that see the slip are compiled. A shared library is linked anew from its objects, and
the suites find it by LD_LIBRARY_PATH. A static library gets the new objects in place of its own, and
each suite or program that links it is linked anew. The copies have no debug information, which would
take most of the time. Suites of processes are compiled anew, so that they find their programs by PATH.
"""

import collections
import concurrent.futures
import glob
import json
import os
import re
import shlex
import shutil
import subprocess
import sys

COMPILE = ['-O0', '-g0', '-w']
PROGRAMS = ('vantacored', 'vantacorectl')
PROCESSES = ('system_tests', 'kernel_tests')


def run(command, folder):
    result = subprocess.run(command, cwd=folder, text=True, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return result.returncode == 0, result.stdout


def demand(command, folder):
    done, output = run(command, folder)
    if not done:
        sys.exit(f'{output[-4000:]}\n{" ".join(command)} failed')
    return output


class Copy:
    """The sources and the objects as they are now; neither an editor nor a build changes them."""

    def __init__(self, root, build, folder, suites, jobs):
        self.root, self.build, self.jobs = root, build, jobs
        self.sources, self.objects = os.path.join(folder, 'sources'), os.path.join(folder, 'objects')
        for old in (self.sources, self.objects):
            shutil.rmtree(old, ignore_errors=True)
        for name in ('device', 'include', 'platform', 'src'):
            shutil.copytree(os.path.join(root, name), os.path.join(self.sources, name))
        with open(os.path.join(build, 'compile_commands.json'), encoding='utf-8') as file:
            entries = json.load(file)
        self.compile_commands = {self.output_of(e): shlex.split(e['command']) for e in entries}
        self.readers = self.find_readers()
        self.targets = self.find_targets([*suites, *(PROGRAMS if set(PROCESSES) & set(suites) else ())])
        self.copy_objects(suites)

    @staticmethod
    def output_of(entry):
        words = shlex.split(entry['command'])
        return words[words.index('-o') + 1]

    def moved(self, words):
        """The words of a command with the copy's folders in them."""
        inside = re.compile(re.escape(self.root) + r'(?=/(?:device|include|platform|src)\b|$)')
        return [inside.sub(self.sources, word) for word in words]

    def find_readers(self):
        """The objects for which each of our files was read."""
        readers, target = collections.defaultdict(set), None
        for line in demand(['ninja', '-C', self.build, '-t', 'deps'], self.root).splitlines():
            if line.startswith('    '):
                path = os.path.normpath(os.path.join(self.build, line.strip()))
                if path.startswith(self.root + os.sep):
                    readers[os.path.relpath(path, self.root)].add(target)
            else:
                target = line.split(':')[0]
        return readers

    def find_targets(self, executables):
        """The link command of each executable and of each shared library."""
        paths = ['bin/' + name for name in executables]
        for library in glob.glob(self.build + '/lib/*.so*'):
            if not os.path.islink(library):
                paths.append('lib/' + os.path.basename(library))
        targets = {}
        for path in paths:
            printed = demand(['ninja', '-C', self.build, '-t', 'commands', '-s', path], self.root)
            command = shlex.split(printed)
            begin = command.index('&&') + 1
            targets[path] = self.moved(command[begin:command.index('&&', begin)])
        return targets

    def copy_objects(self, suites):
        wanted = {'bin/' + name for name in suites}
        for words in self.targets.values():
            wanted |= {word for word in words if not word.startswith('/') and word.endswith(('.o', '.a'))}
        os.makedirs(self.objects + '/bin')
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            list(pool.map(self.copy_stripped, sorted(wanted)))
        for library in glob.glob(self.build + '/lib/*.so*'):
            shutil.copy2(library, self.objects + '/lib', follow_symlinks=False)
        for name in PROGRAMS:
            if 'bin/' + name in self.targets:
                shutil.copy2(f'{self.build}/bin/{name}', self.objects + '/bin')
        for suite in sorted(set(PROCESSES) & set(suites)):
            self.compile_processes(suite)

    def copy_stripped(self, name):
        os.makedirs(os.path.dirname(os.path.join(self.objects, name)), exist_ok=True)
        demand(['objcopy', '--strip-debug', os.path.join(self.build, name),
                os.path.join(self.objects, name)], self.root)

    def compile_processes(self, suite):
        def compile_object(name):
            words = list(self.compile_commands[name])
            words[words.index('-o') + 1] = os.path.join(self.objects, name)
            words = [re.sub(r'^(-D\w+_COMMAND)=.*/(\w+)"$', r'\1="\2"', word) for word in words]
            demand(words + ['-g0'], self.build)

        words = self.targets['bin/' + suite]
        with concurrent.futures.ThreadPoolExecutor(self.jobs) as pool:
            list(pool.map(compile_object, [word for word in words if word.endswith('.o')]))
        demand(words, self.objects)

    def text(self, file):
        with open(os.path.join(self.sources, file), encoding='utf-8') as source:
            return source.read()

    def files_of(self, area):
        """The files of an area in which slips are planted."""
        if area.files is not None:
            return area.files
        files = []
        for file in sorted(glob.glob(f'{self.sources}/{area.folder}/*')):
            file = os.path.relpath(file, self.sources)
            if file.endswith('.cpp') or file.endswith('.h') and self.is_private(area, file):
                files.append(file)
        return files

    def is_private(self, area, header):
        return all(self.source_of(unit).startswith(area.folder + '/') for unit in self.readers[header])

    def source_of(self, unit):
        return os.path.relpath(self.compile_commands[unit][-1], self.root)

    def units_of(self, file):
        """The objects of the library and the device that are made from a file."""
        return sorted(unit for unit in self.readers[file] if unit.startswith(('src/', 'device/')))


class Variant:
    """What is built with one slip inside, in a folder of its own."""

    def __init__(self, copy, slip, folder):
        self.copy, self.folder = copy, folder
        self.archives, self.linked = {}, {}
        for name in ('bin', 'lib'):
            os.makedirs(os.path.join(folder, name))
        self.objects = self.compile(slip)

    def compile(self, slip):
        """The new objects by the names of the old; None when the slip does not compile."""
        area = os.path.dirname(slip.file)
        shutil.copytree(os.path.join(self.copy.sources, area), os.path.join(self.folder, area))
        text = self.copy.text(slip.file)
        with open(os.path.join(self.folder, slip.file), 'w', encoding='utf-8') as file:
            file.write(text[:slip.start] + slip.text + text[slip.end:])
        objects = {}
        for number, unit in enumerate(self.copy.units_of(slip.file)):
            objects[unit] = os.path.join(self.folder, f'{number}.{os.path.basename(unit)}')
            words = self.copy.moved(self.copy.compile_commands[unit])
            words[words.index('-o') + 1] = objects[unit]
            source = self.copy.source_of(unit)
            if os.path.dirname(source) == area:
                words[-1] = os.path.join(self.folder, source)
            words[-1:-1] = [*COMPILE, '-iquote', self.folder]
            if not run(words, self.copy.build)[0]:
                return None
        return objects

    def link_libraries(self):
        """Links the shared libraries that have a slip in them."""
        return all(self.link(path, words) for path, words in self.copy.targets.items()
                   if path.startswith('lib/') and self.changed(words) != words)

    def executable(self, name):
        """The path of a suite or a program with the slip, wherever that is; None if it does not link."""
        path = 'bin/' + name
        words = self.copy.targets[path]
        if self.changed(words) == words:
            return os.path.join(self.copy.objects, path)
        return os.path.join(self.folder, path) if self.link(path, words) else None

    def link(self, path, words):
        if path not in self.linked:
            changed = self.changed(words)
            name = next((word.rpartition(',')[2] for word in words if word.startswith('-Wl,-soname,')),
                        os.path.basename(path))
            changed[changed.index('-o') + 1] = os.path.join(self.folder, os.path.dirname(path), name)
            self.linked[path] = run(changed, self.copy.objects)[0]
        return self.linked[path]

    def changed(self, words):
        return [self.objects.get(word) or self.archive(word) for word in words]

    def archive(self, word):
        """The copy of a static library that has new objects in it; another word as it is."""
        if not word.endswith('.a') or word.startswith('/'):
            return word
        owner = os.path.basename(word)[len('lib'):-len('.a')]
        new = {os.path.basename(unit): path for unit, path in self.objects.items()
               if f'/{owner}.dir/' in unit}
        if new and word not in self.archives:
            copy = os.path.join(self.folder, word)
            shutil.copy2(os.path.join(self.copy.objects, word), copy)
            members = os.path.join(self.folder, owner + '.members')
            os.makedirs(members)
            for member, path in new.items():
                shutil.copy2(path, os.path.join(members, member))
            demand(['ar', 'r', copy, *(os.path.join(members, member) for member in new)], self.folder)
            self.archives[word] = copy
        return self.archives.get(word, word)

    def environment(self):
        objects = self.copy.objects
        return dict(os.environ, TMPDIR=self.folder,
                    LD_LIBRARY_PATH=f'{self.folder}/lib:{objects}/lib',
                    PATH=f'{self.folder}/bin:{objects}/bin:{os.environ["PATH"]}')
