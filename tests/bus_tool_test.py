#!/usr/bin/env python3
"""intfvelmor-bus end to end on a private dbus-daemon: serve answers from a
canned file and publishes, listen prints the notifications, call prints the
answers, and every failure of a call exits non-zero with one line.

    bus_tool_test.py PATH/TO/intfvelmor-bus PATH/TO/dbus-daemon
"""
import json
import os
import select
import signal
import subprocess
import sys
import tempfile
import time
import unittest

TOOL, DAEMON = sys.argv[1], sys.argv[2]
del sys.argv[1:3]

# The private daemon the shell scripts use too: started on a folder, stopped
# by that folder.
PRIVATE_BUS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tools",
                           "private_bus.sh")


def private_bus(command, folder):
    """Runs private_bus.sh COMMAND FOLDER; the address for start."""
    r = subprocess.run(["sh", PRIVATE_BUS, command, folder], capture_output=True, text=True,
                       env=dict(os.environ, DBUS_DAEMON=DAEMON), timeout=30)
    assert r.returncode == 0, f"private_bus.sh {command} failed: {r.stderr}"
    return r.stdout.strip()


def bus_pid(folder):
    with open(os.path.join(folder, "bus.pid")) as f:
        return int(f.read())

CCA = {"res": {"v3": 1000, "v4": 412, "v5": 233, "v6": 97, "v7": 36}}
PAIRING = {"value": 1}
BEACON = {"mac": "aa:bb:cc:dd:ee:01", "value1": -62, "value2": 3}
CANNED = {
    "commands": {
        "getCCAStatistic": CCA,
        "temporarilyBlackList": {"status": 0},
        "configureAccessPoint": {"code": 5},
    },
    "notifications": [
        {"message": "meshTUKExtenderPairing", "body": PAIRING},
        {"message": "beaconReport", "body": BEACON},
    ],
    "interval": 0.2,
}


def read_line(proc, stream, seconds=10):
    """One line of a running process's stream, or None after `seconds`."""
    pipe = proc.stdout if stream == "out" else proc.stderr
    ready, _, _ = select.select([pipe], [], [], seconds)
    return pipe.readline() if ready else None


class BusTool(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # Cleanups run last first, and also when this fails half way: the
        # parties, then the daemon, then the folder.
        cls.dir = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.dir.cleanup)
        cls.address = private_bus("start", cls.dir.name)
        cls.addClassCleanup(private_bus, "stop", cls.dir.name)
        assert cls.address, "dbus-daemon gave no address"
        cls.procs = []
        cls.addClassCleanup(cls.stop_parties)
        canned = os.path.join(cls.dir.name, "canned.json")
        with open(canned, "w") as f:
            json.dump(CANNED, f)
        # Listeners first, so that the first publication reaches them.
        cls.all = cls.start(["listen"], "listening")
        cls.beacons = cls.start(["listen", "--from", "wifi", "beaconReport"], "listening")
        cls.serve = cls.start(["serve", "wifi", canned], "serving")

    @classmethod
    def start(cls, args, ready):
        p = subprocess.Popen([TOOL, "--bus", cls.address] + args, stdout=subprocess.PIPE,
                             stderr=subprocess.PIPE, text=True)
        cls.procs.append(p)
        line = read_line(p, "err")
        assert line and ready in line, f"{args[0]} did not start: {line!r}"
        return p

    @classmethod
    def stop_parties(cls):
        for p in cls.procs:
            p.send_signal(signal.SIGCONT)
            p.terminate()
        for p in cls.procs:
            try:
                p.wait(5)
            except subprocess.TimeoutExpired:
                p.kill()
                p.wait()
            p.stdout.close()
            p.stderr.close()

    def tool(self, *args, timeout=20):
        r = subprocess.run([TOOL, "--bus", self.address] + list(args), capture_output=True,
                           text=True, timeout=timeout)
        return r.returncode, r.stdout, r.stderr

    def assertFails(self, args, status, *words):
        rc, out, err = self.tool(*args)
        self.assertEqual(rc, status, err)
        self.assertEqual(out, "")
        lines = err.splitlines()
        self.assertEqual(len(lines), 1, err)  # one line says why
        for w in words:
            self.assertIn(w, lines[0])
        return lines[0]

    def served_request(self):
        line = read_line(self.serve, "out")
        self.assertIsNotNone(line, "the service printed no request")
        return json.loads(line)

    # ---- serve and call ------------------------------------------------------------

    def test_call_prints_the_canned_answer_and_the_service_gets_the_request(self):
        rc, out, err = self.tool("call", "wifi", "getCCAStatistic")
        self.assertEqual((rc, err), (0, ""))
        self.assertEqual(json.loads(out), {"message": "getCCAStatistic", "type": "res", "body": CCA})
        self.assertEqual(self.served_request(),
                         {"message": "getCCAStatistic", "type": "req", "body": {}})

        req = {"mac": "aa:bb:cc:dd:ee:03", "value": 300}
        rc, out, err = self.tool("call", "wifi", "temporarilyBlackList", json.dumps(req))
        self.assertEqual((rc, err), (0, ""))
        self.assertEqual(json.loads(out)["body"], {"status": 0})
        self.assertEqual(self.served_request()["body"], req)

    # ---- listen --------------------------------------------------------------------

    def test_listen_prints_each_notification_as_one_json_line(self):
        seen = []
        while len(seen) < 4:
            line = read_line(self.all, "out")
            self.assertIsNotNone(line, f"only {seen} arrived")
            seen.append(json.loads(line))
        self.assertIn({"message": "meshTUKExtenderPairing", "type": "req", "body": PAIRING}, seen)
        self.assertIn({"message": "beaconReport", "type": "req", "body": BEACON}, seen)

    def test_listen_for_one_notification_gets_only_that_one(self):
        for _ in range(3):
            line = read_line(self.beacons, "out")
            self.assertIsNotNone(line)
            self.assertEqual(json.loads(line)["message"], "beaconReport")

    # ---- failures of a call: non-zero status, one line -----------------------------

    def test_a_non_zero_code_fails_the_call(self):
        self.assertFails(["call", "wifi", "configureAccessPoint"], 1, "configureAccessPoint", "5")
        self.served_request()

    def test_a_refused_request_body_fails_before_sending(self):
        self.assertFails(["call", "wifi", "temporarilyBlackList", '{"bogus": 1}'], 1, "bogus",
                         "temporarilyBlackList request has no such member")
        self.assertFails(["call", "wifi", "getCCAStatistic", '{"res": {}}'], 1, "no members")
        self.assertFails(["call", "wifi", "temporarilyBlackList", '{"value": "x"}'], 1, "value")
        self.assertFails(["call", "wifi", "getCCAStatistic", "{not json"], 1)

    def test_a_missing_service_or_command_fails_the_call(self):
        self.assertFails(["call", "nosuch", "getCCAStatistic"], 1, "nosuch")
        # wifi serves only what the file answers.
        self.assertFails(["call", "wifi", "getChannelCreated"], 1, "getChannelCreated")

    def test_a_service_that_does_not_answer_times_out(self):
        self.serve.send_signal(signal.SIGSTOP)
        try:
            start = time.monotonic()
            self.assertFails(["--timeout", "300", "call", "wifi", "getCCAStatistic"], 1, "300 ms")
            self.assertLess(time.monotonic() - start, 10)
        finally:
            self.serve.send_signal(signal.SIGCONT)
        # The stopped service gets the call when it runs again.
        self.served_request()

    def test_a_serve_file_is_checked_before_serving(self):
        cases = [
            ({"commandz": {}}, "commandz"),
            ({"commands": {"beaconReport": {}}}, "notification"),
            ({"commands": {"getCCAStatistic": {"code": 0}}}, "code"),
            ({"commands": {"getCCAStatistic": {"res": {"v3": -1}}}}, "v3"),
            ({"notifications": [{"message": "getCCAStatistic"}]}, "command"),
            ({"interval": "often"}, "interval"),
        ]
        for i, (content, word) in enumerate(cases):
            with self.subTest(content=content):
                path = os.path.join(self.dir.name, f"bad{i}.json")
                with open(path, "w") as f:
                    json.dump(content, f)
                self.assertFails(["serve", "other", path], 1, word)

    def test_an_envelope_is_a_request_body_too(self):
        req = {"message": "temporarilyBlackList", "type": "req",
               "body": {"mac": "aa:bb:cc:dd:ee:04", "value": 60}}
        rc, out, err = self.tool("call", "wifi", "temporarilyBlackList", json.dumps(req))
        self.assertEqual((rc, err), (0, ""))
        self.assertEqual(self.served_request(), req)
        # An envelope naming another message is refused.
        req["message"] = "getCCAStatistic"
        self.assertFails(["call", "wifi", "temporarilyBlackList", json.dumps(req)], 1,
                         "getCCAStatistic")

    def test_listen_fails_when_the_bus_goes_and_ends_cleanly_when_stopped(self):
        folder = os.path.join(self.dir.name, "second-bus")
        os.mkdir(folder)
        address = private_bus("start", folder)
        try:
            for stop, status in ((lambda p: p.send_signal(signal.SIGINT), 0),
                                 (lambda p: os.kill(bus_pid(folder), signal.SIGKILL), 1)):
                p = subprocess.Popen([TOOL, "--bus", address, "listen"], stdout=subprocess.PIPE,
                                     stderr=subprocess.PIPE, text=True)
                self.assertIn("listening", read_line(p, "err") or "")
                stop(p)
                self.assertEqual(p.wait(10), status)
                p.stdout.close()
                p.stderr.close()
        finally:
            private_bus("stop", folder)

    def test_bad_command_lines_exit_2(self):
        self.assertFails(["call", "wifi"], 2)
        self.assertFails(["frobnicate"], 2)
        self.assertFails(["call", "wifi", "noSuchCommand"], 2, "noSuchCommand")
        self.assertFails(["call", "wifi", "beaconReport"], 2, "notification")
        self.assertFails(["listen", "getCCAStatistic"], 2, "command")
        self.assertFails(["--bus", "x", "--system", "listen"], 2)


if __name__ == "__main__":
    unittest.main()
