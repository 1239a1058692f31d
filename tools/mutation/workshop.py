"""Where mutants are tried: a copy of the sources, its own build tree, the test programs.

The project's own tree is never touched.
"""

import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import time

from . import mutant as mutants

# What CMake includes behind project(): a build that is made quickly, and warnings do not matter.
SETTINGS = '''
set(CMAKE_CXX_FLAGS_DEBUG "-O0")
set(CMAKE_LINK_DEPENDS_NO_SHARED ON)
add_compile_options(-fPIC -w {flags} "SHELL:-include-pch {headers}")
add_link_options({links})
'''

# Compiled once. No header of the project: those are what is mutated.
HEADERS = '''algorithm array atomic bit chrono compare concepts cstdarg cstddef cstdint cstdio
    cstdlib cstring exception filesystem fstream functional iomanip iosfwd iostream
    iterator limits map memory new numeric optional ostream random ranges set span
    sstream stdexcept string string_view tuple type_traits unordered_map unordered_set
    utility variant vector gtest/gtest.h'''.split()

LAYERS = ('model', 'FwdL3Unicast')
PROGRAMS = ('model', 'FwdL3Unicast', 'faults', 'oracle', 'restart', 'agent', 'platform')

# So many tests are built first for a header that many include.
NEAR = 8

# Large generated tests take this share: what they find late, others find early.
SHARE = '40'


class Unusable(Exception):
    """Why nothing can be tried at all."""


class Workshop:
    """The copy and its build. `jobs` is how many processes build and test at once."""

    def __init__(self, source, folder, jobs):
        self.source = pathlib.Path(source)
        self.flags, self.links, self.programs = [], [], PROGRAMS
        self.environment = {}
        self.memory = 6 << 30  # of a test program
        self.tree = pathlib.Path(folder).resolve() / 'tree'
        self.build = pathlib.Path(folder).resolve() / 'build'
        self.kept = pathlib.Path(folder).resolve() / 'kept'
        self.headers = pathlib.Path(folder).resolve() / 'headers.h'
        self.jobs = jobs
        self.seconds = {}  # how long each program takes when nothing is wrong
        self.commands = {}
        self.includes = {}

    # ---- the copy -------------------------------------------------------------------------------

    def copy(self):
        """Makes the copy equal to the sources; what is equal already keeps its time."""
        wanted = set()
        for path in self.source.rglob('*'):
            relative = path.relative_to(self.source)
            if relative.parts[0] in ('build', '.git') or not path.is_file():
                continue
            wanted.add(relative)
            target = self.tree / relative
            if not target.exists() or target.read_bytes() != path.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(path, target)
                shutil.copymode(path, target)
        for path in list(self.tree.rglob('*')):
            if path.is_file() and path.relative_to(self.tree) not in wanted:
                path.unlink()

    def text(self, file):
        return (self.source / file).read_text()

    # ---- building -------------------------------------------------------------------------------

    def prepare(self):
        """Configures, builds and tests the copy as it is."""
        self.build.mkdir(parents=True, exist_ok=True)
        compiled = self.headers.with_suffix('.pch')
        text = ''.join(f'#include <{name}>\n' for name in HEADERS)
        if not compiled.exists() or self.headers.read_text() != text:
            self.headers.write_text(text)
            self.need(['clang++', '-std=c++20', '-O0', '-fPIC', '-fvisibility=hidden',
                       '-fvisibility-inlines-hidden', '-D_GLIBCXX_ASSERTIONS', '-w', *self.flags,
                       '-fpch-instantiate-templates', '-x', 'c++-header', str(self.headers), '-o',
                       str(compiled)], 'the common headers do not compile')
        settings = self.build / 'settings.cmake'
        settings.write_text(SETTINGS.format(
            headers=compiled, flags=' '.join(self.flags), links=' '.join(self.links)))
        # Of a compiler cache nothing is gained: each mutant is new.
        self.need(['cmake', '-G', 'Ninja', '-S', str(self.tree), '-B', str(self.build),
                   '-DCMAKE_BUILD_TYPE=Debug', '-DCMAKE_CXX_COMPILER=clang++',
                   '-DCMAKE_CXX_COMPILER_LAUNCHER=env', '-DDECAP_BENCH=OFF',
                   f'-DCMAKE_PROJECT_INCLUDE={settings}'], 'cannot be configured')
        targets = [f'{program}_tests' for program in self.programs]
        self.need(['ninja', '-C', str(self.build), '-j', str(self.jobs), *targets],
                  'does not build')
        for program in self.programs:
            begin = time.monotonic()
            caught = self.run(self.build / 'bin' / f'{program}_tests', 300)
            if caught:
                raise Unusable(f'{program}_tests fails without any bug put in: {caught}')
            self.seconds[program] = time.monotonic() - begin
        self.read_includes()
        self.keep()

    def need(self, command, complaint):
        done = subprocess.run(command, cwd=self.tree, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        if done.returncode != 0:
            raise Unusable(f'{complaint}:\n{done.stdout[-4000:]}')
        return done.stdout

    def make(self, *targets):
        done = subprocess.run(['ninja', '-C', str(self.build), '-j', str(self.jobs), *targets],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        return done.returncode == 0

    def made(self):
        """What the build has made: objects, libraries, programs."""
        for path in self.build.rglob('*'):
            if path.suffix == '.o' or path.parent.name in ('bin', 'lib'):
                if path.is_file() and not path.is_symlink():
                    yield path

    def keep(self):
        """Keeps what has been made from the copy as it is."""
        shutil.rmtree(self.kept, ignore_errors=True)
        for path in self.made():
            target = self.kept / path.relative_to(self.build)
            target.parent.mkdir(parents=True, exist_ok=True)
            os.link(path, target)

    def put_back(self, times):
        """After a bug: sources, and all that was made with it. With their old times, so that
        nothing is built again."""
        for file, when in times.items():
            (self.tree / file).write_text(self.text(file))
            os.utime(self.tree / file, ns=when)
        for path in list(self.made()):
            kept = self.kept / path.relative_to(self.build)
            if kept.exists() and not kept.samefile(path):
                path.unlink()
                os.link(kept, path)

    # ---- who includes what ----------------------------------------------------------------------

    def read_includes(self):
        """For every header of both layers, the files that name it in an #include."""
        for path in self.tree.rglob('*'):
            if path.suffix not in ('.h', '.cpp'):
                continue
            file = str(path.relative_to(self.tree))
            for name in re.findall(r'^#include "([^"]+)"', path.read_text(), re.M):
                for header in (name, f'model/{name}', f'tests/{name}'):
                    if (self.tree / header).is_file():
                        self.includes.setdefault(header, set()).add(file)

    def near_tests(self, header, program):
        """Some tests of a program that include a header with the fewest steps between: those that
        have its name, and others from all over."""
        tests = self.including_tests(header, program)
        stem = pathlib.Path(header).stem.removesuffix('Impl')
        named = [test for test in tests if pathlib.Path(test).stem.startswith(stem)]
        others = [test for test in tests if test not in named]
        step = max(1, len(others) // max(1, NEAR - len(named)))
        return named + others[::step]

    def including_tests(self, header, program):
        seen, level = {header}, {header}
        while level:
            level = {file for one in level for file in self.includes.get(one, ())} - seen
            seen |= level
            tests = sorted(file for file in level
                           if file.startswith(f'tests/{program}/') and file.endswith('Test.cpp'))
            if tests:
                return tests
        return []

    def make_near(self, tests, program):
        """A program of some of the tests of `program`, or None when it does not build."""
        folder = f'tests/CMakeFiles/{program}_tests.dir'
        objects = [f'{folder}/{test.removeprefix("tests/")}.o' for test in tests]
        if not self.make('model', *(['FwdL3Unicast', 'platform_sim'] if program != 'model' else []),
                         'test_support', *objects):
            return None
        if program not in self.commands:
            listed = self.need(['ninja', '-C', str(self.build), '-t', 'commands',
                                f'bin/{program}_tests'], 'no commands')
            self.commands[program] = listed.strip().split('\n')[-1]
        near = f'bin/{program}_near'
        parts = [part for part in self.commands[program].split()
                 if not part.endswith('.cpp.o')]
        at = parts.index(f'bin/{program}_tests')
        command = ' '.join(parts[:at - 1] + objects + ['-o', near] + parts[at + 1:])
        done = subprocess.run(command, shell=True, cwd=self.build, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return self.build / near if done.returncode == 0 else None

    # ---- trying ---------------------------------------------------------------------------------

    def try_out(self, mutant, far):
        """Puts the bug in, builds and tests; says 'invalid', what caught it, or ''.

        Near are the tests of the layer that the bug is in; with `far` the other programs are run.
        """
        texts = mutants.mutated(mutant, self.text)
        times = {}
        try:
            for file, text in texts.items():
                was = (self.tree / file).stat()
                times[file] = (was.st_atime_ns, was.st_mtime_ns)
                (self.tree / file).write_text(text)
            return self.try_far(mutant) if far else self.try_near(mutant)
        finally:
            self.put_back(times)

    def try_near(self, mutant):
        program = layer(mutant)
        headers = [file for file in mutant.files if file.endswith('.h')]
        if not headers:
            if not self.make('model', 'FwdL3Unicast'):
                return 'invalid'
            return self.test(program)
        tests = self.near_tests(headers[0], program)
        if tests:
            near = self.make_near(tests, program)
            if near is None:
                return 'invalid'
            caught = self.run(near, self.limit(program))
            if caught:
                return caught
        if not self.make('model', 'FwdL3Unicast', f'{program}_tests'):
            return 'invalid'
        return self.test(program)

    def try_far(self, mutant):
        headers = any(file.endswith('.h') for file in mutant.files)
        for program in PROGRAMS:
            if program == layer(mutant):
                continue
            targets = ['model', 'FwdL3Unicast'] + ([f'{program}_tests'] if headers else [])
            if not self.make(*targets):
                return 'invalid'
            caught = self.test(program)
            if caught:
                return caught
        return ''

    def limit(self, program):
        return 20 + 6 * self.seconds.get(program, 10)

    def test(self, program):
        return self.run(self.build / 'bin' / f'{program}_tests', self.limit(program))

    def run(self, program, seconds):
        """Runs a test program, in shares at once. Says what failed first, or ''."""
        processes = []
        for index in range(self.jobs):
            environment = dict(os.environ, **self.environment, GTEST_TOTAL_SHARDS=str(self.jobs),
                               GTEST_SHARD_INDEX=str(index), GTEST_FAIL_FAST='1',
                               DECAP_TEST_SHARE=SHARE)
            log = open(self.build / f'share{index}.log', 'w+', errors='replace')
            processes.append((subprocess.Popen(
                [str(program)], cwd=self.tree, env=environment, stdin=subprocess.DEVNULL,
                stdout=log, stderr=subprocess.STDOUT, start_new_session=True,
                preexec_fn=self.restrain), log))
        deadline = time.monotonic() + seconds
        caught, running = '', list(processes)
        while running and not caught:
            if time.monotonic() > deadline:
                caught = f'{program.name}: no end in {seconds:.0f} s'
            for process, log in list(running):
                code = process.poll()
                if code is None:
                    continue
                running.remove((process, log))
                if code != 0 and not caught:
                    caught = self.verdict(program.name, code, log)
            time.sleep(0.01)
        for process, log in processes:
            stop(process)
            log.close()
        return caught

    def restrain(self):
        """For a test program with a bug in it: no dumps, no memory without end."""
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if self.memory:
            resource.setrlimit(resource.RLIMIT_AS, (self.memory, self.memory))

    @staticmethod
    def verdict(program, code, log):
        log.seek(0)
        text = log.read()
        failed = re.findall(r'^\[  FAILED  \] ([^,\s]+)', text, re.M)
        if failed:
            return f'{program}: {failed[0]}'
        complaint = re.search(r'ERROR: (LeakSanitizer|AddressSanitizer: \S+)', text)
        if complaint:
            return f'{program}: {complaint[1]}'
        begun = re.findall(r'^\[ RUN      \] (\S+)', text, re.M)
        how = f'signal {-code}' if code < 0 else f'code {code}'
        return f'{program}: {how} in {begun[-1] if begun else "its beginning"}'


class SanitizedWorkshop(Workshop):
    """For what all test programs have let pass: the tests of a bug's layer under the address and
    undefined behaviour sanitizers, which see a leak and a byte too far."""

    def __init__(self, source, folder, jobs):
        super().__init__(source, folder, jobs)
        sanitizers = ['-fsanitize=address,undefined', '-fno-sanitize-recover=all']
        self.flags = [*sanitizers, '-fno-omit-frame-pointer']
        # One runtime for program and libraries, as these are linked without leaving anything open.
        self.links = [*sanitizers, '-shared-libsan']
        self.programs = LAYERS
        runtime = subprocess.run(['clang++', '-print-runtime-dir'], text=True, check=True,
                                 stdout=subprocess.PIPE).stdout.strip()
        self.environment = {'LD_LIBRARY_PATH': runtime, 'ASAN_OPTIONS': 'hard_rss_limit_mb=6000'}
        self.memory = 0  # address space is what this sanitizer takes most of

    def try_near(self, mutant):
        program = layer(mutant)
        if not self.make('model', 'FwdL3Unicast', f'{program}_tests'):
            return 'invalid'
        caught = self.test(program)
        return f'sanitized {caught}' if caught else ''


def layer(mutant):
    """The program whose tests are for the place of the bug."""
    return mutant.files[0].split('/')[0]


def stop(process):
    """Ends a test program and the processes that it has started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()
