// SPDX-License-Identifier: GPL-3.0-or-later
// The configuration of sway and i3, and a compositor that answers, late, never or nonsense.
#include "platform/linux/shortcuts/SwayConnection.h"
#include "platform/linux/shortcuts/SwayShortcuts.h"
#include "support/ShortcutFixture.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTemporaryDir>
#include <QTest>

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using support::told;

namespace {

/// Files by path; a pattern ending in `*` stands for all that begin as it does.
QStringList read(const QByteArray &text, const QHash<QString, QByteArray> &files = {})
{
    platform::SwayConfiguration configuration;
    configuration.desktop = u"sway"_s;
    configuration.text = text;
    configuration.path = u"/home/me/.config/sway/config"_s;
    configuration.expand = [&](const QString &pattern) {
        QStringList paths;
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            if (it.key() == pattern ||
                (pattern.endsWith(u'*') && it.key().startsWith(pattern.chopped(1))))
                paths.append(it.key());
        }
        paths.sort();
        return paths;
    };
    configuration.read = [&](const QString &path) {
        return files.contains(path) ? std::optional(files.value(path)) : std::nullopt;
    };
    return told(platform::swayShortcuts(configuration, support::usLayout()));
}

QByteArray message(std::uint32_t type, const QByteArray &body)
{
    const auto size = std::uint32_t(body.size());
    QByteArray bytes = "i3-ipc";
    bytes.append(reinterpret_cast<const char *>(&size), 4);
    bytes.append(reinterpret_cast<const char *>(&type), 4);
    return bytes + body;
}

/// A compositor on a socket, in a thread of its own. It sends one of its answers for each question
/// and then waits until the other side hangs up.
class Compositor {
public:
    explicit Compositor(const QList<QByteArray> &answers)
        : _answers(answers)
    {
        const auto bytes = path().toLocal8Bit();
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, bytes.constData(), std::size_t(bytes.size()));
        _listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool isListening =
            ::bind(_listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
            ::listen(_listener, 1) == 0;
        if (!isListening)
            qFatal("no socket for the test's compositor");
        _thread = std::thread([this] { serve(); });
    }
    ~Compositor()
    {
        ::shutdown(_listener, SHUT_RDWR);
        _thread.join();
        ::close(_listener);
    }
    Q_DISABLE_COPY_MOVE(Compositor)

    QString path() const { return _folder.filePath(u"socket"_s); }

private:
    void serve()
    {
        const int caller = ::accept(_listener, nullptr, nullptr);
        char head[14];
        for (const auto &answer : _answers) {
            if (::recv(caller, head, sizeof head, MSG_WAITALL) != sizeof head)
                break;
            ::send(caller, answer.constData(), std::size_t(answer.size()), MSG_NOSIGNAL);
        }
        while (caller >= 0 && ::recv(caller, head, sizeof head, 0) > 0)
            continue;
        ::close(caller);
    }

    QTemporaryDir _folder;
    QList<QByteArray> _answers;
    int _listener = -1;
    std::thread _thread;
};

}  // namespace

class tst_SwayShortcuts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bindingsAreReadWithTheirCommands()
    {
        QCOMPARE(read(R"(
# bindsym Mod4+z nothing
    set $mod Mod4
    set $left h
    set $term foot --log-level=none
bindsym $mod+Return exec $term
bindsym --to-code --locked $mod+$left focus left
BindSym Ctrl+Mod1+Delete exec "quoted; text"
bindcode Ctrl+65 exec menu
bindsym XF86AudioMute exec mute
bindsym XF86Calculator exec calculator
bindsym button2 kill
bindsym $mod+Shift+question exec help
floating_modifier $mod normal
)"),
            (QStringList{u"Ctrl+Alt+Del sway: exec \"quoted; text\""_s,
                u"Ctrl+Space sway: exec menu"_s, u"Meta+H sway: focus left"_s,
                u"Meta+Return sway: exec foot --log-level=none"_s,
                u"Volume Mute sway: exec mute"_s}));
    }

    void theLaterBindingCounts()
    {
        QCOMPARE(read("bindsym Mod4+q kill\nbindsym Mod4+Q exec other\n"
                      "bindsym Mod4+w one\nunbindsym Mod4+w\n"),
            QStringList{u"Meta+Q sway: exec other"_s});
    }

    void keysOfAModeAreFreeUntilItIsEntered()
    {
        QCOMPARE(read(R"(set $name "resize"
mode $name {
    bindsym Mod4+a resize
    bindsym {
        Mod4+b resize
    }
}
mode "default" {
    bindsym Mod4+c in default
}
mode --pango_markup "x" bindsym Mod4+d no
bar {
    bindsym button4 nop
    colors {
        background #000000
    }
}
bindsym --to-code {
    Mod4+e grouped
    Mod4+f also
}
bindsym Mod4+g after
)"),
            (QStringList{u"Meta+C sway: in default"_s, u"Meta+E sway: grouped"_s,
                u"Meta+F sway: also"_s, u"Meta+G sway: after"_s}));
    }

    void linesAreJoinedByABackslash()
    {
        QCOMPARE(read("bindsym \\\n  Mod4+a \\\n  exec one\nbindsym Mod4+b two\n"),
            (QStringList{u"Meta+A sway: exec one"_s, u"Meta+B sway: two"_s}));
    }

    void theLongestNameOfAVariableCounts()
    {
        QCOMPARE(read("set $a Mod1\nset $ab Mod4\nbindsym $ab+q kill\nbindsym $a+w one\n"
                      "set $c $ab+Shift\nbindsym $c+e three\nbindsym $unknown+r four\n"),
            (QStringList{
                u"Alt+W sway: one"_s, u"Meta+Q sway: kill"_s, u"Meta+Shift+E sway: three"_s}));
    }

    void aResourceIsAsItsDefault()
    {
        QCOMPARE(read("set_from_resource $mod i3wm.mod Mod4\nbindsym $mod+q kill\n"),
            QStringList{u"Meta+Q sway: kill"_s});
    }

    void otherFilesAreIncluded()
    {
        const QHash<QString, QByteArray> files{
            {u"/home/me/.config/sway/keys"_s, "bindsym $mod+a one\ninclude \"deeper/*\"\n"},
            {u"/home/me/.config/sway/deeper/x"_s, "bindsym $mod+b two\nmode open {\n"},
            {u"/etc/sway/more"_s, "bindsym $mod+c three\n"},
        };

        QCOMPARE(read("set $mod Mod4\nset $etc /etc\ninclude keys\ninclude $etc/sway/*\n"
                      "include missing\ninclude\n",
                     files),
            (QStringList{u"Meta+A sway: one"_s, u"Meta+B sway: two"_s, u"Meta+C sway: three"_s}));
    }

    void filesThatIncludeEachOtherAreReadOnce()
    {
        const QHash<QString, QByteArray> files{
            {u"/a"_s, "include /b\nbindsym Mod4+a one\ninclude /a\n"},
            {u"/b"_s, "include /a\nbindsym Mod4+b two\ninclude /*\n"},
            {u"/home/me/.config/sway/config"_s, "bindsym Mod4+c never\n"},
        };

        QCOMPARE(read("include /a\ninclude config\n", files),
            (QStringList{u"Meta+A sway: one"_s, u"Meta+B sway: two"_s}));
    }

    void ourOwnBindingsAreNoObstacle()
    {
        QCOMPARE(read("bindsym Ctrl+space exec vellumhound\nbindsym Mod1+s exec gapplication "
                      "action org.vellumhound.Vellumhound selected-files\n"),
            QStringList());
    }

    void aLongCommandIsCut()
    {
        const auto lines = read("bindsym Mod4+q exec " + QByteArray(200, 'x') + "\n");

        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines.first(), u"Meta+Q sway: exec "_s + QString(54, u'x') + u'…');
    }

    void aConfigurationWithoutSenseIsPassedOver_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("growing variables") << "set $a aaaaaaaaaa\n" +
                                                  QByteArray("set $a $a$a$a$a\n").repeated(100) +
                                                  "bindsym $a kill\n";
        QTest::newRow("open braces") << QByteArray("a {\n").repeated(100'000);
        QTest::newRow("closed braces") << QByteArray("}\n").repeated(100'000);
        QTest::newRow("nested modes")
            << QByteArray("mode x {\n").repeated(1000) + "bindsym a kill\n";
        QTest::newRow("backslashes") << QByteArray("\\\n").repeated(100'000);
        QTest::newRow("dollars") << "set $ a\nbindsym " + QByteArray(3000, '$') + " kill\n";
        QTest::newRow("quotes") << QByteArray("bindsym \"\nbindsym '\nset \"$a\n");
        QTest::newRow("no keys") << QByteArray("bindsym\nbindsym --release\nbindcode\nmode\nset\n");
        QTest::newRow("options without end")
            << "bindsym " + QByteArray("--a ").repeated(900) + "\n";
    }
    void aConfigurationWithoutSenseIsPassedOver()
    {
        QFETCH(QByteArray, text);

        QCOMPARE(read(text), QStringList());
    }

    void aRunningCompositorTellsWhatItWorksWith()
    {
        const Compositor compositor({message(9, R"({"config":"bindsym Mod4+q kill\n"})"),
            message(7, R"({"major":1,"loaded_config_file_name":"/home/me/config"})")});

        const auto running = platform::runningConfiguration(compositor.path(), 20s);

        QVERIFY(running);
        QCOMPARE(running->text, "bindsym Mod4+q kill\n");
        QCOMPARE(running->path, u"/home/me/config"_s);
    }

    void anAnswerThatIsNoneIsNotTaken_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("another type") << message(8, R"({"config":"x"})");
        QTest::newRow("no JSON") << message(9, "config");
        QTest::newRow("a list") << message(9, "[]");
        QTest::newRow("no config") << message(9, R"({"text":"x"})");
        QTest::newRow("a number") << message(9, R"({"config":1})");
        QTest::newRow("another magic word") << "i4-ipc" + message(9, "{}").sliced(6);
        QTest::newRow("a size without end") << QByteArray("i3-ipc\xFF\xFF\xFF\xFF\x09\0\0\0", 14);
    }
    void anAnswerThatIsNoneIsNotTaken()
    {
        QFETCH(QByteArray, answer);
        const Compositor compositor({answer});

        QVERIFY(!platform::runningConfiguration(compositor.path(), 20s));
    }

    void aCompositorThatIsSilentIsNotWaitedForLong_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("half a head") << QByteArray("i3-i");
        QTest::newRow("half a body") << message(9, R"({"config":"x"})").chopped(1);
    }
    void aCompositorThatIsSilentIsNotWaitedForLong()
    {
        QFETCH(QByteArray, answer);
        const Compositor compositor({answer});
        QElapsedTimer timer;
        timer.start();

        QVERIFY(!platform::runningConfiguration(compositor.path(), 50ms));

        // Without the limit it would not end at all.
        QVERIFY2(timer.elapsed() < 20'000, qPrintable(QString::number(timer.elapsed())));
    }

    void aSocketThatIsNoneIsNoCompositor()
    {
        const QTemporaryDir folder;
        QVERIFY(support::writeFile(folder.filePath(u"file"_s), "x"));

        for (const auto &path : {QString(), folder.filePath(u"missing"_s),
                 folder.filePath(u"file"_s), u"/"_s + QString(200, u'x')})
            QVERIFY(!platform::runningConfiguration(path, 20s));
    }

    void patternsStandForTheFilesThereAre()
    {
        const QTemporaryDir folder;
        for (const auto *name : {"b.conf", "a.conf", "c.txt"})
            QVERIFY(support::writeFile(folder.filePath(QLatin1StringView(name)), "x"));

        QCOMPARE(platform::expandedPaths(folder.filePath(u"*.conf"_s)),
            (QStringList{folder.filePath(u"a.conf"_s), folder.filePath(u"b.conf"_s)}));
        QCOMPARE(platform::expandedPaths(folder.filePath(u"*.none"_s)), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_SwayShortcuts)
#include "tst_SwayShortcuts.moc"
