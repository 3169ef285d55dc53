# SPDX-License-Identifier: GPL-3.0-or-later
"""A small made-up home folder: what the desktop tests, ./run without a display and the pictures search in."""
from __future__ import annotations

import json
import os
import pathlib
import struct
import zlib

FILES = {
    "Documents/Reports/Budget overview.ods": "",
    "Documents/Reports/Cover letter.odt": "",
    "Documents/Reports/diagram.svg": '<svg xmlns="http://www.w3.org/2000/svg" width="8" height="8"/>\n',
    "Documents/Reports/Q3 summary.pdf": "%PDF-1.4\n%%EOF\n",
    "Documents/Reports/README.md": "# Reports\n",
    "Documents/Reports/2023/January.txt": "January\n",
    "Documents/Reports/2024/February.txt": "February\n",
    "Documents/Work/Report 2024.odt": "",
    "Documents/Work/archive/2023/old drafts/report-final (2).txt": "The final one, again.\n",
    "Documents/University/Thesis draft.md": "# Draft\n",
    "Documents/Invoices/Invoice 17.txt": "17\n",
    "Projects/billing/src/report_builder.py": "def build():\n    return []\n",
    "Projects/atlas/bug-reports/first.txt": "It does not start.\n",
    "Projects/atlas/docs/Reporting guidelines.md": "# Guidelines\n",
    "Projects/atlas/src/reportgen.cpp": "int main() { return 0; }\n",
    "Downloads/Annual Report Größenordnung.pdf": "%PDF-1.4\n%%EOF\n",
    "Music/Nightfall.ogg": "",
    ".hidden-notes/report-secret.txt": "not to be found\n",
}
PICTURES = {"Pictures/report-cover.png": (240, 160), "Pictures/Team photo.png": (320, 200)}

# Newest first; whatever is not named is older. Times decide between names that match alike.
NEWEST_FIRST = ("Documents/Reports", "Documents/Work/Report 2024.odt",
                "Documents/Work/archive/2023/old drafts/report-final (2).txt", "Pictures/report-cover.png",
                "Projects/billing/src/report_builder.py", "Downloads/Annual Report Größenordnung.pdf",
                "Projects/atlas/bug-reports", "Projects/atlas/docs/Reporting guidelines.md",
                "Projects/atlas/src/reportgen.cpp")
NEWEST_TIME = 1_720_000_000  # seconds since 1970
DAY = 86_400

ONBOARDING_DONE = {"showMenuBarIcon": True, "onboarding": 5, "selectedSettingsTab": 0}

OPENER_ENTRY = """[Desktop Entry]
Type=Application
Name=Sample Viewer
Exec={script} %F
MimeType={types}
NoDisplay=true
"""
OPENER_SCRIPT = """#!/bin/sh
# Writes what it was asked to open, whole or not at all.
printf '%s\\n' "$@" > '{proof}.part' && mv '{proof}.part' '{proof}'
"""
# One named font wherever this runs, so that pictures of two machines can be laid side by side.
FONTS = """<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <include ignore_missing="yes">/etc/fonts/fonts.conf</include>
  <alias binding="same"><family>Sans Serif</family><prefer><family>Inter</family></prefer></alias>
  <alias binding="same"><family>sans-serif</family><prefer><family>Inter</family></prefer></alias>
  <alias binding="same"><family>Sans</family><prefer><family>Inter</family></prefer></alias>
</fontconfig>
"""
OPENED_TYPES = ["text/plain", "text/markdown", "text/x-python", "text/x-c++src", "application/pdf", "image/png",
                "application/vnd.oasis.opendocument.text", "inode/directory"]


def png_bytes(width: int, height: int) -> bytes:
    """A smooth coloured picture, so that thumbnails and previews have something to show."""
    rows = bytearray()
    for y in range(height):
        rows.append(0)
        for x in range(width):
            rows += bytes((40 + 180 * x // width, 90 + 90 * y // height, 200 - 120 * x // width))

    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows)))
            + chunk(b"IEND", b""))


class SampleHome:
    """A home folder at `path` with its XDG folders; `opened` is where the sample viewer tells what it was given."""

    def __init__(self, path: pathlib.Path, is_onboarding_done: bool = True):
        self.path = path
        self.config = path / ".config"
        self.data = path / ".local/share"
        self.cache = path / ".cache"
        self.runtime = path / ".runtime"
        self.opened = path / ".opened"
        for folder in (self.config, self.data / "applications", self.cache):
            folder.mkdir(parents=True, exist_ok=True)
        self.runtime.mkdir(mode=0o700, exist_ok=True)
        (self.config / "user-dirs.dirs").write_text(
            'XDG_DOWNLOAD_DIR="$HOME/Downloads"\nXDG_DOCUMENTS_DIR="$HOME/Documents"\n'
            'XDG_DESKTOP_DIR="$HOME/Desktop"\n', encoding="utf-8")
        (path / "Desktop").mkdir(exist_ok=True)
        self.fonts = path / ".fonts.conf"
        self.fonts.write_text(FONTS, encoding="utf-8")
        self._add_viewer()
        if is_onboarding_done:
            self.set_setting("appSettings", ONBOARDING_DONE)

    def fill(self) -> None:
        for name, text in FILES.items():
            self.write(name, text)
        for name, (width, height) in PICTURES.items():
            (self.path / name).parent.mkdir(parents=True, exist_ok=True)
            (self.path / name).write_bytes(png_bytes(width, height))

        self._set_times()

    def write(self, name: str, text: str = "") -> pathlib.Path:
        file = self.path / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")
        return file

    def setting_file(self, key: str) -> pathlib.Path:
        return self.config / "vellumhound" / f"{key}.json"

    def set_setting(self, key: str, value) -> None:
        file = self.setting_file(key)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(json.dumps(value, separators=(",", ":"), ensure_ascii=False), encoding="utf-8")

    @property
    def store_file(self) -> pathlib.Path:
        return self.data / "vellumhound/DataModel.sqlite"

    def add_application(self, file_name: str, entry: str) -> None:
        (self.data / "applications" / file_name).write_text(entry, encoding="utf-8")

    def environment(self) -> dict[str, str]:
        """The caller's environment less what would let its own desktop shine through."""
        kept = ("PATH", "TERM", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS")
        values = {name: os.environ[name] for name in kept if name in os.environ}
        values.update(
            HOME=str(self.path), USER="sample", LANG="C.UTF-8", TZ="UTC", XDG_SESSION_TYPE="x11",
            XDG_CONFIG_HOME=str(self.config), XDG_DATA_HOME=str(self.data),
            XDG_CACHE_HOME=str(self.cache), XDG_STATE_HOME=str(self.path / ".local/state"),
            XDG_RUNTIME_DIR=str(self.runtime), XDG_DATA_DIRS="/usr/local/share:/usr/share",
            GSETTINGS_BACKEND="memory", FONTCONFIG_FILE=str(self.fonts), QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
            QT_FORCE_STDERR_LOGGING="1", QT_QPA_PLATFORM="xcb")
        return values

    def _set_times(self) -> None:
        oldest = NEWEST_TIME - len(NEWEST_FIRST) * DAY
        for folder, folders, files in os.walk(self.path):
            for name in folders + files:
                os.utime(os.path.join(folder, name), (oldest, oldest))
        for age, name in enumerate(NEWEST_FIRST):
            os.utime(self.path / name, (NEWEST_TIME - age * DAY,) * 2)

    def _add_viewer(self) -> None:
        script = self.data / "sample-viewer"
        script.write_text(OPENER_SCRIPT.format(proof=self.opened), encoding="utf-8")
        script.chmod(0o755)
        types = ";".join(OPENED_TYPES) + ";"
        self.add_application("sample-viewer.desktop", OPENER_ENTRY.format(script=script, types=types))
        defaults = "".join(f"{kind}=sample-viewer.desktop\n" for kind in OPENED_TYPES)
        (self.config / "mimeapps.list").write_text("[Default Applications]\n" + defaults, encoding="utf-8")
