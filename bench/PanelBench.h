// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/LauncherWindow.h"
#include "app/Services.h"
#include "shell/VellumhoundAppDelegate.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace vellumhound::bench {

/// Notes the moment when a frame of the panel's window has been painted and handed to the server.
class FrameWatch final : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        const auto type = event->type();
        const bool isHandled = QApplication::notify(receiver, event);
        const bool isFrame = type == QEvent::UpdateRequest || type == QEvent::Expose;
        if (isFrame && _isWaiting && receiver->inherits("QWidgetWindow")) {
            _isWaiting = false;
            _frameNs = _clock.nsecsElapsed();
            if (_loop)
                _loop->quit();
        }
        return isHandled;
    }
    bool isWaiting() const { return _isWaiting; }
    void start()
    {
        _isWaiting = true;
        _clock.start();
    }
    double milliseconds()
    {
        if (_isWaiting) {
            QEventLoop loop;
            _loop = &loop;
            loop.exec();
            _loop = nullptr;
        }
        return double(_frameNs) / 1e6;
    }

private:
    QElapsedTimer _clock;
    QEventLoop *_loop = nullptr;
    bool _isWaiting = false;
    qint64 _frameNs = 0;
};

inline void report(const char *what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    std::printf("%-44s median %6.2f ms, p95 %6.2f ms, n %zu\n", what, times[times.size() / 2],
        times[times.size() * 95 / 100], times.size());
}

/// A home of its own for the process; made before anything else.
class OwnHome {
public:
    OwnHome()
    {
        for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
            qputenv(name, _folder.path().toLocal8Bit());
    }
    QString filePath(const QString &name) const { return _folder.filePath(name); }

private:
    const QTemporaryDir _folder;
};

/// The program as it runs, without its ways in from outside.
struct Launcher {
    explicit Launcher(const OwnHome &home)
        : services(
              store::PersistenceController::load(home.filePath(QStringLiteral("DataModel.sqlite")))
                  .value(),
              {})
        , delegate(
              services.timer,
              [this](const QString &identifier, shell::VellumhoundAppDelegate &owner) {
                  auto window = std::make_unique<app::LauncherWindow>(
                      identifier, services, owner, [] { return true; });
                  window->setAppearance({});
                  return window;
              },
              [] { return true; })
    {
    }
    app::LauncherWindow &panel() { return static_cast<app::LauncherWindow &>(delegate.launcher()); }

    app::Services services;
    shell::VellumhoundAppDelegate delegate;
};

}  // namespace vellumhound::bench
