"""What the benchmarks of requests share: who asks, and the world in which they run."""
import os
import subprocess
import tempfile

SOURCES = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
PROGRAM = '/var/packages/Mailvane/target/ui/mailvane.cgi'


def request_environment(query):
    """Environment of a GET request that the first of the administrators makes."""
    groups = subprocess.run(['getent', 'group', 'administrators'], stdout=subprocess.PIPE, text=True)
    members = groups.stdout.strip().rpartition(':')[2].split(',')
    if not members[0]:
        raise OSError('the group administrators has no member')
    return {'PATH': '/usr/bin:/bin', 'GATEWAY_INTERFACE': 'CGI/1.1', 'REQUEST_METHOD': 'GET',
            'SERVER_PROTOCOL': 'HTTP/1.1', 'QUERY_STRING': query, 'REMOTE_USER': members[0],
            'REDIRECT_STATUS': '200'}


def body(answer):
    return answer.replace(b'\r\n', b'\n').partition(b'\n\n')[2]


def costs(build, rounds, environment, commands):
    """Name, median ms, 90th percentile, median ms of the processor, peak KiB of each command; they
    take turns."""
    words = [str(rounds)]
    for name, command in commands:
        words += (['--'] if len(words) > 1 else []) + [name] + command
    result = subprocess.run([build + '/bench/request_cost'] + words, env=environment,
                            stdout=subprocess.PIPE, text=True, check=True)
    return [line.split('\t') for line in result.stdout.splitlines()]


def measure_in_a_world(build, *command):
    """Runs a benchmark in a private world with a build in it, which is gone afterwards."""
    world = SOURCES + '/packaging/world'
    with tempfile.TemporaryDirectory(prefix='mailvane-bench-') as state:
        def inside(*words):
            subprocess.run([world, 'enter', state, *words], check=True)

        subprocess.run([world, 'start', state, '--net', '--bind', SOURCES, '--bind', build], check=True)
        try:
            inside(SOURCES + '/packaging/install-into', build)
            inside('useradd', '--groups', 'administrators', 'bench')
            inside(*command)
        finally:
            subprocess.run([world, 'stop', state], check=True)
