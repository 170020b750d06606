#!/usr/bin/python3
"""How light the windowless program is: cold start, an HTTP send against curl, peak memory.

usage: start_bench.py [--runs N] [--nm] BUILD_DIR

  expand     wall time of `vantrel expand TEMPLATE --position TEXT`, start to exit (median of N
             runs; the fastest and the median CPU time beside it). Target: at most 20 ms.
  send       `vantrel send --position TEXT` with only HTTP on, against a loopback HTTP server,
             over `curl -s -o /dev/null URL` on the same URL (ratio of the medians). Target: 1.2.
  peak RSS   the largest resident size of the windowless commands (expand, send, acquire-send
             and the windowless run, with the emulated module). Target: at most 12 MB.

  --nm       send and peak RSS again with NetworkManager on the system bus (python-dbusmock's,
             on a bus of the benchmark's own): as the benchmark's settings have it, no data-line
             connection configured (targets apply), then with one configured through
             VANTREL_NM_CONNECTION (figures only: the data-line library then loads libnm by design).

Exit status 0 when every target is met, 3 when one is missed. Run it on a quiet machine: the
figures are wall times, and other load lengthens them.
"""

import http.server
import json
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "gui"))
from settings_file import write_settings  # noqa: E402

POSITION = "N35.39.29.000E139.44.51.000/1"
TARGET_EXPAND_MS = 20.0
TARGET_SEND_RATIO = 1.2
TARGET_RSS_MB = 12.0
CONNECTION = "bench-lte"


def spawn(argv, env):
    with open(os.devnull, "wb") as null:
        return subprocess.Popen(argv, env=env, stdin=subprocess.DEVNULL, stdout=null, stderr=null)


def timed_run(argv, env):
    """(wall seconds, CPU seconds) of one run to its end."""
    start = time.perf_counter()
    process = spawn(argv, env)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - start
    if os.waitstatus_to_exitcode(status) != 0:
        raise SystemExit(f"{' '.join(argv)} failed with {os.waitstatus_to_exitcode(status)}")
    return wall, usage.ru_utime + usage.ru_stime


def series(argv, env, runs):
    """Median and fastest wall time and median CPU time of runs runs, in ms."""
    results = [timed_run(argv, env) for _ in range(runs)]
    walls = [r[0] * 1000 for r in results]
    return statistics.median(walls), min(walls), statistics.median(r[1] * 1000 for r in results)


def peak_kib(probe, argv, env, stop_after=None):
    """Peak resident size of one run, measured by peak_rss; stop_after seconds end it with SIGTERM."""
    process = subprocess.Popen([probe, *argv], env=env, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE, text=True)
    if stop_after is not None:
        time.sleep(stop_after)
        process.send_signal(signal.SIGTERM)
    _, err = process.communicate()
    lines = [line for line in err.splitlines() if line.startswith("peak_rss ")]
    if process.returncode != 0 or not lines:
        raise SystemExit(f"{' '.join(argv)} failed with {process.returncode}: {err}")
    return int(lines[-1].split()[1])


class QuietServer:
    """A loopback HTTP server in a thread of its own answering every GET with a short text."""

    def __init__(self):
        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_GET(self):
                body = b"accepted"
                self.send_response(200)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *args):
                pass

        self.httpd = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.httpd.serve_forever, daemon=True).start()
        self.url = f"http://127.0.0.1:{self.httpd.server_port}/send"


class MockNetworkManager:
    """A system bus of its own (dbus-daemon) with python-dbusmock's NetworkManager on it, knowing one
    connection that activates on request; as the tests start it (tests/support/MockNetworkManager)."""

    def __init__(self, folder):
        config = os.path.join(folder, "bus.conf")
        with open(config, "w") as f:
            f.write(f"""<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>system</type><listen>unix:path={folder}/bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>
<allow own="*"/></policy></busconfig>
""")
        self.daemon = subprocess.Popen(["/usr/bin/dbus-daemon", f"--config-file={config}", "--nofork",
                                        "--print-address=1"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self.daemon.stdout.readline().strip()
        env = {"DBUS_SYSTEM_BUS_ADDRESS": self.address, "PYTHONDONTWRITEBYTECODE": "1", "LANG": "C.UTF-8",
               "PATH": "/usr/bin:/bin"}
        template = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "support",
                                "networkmanager_mock.py")
        self.service = subprocess.Popen(["/usr/bin/python3", "-m", "dbusmock", "--template", template, "-p",
                                         json.dumps({"connections": {CONNECTION: "up"}})],
                                        env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        ping = ["/usr/bin/dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.NetworkManager",
                "/org/freedesktop/NetworkManager", "org.freedesktop.DBus.Mock.ClearCalls"]
        deadline = time.monotonic() + 10
        while subprocess.run(ping, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode:
            if time.monotonic() > deadline:
                self.close()
                raise SystemExit("the mock NetworkManager did not start (needs python3-dbusmock)")
            time.sleep(0.05)

    def close(self):
        for process in (self.service, self.daemon):
            process.terminate()
            process.wait()


def send_and_rss(vantrel, probe, env, url, runs, label):
    """The send ratio over curl and the windowless peak RSS under env; the number of targets missed."""
    curl = shutil.which("curl")
    send = [vantrel, "send", "--position", POSITION]
    send_runs, curl_runs = [], []
    # Alternating, so that a change of the machine's load falls on both alike.
    for _ in range(runs):
        send_runs.append(timed_run(send, env))
        curl_runs.append(timed_run([curl, "-s", "-o", os.devnull, url], env))
    send_median = statistics.median(r[0] * 1000 for r in send_runs)
    curl_median = statistics.median(r[0] * 1000 for r in curl_runs)
    send_cpu = statistics.median(r[1] * 1000 for r in send_runs)
    curl_cpu = statistics.median(r[1] * 1000 for r in curl_runs)
    ratio = send_median / curl_median
    print(f"send over HTTP{label}: vantrel {send_median:.1f} ms (CPU {send_cpu:.1f}), curl {curl_median:.1f} ms "
          f"(CPU {curl_cpu:.1f}): ratio {ratio:.2f}; target <= {TARGET_SEND_RATIO}")

    rss = {"expand": peak_kib(probe, [vantrel, "expand", "$nl $el", "--position", POSITION], env),
           "send": peak_kib(probe, send, env),
           "acquire-send": peak_kib(probe, [vantrel, "acquire-send", "--port", "sim"], env),
           "--windowless": peak_kib(probe, [vantrel, "--windowless", "--port", "sim"], env, stop_after=2)}
    peak = max(rss.values()) / 1024
    print(f"windowless peak RSS{label}: " + ", ".join(f"{k} {v / 1024:.1f} MB" for k, v in rss.items()) +
          f"; largest {peak:.1f} MB; target <= {TARGET_RSS_MB:.0f} MB")
    return (ratio > TARGET_SEND_RATIO) + (peak > TARGET_RSS_MB)


def main():
    args = sys.argv[1:]
    runs = 40
    with_nm = "--nm" in args
    args = [a for a in args if a != "--nm"]
    if len(args) >= 2 and args[0] == "--runs":
        runs, args = int(args[1]), args[2:]
    if len(args) != 1:
        sys.exit(__doc__)
    vantrel = os.path.join(os.path.abspath(args[0]), "vantrel")
    probe = os.path.join(os.path.abspath(args[0]), "bench", "peak_rss")
    home = tempfile.mkdtemp(prefix="vantrel-bench-")
    try:
        server = QuietServer()
        write_settings(vantrel, home, {
            "URLINDEX": "0", "URL0": f"local;{server.url};nl=$nl",
            "HTTPSEND": "TRUE", "BROWSERSEND": "FALSE", "MAILSEND": "FALSE", "GMMSEND": "FALSE",
            "AUTOCONNECT": "FALSE", "CONNECTWAIT": "0", "NOMSG": "TRUE", "OUTPUTMSGFILE": "FALSE"})
        env = {"VANTREL_HOME": home, "PATH": "/usr/bin:/bin", "LANG": "C.UTF-8"}
        missed = 0

        expand = [vantrel, "expand", "$nl $el", "--position", POSITION]
        median, fastest, cpu = series(expand, env, runs)
        print(f"expand cold start: median {median:.1f} ms (fastest {fastest:.1f} ms, CPU {cpu:.1f} ms); "
              f"target <= {TARGET_EXPAND_MS:.0f} ms")
        missed += median > TARGET_EXPAND_MS

        url = server.url + "?nl=35.39.29.000"
        missed += send_and_rss(vantrel, probe, env, url, runs, "")
        if with_nm:
            nm = MockNetworkManager(home)
            try:
                nm_env = dict(env, DBUS_SYSTEM_BUS_ADDRESS=nm.address)
                missed += send_and_rss(vantrel, probe, nm_env, url, runs,
                                       " (NetworkManager, no connection configured)")
                send_and_rss(vantrel, probe, dict(nm_env, VANTREL_NM_CONNECTION=CONNECTION), url, runs,
                             " (NetworkManager, connection configured; figures only)")
            finally:
                nm.close()
        sys.exit(3 if missed else 0)
    finally:
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    main()
