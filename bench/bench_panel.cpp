// SPDX-License-Identifier: GPL-3.0-or-later
// Time from presentPanel to the first painted frame of a list with 30 rows. Runs against a real X
// server; takes no argument. Uses a home of its own.
#include "core/File.h"
#include "shell/VellumhoundAppDelegate.h"
#include "shell/widgets/LauncherWindow.h"
#include "shell/widgets/Services.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QWindow>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace vellumhound;
using namespace Qt::StringLiterals;

namespace {

constexpr int rows = 30;
constexpr int rounds = 60;

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

void report(const char *what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    std::printf("%-44s median %6.2f ms, p95 %6.2f ms, n %zu\n", what, times[times.size() / 2],
        times[times.size() * 95 / 100], times.size());
}

}  // namespace

int main(int argc, char **argv)
{
    const QTemporaryDir home;
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(name, home.path().toLocal8Bit());
    FrameWatch application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    auto store = store::PersistenceController::load(home.filePath(u"DataModel.sqlite"_s));
    shell::Services services(std::move(store).value());
    const auto isOnboardingDone = [] { return true; };
    shell::VellumhoundAppDelegate delegate(
        services.timer,
        [&](const QString &identifier, shell::VellumhoundAppDelegate &owner) {
            auto window = std::make_unique<shell::LauncherWindow>(
                identifier, services, owner, isOnboardingDone);
            window->setAppearance({});
            return window;
        },
        isOnboardingDone);

    QElapsedTimer clock;
    clock.start();
    delegate.launcher();
    std::printf("%-44s %.2f ms\n", "panel made", double(clock.nsecsElapsed()) / 1e6);

    auto &panel = static_cast<shell::LauncherWindow &>(delegate.launcher());
    core::FileList files;
    for (int i = 0; i < rows; ++i) {
        const auto name = u"report %1.txt"_s.arg(i);
        files.append(std::make_shared<core::File>(name, u"/home/a/Documents/Reports/"_s + name,
            false, 1000 * i, base::UTType::plainText()));
    }
    panel.view().model().showFiles(files, core::ResultType::search);

    std::vector<double> times;
    for (int round = 0; round <= rounds; ++round) {
        application.start();
        delegate.presentPanel();
        const double time = application.milliseconds();
        if (round == 0)
            std::printf("%-44s %.2f ms\n", "first presentPanel to first frame", time);
        else
            times.push_back(time);
        QCoreApplication::processEvents();
        delegate.applicationDidResignActive();
        QCoreApplication::processEvents();
    }
    report("presentPanel to first frame, 30 rows", times);
    return 0;
}
