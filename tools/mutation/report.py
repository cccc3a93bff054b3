"""The figures of a run, and what is wrong with them."""

import collections

from . import slips


def report(chosen, results, everything, listed):
    """Prints the figures of each area and the slips of device/ that were not noticed; gives back the
    faults."""
    faults, survivors = [], []
    for entry in sorted(listed - {slips.identity(slip) for slip in everything}):
        faults.append(f'listed, but there is no such slip: {" | ".join(entry)}')
    print(f'{"":14} tried  noticed    share  explained  do not compile')
    for area in dict.fromkeys(slip.area for slip in chosen):
        of_area = [slip for slip in chosen if slip.area == area]
        counts = collections.Counter()
        for slip in of_area:
            verdict, name = results.of(slip), ' | '.join(slips.identity(slip))
            is_listed = slips.identity(slip) in listed
            counts[verdict.split(' by ')[0]] += 1
            counts['explained'] += verdict == 'not noticed' and is_listed
            if verdict == 'not noticed' and not is_listed:
                (faults if area.is_explained else survivors).append('not noticed: ' + name)
            elif verdict != 'not noticed' and is_listed:
                faults.append(f'listed, but {verdict}: {name}')
        share = print_figures(area, counts)
        is_whole = len(of_area) == sum(slip.area == area for slip in everything)
        if area.bar and share < area.bar and is_whole:
            faults.append(f'{area.name}: {share:.1f} % noticed; at least {area.bar} % are wanted')
    for survivor in survivors:
        print(survivor)
    return faults


def print_figures(area, counts):
    tried = counts['noticed'] + counts['not noticed']
    share = 100.0 * counts['noticed'] / tried if tried else 100.0
    print(f'{area.name:14} {tried:5}    {counts["noticed"]:5}  {share:5.1f} %      {counts["explained"]:5}'
          f'           {counts["does not compile"]:5}')
    return share


def report_named(named, results):
    """Prints what noticed each of the named slips; gives back the faults."""
    faults = []
    for name, slip in named.items():
        verdict = results.of(slip)
        print(f'{name}: {verdict}')
        if not verdict.startswith('noticed by '):
            faults.append(f'{name} ({slip.file}): {verdict}')
    return faults
