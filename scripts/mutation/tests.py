"""The library's tests: which there are, which lines each of them reaches, and whether they notice a changed library."""
import json
import os
import re
import signal
import subprocess
import tempfile
import time
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path

LIBRARY_TESTS = '^(bus|launch|catalogue|lists|inner|whole)$'  # the rooms of those that use the library, as labels


@dataclass(frozen=True)
class Test:
    name: str
    command: tuple
    environment: tuple
    directory: str

    @property
    def program(self):
        return self.name.partition('.')[0]

    def passes(self, limit, extra=()):
        """Whether the test passes within the limit. All processes that it started are gone afterwards."""
        environment = {**os.environ, **dict(self.environment), **dict(extra)}
        process = subprocess.Popen(self.command, cwd=self.directory, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        try:
            return process.wait(limit) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()


def tests_of(build):
    answer = subprocess.run(['ctest', '--test-dir', build, '-L', LIBRARY_TESTS, '-E', '^soak[.]', '--show-only=json-v1'], check=True,
                            capture_output=True, text=True).stdout
    tests = []
    for entry in json.loads(answer)['tests']:
        properties = {item['name']: item['value'] for item in entry.get('properties', [])}
        if 'command' not in entry:
            raise SystemExit(f'{entry["name"]} is not built')
        environment = tuple(tuple(item.split('=', 1)) for item in properties.get('ENVIRONMENT', []))
        tests.append(Test(entry['name'], tuple(entry['command']), environment,
                          properties.get('WORKING_DIRECTORY', build)))
    if not tests:
        raise SystemExit(f'no tests in {build}')
    return tests


def _is_for(program, file):
    return program.startswith(Path(file).stem)


class Reach:
    """Which lines each test reaches, and how long it takes; kept in a file until test or library are built anew."""

    def __init__(self, project, build, tests):
        self._project, self._build = project, build
        self._notes = build / 'mutation' / 'reach'
        self._objects = build / 'src/CMakeFiles/nuv_launcher_objects.dir'
        self._notes.mkdir(parents=True, exist_ok=True)
        library = (build / 'lib/libnuv_launcher_api.so').stat().st_mtime
        missing = [test for test in tests if not self._is_noted(test, library)]
        if missing:
            print(f'measuring what each of {len(missing)} tests reaches', flush=True)
            with ThreadPoolExecutor(3) as pool:
                list(pool.map(self._measure, missing))
        self._code = self._lines_of_code()
        self.tests = []
        self._left_out = set()
        self.seconds = {}
        self._lines = defaultdict(list)
        self._files = defaultdict(lambda: defaultdict(int))
        for test in tests:
            self._read(test, json.loads(self._note(test).read_text()))

    def leave_out(self, test):
        self._left_out.add(test)

    def _note(self, test):
        return self._notes / (re.sub(r'[^\w.]', '_', test.name) + '.json')

    def _is_noted(self, test, library):
        note = self._note(test)
        return note.exists() and note.stat().st_mtime > max(library, Path(test.command[0]).stat().st_mtime)

    def _read(self, test, note):
        if not note['passed']:
            print(f'left out, fails by itself: {test.name}', flush=True)
            return
        self.tests.append(test)
        self.seconds[test.name] = note['seconds']
        for file, lines in note['lines'].items():
            self._files[file][test] = len(lines)
            for line in lines:
                self._lines[file, line].append(test)

    def _measure(self, test):
        with tempfile.TemporaryDirectory(prefix='reach') as directory:
            start = time.monotonic()
            passed = test.passes(120, [('GCOV_PREFIX', directory)])
            note = {'passed': passed, 'seconds': time.monotonic() - start, 'lines': self._lines_in(Path(directory))}
        self._note(test).write_text(json.dumps(note))

    def _lines_in(self, directory):
        counters = list(directory.rglob('*.gcda'))
        for counter in counters:
            notes = self._objects / counter.relative_to(f'{directory}{self._objects}').with_suffix('.gcno')
            counter.with_suffix('.gcno').symlink_to(notes)
        reached = defaultdict(set)
        for file, line, count in self._counted_lines(directory, counters):
            if count > 0:
                reached[file].add(line)
        return {file: sorted(lines) for file, lines in reached.items()}

    def _lines_of_code(self):
        with tempfile.TemporaryDirectory(prefix='reach') as directory:
            for number, notes in enumerate(self._objects.rglob('*.gcno')):
                Path(directory, f'{number}.gcno').symlink_to(notes)
            return {(file, line) for file, line, _ in
                    self._counted_lines(directory, sorted(Path(directory).glob('*.gcno')))}

    def _counted_lines(self, directory, inputs):
        if not inputs:
            return
        answer = subprocess.run(['gcov', '--json-format', '--stdout', *inputs], check=True, cwd=directory,
                                capture_output=True, text=True).stdout
        for report in answer.splitlines():
            for file in json.loads(report)['files']:
                path = os.path.normpath(os.path.join(self._build, file['file']))
                if path.startswith(f'{self._project}/'):
                    for line in file['lines']:
                        yield os.path.relpath(path, self._project), line['line_number'], line['count']

    def tests_for(self, file, lines, users):
        """The tests that reach any of the lines; where no code is in them, those that reach the file or its users, and
        those that are for the file, which may look at its constants themselves.

        The compiler counts a call that is longer than a line on one of its lines only."""
        if any((file, line) in self._code for line in lines):
            return self._in_order(file, {test for line in lines for test in self._lines.get((file, line), [])})
        reaching = {test for used in [file, *users] for test in self._files.get(used, ())}
        return self._in_order(file, reaching | {test for test in self.tests if _is_for(test.program, file)})

    def _in_order(self, file, tests):
        """First the programs that are for the file, then one test of each program in turn, first of those that reach most
        of the file; quick ones first."""
        programs = defaultdict(list)
        for test in sorted(set(tests) - self._left_out, key=lambda test: self.seconds[test.name]):
            programs[test.program].append(test)
        rank = {}
        for program, own in programs.items():
            reached = max(self._files[file].get(test, 0) for test in own)
            named = _is_for(program, file)
            for position, test in enumerate(own):
                slow = self.seconds[test.name] > 3
                rank[test] = (not named, slow, position, -reached, self.seconds[test.name])
        return sorted(rank, key=rank.get)
