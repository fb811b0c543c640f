"""A test stand: camera process and desk in a scratch folder, and plain requests to the desk."""

import http.client
import json
import os
import re
import shutil
import subprocess
import tempfile

from webdriver import wait_for

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PARTS = ["tab-washer", "plate", "gear", "key", "cam", "bracket"]


class Stand:
    """with Stand(build, "127.0.71.1", taught=5) as stand: ..."""

    def __init__(self, build, address, taught=0, environment=None, options=(), model=None):
        self.build, self.address, self.model = build, address, model
        self.folder = tempfile.mkdtemp(prefix="tarvik-desk-")
        self.environment = {**os.environ, "OCAMERA_FPS": "30", **(environment or {})}
        self.options = options
        self.server = self.desk = None
        self.port = 0
        self._taught = taught

    def __enter__(self):
        self._configure()
        if self._taught:
            self._teach()
        try:
            self.start_server()
            self.start_desk()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in (self.desk, self.server):
            self._stop(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def _configure(self):
        """The demo's configuration, but for a test that may never set the machine's clock."""
        with open(f"{ROOT}/examples/demo/base.xml", encoding="utf-8") as file:
            text = file.read()
        closed = text.replace("<RequestSysTime>1<", "<RequestSysTime>0<")
        assert closed != text, "the clock of this machine must be out of reach"
        if self.model:
            closed = re.sub(r"(<Implementation>)[^<]*", rf"\g<1>{self.model}", closed, count=1)
        with open(f"{self.folder}/config.xml", "w", encoding="utf-8") as file:
            file.write(closed)

    def _teach(self):
        self._run("scene-pictures", "--part", "all", "--angle", "30", "--size", "640x480",
                  "--out", f"{self.folder}/parts")
        self._run("tarvik-lab", "teach", "--file", f"{self.folder}/config.xml",
                  *(f"{i + 1}:{self.folder}/parts/{PARTS[i]}.pgm" for i in range(self._taught)))
        names = {str(i + 1): PARTS[i].replace("-", " ").capitalize() for i in range(self._taught)}
        with open(f"{self.folder}/names.json", "w", encoding="utf-8") as file:
            json.dump({"cameras": {f"{self.address}:7453": names}}, file)

    def _run(self, program, *arguments):
        subprocess.run([f"{self.build}/{program}", *arguments], check=True, cwd=self.folder,
                       stdout=subprocess.DEVNULL)

    def _start(self, name, *arguments):
        log = open(f"{self.folder}/{name}.log", "wb")
        process = subprocess.Popen([f"{self.build}/{name}", *arguments], cwd=self.folder,
                                   env=self.environment, stdout=log, stderr=log)
        log.close()
        return process

    @staticmethod
    def _stop(process):
        if process is None or process.poll() is not None:
            return
        process.terminate()
        try:
            process.wait(15)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            raise AssertionError(f"{process.args[0]} did not end within 15 s") from None

    def start_server(self):
        self.server = self._start("tarvik-server", "--bind", self.address)

    def stop_server(self):
        self._stop(self.server)
        assert self.server.returncode == 0, f"the camera process ended with {self.server.returncode}"

    def start_desk(self):
        self.desk = self._start(
            "tarvik-desk", "--camera", self.address, "--listen", f"{self.address}:{self.port}",
            "--names", f"{self.folder}/names.json", "--config", f"{self.folder}/config.xml",
            *self.options)
        self.port = int(wait_for("the desk's address", self._announced))
        wait_for("a connection with images", lambda: self.get("/api/state")["imagesArrive"])
        wait_for("an image", lambda: self.request("GET", "/api/image")[0] == 200)

    def stop_desk(self):
        self._stop(self.desk)
        assert self.desk.returncode == 0, f"the desk ended with {self.desk.returncode}:\n{self.log()}"

    def log(self, name="tarvik-desk"):
        with open(f"{self.folder}/{name}.log", encoding="utf-8", errors="replace") as file:
            return file.read()

    def config(self):
        with open(f"{self.folder}/config.xml", encoding="utf-8") as file:
            return file.read()

    def _announced(self):
        assert self.desk.poll() is None, f"the desk ended:\n{self.log()}"
        found = re.findall(r"^Tarvik Desk: http://[^:]+:(\d+)", self.log(), re.M)
        return found[-1] if found else None

    @property
    def url(self):
        return f"http://{self.address}:{self.port}"

    def request(self, method, path, body=None, headers=None):
        """Status and what came: JSON as objects, else bytes."""
        connection = http.client.HTTPConnection(self.address, self.port, timeout=20)
        try:
            data = json.dumps(body).encode() if isinstance(body, (dict, list)) else body
            connection.request(method, path, data, headers or {})
            response = connection.getresponse()
            content = response.read()
            if (response.getheader("Content-Type") or "").startswith("application/json"):
                content = json.loads(content)
            return response.status, content
        finally:
            connection.close()

    def get(self, path):
        status, content = self.request("GET", path)
        assert status == 200, f"GET {path}: {status} {content}"
        return content

    def send(self, method, path, body=None):
        status, content = self.request(method, path, body if body is not None else {})
        assert status in (200, 201), f"{method} {path}: {status} {content}"
        return content

    def setting(self, name):
        return next(s["value"] for s in self.get("/api/settings")["settings"] if s["name"] == name)

    def events(self, query, buffer=None):
        return Events(self, query, buffer)


class Events:
    """The desk's event stream, read when asked."""

    def __init__(self, stand, query, buffer=None):
        import socket
        self._socket = socket.socket()
        if buffer:
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
        self._socket.settimeout(20)
        self._socket.connect((stand.address, stand.port))
        self._socket.sendall(f"GET /api/events?{query} HTTP/1.1\r\nHost: {stand.address}:{stand.port}\r\n\r\n".encode())
        self._response = http.client.HTTPResponse(self._socket)
        self._response.begin()
        self.status = self._response.status

    def next(self, kind):
        """The data of the next event of this kind."""
        name = None
        while True:
            line = self._response.readline()
            assert line, "the event stream has ended"
            if line.startswith(b"event: "):
                name = line[7:].strip().decode()
            elif line.startswith(b"data: ") and name == kind:
                return json.loads(line[6:])

    def body(self):
        return self._response.read()

    def close(self):
        self._response.close()
        self._socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
