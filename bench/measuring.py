"""What the benchmarks of requests share: who asks, and the world in which they run."""
import os
import subprocess
import tempfile

SOURCES = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
PROGRAM = '/var/packages/Mailvane/target/ui/mailvane.cgi'
TARGET = '/var/packages/Mailvane/target/etc'
DATABASE = TARGET + '/maillog.live/maillog.db'


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


def make_mail_log(build, entries):
    """Folder of a mail log's database, which is made unless it is there."""
    folder = '%s/bench/mail-log-%d' % (build, entries)
    if not os.path.isdir(folder):
        unfinished = folder + '.new'
        subprocess.run(['rm', '-rf', unfinished], check=True)
        os.mkdir(unfinished)
        print('making a log of %d entries ...' % entries, flush=True)
        subprocess.run([build + '/bench/make-mail-log', unfinished + '/maillog.db', str(entries)],
                       check=True)
        os.rename(unfinished, folder)
    return folder


def put_mail_log(folder):
    """Has the programs of this world take the database in a folder for the mail log."""
    os.makedirs(os.path.dirname(DATABASE), exist_ok=True)
    subprocess.run(['mount', '--bind', folder, os.path.dirname(DATABASE)], check=True)
    link = TARGET + '/maillog/maillog.db'
    if os.path.lexists(link):
        os.unlink(link)
    os.symlink('../maillog.live/maillog.db', link)
