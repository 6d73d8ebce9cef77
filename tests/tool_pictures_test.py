"""Pictures shown by the brisk command, against other decoders and image viewers."""

import os
import struct
import subprocess
import unittest

from tool_bench import WIRINGS, Bench, main


class Pictures(Bench):
    def setUp(self):
        super().setUp()
        self.sim = {"memory": "frame.mem", "frame": "96x80"}

    def snapshot(self, plane=1):
        """Rows of (red, green, blue) of a 24-bit BMP."""
        self.done("picture", "snapshot", "out.bmp", "--plane", str(plane))
        bmp = self.read("out.bmp")
        offset, width, height, depth = struct.unpack_from("<10xI4xII2xH", bmp)
        self.assertEqual((bmp[:2], depth), (b"BM", 24))
        stride = (3 * width + 3) // 4 * 4
        rows = [bmp[offset + y * stride:][:3 * width] for y in reversed(range(height))]
        return [list(zip(row[2::3], row[1::3], row[0::3])) for row in rows]

    def shell(self, command):
        subprocess.run(command, shell=True, check=True, cwd=self.folder, timeout=60,
                       stdin=subprocess.DEVNULL)

    def other_decoder(self, jpeg):
        self.shell(f"djpeg -dct int -nosmooth {jpeg} > reference.ppm")
        _, size, _, pixels = self.read("reference.ppm").split(b"\n", 3)
        width, height = map(int, size.split())
        pixel = [tuple(pixels[i:i + 3]) for i in range(0, 3 * width * height, 3)]
        return [pixel[y * width:(y + 1) * width] for y in range(height)]

    def compare(self, shown, expected, largest, mean):
        """Where the picture is; the frame may be smaller or larger."""
        differences = [abs(a - b) for row, other in zip(shown, expected)
                       for pixel, wanted in zip(row, other) for a, b in zip(pixel, wanted)]
        self.assertLessEqual(max(differences), largest)
        self.assertLessEqual(sum(differences) / len(differences), mean)

    def test_photos_arrive_as_another_decoder_sees_them(self):
        # The library's decoder truncates where the other one rounds.
        self.done("i2c", "write", "0xF4", "0x66", "0x00")  # 24-bit pixels
        self.shell("convert -size 200x150 -seed 1 plasma:red-blue photo.ppm")
        for size, options in (("96x80", "-sample 1x1"), ("95x79", "-sample 2x1"),
                              ("61x47", "-sample 2x2 -restart 1"), ("33x80", "-sample 2x1 -restart 2B"),
                              ("130x100", "-sample 2x2")):
            with self.subTest(size=size, options=options):
                self.shell(f"convert photo.ppm -crop {size}+7+5 +repage ppm:- | "
                           f"cjpeg -quality 90 {options} > photo.jpg")
                self.done("picture", "show", "photo.jpg")
                self.compare(self.snapshot(), self.other_decoder("photo.jpg"), 4, 1.6)

    def test_bitmap_comes_back_unchanged(self):
        self.done("i2c", "write", "0xF4", "0x66", "0x00")
        self.shell("convert -size 96x80 -seed 2 plasma: BMP3:in.bmp")
        self.done("picture", "show", "in.bmp")
        shown = self.snapshot()
        self.shell("convert in.bmp in.rgb")
        pixels = self.read("in.rgb")
        self.compare(shown, [[tuple(pixels[3 * (96 * y + x):][:3]) for x in range(96)]
                             for y in range(80)], 0, 0)
        # An image viewer reads the snapshot as we do, and it can be shown again.
        self.shell("convert out.bmp out.rgb")
        self.assertEqual(self.read("out.rgb"), pixels)
        self.done("picture", "fill", "0")
        self.done("picture", "show", "out.bmp")
        self.assertEqual(self.snapshot(), shown)

    @unittest.skipIf("BRISK_SKIP_SLOW" in os.environ, "minutes under sanitizers")
    def test_every_picture_port(self):
        self.shell("convert -size 97x81 -seed 4 plasma: -colorspace sRGB BMP3:in.bmp")
        self.shell("convert in.bmp -quality 90 jpg:in.jpg")
        modes = (("0x66", "0x08", "0x02", "0x00"), ("0x66", "0x08", "0x02", "0x02"),  # 16 bits
                 ("0x66", "0x00", "0x02", "0x00"), ("0x66", "0x00", "0x02", "0x02"))  # YCbCr: 0x02
        for depth, bits, colours, kind in modes:
            shown = {}
            for device in (*WIRINGS, "u2c"):
                self.sim["memory"] = f"{device}.mem"
                self.done("i2c", "write", "0xF4", depth, bits)
                self.done("i2c", "write", "0xF4", colours, kind)
                self.done("-d", device, "picture", "show", "in.jpg")
                first = self.snapshot()
                self.done("-d", device, "picture", "show", "in.bmp")
                self.done("-d", device, "picture", "pattern", "16", "8")
                shown[device] = (first, self.snapshot())
            for device, pictures in shown.items():
                with self.subTest(device=device, bits=bits, kind=kind):
                    self.assertEqual(pictures, shown["lpt"])
            self.assertGreater(len({p for row in shown["u2c"][0] for p in row}), 100)

    def test_second_plane(self):
        self.shell("convert -size 96x80 xc:#F8FCF8 BMP3:white.bmp")
        self.done("picture", "show", "white.bmp", "--plane", "2")
        self.assertEqual({p for row in self.snapshot(2) for p in row}, {(255, 255, 255)})
        self.assertEqual({p for row in self.snapshot(1) for p in row}, {(0, 0, 0)})

    def test_fill_pattern_and_copy(self):
        self.done("picture", "fill", "#FF0000")
        self.assertEqual({p for row in self.snapshot() for p in row}, {(255, 0, 0)})
        self.done("picture", "pattern", "16", "8")
        drawn = self.snapshot()
        self.assertGreater(len({p for row in drawn[8:24] for p in row[16:32]}), 1)
        self.done("picture", "copy", "16", "8", "48", "40", "16", "16")
        copied = self.snapshot()
        self.assertEqual([row[48:64] for row in copied[40:56]], [row[16:32] for row in drawn[8:24]])
        self.assertEqual(copied[:40], drawn[:40])

    def test_what_the_controller_cannot_copy_or_place(self):
        for arguments, told in (
            ("copy 0 0 32 32 34 16", "32 x 16"),
            ("copy 0 0 32 32 32 17", "32 x 16"),
            ("copy 0 0 32 32 3 4", "pairs of pixels"),
            ("copy 0 0 32 32 0 4", "pairs of pixels"),
            ("copy 0 0 66 0 32 16", "inside the frame"),
            ("copy 0 66 0 0 32 16", "inside the frame"),
            ("copy 1 0 32 32 32 16", "pairs of pixels"),
            ("pattern 81 0", "inside the frame"),
            ("pattern 0 65", "inside the frame"),
            ("pattern 3 0", "pairs of pixels"),
        ):
            with self.subTest(arguments):
                before = self.snapshot()
                self.assertIn(told, self.failed(2, "picture", *arguments.split()))
                self.assertEqual(self.snapshot(), before)

    def test_clipping_is_told(self):
        self.shell("convert -size 100x90 xc:blue jpg:blue.png")  # the content counts
        result = self.run_sim("picture", "show", "blue.png")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("4 columns at the right and 10 rows at the bottom", result.stderr)
        self.assertIn("JPEG", result.stdout)

    def test_snapshot_needs_a_memory(self):
        self.assertIn("memory=FILE", self.start("--sim", "picture", "snapshot", "a.bmp").stderr)
        result = self.start("picture", "snapshot", "a.bmp")
        self.assertEqual(result.returncode, 2)
        self.assertIn("--sim", result.stderr)
        self.assertFalse(os.path.exists(self.path("a.bmp")))
        self.assertIn("cannot be written", self.failed(1, "picture", "snapshot", "no/a.bmp"))

    def test_memory_file(self):
        self.done("i2c", "write", "0xF4", "0x80", "0x5A")
        self.sim = {"memory": "frame.mem"}
        self.assertEqual(self.done("string", "F4-80-F5-"), "5A\n")
        self.assertEqual(self.done("string", "F4-70-F5="), "0060\n")
        self.assertEqual(self.done("string", "F4-70-F5=", frame="640x480"), "0280\n")
        self.write("other", b"not one")
        self.failed(2, "i2c", "scan", memory="other")
        self.assertEqual(self.read("other"), b"not one")


if __name__ == "__main__":
    main()
