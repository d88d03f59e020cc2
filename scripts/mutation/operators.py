"""The small faults that are planted in a C++ source, one at a time."""
import bisect
import re
from dataclasses import dataclass

TOKEN = re.compile(r'''
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<string>"(?:\\.|[^"\\\n])*")
  | (?P<char>'(?:\\.|[^'\\\n])*')
  | (?P<number>\b\d+(?:\.\d+)?[uUlLfF]*\b)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<mark>::|->|<<|>>|\+\+|--|==|!=|<=|>=|&&|\|\||\+=|-=|\*=|/=|[-+*/%<>=!?:;,.(){}\[\]&|^~])
''', re.VERBOSE | re.DOTALL | re.MULTILINE)

# Written with a blank on each side: without them these are template brackets, references and signs.
BINARY = {'==': '!=', '!=': '==', '<': '<=', '<=': '<', '>': '>=', '>=': '>', '&&': '||', '||': '&&', '+': '-', '-': '+'}
SWAPPED = {'true': 'false', 'false': 'true', '++': '--', '--': '++', '+=': '-=', '-=': '+='}
LOCKS = re.compile(r'(const\s+)?(CNUVClientAutoLock|LeafLock|MutexLock|DatabaseTurn|'
                   r'std::(lock_guard|unique_lock|scoped_lock)\s*<[^;]*>)\s+\w+\([^;]*\);')
CALL = re.compile(r'[A-Za-z_][\w.:>-]*(<[^;()]*>)?\(')
ASSIGNMENT = re.compile(r'\*?[A-Za-z_][\w.>\[\]-]* \+?= [^;]*;')


@dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


@dataclass(frozen=True)
class Mutant:
    file: str      # relative to the project
    line: int
    statement: range  # the lines of the whole statement
    operator: str
    start: int     # what is replaced, as offsets in the file
    end: int
    text: str      # by this
    before: str    # the lines as they are, blanks made one
    after: str     # and as they become

    def __str__(self):
        return f'{self.file}:{self.line}: {self.operator}\n- {self.before}\n+ {self.after}'


def tokens_of(text):
    return [Token(m.lastgroup, m.group(), m.start(), m.end()) for m in TOKEN.finditer(text)
            if m.lastgroup not in ('comment', 'directive')]


def _one_line(text):
    return ' '.join(text.split())


def _statement_end(tokens, first):
    """The index of the semicolon that ends the statement, or None where a block or a list begins in it."""
    depth = 0
    for index in range(first, len(tokens)):
        text = tokens[index].text
        if text in '([':
            depth += 1
        elif text in ')]':
            depth -= 1
        elif text == ';' and depth == 0:
            return index
        elif text in '{}' and depth <= 0 and tokens[index].kind == 'mark':
            return None
    return None


def _statements(text, tokens):
    """Statements that are left out whole, and values that are returned."""
    for index, token in enumerate(tokens):
        starts = index == 0 or tokens[index - 1].text in (';', '{', '}', ')', 'else')
        if not starts or token.kind not in ('word', 'mark'):
            continue
        last = _statement_end(tokens, index)
        if last is None:
            continue
        start, end = token.start, tokens[last].end
        code = text[start:end]
        if LOCKS.match(code):
            yield 'lock left out', start, end, ';'
        elif token.text == 'return':
            value = text[tokens[index + 1].start:tokens[last].start]
            if value and not re.fullmatch(r'-?\d+|true|false|nullptr|std::nullopt|\{\}|', value):
                yield 'other value returned', tokens[index + 1].start, tokens[last].start, '{}'
        elif token.text in ('static_assert', 'using', 'if', 'for', 'while', 'switch', 'delete'):
            continue
        elif token.text in ('NUV_REQUIRES', 'NUV_EXCLUDES', 'NUV_ACQUIRE', 'NUV_RELEASE'):
            continue    # a word for the analysis of locks, of which the program knows nothing
        elif CALL.match(code) and _closes_at(code, CALL.match(code).end() - 1) == len(code) - 2:
            yield 'call left out', start, end, ';'
        elif ASSIGNMENT.fullmatch(code):
            yield 'assignment left out', start, end, ';'


def _kind(code):
    """What a statement is, as far as its order matters; None where it is another one."""
    if LOCKS.fullmatch(code):
        return 'lock'
    call = CALL.match(code)
    if (call and _closes_at(code, call.end() - 1) == len(code) - 2) or ASSIGNMENT.fullmatch(code):
        return 'action'
    return None


def _plain_statements(text, tokens):
    """Locks, calls and assignments that stand for themselves in a block: start, end, kind, index of the token behind."""
    found = []
    for index, token in enumerate(tokens):
        starts = index > 0 and tokens[index - 1].text in (';', '{', '}')
        if not starts or token.kind not in ('word', 'mark') or token.text in ('return', 'using', 'static_assert', 'delete'):
            continue
        last = _statement_end(tokens, index)
        if last is None:
            continue
        kind = _kind(text[token.start:tokens[last].end])
        if kind:
            found.append((token.start, tokens[last].end, kind, last + 1))
    return found


ORDERS = {('action', 'action'): 'statements swapped', ('lock', 'action'): 'moved before the lock',
          ('action', 'lock'): 'moved behind the lock'}


def _orders(text, tokens):
    """Neighbours in the other order, and what is done last under a lock done behind it."""
    statements = _plain_statements(text, tokens)
    by_start = {statement[0]: statement for statement in statements}
    for start, end, kind, behind in statements:
        if behind >= len(tokens):
            continue
        code = text[start:end]
        following = by_start.get(tokens[behind].start)
        if following and (kind, following[2]) in ORDERS:
            other = text[following[0]:following[1]]
            between = text[end:following[0]]
            if other != code and '//' not in between:
                yield ORDERS[kind, following[2]], start, following[1], other + between + code
        elif kind == 'action' and tokens[behind].text == '}' and _under_a_lock(statements, tokens, start):
            yield 'moved out of the lock', start, tokens[behind].end, '}' + code


def _under_a_lock(statements, tokens, start):
    """Whether a lock stands in the same block before this place."""
    depth = 0
    starts = {statement[0] for statement in statements if statement[2] == 'lock'}
    for token in reversed([token for token in tokens if token.start < start]):
        if token.kind != 'mark' and token.start not in starts:
            continue
        if token.text == '}':
            depth += 1
        elif token.text == '{':
            depth -= 1
            if depth < 0:
                return False
        elif depth == 0 and token.start in starts:
            return True
    return False


def _closes_at(code, opened):
    depth = 0
    for index in range(opened, len(code)):
        depth += {'(': 1, ')': -1}.get(code[index], 0)
        if depth == 0:
            return index
    return -1


def _numbers(token):
    digits = re.match(r'\d+', token.text).group()
    suffix = token.text[len(digits):]
    if '.' in suffix:
        return
    yield 'number + 1', f'{int(digits) + 1}{suffix}'
    if int(digits) > 0:
        yield 'number - 1', f'{int(digits) - 1}{suffix}'


def _single_tokens(text, tokens):
    asserted_to = -1
    for index, token in enumerate(tokens):
        if token.text == 'static_assert':
            last = _statement_end(tokens, index)
            asserted_to = tokens[last].end if last is not None else token.end
        if token.start < asserted_to:
            continue
        before = tokens[index - 1].text if index else ''
        blanks = text[token.start - 1:token.start].isspace() and text[token.end:token.end + 1].isspace()
        if token.kind == 'number':
            for operator, other in _numbers(token):
                yield operator, token.start, token.end, other
        elif token.kind == 'string' and before not in ('extern', '(maybe_unused'):
            yield 'other text', token.start, token.end, '"~' + token.text[1:]
        elif token.text in SWAPPED:
            yield f'{token.text} to {SWAPPED[token.text]}', token.start, token.end, SWAPPED[token.text]
        elif token.text in BINARY and blanks and not before == 'operator':
            yield f'{token.text} to {BINARY[token.text]}', token.start, token.end, BINARY[token.text]
        elif token.text == '!':
            yield '! left out', token.start, token.end, ''


def _statement_lines(text, tokens, ends, place):
    """From the first token behind the end of the statement before, to the end of this one."""
    index = bisect.bisect_left(ends, place)
    start = bisect.bisect_right(tokens, ends[index - 1], key=lambda token: token.start) if index else 0
    end = ends[index] if index < len(ends) else len(text)
    return range(text.count('\n', 0, tokens[start].start) + 1, text.count('\n', 0, end) + 2)


def mutants_of(file, text):
    """All mutants of a source, in the order of their places."""
    tokens = tokens_of(text)
    ends = [token.start for token in tokens if token.kind == 'mark' and token.text in ';{}']
    found = []
    for operator, start, end, other in [*_statements(text, tokens), *_orders(text, tokens),
                                        *_single_tokens(text, tokens)]:
        first = text.rfind('\n', 0, start) + 1
        last = text.find('\n', end)
        found.append(Mutant(file, text.count('\n', 0, start) + 1, _statement_lines(text, tokens, ends, start),
                            operator, start, end, other, _one_line(text[first:last]),
                            _one_line(text[first:start] + other + text[end:last])))
    return sorted(found, key=lambda mutant: (mutant.start, mutant.end, mutant.operator))
