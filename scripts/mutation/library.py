"""Builds the library with one source changed."""
import json
import re
import shlex
import shutil
import subprocess
from pathlib import Path

OBJECTS = 'src/CMakeFiles/nuv_launcher_objects.dir/'


class Library:
    """The objects of the unchanged library, without counters and optimization, and libraries that differ in one source.

    A changed library is made in a directory of its own, in which programs of the build tree look for it first."""

    def __init__(self, project, build):
        self._project, self._build = project, build
        self._base = build / 'mutation' / 'objects'
        self._compile = {}
        for entry in json.loads((build / 'compile_commands.json').read_text()):
            if OBJECTS in entry['command']:
                source = str(Path(entry['file']).relative_to(project))
                self._compile[source] = [word for word in shlex.split(entry['command'])
                                         if word not in ('--coverage', '-fprofile-update=atomic')] + ['-w', '-O0', '-g0']
        commands = subprocess.run(['ninja', '-C', build, '-t', 'commands', 'lib/libnuv_launcher_api.so'], check=True,
                                  capture_output=True, text=True).stdout
        link = [line for line in commands.splitlines() if '-shared' in line and 'libnuv_launcher_api.so' in line]
        self._link = [word for word in shlex.split(link[-1])
                      if word not in (':', '&&', '--coverage') and 'coverage_dump' not in word]
        self._common = self._base / 'common.h'
        self._precompile()
        self._make_objects()

    def _precompile(self):
        """All system headers, compiled once: most of the time of a source goes into them."""
        headers = set()
        for path in [*self._project.glob('src/**/*.[hc]*'), *self._project.glob('include_internal/nuv_common/*.h')]:
            headers.update(re.findall(r'^#include (<(?!nuv)[^>]+>)', path.read_text(), re.MULTILINE))
        text = ''.join(f'#include {header}\n' for header in sorted(headers))
        target = self._base / 'common.h.gch'
        if target.exists() and self._common.read_text() == text:
            return
        self._base.mkdir(parents=True, exist_ok=True)
        self._common.write_text(text)
        command = self._command(next(iter(self._compile)), target)
        command[command.index('-c') + 1] = str(self._common)
        command[command.index('-c'):command.index('-c')] = ['-x', 'c++-header']
        subprocess.run([word for word in command if word not in ('-include', str(self._common))] + [str(self._common)],
                       check=True, cwd=self._build)

    def _make_objects(self):
        for source in self._compile:
            target = self._object(source)
            if target.exists() and target.stat().st_mtime > self._newest_input(source):
                continue
            target.parent.mkdir(parents=True, exist_ok=True)
            subprocess.run(self._command(source, target), check=True, cwd=self._build)

    def _newest_input(self, source):
        return max(path.stat().st_mtime for path in [self._project / source, *self._project.glob('src/**/*.h'),
                                                     *self._project.glob('include*/**/*.h')])

    def _object(self, source):
        return self._base / (source + '.o')

    def _command(self, source, target):
        words = list(self._compile[source])
        words[words.index('-o') + 1] = str(target)
        return words + ['-include', str(self._common), '-MD', '-MF', f'{target}.d']

    def users_of(self, header):
        """The sources that include it, directly or not."""
        return [source for source in self._compile
                if f'{self._project / header} ' in Path(f'{self._object(source)}.d').read_text().replace('\n', ' ') + ' ']

    def make(self, directory, file='', text=''):
        """The library with the file's text changed; None where it does not compile."""
        shutil.rmtree(directory, ignore_errors=True)
        tree = directory / 'tree'
        replaced = {}
        if file:
            changed = tree / file
            changed.parent.mkdir(parents=True)
            changed.write_text(text)
            for source in [file] if file in self._compile else self.users_of(file):
                target = directory / (Path(source).name + '.o')
                if not self._compile_changed(source, file, changed, target):
                    return None
                replaced[source] = target
        return self._linked(directory, replaced)

    def _compile_changed(self, source, file, changed, target):
        command = self._command(source, target)
        if source == file:
            command[command.index(str(self._project / source))] = str(changed)
        else:  # its directory is searched first; the guard is "once", so that the real one does not come as well
            command[1:1] = ['-I', str(changed.parents[len(Path(file).parts) - 2])]
        return subprocess.run(command, cwd=self._build, capture_output=True, timeout=300).returncode == 0

    def _linked(self, directory, replaced):
        target = directory / 'libnuv_launcher_api.so.1'
        words = []
        for word in self._link:
            if word.startswith(OBJECTS):
                source = 'src/' + re.sub(r'\.o$', '', word[len(OBJECTS):])
                word = str(replaced.get(source) or self._object(source))
            words.append(word)
        words[words.index('-o') + 1] = str(target)
        # Inline functions that the test has a copy of are the library's own ones.
        words.append('-Wl,-Bsymbolic-functions')
        directory.mkdir(parents=True, exist_ok=True)
        done = subprocess.run(words, cwd=self._build, capture_output=True, text=True)
        return target if done.returncode == 0 else None
