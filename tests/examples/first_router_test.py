"""Builds and runs the router author's example as a router author would.

first_router_test.py CMAKE COMPILER BUILD_TREE EXAMPLE [COMPILER_FLAG...]

The build tree is installed into a scratch folder and the example is copied beside it, so that nothing
of the source tree is within reach.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

CMAKE, COMPILER, BUILD_TREE, EXAMPLE = sys.argv[1:5]
FLAGS = ['-Wall', '-Wextra', '-Werror'] + [flag for flag in sys.argv[5:] if flag]


def run(*command, cwd=None, **environment):
    result = subprocess.run(command, cwd=cwd, env={**os.environ, **environment},
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    if result.returncode != 0:
        raise AssertionError('%s\n%s%s' % (' '.join(command), result.stdout.decode(),
                                           result.stderr.decode()))
    return result.stdout.decode()


class FirstRouter(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix='first-router-')
        cls.prefix = os.path.join(cls.folder, 'installed')
        cls.example = os.path.join(cls.folder, 'example')
        run(CMAKE, '--install', BUILD_TREE, '--prefix', cls.prefix)
        shutil.copytree(EXAMPLE, cls.example)
        with open(os.path.join(EXAMPLE, 'expected.txt'), encoding='utf-8') as file:
            cls.expected = file.read()

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def installed(self, name):
        for folder, _, names in os.walk(self.prefix):
            if name in names:
                return folder
        self.fail(name + ' is not installed')

    def test_with_the_cmake_package(self):
        build = os.path.join(self.folder, 'build')
        run(CMAKE, '-S', self.example, '-B', build, '-G', 'Ninja',
            '-DCMAKE_PREFIX_PATH=' + self.prefix, '-DCMAKE_CXX_COMPILER=' + COMPILER,
            '-DCMAKE_CXX_FLAGS=' + ' '.join(FLAGS))
        run(CMAKE, '--build', build)
        self.assertEqual(run(os.path.join(build, 'first-router')), self.expected)

    def test_with_pkg_config(self):
        packages = self.installed('vantacore-device.pc')
        flags = run('pkg-config', '--cflags', '--libs', 'vantacore-device',
                    PKG_CONFIG_PATH=packages).split()
        program = os.path.join(self.folder, 'first-router')
        run(COMPILER, '-std=c++17', *FLAGS, 'main.cpp', 'first_router.cpp', *flags, '-o', program,
            cwd=self.example)
        libraries = self.installed('libvantacore.so')
        self.assertEqual(run(program, LD_LIBRARY_PATH=libraries), self.expected)

    def test_without_the_device_the_package_says_what_is_missing(self):
        prefix = os.path.join(self.folder, 'library-only')
        for component in ('library', 'development', 'platform'):
            run(CMAKE, '--install', BUILD_TREE, '--prefix', prefix, '--component', component)
        with self.assertRaisesRegex(AssertionError, 'component device'):
            run(CMAKE, '-S', self.example, '-B', os.path.join(self.folder, 'without'), '-G',
                'Ninja', '-DCMAKE_PREFIX_PATH=' + prefix, '-DCMAKE_CXX_COMPILER=' + COMPILER)

    def test_what_is_installed_names_no_folder_of_this_machine(self):
        for folder, _, names in os.walk(self.prefix):
            for name in names:
                if name.endswith(('.h', '.cmake', '.pc')):
                    with open(os.path.join(folder, name), encoding='utf-8') as file:
                        text = file.read()
                    self.assertNotIn(BUILD_TREE, text, name)
                    self.assertNotIn(os.path.dirname(os.path.dirname(EXAMPLE)), text, name)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
