#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Rules of the tree that no compiler sees. Exits 1 and names file:line for each breach.

A rule is broken on purpose only with the reason on the spot: `// style: <reason>` at the end of the line
(or, for a long file, `// long: <reason>` on its second line).
"""
import pathlib
import re
import subprocess
import sys
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parents[1]
MOST_LINES = {".h": 160, ".cpp": 500}
NO_SPDX = {".md", ".png", ".svg", ".json", ".txt", ".qm", ".ts", ".odt", ".pdf"}
NO_SPDX_NAMES = {"LICENSE", ".gitignore", ".clang-format", "lsan.supp", "tsan.supp"}

CODE = r"\.(h|cpp)$"
GUI_HEADERS = (
    r"#\s*include\s+[<\"](QtGui|QtWidgets|QtSvg)?/?(QGuiApplication|QApplication|QWidget|QWindow|QScreen"
    r"|QPainter\w*|QPixmap\w*|QImage\w*|QIcon\w*|QFont\w*|QPalette|QColor|QPen|QBrush|QCursor|QClipboard"
    r"|QDrag|QMouseEvent|QKeyEvent|QKeySequence|QAction|QMenu\w*|QSystemTrayIcon|QStyle\w*|QAbstractItemView"
    r"|QAbstractItemDelegate|QStyledItemDelegate|Q(List|Tree|Table)(View|Widget)|QLabel|QLineEdit|QTextEdit|QPlainTextEdit|Q\w*Button|QCheckBox"
    r"|QComboBox|QSpinBox|QDialog|QMessageBox|Q\w*Layout|QFrame|QScroll\w+|QSplitter|QStack\w+|QToolTip"
    r"|QAccessible\w*|QGraphics\w+|QSvg\w+|QtGui|QtWidgets|QShortcut|QFileDialog|QProgressBar)[>\"]"
)


@dataclass(frozen=True)
class Rule:
    where: str  # files that the rule is for
    allowed: str  # files among them that may
    pattern: str
    advice: str


RULES = [
    Rule(r"^(src|tests|bench)/.*" + CODE, r"^$", r'#\s*include\s+"\.\./', 'write "folder/File.h", never "../"'),
    Rule(r"^(src|tests|bench)/.*" + CODE, r"(/widgets/|^src/app/|^src/shell/|^src/platform/linux/|^src/main\.cpp$"
         r"|^tests/|^bench/|^src/extract/)", GUI_HEADERS,
         "widgets and pictures live in widgets/, shell/, app/ and platform/linux/"),
    Rule(r"^src/.*" + CODE, r"^src/(platform|shell|app|extract)/|^src/base/NativePath\.cpp$|^src/main\.cpp$",
         r"\bqgetenv\b|\bqEnvironmentVariable\w*|\bgetenv\(", "the environment belongs to platform/ and app/"),
    Rule(r"^src/.*" + CODE, r"^src/(platform|shell|app)/|^src/main\.cpp$",
         r"QDBusConnection::(sessionBus|systemBus)", "take the connection; only platform/ and app/ open one"),
    Rule(r"^src/.*" + CODE, r"^src/(platform|shell|app)/", r"\bcurrentDateTime\w*\(|\bcurrentMSecsSinceEpoch\("
         r"|\bcurrentSecsSinceEpoch\(|system_clock::now", "take platform/Clock.h"),
    Rule(r"^src/.*" + CODE, r"^$", r"#\s*include\s+<QShortcut>|\bnew QShortcut\b", "keys are routed by keyboard/"),
    # The scan is built for each instruction set; which one there is only the compiler tells.
    Rule(r"^src/.*" + CODE, r"^src/platform/|^src/index/names/Scan", r"^\s*#\s*if(n?def)?\b(?!.*(__has_include|SANITIZE))",
         "no #if outside platform/"),
    Rule(r"^src/.*" + CODE, r"^$", r"\bfriend class (Test|tst_)", "test through the public interface"),
    Rule(r"^src/.*" + CODE, r"^$", r"#\s*include\s+<(format|ranges)>|std::(views|ranges::views)::",
         "std::format and views are missing from the compilers we support"),
    Rule(r"^tests/.*\.(h|cpp|py)$", r"^$", r"\bqWait\(|\bqSleep\(|\bmsleep\(|sleep_for\(|\busleep\("
         r"|(?<![\w.])sleep\(\d|time\.sleep\(",
         "wait for the event (QTRY_*, a signal, wait_until), not for the clock"),
    Rule(r"^tests/.*\.(h|cpp|py)$", r"^$", r"\bQSKIP\b|\bQEXPECT_FAIL\b|QVERIFY\(true\)|unittest\.skip|skipTest\(",
         "a test runs and can fail"),
    # The bracketed letters keep this file from finding itself.
    Rule(r"^(src|tests|bench|tools|packaging|docs|cmake|resources)/|^[^/]+$", r"^LICENSE$",
         r"\b(TOD[O]|FIXM[E]|XX[X]|HAC[K])\b|not (yet )?implemente[d]|placeholder implementatio[n]|stubbed? ou[t]\b",
         "finish it or leave it out"),
    Rule(r"\.(py|sh|h|cpp|txt|cmake|md)$", r"^LICENSE$", r"[ \t]+$", "no blanks at the end of a line"),
]


def tracked_files() -> list[str]:
    listing = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        cwd=ROOT, check=True, capture_output=True).stdout
    names = [name.decode() for name in listing.split(b"\0") if name]
    return sorted(name for name in set(names) if (ROOT / name).is_file())


def breaches_of_header(name: str, lines: list[str]) -> list[str]:
    """The licence line comes first (second after #! or an XML declaration)."""
    path = pathlib.PurePosixPath(name)
    if path.suffix in NO_SPDX or path.name in NO_SPDX_NAMES or not lines:
        return []
    place = 1 if lines[0].startswith(("#!", "<?xml")) and len(lines) > 1 else 0
    if "SPDX-License-Identifier: GPL-3.0-or-later" in lines[place]:
        return []
    if path.suffix in {".supp", ".in", ".service", ".desktop", ".xml", ".yml", ".clang-tidy"} and any(
            "SPDX-License-Identifier" in line or "<metadata_license>" in line for line in lines[:6]):
        return []
    return [f"{name}:{place + 1}: the first line is the SPDX licence line"]


def breaches_of_length(name: str, lines: list[str]) -> list[str]:
    most = MOST_LINES.get(pathlib.PurePosixPath(name).suffix)
    if not most or len(lines) <= most or not name.startswith("src/"):
        return []
    if len(lines) > 1 and "// long:" in lines[1]:
        return []
    return [f"{name}:1: {len(lines)} lines, {most} is the alarm: split it or say why on line 2 (// long: ...)"]


def breaches_of_rules(name: str, lines: list[str]) -> list[str]:
    found = []
    for rule in RULES:
        if not re.search(rule.where, name) or re.search(rule.allowed, name):
            continue
        pattern = re.compile(rule.pattern)
        for number, line in enumerate(lines, 1):
            if pattern.search(line) and "// style:" not in line and "# style:" not in line:
                found.append(f"{name}:{number}: {rule.advice}")
    return found


def breaches_of_own_header(name: str, lines: list[str]) -> list[str]:
    """A source includes its own header first, which shows that the header needs nothing before it."""
    if not name.startswith("src/") or not name.endswith(".cpp"):
        return []
    own = name[:-len(".cpp")] + ".h"
    if not (ROOT / own).is_file():
        return []
    for number, line in enumerate(lines, 1):
        if line.lstrip().startswith("#include"):
            right = f'#include "{own[len("src/"):]}"'
            return [] if line.strip() == right else [f"{name}:{number}: the first include is the own header, {right}"]
    return []


def main() -> int:
    breaches, count = [], 0
    for name in tracked_files():
        data = (ROOT / name).read_bytes()
        if b"\0" in data[:8000]:
            continue
        try:
            lines = data.decode("utf-8").splitlines()
        except UnicodeDecodeError:
            breaches.append(f"{name}:1: not UTF-8")
            continue
        count += 1
        breaches += breaches_of_header(name, lines)
        breaches += breaches_of_length(name, lines)
        breaches += breaches_of_rules(name, lines)
        breaches += breaches_of_own_header(name, lines)
    print("\n".join(breaches) if breaches else f"style: {count} files are clean")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
