#!/usr/bin/env python3
"""Drives tarn-run's interactive prompt through a pseudo-terminal.

    repl_pty.py CASE TARN_RUN

Each case types into a real terminal, waits (boundedly) for what the prompt
prints, and checks the exit status. HOME is a fresh folder, so the history
file starts empty. A cross build's emulator (TARN_EMULATOR) starts TARN_RUN
when it is set, with longer waits.
"""
import os
import pty
import re
import select
import shutil
import signal
import sys
import tempfile
import termios
import time

EMULATOR = os.environ.get("TARN_EMULATOR", "")
WAIT = 60.0 if EMULATOR else 15.0
ANSI = re.compile(r"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]|\x07")


class Failure(Exception):
    pass


class Session:
    def __init__(self, tarn, home, args=()):
        argv = ([EMULATOR] if EMULATOR else []) + [tarn] + list(args)
        env = dict(os.environ)
        env.update({"HOME": home, "TERM": "xterm", "TARN_LOG_LEVEL": "warn", "LC_ALL": "C.UTF-8"})
        env.pop("EDITRC", None)
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            try:
                os.execvpe(argv[0], argv, env)
            finally:
                os._exit(127)
        self.raw = b""
        self.seen = 0  # how much of the text earlier expects consumed
        self.status = None

    def text(self):
        return ANSI.sub("", self.raw.decode("utf-8", "replace")).replace("\r", "")

    def pump(self, timeout):
        ready, _, _ = select.select([self.fd], [], [], timeout)
        if not ready:
            return True
        try:
            data = os.read(self.fd, 65536)
        except OSError:  # the other side closed
            return False
        if not data:
            return False
        self.raw += data
        return True

    def expect(self, pattern, timeout=None):
        """Waits for pattern in what was printed since the last match."""
        deadline = time.time() + (timeout or WAIT)
        regex = re.compile(pattern, re.S)
        while True:
            match = regex.search(self.text(), self.seen)
            if match:
                self.seen = match.end()
                return match
            if time.time() > deadline or not self.pump(min(0.1, max(0.0, deadline - time.time()))):
                match = regex.search(self.text(), self.seen)
                if match:
                    self.seen = match.end()
                    return match
                raise Failure("waited for %r; after the last match the prompt printed:\n%s"
                              % (pattern, self.text()[self.seen:]))

    def refuse(self, pattern):
        """Fails when pattern was printed anywhere."""
        if re.search(pattern, self.text(), re.S):
            raise Failure("printed %r:\n%s" % (pattern, self.text()))

    def send(self, keys):
        os.write(self.fd, keys.encode("utf-8"))

    def line(self, text, expect=None):
        self.send(text + "\r")
        if expect is not None:
            self.expect(expect)

    def prompt(self):
        self.expect(r"> $|> (?=[^\n]*$)")

    def wait(self, timeout=None):
        deadline = time.time() + (timeout or WAIT)
        while time.time() < deadline:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                # What was still on its way to the terminal.
                while self.pump(0.05) and select.select([self.fd], [], [], 0)[0]:
                    pass
                self.status = os.waitstatus_to_exitcode(status)
                return self.status
            self.pump(0.05)
        os.kill(self.pid, signal.SIGKILL)
        os.waitpid(self.pid, 0)
        raise Failure("tarn-run did not end; it printed:\n%s" % self.text())

    def close(self):
        if self.status is None:
            try:
                os.kill(self.pid, signal.SIGKILL)
                os.waitpid(self.pid, 0)
            except (ProcessLookupError, ChildProcessError):
                pass
        os.close(self.fd)


def expect_status(session, code):
    status = session.wait()
    if status != code:
        raise Failure("exit status %s, expected %s; it printed:\n%s" % (status, code, session.text()))
    # The terminal is left as it was found: lines, echo and signals on.
    try:
        lflag = termios.tcgetattr(session.fd)[3]
    except termios.error:
        return
    for flag in ("ICANON", "ECHO", "ISIG"):
        if not lflag & getattr(termios, flag):
            raise Failure("the terminal is left without %s" % flag)


UP = "\x1b[A"
CTRL_C = "\x03"
CTRL_D = "\x04"
TAB = "\t"


def case_values(s, home):
    s.expect(r'Welcome to tarn-run .*Type "\.help" for more information\.\n> ')
    s.line("1 + 1", r"\n2\n> ")
    s.line("let a = 40", r"\nundefined\n> ")
    s.line("a + 2", r"\n42\n> ")
    s.line("undefined", r"\nundefined\n> ")
    s.line("({list: [1, 2], text: 'x'})", r"\n\{ list: \[ 1, 2 \], text: 'x' \}\n> ")
    s.line("{b: 1}", r"\n\{ b: 1 \}\n> ")
    s.line("'text'", r"\n'text'\n> ")
    s.line("new Map([[1, {deep: {er: {still: 1}}}]])", r"\nMap\(1\) \{ 1 => \{ deep: \{ er: \[Object\] \} \} \}\n> ")
    # The bridges and the simulated set are loaded as for a script.
    s.line("new QDUtil().APP_TYPE_WEB_APP + ' ' + typeof tarn.sim", r"\n'1 object'\n> ")
    s.line(".exit")
    expect_status(s, 0)


def case_multiline(s, home):
    s.prompt()
    s.line("({a: 1,", r"\n\.\.\. $")
    s.line("b: 2})", r"\n\{ a: 1, b: 2 \}\n> ")
    s.line("function add(x, y) {", r"\n\.\.\. $")
    s.line("  return x + y", r"\n\.\.\. $")
    s.line("}", r"\nundefined\n> ")
    s.line("add(2, 3)", r"\n5\n> ")
    s.line("`one", r"\n\.\.\. $")
    s.line("two`", r"\n'one\\ntwo'\n> ")
    s.line("[1,", r"\n\.\.\. $")
    s.line("", r"\n\.\.\. $")
    s.line("2].length", r"\n2\n> ")
    # An unfinished input given up with .break
    s.line("if (true) {", r"\n\.\.\. $")
    s.line(".break", r"\n> ")
    s.line("7 * 6", r"\n42\n> ")
    s.line(".exit")
    expect_status(s, 0)


def case_errors(s, home):
    s.prompt()
    s.line("throw new Error('boom')", r"\nUncaught Error: boom\n> ")
    s.line("1 + 2", r"\n3\n> ")
    s.line("function f() { throw new TypeError('in f') }", r"\nundefined\n> ")
    s.line("f()", r"\nUncaught TypeError: in f\n    at f \(REPL\d+:1:22\)\n> ")
    s.line("let x = ;", r"\nUncaught SyntaxError: Unexpected token ';'\n> ")
    s.line("nosuch", r"\nUncaught ReferenceError: nosuch is not defined\n> ")
    s.line("let once = 1", r"\nundefined\n> ")
    s.line("let once = 2", r"Uncaught SyntaxError: Identifier 'once' has already been declared\n> ")
    s.line("throw 'text'", r"\nUncaught 'text'\n> ")
    s.line("throw {code: 7}", r"\nUncaught \{ code: 7 \}\n> ")
    # Errors of timers and rejected promises are reported; the prompt goes on.
    s.line("setTimeout(() => { throw new Error('late') }, 10); 'set'", r"\n'set'\n> ")
    s.expect(r"Uncaught Error: late\n")
    s.line("Promise.reject(new Error('nobody')); 'then'", r"\n'then'\n(> )?Uncaught Error: nobody\n")
    s.line("6 * 7", r"\n42\n> ")
    s.line(".exit")
    expect_status(s, 0)


def case_await(s, home):
    s.prompt()
    s.line("await new Promise(r => setTimeout(() => r(5), 10))", r"\n5\n> ")
    s.line("const {x, y} = await Promise.resolve({x: 1, y: 2})", r"\nundefined\n> ")
    s.line("x + y", r"\n3\n> ")
    s.line("let later = await 4; later * 2", r"\n8\n> ")
    s.line("later", r"\n4\n> ")
    s.line("await Promise.reject(new Error('refused'))", r"\nUncaught Error: refused\n> ")
    s.line("async function g() { return 9 }", r"\nundefined\n> ")
    s.line("await g()", r"\n9\n> ")
    # The loop runs while the prompt waits: a timer, and an event of the
    # simulated set delivered from its own thread.
    s.line("setTimeout(() => console.log('timer fired'), 100); 1", r"\n1\n> ")
    s.expect(r"timer fired\n")
    s.line("new QDUtil().registerWakeUp(); tarn.on('interrupt', (code) => "
           "console.log('event 0x' + code.toString(16))); tarn.sim.fire('wakeup')")
    s.expect(r"event 0x100900a4\n")
    s.line(".exit")
    expect_status(s, 0)


def case_history(s, home):
    s.prompt()
    s.line("21 * 2", r"\n42\n> ")
    s.line("'second ' + 'line'", r"\n'second line'\n> ")
    s.line(".exit")
    expect_status(s, 0)
    path = os.path.join(home, ".tarn_repl_history")
    with open(path, encoding="utf-8", errors="replace") as f:
        saved = f.read()
    if "21" not in saved or "second" not in saved:
        raise Failure("history file holds:\n" + saved)
    if os.stat(path).st_mode & 0o077:
        raise Failure("history file is readable by others: %o" % os.stat(path).st_mode)


def case_history_next(s, home):
    # A second session reads what the first wrote: up past .exit and the
    # second line, 21 * 2 runs again.
    s.prompt()
    s.send(UP)
    s.expect(r"\.exit")
    s.send(UP + UP + "\r")
    s.expect(r"\n42\n> ")
    s.line(".exit")
    expect_status(s, 0)


def case_history_no_home(s, home):
    s.prompt()
    s.line("1 + 1", r"\n2\n> ")
    s.line(".exit")
    expect_status(s, 0)
    s.refuse(r"(?i)error|cannot")


def case_complete(s, home):
    s.prompt()
    s.line("q = new QDUtil(); 'made'", r"\n'made'\n> ")
    # q. lists the methods (on its prototype) and the constants.
    s.send("q." + TAB)
    listing = s.expect(r"q\.\n(.*)\n> q\.").group(1)
    for name in ("APP_TYPE_WEB_APP", "qd_gettimeofday", "toString"):
        if name not in listing:
            raise Failure("q. Tab does not list %s:\n%s" % (name, listing))
    s.send(CTRL_C)
    s.prompt()
    s.send("q.APP_TYPE_WE" + TAB + "\r")
    s.expect(r"q\.APP_TYPE_WEB_APP\n1\n> ")
    s.send("con" + TAB + ".l" + TAB + "('completed')\r")
    s.expect(r"console\.log\('completed'\)\ncompleted\nundefined\n> ")
    # Getters never run, declared names complete too.
    s.line("o = {get boom() { console.log('getter ran'); return {} }, plain: {inner: 1}}; 'o'",
           r"\n'o'\n> ")
    s.send("o.boom." + TAB + "x" + CTRL_C)
    s.prompt()
    s.send("o.plain.in" + TAB + "\r")
    s.expect(r"o\.plain\.inner\n1\n> ")
    s.line("const declaredLater = {abc: 2}", r"\nundefined\n> ")
    s.send("declaredL" + TAB + ".a" + TAB + "\r")
    s.expect(r"declaredLater\.abc\n2\n> ")
    s.line(".exit")
    expect_status(s, 0)
    s.refuse(r"\ngetter ran")


def case_help(s, home):
    s.prompt()
    s.line(".help", r"\.break +Sometimes you get stuck.*\.editor +Enter editor mode.*"
           r"\.exit +Exit the REPL.*\.help +Print this help message.*Ctrl\+D to exit the REPL\n> ")
    s.line(".nonsense", r"\nInvalid REPL keyword\n> ")
    s.line(".editor", r"Entering editor mode \(Ctrl\+D to finish, Ctrl\+C to cancel\)\n")
    s.line("const e = 1")
    s.send("e + 1" + CTRL_D)
    s.expect(r"\n2\n> ")
    s.line(".exit")
    expect_status(s, 0)


def case_help_api(s, home):
    s.prompt()
    s.line(".help", r"\.help q\.NAME +Print the reference of the QDUtil method or constant NAME\n")
    s.prompt()
    s.line(".help q.getAppId", r"\nq\.getAppId\(\): string\n  Place 22 of the table; apps, memory "
           r"and files\.\n  The calling app's package name\..*\n  Fails: \"\" when the package "
           r"name cannot be read\n  Example: console\.log\(q\.getAppId\(\)\);\n"
           r"    // org\.tarn\.firstscreen\n> ")
    s.line(".help getCallerAppID()", r"\nq\.getCallerAppID\(\): 0\n")
    s.prompt()
    s.line(".help getPowerKeyPressCount", r"\nq\.getPowerKeyPressCount\(command: 1\): number \| false\n"
           r"q\.getPowerKeyPressCount\(command: 0\): boolean\n")
    s.prompt()
    s.line(".help q.powerStandby",
           r'\nQDUtil has no method or constant "powerStandby"; did you mean powerStanby\?\n> ')
    s.line(".help setxpropertycover", r'did you mean SetXPropertyCover\?\n> ')
    s.line(".help NB_MODE", r"\nq\.NB_MODE = 5\n  A constant, read-only in effect\.\n"
           r"  What a capture takes .*: how many capture\n    modes there are\.\n> ")
    s.line(".help nothingLikeIt", r'\nQDUtil has no method or constant "nothingLikeIt"\n> ')
    s.line(".exit")
    expect_status(s, 0)


def case_exit(s, home):
    s.prompt()
    s.line("tarn.exitCode = 3", r"\n3\n> ")
    s.line(".exit")
    expect_status(s, 3)


def case_exit_call(s, home):
    s.prompt()
    s.line("tarn.exit(4)")
    expect_status(s, 4)


def case_exit_in_await(s, home):
    s.prompt()
    s.line("await new Promise(r => setTimeout(r, 50)); tarn.exit(6)")
    expect_status(s, 6)


def case_ctrl_d(s, home):
    s.prompt()
    # The run ends at once, pending timers or not.
    s.line("setTimeout(() => console.log('after the prompt'), 300); 'set'", r"\n'set'\n> ")
    s.send(CTRL_D)
    expect_status(s, 0)
    time.sleep(0.5)
    s.refuse(r"\nafter the prompt")


def case_ctrl_d_code(s, home):
    s.prompt()
    s.line("tarn.exitCode = 5", r"\n5\n> ")
    s.send(CTRL_D)
    expect_status(s, 5)


def case_ctrl_c_running(s, home):
    # Ctrl+C stops a line that runs or awaits; the prompt goes on.
    s.prompt()
    s.line("while (true) {}")
    time.sleep(0.5)
    s.send(CTRL_C)
    s.expect(r"\nUncaught Error: Script execution was interrupted by Ctrl\+C\n> ")
    s.line("await new Promise(() => {})")
    time.sleep(0.5)
    s.send(CTRL_C)
    s.expect(r"\nUncaught Error: Script execution was interrupted by Ctrl\+C\n> ")
    s.line("'still here'", r"\n'still here'\n> ")
    # Keys typed while a line runs wait for the prompt, Ctrl+D included.
    s.line("t = Date.now() + 500; while (Date.now() < t) {}; 'busy'")
    time.sleep(0.1)
    s.send("6 * 7\r" + CTRL_D)
    s.expect(r"\n'busy'\n.*\n42\n")
    expect_status(s, 0)


def case_ctrl_c(s, home):
    s.prompt()
    s.send("abc" + CTRL_C)
    s.prompt()
    s.line("1 + 1", r"\n2\n> ")
    s.line("(1 +", r"\n\.\.\. $")
    s.send(CTRL_C)
    s.prompt()
    s.line("2", r"\n2\n> ")
    s.send(CTRL_C)
    s.expect(r"\n\(To exit, press Ctrl\+C again or Ctrl\+D or type \.exit\)\n> ")
    s.send(CTRL_C)
    expect_status(s, 0)


CASES = {name[len("case_"):]: f for name, f in globals().items() if name.startswith("case_")}


def main():
    name, tarn = sys.argv[1], sys.argv[2]
    home = tempfile.mkdtemp(prefix="tarn-repl-")
    try:
        if name == "history":
            # Two sessions: the second reads what the first wrote.
            for part in ("history", "history_next"):
                s = Session(tarn, home)
                try:
                    CASES[part](s, home)
                finally:
                    s.close()
        else:
            session_home = home
            if name == "history_no_home":
                os.chmod(home, 0o500)  # a home that cannot be written
                if os.access(home, os.W_OK):  # root writes anyway: no home then
                    session_home = os.path.join(home, "missing")
            s = Session(tarn, session_home)
            try:
                CASES[name](s, session_home)
            finally:
                s.close()
    except Failure as failure:
        print("FAIL %s: %s" % (name, failure))
        return 1
    finally:
        os.chmod(home, 0o700)
        shutil.rmtree(home, ignore_errors=True)
    print("ok %s" % name)
    return 0


if __name__ == "__main__":
    sys.exit(main())
