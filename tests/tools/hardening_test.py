"""Checks tools/hardening: hardening_test.py COMPILER TOOL.

Programs and libraries of a few lines stand where the tool looks. It finds nothing when they are as they
should be, and exactly the one thing that is wrong when a flag is taken away from one of them.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

COMPILER, TOOL = sys.argv[1:3]
SOURCE = r'''
#include <stdio.h>
#include <string.h>
int copy(const char* text) {
  char bytes[64];
  memset(bytes, text[0], sizeof bytes);
  strcpy(bytes, text);
  printf("%s\n", bytes);
  return bytes[1];
}
'''
FLAGS = ['-O2', '-fstack-protector-strong', '-U_FORTIFY_SOURCE', '-D_FORTIFY_SOURCE=2',
         '-Wl,-z,relro', '-Wl,-z,noexecstack']
PROGRAM = FLAGS + ['-DPROGRAM', '-fPIE', '-pie', '-Wl,-z,now']
LIBRARY = FLAGS + ['-fPIC', '-shared', '-Wl,-z,lazy']
DAEMON = PROGRAM + ['-Wl,-rpath,$ORIGIN/../lib/device']
PLACES = {'bin/vantacored': DAEMON, 'bin/vantacorectl': PROGRAM, 'lib/libvantacore.so.1': LIBRARY,
          'lib/device/libprotocol_routers.so': LIBRARY, 'lib/device/librouting_stack.so': LIBRARY,
          'lib/device/libtarsel_base.so': LIBRARY, 'lib/device/libdocument_check.so': LIBRARY}


class Hardening(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.scratch = tempfile.TemporaryDirectory(prefix='hardening-')
        cls.source = os.path.join(cls.scratch.name, 'source.c')
        with open(cls.source, 'w', encoding='utf-8') as file:
            file.write(SOURCE + '#ifdef PROGRAM\nint main(int n, char** v) '
                                '{ return n + copy(v[0]); }\n#endif\n')
        cls.sound = os.path.join(cls.scratch.name, 'sound')
        for place, flags in PLACES.items():
            cls.compile(os.path.join(cls.sound, place), flags)

    @classmethod
    def tearDownClass(cls):
        cls.scratch.cleanup()

    @classmethod
    def compile(cls, path, flags):
        os.makedirs(os.path.dirname(path), exist_ok=True)
        subprocess.run([COMPILER, cls.source, '-o', path, *flags], check=True)

    def setUp(self):
        self.folder = os.path.join(self.scratch.name, 'tried')
        shutil.copytree(self.sound, self.folder)
        self.addCleanup(shutil.rmtree, self.folder)

    def spoil(self, place, *flags):
        """The last of two flags that contradict each other counts."""
        self.compile(os.path.join(self.folder, place), PLACES[place] + list(flags))

    def found(self):
        result = subprocess.run([TOOL, self.folder], stderr=subprocess.PIPE)
        lines = result.stderr.decode().splitlines()
        self.assertEqual(result.returncode, 1 if lines else 0)
        return lines

    def expect_each(self, places, flags, problem):
        for place in places:
            self.spoil(place, *flags)
            with self.subTest(place):
                self.assertEqual(self.found(), ['%s: %s' % (os.path.basename(place), problem)])
            shutil.copy(os.path.join(self.sound, place), os.path.join(self.folder, place))

    PROGRAMS = ['bin/vantacored', 'bin/vantacorectl']
    LIBRARIES = [place for place in PLACES if place.startswith('lib')]

    def test_finds_nothing_where_nothing_is_missing(self):
        self.assertEqual(self.found(), [])

    def test_relro(self):
        self.expect_each(PLACES, ['-Wl,-z,norelro'], 'no RELRO')

    def test_executable_stack(self):
        self.expect_each(PLACES, ['-Wl,-z,execstack'], 'an executable stack')

    def test_stack_protector(self):
        self.expect_each(PLACES, ['-fno-stack-protector'], 'no stack protector')

    def test_pie(self):
        self.expect_each(self.PROGRAMS, ['-no-pie', '-fno-pie'], 'no PIE')

    def test_immediate_binding(self):
        self.expect_each(self.PROGRAMS, ['-Wl,-z,lazy'], 'no immediate binding')
        self.expect_each(self.LIBRARIES, ['-Wl,-z,now'],
                         'immediate binding, which the libraries must not have')

    def test_fortify(self):
        self.expect_each(self.PROGRAMS, ['-U_FORTIFY_SOURCE'], 'no function of FORTIFY')

    def test_run_path(self):
        for path in ('/somewhere', '$ORIGIN/../lib/..'):
            self.expect_each(PLACES, ['-Wl,-rpath,' + path], 'the run path ' + path)
        self.expect_each(set(PLACES) - {'bin/vantacored'}, ['-Wl,-rpath,$ORIGIN/../lib'],
                         'the run path $ORIGIN/../lib')

    def test_run_path_of_a_build_tree(self):
        own = os.path.join(os.path.realpath(self.folder), 'lib')
        self.expect_each(['bin/vantacored'], ['-Wl,-rpath,' + own], 'the run path ' + own)
        with open(os.path.join(self.folder, 'CMakeCache.txt'), 'w', encoding='utf-8'):
            pass
        self.spoil('bin/vantacored', '-Wl,-rpath,' + own)
        self.assertEqual(self.found(), [])
        self.expect_each(['bin/vantacored'], ['-Wl,-rpath,/somewhere'], 'the run path /somewhere')

    def test_a_file_that_is_not_there(self):
        for place in PLACES:
            os.remove(os.path.join(self.folder, place))
        self.assertEqual(self.found(), [os.path.basename(place) + ': not found' for place in (
            'vantacored', 'vantacorectl', 'libvantacore.so.1', 'libprotocol_routers.so',
            'librouting_stack.so', 'libtarsel_base.so', 'libdocument_check.so')])


unittest.main(argv=sys.argv[:1])
