"""Builds and runs the router author's example as a router author would."""

import os

from installed import (BUILD_TREE, CMAKE, COMPILER, FLAGS, SOURCE_TREE, InstalledExample, main, run)


class FirstRouter(InstalledExample):
    NAME = 'first-router'

    def test_with_the_cmake_package(self):
        build = os.path.join(self.folder, 'build')
        self.build_with_cmake(build)
        self.assertEqual(run(os.path.join(build, 'first-router')), self.expected)

    def test_with_pkg_config(self):
        program = os.path.join(self.folder, 'first-router')
        run(COMPILER, '-std=c++17', *FLAGS, 'main.cpp', 'first_router.cpp',
            *self.flags_of('vantacore-device'), '-o', program, cwd=self.example)
        libraries = self.installed('libvantacore.so')
        self.assertEqual(run(program, LD_LIBRARY_PATH=libraries), self.expected)

    def test_without_the_device_the_package_says_what_is_missing(self):
        prefix = os.path.join(self.folder, 'library-only')
        for component in ('library', 'development', 'platform'):
            run(CMAKE, '--install', BUILD_TREE, '--prefix', prefix, '--component', component)
        with self.assertRaisesRegex(AssertionError, 'component device'):
            run(CMAKE, '-S', self.example, '-B', os.path.join(self.folder, 'without'), '-G',
                'Ninja', '-DCMAKE_PREFIX_PATH=' + prefix, '-DCMAKE_CXX_COMPILER=' + COMPILER)

    def test_the_installed_daemon_finds_its_libraries(self):
        for program in ('vantacored', 'vantacorectl'):
            self.assertRegex(run(os.path.join(self.prefix, 'bin', program), '--version'),
                             '^' + program + r' \d+\.\d+\.\d+\n$')

    def test_what_is_installed_names_no_folder_of_this_machine(self):
        for folder, _, names in os.walk(self.prefix):
            for name in names:
                if name.endswith(('.h', '.cmake', '.pc')):
                    with open(os.path.join(folder, name), encoding='utf-8') as file:
                        text = file.read()
                    self.assertNotIn(BUILD_TREE, text, name)
                    self.assertNotIn(SOURCE_TREE, text, name)


if __name__ == '__main__':
    main()
