// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeDesktopSession.h"
#include "fakes/FakeKeySetting.h"
#include "fakes/FakeShortcutWriter.h"
#include "keyboard/GlobalShortcut.h"
#include "keyboard/HotKeyStatus.h"
#include "keyboard/KeyboardShortcuts/NamedShortcutsFixture.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace vellumhound;
using namespace vellumhound::keyboard;
using namespace Qt::StringLiterals;
using platform::HotKeyFacility;
using platform::HotKeyReport;
using State = HotKeyDescription::State;

class tst_HotKeyStatus : public QObject {
    Q_OBJECT

private:
    std::unique_ptr<KeyboardShortcuts::NamedShortcutsFixture> _fixture;
    fakes::FakeDesktopSession _session;
    fakes::FakeShortcutWriter _writer;
    fakes::FakeKeySetting _keySetting;
    std::unique_ptr<HotKeyStatus> _status;

    const KeyboardShortcuts::Name &launch() const { return GlobalShortcut::launchVellumhound(); }
    const KeyboardShortcuts::Name &browse() const { return GlobalShortcut::browseFinderWindows(); }
    HotKeyDescription description() const { return _status->description(launch()); }

private Q_SLOTS:
    void init()
    {
        _fixture = std::make_unique<KeyboardShortcuts::NamedShortcutsFixture>();
        _session = {};
        _session.names = QStringList{u"sway"_s};
        _writer = {};
        _writer.texts.insert({49, 0x1000},
            {u"Ctrl+Space"_s, u"<Control>space"_s, u"Ctrl+space"_s, u"CTRL, space"_s, u"space"_s});
        _keySetting = {};
        for (const auto &name : {launch(), browse()})
            _fixture->shortcuts->createName(name.rawValue, name.defaultShortcut);
        _status = std::make_unique<HotKeyStatus>(
            HotKeyStatus::Environment{*_fixture->shortcuts, _fixture->center,
                _fixture->notifications, _session, _writer, _keySetting},
            QList{launch(), browse()});
    }
    void cleanup()
    {
        QVERIFY(_status->isConsistent());
        _status.reset();
        // Nobody listens any more.
        _fixture->center.setReport(u"launchVellumhound"_s, {});
    }

    void thereIsOneRecordForEachName()
    {
        QCOMPARE(_status->descriptions().size(), 2);
        QCOMPARE(_status->descriptions()[0].name, u"launchVellumhound"_s);
        QCOMPARE(_status->descriptions()[1].name, u"browseFinderWindows"_s);
        QCOMPARE(description().trigger, u"⌃Space"_s);
        QCOMPARE(_status->description({u"other"_s, {}}), HotKeyDescription());
    }

    void whatTheDesktopSaysIsToldOnce()
    {
        QSignalSpy changes(_status.get(), &HotKeyStatus::changed);
        HotKeyReport report;
        report.facility = HotKeyFacility::portal;

        report.state = HotKeyReport::State::waiting;
        _fixture->center.setReport(u"launchVellumhound"_s, report);
        report.state = HotKeyReport::State::active;
        _fixture->center.setReport(u"launchVellumhound"_s, report);

        QTRY_COMPARE(description().state, State::active);
        QCOMPARE(changes, (QList<QVariantList>{{u"launchVellumhound"_s}}));
        QCOMPARE(description().facility, u"the desktop portal"_s);
    }

    void whatReadsAlikeIsNotTold()
    {
        QSignalSpy changes(_status.get(), &HotKeyStatus::changed);

        _fixture->center.setReport(u"launchVellumhound"_s, {});
        _status->refresh();
        _fixture->center.setReport(u"browseFinderWindows"_s,
            {HotKeyReport::State::active, HotKeyFacility::x11, {}, {}, {}});

        QTRY_COMPARE(changes.size(), 1);
        QCOMPARE(changes.first().first(), u"browseFinderWindows"_s);
    }

    void aChangedShortcutIsTold()
    {
        QSignalSpy changes(_status.get(), &HotKeyStatus::changed);

        _fixture->shortcuts->setShortcut(launch(), std::nullopt);

        QTRY_COMPARE(description().state, State::withoutShortcut);
        QCOMPARE(description().sentence, u"No shortcut is set."_s);
        QCOMPARE(changes, (QList<QVariantList>{{u"launchVellumhound"_s}}));
    }

    void whileARecorderListensAllStaysAsItWas()
    {
        const HotKeyReport active{HotKeyReport::State::active, HotKeyFacility::x11, {}, {}, {}};
        _fixture->center.setReport(u"launchVellumhound"_s, active);
        QTRY_COMPARE(description().state, State::active);
        QSignalSpy changes(_status.get(), &HotKeyStatus::changed);

        _fixture->shortcuts->setRecorderActive(true);
        _fixture->center.setReport(u"launchVellumhound"_s, {});
        _status->refresh();
        _fixture->shortcuts->setRecorderActive(false);
        _fixture->center.setReport(u"launchVellumhound"_s, active);
        _status->refresh();

        QCOMPARE(description().state, State::active);
        QCOMPARE(changes.size(), 0);
    }

    void namesWithOneShortcutShareWhatBecameOfIt()
    {
        _fixture->shortcuts->setShortcut(browse(), KeyboardShortcuts::controlSpace);
        _fixture->center.setReport(
            u"launchVellumhound"_s, {HotKeyReport::State::active, HotKeyFacility::x11, {}, {}, {}});

        QTRY_COMPARE(_status->description(browse()).state, State::active);
        QCOMPARE(description().state, State::active);
    }

    void aDesktopWithoutHotKeysIsToldItsLine()
    {
        _fixture->center.isThere = false;
        _session.program = u"/opt/vellumhound"_s;

        _status->refresh();

        QCOMPARE(description().state, State::toBeSetInDesktop);
        QCOMPARE(description().instructions.lines,
            QStringList{u"bindsym Ctrl+space exec /opt/vellumhound"_s});
        // Without texts for its key.
        QCOMPARE(_status->description(browse()).instructions.lines,
            QStringList{u"/opt/vellumhound browse-windows"_s});
    }

    void whatNobodyAnnouncesIsSeenWhenAskedTo()
    {
        _fixture->center.isThere = false;
        _session.type = platform::SessionType::wayland;
        _status->refresh();
        QCOMPARE(description().note, QString());

        _session.isInstalled = false;
        _status->refresh();
        QVERIFY(
            description().note.startsWith(u"The desktop entry of Vellumhound is not installed"_s));

        _keySetting.entries.insert(u"launchVellumhound"_s, {});
        _status->refresh();
        QCOMPARE(description().state, State::active);
        QCOMPARE(description().sentence, u"⌃Space is set in the settings of sway."_s);
    }
};

QTEST_GUILESS_MAIN(tst_HotKeyStatus)
#include "tst_HotKeyStatus.moc"
