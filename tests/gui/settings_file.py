"""The settings file of a vantrel program folder, for tests and benchmarks that run the program."""

import os
import subprocess


def write_settings(vantrel, home, changes):
    """Writes HOME/default.ini: the program's own defaults (as `vantrel save-settings` writes them)
    with the keys in changes set to their values; a key the file lacks is added."""
    path = os.path.join(home, "default.ini")
    subprocess.run([vantrel, "save-settings", path], env={"VANTREL_HOME": home, "PATH": "/usr/bin:/bin"}, check=True)
    with open(path, encoding="utf-16") as f:
        lines = f.read().splitlines()
    keys = {line.split("=", 1)[0] for line in lines if "=" in line}
    lines = [f"{line.split('=', 1)[0]}={changes[line.split('=', 1)[0]]}"
             if "=" in line and line.split("=", 1)[0] in changes else line for line in lines]
    lines += [f"{k}={v}" for k, v in changes.items() if k not in keys]
    # The program's files are UTF-16LE with a byte-order mark and CR LF line ends.
    with open(path, "w", encoding="utf-16-le", newline="") as f:
        f.write("\ufeff" + "\r\n".join(lines) + "\r\n")
