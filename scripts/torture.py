#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Mistreats programs that use the library and counts how often its promises hold; scripts/torture calls this.

Each experiment is one kind of mistreatment, repeated until its share of the time is used up, and at least a minimum
number of times. The table at the end shows how often each promise was tested and how often it held; docs/reliability.md
explains it. If the system does not allow an experiment, the table gives the reason. The exit code is 1 if a promise did
not hold; with --strict, also if an experiment was skipped.
"""

import argparse
import collections
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import socket
import statistics
import subprocess
import sys
import tempfile
import threading
import time

TIMEOUT = 60  # seconds; enough on a busy machine
PARSING_LIMIT = 30  # seconds for an answer while the server parses a hostile frame
ANSWER_LIMIT = 5  # seconds for an answer during any other attack, if answers take less than USUAL_ANSWER without one
USUAL_ANSWER = 0.02  # seconds
NOBODY = 65534
SHOWN_FAILURES = 5


class Experiment:
    """One kind of mistreatment, and its row of the table."""

    def __init__(self, name):
        self.name = name
        self.tried = 0
        self.failures = []
        self.note = ''
        self.is_cut_short = False

    def cut_short(self, reason):
        """Notes that the system does not allow this experiment, or the rest of it."""
        self.is_cut_short = True
        self.note = reason

    def check(self, held, failure):
        """Counts one attempt. held: whether the promise held; failure: the text to print if not."""
        self.tried += 1
        if not held:
            self.failures.append(failure)
            if len(self.failures) <= SHOWN_FAILURES:
                print(f'    NOT HELD: {failure}', flush=True)
        return held

    @property
    def held(self):
        return self.tried - len(self.failures)


class Clock:
    """The time for one experiment. It ends after these seconds, but not before the minimum number of attempts."""

    def __init__(self, seconds):
        self.end = time.monotonic() + seconds

    def over(self, experiment, minimum):
        return time.monotonic() >= self.end and experiment.tried >= minimum


class Process:
    """A program whose lines are read in the background."""

    def __init__(self, arguments, **options):
        self.lines = []
        self.changed = threading.Condition()
        self.process = subprocess.Popen(arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                                        errors='replace', **options)
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            with self.changed:
                self.lines.append(line.rstrip('\n'))
                self.changed.notify_all()
        with self.changed:
            self.lines.append(None)
            self.changed.notify_all()

    def wait_for(self, start, timeout=TIMEOUT):
        """Waits for a line that begins with start. Returns whether it was printed in time."""
        with self.changed:
            self.changed.wait_for(
                lambda: any(line is None or line.startswith(start) for line in self.lines), timeout)
            return any(line is not None and line.startswith(start) for line in self.lines)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def end(self, timeout=TIMEOUT):
        """Closes standard input. Returns the exit code, or None if the program did not end in time."""
        self.process.stdin.close()
        try:
            code = self.process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.kill()
            code = None
        self.reader.join(timeout)  # until it has read the last line
        return code


class Torture:
    def __init__(self, options):
        self.saver = options.saver
        self.peer = options.peer
        self.tool = options.tool
        self.random = random.Random(options.seed)
        # The name is short, because the path of a socket is limited. Root also saves as another user, who needs
        # access to the folder.
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix='qvt-'))
        self.folder.chmod(0o755)
        os.environ['TMPDIR'] = str(self.folder)
        os.environ.pop('QT_LOGGING_RULES', None)
        self.documents = []
        for number in range(4):
            path = self.folder / 'document.xml'
            self.run_saver('save', path, str(number))
            self.documents.append(path.read_bytes())
            path.unlink()

    def run_saver(self, *arguments, user=None, **options):
        prefix = ['--user', str(user)] if user is not None else []
        return subprocess.run([self.saver, *prefix, *map(str, arguments)], stdout=subprocess.PIPE,
                              timeout=TIMEOUT, check=False, **options)

    def fresh_folder(self, name):
        path = self.folder / name
        shutil.rmtree(path, ignore_errors=True)
        path.mkdir()
        return path

    def verdict(self, file, code, old, new):
        """Returns what is wrong after saving new over old (None: no file); '' if nothing is."""
        content = file.read_bytes() if file.exists() else None
        if code == 0:
            return '' if content == new else 'the save succeeded, but its content is not in the file'
        if code == 1:
            return '' if content == old else 'the save failed, but the file has changed'
        return f'ended with {code}'

    # Killed

    def kill_savers(self, experiment, seconds, minimum):
        folder = self.fresh_folder('kills')
        file = folder / 's.xml'
        clock = Clock(seconds)
        turn = 0
        while not clock.over(experiment, minimum):
            command = self.random.choice(['loop', 'loop', 'settings'])
            savers = [Process([self.saver, command, str(file)]) for _ in range((1, 1, 2, 4)[turn % 4])]
            if not all(saver.wait_for('ready') for saver in savers):
                experiment.check(False, 'a saver did not begin')
                return
            time.sleep(self.random.uniform(0, 0.008))
            for saver in savers:
                saver.process.kill()
            for saver in savers:
                saver.process.wait()
            is_whole = file.read_bytes() in self.documents
            others = [entry for entry in os.listdir(folder) if entry != 's.xml']
            is_tidy = len(others) <= len(savers) and all(o.startswith('.s.xml.saving') for o in others)
            for saver in savers:
                experiment.check(is_whole and is_tidy, f'{command}: whole: {is_whole}, beside it: {others}')
            turn += 1
            if turn % 4 == 0:
                self.run_saver('save', file, '1')
                left = os.listdir(folder)
                experiment.check(left == ['s.xml'] and file.read_bytes() == self.documents[1],
                                 f'after the next save: {left}')

    # Failing system calls

    CALLS = {'openat', 'open', 'write', 'pwrite64', 'fsync', 'fdatasync', 'fchmod', 'fchown', 'rename', 'renameat',
             'renameat2', 'flock', 'fstat', 'newfstatat', 'stat', 'lstat', 'statx', 'close', 'readlink',
             'readlinkat', 'unlink', 'unlinkat', 'fgetxattr', 'flistxattr', 'fsetxattr', 'fremovexattr', 'read'}
    ERRORS = ['EIO', 'ENOSPC', 'EACCES', 'EINTR', 'EPERM', 'EMFILE', 'EROFS', 'EDQUOT', 'ENOLCK', 'EEXIST']

    def calls_of(self, command, file):
        """Returns the system calls, starting with the first that names the file: (name, earlier calls of that name)."""
        log = self.folder / 'calls.log'
        result = subprocess.run(['strace', '-s', '4096', '-o', str(log), self.saver, *map(str, command)],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False,
                                timeout=TIMEOUT)
        if not log.exists() or 'exit_group' not in log.read_text(errors='replace'):
            reason = (result.stderr or '').strip().splitlines()
            return None, reason[-1] if reason else 'strace does not work here'
        counts = collections.Counter()
        found = []
        began = False
        for line in log.read_text(errors='replace').splitlines():
            match = re.match(r'(\w+)\(', line)
            if not match:
                continue
            began = began or (match[1] != 'execve' and f'"{file}"' in line)
            if began and match[1] in self.CALLS:
                found.append((match[1], counts[match[1]]))
            counts[match[1]] += 1
        return found, ''

    def attempts(self, calls, experiment, seconds):
        """Yields one error and one kill for each call, then further errors until the time is up."""
        clock = Clock(seconds)
        first = [(name, before, f'error={self.random.choice(self.ERRORS)}') for name, before in calls]
        first += [(name, before, 'signal=KILL') for name, before in calls]
        yield from first
        rest = [(name, before, f'error={error}') for name, before in calls for error in self.ERRORS]
        self.random.shuffle(rest)
        for attempt in rest:
            if clock.over(experiment, 0):
                return
            yield attempt

    def inject(self, attempt, command):
        name, before, what = attempt
        return subprocess.run(['strace', '-o', os.devnull, '-e', f'inject={name}:{what}:when={before + 1}',
                               self.saver, *map(str, command)],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False,
                              timeout=TIMEOUT)

    def fail_calls(self, experiment, seconds):
        if not shutil.which('strace'):
            experiment.cut_short('strace is not installed')
            return
        folder = self.fresh_folder('calls')
        file = folder / 's.xml'
        new = self.documents[1]
        for old in (self.documents[0], None):
            command = ('save', file, '1')

            def prepare():
                for entry in folder.iterdir():
                    entry.unlink()
                if old is not None:
                    file.write_bytes(old)

            prepare()
            calls, reason = self.calls_of(command, file)
            if not calls:
                experiment.cut_short(reason)
                return
            for attempt in self.attempts(calls, experiment, seconds / 2):
                prepare()
                code = self.inject(attempt, command).returncode
                is_killed = attempt[2] == 'signal=KILL'
                if is_killed:  # it has no exit code: judge by what the file contains
                    code = 0 if file.exists() and file.read_bytes() == new else 1
                problem = self.verdict(file, code, old, new)
                left = sorted(entry for entry in os.listdir(folder) if entry != 's.xml')
                if left and not is_killed and not attempt[0].startswith('unlink'):
                    problem = f'left {left}'
                experiment.check(not problem, f'{attempt}, {"old file" if old else "no file"}: {problem}')

    def fail_settings(self, experiment, seconds):
        """Checks that a store that could not be read is not overwritten."""
        if not shutil.which('strace'):
            experiment.cut_short('strace is not installed')
            return
        folder = self.fresh_folder('settings')
        file = folder / 's.xml'
        old = b'<Settings><Old V="1"/></Settings>'
        command = ('open', file)

        def prepare():
            for entry in folder.iterdir():
                entry.unlink()
            file.write_bytes(old)

        prepare()
        calls, reason = self.calls_of(command, file)
        if not calls:
            experiment.cut_short(reason)
            return
        for attempt in self.attempts(calls, experiment, seconds):
            prepare()
            self.inject(attempt, command)
            kept = [entry for entry in folder.iterdir() if b'<Old V="1"/>' in entry.read_bytes()]
            experiment.check(file in kept or folder / 's.xml.damaged' in kept,
                             f'{attempt}: {sorted(os.listdir(folder))}')

    # No room

    def limit_size(self, experiment, seconds, minimum):
        folder = self.fresh_folder('limits')
        file = folder / 's.xml'
        clock = Clock(seconds)
        while not clock.over(experiment, minimum):
            old = self.random.choice([self.documents[0], None])
            number = self.random.randrange(1, 4)
            size = self.random.randrange(0, len(self.documents[number]) + 4096)
            if old is None:
                file.unlink(missing_ok=True)
            else:
                file.write_bytes(old)

            def limit(size=size):
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
                resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))

            result = self.run_saver('save', file, str(number), preexec_fn=limit)
            problem = self.verdict(file, result.returncode, old, self.documents[number])
            if not problem and os.listdir(folder) not in (['s.xml'], []):
                problem = f'left {os.listdir(folder)}'
            experiment.check(not problem, f'{size} bytes: {problem}')

    def fill_disk(self, experiment, seconds, minimum):
        """Runs fill_disk_inside in a mount namespace, which disappears with its processes."""
        options = ['-m'] if os.geteuid() == 0 else ['-U', '-r', '-m']
        probe = subprocess.run(['unshare', *options, 'true'], capture_output=True, text=True, check=False)
        if probe.returncode != 0:
            experiment.cut_short('cannot mount a file system: ' + probe.stderr.strip().splitlines()[-1])
            return
        folder = self.fresh_folder('disk')
        result = subprocess.run(
            ['unshare', *options, sys.executable, __file__, '--saver', self.saver, '--peer', self.peer,
             '--seed', str(self.random.random()), '--fill-disk', str(folder), '--seconds', str(seconds),
             '--minimum', str(minimum)],
            stdout=subprocess.PIPE, text=True, timeout=seconds + 4 * TIMEOUT, check=False)
        if result.returncode != 0:
            experiment.check(False, f'ended with exit code {result.returncode}')
            return
        *shown, last = result.stdout.splitlines()
        for line in shown:
            print(line)
        outcome = json.loads(last)
        experiment.tried = outcome['tried']
        experiment.failures = outcome['failures']

    def fill_disk_inside(self, folder, seconds, minimum):
        experiment = Experiment('')
        clock = Clock(seconds)
        file = pathlib.Path(folder) / 's.xml'
        while not clock.over(experiment, minimum):
            number = self.random.randrange(1, 4)
            new = self.documents[number]
            old = self.random.choice([self.documents[0], self.documents[1], None])
            pages = (len(new) + len(old or b'')) // 4096 + 4
            size = 4 * self.random.randrange(2, pages)
            subprocess.run(['mount', '-t', 'tmpfs', '-o', f'size={size}k', 'none', folder], check=True)
            if old is not None:
                try:
                    file.write_bytes(old)
                except OSError:
                    old = file.read_bytes()
            result = self.run_saver('save', file, str(number))
            problem = self.verdict(file, result.returncode, old, new)
            if not problem and os.listdir(folder) not in (['s.xml'], []):
                problem = f'left {os.listdir(folder)}'
            experiment.check(not problem, f'{size} KiB: {problem}')
            subprocess.run(['umount', folder], check=True)
        return {'tried': experiment.tried, 'failures': experiment.failures}

    # Several savers of one file

    def compete(self, saves, reads, seconds, minimum):
        folder = self.fresh_folder('compete')
        file = folder / 's.xml'
        file.write_bytes(self.documents[0])
        clock = Clock(seconds)
        each = 40
        while not clock.over(saves, minimum):
            savers = [subprocess.Popen([self.saver, 'count', str(file), str(each)], stdout=subprocess.DEVNULL)
                      for _ in range(6)]
            while any(saver.poll() is None for saver in savers):
                reads.check(file.read_bytes() in self.documents, 'a reader saw a part of a document')
            for saver in savers:
                for _ in range(each):
                    saves.check(saver.returncode == 0, f'a saver ended with {saver.returncode}')
            left = os.listdir(folder)
            reads.check(left == ['s.xml'], f'afterwards there are {left}')

    # Hostile peers

    @staticmethod
    def frame(body, message='Ask', need_response=True):
        number = random.getrandbits(128)
        text = f'{number:032x}'
        unique = f'{{{text[:8]}-{text[8:12]}-{text[12:16]}-{text[16:20]}-{text[20:]}}}'
        return (f'<?xml version="1.0"?>\n<Message Id="{message}" UniqueId="{unique}" '
                'OriginalMessageUniqueId="{00000000-0000-0000-0000-000000000000}" '
                f'NeedResponse="{need_response}" IsResponse="False"><Params>{body}</Params></Message>\n').encode()

    def connect(self, name, timeout=TIMEOUT):
        connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        connection.connect(str(self.folder / name))  # blocks while the queue is full
        connection.settimeout(timeout)
        return connection

    def ask(self, name):
        """Returns the seconds until the right answer arrived; None if it did not arrive."""
        number = self.random.randrange(10 ** 6)
        request = self.frame(f'<Param Name="n" Type="Int" Value="{number}"/>')
        unique = re.search(rb'UniqueId="([^"]*)"', request)[1]
        start = time.monotonic()
        try:
            with self.connect(name) as connection:
                connection.sendall(request)
                text = b''
                while True:
                    piece = connection.recv(65536)
                    if not piece:
                        return None
                    text += piece
                    # Answers to the previous client may arrive first: compare the unique id.
                    *answers, text = text.split(b'</Message>')
                    for answer in answers:
                        if b'OriginalMessageUniqueId="' + unique in answer:
                            is_right = b'IsResponse="True"' in answer and f'Value="{number}"'.encode() in answer
                            return time.monotonic() - start if is_right else None
        except OSError:
            return None

    def attacks(self, is_short):
        """Returns attacks by name: the pieces of bytes that a peer sends, the pause in seconds after each piece, and
        the seconds that another client may have to wait.

        A server drops an incomplete frame unless it is large. So each small frame is sent in one piece.
        """
        noise = self.random.randbytes
        begin = b'<?xml version="1.0"?>\n<Message Id="Ask">'
        end = b'</Message>'
        attributes = b''.join(b' a%d="1"' % i for i in range(200_000))
        block = b'<?xml version="1.0"?><?x \'?><a' + attributes[:100_000] + b'/>'
        laughs = b'<!ENTITY a "' + b'ha' * 50 + b'">' + b''.join(
            b'<!ENTITY %c "%s">' % (c + 1, b'&%c;' % c * 30) for c in range(ord('a'), ord('i')))
        defaults = b'<!DOCTYPE a [<!ATTLIST b c CDATA "' + b'x' * 200_000 + b'">]><a>' + b'<b/>' * 5000 + b'</a>'
        deep = b'<Param Name="n" Type="Map">' * 5000 + b'</Param>' * 5000
        long_text = f'<Param Name="t" Type="String" Value="{"y" * 9000}"/>'
        drip = 8 if is_short else 33  # seconds; longer than ANSWER_LIMIT
        return {
            'garbage': ([noise(65536) for _ in range(100)], 0, ANSWER_LIMIT),
            'stream without a frame': ([b'x' * 65536] * 600, 0, ANSWER_LIMIT),
            'frame without an end, 26 MB': ([begin + b'x' * 26_000_000], 0, ANSWER_LIMIT),
            'empty elements, 7 MB': ([begin + b'<a/>' * 1_750_000 + end], 0, PARSING_LIMIT),
            '200,000 attributes': ([begin + b'<b' + attributes + b'/>' + end], 0, ANSWER_LIMIT),
            'frames of many attributes': ([block] * 60, 0, ANSWER_LIMIT),
            'defaults of attributes': ([b'<?xml version="1.0"?>' + defaults], 0, ANSWER_LIMIT),
            'entities': ([b'<?xml version="1.0"?><!DOCTYPE a [' + laughs + b']><a>&i;</a>'], 0, ANSWER_LIMIT),
            'nested maps': ([begin + deep + end], 0, ANSWER_LIMIT),
            'one byte at a time': ([begin + b'x' * 100_000] + [b'x'] * (20 * drip), 0.05, ANSWER_LIMIT),
            '33 KB at a time': ([begin + b'x' * 100_000] + [b'x' * 33_000] * (5 * drip), 0.2, ANSWER_LIMIT),
            'requests without reading': ([self.frame(long_text)] * 1000, 0, ANSWER_LIMIT),
            'parts of requests': ([self.frame('')[:self.random.randrange(20, 150)] for _ in range(500)], 0,
                                  ANSWER_LIMIT),
        }

    @staticmethod
    def memory_of(process):
        """Returns the current and the peak memory of a process in KiB, or zeros if it has ended."""
        status = pathlib.Path(f'/proc/{process.pid}/status')
        values = dict(re.findall(r'(VmHWM|VmRSS):\s+(\d+)', status.read_text())) if status.exists() else {}
        return int(values.get('VmRSS', 0)), int(values.get('VmHWM', 0))

    def attack_server(self, experiment, answers, is_short, seconds):
        most_memory = 1024 * 1024  # KiB
        longest = (0.0, '')
        clock = Clock(seconds)
        server = Process([self.peer, 'serve', 'torture'], stderr=subprocess.DEVNULL)
        if not server.wait_for('ready'):
            experiment.check(False, 'the server did not start')
            return
        grown = []
        usual = [self.ask('torture') for _ in range(5)]
        if None in usual:
            experiment.check(False, 'no answer before the attacks')
            return
        slowness = max(1, statistics.median(usual) / USUAL_ANSWER)  # above 1 on a busy machine
        while True:
            for name, (pieces, pause, limit) in self.attacks(is_short).items():
                def send(pieces=pieces, pause=pause):
                    try:
                        with self.connect('torture', 20) as connection:
                            for piece in pieces:
                                connection.sendall(piece)
                                time.sleep(pause)
                    except OSError:
                        pass  # the server may close the connection or stop reading

                attacker = threading.Thread(target=send)
                attacker.start()
                if pause:
                    time.sleep(0.3)  # send the request below during the attack
                else:
                    attacker.join()
                answered = self.ask('torture')
                attacker.join()
                longest = max(longest, (answered or 0, name))
                answers.check(answered is not None and answered < limit * slowness,
                              f'{name}: answered after {answered} s; the limit is {limit * slowness:.1f} s')
                present, peak = self.memory_of(server.process)
                alive = server.process.poll() is None
                experiment.check(alive and peak <= most_memory, f'{name}: alive: {alive}, peak memory {peak} KiB')
                if not alive:
                    return
            grown.append(present)
            for _ in range(200):
                try:
                    self.connect('torture').close()
                except OSError:
                    pass
            answers.check(self.ask('torture') is not None, 'no answer after 200 connections')
            if clock.over(experiment, 0):
                break
        code = server.end()
        experiment.check(code == 0, f'the server ended with {code}')
        answers.note = f'the slowest after {longest[0]:.1f} s ({longest[1]})'
        experiment.note = 'resident memory after each round: ' + ', '.join(f'{size // 1024} MiB' for size in grown)

    def flood_server(self, experiment, answers, is_short):
        """Sends requests and never reads the answers, which queue up in the server and take memory."""
        server = Process([self.peer, 'serve', 'flood'], stderr=subprocess.DEVNULL)
        if not server.wait_for('ready'):
            experiment.check(False, 'the server did not start')
            return
        before, _ = self.memory_of(server.process)
        request = self.frame(f'<Param Name="t" Type="String" Value="{"y" * 9000}"/>')
        rounds = 4 if is_short else 16
        sent = 0
        after = before
        with self.connect('flood') as connection:
            for _ in range(rounds):
                try:
                    for _ in range(500):
                        connection.sendall(request)
                        sent += len(request)
                except OSError as error:
                    experiment.check(False, f'the server stopped reading: {error}')
                    break
                after, _ = self.memory_of(server.process)
                # Some requests may still be queued for the owner thread; the answers to the others are in memory.
                experiment.check(server.process.poll() is None and (after - before) * 1024 < 4 * sent + 64 * 2 ** 20,
                           f'{sent >> 20} MiB of requests: {(after - before) >> 10} MiB of memory')
        answered = self.ask('flood')
        answers.check(answered is not None and answered < PARSING_LIMIT, f'unread answers: answered after {answered} s')
        experiment.check(server.end() == 0, 'the server did not end')
        experiment.note = (f'{sent >> 20} MiB of requests, none of their answers read: '
                           f'{(after - before) >> 10} MiB more memory')

    def attack_client(self, experiment, seconds, minimum):
        """Runs a server that also sends wrong answers: the client must accept only the right ones."""
        clock = Clock(seconds)
        path = self.folder / 'hostile'
        while not clock.over(experiment, minimum):
            path.unlink(missing_ok=True)
            listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            listener.bind(str(path))
            listener.listen(5)
            listener.settimeout(TIMEOUT)
            client = Process([self.peer, 'client', 'hostile'], stderr=subprocess.DEVNULL)
            asked = 0
            try:
                connection, _ = listener.accept()
                connection.settimeout(TIMEOUT)
                text = ''
                while asked < 30:
                    text += connection.recv(65536).decode(errors='replace')
                    for request in re.findall(r'<Message.*?</Message>', text, re.S):
                        connection.sendall(self.wrong_answers(request))
                        asked += 1
                    text = text[text.rfind('</Message>') + 1:] if '</Message>' in text else text
            except OSError as error:
                experiment.check(False, f'the client stopped asking: {error}')
            listener.close()
            code = client.end()
            answers = [line.split()[1:] for line in client.lines if line and line.startswith('answer')]
            if answers and answers[-1][0] == '0':
                answers.pop()  # the program ended while it waited for this answer
            wrong = [answer for answer in answers if answer[0] != answer[1]]
            right = len(answers) - len(wrong)
            for _ in range(asked):
                experiment.check(not wrong and right > 0, f'accepted as answers: {wrong[:3]}; right: {right}')
            experiment.check(code == 0, f'the client ended with {code}')

    def wrong_answers(self, request):
        unique = re.search(r'UniqueId="([^"]*)"', request)[1]
        number = re.search(r'Name="n"[^>]*Value="(\d+)"', request)
        number = number[1] if number else '0'

        def answer(original, value):
            return self.frame(f'<Param Name="n" Type="Int" Value="{value}"/>', need_response=False).replace(
                b'{00000000-0000-0000-0000-000000000000}', original.encode()).replace(
                    b'IsResponse="False"', b'IsResponse="True"')

        other = '{12345678-1234-1234-1234-123456789abc}'
        null = '{00000000-0000-0000-0000-000000000000}'
        wrong = [answer(other, 4711), answer(null, 4712), self.frame(''), self.random.randbytes(1000),
                 answer(other, 4713)[:100], b'<?xml version="1.0"?><Message/>']
        self.random.shuffle(wrong)
        return b''.join(wrong) + answer(unique, number) + answer(other, 4714)

    # Grids

    @staticmethod
    def shared_memory():
        """Returns the shared memory segments of this machine: (identifier, id of the creating process)."""
        table = pathlib.Path('/proc/sysvipc/shm')
        rows = table.read_text().splitlines()[1:] if table.exists() else []
        return {(int(row.split()[1]), int(row.split()[4])) for row in rows}

    def clean_grid(self, experiment, grid):
        """Removes what killed members have left behind."""
        try:
            result = subprocess.run([self.tool, 'grid', 'clean', grid], stdout=subprocess.DEVNULL,
                                    stderr=subprocess.PIPE, text=True, check=False, timeout=TIMEOUT)
        except subprocess.TimeoutExpired:
            experiment.check(False, f'qvutil grid clean {grid} did not end')
            return
        experiment.check(result.returncode in (0, 1), result.stderr.strip())  # 1: there is nothing left

    def storm_grid(self, experiment, seconds, minimum):
        grid = f't{os.getpid()}'
        before = self.shared_memory()
        clock = Clock(seconds)
        living = []
        processes = set()
        killed = 0

        def finish(member):
            """Lets a member leave the grid and end by itself."""
            joined = member.wait_for('joined')
            code = member.end()
            experiment.check(joined and code == 0, f'joined: {joined}, ended with {code}')

        while not clock.over(experiment, minimum):
            while len(living) < 12:
                member = Process([self.peer, 'grid', grid], stderr=subprocess.DEVNULL)
                processes.add(member.process.pid)
                living.append(member)
            member = living.pop(self.random.randrange(len(living)))
            fate = self.random.random()
            if fate < 0.2:  # stop it at a random time, perhaps while it joins
                member.process.send_signal(signal.SIGSTOP)
                time.sleep(self.random.uniform(0, 0.1))
            if fate < 0.1:
                member.process.send_signal(signal.SIGCONT)
            if 0.1 <= fate < 0.5:
                time.sleep(self.random.uniform(0, 0.02))
                member.kill()
                killed += 1
                experiment.check(True, '')
            else:
                finish(member)
        for member in living:
            finish(member)
        finish(Process([self.peer, 'grid', grid], stderr=subprocess.DEVNULL))
        experiment.note = f'{killed} of the members were killed'
        if self.tool:
            self.clean_grid(experiment, grid)
            left = [entry for entry in os.listdir(self.folder) if grid in entry or 'qipc' in entry]
            experiment.check(not left, f'files are left: {left}')
        left = {segment for segment in self.shared_memory() - before if segment[1] in processes}
        experiment.check(not left, f'shared memory is left: {left}')

    def hang_in_grid(self, experiment, seconds, minimum):
        """Stops a process that holds both locks of a grid, like a member that is joining."""
        before = self.shared_memory()
        clock = Clock(seconds)
        processes = set()
        turn = 0

        def start(mode, grid):
            process = Process([self.peer, mode, grid], stderr=subprocess.DEVNULL)
            processes.add(process.process.pid)
            return process

        while not clock.over(experiment, minimum):
            turn += 1
            grid = f'h{os.getpid()}-{turn}'
            member = start('grid', grid)
            holder = start('hold', grid) if member.wait_for('joined') else None
            if holder is None or not holder.wait_for('holds'):
                experiment.check(False, 'the locks could not be taken')
                return
            holder.process.send_signal(signal.SIGSTOP)
            joiner = start('members', grid)
            code = member.end()  # it leaves while the joiner joins, so that both wait for the locks
            experiment.check(code == 0, f'a member that leaves ended with {code}')
            has_read = joiner.wait_for('members')
            experiment.check(has_read, 'a member that joins did not give up')
            code = joiner.end()
            experiment.check(code == 0, f'a member that did not get the lock ended with {code}')
            if turn % 2:
                holder.kill()
            else:
                holder.process.send_signal(signal.SIGCONT)
                code = holder.end()
                experiment.check(code == 0, f'the member that was stopped ended with {code}')
            after = start('members', grid)
            is_found = after.wait_for('members 1')
            code = after.end()
            experiment.check(is_found and code == 0, f'afterwards: joined: {is_found}, ended with {code}')
            if self.tool:  # a killed process leaves a semaphore
                self.clean_grid(experiment, grid)
        left = {segment for segment in self.shared_memory() - before if segment[1] in processes}
        experiment.check(not left, f'shared memory is left: {left}')

    # All experiments

    NAMES = ('kills', 'calls', 'stores', 'disk', 'limits', 'saves', 'attacks', 'answers', 'storm', 'hang')

    def run(self, seconds, is_short, only=None):
        """Runs all experiments, or only the one with this name, which then gets all of the time."""
        experiments = []

        def do(name, row, operation, share, *arguments):
            if only not in (None, name):
                return False
            experiment = Experiment(row)
            experiments.append(experiment)
            print(f'==> {row}', flush=True)
            operation(experiment, *arguments[:-1], seconds * (1 if only else share), *arguments[-1:])
            return True

        scale = 1 if is_short else 4
        do('kills', 'processes killed while they save', self.kill_savers, 0.30, 30 * scale)
        do('calls', 'saves with a failing system call',
           lambda experiment, time, _: self.fail_calls(experiment, time), 0.25, 0)
        do('stores', 'stores opened with a failing system call',
           lambda experiment, time, _: self.fail_settings(experiment, time), 0.05, 0)
        do('disk', 'saves to a full file system', self.fill_disk, 0.05, 10 * scale)
        do('limits', 'saves beyond a file size limit', self.limit_size, 0.05, 10 * scale)
        reads = Experiment('reads during these saves')
        if do('saves', 'saves of six processes to one file',
              lambda experiment, time, least: self.compete(experiment, reads, time, least), 0.08, 200 * scale):
            experiments.append(reads)
        answers = Experiment('requests answered during these attacks')
        if do('attacks', 'attacks by a peer on a server',
              lambda experiment, time, _: self.attack_server(experiment, answers, is_short, time), 0.08, 0):
            do('attacks', 'unread answers',
               lambda experiment, *_: self.flood_server(experiment, answers, is_short), 0, 0)
            experiments.append(answers)
        do('answers', 'wrong answers to a client', self.attack_client, 0.04, 30 * scale)
        do('storm', 'members of a grid that come, go and die', self.storm_grid, 0.08, 20 * scale)
        do('hang', 'members of a grid that hang', self.hang_in_grid, 0.02, 4 * scale)
        return experiments


def table(experiments):
    lines = ['| tried | times | held | remark |', '| --- | ---: | ---: | --- |']
    for experiment in experiments:
        if experiment.tried == 0:
            lines.append(f'| {experiment.name} | not tried | | {experiment.note} |')
        else:
            lines.append(f'| {experiment.name} | {experiment.tried:,} | {experiment.held:,} | {experiment.note} |')
    return '\n'.join(lines)


def exit_code(experiments, is_strict):
    """Prints the promises that did not hold and the skipped experiments. Returns the exit code."""
    failures = sum(len(experiment.failures) for experiment in experiments)
    if failures:
        print(f'{failures} did not hold')
    left_out = [experiment for experiment in experiments if experiment.is_cut_short or experiment.tried == 0]
    for experiment in left_out:
        print(f'{"not tried" if experiment.tried == 0 else "tried only in part"}: {experiment.name}: {experiment.note}')
    return 1 if failures or (left_out and is_strict) else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument('--saver', required=True, help='the program SaveLoop')
    parser.add_argument('--peer', required=True, help='the program MessagePeer')
    parser.add_argument('--tool', help='the program qvutil')
    parser.add_argument('--seconds', type=float, default=300)
    parser.add_argument('--seed', default=str(time.time_ns()))
    parser.add_argument('--short', action='store_true', help='run a quarter of the minimum number of attempts')
    parser.add_argument('--strict', action='store_true', help='fail if an experiment could not be tried')
    parser.add_argument('--only', choices=Torture.NAMES, help='run this experiment alone')
    parser.add_argument('--report', type=pathlib.Path, help='file for the table')
    parser.add_argument('--fill-disk', help=argparse.SUPPRESS)
    parser.add_argument('--minimum', type=int, default=0, help=argparse.SUPPRESS)
    options = parser.parse_args()

    torture = Torture(options)
    if options.fill_disk:
        print(json.dumps(torture.fill_disk_inside(options.fill_disk, options.seconds, options.minimum)))
        shutil.rmtree(torture.folder)
        return 0

    start = time.monotonic()
    print(f'==> seed {options.seed}', flush=True)
    experiments = torture.run(options.seconds, options.short, options.only)
    print(f'\n{table(experiments)}\n\n{time.monotonic() - start:.0f} seconds')
    if options.report:
        options.report.parent.mkdir(parents=True, exist_ok=True)
        options.report.write_text(table(experiments) + '\n')
    code = exit_code(experiments, options.strict)
    if any(experiment.failures for experiment in experiments):
        print(f'the remaining files are in {torture.folder}')
    else:
        shutil.rmtree(torture.folder)
    return code


if __name__ == '__main__':
    sys.exit(main())
