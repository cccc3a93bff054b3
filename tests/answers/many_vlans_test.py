"""Checks the answers in JSON of a device of 4,094 VLANs: many_vlans_test.py BIN ROOT."""

import json
import pathlib
import sys

from answers import Schemas, Wrong, parse
from device import running

BIN, ROOT = sys.argv[1], pathlib.Path(sys.argv[2])
VLANS = range(1, 4095)
SCHEMAS = Schemas(ROOT)


def fill(device):
    """Each VLAN has an interface, a subnet of both families, and two routes; the odd ones' second
    next hop is not there."""
    def routes(vid):
        near = '10.%d.%d.2' % (vid >> 8, vid & 255)
        far = '192.0.2.1' if vid % 2 else near
        return {'a': {'network': '100.64.0.0', 'netmask': '255.255.0.0', 'gateway': near},
                'b': {'network': '100.65.0.0', 'netmask': '255.255.0.0', 'gateway': far}}

    device.fill(
        {'default_vlan': 1, 'interfaces': [
            {'name': 'eth%d' % vid, 'vlan': vid, 'index': vid,
             'ipv4': '10.%d.%d.1/24' % (vid >> 8, vid & 255),
             'ipv6': ['2001:db8:%x::1/64' % vid]} for vid in VLANS]},
        {'v%d' % vid: {'vid': vid, 'STATIC_ROUTES': routes(vid)} for vid in VLANS})


def distinct(vlans):
    """Those that differ in more than their number. The numbers are compared below, and judging
    4,094 of the same takes seconds."""
    return list({json.dumps({**vlan, 'vlan': 0}): vlan for vlan in vlans}.values())


def check(device):
    def ask(words, view, status=0):
        answer = device.ask(words + ' json')
        if answer.status != status:
            raise Wrong('%s: status %d, %r' % (words, answer.status, answer.text[:300]))
        document = parse(answer.text)
        SCHEMAS.expect(view, {key: distinct(part) if key == 'vlans' else part
                              for key, part in document.items()})
        return document

    def expect(what, wanted, found):
        if wanted != found:
            raise Wrong('%s: %r instead of %r' % (what, found, wanted))

    every = list(VLANS)
    device.do('reload')  # over when all has settled
    routes = ask('route vrf all', 'route')['routes']
    expect('VLANs of routes', every, sorted({route['vlan'] for route in routes}))
    expect('routes', 3 * len(every), len(routes))
    expect('in their order', routes, sorted(routes, key=lambda route: route['vlan']))
    expect('installed', 2 * len(every) + len(every) // 2,
           sum(route['state'] == 'installed' for route in routes))
    expect('IPv6 routes', len(every), len(ask('route6 vrf all', 'route')['routes']))
    numbers = ask('route vrf all summary', 'route')['all']
    expect('routes in numbers', (len(routes), 2 * len(every) + len(every) // 2),
           (numbers['routes'], numbers['installed']))
    summary = ask('summary vrf all', 'summary')
    expect('VLANs of the summary', every, [vlan['vlan'] for vlan in summary['vlans']])
    expect('routes in the summary', 2 * len(every),
           summary['all']['routes']['ipv4']['static']['candidates'])
    expect('their sum', summary['all']['rows']['addresses']['wanted'],
           sum(vlan['rows']['addresses']['wanted'] for vlan in summary['vlans']))
    expect('a VLAN', 4094, ask('summary vrf 4094', 'summary')['vlans'][0]['vlan'])
    for words in ('requests vrf all', 'status', 'version', 'history', 'revision 1'):
        ask(words, words.split()[0])
    expect('the folder\'s warnings', len(every) // 2, ask('check', 'check')['warnings'])
    kinds = ask('verify', 'verify')['kinds']
    expect('rows compared', 2 * len(every),
           next(kind['rows'] for kind in kinds if kind['kind'] == 'routes'))
    device.fill({'default_vlan': 1}, {})
    diff = ask('diff', 'diff')
    expect('VLANs that would go', len(every), diff['totals']['vlans']['removed'])
    expect('their lines', len(every), sum((change['kind'], change['how']) == ('vlan', 'removed')
                                          for change in diff['changes']))
    if not diff['guard']:
        raise Wrong('the guard says nothing')


try:
    with running(BIN, fill) as device:
        check(device)
except Wrong as problem:
    sys.exit(str(problem)[:3000])
