"""What the tests of the brisk command share.

Each is a program: TEST.py BRISK [unittest arguments], BRISK being the built command.
"""

import json
import os
import random
import subprocess
import sys
import tempfile
import unittest

WIRINGS = ("lpt", "lpt-b", "lpt-c")
# A jump to itself, as Intel HEX: the bench's board only asks that some image runs.
FIRMWARE = b":03000000020000FB\n:00000001FF\n"


def noise(size, seed=1):
    return random.Random(seed).randbytes(size)


class Bench(unittest.TestCase):
    """Runs the command on the simulated bench, in a folder of the test's own."""

    brisk = ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.sim = {"flash": "w25q16"}
        self.write("firmware.hex", FIRMWARE)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return name

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def start(self, *arguments):
        return subprocess.run([self.brisk, *arguments], cwd=self.folder, text=True, timeout=120,
                              capture_output=True, errors="replace", check=False)

    def bench(self, **keys):
        chosen = {**self.sim, **keys}
        return "--sim=" + ",".join(f"{k.replace('_', '-')}={v}" for k, v in chosen.items())

    def run_sim(self, *arguments, **keys):
        return self.start(self.bench(**keys), *arguments)

    def done(self, *arguments, **keys):
        result = self.run_sim(*arguments, **keys)
        self.assertEqual(result.returncode, 0, (arguments, result.stdout, result.stderr))
        return result.stdout

    def failed(self, code, *arguments, **keys):
        """The message of a run that must end with `code`, the same way with --json; nothing else may
        be on standard output."""
        result = self.run_sim(*arguments, **keys)
        self.assertEqual(result.returncode, code, (arguments, result.stdout, result.stderr))
        self.assertEqual(result.stdout, "")
        for part in ("brisk: could not ", "what came back: ", "check next: "):
            self.assertIn(part, result.stderr)
        self.json(code, *arguments, **keys)
        return result.stderr

    def json(self, code, *arguments, **keys):
        result = self.run_sim("--json", *arguments, **keys)
        self.assertEqual(result.returncode, code, (arguments, result.stdout, result.stderr))
        told = json.loads(result.stdout)
        self.assertEqual(told["exitCode"], code)
        self.assertEqual(told["ok"], code == 0)
        if code != 0:
            self.assertEqual(sorted(told["error"]), ["check", "got", "tried"])
            for text in told["error"].values():
                self.assertTrue(text)
        return told


    def wires(self):
        """The bytes of every I2C transaction of the trace t.vcd, as sigrok-cli decodes it."""
        decoded = subprocess.run(
            ["sigrok-cli", "-i", self.path("t.vcd"), "-I", "vcd:downsample=250", "-P",
             "i2c:scl=scl:sda=sda:address_format=unshifted", "-A", "i2c=addr-data"],
            text=True, capture_output=True, check=True, timeout=60).stdout
        transactions = []
        for line in decoded.splitlines():
            if line.endswith(" Start"):
                transactions.append([])
            elif ": " in line[7:]:
                transactions[-1].append(int(line[-2:], 16))
        return transactions


def main():
    Bench.brisk = os.path.abspath(sys.argv.pop(1))
    unittest.main(module="__main__")
