"""Test helper for the mail tests: a real SMTP server's handler that keeps every message it
receives, and a reader that decodes one the way a mail program would.

Server:  python3 -m aiosmtpd -n -l 127.0.0.1:PORT -c mail_sink.FileSink FOLDER
Reader:  python3 mail_sink.py MESSAGE SUBJECT_OUT BODY_OUT   (UTF-8 outputs)
"""
import email
import os
import sys
from email import policy


class FileSink:
    def __init__(self, folder):
        self.folder = folder
        self.count = 0

    @classmethod
    def from_cli(cls, parser, *args):
        if len(args) != 1:
            parser.error("FileSink needs the folder to store messages in")
        return cls(args[0])

    async def handle_DATA(self, server, session, envelope):
        self.count += 1
        path = os.path.join(self.folder, "mail%d.eml" % self.count)
        # Written under another name first, so a reader never sees half a message.
        with open(path + ".part", "wb") as f:
            f.write(envelope.original_content or envelope.content)
        os.replace(path + ".part", path)
        return "250 Message accepted for delivery"


def decode(message_path, subject_path, body_path):
    with open(message_path, "rb") as f:
        message = email.message_from_binary_file(f, policy=policy.default)
    part = next(p for p in message.walk() if p.get_content_type() == "text/plain")
    with open(subject_path, "w", encoding="utf-8", newline="") as f:
        f.write(str(message["Subject"]))
    with open(body_path, "w", encoding="utf-8", newline="") as f:
        f.write(part.get_content())


if __name__ == "__main__":
    decode(*sys.argv[1:4])
