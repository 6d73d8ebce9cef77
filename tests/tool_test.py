"""The brisk command from the outside: what it prints, what it leaves behind and how it ends."""

import json
import os
import unittest

from tool_bench import WIRINGS, Bench, main, noise

KIB = 1024


class Buses(Bench):
    def test_devices(self):
        self.assertEqual(self.start("devices").returncode, 0)  # needs no library
        listed = {d["name"]: d["number"] for d in self.json(0, "devices")["devices"]}
        self.assertEqual(listed, {"lpt": 0, "u2c": 1, "debug-board": 2, "uart": 3, "tcon-usb": 4,
                                  "lpt-b": 5, "text-bridge": 7, "ftdi": 8, "lpt-c": 9})

    def test_registers_of_every_adapter(self):
        # The text bridge and the boards reach the same controller over their own ways.
        for device in (*WIRINGS, "u2c", "uart", "text-bridge", "tcon-usb", "debug-board", "ftdi"):
            with self.subTest(device=device):
                width = self.json(0, "-d", device, "i2c", "read", "0xF4", "0x70", "-n", "2",
                                  frame="800x600")
                self.assertEqual(width["bytes"], [0x20, 0x03])
                wrote = self.done("-d", device, "i2c", "write", "0xF4", "0x10", "0x12", "52")
                self.assertIn("wrote 12 34 to device 0xF4, register 0x10", wrote)

    def test_firmware(self):
        os.rename(self.path("firmware.hex"), self.path("other.hex"))
        command = ("-d", "tcon-usb", "i2c", "read", "0xF4", "0x70")
        told = self.json(1, *command)
        self.assertIn("--firmware", told["warnings"][0])
        told = self.json(0, "--firmware", "other.hex", *command)
        self.assertNotIn("warnings", told)
        self.assertIn("--firmware", self.failed(1, "--firmware", "nowhere.hex", *command))

    def test_writes_reach_the_board(self):
        # Nothing but the flash lives longer than a process, so the lines themselves are looked at.
        self.done("--trace", "a,b.vcd", "i2c", "write", "0xF4", "0x10", "0x12")
        os.rename(self.path("a,b.vcd"), self.path("t.vcd"))
        self.assertEqual(self.wires(), [[0xF4, 0x10, 0x12]])
        for device in (*WIRINGS, "u2c"):
            with self.subTest(device=device):
                self.done("-d", device, "--trace", "t.vcd", "string", "F4-10=1234-56.")
                self.assertEqual(self.wires(), [[0xF4, 0x10, 0x34, 0x12, 0x56]])

    def test_lengths_that_the_debug_board_lengthens(self):
        for length, register_bytes, refused in ((58, 1, False), (59, 1, True), (60, 1, False),
                                                (60, 0, True), (58, 2, True), (121, 1, False),
                                                (122, 1, True), (123, 1, False)):
            data = list(noise(length))
            command = ("-d", "debug-board", "--trace", "t.vcd", "i2c", "write", "0xF4", "0x20",
                       *map(str, data), "--register-bytes", str(register_bytes))
            with self.subTest(length=length, register_bytes=register_bytes):
                if refused:
                    self.assertIn("extra on the bus", self.failed(2, *command))
                else:
                    self.done(*command)
                    self.assertEqual(self.wires(), [[0xF4, 0x20, *data]])
        self.done("-d", "lpt", "i2c", "write", "0xF4", "0x20", *map(str, range(59)))

    def test_longest_transfer_of_the_u2c_adapter(self):
        self.done("-d", "u2c", "i2c", "read", "0xF4", "0", "-n", "256")
        for command in (("read", "0xF4", "0", "-n", "257"), ("write", "0xF4", "0", *["1"] * 257)):
            self.assertIn("at most 256", self.failed(2, "-d", "u2c", "i2c", *command))

    def test_scan(self):
        for device in (*WIRINGS, "u2c", "uart", "text-bridge", "tcon-usb", "ftdi"):
            with self.subTest(device=device):
                self.assertEqual(self.json(0, "-d", device, "i2c", "scan")["addresses"],
                                 [0x50, 0x7A])
        self.assertEqual(self.json(0, "i2c", "scan", "--first", "0x51")["addresses"], [0x7A])
        self.assertEqual(self.json(0, "i2c", "scan", fault="nak")["addresses"], [])

    def test_dump(self):
        dump = self.json(0, "i2c", "dump", "0xF4", frame="800x600")["bytes"]
        self.assertEqual((len(dump), dump[0x70:0x74]), (256, [0x20, 0x03, 0x58, 0x02]))
        self.assertEqual(len(self.done("i2c", "dump", "0xF4").splitlines()), 17)

    def test_seven_bit_address(self):
        for arguments in (("0xF4",), ("0x7A", "--7bit")):
            self.assertEqual(self.json(0, "i2c", "read", *arguments, "0x70")["device"], 0xF4)
        self.assertIn("--7bit", self.failed(2, "i2c", "read", "0xF5", "0x70"))

    def test_string(self):
        for device in WIRINGS:
            with self.subTest(device=device):
                told = self.json(0, "-d", device, "string", "F4-70-F5=", frame="800x600")
                self.assertEqual((told["digits"], told["value"]), ("0320", 800))
        self.assertEqual(self.done("-d", "9", "string", "F4-70-F5-", frame="800x600"), "20\n")
        self.assertEqual(self.done("string", "F4-70-F5+", frame="800x600"), "580320\n")
        self.assertEqual(self.done("string", "F4-10=1234."), "done\n")

    def test_malformed_strings(self):
        for text in ("", "F", "F4-", "F4-1", "F4-10=12", "F4-10=12345.", "F4-10*12.",
                     "G4-70-F5=", "F4-70-Fx=", "F4-10=1234.9"):
            with self.subTest(text=text):
                self.failed(2, "string", text)

    def test_no_acknowledge(self):
        for command in (("i2c", "read", "0x42", "0"), ("i2c", "write", "0x42", "0", "1"),
                        ("i2c", "dump", "0x42"), ("string", "42-10-43="), ("string", "42-10=1234.")):
            with self.subTest(command=command):
                self.assertIn("no acknowledge", self.failed(1, *command))
        for device in ("uart", "text-bridge", "tcon-usb"):
            with self.subTest(device=device):
                self.assertIn("no acknowledge",
                              self.failed(1, "-d", device, "i2c", "read", "0x42", "0"))
        self.assertIn("no acknowledge", self.failed(1, "i2c", "read", "0xF4", "0x70", fault="nak"))

    def test_port(self):
        self.assertEqual(self.json(0, "port", "set", "0x55")["value"], 0x55)
        self.assertRegex(self.done("port", "get"), r"^0x[0-9A-F]{2}\n$")
        for device in ("debug-board", "tcon-usb"):
            with self.subTest(device=device):
                told = self.json(0, "-d", device, "port", "set", "1", "0xA5")
                self.assertEqual((told["register"], told["value"]), (1, 0xA5))
        self.assertIn("does not have it", self.failed(2, "port", "set", "1", "2"))

    def test_pll(self):
        told = self.json(0, "pll", "clock", "65000", "14318")
        self.assertAlmostEqual(told["frequency"], 65000, delta=650)
        told = self.json(0, "pll", "nandu", "65000", "14318")
        high, middle, low = told["bytes"]
        self.assertEqual(told["word"], high << 16 | middle << 8 | low)
        self.assertIn("no setting", self.failed(1, "pll", "clock", "0", "14318"))
        for device in ("lpt-b", "lpt-c", "u2c"):
            self.assertEqual(self.json(0, "-d", device, "pll", "nandu", "65000", "14318"), told)


class Flash(Bench):
    def setUp(self):
        super().setUp()
        self.sim["image"] = "flash.img"

    def test_identification(self):
        for flash, capacity in (("w25q16", 0x15), ("w25q32", 0x16), ("w25q64", 0x17),
                                ("w25q128", 0x18)):
            with self.subTest(flash=flash):
                told = self.json(0, "flash", "id", flash=flash, image=flash)["flash"]
                self.assertEqual((told["id"], told["size"]), (f"EF40{capacity:02X}", 1 << capacity))

    def test_missing_flash_is_wiring(self):
        self.sim = {"flash": "none"}
        for device in WIRINGS:
            message = self.failed(1, "-d", device, "flash", "id")
            self.assertRegex(message, "identification (FFFFFF|000000)")
            self.assertIn("wiring", message)

    def test_first_walk(self):
        content = noise(70000)
        self.write("firmware.bin", content)
        self.assertIn("EF4015", self.done("flash", "id"))
        self.assertIn("verified", self.done("flash", "program", "firmware.bin"))
        self.done("flash", "read", "--size", str(len(content)), "readback.bin")
        self.assertEqual(self.read("readback.bin"), content)
        self.assertEqual(self.done("string", "F4-70-F5="), "0400\n")

    @unittest.skipIf("BRISK_SKIP_SLOW" in os.environ, "minutes under sanitizers")
    def test_round_trip(self):
        # Another process, another device type: what was programmed is in the flash.
        for size, address in ((1, 0), (256, 0), (257, 256), (1000, 0x1F0), (513, 0xFFFF),
                              (4096, 0x1FFFFF - 4095), (3, 0xFE), (70000, 0x12345)):
            for device in WIRINGS:
                with self.subTest(size=size, address=hex(address), device=device):
                    content = noise(size, address)
                    self.write("in.bin", content)
                    told = self.json(0, "-d", device, "flash", "program", "in.bin", "-a",
                                     hex(address))
                    self.assertTrue(told["verified"])
                    self.assertEqual(self.read("flash.img")[address:address + size], content)
            self.done("flash", "read", "out.bin", "-a", hex(address), "-n", str(size))
            self.assertEqual(self.read("out.bin"), content)
            self.assertIn("holds in.bin", self.done("flash", "verify", "in.bin", "-a", hex(address)))

    def test_neighbours_stay(self):
        everything = noise(2048 * KIB, 7)
        self.write("flash.img", everything)
        self.write("in.bin", noise(0xFF80, 8))  # as far as the sector goes
        self.done("flash", "program", "in.bin", "-a", "0x20080", "--erase", "sectors")
        image = self.read("flash.img")
        self.assertEqual(image[:0x20000], everything[:0x20000])
        self.assertEqual(image[0x30000:], everything[0x30000:])
        self.assertEqual(set(image[0x20000:0x20080]), {0xFF})

    def test_program_over_old_content_is_caught(self):
        self.write("flash.img", b"\xFF" * 0x100 + b"\x0F" * 0x100 + b"\xFF" * (2048 * KIB - 0x200))
        self.write("in.bin", b"\xFF" * 0x20 + b"\xF0" * 0x20)
        for device in WIRINGS:
            with self.subTest(device=device):
                told = self.json(1, "-d", device, "flash", "program", "in.bin", "-a", "0x100",
                                 "--erase", "none")
                self.assertEqual(told["mismatch"], {"address": 0x100, "expected": 0xFF,
                                                    "found": 0x0F, "different": 64})
        message = self.failed(1, "flash", "verify", "in.bin", "-a", "0x100")
        self.assertIn("first difference at address 0x000100: expected 0xFF, found 0x0F", message)
        self.assertIn("not erased", message)

    def test_erase(self):
        self.write("in.bin", noise(1000))
        whole = 2048 * KIB
        for command, expected, keys in (
                # The chip far beyond the five seconds that the library itself waits.
                (("erase", "--chip", "--no-verify"), b"\xFF" * whole, {"chip_erase_ms": 60000}),
                (("erase", "-a", "0x10000", "-n", "0x20000"),
                 bytes(0x10000) + b"\xFF" * 0x20000 + bytes(whole - 0x30000), {}),
                (("program", "in.bin", "--erase", "chip"),
                 noise(1000) + b"\xFF" * (whole - 1000), {})):
            with self.subTest(command=command):
                self.write("flash.img", bytes(whole))
                self.done("flash", *command, **keys)
                self.assertEqual(self.read("flash.img"), expected)
        self.assertIn("--address 0x00 --size 0x10000",
                      self.failed(2, "flash", "erase", "-a", "5", "-n", "5"))
        self.failed(2, "flash", "erase")
        self.failed(2, "flash", "erase", "--chip", "-n", "0x10000")

    @unittest.skipIf("BRISK_SKIP_SLOW" in os.environ, "minutes under sanitizers")
    def test_busy_flash(self):
        self.write("in.bin", noise(300))
        message = self.failed(1, "flash", "program", "in.bin", fault="flash-busy")
        self.assertIn("stays busy", message)

    def test_dry_run(self):
        self.write("flash.img", bytes(2048 * KIB))
        self.write("in.bin", noise(70000))
        said = self.done("flash", "program", "in.bin", "-a", "0x18000", "--dry-run")
        self.assertIn("would erase the sectors 0x010000 to 0x02FFFF", said)
        self.assertEqual(set(self.read("flash.img")), {0})

    def test_too_large(self):
        self.write("in.bin", noise(0x201))
        for command in (("program", "in.bin", "-a", "0x1FFE00"), ("verify", "in.bin", "-a",
                        "0x1FFE00"), ("read", "out.bin", "-a", "0x1FFFFF", "-n", "2"),
                        ("write-byte", "0x200000", "0"), ("program", "in.bin", "-a", "0xFFFFFFFF"),
                        ("erase", "-a", "0x1F0000", "-n", "0x20000")):
            with self.subTest(command=command):
                self.assertIn("do not fit", self.failed(1, "flash", *command))
        self.assertFalse(os.path.exists(self.path("out.bin")))

    def test_size_option(self):
        self.write("in.bin", noise(1000))
        self.done("flash", "program", "in.bin", "-n", "10")
        self.assertEqual(self.read("flash.img")[:12], noise(1000)[:10] + b"\xFF\xFF")
        self.assertIn("holds 1000 bytes", self.failed(2, "flash", "program", "in.bin", "-n", "1001"))
        self.assertEqual(self.json(0, "flash", "read", "out.bin", "-a", "0x1FFF00")["size"], 0x100)

    def test_write_byte(self):
        self.write("flash.img", bytes(2048 * KIB))
        result = self.run_sim("flash", "write-byte", "0x12345", "0xA5")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("erases the whole sector 0x010000 to 0x01FFFF", result.stderr)
        image = self.read("flash.img")
        self.assertEqual(image[0x12345], 0xA5)
        self.assertEqual(set(image[0x10000:0x12345]), {0xFF})
        self.assertEqual(set(image[:0x10000] + image[0x20000:]), {0})

    def test_missing_files(self):
        self.assertIn("No such file", self.failed(1, "flash", "program", "nowhere.bin"))
        self.assertIn("No such file", self.failed(1, "flash", "verify", "nowhere.bin"))
        self.assertIn("folder", self.failed(1, "flash", "read", "nowhere/out.bin", "-n", "16"))
        self.write("empty.bin", b"")
        self.assertIn("empty", self.failed(1, "flash", "program", "empty.bin"))
        self.assertIn("folder", self.failed(1, "flash", "program", "."))

    def test_full_disk(self):
        message = self.failed(1, "flash", "read", "out.bin", "-n", "4096", fault="disk-full:1000")
        self.assertIn("the file holds 1000 of 4096 bytes", message)

    def test_boards(self):
        self.write("in.bin", noise(5000))
        self.failed(2, "-d", "debug-board", "flash", "program", "in.bin", "--erase", "sectors")
        for device in ("debug-board", "ftdi"):
            with self.subTest(device=device):
                self.write("flash.img", bytes(2048 * KIB))
                command = ("-d", device, "flash")
                self.assertTrue(self.json(0, *command, "program", "in.bin", "-a", "0x1F0")["verified"])
                self.assertEqual(self.read("flash.img")[0x1F0:0x1F0 + 5000], noise(5000))
                self.done(*command, "read", "out.bin", "-a", "0x1F0", "-n", "5000")
                self.assertEqual(self.read("out.bin"), noise(5000))

    def test_progress_lines(self):
        self.write("in.bin", noise(64 * KIB))
        told = self.run_sim("flash", "program", "in.bin").stderr.splitlines()
        for label in ("programming", "verifying"):
            tenths = [line.split()[1] for line in told if line.startswith(label)]
            self.assertEqual(tenths, [f"{n}%" for n in range(10, 101, 10)])


class Ftdi(Bench):
    CHIPS = {"ft2232c": 1, "talvo": 1, "ft2232h": 2, "ft4232h": 2}

    def test_list(self):
        for chip, count in self.CHIPS.items():
            with self.subTest(chip=chip):
                listed = self.json(0, "ftdi", "list", adapter=chip)["interfaces"]
                self.assertEqual([i["index"] for i in listed], list(range(count)))
        self.assertEqual(len(self.json(0, "ftdi", "list")["interfaces"]), 1)
        self.assertEqual(self.json(0, "ftdi", "list", adapter="lpt")["interfaces"], [])

    def test_registers(self):
        for chip in self.CHIPS:
            with self.subTest(chip=chip):
                told = self.json(0, "ftdi", "read", "0xF4", "0x70", "-n", "2", adapter=chip,
                                 frame="800x600")
                self.assertEqual(told["bytes"], [0x20, 0x03])
                self.done("--trace", "t.vcd", "ftdi", "write", "0xF4", "0x10", "1", "2",
                          adapter=chip)
                self.assertIn([0xF4, 0x10, 1, 2], self.wires())
                told = self.json(1, "ftdi", "write", "0x42", "0", "1", adapter=chip)
                self.assertEqual(told["status"], 39)

    def test_pins(self):
        for chip in ("ft2232c", "ft2232h"):
            for levels in (0, 1, 2, 3):
                with self.subTest(chip=chip, levels=levels):
                    told = self.json(0, "ftdi", "gpio", "--output", "3", "--level", str(levels),
                                     adapter=chip)
                    self.assertEqual(told["levels"] & 3, levels)
        for chip, pins in (("ft2232c", "0x10"), ("ft2232h", "0x100"), ("ft4232h", "0x01")):
            self.failed(2, "ftdi", "gpio", "--output", pins, adapter=chip)
        self.assertIn("counted from 0", self.failed(2, "ftdi", "gpio", "-i", "1"))

    def test_nothing_attached(self):
        self.assertIn("no FTDI interface", self.failed(1, "ftdi", "gpio", adapter="lpt"))
        self.failed(1, "-d", "ftdi", "flash", "id", adapter="none")


class Words(Bench):
    def test_did_you_mean(self):
        for arguments, meant in (
                (("--sim=flahs=w25q16", "flash", "id"), "flash"),
                (("--sim", "-d", "lpt-d", "flash", "id"), "lpt-b"),
                (("--sim", "-d", "debugboard", "flash", "id"), "debug-board"),
                (("--sim", "flsh", "id"), "flash"),
                (("--sim", "flash", "porgram", "x"), "program"),
                (("--sim", "i2c", "raed", "0xF4", "0"), "read"),
                (("--sim", "flash", "id", "--jsn"), "--json"),
                (("--sim", "flash", "program", "x", "--adress", "1"), "--address")):
            with self.subTest(arguments=arguments):
                result = self.start(*arguments)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertRegex(result.stderr, "did you mean [^?]*" + meant)

    def test_nothing_near_lists_what_exists(self):
        message = self.start("--sim", "-d", "qqqqqq", "flash", "id").stderr
        for name in ("lpt-c", "uart", "tcon-usb"):
            self.assertIn(name, message)
        message = self.start("--sim=qqqqqq=1", "flash", "id").stderr
        for name in ("flash", "image", "trace", "fault"):
            self.assertIn(name, message)

    def test_wrong_usage(self):
        for arguments in ((), ("flash",), ("i2c",), ("i2c", "read"), ("i2c", "read", "0xF4"),
                          ("i2c", "read", "0x1F4", "0"), ("i2c", "read", "F4", "0"),
                          ("i2c", "write", "0xF4", "0", "256"), ("flash", "program"),
                          ("flash", "program", "x", "--erase", "all"), ("--rate", "0", "i2c", "scan"),
                          ("--com", "1", "i2c", "scan"), ("-d", "uart", "--baud", "0", "i2c", "scan"),
                          ("-d", "uart", "flash", "id"), ("-d", "tcon-usb", "string", "F4-70-F5="),
                          ("-d", "debug-board", "i2c", "scan"), ("port", "set"),
                          ("i2c", "read", "0xF4", "0", "-n", "0"),
                          ("i2c", "scan", "--first", "9", "--last", "8")):
            with self.subTest(arguments=arguments):
                self.failed(2, *arguments)

    def test_trace_needs_the_bench(self):
        result = self.start("--trace", "t.vcd", "i2c", "scan")
        self.assertEqual(result.returncode, 2)
        self.assertIn("--sim", result.stderr)
        self.assertFalse(os.path.exists(self.path("t.vcd")))

    def test_help_and_version(self):
        for arguments in (("--help",), ("flash", "--help"), ("flash", "program", "--help"),
                          ("--version",)):
            result = self.start(*arguments)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertTrue(result.stdout)

    def test_failures_of_the_line_and_the_words(self):
        self.write("in.bin", noise(10))
        for code, arguments, keys in (
                (1, ("-d", "uart", "i2c", "scan"), {"fault": "line-gone"}),
                (1, ("-d", "tcon-usb", "i2c", "scan"), {"adapter": "none"}),
                (1, ("picture", "show", "in.bin"), {}),
                (2, ("picture", "fill", "blue"), {}),
                (2, ("flash", "frobnicate"), {}),
                (2, ("--frobnicate", "flash", "id"), {}),
                (2, ("flash", "id"), {"frobnicate": "1"})):
            with self.subTest(arguments=arguments):
                self.failed(code, *arguments, **keys)

    def test_json_alone_on_standard_output(self):
        # Messages of the library must not get between.
        result = self.run_sim("--json", "-v", "flash", "id", debug="stderr")
        json.loads(result.stdout)


if __name__ == "__main__":
    main()
