# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""page_test.py VELMO-IMAGE: pages of `preview`, shown by a headless Chromium. Skipped where there is none."""

import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

import chromium

TOOL = pathlib.Path(sys.argv.pop(1)).resolve() if len(sys.argv) > 1 else None
WIDTH, HEIGHT = 60, 40


def make_plane(value):
    """Steps of ten columns that rise by one; `value` is that in the middle."""
    return bytes((value + (x + 5) // 10 - 3) % 256 for x in range(WIDTH)) * HEIGHT


def make_tiff(pixels, description=b""):
    """A calibrated plane of 8 bits: 2000 pixels per cm."""
    text = description + b"\0"
    head = 8 + len(pixels)
    resolution, words = head + len(text) + len(text) % 2, text + b"\0" * (len(text) % 2)
    tags = [(256, 4, 1, WIDTH), (257, 4, 1, HEIGHT), (258, 3, 1, 8), (259, 3, 1, 1), (262, 3, 1, 1),
            (270, 2, len(text), head), (273, 4, 1, 8), (277, 3, 1, 1), (278, 4, 1, HEIGHT), (279, 4, 1, len(pixels)),
            (282, 5, 1, resolution), (283, 5, 1, resolution), (296, 3, 1, 3)]
    entries = b"".join(struct.pack("<HHII", *tag) for tag in tags)
    return (struct.pack("<2sHI", b"II", 42, resolution + 8) + pixels + words + struct.pack("<II", 2000, 1) +
            struct.pack("<H", len(tags)) + entries + struct.pack("<I", 0))


class PageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def make(self, name, content, *options):
        """The page of a file."""
        (self.folder / name).write_bytes(content)
        page = self.folder / "page.html"
        subprocess.run([TOOL, "preview", self.folder / name, page, "--overwrite", *options], check=True, capture_output=True)
        return page

    def show(self, name, content, *options, **window):
        page = self.enterContext(chromium.show(self.make(name, content, *options), **window))
        self.wait_for_picture(page)
        self.addCleanup(self.check_silence, page)
        return page

    def check_silence(self, page):
        self.assertEqual([], page.problems)
        self.assertEqual([], [url for url in page.requests if not url.startswith("file:")])
        self.assertLessEqual(len(page.requests), 1, "only the page itself")

    @staticmethod
    def wait_for_picture(page, place=None):
        """Until the picture of a plane, channel and time step is shown."""
        page.wait_for("document.getElementById('view').dataset.shown" +
                      (f" === '{place}'" if place else " !== undefined"))

    @staticmethod
    def get_middle(page):
        """Red, green and blue in the middle of the view."""
        return page.evaluate("(() => { const canvas = document.getElementById('picture');"
                             "return Array.from(canvas.getContext('2d').getImageData("
                             "canvas.width / 2, canvas.height / 2, 1, 1).data).slice(0, 3); })()")

    @staticmethod
    def text(page, name):
        return page.evaluate(f"document.getElementById('{name}').textContent")

    @staticmethod
    def is_hidden(page, name):
        return page.evaluate(f"getComputedStyle(document.getElementById('{name}')).display === 'none'")

    RAW = ("--size", f"{WIDTH},{HEIGHT},3,2,2", "--type", "uint8", "--range", "0,255")
    PLANES = b"".join(make_plane(10 * number) for number in range(12))

    def get_level(self, page):
        """The grey level in the middle."""
        middle = self.get_middle(page)
        self.assertEqual(1, len(set(middle)))
        return middle[0]

    def test_arrow_keys_show_other_planes(self):
        page = self.show("in.raw", self.PLANES, *self.RAW)
        self.assertEqual(10, self.get_level(page))
        self.assertEqual("z 1 of 0–2, c 0 of 0–1, t 0 of 0–1", self.text(page, "status"))
        for key, place, level in [("ArrowUp", "2,0,0", 20), ("ArrowRight", "2,0,1", 80), ("ArrowDown", "1,0,1", 70)]:
            page.press(key)
            self.wait_for_picture(page, place)
            self.assertEqual(level, self.get_level(page))
        page.press("c", "c")
        self.wait_for_picture(page, "1,1,1")
        self.assertEqual(100, self.get_level(page))

    def test_a_slider_is_moved_by_keys_and_has_a_label(self):
        page = self.show("in.raw", self.PLANES, *self.RAW)
        page.evaluate("document.getElementById('z').focus()")
        page.press("ArrowRight")
        self.wait_for_picture(page, "2,0,0")
        self.assertEqual(20, self.get_level(page))
        self.assertEqual("2 of 0–2", self.text(page, "z-value"))
        unlabelled = page.evaluate(
            "[...document.querySelectorAll('input, button, [role=application]')].filter(element => "
            "!element.labels?.length && !element.textContent.trim() && !element.ariaLabel).length")
        self.assertEqual(0, unlabelled)

    def test_only_axes_of_several_planes_have_sliders(self):
        page = self.show("in.raw", make_plane(0) * 2, "--size", f"{WIDTH},{HEIGHT},1,1,2", "--type", "uint8")
        self.assertEqual([True, True, False], [self.is_hidden(page, f"axis-{axis}") for axis in "zct"])
        page.press("ArrowRight")
        self.wait_for_picture(page, "0,0,1")

    def test_the_contrast_is_in_values(self):
        values = struct.pack("<600f", *[index % 60 / 4 - 5 for index in range(600)])
        page = self.show("in.raw", values, "--size", "60,10", "--type", "real32")
        self.assertEqual(["-5", "9.75"], [self.text(page, f"{end}-value") for end in ("low", "high")])
        before = self.get_middle(page)[0]
        page.evaluate("document.getElementById('high').focus()")
        for _ in range(60):
            page.press("ArrowLeft")
        self.assertLess(float(self.text(page, "high-value")), 9.75)
        self.assertGreater(self.get_middle(page)[0], before)
        page.press("r", "r")
        self.assertEqual("9.75", self.text(page, "high-value"))
        self.assertEqual(before, self.get_middle(page)[0])

    def test_labels_are_coloured_without_a_contrast(self):
        page = self.show("in.raw", bytes([7]) * 600, "--size", "60,10", "--type", "label8")
        self.assertTrue(self.is_hidden(page, "contrast"))
        self.assertGreater(len(set(self.get_middle(page))), 1)

    def test_zoom_by_wheel_keys_buttons_and_fingers(self):
        page = self.show("in.raw", self.PLANES, *self.RAW, width=500)
        fitted = self.text(page, "zoom-value")

        def zoom():
            return int(self.text(page, "zoom-value").rstrip(" %"))

        steps = [lambda: page.mouse("mouseWheel", 200, 200, deltaX=0, deltaY=-120),
                 lambda: page.press("+", "+"),
                 lambda: page.evaluate("document.getElementById('zoom-in').click()"),
                 lambda: (page.touch("touchStart", (200, 200), (260, 200)),
                          page.touch("touchMove", (160, 200), (300, 200)), page.touch("touchEnd"))]
        for step in steps:
            before = zoom()
            step()
            page.wait_for(f"parseInt(document.getElementById('zoom-value').textContent) > {before}")
        page.press("0", "0")
        self.assertEqual(fitted, self.text(page, "zoom-value"))

    def test_a_scale_bar_has_a_round_length_in_the_unit(self):
        page = self.show("in.tif", make_tiff(make_plane(0)))
        number, unit = self.text(page, "bar-text").split(" ")
        self.assertEqual("µm", unit)
        self.assertIn(number.rstrip("0"), ["1", "2", "5"])
        width = page.evaluate("document.getElementById('bar-line').getBoundingClientRect().width")
        scale = page.evaluate("document.getElementById('view').clientHeight") / HEIGHT
        self.assertAlmostEqual(float(number), width / scale * 5, delta=0.02 * float(number), msg="5 µm a pixel")
        page.press("-", "-")
        self.assertNotEqual(width, page.evaluate("document.getElementById('bar-line').getBoundingClientRect().width"))

    def test_without_a_calibration_there_is_no_scale_bar(self):
        page = self.show("in.raw", make_plane(0), "--size", f"{WIDTH},{HEIGHT}", "--type", "uint8")
        self.assertTrue(self.is_hidden(page, "bar"))

    def test_where_the_minimum_is_white_it_is_white(self):
        tiff = make_tiff(bytes(WIDTH * HEIGHT - 60) + b"\xff" * 60)
        white = tiff.replace(struct.pack("<HHII", 262, 3, 1, 1), struct.pack("<HHII", 262, 3, 1, 0))
        self.assertEqual([255] * 3, self.get_middle(self.show("in.tif", white)))

    def test_hostile_names_run_no_script(self):
        name = "<img src=x onerror=document.title='bad'>'\"&amp;.raw"
        page = self.show(name, self.PLANES, *self.RAW)
        self.assertEqual(name, self.text(page, "status") and page.evaluate("document.querySelector('h1').textContent"))
        self.assertEqual(name, page.evaluate("document.title"))
        self.assertEqual(0, page.evaluate("document.querySelectorAll('img').length"))

    def test_no_other_script_runs(self):
        path = self.make("in.raw", make_plane(0), "--size", f"{WIDTH},{HEIGHT}", "--type", "uint8")
        path.write_text(path.read_text().replace("</header>", "</header><script>document.title = 'bad'</script>"
                                                 "<img src='x' onerror='document.title = 2'>"))
        with chromium.show(path) as page:
            self.wait_for_picture(page)
            self.assertEqual("in.raw", page.evaluate("document.title"))
            self.assertIn("Content Security Policy", str(page.problems))

    def test_a_phone_needs_no_sideways_scrolling(self):
        page = self.show("in.raw", self.PLANES, *self.RAW, width=360, height=640, dark=True)
        self.assertLessEqual(page.evaluate("document.documentElement.scrollWidth"), 360)
        red = page.evaluate("parseInt(getComputedStyle(document.body).backgroundColor.match(/\\d+/)[0])")
        self.assertLess(red, 64, "dark")

    def test_left_out_planes_are_named(self):
        page = self.show("in.raw", self.PLANES * 40, "--size", f"{WIDTH},{HEIGHT},480", "--type", "uint8",
                         "--max-bytes", "40K")
        self.assertRegex(page.evaluate("document.body.innerText"), r"shows \d+ of 480 planes along Z")
        before = self.text(page, "z-value")
        page.press("ArrowUp")
        self.assertNotEqual(before, self.text(page, "z-value"))


if __name__ == "__main__":
    if chromium.find_program() is None:
        print("no chromium")
        sys.exit(77)
    unittest.main()
