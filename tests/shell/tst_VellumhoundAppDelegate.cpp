// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/ManualTimer.h"
#include "settings/AppSettings.h"
#include "shell/NotingPanel.h"
#include "shell/VellumhoundAppDelegate.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QStringList presented{u"center"_s, u"front"_s, u"become key"_s};

}  // namespace

class tst_VellumhoundAppDelegate : public QObject {
    Q_OBJECT

    std::unique_ptr<fakes::ManualTimer> _timer;
    std::unique_ptr<VellumhoundAppDelegate> _delegate;
    QStringList _calls;
    QStringList _made;
    bool _isOnboardingDone = true;

    void makeDelegate(std::function<bool()> isOnboardingDone)
    {
        _delegate = std::make_unique<VellumhoundAppDelegate>(
            *_timer,
            [this](const QString &identifier, VellumhoundAppDelegate &) {
                _made.append(identifier);
                return std::make_unique<NotingPanel>(_calls);
            },
            std::move(isOnboardingDone));
    }

private Q_SLOTS:
    void init()
    {
        _calls.clear();
        _made.clear();
        _isOnboardingDone = true;
        _timer = std::make_unique<fakes::ManualTimer>();
        makeDelegate([this] { return _isOnboardingDone; });
    }
    void cleanup()
    {
        _delegate.reset();
        _timer.reset();
    }

    void thePanelIsMadeOnFirstUseAndOnlyOnce()
    {
        QCOMPARE(_made, QStringList());

        auto &launcher = _delegate->launcher();
        auto &again = _delegate->launcher();

        QCOMPARE(&again, &launcher);
        QCOMPARE(_made, QStringList(u"Launcher"_s));
        QCOMPARE(_calls, QStringList());
    }

    void thePreviewIsThePanels()
    {
        QCOMPARE(&_delegate->previewPanelManager(), &_delegate->launcher().previewPanelManager());
        QCOMPARE(_made.size(), 1);
    }

    void presentingCentresThenBringsToTheFrontThenMakesKey()
    {
        _delegate->presentPanel();

        QCOMPARE(_calls, presented);
    }

    void aHotKeyPresentsAfterTheDelayAndNotBefore()
    {
        _delegate->showLauncher();
        QCOMPARE(_made, QStringList());

        _timer->advance(99ms);
        QCOMPARE(_calls, QStringList());

        _timer->advance(1ms);
        QCOMPARE(_calls, presented);
        QCOMPARE(VellumhoundAppDelegate::shortcutDelay, 100ms);
    }

    void twoHotKeysWithinTheDelayPresentTwice()
    {
        _delegate->showLauncher();
        _timer->advance(50ms);
        _delegate->showLauncher();

        _timer->advance(50ms);
        QCOMPARE(_calls, presented);

        _timer->advance(50ms);
        QCOMPARE(_calls, presented + presented);
    }

    void theHotKeyNeverToggles()
    {
        for (int i = 0; i < 3; ++i) {
            _delegate->showLauncher();
            _timer->advance(100ms);
        }

        QCOMPARE(_calls, presented + presented + presented);
        QCOMPARE(_made.size(), 1);
        QCOMPARE(_timer->pendingCount(), 0);
    }

    void reopeningPresentsWithoutTheDelay()
    {
        QVERIFY(_delegate->applicationShouldHandleReopen());

        QCOMPARE(_calls, presented);
        QCOMPARE(_timer->pendingCount(), 0);
    }

    void anApplicationThatTurnsInactiveHidesThePanel()
    {
        _delegate->presentPanel();
        _calls.clear();

        _delegate->applicationDidResignActive();

        QCOMPARE(_calls, QStringList(u"hide"_s));
    }

    void afterTheFirstRunTheProcessStartsInTheBackground()
    {
        _delegate->applicationDidFinishLaunching();
        _timer->advance(1s);

        QCOMPARE(_calls, QStringList());
        QCOMPARE(_made, QStringList());
    }

    void untilTheFirstRunIsOverTheStartPutsThePanelInFront()
    {
        _isOnboardingDone = false;

        _delegate->applicationDidFinishLaunching();
        QCOMPARE(_calls, QStringList());
        _timer->advance(100ms);

        QCOMPARE(_calls, presented);
    }

    void settingsThatCannotBeReadCountAsAFirstRunThatIsNotOver()
    {
        QTemporaryDir folder;
        settings::UserDefaults defaults(folder.path(), *_timer);
        settings::AppSettings settings(defaults);
        settings.setOnboarding(settings::OnboardingStep::done);
        const auto isDone = [&] { return settings.onboarding() == settings::OnboardingStep::done; };
        QVERIFY(isDone());
        makeDelegate(isDone);

        QVERIFY(defaults.setData(u"appSettings"_s, "{ broken"));
        _delegate->applicationDidFinishLaunching();
        _timer->advance(100ms);

        QCOMPARE(_calls, presented);
    }

    void aWaitingShowGoesWithTheDelegate()
    {
        _delegate->showLauncher();

        _delegate.reset();
        _timer->advance(1s);

        QCOMPARE(_calls, QStringList());
        QCOMPARE(_made, QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_VellumhoundAppDelegate)
#include "tst_VellumhoundAppDelegate.moc"
