#!/usr/bin/python3
"""The built vantrel window in a real X server, driven from outside through the accessibility tree.

usage: window_test.py VANTREL

One desktop (Xvfb, a session bus, a tray host) for every step, in this order:
  acquire-send  "取得～送信" with the emulated module and a local HTTP server that answers slowly:
                the request arrives, the result text appears in 1014, the window answers the
                accessibility bus while the send waits, and a click on "メニュー" made meanwhile
                acts only once the send is over; menu 102 then shows its entries and separators
  version       Ctrl+A opens the version dialog of a wide screen (106), Escape closes it
  tray          the icon is in the tray; a click on it brings the window to the front
  second        a second vantrel ends with 0 and the first one stays
  close         "終了" from the menu: the program ends with 0 and its tray icon goes
"""

import http.server
import os
import sys
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import Desktop, wait_for  # noqa: E402
from settings_file import write_settings  # noqa: E402

POSITION_NL = "35.39.29.000"  # what the emulated module reports by default
MENU = ["取得", "取得/送信", "-", "開く", "保存", "-", "位置情報をクリップボードへコピー", "位置情報で新規メールを作成",
        "-", "詳細設定", "-", "バージョン情報", "-", "終了"]


class SlowServer:
    """An HTTP server on loopback that records each request and answers after a delay."""

    def __init__(self, delay):
        server = self
        self.requests = []
        self.answered_at = None

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                server.requests.append((time.monotonic(), self.path))
                time.sleep(delay)
                body = b"accepted"
                self.send_response(200)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)
                server.answered_at = time.monotonic()

            def log_message(self, *args):
                pass

        self.httpd = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=self.httpd.serve_forever, daemon=True).start()
        self.url = f"http://127.0.0.1:{self.httpd.server_port}/send"


def step(name):
    print(f"--- {name}", flush=True)


def main(vantrel):
    server = SlowServer(delay=3.0)
    with Desktop(tray=True) as d:
        home = os.path.join(d.folder, "home")
        os.makedirs(home)
        write_settings(vantrel, home, {
            "URLINDEX": "0", "URL0": f"local;{server.url};nl=$nl", "URL1": "", "URL2": "",
            "HTTPSEND": "TRUE", "BROWSERSEND": "FALSE", "MAILSEND": "FALSE", "GMMSEND": "FALSE",
            "AUTOCONNECT": "FALSE", "LOCATEEASY": "TRUE", "EPGETCNT": "1", "CONNECTWAIT": "0", "NOMSG": "TRUE"})
        program = d.start([vantrel, "--port", "sim"], env={"VANTREL_HOME": home})
        app = d.application(program.pid)
        frame = d.find(app, role="frame", name="vantrel")
        menus = d.listen("object:state-changed:showing")

        step("acquire-send")
        # Found before the send: while a step waits, each question to the window takes a while.
        result = d.find(frame, "text", "1014")
        menu_key = d.find(frame, "push button", "メニュー")
        d.click(d.wait_find(frame, "push button", "取得～送信"))
        wait_for(lambda: server.requests, 20, what="the HTTP request")
        assert server.requests[0][1] == f"/send?nl={POSITION_NL}", server.requests
        # While the send waits for the server the window answers, but a click is held back.
        assert f"N{POSITION_NL}E" in d.text(result), d.text(result)
        d.click(menu_key)
        assert server.answered_at is None, "the server answered before the click was made: no test"
        shown_at, menu = wait_for(lambda: d.popups(menus), 10, what="the menu")[0]
        assert shown_at > server.answered_at, "the menu opened while the send was still waiting"
        entries = ["-" if d.role(item) == "separator" else item.get_name()
                   for item in (menu.get_child_at_index(i) for i in range(menu.get_child_count()))]
        assert entries == MENU, entries
        d.key("Escape")

        step("version")
        d.xdotool("windowfocus", d.window_id("vantrel"))
        d.key("ctrl+a")
        dialog = wait_for(lambda: d.find(app, role="dialog", name="バージョン情報", showing=True), what="the version dialog")
        labels = [node.get_name() for node in d.find_all(dialog, role="label")]
        assert labels[:2] == ["vantrel", "Version 0.1.0"] and labels[2].startswith("Build "), labels
        extents = dialog.get_extents(d.Atspi.CoordType.SCREEN)
        assert extents.width > extents.height * 3, "not the wide layout"
        d.key("Escape")
        wait_for(lambda: not d.find(app, role="dialog", showing=True), what="the dialog to close")

        step("tray")
        tray = wait_for(lambda: d.tray_icon("vantrel"), what="the tray icon")
        d.xdotool("windowfocus", tray)  # the window loses the focus
        wait_for(lambda: not d.state(frame, "active"), what="the window to lose the focus")
        d.xdotool("mousemove", "--window", tray, "5", "5", "click", "1")
        wait_for(lambda: d.state(frame, "active"), what="the window to come to the front")

        step("second")
        second = d.start([vantrel], env={"VANTREL_HOME": home})
        assert second.wait(15) == 0
        assert program.poll() is None, "the first instance ended"

        step("close")
        del menus[:]
        d.press(d.find(frame, "push button", "メニュー"))
        d.press(wait_for(lambda: d.popup_item(menus, "終了"), what="the menu"))
        assert program.wait(15) == 0
        assert not d.tray_icon("vantrel"), "the tray icon stayed"
    print("window test passed")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(os.path.abspath(sys.argv[1]))
