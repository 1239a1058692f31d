"""A mutant: one deliberate bug, and the two kinds of files that write mutants down."""

import dataclasses
import pathlib


class Broken(Exception):
    """What is wrong with a mutant or its file, in words for whoever wrote it."""


@dataclasses.dataclass(frozen=True)
class Hunk:
    """Whole lines of one file, without their indentation, and what stands there instead."""
    file: str
    old: tuple
    new: tuple


@dataclasses.dataclass
class Mutant:
    name: str
    room: str
    sentence: str
    hunks: list
    #: Where the first hunk begins, when the mutant was made from a known place.
    line: int = 0

    @property
    def files(self):
        return sorted({hunk.file for hunk in self.hunks})

    def difference(self):
        lines = []
        for hunk in self.hunks:
            lines += [f'- {line}' for line in hunk.old if line not in hunk.new]
            lines += [f'+ {line}' for line in hunk.new if line not in hunk.old]
        return lines


def places(lines, wanted):
    """The indices at which the lines `wanted` stand, whatever their indentation."""
    count = len(wanted)
    return [at for at in range(len(lines) - count + 1)
            if all(lines[at + i].strip() == wanted[i] for i in range(count))]


def mutated(mutant, read):
    """The texts of the mutant's files with the bug in them. `read` gives the text of a file."""
    texts = {}
    for hunk in mutant.hunks:
        lines = texts.get(hunk.file) or read(hunk.file).split('\n')
        found = places(lines, hunk.old)
        if mutant.line and mutant.line - 1 in found:
            found = [mutant.line - 1]
        if len(found) != 1:
            raise Broken(f'{mutant.name} does not apply: its lines stand {len(found)} times in '
                         f'{hunk.file}, beginning with: {hunk.old[0]}')
        lines[found[0]:found[0] + len(hunk.old)] = hunk.new
        texts[hunk.file] = lines
    return {file: '\n'.join(lines) for file, lines in texts.items()}


def parse_patch(text, name, room):
    """One mutant: a sentence, then file names, each with lines that begin with ' ', '-' or '+'."""
    sentence, hunks, file, old, new = [], [], None, [], []

    def close():
        if old or new:
            if not old:
                raise Broken(f'{name}: a change without old lines has no place')
            hunks.append(Hunk(file, tuple(old), tuple(new)))
            old.clear()
            new.clear()

    for line in text.split('\n'):
        mark, rest = line[:1], line[1:].strip()
        if not line.strip():
            close()
        elif mark in ' -+' and file:
            if mark != '+':
                old.append(rest)
            if mark != '-':
                new.append(rest)
        elif line.endswith(('.h', '.cpp')) and ' ' not in line:
            close()
            file = line
        else:
            sentence.append(line.strip())
    close()
    if not sentence or not hunks:
        raise Broken(f'{name}: wants a sentence, a file and changed lines')
    return Mutant(name, room, ' '.join(sentence), hunks)


def seeded(folder):
    """The bugs in `folder`/ROOM/NAME.mutant."""
    result = []
    for path in sorted(pathlib.Path(folder).glob('*/*.mutant')):
        name = f'{path.parent.name}/{path.stem}'
        result.append(parse_patch(path.read_text(), name, path.parent.name))
    return result


@dataclasses.dataclass
class Equivalent:
    """A change of lines that changes nothing that could be seen, and why. Lines before the change
    tell it from an equal one elsewhere in the file."""
    hunk: Hunk
    why: str

    def covers(self, mutant, read):
        """Whether it is what a mutant from a known place changes; `read` gives a file's text."""
        context = 0
        while self.hunk.old[context:context + 1] == self.hunk.new[context:context + 1]:
            context += 1
        change = Hunk(self.hunk.file, self.hunk.old[context:], self.hunk.new[context:])
        if mutant.hunks != [change]:
            return False
        first = mutant.line - 1
        before = read(change.file).split('\n')[max(first - context, 0):first]
        return tuple(line.strip() for line in before) == self.hunk.old[:context]


def equivalents(path):
    """The entries of the list, which stand apart by lines of '----'."""
    path = pathlib.Path(path)
    if not path.exists():
        return []
    result = []
    for number, part in enumerate(path.read_text().split('\n----\n'), 1):
        if not part.strip():
            continue
        mutant = parse_patch(part, f'{path.name}, entry {number}', '')
        result += [Equivalent(hunk, mutant.sentence) for hunk in mutant.hunks]
    return result
