// SPDX-License-Identifier: GPL-3.0-or-later
// Real presses in a real Wayland compositor, with the layouts that people use, and what keys print
// there.
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"
#include "platform/linux/keyboard/XkbKeyCharacters.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QProcess>
#include <QRasterWindow>
#include <QTest>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
namespace Flags = base::ModifierFlags;

namespace {

class KeyWindow final : public QRasterWindow {
public:
    explicit KeyWindow(platform::KeyTranslator &translator)
        : _translator(translator)
    {
    }
    QList<base::KeyEvent> events;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        if (auto translated = _translator.translate(*event))
            events.append(*translated);
    }

private:
    platform::KeyTranslator &_translator;
};

/// Another program's hands on a keyboard of their own.
class Typist final {
public:
    Typist()
    {
        _process.start(QStringLiteral(PYTHON), {u"-B"_s, QStringLiteral(WAYLAND_KEYBOARD)});
    }
    ~Typist()
    {
        _process.closeWriteChannel();
        _process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Typist)

    /// False if the compositor has not done it.
    bool tell(const QString &command)
    {
        _process.write(command.toUtf8() + '\n');
        return QTest::qWaitFor([&] { return _process.canReadLine(); }, 20'000) &&
               _process.readLine() == "done\n";
    }

private:
    QProcess _process;
};

bool tellSway(const QStringList &words)
{
    QProcess process;
    process.start(u"swaymsg"_s, words);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

}  // namespace

class tst_KeyTranslatorWayland : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<platform::KeyTranslator> _translator;
    std::unique_ptr<platform::XkbKeyCharacters> _characters;
    std::unique_ptr<KeyWindow> _window;
    std::unique_ptr<Typist> _typist;

    std::optional<base::KeyEvent> eventOf(int linuxCode)
    {
        _window->events.clear();
        if (!_typist->tell(u"press "_s + QString::number(linuxCode)) ||
            !QTest::qWaitFor([&] { return !_window->events.isEmpty(); }))
            return std::nullopt;
        return _window->events.first();
    }

private Q_SLOTS:
    void initTestCase()
    {
        const std::shared_ptr<const platform::KeyboardLayout> layout =
            platform::KeyboardLayout::ofSession();
        _translator = std::make_unique<platform::KeyTranslator>(layout);
        _characters = std::make_unique<platform::XkbKeyCharacters>(layout);
        _window = std::make_unique<KeyWindow>(*_translator);
        _window->resize(200, 100);
        _window->show();
        _typist = std::make_unique<Typist>();
        QVERIFY(_typist->tell(u"layout us"_s));
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::focusWindow(), _window.get(), 20'000);
    }
    void cleanupTestCase()
    {
        _typist.reset();
        _window.reset();
        _characters.reset();
        _translator.reset();
    }

    void theCodeIsThePlaceAndTheEquivalentTheLetter_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<int>("linuxCode");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QString>("characters");
        QTest::addColumn<QString>("equivalent");
        QTest::newRow("us y") << u"us"_s << KEY_Y << 16 << u"y"_s << u"y"_s;
        QTest::newRow("de, key of y") << u"de"_s << KEY_Y << 16 << u"z"_s << u"z"_s;
        QTest::newRow("de, umlaut") << u"de"_s << KEY_SEMICOLON << 41 << u"ö"_s << QString();
        QTest::newRow("ru, key of c") << u"ru"_s << KEY_C << 8 << u"с"_s << u"c"_s;
        QTest::newRow("de in ru,de") << u"ru,de 1"_s << KEY_Y << 16 << u"z"_s << u"z"_s;
        QTest::newRow("ru in ru,de") << u"ru,de 0"_s << KEY_Y << 16 << u"н"_s << u"z"_s;
        QTest::newRow("fr, key of q") << u"fr"_s << KEY_Q << 12 << u"a"_s << u"a"_s;
        QTest::newRow("fr, first digit") << u"fr"_s << KEY_1 << 18 << u"&"_s << u"&"_s;
    }
    void theCodeIsThePlaceAndTheEquivalentTheLetter()
    {
        QFETCH(QString, layout);
        QFETCH(int, linuxCode);
        QFETCH(int, keyCode);
        QFETCH(QString, characters);
        QFETCH(QString, equivalent);
        QVERIFY(_typist->tell(u"layout "_s + layout));

        const auto event = eventOf(linuxCode);

        QVERIFY(event);
        QCOMPARE(event->keyCode, keyCode);
        QCOMPARE(event->characters, characters);
        QCOMPARE(event->equivalent, equivalent);
    }

    void capsLockIsSeen()
    {
        QVERIFY(_typist->tell(u"layout us"_s));
        QVERIFY(_typist->tell(u"caps on"_s));

        const auto event = eventOf(KEY_J);

        QVERIFY(_typist->tell(u"caps off"_s));
        QVERIFY(event);
        QVERIFY(event->literalFlags & Flags::capsLock);
        QCOMPARE(event->characters, u"J"_s);
    }

    void whatKeysPrintFollowsTheCompositorsLayout()
    {
        constexpr int keyOfZ = 6;
        constexpr int keyOfSemicolon = 41;
        QVERIFY(tellSway({u"input"_s, u"*"_s, u"xkb_layout"_s, u"us"_s}));
        QTRY_COMPARE(_characters->charactersOf(keyOfZ), u"z"_s);

        QVERIFY(tellSway({u"input"_s, u"*"_s, u"xkb_layout"_s, u"de"_s}));
        QTRY_COMPARE(_characters->charactersOf(keyOfZ), u"y"_s);
        QCOMPARE(_characters->charactersOf(keyOfSemicolon), u"ö"_s);

        QVERIFY(tellSway({u"input"_s, u"*"_s, u"xkb_layout"_s, u"ru"_s}));
        QTRY_COMPARE(_characters->charactersOf(keyOfZ), u"z"_s);
        QCOMPARE(_characters->charactersOf(keyOfSemicolon), u";"_s);
    }

    void whatKeysPrintFollowsTheGroupInUse()
    {
        constexpr int keyOfZ = 6;
        QVERIFY(tellSway({u"input"_s, u"*"_s, u"xkb_layout"_s, u"\"us,de\""_s}));
        QTRY_COMPARE(_characters->charactersOf(keyOfZ), u"z"_s);

        QVERIFY(tellSway({u"input"_s, u"*"_s, u"xkb_switch_layout"_s, u"1"_s}));
        QTRY_COMPARE(_characters->charactersOf(keyOfZ), u"y"_s);

        QVERIFY(tellSway({u"input"_s, u"*"_s, u"xkb_switch_layout"_s, u"0"_s}));
        QTRY_COMPARE(_characters->charactersOf(keyOfZ), u"z"_s);
    }
};

QTEST_MAIN(tst_KeyTranslatorWayland)
#include "tst_KeyTranslatorWayland.moc"
