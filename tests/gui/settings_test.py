#!/usr/bin/python3
"""The settings sheet and the list editor of the built vantrel, driven through the accessibility tree.

usage: settings_test.py VANTREL

  sheet   "メニュー" -> "詳細設定", page "自動送信": tick "一定時間ごとに「取得～送信」を実行", type an
          interval, OK; default.ini on disk then carries both values
  editor  the URL list's "編集": a title with ";" is refused with message 3003, a good row is added,
          OK; the URL drop-down then offers it and shows it chosen
"""

import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import Desktop, wait_for  # noqa: E402
from settings_file import write_settings  # noqa: E402

REFUSED = "; は区切り文字として使用するので利用できません。"


def step(name):
    print(f"--- {name}", flush=True)


def read_settings(home):
    with open(os.path.join(home, "default.ini"), encoding="utf-16") as f:
        return dict(line.split("=", 1) for line in f.read().splitlines() if "=" in line)


def modal(d, app, name):
    return wait_for(lambda: d.find(app, role="dialog", name=name, showing=True), what=f"the dialog {name}")


def type_into(d, node, text):
    d.click(node)
    d.key("ctrl+a")
    d.xdotool("type", "--delay", "20", text)
    wait_for(lambda: d.text(node) == text, what=f"{text!r} typed")


def main(vantrel):
    with Desktop() as d:
        home = os.path.join(d.folder, "home")
        os.makedirs(home)
        write_settings(vantrel, home, {"AUTOSEND": "FALSE", "AUTOSENDINTERVAL": "21600000", "NOMSG": "FALSE",
                                       "AUTOCONNECT": "FALSE", "STARTUPALL": "FALSE"})
        program = d.start([vantrel, "--port", "sim"], env={"VANTREL_HOME": home})
        app = d.application(program.pid)
        frame = d.find(app, role="frame", name="vantrel")
        menus = d.listen("object:state-changed:showing")

        step("sheet")
        d.press(d.find(frame, "push button", "メニュー"))
        d.click(wait_for(lambda: d.popup_item(menus, "詳細設定"), what="the menu"))
        sheet = modal(d, app, "詳細設定")
        d.click(d.wait_find(sheet, "page tab", "自動送信"))
        auto_send = d.wait_find(sheet, "check box", "一定時間ごとに「取得～送信」を実行")
        interval = d.wait_find(sheet, "text", "実行間隔")
        assert not d.state(interval, "enabled"), "the interval is editable while auto-send is off"
        d.click(auto_send)
        wait_for(lambda: d.state(interval, "enabled"), what="the interval box to be enabled")
        type_into(d, interval, "3600000")
        d.click(d.wait_find(sheet, "push button", "OK"))
        wait_for(lambda: not d.find(app, role="dialog", showing=True), what="the sheet to close")
        saved = wait_for(lambda: (lambda s: s if s.get("AUTOSEND") == "TRUE" else None)(read_settings(home)),
                         what="AUTOSEND=TRUE on disk")
        assert saved["AUTOSENDINTERVAL"] == "3600000", saved

        step("editor")
        d.click(d.find_all(frame, "push button", "編集")[0])  # the URL list's, above the browsers'
        editor = modal(d, app, "リストの編集")
        title = d.wait_find(editor, "text", "TITLE")
        address = d.wait_find(editor, "text", "INPUT")
        type_into(d, title, "a;b")
        type_into(d, address, "http://127.0.0.1:9/x")
        d.click(d.wait_find(editor, "push button", "追加"))
        box = wait_for(lambda: d.find(app, role="alert", showing=True) or d.find(app, role="dialog", name="エラー", showing=True),
                       what="message 3003")
        assert any(d.text(node) == REFUSED for node, _ in d.walk(box)), d.dump(box)
        d.key("Return")
        wait_for(lambda: not d.find(app, role="alert", showing=True), what="the message to close")
        type_into(d, title, "good")
        d.click(d.wait_find(editor, "push button", "追加"))
        d.click(d.wait_find(editor, "push button", "OK"))
        wait_for(lambda: not d.find(app, role="dialog", showing=True), what="the editor to close")
        urls = d.find_all(frame, "combo box")[0]  # a combo box is named by the row it shows
        offered = [node.get_name() for node, _ in d.walk(urls) if d.role(node) == "list item"]
        assert offered[-1] == "good" and "a;b" not in offered, offered
        assert urls.get_name() == "good", "the added row is not the chosen one"
        d.press(d.find(frame, "push button", "メニュー"))
        d.press(wait_for(lambda: d.popup_item(menus, "終了"), what="the menu"))
        assert program.wait(15) == 0
    print("settings test passed")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(os.path.abspath(sys.argv[1]))
