#!/usr/bin/env python3
"""The tool that puts bugs into the libraries, on a toy of one source and one test program."""

import pathlib
import random
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / 'tools'))
from mutation import mechanical, mutant, report, workshop  # noqa: E402

SOURCE = '''#include "mdl/Door.h"

namespace Mdl {

/// Opens if (true) it can; "a == b" is only a text.
bool Door::open(int strength) {
   MDL_ASSERT(strength == strength);
   if (strength < 3) return false;
   std::vector<int> const list;
   tell("a == b", strength);
   open_ = true;
   return open_;
}

}  // namespace Mdl
'''

# Fails when the door opens to everybody, hangs when nobody is told, passes otherwise.
PROGRAM = '''#!/bin/sh
echo "[ RUN      ] Door.OpensToTheStrong"
grep -q 'tell(' model/mdl/Door.cpp || exec sleep 60
if grep -q 'if (false)' model/mdl/Door.cpp; then
   echo "[  FAILED  ] Door.OpensToTheStrong (0 ms)"
   exit 1
fi
'''


def patch(old, new):
    text = f'A bug.\n\nmodel/mdl/Door.cpp\n- {old}\n+ {new}\n'
    return mutant.parse_patch(text, 'room/bug', 'room')


class ToyShop(workshop.Workshop):
    """Its "compiler" refuses what has an at sign in it."""

    def make(self, *targets):
        return '@' not in (self.tree / 'model/mdl/Door.cpp').read_text()

    def limit(self, program):
        return 0.5


class Toy(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.source = pathlib.Path(folder.name, 'source')
        (self.source / 'model/mdl').mkdir(parents=True)
        (self.source / 'model/mdl/Door.cpp').write_text(SOURCE)
        self.shop = ToyShop(self.source, pathlib.Path(folder.name, 'work'), 1)
        program = self.shop.build / 'bin/model_tests'
        program.parent.mkdir(parents=True)
        program.write_text(PROGRAM)
        program.chmod(0o755)
        self.shop.copy()

    def outcome(self, old, new):
        result = self.shop.try_out(patch(old, new), far=False)
        self.assertEqual((self.shop.tree / 'model/mdl/Door.cpp').read_text(), SOURCE)
        self.assertEqual((self.source / 'model/mdl/Door.cpp').read_text(), SOURCE)
        return result

    def test_names_the_test_that_catches(self):
        caught = self.outcome('if (strength < 3) return false;', 'if (false) return false;')
        self.assertEqual(caught, 'model_tests: Door.OpensToTheStrong')

    def test_shows_what_survives(self):
        self.assertEqual(self.outcome('open_ = true;', ';'), '')

    def test_ends_what_hangs(self):
        self.assertIn('no end in', self.outcome('tell("a == b", strength);', ';'))

    def test_counts_what_does_not_compile_apart(self):
        self.assertEqual(self.outcome('open_ = true;', '@'), 'invalid')

    def test_refuses_what_does_not_apply(self):
        with self.assertRaisesRegex(mutant.Broken, 'room/bug does not apply.*0 times'):
            self.outcome('open_ = false;', ';')

    def test_refuses_what_applies_twice(self):
        text = SOURCE.replace('return open_;', 'open_ = true;')
        with self.assertRaisesRegex(mutant.Broken, '2 times'):
            mutant.mutated(patch('open_ = true;', ';'), lambda file: text)

    def test_copies_what_has_changed_and_removes_what_has_gone(self):
        (self.source / 'model/mdl/Door.cpp').rename(self.source / 'model/mdl/Gate.cpp')
        self.shop.copy()
        self.assertEqual([path.name for path in (self.shop.tree / 'model/mdl').iterdir()],
                         ['Gate.cpp'])


class Mechanical(unittest.TestCase):
    def setUp(self):
        self.made = mechanical.mutants_of('model/mdl/Door.cpp', SOURCE)

    def test_finds_code_and_nothing_else(self):
        self.assertEqual(sorted(each.name.split(':', 1)[1] for each in self.made), [
            '10:4 left out: tell("a == b", strength);',
            '11:12 true becomes false',
            '11:4 left out: open_ = true;',
            '8:17 < becomes <=',
            '8:17 < becomes >=',
            '8:19 3 becomes (3 + 1)',
            '8:29 false becomes true',
            '8:8 condition always holds',
            '8:8 condition never holds',
            '8:8 condition turned round',
        ])

    def test_each_applies_where_it_was_made(self):
        for each in self.made:
            text = mutant.mutated(each, lambda file: SOURCE)['model/mdl/Door.cpp']
            differing = [number for number, (old, new)
                         in enumerate(zip(SOURCE.split('\n'), text.split('\n')), 1) if old != new]
            self.assertEqual(differing, [each.line], each.name)

    def test_draws_the_same_from_the_same_seed_and_no_line_twice(self):
        draws = [mechanical.draw(self.made, 3, random.Random(7)) for _ in range(2)]
        self.assertEqual(draws[0], draws[1])
        self.assertEqual([each.line for each in draws[0]], [8, 10, 11])


class Files(unittest.TestCase):
    def test_a_patch_has_a_sentence_files_and_changes(self):
        read = mutant.parse_patch('One\nbug.\n\na/b.cpp\n  before\n- old\n+ new\n\n- other\n\nc.h\n'
                                  '- x\n+ y\n', 'r/n', 'r')
        self.assertEqual(read.sentence, 'One bug.')
        self.assertEqual(read.hunks, [mutant.Hunk('a/b.cpp', ('before', 'old'), ('before', 'new')),
                                      mutant.Hunk('a/b.cpp', ('other',), ()),
                                      mutant.Hunk('c.h', ('x',), ('y',))])

    def test_a_patch_without_change_or_sentence_is_refused(self):
        for text in ('A sentence.\n', 'a.cpp\n- x\n+ y\n', 'No place.\n\na.cpp\n+ y\n'):
            with self.assertRaises(mutant.Broken):
                mutant.parse_patch(text, 'r/n', 'r')

    def test_an_equivalent_is_known_by_its_lines(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, 'list')
            path.write_text('Same.\n\na.cpp\n  g();\n- x = 1;\n+ x = 2;\n----\n'
                            'Too.\n\nb.h\n- y\n+ z\n')
            known = mutant.equivalents(path)
        self.assertEqual([each.why for each in known], ['Same.', 'Too.'])
        text = 'f();\n   x = 1;\ng();\n   x = 1;\n'

        def covered(line):
            hunk = mutant.Hunk('a.cpp', ('x = 1;',), ('x = 2;',))
            made = mutant.Mutant('m', 'r', 's', [hunk], line)
            return [each.covers(made, lambda file: text) for each in known]

        self.assertEqual(covered(2), [False, False])
        self.assertEqual(covered(4), [True, False])

    def test_the_written_bugs_fit_the_sources(self):
        top = pathlib.Path(__file__).resolve().parents[2]
        written = mutant.seeded(top / 'tests/mutants/seeded')
        self.assertGreaterEqual(len(written), 80)
        for each in written:
            mutant.mutated(each, lambda file: (top / file).read_text())

    def test_the_equivalents_are_changes_that_can_be_made(self):
        top = pathlib.Path(__file__).resolve().parents[2]
        for known in mutant.equivalents(top / 'tests/mutants/equivalent.txt'):
            file = known.hunk.file
            text = (top / file).read_text()
            made = mechanical.mutants_of(file, text)
            fitting = [each for each in made if known.covers(each, lambda file: text)]
            self.assertEqual(len(fitting), 1, known.hunk)

    def test_the_table_counts_by_room(self):
        results = [{'room': 'a', 'verdict': verdict}
                   for verdict in ('caught', 'caught', 'caught', 'survived', 'equivalent')]
        lines = report.table(results)
        self.assertEqual(lines[1].split(), ['a', '5', '3', '1', '1', '0'])
        self.assertIn('3 of 4 caught, 75.0 %', lines[-1])


if __name__ == '__main__':
    unittest.main()
