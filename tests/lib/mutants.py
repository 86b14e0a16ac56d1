#!/usr/bin/env python3
"""Changes the library in one place at a time, and looks whether its tests notice.

    tests/lib/mutants.py [--jobs N] [--only TEXT] [TREE]

TREE (build/native) is a build tree with the tests of the library. A change that does not compile
counts for nothing. One that every test passes survives: it must stand in tests/lib/survivors.json,
with the reason why no host can tell the difference. Ends with 1 where one survives that does not
stand there, or where one stands there that does not survive.

--only TEXT: the changes whose description contains it; what stands in the list is then not judged.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
LIBRARY = ROOT / 'l3lif/pd_kavelin'
SURVIVORS = ROOT / 'tests/lib/survivors.json'
# In this order: the ones that look at most of the library come first.
TESTS = ('lib_test', 'lib_interpose_test', 'lib_objects_test')

TOKEN = re.compile(r'''/\*.*?\*/ | //[^\n]* | (?P<directive>^\#(?:[^\n\\]|\\.)*) | (?P<string>"(?:[^"\\\n]|\\.)*")
    | '(?:[^'\\]|\\.)*' | (?P<number>\b(?:0[xX][0-9a-fA-F]+|[0-9]+)[uU]?\b) | (?P<word>[A-Za-z_]\w*)
    | (?P<operator><<=|>>=|\.\.\.|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^!~<>=?:;,.(){}\[\]])''',
                   re.VERBOSE | re.DOTALL | re.MULTILINE)

OTHERWISE = {'==': ['!='], '!=': ['=='], '<': ['<=', '>='], '<=': ['<', '>'], '>': ['>=', '<='],
             '>=': ['>', '<'], '&&': ['||'], '||': ['&&'], '+': ['-'], '-': ['+'], '<<': ['>>'],
             '>>': ['<<'], '|': ['&'], '&': ['|'], '~': [''], '!': ['']}
WORDS = {'true': 'false', 'false': 'true', 'l3lifpd_trace_debug': 'l3lifpd_trace_error',
         'l3lifpd_trace_error': 'l3lifpd_trace_debug',
         'l3lifpd_trace_debug_text': 'l3lifpd_trace_error_text',
         'l3lifpd_trace_error_text': 'l3lifpd_trace_debug_text'}


class Token:
    def __init__(self, match):
        self.kind, self.text = match.lastgroup, match.group()
        self.start, self.end = match.span()


def tokens_of(source):
    return [Token(match) for match in TOKEN.finditer(source)
            if match.lastgroup not in (None, 'directive')]


def closing(tokens, at):
    """Index of the parenthesis that closes the one at this index."""
    depth = 0
    for index in range(at, len(tokens)):
        depth += {'(': 1, ')': -1}.get(tokens[index].text, 0)
        if depth == 0:
            return index
    return at


def changes(source):
    """What may stand in the place of a piece of the source: start, end, the new text."""
    tokens = tokens_of(source)
    statement = 0  # index of the token that the statement begins with
    for index, token in enumerate(tokens):
        if tokens[statement].text == 'static_assert':
            pass  # nothing of it is in the library
        elif token.kind == 'number':
            yield token.start, token.end, f'({token.text} + 1)'
        elif token.kind == 'string' and len(token.text) > 2:
            yield token.start, token.end, '"~' + token.text[1:]
        elif token.text in WORDS:
            yield token.start, token.end, WORDS[token.text]
        elif token.text == 'if' and tokens[index + 1].text == '(':
            condition = tokens[index + 1].start, tokens[closing(tokens, index + 1)].end
            yield (*condition, f'(!{source[slice(*condition)]})')
        elif token.kind == 'operator':
            for other in OTHERWISE.get(token.text, ()):
                yield token.start, token.end, other
        if token.text == ';' and statement < index:
            first = tokens[statement]
            # Behind "if (...)" or "for (...)" stands a statement of its own.
            while first.text in ('if', 'for', 'while', 'else') and statement < index:
                statement = (closing(tokens, statement + 1) if tokens[statement + 1].text == '('
                             else statement) + 1
                first = tokens[statement]
            if first.text not in ('break', 'return', 'enum', 'struct', 'extern', 'static_assert'):
                yield first.start, token.start, ''
        if token.text in (';', '{', '}'):
            statement = index + 1


class Mutant:
    def __init__(self, path, source, change, seen):
        start, end, text = change
        line_start = source.rfind('\n', 0, start) + 1
        line_end = source.find('\n', end)
        line = source[line_start:line_end]
        changed = source[line_start:start] + text + source[end:line_end]
        self.path = path
        self.source = source[:start] + text + source[end:]
        self.line = source.count('\n', 0, start) + 1
        # Known by what stands there, wherever that is.
        key = ' '.join(line.split()), ' '.join(changed.split())
        count = seen[key] = seen.get(key, 0) + 1
        self.name = {'file': path.name, 'from': key[0], 'to': key[1], 'occurrence': count}

    def __str__(self):
        return f'{self.path.name}:{self.line}: {self.name["from"]}  ->  {self.name["to"]}'


def mutants():
    for path in sorted(LIBRARY.glob('*.cpp')) + sorted(LIBRARY.glob('*_*.h')):
        if path.name == 'l3lifpd_kavelin.h':
            continue
        source = path.read_text(encoding='utf-8')
        seen = {}
        for change in changes(source):
            yield Mutant(path, source, change, seen)


def compile_commands(tree):
    """By source file of the library: the words that compile it, without what names the output."""
    commands = {}
    for entry in json.loads((tree / 'compile_commands.json').read_text(encoding='utf-8')):
        path = pathlib.Path(entry['file'])
        if path.parent == LIBRARY:
            words = [word for word in shlex.split(entry['command'])
                     if not word.endswith('ccache') and word not in ('-Werror', '-O2', '-g')]
            cut = words.index('-o')
            commands[path] = words[:cut], pathlib.Path(entry['directory'])
    return commands


class Workshop:
    """A folder with the library's objects as they are, in which one change at a time is tried."""

    def __init__(self, tree, folder):
        self.tree, self.folder = tree, folder
        self.commands = compile_commands(tree)
        self.sources = folder / 'l3lif/pd_kavelin'
        shutil.copytree(LIBRARY, self.sources)
        self.objects = {path: folder / (path.name + '.o') for path in self.commands}
        self.kept = {}
        for path, made in self.objects.items():
            if not self.compile(path):
                sys.exit(f'{path} does not compile as it is')
            self.kept[path] = made.read_bytes()

    def compile(self, path):
        words, directory = self.commands[path]
        here = [word.replace(str(LIBRARY), str(self.sources)) for word in words]
        done = subprocess.run([*here, '-O0', '-w', '-c', str(self.sources / path.name), '-o',
                               str(self.objects[path])], cwd=directory, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return done.returncode == 0

    def link(self):
        done = subprocess.run(['gcc', '-shared', '-o', str(self.folder / 'libl3lifpdkavelin.so'),
                               f'-Wl,--version-script={LIBRARY / "l3lifpd_kavelin.map"}',
                               *map(str, self.objects.values()), '-lglib-2.0'], check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return done.returncode == 0

    def passes(self):
        environment = dict(os.environ, LD_LIBRARY_PATH=str(self.folder))
        for test in TESTS:
            try:
                done = subprocess.run([self.tree / 'bin/tests' / test, '--gtest_fail_fast',
                                       '--gtest_brief=1'], env=environment, cwd=self.folder,
                                      check=False, timeout=120, stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL)
            except subprocess.TimeoutExpired:
                return False
            if done.returncode != 0:
                return False
        return True

    def try_out(self, mutant):
        """'invalid', 'noticed' or 'survived'."""
        place = self.sources / mutant.path.name
        place.write_text(mutant.source, encoding='utf-8')
        touched = ([mutant.path] if mutant.path in self.commands else list(self.commands))
        try:
            if not all(map(self.compile, touched)) or not self.link():
                return 'invalid'
            return 'survived' if self.passes() else 'noticed'
        finally:
            place.write_text(mutant.path.read_text(encoding='utf-8'), encoding='utf-8')
            for path in touched:
                self.objects[path].write_bytes(self.kept[path])


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split('\n', maxsplit=1)[0])
    arguments.add_argument('--jobs', type=int, default=os.cpu_count())
    arguments.add_argument('--only', default='', metavar='TEXT')
    arguments.add_argument('tree', nargs='?', type=pathlib.Path, default=ROOT / 'build/native')
    given = arguments.parse_args()
    tree = given.tree.resolve()
    todo = [mutant for mutant in mutants() if given.only in str(mutant)]
    known = {json.dumps(survivor['change'], sort_keys=True): survivor
             for survivor in json.loads(SURVIVORS.read_text(encoding='utf-8'))}

    counts = {'invalid': 0, 'noticed': 0, 'survived': 0}
    survived, unexpected = set(), []
    with tempfile.TemporaryDirectory() as folder:
        shops = []
        for number in range(given.jobs):
            place = pathlib.Path(folder) / str(number)
            place.mkdir()
            shops.append(Workshop(tree, place))
        free = list(shops)
        if not (shops[0].link() and shops[0].passes()):
            sys.exit('the tests do not pass as it is')

        def work(mutant):
            shop = free.pop()
            try:
                return mutant, shop.try_out(mutant)
            finally:
                free.append(shop)

        with concurrent.futures.ThreadPoolExecutor(given.jobs) as pool:
            for number, (mutant, outcome) in enumerate(pool.map(work, todo), 1):
                counts[outcome] += 1
                if outcome == 'survived':
                    key = json.dumps(mutant.name, sort_keys=True)
                    survived.add(key)
                    if key not in known:
                        unexpected.append(mutant)
                        print(f'survives: {mutant}', flush=True)
                if sys.stderr.isatty():
                    print(f'\r{number}/{len(todo)}', end='', file=sys.stderr)

    stale = [] if given.only else [known[key]['change'] for key in known if key not in survived]
    for change in stale:
        print(f'listed, but noticed or gone: {change["file"]}: {change["from"]}  ->  {change["to"]}')
    print(f'{len(todo)} changes: {counts["noticed"]} noticed, {counts["survived"]} survived '
          f'({len(unexpected)} without a reason), {counts["invalid"]} do not compile')
    return 1 if unexpected or stale else 0


if __name__ == '__main__':
    sys.exit(main())
