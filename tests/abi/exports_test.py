"""Checks what the built library exports and what it asks others for.

exports_test.py COMPILER NM READELF HEADERS LIBRARY DEVICE_LIBRARY...
"""

import glob
import os
import re
import subprocess
import sys
import unittest

COMPILER, NM, READELF, HEADERS, LIBRARY = sys.argv[1:6]
DEVICE_LIBRARIES = sys.argv[6:]

CALLBACKS = set('''
    cRescheduleNBase cIsNBaseRescheduled cIsIpv6Instance cGetIp4Instance cGetIp6Instance
    cSetRouteState cSetRedistState cIsRtmReady cSetRtmReady cGetRtmConfig cGetAddress
    cGetVlanAddress cI3Ready cRunPendingAction cRegisterWorkWithEventloop
    cUnregisterWorkWithEventloop cChangeMask
    '''.split())
ROUTE_FUNCTIONS = 'AddRoute RemoveRoute EnableRoute DisableRoute'.split()

IN_NAMESPACE = re.compile(
    r'(typeinfo for |typeinfo name for |vtable for |VTT for |construction vtable for |'
    r'(non-)?virtual thunk to )?Tarsel::')
STACK_FUNCTION = re.compile(r'(sms_|smsi_|nbb_)\w+$|InvokeCallback$')
JSONCPP = re.compile(r'(typeinfo for |vtable for )?Json::')
RUNTIME_VERSION = re.compile(r'@+(GLIBC|GLIBCXX|CXXABI|GCC)_')
RUNTIME_UNVERSIONED = re.compile(r'(_ITM_(de)?registerTMCloneTable|__gmon_start__)$')
SANITIZER = re.compile(r'__(asan|ubsan|lsan|sanitizer)_')
NEEDED = re.compile(r'(libjsoncpp|libstdc\+\+|libm|libgcc_s|libc|ld-linux[\w-]*|libasan|libubsan)'
                    r'\.so[.\d]*$')


def symbols(library, which):
    """The dynamic symbols of a library as {name: nm's letter}."""
    command = [NM, '--dynamic', '--demangle', which, library]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout.decode()
    found = {}
    for line in output.splitlines():
        letter, name = re.match(r'[0-9a-f]* +(\S) (.*)', line).groups()
        found[name] = letter
    return found


def without_version(name):
    return re.sub(r'@+\w[\w.]*$', '', name)


def dynamic_section(tag):
    output = subprocess.run([READELF, '--dynamic', '--wide', LIBRARY], check=True,
                            stdout=subprocess.PIPE).stdout.decode()
    return re.findall(r'\(%s\).*\[(.*)\]' % tag, output)


def interceptors():
    """In a sanitizer build: the functions of the run-time library that the sanitizer stands in for."""
    found = set()
    for library in dynamic_section('NEEDED'):
        if library.startswith('libasan.'):
            path = subprocess.run([COMPILER, '-print-file-name=' + library], check=True,
                                  stdout=subprocess.PIPE).stdout.decode().strip()
            found |= {without_version(name) for name in symbols(path, '--defined-only')}
    return found


def header_text():
    texts = []
    for path in sorted(glob.glob(os.path.join(HEADERS, '*.h'))):
        with open(path, encoding='utf-8') as file:
            texts.append(file.read())
    return '\n'.join(texts)


class Exports(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        exported = symbols(LIBRARY, '--defined-only')
        cls.exported = {without_version(name): letter for name, letter in exported.items()
                        if letter != 'A'}

    def test_soname(self):
        self.assertEqual(dynamic_section('SONAME'), ['libvantacore.so.1'])

    def test_every_callback_is_a_strong_c_function(self):
        self.assertEqual({name: self.exported.get(name) for name in sorted(CALLBACKS)},
                         {name: 'T' for name in sorted(CALLBACKS)})

    def test_scheduler_pointer(self):
        self.assertIn('Tarsel::g_cfgsched', self.exported)

    def test_route_functions(self):
        for name in ROUTE_FUNCTIONS:
            self.assertTrue(any(symbol.startswith('Tarsel::%s(' % name)
                                for symbol in self.exported), name)

    def test_every_public_class_can_be_linked_to(self):
        # Plain structures may be all in their header.
        classes = set(re.findall(r'\bclass\s+VANTACORE_API\s+(\w+)', header_text()))
        self.assertGreater(len(classes), 30)
        members = '\n'.join(self.exported)
        missing = [name for name in sorted(classes)
                   if not re.search(r'\bTarsel::(\w+::)*%s(<\w+>)?::' % name, members)]
        self.assertEqual(missing, [])

    def test_nothing_else_is_exported(self):
        others = [name for name in self.exported
                  if name not in CALLBACKS and not IN_NAMESPACE.match(name)
                  and not SANITIZER.match(name)]
        self.assertEqual(others, [])

    def test_nothing_of_the_device_is_exported(self):
        # Inline functions and type information are weak and may be in several libraries.
        device = {}
        for library in DEVICE_LIBRARIES:
            device.update(symbols(library, '--defined-only'))
        strong = {name for name, letter in self.exported.items() if letter not in 'VWuA'}
        self.assertGreater(len(strong), 100)
        self.assertEqual(sorted(strong & device.keys()), [])


class Imports(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.undefined = symbols(LIBRARY, '--undefined-only')
        cls.device = set()
        for library in DEVICE_LIBRARIES:
            cls.device |= {without_version(name) for name in symbols(library, '--defined-only')}
        cls.interceptors = interceptors()

    def is_known(self, name):
        if RUNTIME_VERSION.search(name) or RUNTIME_UNVERSIONED.match(name):
            return True
        if JSONCPP.match(name) or SANITIZER.match(name) or name in self.interceptors:
            return True
        return bool(IN_NAMESPACE.match(name) or STACK_FUNCTION.match(name)) and name in self.device

    def test_only_the_platform_jsoncpp_and_the_run_time_are_asked_for(self):
        self.assertTrue(any(STACK_FUNCTION.match(name) for name in self.undefined))
        unknown = [name for name in self.undefined if not self.is_known(name)]
        self.assertEqual(unknown, [])

    def test_only_jsoncpp_and_the_run_time_are_linked(self):
        needed = dynamic_section('NEEDED')
        self.assertTrue(needed)
        self.assertEqual([name for name in needed if not NEEDED.match(name)], [])

    def test_library_neither_throws_nor_catches(self):
        names = {without_version(name) for name in self.undefined}
        self.assertEqual(sorted(names & {'__cxa_throw', '__cxa_rethrow', '__cxa_begin_catch'}), [])


if __name__ == '__main__':
    program = unittest.main(argv=sys.argv[:1], exit=False)
    bad = len(program.result.failures) + len(program.result.errors)
    print('%d passed, %d failed' % (max(program.result.testsRun - bad, 0), bad))
    sys.exit(1 if bad or program.result.testsRun == 0 else 0)
