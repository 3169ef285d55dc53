// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/LocalEventSource.h"

#include <QObject>
#include <QSet>

#include <map>
#include <utility>

class QKeyEvent;
class QMouseEvent;

namespace vellumhound::platform {
class KeyTranslator;
}

namespace vellumhound::keyboard::KeyboardShortcuts {

/// The events of all windows of the process, seen at the native window, before key filters,
/// mnemonics and widgets. Looks at nothing while nobody monitors.
///
/// A consumed key reaches nothing else, and what it leads to while it is held down, its repeats and
/// its release, reaches no window either, whether or not anybody monitors by then. The release of a
/// mouse button always reaches the widget that was pressed, which else would stay pressed; whoever
/// consumes it keeps it from the monitors behind.
///
/// One for the process. Main thread; made after the application object, outlives its monitors.
class LocalEventFilter final : public QObject, public platform::LocalEventSource {
    Q_OBJECT

public:
    /// `translator` outlives the filter.
    explicit LocalEventFilter(platform::KeyTranslator &translator, QObject *parent = nullptr);

    int addLocalMonitor(std::uint64_t eventMask, Handler handler) override;
    void removeMonitor(int handle) override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool isWatched(platform::LocalEvent::Type type) const;
    bool filterKey(const QKeyEvent &event, platform::LocalEvent::Type type);
    bool isKeyConsumed(const QKeyEvent &event, platform::LocalEvent::Type type);
    void filterRelease(const QMouseEvent &event);
    bool isConsumed(const platform::LocalEvent &event);
    void update();

    platform::KeyTranslator &_translator;
    int _lastHandle = 0;
    std::map<int, std::pair<std::uint64_t, Handler>> _monitors;  // by handle: mask and handler
    QSet<quint64> _takenKeys;  // those whose press was consumed and that have not come up yet
    bool _isInstalled = false;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
