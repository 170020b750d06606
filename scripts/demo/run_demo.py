"""Runs vantrel's main job against real local peers and shows what each one received.

A web server and an SMTP server (aiosmtpd) listen on free loopback ports; a demo settings file
sends the position by browser (a script that notes the URL), mail, HTTP with the position cookie,
and into the position log; then `vantrel acquire-send --port sim` runs on the emulated module.

usage: run_demo.py VANTREL_EXECUTABLE DEMO_FOLDER
"""
import email
import http.server
import os
import shutil
import subprocess
import sys
import threading
from email import policy

from aiosmtpd.controller import Controller


class Requests(http.server.BaseHTTPRequestHandler):
    seen = []

    def do_GET(self):
        Requests.seen.append((self.path, self.headers.get("Cookie", "")))
        body = "位置を受け付けました".encode("shift_jis")
        self.send_response(200)
        self.send_header("Content-Type", "text/plain; charset=Shift_JIS")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *args):
        pass


class Mailbox:
    messages = []

    async def handle_DATA(self, server, session, envelope):
        Mailbox.messages.append(envelope.original_content or envelope.content)
        return "250 Message accepted for delivery"


def free_port():
    import socket
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def write_settings(folder, http_port, smtp_port):
    browser = os.path.join(folder, "show-url")
    with open(browser, "w") as f:
        f.write('#!/bin/sh\nprintf "%s\\n" "$1" > "$(dirname "$0")/browser.txt"\n')
    os.chmod(browser, 0o755)
    lines = [
        "[vantrel]",
        "URLINDEX=0",
        "URL0=デモの地図;http://127.0.0.1:%d/loc;pos=N$nlE$el" % http_port,
        "BROWSERINDEX=0",
        "BROWSER0=URLを記録;%s" % browser,
        "LOCATEEASY=TRUE",
        "AUTOCONNECT=FALSE",
        "BROWSERSEND=TRUE",
        "MAILSEND=TRUE",
        "HTTPSEND=TRUE",
        "GMMSEND=FALSE",
        "CREATECOOKIE=TRUE",
        "HOSTSMTP=127.0.0.1:%d" % smtp_port,
        "FROMSMTP=vantrel@example.com",
        "TOSMTP=you@example.com",
        "SUBJECTSMTP=現在地 $YY/$MM/$DD $hh:$mm",
        "PBS=FALSE",
        "OUTPUTMSGFILE=TRUE",
        "LOGFILEDIR=%s/" % folder,
        "OUTPUTPOSLOGFILE=TRUE",
        "POSLOGDIR=%s/" % folder,
    ]
    with open(os.path.join(folder, "default.ini"), "wb") as f:
        f.write(b"\xff\xfe" + "".join(line + "\r\n" for line in lines).encode("utf-16-le"))


def show(title, text):
    print("== " + title)
    print(text.rstrip("\n"))


def main(executable, folder):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    web = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Requests)
    threading.Thread(target=web.serve_forever, daemon=True).start()
    smtp_port = free_port()
    mail = Controller(Mailbox(), hostname="127.0.0.1", port=smtp_port)
    mail.start()
    write_settings(folder, web.server_address[1], smtp_port)

    print("== vantrel acquire-send --port sim")
    sys.stdout.flush()
    env = dict(os.environ, VANTREL_HOME=folder)
    status = subprocess.call([executable, "acquire-send", "--port", "sim"], env=env)
    web.shutdown()
    mail.stop()

    browser = os.path.join(folder, "browser.txt")
    show("browser channel: the URL handed to the browser",
         open(browser).read() if os.path.exists(browser) else "(not opened)")
    show("HTTP channel: what the web server received",
         "\n".join("GET %s  Cookie: %s" % seen for seen in Requests.seen) or "(nothing)")
    for raw in Mailbox.messages:
        message = email.message_from_bytes(raw, policy=policy.default)
        part = next(p for p in message.walk() if p.get_content_type() == "text/plain")
        show("mail channel: the mail as the SMTP server received it",
             "Subject: %s\n%s" % (message["Subject"], part.get_content()))
    if not Mailbox.messages:
        show("mail channel", "(nothing received)")
    logs = sorted(name for name in os.listdir(folder) if name.endswith(".pos"))
    for name in logs:
        with open(os.path.join(folder, name), "rb") as f:
            show("position log " + name, f.read().decode("utf-16"))
    if not logs:
        show("position log", "(nothing written)")
    print("== vantrel exited with %d" % status)
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
