"""Bugs made by rule: a condition turned round, a constant one too large, a statement left out.

A small lexer and a stack of braces are enough to tell code from declarations. What does not compile
in the end is not counted.
"""

import re

from .mutant import Hunk, Mutant

TOKEN = re.compile(r'''
    (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#(?:\\\n|[^\n])*)
  | (?P<string>"(?:\\.|[^"\\\n])*")
  | (?P<char>'(?:\\.|[^'\\\n])+')
  | (?P<number>\d(?:['\w.]|[eE][+-])*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<mark><=>|<<=|>>=|\.\.\.|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[^\s\w])
''', re.X | re.S | re.M)

# Binary operators and what stands for them. They have blanks around them, template arguments and
# references have not.
BINARY = {'<': ('<=', '>='), '<=': ('<', '>'), '>': ('>=', '<='), '>=': ('>', '<'),
          '==': ('!=',), '!=': ('==',), '&&': ('||',), '||': ('&&',),
          '+': ('-',), '-': ('+',), '*': ('/',), '/': ('*',), '%': ('/',),
          '&': ('|',), '|': ('&',), '^': ('|',), '<<': ('>>',), '>>': ('<<',),
          '+=': ('-=',), '-=': ('+=',), '|=': ('&=',), '&=': ('|=',), '^=': ('|=',)}

# Statements that begin so are no calls and no assignments.
NO_EXPRESSION = set('''if else for while do switch case default return break continue throw try
    catch using typedef auto const constexpr static template class struct enum union public
    private protected friend namespace explicit virtual inline extern bool char int unsigned double
    static_assert delete goto operator mutable constinit'''.split())

# An assertion of what always holds cannot show when it demands less, a walk that asserts nothing is
# no one's behaviour, and loading ahead changes nothing but the time.
UNSEEN_CALLS = {'MDL_ASSERT', 'static_assert', '__builtin_prefetch', 'prefetch',
                'prefetchIndex', 'prefetchEntry', 'prefetchIndexes', 'prefetchEntries', 'step',
                'ahead', 'load'}
UNSEEN_FUNCTIONS = {'checkInvariants', 'checkTable', 'prefetch', 'prefetchIndex',
                    'prefetchEntry', 'prefetchIndexes', 'prefetchEntries', 'step', 'load',
                    'hashesOf'}


class Token:
    __slots__ = ('kind', 'text', 'start', 'end', 'zone', 'outer', 'inside', 'call', 'partner')

    def __init__(self, match):
        self.kind = match.lastgroup
        self.text = match.group()
        self.start = match.start()
        self.end = match.end()
        self.zone = ''  # code, class, enum, ns, unseen: where the token stands
        self.outer = ''  # of an opening brace: the zone around it
        self.inside = ''  # the innermost bracket around it
        self.call = ''  # the function or macro whose brackets the token is in
        self.partner = -1  # the other bracket


def zone_of_brace(head, outer):
    """What a '{' opens, from the tokens since the last statement or brace."""
    before = head[-1].text if head else ''
    words = {token.text for token in head if token.kind == 'name'}
    brackets = any(token.text == ')' for token in head)
    if 'namespace' in words:
        return 'ns'
    if 'enum' in words and not brackets:
        return 'enum'
    if words & {'class', 'struct', 'union'} and before not in (')', 'const', 'noexcept'):
        return 'class'
    if outer == 'unseen' or any(token.text in UNSEEN_FUNCTIONS for token in head) and brackets:
        return 'unseen'
    if before in (')', ']', 'const', 'noexcept', 'override', 'else', 'do', 'try', 'mutable', ':'):
        return 'code'
    if any(token.text == '->' for token in head[-5:]) and brackets:
        return 'code'
    if not head and outer == 'code':
        return 'code'
    return outer  # an initialiser


def tokens_of(text):
    tokens = [Token(match) for match in TOKEN.finditer(text)]
    tokens = [token for token in tokens if token.kind not in ('comment', 'directive')]
    zones, brackets, head = ['ns'], [], []
    for at, token in enumerate(tokens):
        token.inside = tokens[brackets[-1]].text if brackets else ''
        if token.text == '{':
            token.outer = zones[-1]
            zones.append(zone_of_brace(head, zones[-1]))
            brackets.append(at)
            head = []
        elif token.text in '([':
            brackets.append(at)
            head.append(token)
        elif token.text in ('}', ')', ']') and brackets:
            tokens[brackets[-1]].partner = at
            token.partner = brackets.pop()
            if token.text == '}':
                zones.pop()
                head = []
            else:
                head.append(token)
        elif token.text == ';':
            head = []
        else:
            head.append(token)
        token.zone = zones[-1]
        for opened in reversed(brackets):
            name = tokens[opened - 1].text if opened else ''
            if tokens[opened].text == '(' and name in UNSEEN_CALLS:
                token.call = name
    return tokens


class Source:
    """A file's tokens, and the mutants that can be made of them."""

    def __init__(self, file, text):
        self.file = file
        self.text = text
        self.tokens = tokens_of(text)
        self.found = []

    def text_at(self, at):
        return self.tokens[at].text if 0 <= at < len(self.tokens) else ''

    def add(self, what, start, end, replacement):
        """Replaces the text from `start` to `end`; a mutant is known by the whole lines."""
        first = self.text.rfind('\n', 0, start) + 1
        last = self.text.find('\n', end)
        last = len(self.text) if last < 0 else last
        old = self.text[first:last]
        new = self.text[first:start] + replacement + self.text[end:last]
        if old == new:
            return
        line = self.text.count('\n', 0, start) + 1
        hunk = Hunk(self.file, tuple(part.strip() for part in old.split('\n')),
                    tuple(part.strip() for part in new.split('\n')))
        # A statement over several lines begins on the first of them.
        begin = self.text.count('\n', 0, first) + 1
        name = f'{self.file}:{line}:{start - self.text.rfind(chr(10), 0, start)} {what}'
        self.found.append(Mutant(name, room_of(self.file), what, [hunk], begin))

    def template_argument(self, at):
        before, token, after = self.tokens[at - 1:at + 2]
        return (before.text == '<' and before.end == token.start
                or after.text == '>' and after.start == token.end)

    def spaced(self, at):
        token = self.tokens[at]
        return (0 < at < len(self.tokens) - 1 and self.tokens[at - 1].end < token.start
                and token.end < self.tokens[at + 1].start)

    def statement(self, at):
        """The tokens around `at` up to the nearest ends of a statement."""
        first = at
        while first > 0 and self.text_at(first - 1) not in (';', '{', '}'):
            first -= 1
        last = at
        while last < len(self.tokens) and self.text_at(last) not in (';', '{', '}'):
            last += 1
        return self.tokens[first:last]

    def mutants(self):
        for at, token in enumerate(self.tokens):
            if token.call or token.zone in ('unseen', 'enum'):
                continue
            self.constant(at, token)
            if token.zone != 'code' and token.text not in BINARY:
                continue
            self.operator(at, token)
            if token.zone == 'code':
                self.condition(at, token)
                self.removal(at, token)
        return self.found

    def constant(self, at, token):
        if token.text in ('true', 'false'):
            other = 'false' if token.text == 'true' else 'true'
            if token.zone == 'code' or self.text_at(at - 1) in ('=', '{', ',', '('):
                self.add(f'{token.text} becomes {other}', token.start, token.end, other)
        if token.kind != 'number' or self.template_argument(at):
            return
        pure = token.text == '0' and self.text_at(at - 1) == '=' and self.text_at(at + 1) == ';'
        if pure and self.text_at(at - 2) in (')', 'const', 'noexcept', 'override'):
            return  # a function without a body
        other = {'0': '1', '1': '0'}.get(token.text, f'({token.text} + 1)')
        self.add(f'{token.text} becomes {other}', token.start, token.end, other)

    def operator(self, at, token):
        before, after = self.text_at(at - 1), self.text_at(at + 1)
        if token.text in ('++', '--') and token.zone == 'code':
            other = '--' if token.text == '++' else '++'
            self.add(f'{token.text} becomes {other}', token.start, token.end, other)
        if token.text == '!' and after != '=':
            self.add('! left out', token.start, token.end, '')
        if token.kind != 'mark' or token.text not in BINARY or not self.spaced(at):
            return
        if before == 'operator' or before in ('(', ',', '=', 'return'):
            return
        around = self.statement(at)
        words = {part.text for part in around}
        if words & {'template', 'requires', 'concept', 'using'}:
            return
        if token.text in ('<<', '>>') and not any(
                part.kind == 'number' for part in self.tokens[max(at - 1, 0):at + 2]):
            return  # a stream
        if token.text in ('+', '+=') and any(part.kind == 'string' for part in around):
            return  # texts are not subtracted
        for other in BINARY[token.text]:
            self.add(f'{token.text} becomes {other}', token.start, token.end, other)

    def condition(self, at, token):
        """The condition of an if or while: turned round, always, never."""
        if token.text not in ('if', 'while') or self.text_at(at + 1) != '(':
            return
        last = self.tokens[at + 1].partner
        inside = self.tokens[at + 2:last]
        for part in range(len(inside) - 1, -1, -1):
            if inside[part].text == ';':
                inside = inside[part + 1:]
                break
        if not inside or any(part.text == '=' for part in inside):
            return  # declares what it tests
        start, end = inside[0].start, inside[-1].end
        text = self.text[start:end]
        marks = {part.text for part in inside}
        plain = not marks & {'&&', '||'} and (marks & {'==', '!='} or inside[0].text == '!')
        if not plain:
            self.add('condition turned round', start, end, f'!({text})')
        if token.text == 'if':
            self.add('condition always holds', start, end, 'true')
        self.add('condition never holds', start, end, 'false')

    def removal(self, at, token):
        """A statement without an effect of its own on what is declared."""
        if token.inside != '{' or token.text == '{' or token.text in UNSEEN_CALLS:
            return
        before = self.text_at(at - 1)
        guarded = before == ')' and self.text_at(self.tokens[at - 1].partner - 1) == 'if'
        if before not in (';', '{', '}', 'else', ')', ':') or before == ')' and not guarded:
            return
        if before == ':' and self.text_at(at - 2) not in ('default', ')') and not any(
                part.text == 'case' for part in self.tokens[max(at - 6, 0):at]):
            return
        end = at
        while end < len(self.tokens) and self.text_at(end) != ';':
            if self.text_at(end) in ('(', '[', '{') and self.tokens[end].partner > end:
                end = self.tokens[end].partner
            elif self.text_at(end) in ('}', '{'):
                return
            end += 1
        parts = self.tokens[at:end]
        if any(part.text in UNSEEN_CALLS for part in parts):
            return
        if not parts or end == len(self.tokens):
            return
        if token.text in ('return', 'break', 'continue'):
            # The last statement of a block that is not the last of its function; one behind an
            # "if" is the condition that never holds.
            if guarded or self.text_at(end + 1) != '}' or before == '{' and token.text == 'return':
                return
            ends = self.tokens[self.tokens[end + 1].partner].outer != 'code'
            if ends or self.text_at(end + 2) in (')', ',', ';', '('):  # of a function
                return
        elif not is_expression(parts):
            return
        text = ' '.join(self.text[token.start:self.tokens[end].end].split())
        self.add(f'left out: {text[:60]}', token.start, self.tokens[end].end, ';')


def is_expression(parts):
    """Whether the tokens are a call, an assignment or a step, and declare nothing."""
    first = parts[0]
    begins = first.kind == 'name' or first.text in ('++', '--', '*', '(')
    if first.text in NO_EXPRESSION or not begins:
        return False
    for here, following in zip(parts, parts[1:]):
        if here.text in ('(', '=', '+=', '-=', '|=', '&=', '^=', '*=', '++', '--', '<<'):
            break
        if following.kind == 'name' and (here.kind == 'name' or here.text in '>&*'
                                         and here is not first):
            return False  # a type and a name
    return any(part.text in ('(', '=', '+=', '-=', '|=', '&=', '^=', '*=', '++', '--')
               for part in parts)


def room_of(file):
    folders = file.split('/')[:-1]
    return '/'.join(folders[:2])


def mutants_of(file, text):
    return Source(file, text).mutants()


def draw(mutants, count, random):
    """`count` of the mutants, each line with the same chance, from no line two."""
    lines = {}
    for mutant in mutants:
        lines.setdefault((mutant.files[0], mutant.line), []).append(mutant)
    chosen = random.sample(sorted(lines), min(count, len(lines)))
    return sorted((random.choice(lines[line]) for line in chosen),
                  key=lambda mutant: (mutant.files[0], mutant.line))
