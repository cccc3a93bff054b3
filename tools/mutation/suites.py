"""Runs a suite and says whether it passes."""

import ctypes
import os
import signal
import subprocess
import time

# Each process of a suite may compute for so many seconds, of which most need one at most; what a suite
# does to a file system counts as well, and that depends on the machine. The other limit is for one that
# waits; it is long, because the machine may have more important things to do. A suite
# that could have the processor and hardly uses it waits for what will never come: after so many seconds
# of less than a tenth.
COMPUTING = 10
COMPUTING_OF = {'unit_revisions': 90}
WAITING = 600
IDLE = 12
TENTH = os.sysconf('SC_CLK_TCK') / 10
MEMORY = 4 << 30
# Suites that mostly wait, for processes or for time to pass: several runs share the tests.
SHARES = {'system_tests': 6, 'kernel_tests': 4, 'unit_kernel': 4}


def passes(root, program, suite, environment):
    shares = SHARES.get(suite.name, 1)
    environment = dict(environment, VANTACORE_SEED='1', VANTACORE_RANDOM_SCALE='20',
                       VANTACORE_TEST_TIMEOUT=str(WAITING))
    command = ['prlimit', f'--cpu={COMPUTING_OF.get(suite.name, COMPUTING)}', f'--as={MEMORY}', program]
    if suite.name != 'library_model':
        command.append('--gtest_fail_fast')
    if suite.filter:
        command.append('--gtest_filter=' + suite.filter)
    running = []
    for share in range(shares):
        if shares > 1:
            environment.update(GTEST_TOTAL_SHARDS=str(shares), GTEST_SHARD_INDEX=str(share))
        running.append(subprocess.Popen(command, cwd=root, env=environment, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                        start_new_session=True))
    try:
        return all_pass(running)
    finally:
        for process in running:
            end(process)


def all_pass(running):
    waiting, begin = list(running), time.monotonic()
    looked, busy, last, pause = begin, begin, {}, 0.002
    while waiting:
        for process in list(waiting):
            if process.poll() is not None:
                if process.returncode != 0:
                    return False
                waiting.remove(process)
        now = time.monotonic()
        if now > looked + 1:
            looked, spent = now, spent_by(waiting)
            if spent is None or spent.keys() != last.keys() or \
                    sum(spent.values()) > sum(last.values()) + TENTH:
                busy = now
            last = spent or {}
            if now > min(busy + IDLE, begin + WAITING):
                return False
        pause = min(pause * 1.5, 0.05)
        time.sleep(pause)
    return True


def processes():
    """(parent, state, processor time) of every process."""
    found = {}
    for name in filter(str.isdigit, os.listdir('/proc')):
        try:
            with open(f'/proc/{name}/stat', encoding='utf-8', errors='replace') as file:
                fields = file.read().rpartition(')')[2].split()
        except OSError:
            continue  # it has ended meanwhile
        found[int(name)] = int(fields[1]), fields[0], int(fields[11]) + int(fields[12])
    return found


def tree_of(roots, found):
    tree = {process.pid for process in roots}
    while True:
        more = {pid for pid, (parent, _, _) in found.items() if parent in tree} - tree
        if not more:
            return tree
        tree |= more


def spent_by(running):
    """The processor time of each process; None when one of them runs or is about to."""
    found = processes()
    tree = [pid for pid in tree_of(running, found) if pid in found]
    if any(found[pid][1] in 'RD' for pid in tree):
        return None
    return {pid: found[pid][2] for pid in tree}


def end(process):
    """Ends a suite and the processes that it has started, which may lead groups of their own."""
    tree = tree_of([process], processes()) - {process.pid} if process.poll() is None else set()
    for pid in tree:
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def keep_orphans():
    """From now on, a process whose suite has ended without it becomes a child of this one."""
    ctypes.CDLL(None).prctl(36, 1, 0, 0, 0)  # PR_SET_CHILD_SUBREAPER


def end_orphans():
    """Ends them; no suite may be running."""
    for pid, (parent, _, _) in processes().items():
        if parent == os.getpid():
            try:
                os.kill(pid, signal.SIGKILL)
                os.waitpid(pid, 0)
            except (ProcessLookupError, ChildProcessError):
                pass
