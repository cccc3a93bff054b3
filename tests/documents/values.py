"""Documents with a value that is right at its place, and with some that are wrong there."""

ROUTE = {'network': '10.9.0.0', 'netmask': '255.255.0.0', 'gateway': '10.1.2.1'}


def vlans(**members):
    return 'vlans', {'VLAN_CONFIGURATIONS': [{'vid': 10, **members}]}


def interface(**members):
    return 'device', {'default_vlan': 10,
                      'interfaces': [{'name': 'eth0', 'vlan': 10, 'index': 3, **members}]}


def route4(key, **members):
    return lambda value: vlans(STATIC_ROUTES=[{**ROUTE, **members, key: value}])


def route6(key):
    return lambda value: vlans(STATIC_ROUTES6=[
        {'network': '2001:db8::', 'prefix': 48, 'gateway': '::1', key: value}])


def row(protocol, member, **members):
    return lambda value: vlans(**{protocol: {member: {'a row': {'Name': value, **members}}}})


def noted(note):
    """A document with a note at each place that may have one."""
    route = {**ROUTE, 'x-note': note}
    peer = {'Name': 'BGP_10_1', 'as': 1, 'address': '10.1.0.2', 'x-note': note}
    entry = {'vid': 10, 'x-note': note, 'RTM': {'x-note': note, 'ADMIN_DISTANCE': {'x-note': note}},
             'REDISTRIBUTION': {'rip': False, 'x-note': note}, 'STATIC_ROUTES': [route],
             'BGP': {'x-note': note, 'PEERS': [peer]}}
    return 'vlans', {'VLAN_CONFIGURATIONS': [entry], 'x-note': note, '$schema': note}


# Where a value stands, one that is right there, and some that are not.
VALUES = (
    (route4('network'), '10.9.0.0',
     ('banana', '10.9.0', '10.9.0.256', '10.9.0.0.', '10.9.0.0/16', '10.9.0.0\n', '')),
    (route4('metric'), '254', ('', '255', '256', '5x', '00255', '5.0', '-1', '5\n')),
    (route4('metric'), 254, (255, 256, -1, 5.5)),
    (route4('metric', routemetricmode='passthrough'), '255', ('256',)),
    (route4('metric', routemetricmode='passthrough, please'), 255, (256,)),
    (route4('metric', routemetricmode='Passthrough'), 254, (255,)),
    (route4('netmask'), '255.254.0.0', ('255.253.0.0', '255.0.255.0', '16')),
    (route6('metric'), '0255', ('0256',)),
    (route6('prefix'), '048', ('0048', '129', '')),
    (route6('prefix'), 128, (129, -1)),
    (lambda value: vlans(STATIC_ROUTES6=[{'network': '::', 'prefix': 0, 'gateway': '::1',
                                          value: 'passthrough'}]),
     'x-mode', ('routemetricmode',)),
    (lambda value: vlans(STATIC_ROUTES6=[{'network': value, 'prefix': 48, 'gateway': '::1'}]),
     '2001:db8::', ('banana', '10.9.0.0', '')),
    (lambda value: vlans(BGP={'PEERS': [{'Name': 'BGP_10_1', 'as': 1, 'address': value}]}),
     '10.1.2.1', ('banana', '10.1.2', '')),
    (lambda value: vlans(IGMP={'IF_LIST': [{'Name': 'IGMP_10_3', 'GROUPS': [{'address': value}]}]}),
     '239.1.1.1', ('224.0.0', '10.1.1.1')),
    (lambda value: vlans(MLD={'IF_LIST': [{'Name': 'MLD_10_3', 'GROUPS': [{'address': value}]}]}),
     'ff05::1', ('ff::1', 'fe80::1')),
    (lambda value: interface(ipv4=value), '10.1.0.1/16', ('999.1.0.1/16', '10.1.0.1')),
    (lambda value: interface(ipv6=[value]), '2001:db8::1/64', ('banana/64', '2001:db8::1/129')),
    (lambda value: ('device', {'default_vlan': 10, 'primary_interfaces': {value: 'eth0'}}),
     '00000032767', ('32768', '99999', '10\n', 'x', '', '-1', '+1', ' 1')),
    (lambda value: ('device', {'default_vlan': 10, 'kernel': {'multipath': {value: 2}}}),
     '00000032767', ('32768', '10\n', 'x', '', '-1')),
    (lambda value: ('device', {'default_vlan': 10, 'kernel': {'multipath': {'10': value}}}),
     64, (0, 65, -1, 1.5, '2', None, [], {})),
    (lambda value: ('device', {'default_vlan': 10, 'kernel': {'vrfs': {value: 20}}}),
     'blue-and-so-on1', ('sixteen-letters1', 'a b', '', 'a\tb', '\u00fc')),
    (lambda value: ('device', {'default_vlan': 10, 'kernel': {'vrfs': {'blue': value}}}),
     32767, (32768, -1, 1.5, '2', None, [], {})),
    (row('RIPV2', 'IF_LIST'), 'rIp_0032767_65535',
     ('RIP_32768_3', 'RIP_10_65536', 'RIP_10_70000', 'RIP_10', 'RIP_10_3_1', 'RIP_10_3\n', 'RIP_10_',
      'RIP_10_-1', 'RIP_10_3x', 'RIP_ 10_3', 'OSPF_10_3', 'RIPNG_10_3', 'RIPX_10_3', '')),
    (row('RIPNG', 'IF_LIST'), 'RIPng_10_3', ('RIPN_10_3', 'RIPNGNG_10_3', 'RIPV2_10_3')),
    (row('RIPNG', 'IF_LIST'), 'RIP_10_3', ('IP_10_3',)),
    (row('OSPF', 'AREA_LIST'), 'OSPF_10_0', ('OSPFV3_10_0', 'OSPF_10_0_1')),
    (row('OSPFV3', 'IF_LIST'), 'ospfv3_10_3_65535_65535', ('OSPF_10_3_65536', 'OSPF_10_3_1_0_0')),
    (row('BGP', 'PEERS', address='10.1.2.1', **{'as': 1}), 'BGP_10_1', ('BGP_10', 'RIP_10_1')),
    (row('IGMP', 'INTERFACES'), 'anything_10_3', ('_10_3', 'a1_10_3', 'IGMP_10_65536', 'IGMP_10_3_1')),
    (row('OSPF', 'AREA_LIST', type='NssA'), 'OSPF_10_0', ('OSPF_10_x',)),
    (noted, {'why': [1.5, {'not': True}]}, (None, [None], {'a': {'b': None}}, {'a\0': 1})),
    (lambda value: vlans(**{value: 1}), 'x-', ('X-note', 'y', 'x', 'x-\0', '$schema', 'rTM')),
    (lambda value: ('vlans', {'VLAN_CONFIGURATIONS': {value: {'vid': 10}}}), 'any \u20ac', ('a\0b', '\0')),
    (lambda value: ('vlans', {value: {}}), 'VLAN_CONFIGURATIONS',
     ('VLAN_CONFIGURATION', 'x-VLAN_CONFIGURATIONS')),
    (lambda value: ('remote', {value: []}), 'VLAN_CONFIGURATIONS', ('VLAN_CONFIGURATION',)),
    (lambda value: ('remote', {'VLAN_CONFIGURATIONS': [{'vid': 10, value: {'rip': False}}]}),
     'x-REDISTRIBUTION', ('REDISTRIBUTION',)),
    (lambda value: ('remote', {'VLAN_CONFIGURATIONS': [{'vid': 10, value: {}}]}), 'x-RTM', ('RTM',)),
    (lambda value: vlans(RIPV2=value), {'x-note': 1, 'IF_LIST': []}, ({}, {'x-note': 1}, [], None, True)),
    (lambda value: vlans(BGP={'PEERS': [{'Name': 'BGP_10_1', 'address': '::1', 'as': 1, 'afi': value}]}),
     1, (0, 2, '1')),
    (lambda value: vlans(BGP={'PEERS': [{'Name': 'BGP_10_1', 'address': '10.1.2.1', 'as': 1,
                                         'description': value}]}),
     'd' * 127, ('d' * 128, '.*', '.* and more')),
)
