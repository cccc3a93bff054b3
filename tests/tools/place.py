"""A folder as the project's, as far as its documents use it. Nothing is built or installed there."""

import os
import shutil


def make_place(folder, programs, source):
    """`programs` has the daemon and its client, `source` is the project's own folder."""
    shutil.copy(os.path.join(source, 'run'), folder)
    os.mkdir(os.path.join(folder, 'tools'))
    for tool in ('setup', 'build'):
        os.symlink('/bin/true', os.path.join(folder, 'tools', tool))
    os.makedirs(os.path.join(folder, 'build', 'dev'))
    os.symlink(programs, os.path.join(folder, 'build', 'dev', 'bin'))
    for example in ('first-network', 'namespace-lab'):
        shutil.copytree(os.path.join(source, 'examples', example),
                        os.path.join(folder, 'examples', example))
    os.mkdir(os.path.join(folder, 'tmp'))
