// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/RecorderFixture.h"
#include "keyboard/KeyboardShortcuts/widgets/LocalEventFilter.h"
#include "keyboard/KeyboardShortcuts/widgets/Recorder.h"
#include "keyboard/KeyboardShortcuts/widgets/RecorderAccessible.h"
#include "platform/linux/keyboard/KeyboardLayout.h"
#include "platform/linux/keyboard/KeyTranslator.h"

#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

using namespace vellumhound;
using namespace vellumhound::keyboard::KeyboardShortcuts;
using namespace Qt::StringLiterals;

namespace {

/// A window with two recorders and a button, over fakes of everything but the toolkit.
struct Desk : RecorderFixture {
    platform::KeyTranslator translator{platform::KeyboardLayout::ofSession()};
    LocalEventFilter filter{translator};
    std::unique_ptr<QWidget> window = std::make_unique<QWidget>();
    QPushButton *button = nullptr;
    QPointer<RecorderWidget> first;
    QPointer<RecorderWidget> second;
    int bells = 0;
    int clicks = 0;

    Desk()
    {
        auto *column = new QVBoxLayout(window.get());
        column->setContentsMargins(20, 20, 20, 20);
        column->setSpacing(20);
        first = add(column, name);
        second = add(column, shortcuts->createName(u"browseFinderWindows"_s));
        button = new QPushButton(u"&Button"_s);
        QObject::connect(button, &QPushButton::clicked, window.get(), [this] { ++clicks; });
        column->addWidget(button);
    }
    RecorderCocoa::Environment realEvents()
    {
        return {.shortcuts = *shortcuts,
            .notificationCenter = notifications,
            .mainQueue = mainQueue,
            .events = filter,
            .keyboardGrab = keyboardGrab,
            .keyCharacters = layout,
            .mainMenu = menu,
            .systemShortcuts = system,
            .isSandboxed = [this] { return isSandboxed; }};
    }
    RecorderWidget *add(QVBoxLayout *column, const Name &itsName)
    {
        auto *widget = new RecorderWidget(
            itsName, [this](const auto &shortcut) { told.append(shortcut); }, realEvents(),
            ui::Theme::light());
        widget->setBell([this] { ++bells; });
        column->addWidget(widget);
        return widget;
    }
    bool show()
    {
        window->show();
        window->activateWindow();
        const bool isActive = QTest::qWaitForWindowActive(window.get());
        mainQueue.drain();
        return isActive;
    }
    void click(QWidget *widget, const QPoint &point) const
    {
        QTest::mouseClick(
            window->windowHandle(), Qt::LeftButton, {}, widget->mapTo(window.get(), point));
    }
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QTest::keyClick(window->windowHandle(), Qt::Key(key), modifiers);
    }
    /// Records in the first field.
    bool record()
    {
        click(first, first->rect().center());
        return first->hasFocus() && first->isRecording();
    }
};

/// The keys that a widget and those in it get, in order.
class KeyLog final : public QObject {
public:
    QStringList keys;

    explicit KeyLog(QWidget *widget)
        : QObject(widget)
    {
        widget->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease)
            return false;
        const auto *key = static_cast<QKeyEvent *>(event);
        keys.append((event->type() == QEvent::KeyPress ? u"press "_s : u"release "_s) +
                    QKeySequence(key->key()).toString());
        return false;
    }
};

/// Whether the text of the field lies on the colour of a selection, across the middle of the field.
bool isMarked(RecorderWidget &field)
{
    const auto theme = ui::Theme::light();
    QImage mark(1, 1, QImage::Format_RGB32);
    mark.fill(theme.palette().color(QPalette::Base));
    QPainter(&mark).fillRect(mark.rect(), theme.selectionFill);
    const auto picture = field.grab().toImage();
    int marked = 0;
    for (int x = 0; x < picture.width(); ++x)
        marked += picture.pixelColor(x, picture.height() / 2) == mark.pixelColor(0, 0);
    return marked > 0;
}

/// One event of a key with the hardware code of K.
void send(QWindow *window, QEvent::Type type, Qt::KeyboardModifiers modifiers, bool isRepeat)
{
    constexpr quint32 hardwareCode = 45;
    QKeyEvent event(type, Qt::Key_K, modifiers, hardwareCode, 0, 0, QStringLiteral("k"), isRepeat);
    QCoreApplication::sendEvent(window, &event);
}

/// Does something with the alert as soon as it is up.
template <typename Action> void whenAlerted(Action action)
{
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, action] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        timer->deleteLater();
        timer->stop();
        action(*box);
    });
    timer->start(0);
}

}  // namespace

class tst_RecorderWidget : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itIsAsWideAsTheRulesSayAndWiderForLargeText()
    {
        Desk d;
        QCOMPARE(d.first->sizeHint(), QSize(130, 24));

        auto large = ui::Theme::light();
        large.textScale = 2;
        d.first->setTheme(large);

        QVERIFY(d.first->sizeHint().width() > 130);
        QVERIFY(d.first->sizeHint().height() > 24);
    }

    void aWindowThatOpensDoesNotGiveItTheFocus()
    {
        Desk d;
        QVERIFY(!(d.first->focusPolicy() & Qt::TabFocus));

        QVERIFY(d.show());

        QVERIFY(!d.first->hasFocus());
        QVERIFY(!d.second->hasFocus());
        QVERIFY(d.first->focusPolicy() & Qt::TabFocus);
    }

    void aClickRecordsAndAKeyWithAModifierIsTaken()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());
        QCOMPARE(d.first->placeholder(), u"Press shortcut"_s);

        d.press(Qt::Key_K, Qt::ControlModifier);

        QCOMPARE(d.first->text(), u"⌃K"_s);
        QVERIFY(!d.first->hasFocus());
        QVERIFY(!d.first->isRecording());
        QCOMPARE(d.current(), std::optional(Shortcut(Key::k, base::ModifierFlags::control)));
    }

    void itTakesTheKeyboardForItsWindow()
    {
        Desk d;
        QVERIFY(d.show());

        QVERIFY(d.record());

        QCOMPARE(d.keyboardGrab.window, d.window->windowHandle());
        QVERIFY(d.keyboardGrab.isHeld());
        d.window->hide();
        QVERIFY(!d.keyboardGrab.isHeld());
    }

    void theRepeatsOfTheRecordedKeyReachedTheWindow()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());
        const auto *log = new KeyLog(d.window.get());
        auto *window = d.window->windowHandle();

        send(window, QEvent::KeyPress, Qt::ControlModifier, false);
        QVERIFY(!d.first->isRecording());
        for (int i = 0; i < 2; ++i) {
            send(window, QEvent::KeyRelease, Qt::ControlModifier, true);
            send(window, QEvent::KeyPress, Qt::ControlModifier, true);
        }
        send(window, QEvent::KeyRelease, Qt::NoModifier, false);
        QCOMPARE(log->keys, QStringList());
        send(window, QEvent::KeyPress, Qt::NoModifier, false);
        send(window, QEvent::KeyPress, Qt::NoModifier, true);
        send(window, QEvent::KeyRelease, Qt::NoModifier, false);

        QCOMPARE(log->keys, (QStringList{u"press K"_s, u"press K"_s, u"release K"_s}));
    }

    void aRepeatOfTheRecordedKeyPressesNoMnemonic()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());
        auto *window = d.window->windowHandle();
        send(window, QEvent::KeyPress, Qt::AltModifier, false);
        const auto isOverridden = [&](bool isRepeat) {
            constexpr quint32 hardwareCode = 45;
            QKeyEvent event(QEvent::ShortcutOverride, Qt::Key_K, Qt::AltModifier, hardwareCode, 0,
                0, QString(), isRepeat);
            event.ignore();
            QCoreApplication::sendEvent(window, &event);
            return event.isAccepted();
        };

        QVERIFY(isOverridden(true));
        QVERIFY(!isOverridden(false));
    }

    void aReleaseThatNeverCameLeavesTheNextPressAlone()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());
        send(d.window->windowHandle(), QEvent::KeyPress, Qt::ControlModifier, false);
        const auto *log = new KeyLog(d.window.get());

        send(d.window->windowHandle(), QEvent::KeyPress, Qt::ControlModifier, false);

        QCOMPARE(log->keys, QStringList{u"press K"_s});
    }

    void theRepeatsOfAKeyThatLedToAnAlertReachedTheAlert()
    {
        Desk d;
        d.system.symbolicHotKeys = {{Key::k.rawValue, 0x1000, true, {}}};
        QVERIFY(d.show());
        QVERIFY(d.record());
        QStringList keys;
        whenAlerted([&](QMessageBox &box) {
            const auto *log = new KeyLog(&box);
            send(box.windowHandle(), QEvent::KeyPress, Qt::ControlModifier, true);
            send(box.windowHandle(), QEvent::KeyRelease, Qt::ControlModifier, false);
            send(box.windowHandle(), QEvent::KeyPress, Qt::ControlModifier, false);
            keys = log->keys;
            box.reject();
        });

        send(d.window->windowHandle(), QEvent::KeyPress, Qt::ControlModifier, false);

        QCOMPARE(keys, QStringList{u"press K"_s});
    }

    void aMnemonicOfTheWindowDoesNotComeFirst()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());

        d.press(Qt::Key_B, Qt::AltModifier);

        QCOMPARE(d.clicks, 0);
        QCOMPARE(d.current(), std::optional(Shortcut(Key::b, base::ModifierFlags::option)));
        d.press(Qt::Key_B, Qt::AltModifier);
        QTRY_COMPARE(d.clicks, 1);
    }

    void tabGoesOnFromTheFieldAlsoAfterEscape()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());

        d.press(Qt::Key_Tab);
        QVERIFY(d.second->isRecording());
        d.press(Qt::Key_Tab);
        QVERIFY(d.button->hasFocus());

        QVERIFY(d.record());
        d.press(Qt::Key_Escape);
        QVERIFY(!QApplication::focusWidget());
        d.press(Qt::Key_Tab);
        QVERIFY(d.second->isRecording());
        d.press(Qt::Key_Escape);
        d.press(Qt::Key_Backtab, Qt::ShiftModifier);

        QVERIFY(d.first->isRecording());
        QCOMPARE(d.bells, 0);
    }

    void tabWithShiftBeepsWhileItRecords()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());

        d.press(Qt::Key_Backtab, Qt::ShiftModifier);

        QCOMPARE(d.bells, 1);
        QVERIFY(d.first->isRecording());
    }

    void whatTheNextPressReplacesWasNotMarked()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(!isMarked(*d.first));

        QVERIFY(d.record());
        QVERIFY(isMarked(*d.first));
        d.press(Qt::Key_Backspace);
        QVERIFY(d.first->isRecording());
        QVERIFY(!isMarked(*d.first));
        d.press(Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(d.first->text(), u"⌃K"_s);

        QVERIFY(!isMarked(*d.first));
    }

    void theClearButtonIsThereForATextAndClearsIt()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.first->clearButton().isVisible());
        QVERIFY(!d.second->clearButton().isVisible());
        QVERIFY(d.record());

        d.click(&d.first->clearButton(), {10, 10});

        QCOMPARE(d.first->text(), QString());
        QVERIFY(!d.first->clearButton().isVisible());
        QVERIFY(d.first->isRecording());
        QCOMPARE(d.told, QList<std::optional<Shortcut>>{std::nullopt});
        QVERIFY(!d.first->clearButton().isDown());
    }

    void theClearButtonStandsAtTheEndOfTheLine()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.first->clearButton().x() > d.first->width() / 2);

        d.first->setLayoutDirection(Qt::RightToLeft);

        QVERIFY(d.first->clearButton().x() < d.first->width() / 2);
    }

    void aClickOutsideReachesWhatIsThere()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());

        d.click(d.button, d.button->rect().center());

        QCOMPARE(d.clicks, 1);
        QVERIFY(!d.first->isRecording());
    }

    void aWindowThatIsHiddenEndsTheRecording()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());

        d.window->hide();

        QVERIFY(!d.first->isRecording());
        QVERIFY(!d.shortcuts->isRecorderActive());
        QVERIFY(d.show());
        QVERIFY(!d.first->isRecording());
        QVERIFY(!d.second->isRecording());
    }

    void aFieldThatIsShownAgainWaitsATurnForTheTabKey()
    {
        Desk d;
        QVERIFY(d.show());
        d.first->hide();

        d.first->show();

        QVERIFY(!(d.first->focusPolicy() & Qt::TabFocus));
        d.mainQueue.drain();
        QVERIFY(d.first->focusPolicy() & Qt::TabFocus);
    }

    void aWindowThatLosesTheKeyboardTakesTheFocusFromIt()
    {
        Desk d;
        QVERIFY(d.show());
        QVERIFY(d.record());
        QLineEdit other;

        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!d.first->isRecording());
        d.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(d.window.get()));

        QVERIFY(!d.first->isRecording());
        QVERIFY(!d.first->hasFocus());
    }

    void aFieldThatIsSwitchedOffDoesNotRecord()
    {
        Desk d;
        QVERIFY(d.show());
        d.first->setEnabled(false);

        d.click(d.first, d.first->rect().center());

        QVERIFY(!d.first->isRecording());
    }

    void anAlertIsASheetWithTheFirstButtonAsTheUsualOne()
    {
        Desk d;
        d.system.symbolicHotKeys = {{Key::k.rawValue, 0x1000, true, {}}};
        QVERIFY(d.show());
        QVERIFY(d.record());
        QStringList buttons;
        whenAlerted([&](QMessageBox &box) {
            QCOMPARE(box.windowModality(), Qt::WindowModal);
            QCOMPARE(box.parentWidget(), d.window.get());
            QVERIFY(!d.shortcuts->isRecorderActive());
            for (const auto *button : box.buttons())
                buttons.append(button->text());
            QCOMPARE(box.defaultButton()->text(), u"OK"_s);
            box.reject();
        });

        d.press(Qt::Key_K, Qt::ControlModifier);

        QCOMPARE(buttons, (QStringList{u"OK"_s, u"Use Anyway"_s}));
        QCOMPARE(d.first->text(), u"⌃Space"_s);
        QTRY_VERIFY(d.first->isRecording());
    }

    void theSecondButtonOfTheAlertTakesTheShortcut()
    {
        Desk d;
        d.system.symbolicHotKeys = {{Key::k.rawValue, 0x1000, true, {}}};
        QVERIFY(d.show());
        QVERIFY(d.record());
        whenAlerted([](QMessageBox &box) {
            for (auto *button : box.buttons()) {
                if (button->text() == u"Use Anyway"_s)
                    button->click();
            }
        });

        d.press(Qt::Key_K, Qt::ControlModifier);

        QCOMPARE(d.first->text(), u"⌃K"_s);
        QVERIFY(QTest::qWaitForWindowActive(d.window.get()));
        QVERIFY(!d.first->isRecording());
        QVERIFY(!d.first->hasFocus());
    }

    void theWindowMayGoWhileItsAlertIsUp()
    {
        Desk d;
        d.menu.items = {{u"Item"_s, u"k"_s, base::ModifierFlags::control, {}}};
        QVERIFY(d.show());
        QVERIFY(d.record());
        whenAlerted([&](QMessageBox &) { d.window.reset(); });

        QTest::sendKeyEvent(
            QTest::Press, d.window->windowHandle(), Qt::Key_K, u"k"_s, Qt::ControlModifier);

        QVERIFY(!d.first);
        QVERIFY(!d.shortcuts->isRecorderActive());
        QCOMPARE(d.current(), std::optional(controlSpace));
    }

    void aScreenReaderHearsNameTextAndState()
    {
        Desk d;
        QVERIFY(d.show());
        d.first->setAccessibleName(u"Launch"_s);
        auto *field = QAccessible::queryAccessibleInterface(d.first);

        QCOMPARE(field->role(), QAccessible::EditableText);
        QCOMPARE(field->text(QAccessible::Name), u"Launch"_s);
        QCOMPARE(field->text(QAccessible::Value), u"⌃Space"_s);
        QCOMPARE(field->text(QAccessible::Description), u"Ctrl+Space. Record shortcut"_s);
        QVERIFY(field->textInterface());
        QCOMPARE(field->textInterface()->characterCount(), 6);
        QVERIFY(field->state().focusable);
        QCOMPARE(field->childCount(), 1);
        QCOMPARE(field->child(0)->text(QAccessible::Name), u"Clear shortcut"_s);
        QCOMPARE(field->child(0)->role(), QAccessible::Button);

        field->actionInterface()->doAction(QAccessibleActionInterface::setFocusAction());
        QCOMPARE(field->text(QAccessible::Description), u"Ctrl+Space. Press shortcut"_s);
        d.press(Qt::Key_Backspace);
        QCOMPARE(field->text(QAccessible::Description), u"Press shortcut"_s);
        QCOMPARE(field->textInterface()->text(0, -1), QString());
    }

    void modifiersAreSpokenAsWords()
    {
        QCOMPARE(spokenShortcut(u"⌃⌥⇧⌘K"_s), u"Ctrl+Alt+Shift+Super+K"_s);
        QCOMPARE(spokenShortcut(u"F5"_s), u"F5"_s);
        QCOMPARE(spokenShortcut(u"⌃⌫"_s), u"Ctrl+⌫"_s);
    }

    void theLabelStandsBesideTheFieldOrOnlyNamesIt()
    {
        Desk d;
        Recorder recorder(
            {d.name, {}, true, u"Launch Vellumhound"_s}, d.realEvents(), ui::Theme::light());
        auto *label = recorder.findChild<QLabel *>();
        QVERIFY(!label->isHidden());
        QCOMPARE(recorder.control().accessibleName(), u"Launch Vellumhound"_s);

        recorder.setFields({Name{u"browseFinderWindows"_s, {}}, {}, false, u"Windows"_s});

        QVERIFY(label->isHidden());
        QCOMPARE(recorder.control().accessibleName(), u"Windows"_s);
        QCOMPARE(recorder.control().text(), QString());
        recorder.setFields({d.name, {}, false, {}});
        QCOMPARE(recorder.control().accessibleName(), u"Keyboard shortcut"_s);
        QCOMPARE(recorder.control().text(), u"⌃Space"_s);
    }
};

QTEST_MAIN(tst_RecorderWidget)
#include "tst_RecorderWidget.moc"
