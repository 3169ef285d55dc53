// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/ManualTimer.h"
#include "shell/PanelLogic.h"

#include <QStringList>
#include <QTest>

#include <optional>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A panel among fakes that write down, in one list, all that happens to them.
struct Desk {
    struct Window final : shell::PanelWindow {
        explicit Window(Desk &d)
            : desk(d)
        {
        }
        bool isOnScreen() const override { return isShown; }
        bool hasKeyboard() const override { return hasIt; }
        void orderFront() override
        {
            isShown = true;
            desk.log << u"order front"_s;
        }
        void askForKeyboard() override { desk.log << u"ask for keyboard"_s; }
        void orderOut() override
        {
            isShown = false;
            hasIt = false;
            desk.log << u"order out"_s;
            // The window system tells of the loss from inside this call.
            desk.logic->onKeyboardLost();
        }
        Desk &desk;
        bool isShown = false;
        bool hasIt = false;
    };
    struct Preview final : platform::PreviewPanel {
        explicit Preview(Desk &d)
            : desk(d)
        {
        }
        bool isVisible() const override { return isShown; }
        bool isInFullScreenMode() const override { return false; }
        void reloadData() override { desk.log << u"preview reload"_s; }
        void makeKeyAndOrderFront() override {}
        void orderFrontRegardless() override {}
        void orderOut() override
        {
            isShown = false;
            desk.log << u"preview out"_s;
        }
        void setLevel(int) override {}
        int level() const override { return 0; }
        void enterFullScreenMode() override {}
        void exitFullScreenMode() override {}
        Desk &desk;
        bool isShown = false;
    };

    QStringList log;
    bool isOnboardingDone = true;
    base::NotificationCenter notifications;
    base::MainQueue queue;
    fakes::ManualTimer timer;
    Window window{*this};
    Preview preview{*this};
    std::optional<shell::PanelLogic> logic;
    std::vector<base::NotificationCenter::Token> tokens;

    explicit Desk(std::function<void()> applicationDidResignActive = {})
    {
        logic.emplace(window,
            shell::PanelSurroundings{notifications, queue, timer, preview,
                [this] { log << u"preview cleared"_s; },
                [this](bool isPaused) { log << (isPaused ? u"paused"_s : u"monitoring"_s); },
                [this] { return isOnboardingDone; }, std::move(applicationDidResignActive)});
        const auto observe = [this](const char16_t *name, const QString &entry) {
            tokens.push_back(notifications.addObserver(
                QStringView(name).toString(), nullptr, [=, this] { log << entry; }));
        };
        observe(base::Notifications::FloatingPanelDidBecomeKeyNotification, u"did become key"_s);
        observe(base::Notifications::FloatingPanelDidResignKeyNotification, u"did resign key"_s);
    }

    /// As the delegate presents it; the keyboard arrives if `withKeyboard`.
    void present(bool withKeyboard = true)
    {
        logic->makeKeyAndOrderFront();
        logic->becomeKeyWindow();
        window.hasIt = withKeyboard;
        if (withKeyboard)
            logic->onKeyboardGained();
        queue.drain();
        log.clear();
    }
    /// Another program takes the keyboard.
    void loseToAnotherProgram()
    {
        window.hasIt = false;
        logic->onApplicationInactive();
    }
};

const QStringList putAway{u"did resign key"_s, u"preview cleared"_s, u"preview reload"_s,
    u"preview out"_s, u"paused"_s, u"order out"_s};

}  // namespace

class tst_FloatingPanelLogic : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void becomingKeyIsAnnouncedThenKeysAreWatchedThenTheKeyboardIsAskedForInALaterTurn()
    {
        Desk desk;
        desk.logic->makeKeyAndOrderFront();

        desk.logic->becomeKeyWindow();

        QCOMPARE(desk.log, (QStringList{u"order front"_s, u"did become key"_s, u"monitoring"_s}));
        QVERIFY(desk.logic->isKeyWindow());
        desk.queue.drain();
        QCOMPARE(desk.log.last(), u"ask for keyboard"_s);
        QCOMPARE(desk.log.size(), 4);
    }

    void aPanelThatIsKeyAlreadyBecomesKeyOnceMoreWhenItIsPresented()
    {
        Desk desk;
        desk.present();

        desk.logic->becomeKeyWindow();

        QCOMPARE(desk.log, (QStringList{u"did become key"_s, u"monitoring"_s}));
    }

    void theArrivalOfTheKeyboardIsNoSecondBecomingKey()
    {
        Desk desk;
        desk.present(false);

        desk.logic->onKeyboardGained();

        QVERIFY(desk.log.isEmpty());
    }

    void resigningAnnouncesClearsAndHidesInThisOrderAndOnce()
    {
        Desk desk;
        desk.present();

        desk.logic->onKeyboardLost();
        desk.logic->onKeyboardLost();
        desk.logic->onApplicationInactive();

        QCOMPARE(desk.log, putAway);
        QVERIFY(!desk.logic->isKeyWindow());
    }

    void resignKeyComesBeforeResignActive()
    {
        QStringList *log = nullptr;
        Desk desk([&] { *log << u"resign active"_s; });
        log = &desk.log;
        desk.present();

        desk.loseToAnotherProgram();

        QCOMPARE(desk.log, putAway + QStringList{u"resign active"_s});
    }

    void withThePreviewOpenThePanelStaysWhenItResignsKey()
    {
        Desk desk;
        desk.present();
        desk.preview.isShown = true;

        desk.logic->onKeyboardLost();

        QCOMPARE(desk.log, QStringList{u"did resign key"_s});
        QVERIFY(desk.window.isShown);
        QVERIFY(!desk.logic->isKeyWindow());
    }

    void withThePreviewOpenBothGoWhenTheApplicationResignsActive()
    {
        Desk desk;
        desk.present();
        desk.preview.isShown = true;
        desk.logic->onKeyboardLost();
        desk.log.clear();

        desk.logic->onApplicationInactive();

        QCOMPARE(desk.log, (QStringList{u"preview cleared"_s, u"preview reload"_s, u"preview out"_s,
                               u"paused"_s, u"order out"_s}));
        QVERIFY(!desk.window.isShown);
    }

    void afterThePreviewThePanelBecomesKeyAgain()
    {
        Desk desk;
        desk.present();
        desk.preview.isShown = true;
        desk.window.hasIt = false;
        desk.logic->onKeyboardLost();
        desk.log.clear();
        desk.preview.isShown = false;

        desk.window.hasIt = true;
        desk.logic->onKeyboardGained();

        QCOMPARE(desk.log, (QStringList{u"did become key"_s, u"monitoring"_s}));
        QVERIFY(desk.logic->isKeyWindow());
    }

    void duringTheFirstRunNothingHidesAndNothingIsCleared()
    {
        Desk desk;
        desk.isOnboardingDone = false;
        desk.present();

        desk.logic->hideLauncher();
        desk.logic->giveUpKey();
        QVERIFY(desk.log.isEmpty());
        QVERIFY(desk.logic->isKeyWindow());
        desk.loseToAnotherProgram();

        QCOMPARE(desk.log, QStringList{u"did resign key"_s});
        QVERIFY(desk.window.isShown);
    }

    void givingUpKeyPutsThePanelAwayAsResigningDoes()
    {
        Desk desk;
        desk.present();

        desk.logic->giveUpKey();
        QCOMPARE(desk.log, putAway);
        desk.logic->giveUpKey();

        QCOMPARE(desk.log, putAway);
    }

    void aPanelWithoutTheKeyboardAsksOnceMore()
    {
        Desk desk;
        desk.present(false);

        desk.timer.advance(399ms);
        QVERIFY(desk.log.isEmpty());
        desk.timer.advance(1ms);
        QCOMPARE(desk.log, QStringList{u"ask for keyboard"_s});
        desk.timer.advance(10s);

        QCOMPARE(desk.log.size(), 1);
    }

    void aPanelThatStillHasNoneGoesWhenTheActiveWindowNextChanges()
    {
        Desk desk;
        desk.present(false);
        desk.logic->onActiveWindowChanged();
        QVERIFY(desk.log.isEmpty());
        desk.timer.advance(400ms);
        desk.log.clear();

        desk.logic->onActiveWindowChanged();

        QCOMPARE(desk.log, putAway);
    }

    void aPanelThatGotTheKeyboardAtLastStays()
    {
        Desk desk;
        desk.present(false);
        desk.timer.advance(400ms);
        desk.log.clear();

        desk.window.hasIt = true;
        desk.logic->onKeyboardGained();
        desk.logic->onActiveWindowChanged();

        QVERIFY(desk.log.isEmpty());
        QVERIFY(desk.window.isShown);
    }

    void aPanelWithTheKeyboardAsksForNothing()
    {
        Desk desk;
        desk.present();

        desk.timer.advance(1s);

        QVERIFY(desk.log.isEmpty());
    }

    void aPanelThatWentMeanwhileAsksForNothing()
    {
        Desk desk;
        desk.present(false);
        desk.logic->giveUpKey();
        desk.log.clear();

        desk.timer.advance(1s);

        QVERIFY(desk.log.isEmpty());
        QCOMPARE(desk.timer.pendingCount(), 0);
    }

    void afterADialogOfOursAMomentOfInactivityIsForgiven()
    {
        Desk desk;
        desk.isOnboardingDone = false;
        desk.present();
        desk.window.hasIt = false;
        desk.logic->onKeyboardLost();
        desk.isOnboardingDone = true;
        desk.log.clear();

        desk.logic->onOwnWindowClosed();
        desk.logic->onApplicationInactive();
        QCOMPARE(desk.log, (QStringList{u"ask for keyboard"_s, u"ask for keyboard"_s}));
        desk.window.hasIt = true;
        desk.logic->onKeyboardGained();
        desk.timer.advance(400ms);

        QVERIFY(desk.window.isShown);
        QVERIFY(desk.logic->isKeyWindow());
    }

    void afterADialogOfOursAnotherProgramMayTakeTheKeyboardForGood()
    {
        Desk desk;
        desk.present();
        desk.preview.isShown = true;
        desk.logic->onKeyboardLost();
        desk.window.hasIt = false;
        desk.preview.isShown = false;

        desk.logic->onOwnWindowClosed();
        desk.logic->onApplicationInactive();
        QVERIFY(desk.window.isShown);
        desk.timer.advance(400ms);

        QVERIFY(!desk.window.isShown);
    }

    void aPreviewThatGoesWithThePanelAsksForNoKeyboard()
    {
        Desk desk;
        desk.present();
        desk.logic->giveUpKey();
        desk.log.clear();

        desk.logic->onOwnWindowClosed();

        QVERIFY(desk.log.isEmpty());
    }

    void thePromiseOfATurnDoesNotOutliveThePanel()
    {
        Desk desk;
        desk.logic->makeKeyAndOrderFront();
        desk.logic->becomeKeyWindow();
        desk.log.clear();

        desk.logic.reset();
        desk.queue.drain();
        desk.timer.advance(1s);

        QVERIFY(desk.log.isEmpty());
    }

    void aPanelThatResignedInTheSameTurnDoesNotAskForTheKeyboard()
    {
        Desk desk;
        desk.logic->makeKeyAndOrderFront();
        desk.logic->becomeKeyWindow();

        desk.logic->giveUpKey();
        desk.log.clear();
        desk.queue.drain();

        QVERIFY(desk.log.isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_FloatingPanelLogic)
#include "tst_FloatingPanelLogic.moc"
