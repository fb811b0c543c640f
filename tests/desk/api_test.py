"""The desk's API against a running camera process, without a browser: api_test.py BUILD [ADDRESS]"""

import json
import os
import re
import socket
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from stand import Stand  # noqa: E402
from webdriver import wait_for  # noqa: E402

BUILD = os.path.abspath(sys.argv[1])
ADDRESS = sys.argv[2] if len(sys.argv) > 2 else "127.0.71.1"


class ApiTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stand = Stand(BUILD, ADDRESS, taught=3)
        cls.stand.__enter__()
        cls.addClassCleanup(cls.stand.__exit__)

    def refused(self, status, text, method, path, body=None, headers=None):
        got, content = self.stand.request(method, path, body, headers)
        self.assertEqual(got, status, content)
        self.assertIn(text, content["error"]["message"])
        return content["error"]

    def test_refuses_what_foreign_pages_make_a_browser_send(self):
        port = self.stand.port
        own = f"{ADDRESS}:{port}"
        for what, headers in {
            "a page from elsewhere": {"Origin": "http://evil.example"},
            "a page of another port": {"Origin": f"http://{ADDRESS}:{port + 1}"},
            "a page without origin (sandboxed)": {"Origin": "null"},
            "a page over another scheme": {"Origin": f"https://{own}"},
            "a name pointed at this machine": {"Host": f"evil.example:{port}"},
            "a name that begins like ours": {"Host": f"localhost.evil.example:{port}"},
            "no name": {"Host": ""},
            "a script element elsewhere": {"Sec-Fetch-Site": "cross-site"},
        }.items():
            for method, path in (("POST", "/api/undo"), ("GET", "/api/state"), ("GET", "/api/events")):
                with self.subTest(what, method=method):
                    self.assertEqual(self.stand.request(method, path, headers=headers)[0], 403)
        for headers in ({"Origin": f"http://{own}"}, {"Host": "localhost:9"}, {"Host": "[::1]:80"}):
            with self.subTest(headers=headers):
                self.assertEqual(self.stand.request("GET", "/api/state", headers=headers)[0], 200)

    def test_page_is_closed_in_itself(self):
        for path, kind in (("/", b"<!doctype html>"), ("/app.js", b"///"), ("/style.css", b":root")):
            self.assertTrue(self.stand.get(path).startswith(kind))
        page = b"".join(self.stand.get(p) for p in ("/", "/style.css", "/app.js", "/scene.js"))
        self.assertNotIn(b"//cdn", page)
        self.assertNotIn(b"https://", page)
        for path in ("/../../etc/passwd", "/..%2f..%2fetc/passwd", "/%2e%2e/main.cpp", "/page/app.js",
                     "//etc/passwd", "/app.js/../index.html", "/api/pictures/..%2fx.png"):
            with self.subTest(path):
                status, content = self.stand.request("GET", path)
                self.assertEqual(status, 404)
                self.assertIn("error", content)

    def test_bodies_are_bounded_and_must_be_json_objects(self):
        big = b'{"camera.Gain": ' + b" " * 70000 + b"3}"
        self.refused(413, "at most 65536", "PATCH", "/api/settings", big)
        for what, body, text in (
                ("half an object", b'{"camera.Gain":', "no JSON"), ("a list", b"[1]", "must be a JSON object"),
                ("nesting", b"[" * 50000, "no JSON"), ("not UTF-8", b'{"\xff": 1}', "no JSON"),
                ("nothing to change", b"{}", "Name settings")):
            with self.subTest(what):
                got, content = self.stand.request("PATCH", "/api/settings", body)
                self.assertIn(got, (400, 422))
                self.assertIn(text, content["error"]["message"])
        with socket.create_connection((ADDRESS, self.stand.port), 10) as s:
            s.sendall(f"PATCH /api/settings HTTP/1.1\r\nHost: {ADDRESS}\r\nTransfer-Encoding: chunked\r\n\r\n".encode())
            self.assertIn(b" 411 ", s.recv(200))

    def test_settings_say_field_value_and_limit_and_change_nothing(self):
        before = self.stand.get("/api/settings")["settings"]
        for name, value, limit in (
                ("camera.Gain", 256, "a whole number from 0 to 255"), ("camera.Gain", 2.5, "a whole number"),
                ("camera.Gain", "3", "a whole number"), ("camera.Gain", None, "a whole number"),
                ("camera.Invert", 1, "true or false"), ("camera.Implementation", "R9", "one of"),
                ("breakup.MaxCutLength", 2, "a number from 0 to 1.9999"),
                ("comparator.MaxError", 1e300, "a number from 0 to 1.9999")):
            with self.subTest(name, value=value):
                error = self.refused(422, limit, "PATCH", "/api/settings",
                                     {"camera.ThresholdLow": 77, name: value})
                self.assertEqual((error["field"], error["value"]), (name, value))
        self.refused(404, "There is no setting", "PATCH", "/api/settings", {"camera.Gian": 1})
        self.refused(409, "does not carry", "PATCH", "/api/settings", {"telnet.Port": 1})
        self.assertEqual(self.stand.get("/api/settings")["settings"], before)

    def test_changes_reach_the_camera_and_are_taken_back_in_order(self):
        before = {s["name"]: s["value"] for s in self.stand.get("/api/settings")["settings"]}
        self.stand.send("PATCH", "/api/settings", {"analyzer.MinPolygonSize": 0.1})
        answer = self.stand.send("PATCH", "/api/settings", {
            "breakup.Enabled": not before["breakup.Enabled"], "database.ComparatorName": "Outer contours"})
        names = [s["name"] for s in answer["settings"]]
        self.assertNotIn("comparator.CompareLengths", names)
        self.assertEqual(answer["undo"][-2:], ["Shortest outline", "Cut parts apart and 1 more"])
        self.stand.send("POST", "/api/undo")
        self.assertEqual(self.stand.setting("comparator.CompareLengths"), before["comparator.CompareLengths"])
        self.assertAlmostEqual(self.stand.setting("analyzer.MinPolygonSize"), 0.1, 4)
        self.stand.send("POST", "/api/undo")
        after = {s["name"]: s["value"] for s in self.stand.get("/api/settings")["settings"]}
        self.assertEqual(after, before)

    def unknown_object(self):
        """An object that can be taught, in an image that is held."""
        def look():
            image = self.stand.get("/api/image")
            for o in image["objects"]:
                if o["template"] is None and not o["clipped"] and not o["cut"]:
                    held = self.stand.request("POST", f"/api/images/{image['image']}/hold")[0] == 200
                    return (image, o) if held else None
            return None
        return wait_for("an object that is not recognised", look)

    def test_teach_edit_delete_undo_export_import(self):
        image, o = self.unknown_object()
        lesson = {"image": image["image"], "object": o["id"], "id": 40, "name": "Ünïque <b>",
                  "grip": {"x": o["pixel"]["x"] + 6, "y": o["pixel"]["y"]}}
        taught = self.stand.send("POST", "/api/templates", lesson)
        self.assertEqual((taught["id"], taught["name"], taught["replaced"]), (40, "Ünïque <b>", False))
        self.assertGreater(abs(taught["grip"]["x"]) + abs(taught["grip"]["y"]), 0.005)
        self.refused(422, "is taken", "POST", "/api/templates", lesson)
        fits = {f["template"]: f for x in self.stand.get(f"/api/retest?image={image['image']}")["objects"]
                if x["object"] == o["id"] for f in x["fits"]}
        self.assertTrue(fits[40]["match"])
        self.assertGreater(fits[40]["margin"], 0.95)
        self.assertTrue(all(not f["match"] or f["margin"] < fits[40]["margin"] for i, f in fits.items() if i != 40))

        exported = self.stand.get("/api/database.xml")
        edited = self.stand.send("PATCH", "/api/templates/40", {"id": 41, "rotation": 90, "name": "New"})
        self.assertEqual((edited["id"], edited["name"], edited["rotation"]), (41, "New", 90))
        self.refused(422, "no other template", "PATCH", "/api/templates/41", {"id": 1})
        self.stand.send("DELETE", "/api/templates/41")
        self.refused(404, "no template 41", "DELETE", "/api/templates/41")
        self.stand.send("POST", "/api/undo")
        self.assertIn(41, [t["id"] for t in self.stand.get("/api/templates")["templates"]])

        self.refused(422, "no database", "PUT", "/api/database.xml", b"<Data><Database/></Data>")
        self.assertIn(41, [t["id"] for t in self.stand.get("/api/templates")["templates"]])
        imported = self.stand.send("PUT", "/api/database.xml", exported)
        self.assertEqual([t["id"] for t in imported["templates"]], [1, 2, 3, 40])
        # As in config.xml, a fixed-point number may move by its last bit.
        before, after = ([float(n) for n in re.findall(rb">(-?[0-9.]+)<", text)]
                         for text in (exported, self.stand.get("/api/database.xml")))
        self.assertEqual(len(before), len(after))
        self.assertLess(max(abs(a - b) for a, b in zip(before, after)), 1e-4)
        self.stand.send("DELETE", "/api/templates/40")

        with open(f"{self.stand.folder}/names.json", encoding="utf-8") as file:
            names = json.load(file)["cameras"][f"{ADDRESS}:7453"]
        self.assertEqual(names["41"], "New")
        wait_for("the first image to go", lambda: self.stand.request("GET", "/api/pictures/original.png?image=1")[0] == 410)
        self.refused(410, "has gone", "POST", "/api/templates", {"image": 1, "object": 1})
        self.refused(422, "'object' is missing", "POST", "/api/templates", {"image": image["image"]})

    def test_output_transform_puts_reference_points_where_the_robot_says(self):
        self.assertEqual(self.stand.get("/api/image")["width"], 640)
        robot = lambda x, y: {"x": 350 + .3 * x - .1 * y, "y": -120 + .1 * x + .3 * y}  # noqa: E731
        points = [{"seen": {"x": x, "y": y}, "robot": robot(x, y)} for x, y in ((50, 60), (600, 70), (300, 420), (580, 400))]
        points[3]["robot"]["x"] += 2
        fitted = self.stand.send("POST", "/api/transform", {"points": points, "apply": True})
        self.assertAlmostEqual(fitted["rms"], 0.5, delta=0.4)
        self.assertEqual(len(fitted["residuals"]), 4)
        x, y = self.stand.setting("database.Transform.CombinedMatrix.column0.x"), fitted["matrix"]["column0"]["x"]
        self.assertAlmostEqual(x, y, 4)
        self.stand.send("POST", "/api/undo")
        self.assertEqual(self.stand.setting("database.Transform.CombinedMatrix.column0.x"), 1)
        self.refused(422, "one line", "POST", "/api/transform", {"points": [
            {"seen": {"x": i, "y": i}, "robot": {"x": i, "y": 0}} for i in (10, 200, 400)]})

    def test_pictures_are_asked_of_the_camera_only_while_somebody_looks(self):
        self.assertEqual(self.stand.get("/api/pictures/original.png")[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(self.stand.get("/api/pictures/binary.jpg")[:3], b"\xff\xd8\xff")
        self.assertEqual(sum(self.stand.get("/api/histogram")["grey"]), 640 * 480)
        self.refused(422, "original, binary", "GET", "/api/pictures/infrared.png")

        def nobody_is_sent_pictures():
            number = self.stand.get("/api/image")["image"]
            status, _ = self.stand.request("GET", f"/api/pictures/original.png?image={number}")
            return status == 404
        wait_for("images without pictures", nobody_is_sent_pictures)

    def test_a_slow_browser_slows_nobody(self):
        """One that reads nothing lags, drops images and is let go; the camera does not notice."""
        with self.stand.events("pictures=original,binary&results=1", buffer=4096), \
                self.stand.events("pictures=original&results=1") as quick:
            first = quick.next("image")
            while "original" not in first["pictures"]:  # taken before anybody looked
                first = quick.next("image")
            last, seen = first, 1
            while last["image"] < first["image"] + 40:
                last = quick.next("image")
                self.assertIn("original", last["pictures"])
                seen += 1
            self.assertGreater(seen, 20)
            # The other one is still stuck, and not yet let go: nobody has waited for that.
            self.assertEqual(self.stand.get("/api/state")["viewers"], 2)

    def test_viewers_are_bounded_and_requests_still_answered(self):
        viewers = []
        try:
            wait_for("places", lambda: self.stand.get("/api/state")["viewers"] == 0)
            for _ in range(8):
                viewers.append(self.stand.events("results=1"))
                self.assertEqual(viewers[-1].status, 200)
            with self.stand.events("") as ninth:
                self.assertEqual(ninth.status, 503)
                self.assertIn(b"Close one of them", ninth.body())
            self.assertEqual(self.stand.get("/api/state")["viewers"], 8)
        finally:
            for viewer in viewers:
                viewer.close()
        wait_for("places", lambda: self.stand.get("/api/state")["viewers"] == 0)
        self.refused(422, "original, binary", "GET", "/api/events?pictures=x")
        self.refused(422, "a number from 0.1 to 60", "GET", "/api/events?rate=nan")

    def test_a_dozen_idle_connections_leave_threads_for_others(self):
        idle = [socket.create_connection((ADDRESS, self.stand.port), 10) for _ in range(12)]
        try:
            self.assertEqual(self.stand.request("GET", "/api/state")[0], 200)
        finally:
            for s in idle:
                s.close()

    def test_results_log_and_system(self):
        results = wait_for("counts", lambda: self.stand.get("/api/results"))
        self.assertGreater(results["images"], 0)
        lines = self.stand.get("/api/results.csv").decode().split("\r\n")
        self.assertEqual(lines[0], "image,time_ms,template,name,x,y,rotation_deg,confidence,error")
        self.assertTrue(any(',"Plate",' in line for line in lines))
        self.stand.send("POST", "/api/system/save")
        wait_for("the log's word", lambda: any(e["message"] == "Config saved." for e in self.stand.get("/api/log")))
        for wrong in ("noon", "2026-13-01T00:00:00", "2026-02-29T00:00:00", "2026-01-01T24:00:00",
                      "2026-01-01T00:00:00Z", "2026-1-1T0:0:-1"):
            with self.subTest(wrong):
                self.refused(422, "local time like", "POST", "/api/system/clock", {"time": wrong})
        self.stand.send("POST", "/api/system/clock", {})
        wait_for("the log's word", lambda: any("Ignoring system time" in e["message"] for e in self.stand.get("/api/log")))
        self.refused(422, "needs", "POST", "/api/system/shutdown", {"confirm": False})
        self.refused(404, "no setting of the groups", "PATCH", "/api/system", {"camera.Gain": 1})
        self.refused(422, "a whole number from 0 to 65535", "PATCH", "/api/system", {"telnet.Port": 70000})


class RestartTest(unittest.TestCase):
    def test_settings_of_the_process_wait_for_its_end_and_names_survive(self):
        with Stand(BUILD, ADDRESS, taught=1) as stand:
            stand.send("PATCH", "/api/system", {"telnet.Timeout": 17})
            self.assertEqual(stand.get("/api/system")["pending"], {"telnet.Timeout": 17})
            stand.send("POST", "/api/system/shutdown", {"confirm": True})
            stand.server.wait(15)
            wait_for("the desk to notice", lambda: stand.get("/api/state")["phase"] == "waiting")
            wait_for("the file to be written", lambda: not stand.get("/api/system")["pending"])
            status, content = stand.request("PATCH", "/api/settings", {"camera.Gain": 4})
            self.assertEqual(status, 503)
            self.assertIn("no connection to the camera", content["error"]["message"])
            stand.start_server()
            wait_for("the connection", lambda: stand.get("/api/state")["imagesArrive"])
            telnet = [s for s in stand.get("/api/system")["settings"] if s["name"] == "telnet.Timeout"]
            self.assertEqual(telnet[0]["value"], 17)
            stand.stop_desk()
            stand.stop_server()
            self.assertIn("<Timeout>17</Timeout>", stand.config())
            stand.start_server()
            stand.start_desk()
            self.assertEqual([t["name"] for t in stand.get("/api/templates")["templates"]], ["Tab washer"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
