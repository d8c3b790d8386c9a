"""Long lists for the benchmarks, written where the program has them; and the imports that bring them in."""
from __future__ import annotations

import contextlib
import os
import shutil
import sqlite3
import subprocess
import tempfile

from measuring import ETC, Cost, post, upload

ALIASES, LISTS = ETC + 'alias.db', ETC + 'mailvane.db'
FIRST_ID = 10000
SPOOL = '/var/spool/postfix'
COUNTED = 'WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < %d - 1) '


def change(database: str, *statements: str) -> None:
    with contextlib.closing(sqlite3.connect(database, timeout=60)) as connection:
        for statement in statements:
            connection.execute(statement)
        connection.commit()


def fill_aliases(count: int) -> None:
    """Each with 10 members of twice as many accounts."""
    change(ALIASES, 'DELETE FROM alias', 'DELETE FROM member',
           COUNTED % count + "INSERT INTO alias SELECT i + 1, printf('alias%06d', i) FROM n",
           COUNTED % 10 + "INSERT INTO member SELECT id, i, printf('user%%06d', (id * 10 + i) %% %d), 0 "
           "FROM alias, n" % (2 * count))


def fill_accounts(count: int) -> None:
    """Each with a group of its own, and all in one more."""
    lines = {'passwd': 'user{0:06d}:x:{1}:{1}::/nonexistent:/bin/false\n',
             'shadow': 'user{0:06d}:*:19000:0:99999:7:::\n',
             'group': 'user{0:06d}:x:{1}:\n'}
    for name, form in lines.items():
        with open('/etc/' + name, encoding='ascii') as file:
            kept = [old for old in file if not old.startswith('user') or old.startswith('users:')]
        with open('/etc/' + name, 'w', encoding='ascii') as file:
            file.writelines(kept + [form.format(i, FIRST_ID + i) for i in range(count)])
    with open('/etc/group', 'a', encoding='ascii') as file:
        members = ','.join('user%06d' % i for i in range(count))
        file.write('user-all:x:%d:%s\n' % (FIRST_ID - 1, members))


def fill_access(count: int) -> None:
    """Senders, recipients and clients in equal parts."""
    change(LISTS, 'DELETE FROM access', COUNTED % count + (
        "INSERT INTO access SELECT i % 3, CASE i % 3 WHEN 2 THEN "
        "printf('10.%d.%d.%d', i / 65536, i / 256 % 256, i % 256) ELSE "
        "printf('user%d@domain%d.example', i, i % 997) END, "
        "CASE i % 3 WHEN 2 THEN 3 ELSE 0 END, i % 2 FROM n"))


def fill_black_list(count: int) -> None:
    change(LISTS, 'DELETE FROM black_white', COUNTED % count + (
        "INSERT INTO black_white SELECT 0, printf('user%d@domain%d.example', i, i % 997), 0, 1 FROM n"))


def fill_copies(count: int) -> None:
    change(LISTS, 'DELETE FROM bcc', COUNTED % count + (
        "INSERT INTO bcc SELECT 0, printf('user%d@domain%d.example', i, i % 997), 'bench@example.org' FROM n"))


def fill_quotas(count: int) -> None:
    change(LISTS, 'DELETE FROM sender_quota',
           COUNTED % count + "INSERT INTO sender_quota SELECT printf('user%06d', i), 100 FROM n")


def fill_queue(count: int) -> None:
    """Messages that wait for a mail server which does not run."""
    folder, kept = SPOOL + '/maildrop/', '/tmp/queued'
    if not os.path.exists(kept):
        subprocess.run(['sendmail', '-f', 'bench', 'somebody@example.org'], input=b'Subject: it waits\n\nIt waits.\n',
                       check=True)
        shutil.move(folder + os.listdir(folder)[0], kept)
    for name in os.listdir(folder)[count:]:
        os.unlink(folder + name)
    for number in range(len(os.listdir(folder)), count):
        shutil.copy(kept, '%s%s%05X%08X' % (folder, 'A', number, number))


# The tables of each list, what its import is staged with, and a line of its file.
IMPORTS: dict[str, tuple[str, list[str], dict[str, str | int], str]] = {
    'access': (LISTS, ['access'], {'action': 'import_access', 'type': 0}, 'user%d@domain%d.example REJECT\n'),
    'black list': (LISTS, ['black_white'], {'action': 'import_spam_blackwhite', 'blackWhite': 1},
                   'sender user%d@domain%d.example\n'),
    'copies': (LISTS, ['bcc'], {'action': 'import_bcc', 'type': 0}, 'user%d@domain%d.example bench@example.org\n'),
    'aliases': (ALIASES, ['alias', 'member'], {'action': 'import_alias'}, 'alias%d: someone@domain%d.example\n'),
}
BOUNDARY = 'XyZ'
HEAD = '--%s\r\nContent-Disposition: form-data; name="file"; filename="list"\r\n\r\n' % BOUNDARY
TAIL = '\r\n--%s--\r\n' % BOUNDARY


def bring_in(name: str, lines: int) -> Cost:
    """What the import of a file of so many lines costs; it is written one by one, since the memory of who
    asks counts into the peak."""
    database, tables, staging, line = IMPORTS[name]
    change(database, *('DELETE FROM ' + table for table in tables))
    post(staging)
    with tempfile.TemporaryFile() as file:
        file.write(HEAD.encode())
        for number in range(lines):
            file.write((line % (number, number % 997)).encode())
        file.write(TAIL.encode())
        file.flush()
        _, cost = upload('multipart/form-data; boundary=' + BOUNDARY, file)
    with contextlib.closing(sqlite3.connect(database)) as connection:
        stored = connection.execute('SELECT count(*) FROM ' + tables[0]).fetchone()[0]
    if stored != lines:
        raise OSError('%s: %d of %d are stored' % (name, stored, lines))
    return cost
