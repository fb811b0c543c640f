"""The page in headless Chromium against the real programs; see scripts/test-browser."""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from stand import ROOT, Stand  # noqa: E402
from webdriver import Browser, wait_for  # noqa: E402

OPTIONS = argparse.Namespace()


class PageTest(unittest.TestCase):
    """One browser for all; every test begins with a stand and a page of its own."""

    taught = 5
    model = None

    def setUp(self):
        self.stand = Stand(OPTIONS.build, OPTIONS.bind, taught=self.taught, model=self.model,
                           environment={"OCAMERA_NOISE": "2"})
        self.stand.__enter__()
        self.addCleanup(self.stand.__exit__)
        folder = tempfile.mkdtemp(prefix="tarvik-browser-")
        self.addCleanup(shutil.rmtree, folder, ignore_errors=True)
        self.browser = Browser(folder, 1280, 800)
        self.addCleanup(self.browser.close)

    def view(self, name):
        self.browser.open(f"{self.stand.url}/#{name}")
        wait_for("the page", lambda: self.browser.run("return document.querySelector('#main')?.children.length > 0"))
        wait_for("the connection", lambda: self.browser.text("#link").startswith("Connected"))

    def picture(self, name):
        if OPTIONS.pictures:
            self.browser.run("scrollTo(0, 0); document.getElementById('toasts').replaceChildren()")
            self.browser.screenshot(f"{ROOT}/docs/pictures/desk-{name}.png")

    def no_complaints(self):
        self.assertEqual(self.browser.complaints(), [])

    def drag(self, css, start, end):
        """From one place of an element to another, as shares of its box."""
        box = self.browser.run("const b = document.querySelector(arguments[0]).getBoundingClientRect();"
                               "return [b.left, b.top, b.width, b.height]", css)
        place = lambda p: (box[0] + p[0] * box[2], box[1] + p[1] * box[3])  # noqa: E731
        self.browser.pointer(("move", *place(start)), ("down",), ("move", *place(((start[0] + end[0]) / 2, (start[1] + end[1]) / 2))),
                             ("move", *place(end)), ("up",))

    def frames(self):
        """Lets the page count the images that it has shown in full."""
        self.browser.run("import('/desk.js').then(({desk}) => { window.shown = 0; "
                         "desk.addEventListener('frame', () => ++window.shown); })")


class TeachTest(PageTest):
    def test_an_unknown_part_is_clicked_named_and_recognised(self):
        b = self.browser
        self.view("teach")
        b.run("import('/desk.js').then(({desk}) => desk.addEventListener('frame', (e) => { "
              "if (!document.querySelector('#name')) window.frame = e.detail; }));"  # then the picture is held
              "const fetch = window.fetch;"  # over a slow line: many images pass while the desk is asked
              "window.fetch = (...a) => new Promise((done) => setTimeout(done, 600)).then(() => fetch(...a));")

        def click_it():
            # The bracket is not taught; wait until one is wholly in view. Parts move on while we click.
            place = self.place("(o) => o.template === null && !o.clipped && !o.cut && o.holes.length === 1"
                          " && o.pixel.x > 120 && o.pixel.x < 520 && o.length > 200")
            if place:
                b.pointer(("move", *place), ("down",), ("up",))
            return b.run("return Boolean(document.querySelector('#name'))")
        wait_for("a click on an unknown part", click_it, 60)
        b.type("#name", "Bracket")
        chosen = b.run("return Number(document.querySelector('form h2').textContent.match(/#(\\d+)/)[1])")
        b.pointer(("move", *self.place(f"(o) => o.id === {chosen}")), ("down",), ("up",))
        wait_for("the grip point", lambda: "px" in b.text("form"))
        self.picture("teach")
        # However long it takes: the image that was clicked waits, while many others come and go.
        newest = self.stand.get("/api/image")["image"]
        wait_for("newer images", lambda: self.stand.get("/api/image")["image"] > newest + 40)
        b.button("Teach")
        wait_for("the word", lambda: "Bracket has been taught." in b.text("#toasts"))
        wait_for("the template in the list", lambda: "Bracket" in b.text(".templates"))
        wait_for("the bracket among the objects in view", lambda: "Bracket" in b.text("[aria-label='Objects in view']"), 60)
        taught = next(t for t in self.stand.get("/api/templates")["templates"] if t["name"] == "Bracket")
        wait_for("its recognition", lambda: any(o["template"] == taught["id"] for o in self.stand.get("/api/image")["objects"]), 60)
        b.button("Retest")
        wait_for("the comparison", lambda: "% left" in b.text("main"))
        self.no_complaints()

        b.run("location.hash = 'live'")
        wait_for("the bracket in the table", lambda: "Bracket" in b.text("main table"), 60)
        self.picture("live")
        b.run("location.hash = 'teach'")
        b.click(f"[data-template='{taught['id']}'] button[aria-label^='Edit']")
        b.type("#e-name", "Long bracket")
        b.button("Save", "dialog")
        wait_for("the new name", lambda: "Long bracket" in b.text(".templates"))
        b.click(f"[data-template='{taught['id']}'] button[aria-label^='Delete']")
        b.button("Delete", "dialog")
        wait_for("it to be gone", lambda: "Long bracket" not in b.text(".templates"))
        b.click("#undo")
        wait_for("it to be back", lambda: "Long bracket" in b.text(".templates"))
        self.no_complaints()

    def place(self, wanted):
        """Where in the window a point lies that is inside the first object of which this holds."""
        return self.browser.run(self.INSIDE.replace("WANTED", wanted))

    INSIDE = """return import('/scene.js').then(({inside}) => {
        const f = window.frame, wanted = WANTED;
        const o = f?.objects.find(wanted);
        if (!o) return null;
        const [x0, y0, x1, y1] = o.box, points = [];
        for (let i = 1; i < 12; ++i) for (let j = 1; j < 12; ++j) {
            points.push({x: x0 + (x1 - x0) * i / 12, y: y0 + (y1 - y0) * j / 12});
        }
        // Well inside: so are the four points around it.
        const good = (p) => [[0, 0], [4, 0], [-4, 0], [0, 4], [0, -4]].every(([x, y]) => {
            const q = {x: p.x + x, y: p.y + y};
            return inside(o.outline, q) && !o.holes.some((h) => inside(h, q));
        });
        const p = points.find(good);
        const box = document.querySelector('.scene canvas').getBoundingClientRect();
        return p && [box.left + p.x * box.width / f.width, box.top + p.y * box.height / f.height];
    });"""


class ThresholdTest(PageTest):
    white = """const c = document.querySelectorAll('.scene canvas')[1];
        const d = c.getContext('2d').getImageData(0, 0, c.width, c.height).data;
        let n = 0; for (let i = 0; i < d.length; i += 4) n += d[i] > 250 && d[i + 2] > 250; return n / (d.length / 4);"""

    def test_dragging_the_window_changes_the_binary_picture_at_once(self):
        b = self.browser
        self.view("threshold")
        wait_for("a binary picture", lambda: 0.02 < b.run(self.white) < 0.5)
        before = b.run(self.white)
        self.picture("threshold")
        self.drag(".histogram", (128 / 255, .5), (20 / 255, .5))
        wait_for("the camera's new threshold", lambda: self.stand.setting("camera.ThresholdLow") == 20)
        wait_for("a whiter picture", lambda: b.run(self.white) > .9)
        b.click("#invert")
        wait_for("a black picture", lambda: b.run(self.white) < .1)
        b.click("#invert")
        wait_for("a white picture", lambda: b.run(self.white) > .9)
        b.key(".handle[data-setting='camera.ThresholdHigh']", "\ue012" * 3)  # arrow left
        wait_for("the keyboard's threshold", lambda: self.stand.setting("camera.ThresholdHigh") == 252)
        b.button("Suggest")
        wait_for("Otsu's threshold", lambda: 70 < self.stand.setting("camera.ThresholdLow") < 190)
        wait_for("the parts again", lambda: abs(b.run(self.white) - before) < .03)
        self.no_complaints()


class ColourTest(PageTest):
    taught = 0
    model = "R1C (640x480)"

    def test_parts_are_told_by_their_colour(self):
        b = self.browser
        hue = ".channels > div:first-child .histogram"
        self.view("threshold")
        wait_for("all parts", lambda: .02 < b.run(ThresholdTest.white) < .5)
        everything = b.run(ThresholdTest.white)
        self.assertEqual(b.run("return [...document.querySelectorAll('h3')].map((h) => h.textContent)"),
                         ["Hue", "Saturation", "Brightness"])
        # A window through red, where hue starts over, holds some parts and neither others nor the belt.
        self.drag(hue, (1, .5), (25 / 255, .5))
        wait_for("the upper bound", lambda: self.stand.setting("camera.GreaterValH") == 25)
        self.drag(hue, (0, .5), (205 / 255, .5))
        wait_for("a window that wraps", lambda: self.stand.setting("camera.LowerValH") == 205)
        wait_for("fewer parts", lambda: .002 < b.run(ThresholdTest.white) < .8 * everything)
        self.assertLess(b.run("return document.querySelectorAll('.scene')[1].getBoundingClientRect().top"), 500,
                        "the binary picture is in view beside what changes it")
        self.picture("colour")
        b.run("location.hash = 'live'")
        for name in ("Hue", "Saturation", "Value", "Picture"):
            b.button(name)
        self.frames()
        wait_for("images", lambda: b.run("return window.shown > 3"))
        self.assertTrue(b.run("""const c = document.querySelector('.scene canvas');
            const d = c.getContext('2d').getImageData(0, 0, c.width, c.height).data;
            return d.some((v, i) => i % 4 === 0 && Math.abs(v - d[i + 2]) > 60);"""), "the picture has colours")
        self.no_complaints()


class SettingsTest(PageTest):
    def test_settings_go_to_the_camera_and_back_and_can_be_undone(self):
        b = self.browser
        self.view("settings")
        field = "[id='s-analyzer.MinPolygonSize']"
        b.type(field, "0.5\n")
        wait_for("the camera's setting", lambda: abs(self.stand.setting("analyzer.MinPolygonSize") - .5) < 1e-4)
        wait_for("the step", lambda: "Shortest outline" in b.text("#undo"))
        b.type("[id='s-camera.Gain']", "300\n")
        wait_for("the refusal", lambda: "a whole number from 0 to 255" in b.text("[data-name='camera.Gain']"))
        b.click("[id='s-breakup.Enabled']")
        wait_for("breakup off", lambda: self.stand.setting("breakup.Enabled") is False)
        # Only what has been sent can be in the file of a camera that was restarted.
        self.stand.send("POST", "/api/system/save")
        self.assertIn("<MinPolygonSize>0.500000</MinPolygonSize>", self.stand.config())
        b.click("#undo")
        wait_for("breakup on", lambda: self.stand.setting("breakup.Enabled") is True)
        wait_for("the box to follow", lambda: b.run("return document.getElementById('s-breakup.Enabled').checked"))
        b.click("#undo")
        wait_for("the old length", lambda: abs(self.stand.setting("analyzer.MinPolygonSize") - .0473) < 1e-4)
        wait_for("an empty list of steps", lambda: b.run("return document.getElementById('undo').disabled"))

        self.drag(".scene canvas", (.2, .2), (.8, .7))
        wait_for("the region", lambda: abs(self.stand.setting("analyzer.ROI.Width") - 384) < 4)
        self.assertAlmostEqual(self.stand.setting("analyzer.ROI.X"), 128, delta=4)
        wait_for("the page to follow", lambda: b.run("return document.getElementById('s-analyzer.ROI.Width').value") == str(self.stand.setting("analyzer.ROI.Width")))
        self.picture("settings")
        b.button("Clipping")
        self.drag(".scene canvas", (.5, .05 * 320 / 480), (.5, .2))
        wait_for("the band", lambda: abs(self.stand.setting("analyzer.ClippingFrame.Top.Size") - .3) < .02)
        b.button("Lens")
        self.drag(".scene canvas", (.875, .125), (.89, .11))
        wait_for("the coefficient", lambda: .02 < self.stand.setting("analyzer.LensCorrectionParams.K1.Q1") < .2)
        b.button("Transform")
        for x, y in ((.1, .1), (.9, .15), (.5, .9)):
            self.drag(".scene canvas", (x, y), (x, y))
        b.button("Compute and apply")
        wait_for("the residual", lambda: "Residual" in b.text("main"))
        wait_for("the matrix", lambda: abs(self.stand.setting("database.Transform.CombinedMatrix.column0.x") - 320) < 10)
        complaints = b.complaints()  # the one refused value
        self.assertEqual(len(complaints), 1, complaints)
        self.assertIn("422", complaints[0])


class ReconnectTest(PageTest):
    taught = 1

    def test_a_restart_of_the_camera_is_shown_and_survived(self):
        b = self.browser
        self.view("live")
        self.frames()
        wait_for("images", lambda: b.run("return window.shown > 5"))
        self.stand.stop_server()
        wait_for("the bad news", lambda: b.text("#link").startswith("No camera"))
        self.assertEqual(b.run("return document.getElementById('link').getAttribute('role')"), "status")
        wait_for("the veil", lambda: b.run("return document.querySelector('.veil').style.display !== 'none'"))
        self.stand.start_server()
        wait_for("the good news", lambda: b.text("#link").startswith("Connected"))
        shown = b.run("return window.shown")
        wait_for("images again", lambda: b.run("return window.shown") > shown + 5)
        self.stand.stop_desk()
        wait_for("the desk's absence", lambda: "desk" in b.text("#link"))
        self.stand.start_desk()
        wait_for("the desk again", lambda: b.text("#link").startswith("Connected"))
        shown = b.run("return window.shown")
        wait_for("images once more", lambda: b.run("return window.shown") > shown + 5)


class LiveTest(PageTest):
    def test_pause_step_pictures_overlays_and_colours(self):
        b = self.browser
        self.view("live")
        self.frames()
        wait_for("images", lambda: b.run("return window.shown > 3"))
        b.button("Pause")
        wait_for("the badge", lambda: b.text(".badge") == "Paused")
        wait_for("no viewer of pictures", lambda: self.stand.request(
            "GET", f"/api/pictures/original.png?image={self.stand.get('/api/image')['image']}")[0] == 404)
        shown = b.run("return window.shown")
        b.button("Step")
        wait_for("one image", lambda: b.run("return window.shown") > shown)
        b.button("Go on")
        b.run("import('/desk.js').then(({desk}) => { window.places = new Set(); desk.addEventListener('frame', () => "
              "window.places.add([...document.querySelectorAll('main button, main input')]"
              ".map((e) => Object.values(e.getBoundingClientRect().toJSON())).join())); })")
        wait_for("more images", lambda: b.run("return window.shown") > shown + 25)
        self.assertEqual(b.run("return window.places.size"), 1, "no image moves what can be clicked")
        pixels = "const c = document.querySelector('.scene canvas'); return c.toDataURL().length"
        b.button("Binary")
        wait_for("the binary picture", lambda: b.run(
            "const c = document.querySelector('.scene canvas').getContext('2d').getImageData(3, 3, 1, 1).data; return c[0] === 0 && c[1] === 0"))
        b.click("[data-overlay='contours']")
        self.assertNotIn("contours", b.run("return localStorage.overlays"))
        b.click("[data-overlay='contours']")
        self.assertGreater(b.run(pixels), 1000)
        b.click("#theme")
        b.click("#theme")
        self.assertEqual(b.run("return document.documentElement.dataset.theme"), "dark")
        b.button("Picture")
        wait_for("names", lambda: "recognised" in b.text("main"))
        self.picture("dark")
        b.click("#theme")
        self.no_complaints()

    def test_a_slow_page_drops_images_and_slows_nobody(self):
        b = self.browser
        self.view("live")
        self.frames()
        wait_for("images", lambda: b.run("return window.shown > 3"))
        # Every image costs this page 200 ms of thinking.
        b.run("import('/desk.js').then(({desk}) => desk.addEventListener('frame', () => {"
              "const end = performance.now() + 200; while (performance.now() < end); }))")
        with self.stand.events("pictures=original&results=1") as other:
            first = other.next("image")["image"]
            shown = b.run("return window.shown")
            last, seen = first, 0
            while last < first + 90:
                last = other.next("image")["image"]
                seen += 1
            shown = b.run("return window.shown") - shown
        self.assertGreater(shown, 0)
        self.assertLess(shown, seen, "the slow page has dropped images that another viewer got")


class ViewsTest(PageTest):
    def test_results_log_and_system(self):
        b = self.browser
        self.view("results")
        wait_for("the strip", lambda: b.run("return document.querySelectorAll('.strip img').length") >= 3)
        wait_for("counts", lambda: "Tab washer" in b.text("main") and "Plate" in b.text("main"))
        wait_for("a few seconds of confidence", lambda: len(self.stand.get("/api/results")["seconds"]) > 4)
        wait_for("the chart's names", lambda: "Tab washer" in b.text(".legend"))
        self.picture("results")

        b.run("location.hash = 'log'")
        wait_for("entries", lambda: "Connected to TarvikDesk." in b.text("main"))
        b.run("const s = document.querySelector('select[aria-label=Log]'); s.value = 'Camera'; s.dispatchEvent(new Event('change'))")
        wait_for("one log", lambda: "opened." in b.text("main") and "Connected to TarvikDesk." not in b.text("main"))

        b.run("location.hash = 'system'")
        wait_for("the version", lambda: "Build" in b.text("main"))
        b.click("#save")
        wait_for("the word", lambda: "has been saved" in b.text("#toasts"))
        b.click("#set-clock")
        wait_for("the camera's word", lambda: "Ignoring system time" in b.text("main"))
        b.type("[id='s-udp.DestinationPort']", "7460\n")
        wait_for("the waiting change", lambda: "udp.DestinationPort = 7460" in b.text("main"))
        b.click("#shutdown")
        b.button("Cancel", "dialog")
        self.assertIsNone(self.stand.server.poll())
        b.click("#shutdown")
        b.button("Shut down", "dialog")
        wait_for("the bad news", lambda: b.text("#link").startswith("No camera"))
        self.assertEqual(self.stand.server.wait(15), 0)
        wait_for("the file", lambda: "<DestinationPort>7460<" in self.stand.config())
        self.no_complaints()

    def test_every_view_works_by_name_and_role(self):
        """What a screen reader needs: names of controls, one heading per panel, one current view."""
        b = self.browser
        for view in ("live", "threshold", "teach", "settings", "results", "log", "system"):
            with self.subTest(view):
                self.view(view)
                unnamed = b.run("""return [...document.querySelectorAll('button, input, select, a, canvas[role]')]
                    .filter((e) => !(e.type === 'file') && !(e.labels?.length) && !e.closest('label') && !e.getAttribute('aria-label') && !e.textContent.trim())
                    .map((e) => e.outerHTML)""")
                self.assertEqual(unnamed, [])
                self.assertEqual(b.run("return document.querySelectorAll('nav [aria-current=page]').length"), 1)
        b.devtools("Emulation.setDeviceMetricsOverride", width=390, height=800, deviceScaleFactor=1, mobile=True)
        for view in ("live", "teach", "settings"):
            with self.subTest(view, width=390):
                self.view(view)
                self.assertLessEqual(b.run("return document.documentElement.scrollWidth"), 390)
        self.no_complaints()


def images_per_second(stand, seconds):
    """What the camera process has worked through, as the desk counts its results."""
    before, start = stand.get("/api/state")["images"], time.monotonic()
    time.sleep(seconds)
    return (stand.get("/api/state")["images"] - before) / (time.monotonic() - start)


def cpu_seconds(process):
    with open(f"/proc/{process.pid}/stat", encoding="utf-8") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(rounds=5, seconds=4):
    """The chain's rate with nobody looking and with a page of 30 images per second, in turns.

    The browser's drawing would run on another machine, so it takes what the others leave."""
    for fps in ("30", "0"):
        with Stand(OPTIONS.build, OPTIONS.bind, taught=5, environment={"OCAMERA_FPS": fps}) as stand, \
                tempfile.TemporaryDirectory() as folder, Browser(folder, 1280, 800, nice=19) as browser:
            alone, watched, drawn, cpu = [], [], [], []
            for _ in range(rounds):
                browser.open("about:blank")
                wait_for("nobody looking", lambda: stand.get("/api/state")["viewers"] == 0)
                images_per_second(stand, 1)
                alone.append(images_per_second(stand, seconds))
                browser.open(f"{stand.url}/#live")
                browser.run("import('/desk.js').then(({desk}) => { window.shown = 0; desk.addEventListener('frame', () => ++window.shown); })")
                wait_for("images", lambda: browser.run("return window.shown > 10"), 60)
                before, start, used = browser.run("return window.shown"), time.monotonic(), cpu_seconds(stand.server)
                watched.append(images_per_second(stand, seconds))
                elapsed = time.monotonic() - start
                drawn.append((browser.run("return window.shown") - before) / elapsed)
                cpu.append((cpu_seconds(stand.server) - used) / elapsed)
            a, w = statistics.median(alone), statistics.median(watched)
            print(f"sensor {'as fast as fetched' if fps == '0' else fps + '/s'}: "
                  f"{a:.1f} images/s alone, {w:.1f} with a page showing {statistics.median(drawn):.1f}/s with overlays "
                  f"({(w / a - 1) * 100:+.1f} %); camera process {statistics.median(cpu) * 100:.0f} % of a core")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("--pictures", action="store_true")
    parser.add_argument("--measure", action="store_true")
    parser.add_argument("--bind", default="127.0.72.1")
    parser.add_argument("tests", nargs="*")
    parser.parse_intermixed_args(namespace=OPTIONS)
    OPTIONS.build = os.path.abspath(OPTIONS.build)
    if OPTIONS.measure:
        measure()
        return
    if OPTIONS.pictures:
        os.makedirs(f"{ROOT}/docs/pictures", exist_ok=True)
    unittest.main(argv=[sys.argv[0], *OPTIONS.tests], verbosity=2)


if __name__ == "__main__":
    main()
