"""What is tried, and who judges it: the four engines of the library and the rooms of device/.

`files` are the files of an engine. A room has None: all its .cpp files, and those of its headers that no
other target reads. `suites` are asked in this order, the quick ones first; behind a suite may stand a
filter of googletest. `bar` is the share in percent that has to be noticed; None asks for nothing. Of an area
that `is_explained`, all others are listed with their reason.
"""

import collections

Area = collections.namedtuple('Area', 'name folder files suites bar is_explained')
Suite = collections.namedtuple('Suite', 'name filter')

PARSERS = ('values/decimal', 'values/address_format', 'values/config_parser', 'rtm/static_routes',
           'values/route_config', 'values/redistribution_profile', 'lists/dcl_mib_readers',
           'lists/dcl_config_object')
SCHEDULER = ('cfg_sched.cpp', 'cfg_bucket.cpp', 'cfg_bucket.h', 'cfg_item.cpp', 'node_pool.h', 'oid_table.h')
PIPELINE_SUITES = ('unit_pipeline', 'unit_pipeline_memory', 'models', 'unit_pipeline_rows', 'library_model')
# The processes. Each room asks those that stand or fall with it.
RELOADS = 'system_tests Reload.*:Redistribution.*:FirstNetwork.*:BadDocuments.*'
SESSIONS = ('system_tests Client.*:Terminal.*:Console.*:Daemon.*:Greeting.*:Pager.*:*/Prompt.*:'
            'SocketAccess.*:ViewSocket.*:WithoutLab.*')
# What a session shows of the device, and what it does with the folder.
ANSWERS = 'system_tests Check.*:Diff.*:Transactions.*:MetricsSocket.*:Client.*Json*:FirstNetwork.*'
# What a session asks of the device, and what it is told beforehand and afterwards.
ORDERS = ('system_tests Transactions.*:TwoOperators.*:Diff.*:Check.*:Starts.*:'
          'ClientOfA*:MissingFiles.*:LogFormats.TellWho*')
# Changes as they come, from the stack to a reader.
CHANGES = 'unit_daemon Watch*'
# Words of the command line, standard streams, exit statuses.
STARTS = 'system_tests Console.*:Daemon.*:Client.*Say*:Client.IsToldWhatIsWrong*:Client.*Streams'


def engine(name, files, *suites):
    return Area(name, 'src', tuple(f'src/{file}' for file in files), parse(suites), 90.0, True)


def room(name, *suites, bar=None):
    return Area(name, 'device/' + name, None, parse(suites), bar, False)


def parse(suites):
    return tuple(Suite(*(suite + ' ').split(' ')[:2]) for suite in suites)


ENGINES = [
    engine('value parsers', [f'{name}.cpp' for name in PARSERS],
           'unit_values', 'unit_lists', 'unit_rtm', 'unit_routers', 'scenarios'),
    engine('list diff', ['lists/dcl_config_list.cpp'],
           'unit_lists', 'unit_lists_allocation', 'unit_routers', 'library_model'),
    engine('scheduler', [f'pipeline/{name}' for name in SCHEDULER], *PIPELINE_SUITES),
    engine('serializer', ['pipeline/serializer.cpp'], *PIPELINE_SUITES),
]
ROOMS = [
    room('program', 'unit_program', 'unit_daemon', 'unit_documents', STARTS),
    room('logging', 'unit_logging', 'unit_logging_memory', 'unit_apply',
         'system_tests Log.*:LogFormats.*:Reload.*:Service.*:Daemon.*'),
    room('loop', 'unit_loop', 'unit_rows', 'unit_route_keeper', 'unit_apply', SESSIONS),
    room('documents', 'unit_documents', 'issues', 'unit_intent', 'unit_keepers', 'unit_apply', 'scenarios',
         RELOADS),
    room('kernel', 'unit_kernel', 'kernel_tests', bar=85.0),
    room('intent', 'unit_intent', 'unit_keepers', 'unit_rule_keeper', 'unit_apply', 'scenarios', RELOADS),
    room('plan', 'unit_plan', 'system_tests Diff.*', bar=90.0),
    room('revisions', 'unit_revisions -FailingCalls.*', 'unit_revisions FailingCalls.*', bar=90.0),
    room('rows', 'unit_rows', 'unit_route_keeper', 'unit_rule_keeper', 'unit_keepers', 'unit_apply', 'promises',
         'accidents', 'faults', RELOADS),
    room('ports', 'unit_ports', 'unit_route_keeper', 'unit_keepers', 'unit_apply', 'unit_daemon', 'unit_device_views',
         'promises', 'accidents', SESSIONS, 'system_tests Reload.*'),
    room('routes', 'unit_route_keeper', 'unit_rule_keeper', 'unit_apply', 'promises', 'accidents', 'scenarios',
         'faults', RELOADS),
    room('keepers', 'unit_keepers', 'unit_apply', 'promises', 'accidents', 'unit_console', 'scenarios',
         'faults', RELOADS),
    room('apply', 'unit_apply', 'promises', 'accidents', 'unit_console', 'scenarios', 'faults',
         'system_tests Transactions.*:Diff.*:Starts.*:MissingFiles.*', RELOADS),
    room('views', 'unit_views', 'unit_device_views', 'unit_state_views', CHANGES, ANSWERS, bar=85.0),
    room('console', 'unit_console', SESSIONS, ORDERS, bar=85.0),
    room('machine', 'unit_machine', 'kernel_tests', bar=85.0),
    room('daemon', 'unit_daemon', SESSIONS,
         'system_tests Reload.*:Check.*:Log.*:LogFormats.*:HangUp.*:Pace.*:'
         'ClientOfADaemon.*:MetricsSocket.*:Service.*:PassedSocket.*'),
    room('wire', 'unit_wire', 'system_tests Client.*'),
    room('editor', 'unit_editor', 'system_tests Terminal.*:Client.*Prompt*:*/Prompt.*'),
    room('client', 'system_tests Client.*:ClientOfA*:Trust.*:Greeting.*:Pager.*:*/Prompt.*'),
    room('base', 'unit_base', 'unit_device_fixture', 'component_test', SESSIONS),
    room('stack', 'stack_tests', 'component_test', 'stackfaults_test', 'scenarios'),
    room('routers', 'unit_routers', 'unit_manager_rip', 'component_test', 'scenarios'),
]
AREAS = ENGINES + ROOMS


def area_of(file):
    """The room of a file; the library's files that belong to no engine are nobody's."""
    for area in AREAS:
        if file in (area.files or ()) or area.files is None and file.startswith(area.folder + '/'):
            return area
    return None
