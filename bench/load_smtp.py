"""`load_smtp` beside others that print the same answer, each in a process as a web server starts it."""
import json
import os
import subprocess
import tempfile

from measuring import ETC, PACKAGE, body, costs, get, request_environment, tell

# What `load_smtp` reads, each once.
FILES = [PACKAGE + '/target/etc/web.conf', '/etc/haldinfo.conf', '/etc/passwd', '/etc/shadow',
         '/etc/group', '/usr/hald/etc/smb.conf'] + [
         ETC + name
         for name in ('mailvane.conf', 'domains', 'dnsbl', 'alias.db', 'mailvane.db')]


def php_text(value):
    if isinstance(value, dict):
        return '[' + ','.join(php_text(k) + '=>' + php_text(v) for k, v in value.items()) + ']'
    if isinstance(value, list):
        return '[' + ','.join(map(php_text, value)) + ']'
    return quoted(value) if isinstance(value, str) else json.dumps(value)


def perl_text(value):
    if isinstance(value, dict):
        return '{' + ','.join(perl_text(k) + '=>' + perl_text(v) for k, v in value.items()) + '}'
    if isinstance(value, list):
        return '[' + ','.join(map(perl_text, value)) + ']'
    if isinstance(value, bool):
        return 'JSON::PP::' + json.dumps(value)
    return quoted(value) if isinstance(value, str) else json.dumps(value)


def quoted(text):
    return "'" + text.replace('\\', '\\\\').replace("'", "\\'") + "'"


PHP = '<?php header("Content-Type: application/json"); echo json_encode(%s);'
PERL = ('use strict; use warnings; use JSON::PP;\n'
        'print "Content-Type: application/json\\n\\n", JSON::PP->new->encode(%s);')


def written(folder, name, text):
    path = os.path.join(folder, name)
    with open(path, 'wb') as file:
        file.write(text)
    return path


def complete(folder, told, commands):
    """The commands with what each has to print."""
    data = json.loads(body(told))
    more = {'floor': [written(folder, 'answer', told)] + FILES,
            'php-cgi': [written(folder, 'php-cgi', (PHP % php_text(data)).encode())],
            'perl': [written(folder, 'perl', (PERL % perl_text(data)).encode())]}
    return [(name, command + more.get(name, [])) for name, command in commands]


def check_same_answer(commands, environment, told):
    """Everything but the empty program has to print the same JSON."""
    for name, command in commands:
        printed = subprocess.run(command, env=environment, stdout=subprocess.PIPE, check=True).stdout
        if name != 'empty C++' and json.loads(body(printed)) != json.loads(body(told)):
            raise OSError('%s prints something else' % name)


def compare(area, build, rounds, commands):
    """Rows of the first command beside each of the others: names, and words of their command lines."""
    environment = request_environment('action=load_smtp')
    told, _ = get('action=load_smtp')
    with tempfile.TemporaryDirectory() as folder:
        commands = complete(folder, told, commands)
        environment['SCRIPT_FILENAME'] = folder + '/php-cgi'  # an argument does not count for it
        check_same_answer(commands, environment, told)
        found = costs(build, rounds, environment, commands)
    ours = found.pop('load_smtp')
    for name, cost in found.items():
        tell(area, 'load_smtp', ours.cpu, 'ms CPU', 0, name, cost.cpu)
    for name, cost in found.items():
        tell(area, 'load_smtp, memory', ours.peak / 1024, 'MiB', 0, name, cost.peak / 1024)
