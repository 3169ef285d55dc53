// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Color.h"
#include "base/Timer.h"

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vellumhound::platform {

/// Tells which tray the desktop has for an item of ours, and how the tray wants it drawn.
///
/// The toolkit decides once per process, with its first item, whether items go to a
/// StatusNotifierWatcher or into an X11 tray, and keeps to it. So the first item must wait for a
/// tray; the way that is found first is final here too, while trays of that way may come and go.
/// A watcher without a host counts as none, but a host that is about to come is preferred to the
/// X11 tray (which then mostly is a bridge to it) for a while.
///
/// Main thread; made after the application object, owned by the composition root.
class TrayHost final : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    enum class Kind { none, statusNotifier, x11 };

    /// How long an X11 tray waits for the host of a watcher that is there.
    static constexpr std::chrono::milliseconds hostPatience{5000};

    /// `bus` is the session bus, connected or not.
    TrayHost(QDBusConnection bus, base::Timer &timer, QObject *parent = nullptr);
    ~TrayHost() override;

    /// None until the first tray was there.
    Kind kind() const { return _kind; }
    /// In what the X11 tray has its signs drawn, if it says so.
    const std::optional<base::Color> &foreground() const { return _foreground; }

Q_SIGNALS:
    void kindChanged();
    void foregroundChanged();

private Q_SLOTS:
    void askForHost();

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    void followWatcher();
    void followX11Tray();
    void lookForX11Tray();
    void readColors();
    void settle(Kind kind);

    QDBusConnection _bus;
    base::Timer &_timer;
    Kind _kind = Kind::none;
    bool _isWatcherThere = false;
    int _question = 0;  // the last one put to the watcher; older answers do not count
    std::unique_ptr<base::Timer::Wait> _patience;
    bool _isPatienceOver = false;

    struct X11Atoms;
    std::unique_ptr<X11Atoms> _atoms;  // null without an X server
    std::uint32_t _tray = 0;           // the window of the X11 tray, 0 while there is none
    std::optional<base::Color> _foreground;
};

}  // namespace vellumhound::platform
