"""The shipped library over the system's own serial ports: a simulated bridge behind a
pseudo-terminal, whose registers are compared with what a client wrote.

usage: bridge_test.py BRIDGE_SIM COUNT PORTS COMMAND...

COMMAND is the client (bridge_client, or what starts it elsewhere). A link to the terminal stands for
the serial port: PORTS is the folder for it and the beginning of its name, as in /dev/COM.
"""

import os
import re
import subprocess
import sys

SKIPPED = 77
# Bytes take no time on the terminal; the rate gives the bridge a second for its answers, so that a
# busy machine fails nothing.
RATE = 1200
# The text bridge sends data until it is told to stop, so it is slow here: the client is never late.
TEXT = ("--text", "--pause", "40")
# Faults of the line that lose nothing, and the share of the rounds.
LINES = (
    ("uart", (), 1),
    ("uart", ("fault=line-split:3%20+line-delay:4%5",), 0.02),
    ("text", TEXT, 0.02),
    ("text", (*TEXT, "fault=line-delay:4%5"), 0.005),
)


def link_to(terminal, ports):
    """The number of a port that is free, now linked to the terminal."""
    for number in range(255, 99, -1):
        try:
            os.symlink(terminal, f"{ports}{number}")
            return number
        except FileExistsError:
            continue
    raise FileExistsError(f"every {ports}n is taken")


def run(bridge_sim, kind, options, count, ports, client):
    bridge = subprocess.Popen([bridge_sim, "--registers", *options], text=True,
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        number = link_to(bridge.stdout.readline().strip(), ports)
        try:
            done = subprocess.run([*client, kind, str(number), str(RATE), str(count)], text=True,
                                  capture_output=True, timeout=500, check=False)
        finally:
            os.unlink(f"{ports}{number}")
        registers = bridge.communicate(timeout=20)[0].strip()
    finally:
        bridge.kill()
    written = (done.stdout.split() or [""])[-1]
    pairs = list(zip(re.findall("..", written), re.findall("..", registers)))
    same = len(written) == 512 and all(a in ("--", b) for a, b in pairs)
    touched = sum(a != "--" for a, _ in pairs)
    print(f"{kind} {' '.join(options)}: {count} writes and reads, {touched} registers, "
          f"{'equal' if same else 'DIFFERENT'}, exit code {done.returncode}", flush=True)
    if same and done.returncode == 0:
        return True
    print(done.stdout, done.stderr, registers, sep="\n")
    return False


def main():
    bridge_sim, count, ports, *client = sys.argv[1:]
    if not os.access(os.path.dirname(ports), os.W_OK):
        print(f"skipped: {os.path.dirname(ports)} cannot be written")
        return SKIPPED
    refused = subprocess.run([bridge_sim, "adapter=lpt"], stderr=subprocess.PIPE, text=True, check=False)
    good = refused.returncode == 2 and "the adapter is uart" in refused.stderr
    for kind, options, share in LINES:
        rounds = int(int(count) * share)
        good = run(bridge_sim, kind, options, rounds, ports, client) and good
    return 0 if good else 1


sys.exit(main())
