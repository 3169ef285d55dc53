// SPDX-License-Identifier: GPL-3.0-or-later
// Real presses on a real X server, with the layouts that people use.
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"
#include "support/RunProgram.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QTest>
#include <QWindow>

#include <linux/input-event-codes.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using support::run;
using support::xdotool;
namespace Flags = base::ModifierFlags;

namespace {

class KeyWindow : public QWindow {
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

/// xdotool takes a number of several digits for a hardware code.
QString codeOf(int linuxCode)
{
    return QString::number(linuxCode + 8);
}

}  // namespace

class tst_KeyTranslatorX11 : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<platform::KeyTranslator> _translator;
    std::unique_ptr<KeyWindow> _window;

    std::optional<base::KeyEvent> eventOf(const QString &keys)
    {
        _window->events.clear();
        if (!xdotool({u"key"_s, u"--clearmodifiers"_s, keys}))
            return std::nullopt;
        if (!QTest::qWaitFor([&] { return !_window->events.isEmpty(); }))
            return std::nullopt;
        return _window->events.first();
    }

private Q_SLOTS:
    void initTestCase()
    {
        _translator =
            std::make_unique<platform::KeyTranslator>(platform::KeyboardLayout::ofSession());
        _window = std::make_unique<KeyWindow>(*_translator);
        _window->resize(200, 100);
        _window->show();
        _window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(_window.get()));
    }
    void cleanupTestCase()
    {
        _window.reset();
        _translator.reset();
    }

    void theCodeIsThePlaceAndTheEquivalentTheLetter_data()
    {
        QTest::addColumn<QStringList>("layout");
        QTest::addColumn<int>("linuxCode");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QString>("characters");
        QTest::addColumn<QString>("equivalent");
        QTest::newRow("us y") << QStringList{u"us"_s} << KEY_Y << 16 << u"y"_s << u"y"_s;
        QTest::newRow("us comma") << QStringList{u"us"_s} << KEY_COMMA << 43 << u","_s << u","_s;
        QTest::newRow("de, key of y") << QStringList{u"de"_s} << KEY_Y << 16 << u"z"_s << u"z"_s;
        QTest::newRow("de, key of z") << QStringList{u"de"_s} << KEY_Z << 6 << u"y"_s << u"y"_s;
        QTest::newRow("de, umlaut")
            << QStringList{u"de"_s} << KEY_SEMICOLON << 41 << u"ö"_s << QString();
        QTest::newRow("ru, key of c") << QStringList{u"ru"_s} << KEY_C << 8 << u"с"_s << u"c"_s;
        QTest::newRow("ru, key of s") << QStringList{u"ru"_s} << KEY_S << 1 << u"ы"_s << u"s"_s;
        QTest::newRow("dvorak, key of s")
            << QStringList{u"us"_s, u"-variant"_s, u"dvorak"_s} << KEY_S << 1 << u"o"_s << u"o"_s;
        QTest::newRow("fr, key of q") << QStringList{u"fr"_s} << KEY_Q << 12 << u"a"_s << u"a"_s;
        QTest::newRow("fr, first digit") << QStringList{u"fr"_s} << KEY_1 << 18 << u"&"_s << u"&"_s;
    }
    void theCodeIsThePlaceAndTheEquivalentTheLetter()
    {
        QFETCH(QStringList, layout);
        QFETCH(int, linuxCode);
        QFETCH(int, keyCode);
        QFETCH(QString, characters);
        QFETCH(QString, equivalent);
        QVERIFY(run(u"setxkbmap"_s, layout));

        const auto event = eventOf(codeOf(linuxCode));

        QVERIFY(event);
        QCOMPARE(event->keyCode, keyCode);
        QCOMPARE(event->characters, characters);
        QCOMPARE(event->equivalent, equivalent);
        QCOMPARE(event->modifiers(), 0U);
        QVERIFY(event->time.count() > 0);
    }

    void aChordKeepsThePlaceAndTheEquivalentOnACyrillicLayout()
    {
        QVERIFY(run(u"setxkbmap"_s, {u"ru"_s}));

        const auto event = eventOf(u"ctrl+"_s + codeOf(KEY_C));

        QVERIFY(event);
        QCOMPARE(event->keyCode, 8);
        QCOMPARE(event->equivalent, u"c"_s);
        QCOMPARE(event->modifiers(), Flags::command);
        QCOMPARE(event->literalFlags & Flags::mask, Flags::control);
    }

    void namedKeysComeThrough_data()
    {
        QTest::addColumn<QString>("keys");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<quint32>("modifiers");
        QTest::newRow("Return") << u"Return"_s << 36 << 0U;
        QTest::newRow("Tab") << u"Tab"_s << 48 << 0U;
        QTest::newRow("Shift+Tab") << u"shift+Tab"_s << 48 << Flags::shift;
        QTest::newRow("Escape") << u"Escape"_s << 53 << 0U;
        QTest::newRow("Shift+Return") << u"shift+Return"_s << 36 << Flags::shift;
        QTest::newRow("Up") << u"Up"_s << 126 << 0U;
        QTest::newRow("KP_Enter") << u"KP_Enter"_s << 76 << 0U;
        QTest::newRow("Alt+Return") << u"alt+Return"_s << 36 << Flags::option;
        QTest::newRow("Super+n") << u"super+n"_s << 45 << Flags::command;
        QTest::newRow("Ctrl+Space") << u"ctrl+space"_s << 49 << Flags::command;
        QTest::newRow("F5") << u"F5"_s << 96 << 0U;
    }
    void namedKeysComeThrough()
    {
        QFETCH(QString, keys);
        QFETCH(int, keyCode);
        QFETCH(quint32, modifiers);
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));

        const auto event = eventOf(keys);

        QVERIFY(event);
        QCOMPARE(event->keyCode, keyCode);
        QCOMPARE(event->modifiers(), modifiers);
    }

    void theKeypadWithoutNumLockNavigates()
    {
        QVERIFY(run(u"setxkbmap"_s, {u"us"_s}));

        const auto event = eventOf(codeOf(KEY_KP8));

        QVERIFY(event);
        QCOMPARE(event->keyCode, base::KeyCode::up);
        QCOMPARE(event->modifiers(), 0U);
    }
};

QTEST_MAIN(tst_KeyTranslatorX11)
#include "tst_KeyTranslatorX11.moc"
