"""What the mutants' user sees: the line that is rewritten, the table at the end, the JSON file."""

import json
import shutil
import sys
import time


class Progress:
    """One line on a terminal; elsewhere a line now and then."""

    def __init__(self, total, out=sys.stdout):
        self.total = total
        self.done = 0
        self.out = out
        self.terminal = out.isatty()
        self.begin = time.monotonic()
        self.counts = {'caught': 0, 'survived': 0, 'invalid': 0}

    def step(self, verdict, name):
        self.done += 1
        self.counts[verdict] += 1
        if self.terminal:
            self.show(name)
        elif self.done % 25 == 0 or self.done == self.total:
            print(self.text(), file=self.out, flush=True)

    def text(self):
        spent = time.monotonic() - self.begin
        left = spent / max(self.done, 1) * (self.total - self.done)
        return (f'{self.done} of {self.total}: {self.counts["caught"]} caught, '
                f'{self.counts["survived"]} survived, {self.counts["invalid"]} not compiled, '
                f'{spent / 60:.0f} min, {left / 60:.0f} min left')

    def show(self, name):
        width = shutil.get_terminal_size().columns
        self.out.write('\r\033[K' + f'{self.text()}: {name}'[:width - 1])
        self.out.flush()

    def say(self, *lines):
        if self.terminal:
            self.out.write('\r\033[K')
        for line in lines:
            print(line, file=self.out, flush=True)

    def close(self):
        if self.terminal:
            self.out.write('\r\033[K')
            self.out.flush()


def table(results):
    """A line a room: how many, caught, equivalent, survived, not compiled."""
    rooms = {}
    for result in results:
        row = rooms.setdefault(result['room'], dict.fromkeys(
            ('caught', 'equivalent', 'survived', 'invalid'), 0))
        row[result['verdict']] += 1
    width = max([len(room) for room in rooms] + [5])
    lines = [f'{"ROOM":{width}}  MUTANTS  CAUGHT  EQUIVALENT  SURVIVED  NOT COMPILED']

    def line(room, row):
        return (f'{room:{width}}  {sum(row.values()):7}  {row["caught"]:6}  {row["equivalent"]:10}'
                f'  {row["survived"]:8}  {row["invalid"]:12}')

    lines += [line(room, row) for room, row in sorted(rooms.items())]
    total = {kind: sum(row[kind] for row in rooms.values())
             for kind in ('caught', 'equivalent', 'survived', 'invalid')}
    lines.append(line('all', total))
    judged = total['caught'] + total['survived']
    if judged:
        lines.append(f'{total["caught"]} of {judged} caught, '
                     f'{100 * total["caught"] / judged:.1f} %, not counting '
                     f'{total["equivalent"]} that are equivalent and {total["invalid"]} that do '
                     f'not compile')
    return lines


def write_json(path, results, seconds):
    with open(path, 'w') as file:
        json.dump({'seconds': round(seconds), 'mutants': results}, file, indent=1)
        file.write('\n')
