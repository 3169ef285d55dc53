// SPDX-License-Identifier: GPL-3.0-or-later
#include "fakes/FakeLocalEventSource.h"
#include "keyboard/KeyboardShortcuts/LocalEventMonitor.h"

#include <QTest>

#include <memory>

using namespace vellumhound;
using keyboard::KeyboardShortcuts::LocalEventMonitor;
using platform::LocalEvent;

namespace {

LocalEvent eventOf(LocalEvent::Type type)
{
    LocalEvent event;
    event.type = type;
    return event;
}

}  // namespace

class tst_LocalEventMonitor : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itSeesTheEventsOfItsMaskFromItsStartToItsEnd()
    {
        fakes::FakeLocalEventSource source;
        int seen = 0;
        auto monitor = std::make_unique<LocalEventMonitor>(
            source, LocalEvent::maskOf(LocalEvent::keyDown), [&](const LocalEvent &event) {
                ++seen;
                return std::optional(event);
            });

        source.send(eventOf(LocalEvent::keyDown));
        QCOMPARE(seen, 0);
        monitor->start();
        monitor->start();
        source.send(eventOf(LocalEvent::keyDown));
        source.send(eventOf(LocalEvent::keyUp));
        source.send(eventOf(LocalEvent::leftMouseUp));
        QCOMPARE(seen, 1);
        monitor.reset();
        source.send(eventOf(LocalEvent::keyDown));

        QCOMPARE(seen, 1);
        QVERIFY(source.monitors.empty());
    }

    void itMayGoInsideItsOwnCallback()
    {
        fakes::FakeLocalEventSource source;
        std::unique_ptr<LocalEventMonitor> monitor;
        const auto marker = std::make_shared<int>(0);
        monitor =
            std::make_unique<LocalEventMonitor>(source, LocalEvent::maskOf(LocalEvent::keyDown),
                [&monitor, marker](const LocalEvent &) -> std::optional<LocalEvent> {
                    monitor.reset();
                    ++*marker;
                    return std::nullopt;
                });
        monitor->start();

        QVERIFY(!source.send(eventOf(LocalEvent::keyDown)));

        QCOMPARE(*marker, 1);
        QVERIFY(source.monitors.empty());
    }
};

QTEST_GUILESS_MAIN(tst_LocalEventMonitor)
#include "tst_LocalEventMonitor.moc"
