#!/usr/bin/python3
"""Takes the README's screenshot of the window: vantrel in a virtual X server (Xvfb), with the
emulated module, after one press of "位置情報取得".

usage: scripts/screenshot.py [BUILD_DIR [OUTPUT_PNG]]    (defaults: build, docs/window.png)

Needs what the window test needs (scripts/setup-debian.sh installs it) and a built vantrel.
"""

import os
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests", "gui"))
from desktop import Desktop, wait_for  # noqa: E402


def main():
    build = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build"))
    output = os.path.abspath(sys.argv[2] if len(sys.argv) > 2 else os.path.join(ROOT, "docs", "window.png"))
    with Desktop(tray=True) as d:
        home = os.path.join(d.folder, "home")
        os.makedirs(home)
        program = d.start([os.path.join(build, "vantrel"), "--port", "sim"], env={"VANTREL_HOME": home})
        app = d.application(program.pid)
        result = d.find(app, "text", "1014")
        d.click(d.find(app, "push button", "位置情報取得"))
        wait_for(lambda: "\n" in d.text(result), 20, what="the position in the result box")
        d.xdotool("mousemove", "600", "400")  # no hover highlight in the picture
        raw = os.path.join(d.folder, "window.png")
        d.screenshot(raw, window_name="^vantrel$")
        # Metadata with dates would change the file on every run.
        subprocess.run(["convert", raw, "-strip", output], check=True)
    print(output)


if __name__ == "__main__":
    main()
