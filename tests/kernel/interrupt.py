#!/usr/bin/env python3
"""interrupt.py TALVO LIBRARY -- Ctrl-C at the talvo prompt.

Runs talvo at its interactive prompt on a pseudo-terminal and types Ctrl-C
(the terminal turns it into SIGINT for the program) while a statement runs:
a loop in the language that never ends, a loop inside try, a large random
sample in a library entry and a user procedure called by a library entry.
Each must stop with "Error, interrupted" and the prompt must come back with
the host intact: variables set before, "Digits" as the user set it, the
library usable.  Ctrl-C while a line is typed drops the line.

Keys are typed when the terminal is in the mode they are meant for, read
from the terminal itself: Ctrl-C for a running statement once the line
editor has handed the terminal back (canonical mode, where Ctrl-C raises
SIGINT), and keys for the line editor once it reads again (raw mode).  On a
busy machine the time between the echo of a line and the switch of mode is
not bounded, and a key typed in the wrong mode means something else.
"""
import os
import pty
import re
import select
import sys
import termios
import time

TALVO, LIB = sys.argv[1], sys.argv[2]
TIMEOUT = float(os.environ.get("INTERRUPT_TEST_TIMEOUT", "120"))

pid, fd = pty.fork()
if pid == 0:
    os.execv(TALVO, [TALVO, "-q", "--lib", LIB, "--no-package"])

seen = b""  # everything the terminal showed
pos = 0     # how far read_until has matched


def read_until(pattern, what):
    """Reads the terminal until `pattern` (a regex) matches after the last match."""
    global seen, pos
    deadline = time.monotonic() + TIMEOUT
    while True:
        m = re.search(pattern.encode(), seen[pos:])
        if m:
            text = seen[pos: pos + m.end()].decode(errors="replace")
            pos += m.end()
            return text
        left = deadline - time.monotonic()
        if left <= 0:
            fail(f"timed out waiting for {what!r}")
        r, _, _ = select.select([fd], [], [], min(left, 1.0))
        if r:
            try:
                chunk = os.read(fd, 4096)
            except OSError:
                chunk = b""
            if not chunk:
                fail(f"talvo ended while waiting for {what!r}")
            seen += chunk


def drain(timeout):
    """Reads what the terminal shows within `timeout` seconds."""
    global seen
    r, _, _ = select.select([fd], [], [], timeout)
    if r:
        try:
            chunk = os.read(fd, 4096)
        except OSError:
            chunk = b""
        seen += chunk


def wait_mode(canonical, what):
    """Waits until the terminal is in canonical mode (a statement runs) or
    not (the line editor reads a line)."""
    deadline = time.monotonic() + TIMEOUT
    while bool(termios.tcgetattr(fd)[3] & termios.ICANON) != canonical:
        if time.monotonic() > deadline:
            fail(f"timed out waiting for the terminal mode of {what!r}")
        drain(0.01)


def fail(message):
    # The reason comes last: a long log is read from its end.
    text = seen.decode(errors="replace")
    sys.stdout.write(f"--- terminal output (last 2000 characters) ---\n{text[-2000:]}\n---\n")
    sys.stdout.write(f"interrupt test failed: {message}\n")
    sys.stdout.flush()
    try:
        os.kill(pid, 9)
    except ProcessLookupError:
        pass
    sys.exit(1)


def send(text):
    os.write(fd, text.encode())


def interrupt_after(statement, delay, what):
    """Types `statement`, waits `delay` seconds, types Ctrl-C: the statement must stop."""
    send(statement + "\n")
    read_until(re.escape(statement[:20]), f"the echo of {what}")  # the line was read
    read_until(r"\n", f"the end of the echo of {what}")
    wait_mode(True, what)
    time.sleep(delay)
    t0 = time.monotonic()
    send("\x03")
    read_until(r"Error, (\(in [^)]*\) )?interrupted", f"the interrupt of {what}")
    took = time.monotonic() - t0
    read_until(r"> ", f"the prompt after {what}")
    print(f"{what}: stopped {took:.2f} s after Ctrl-C")


def expect(statement, answer):
    send(statement + "\n")
    read_until(re.escape(answer), answer)


read_until(r"> ", "the first prompt")
expect("Digits := 15: n := 0: marker := 7: Digits, marker;", "15, 7")

# A loop in the language that would never end.
interrupt_after("for i do n := n + 1 end do;", 1.0, "an endless loop")
expect("evalb(n > 0), Digits, marker;", "true, 15, 7")

# try does not catch the interrupt: the statement stops, not the try body.
mark = len(seen)
interrupt_after('try for i do n := n + 1 end do catch: "caught" end try;', 0.5, "a loop inside try")
if '"caught"' in seen[mark:].decode(errors="replace").split("end try;")[-1]:
    fail("try caught the interrupt")

# A large sample inside a library entry (half a minute of draws and some
# gigabytes if it ran to the end).
interrupt_after("S := STATS_TalvoNormalRandomSample_MP(10^8, 0, 1):", 3.0, "a large sample in an entry")
expect("assigned(S);", "false")

# A user procedure that a library entry calls, looping for ever.
expect("spin := proc(L) local k; for k do end do end proc: 1;", "1")
interrupt_after("STATS_TalvoBootstrapStatisticRV_MP(k -> k, spin, 3, 2);", 1.0, "a procedure called by an entry")

# The host and the library still work, at the user's "Digits".
expect("evalf(1/3);", "0.333333333333333")
expect("randomize(3): nops([seq(STATS_TalvoNormalRandomVariate_MP(0, 1), j = 1..5)]), Digits;", "5, 15")
expect("STATS_TalvoNormalProbability_MP(0, 0, 1);", "0.5")

# Ctrl-C at the prompt drops the line being typed; the next statement runs.
read_until(r"> ", "the prompt before a dropped line")
wait_mode(False, "the prompt before a dropped line")
send("unfinished := ")
time.sleep(0.3)
send("\x03")
time.sleep(0.3)
expect("1 + 1, assigned(unfinished);", "2, false")

# The end of input ends the program normally.  Ctrl-D is typed only once
# the prompt is back: typed while the statement before still runs, the
# terminal is in its cooked mode and takes the end-of-file as its own,
# and the line editor, switching to raw mode, may never see it.
read_until(r"> ", "the prompt before the end of input")
wait_mode(False, "the prompt before the end of input")
send("\x04")
deadline = time.monotonic() + TIMEOUT
while time.monotonic() < deadline:
    done, status = os.waitpid(pid, os.WNOHANG)
    if done:
        break
    drain(0.2)
else:
    fail("talvo did not end at the end of input")
if not os.WIFEXITED(status) or os.WEXITSTATUS(status) != 0:
    fail(f"talvo ended with status {status}")
print("interrupt test passed")
