"""Pictures shown by the brisk command, against other decoders and image viewers."""

import os
import struct
import subprocess

from tool_bench import Bench, main


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
        for size, encoder in (
            ("96x80", "cjpeg -quality 90 -sample 1x1"), ("95x79", "cjpeg -quality 75 -sample 2x1"),
            ("61x47", "cjpeg -quality 90 -sample 2x2 -restart 1 -optimize"),
            ("33x80", "cjpeg -quality 50 -sample 2x1 -restart 2B"), ("1x1", "cjpeg"),
            ("130x100", "cjpeg -quality 100 -sample 2x2"), ("17x9", "cjpeg -sample 2x2"),
            ("64x64", "convert ppm:- -sampling-factor 4:2:0 -quality 92 jpg:-"),
            ("96x80", "convert ppm:- -sampling-factor 4:4:4 -quality 60 jpg:-"),
        ):
            with self.subTest(size=size, encoder=encoder):
                self.shell(f"convert photo.ppm -crop {size}+7+5 +repage ppm:- | "
                           f"{encoder} > photo.jpg")
                self.done("picture", "show", "photo.jpg")
                self.compare(self.snapshot(), self.other_decoder("photo.jpg"), 4,
                             1.6 if len(size) > 4 else 4)

    def test_kinds_that_are_not_decoded(self):
        self.shell("convert -size 40x30 -seed 1 plasma:red-blue in.ppm")
        for encoder in ("cjpeg -grayscale", "cjpeg -progressive", "cjpeg -arithmetic",
                        "cjpeg -sample 4x1", "cjpeg -sample 1x2",
                        "convert ppm:- -colorspace CMYK jpg:-"):
            with self.subTest(encoder):
                self.shell(f"{encoder} < in.ppm > photo.jpg")
                self.failed(1, "picture", "show", "photo.jpg")

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
        self.done("picture", "copy", "16", "8", "48", "40", "32", "16")  # the largest
        copied = self.snapshot()
        self.assertEqual([row[48:80] for row in copied[40:56]], [row[16:48] for row in drawn[8:24]])
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
        jpeg = self.read("blue.png")  # and its tables may stand in front of the frame
        table, frame = jpeg.index(b"\xFF\xC4"), jpeg.index(b"\xFF\xC0")
        size = 2 + int.from_bytes(jpeg[table + 2:table + 4])
        self.write("blue.png", jpeg[:frame] + jpeg[table:table + size] + jpeg[frame:])
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
