"""A private desktop for tests that drive a real window from outside.

Desktop() starts a virtual X server (Xvfb), a session bus of its own with the accessibility bus
behind it, and optionally a tray host (trayer); programs started with Desktop.start() see only
that desktop. Their widgets are found through the accessibility tree (AT-SPI) by role and name,
pressed through their actions or clicked with xdotool at their place on the screen, and read
back through the text interface.

libatspi binds to the session bus the first time it is used, so one test process drives one
Desktop; create it before anything else touches Atspi. Debian's /usr/bin/python3 carries `gi`.
"""

import ctypes
import os
import shutil
import signal
import subprocess
import tempfile
import time

PR_SET_CHILD_SUBREAPER = 36


class Timeout(AssertionError):
    pass


def wait_for(condition, timeout=10.0, step=0.05, what="condition"):
    """Polls condition() until it returns something true, which is returned."""
    end = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Timeout(f"timed out after {timeout} s waiting for {what}")
        time.sleep(step)


class Desktop:
    def __init__(self, tray=False, screen="1024x768x24", accessibility=True):
        self.accessibility = accessibility
        # Whatever D-Bus starts on demand becomes our child once its parent exits; we reap it.
        ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
        self.folder = tempfile.mkdtemp(prefix="vantrel-desktop-")
        self._processes = []
        self.env = self._environment()
        self._start_x(screen)
        self._start_bus()
        if tray:
            self._spawn(["trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request",
                         "--height", "24", "--transparent", "false"])
            wait_for(lambda: "trayer" in self.x_tree(), what="the tray host")
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi  # after the bus exists
        self.Atspi = Atspi

    # ---- set-up ----

    def _environment(self):
        env = {k: v for k, v in os.environ.items() if k in ("PATH", "LANG", "LC_ALL", "HOME")}
        for name in ("XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"):
            env[name] = os.path.join(self.folder, name.lower())
            os.makedirs(env[name], mode=0o700)
        env["GSETTINGS_BACKEND"] = "memory"
        # Without it a Qt program never joins the accessibility tree; with it, it always does.
        if self.accessibility:
            env["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        env.setdefault("LANG", "C.UTF-8")
        return env

    def _spawn(self, argv, **kwargs):
        process = subprocess.Popen(argv, env=self.env, stdin=subprocess.DEVNULL, stdout=kwargs.pop("stdout", subprocess.DEVNULL),
                                   stderr=kwargs.pop("stderr", subprocess.DEVNULL), **kwargs)
        self._processes.append(process)
        return process

    def _start_x(self, screen):
        read_end, write_end = os.pipe()
        self._spawn(["Xvfb", "-displayfd", str(write_end), "-screen", "0", screen, "-nolisten", "tcp", "-noreset"],
                    pass_fds=(write_end,))
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("Xvfb did not start")
        self.env["DISPLAY"] = ":" + number
        os.environ["DISPLAY"] = self.env["DISPLAY"]

    def _start_bus(self):
        bus = self._spawn(["dbus-daemon", "--session", "--nofork", "--print-address=1",
                           "--address=unix:path=" + os.path.join(self.folder, "bus")], stdout=subprocess.PIPE, text=True)
        address = bus.stdout.readline().strip()
        if not address:
            raise RuntimeError("the session bus did not start")
        self.env["DBUS_SESSION_BUS_ADDRESS"] = address
        # libatspi in this process reads the environment; helpers D-Bus starts copy the bus's.
        for name in ("DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR", "GSETTINGS_BACKEND"):
            os.environ[name] = self.env[name]
        # Asking for the accessibility bus makes D-Bus start it.
        subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                        "org.a11y.Bus.GetAddress"], env=self.env, check=True, stdout=subprocess.DEVNULL)

    # ---- programs ----

    def start(self, argv, env=None, **kwargs):
        """Starts a program on this desktop; env adds to the desktop's environment."""
        full = dict(self.env)
        full.update(env or {})
        process = subprocess.Popen(argv, env=full, stdin=subprocess.DEVNULL, **kwargs)
        self._processes.append(process)
        return process

    def application(self, pid, timeout=15.0):
        """The accessible application of process pid, once it shows a frame."""
        def find():
            desktop = self.Atspi.get_desktop(0)
            for i in range(desktop.get_child_count()):
                app = desktop.get_child_at_index(i)
                try:
                    if app is not None and app.get_process_id() == pid and self.find(app, role="frame", showing=True):
                        return app
                except Exception:  # an application that went away while we looked
                    continue
            return None
        return wait_for(find, timeout, what=f"the window of process {pid}")

    # ---- the accessibility tree ----

    def role(self, node):
        return node.get_role_name()

    def showing(self, node):
        return node.get_state_set().contains(self.Atspi.StateType.SHOWING)

    def state(self, node, name):
        return node.get_state_set().contains(getattr(self.Atspi.StateType, name.upper()))

    def walk(self, node, depth=0):
        yield node, depth
        for i in range(node.get_child_count()):
            child = node.get_child_at_index(i)
            if child is not None:
                yield from self.walk(child, depth + 1)

    def find_all(self, root, role=None, name=None, showing=None):
        found = []
        for node, _ in self.walk(root):
            if role is not None and self.role(node) != role:
                continue
            if name is not None and node.get_name() != name:
                continue
            if showing is not None and self.showing(node) != showing:
                continue
            found.append(node)
        return found

    def find(self, root, role=None, name=None, showing=None):
        nodes = self.find_all(root, role, name, showing)
        return nodes[0] if nodes else None

    def wait_find(self, root, role=None, name=None, timeout=10.0):
        return wait_for(lambda: self.find(root, role, name, showing=True), timeout,
                        what=f"{role or 'a node'} named {name!r}")

    def text(self, node):
        interface = node.get_text_iface()
        return interface.get_text(0, interface.get_character_count()) if interface else node.get_name()

    def dump(self, root):
        return "\n".join("  " * depth + f"{self.role(node)} {node.get_name()!r}" for node, depth in self.walk(root))

    # ---- acting ----

    def press(self, node):
        """The node's first action (a button's press); returns once the program has done it.
        Not for an action that opens a modal dialog: use click() for that."""
        node.get_action_iface().do_action(0)

    def centre(self, node):
        extents = node.get_extents(self.Atspi.CoordType.SCREEN)
        return extents.x + extents.width // 2, extents.y + extents.height // 2

    def click(self, node):
        """A real mouse click at the node's place; returns at once."""
        x, y = self.centre(node)
        self.xdotool("mousemove", str(x), str(y), "click", "1")

    def key(self, keys):
        self.xdotool("key", keys)

    def xdotool(self, *args):
        return subprocess.run(["xdotool", *args], env=self.env, check=True, stdout=subprocess.PIPE, text=True).stdout

    def window_id(self, name):
        """The X window of the visible top-level window titled exactly name. A popup that goes away
        while the search walks the windows makes that search fail, so it is asked again."""
        def search():
            found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{name}$"], env=self.env,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout.split()
            return found[0] if found else None
        return wait_for(search, what=f"the window {name!r}")

    def x_tree(self):
        return subprocess.run(["xwininfo", "-root", "-tree"], env=self.env, stdout=subprocess.PIPE, text=True).stdout

    def screenshot(self, path, window_name=None):
        target = "root"
        if window_name:
            target = self.xdotool("search", "--onlyvisible", "--name", window_name).split()[0]
        subprocess.run(["import", "-window", target, path], env=self.env, check=True)

    # ---- events ----

    def listen(self, event_type):
        """Collects events of event_type (e.g. "object:state-changed:showing") from now on: the
        list fills while self.pump() runs. Pop-up menus announce themselves only this way."""
        events = []
        listener = self.Atspi.EventListener.new(lambda event: events.append((time.monotonic(), event)))
        listener.register(event_type)
        self._listeners = getattr(self, "_listeners", []) + [listener]
        return events

    def pump(self, seconds=0.0):
        """Delivers the accessibility events that arrived (for listen())."""
        from gi.repository import GLib
        context = GLib.MainContext.default()
        end = time.monotonic() + seconds
        while True:
            while context.pending():
                context.iteration(False)
            if time.monotonic() >= end:
                return
            time.sleep(0.02)

    def popups(self, events):
        """The pop-up menus that showed, oldest first, as (time, node), from listen()'s events."""
        self.pump()
        shown = []
        for t, event in list(events):
            try:
                if event.detail1 == 1 and event.source is not None and self.role(event.source) == "popup menu":
                    shown.append((t, event.source))
            except Exception:  # an object that has gone since (a closed dialog's parts)
                continue
        return shown

    def popup_item(self, events, name):
        """The item named name of the last pop-up menu that showed, or None."""
        shown = self.popups(events)
        return self.find(shown[-1][1], role="menu item", name=name) if shown else None

    # ---- the tray ----

    def tray_icon(self, name):
        """The X window of the icon that the program named name put into the tray host, or None.
        The tray host embeds the icon's own window a few levels below the root."""
        for line in self.x_tree().splitlines():
            indent = len(line) - len(line.lstrip())
            if indent > 8 and f'"{name}": ("{name}"' in line:
                return line.split()[0]
        return None

    # ---- tear-down ----

    def close(self):
        # The programs before the desktop's own processes, the X server last.
        for process in reversed(self._processes):
            if process.poll() is None:
                process.send_signal(signal.SIGTERM)
            try:
                process.wait(timeout=5)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        # What D-Bus started on demand (the accessibility bus and its registry) came to us.
        deadline = time.monotonic() + 5
        while time.monotonic() < deadline:
            try:
                pid, _ = os.waitpid(-1, os.WNOHANG)
            except ChildProcessError:
                break
            if pid == 0:
                for child in _children():
                    os.kill(child, signal.SIGTERM)
                time.sleep(0.05)
        shutil.rmtree(self.folder, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


def _children():
    mine = str(os.getpid())
    found = []
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                with open(f"/proc/{entry}/stat") as stat:
                    fields = stat.read().rsplit(")", 1)[1].split()
                if fields[1] == mine:
                    found.append(int(entry))
            except OSError:
                continue
    return found
