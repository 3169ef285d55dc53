// SPDX-License-Identifier: GPL-3.0-or-later
// Time from presentPanel to the first painted frame of a list with 30 rows. Runs against a real X
// server; takes no argument. Uses a home of its own.
#include "core/File.h"
#include "PanelBench.h"

using namespace vellumhound;
using namespace Qt::StringLiterals;

namespace {

constexpr int rows = 30;
constexpr int rounds = 60;

}  // namespace

int main(int argc, char **argv)
{
    const bench::OwnHome home;
    bench::FrameWatch application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    bench::Launcher launcher(home);
    auto &delegate = launcher.delegate;

    QElapsedTimer clock;
    clock.start();
    delegate.launcher();
    std::printf("%-44s %.2f ms\n", "panel made", double(clock.nsecsElapsed()) / 1e6);

    core::FileList files;
    for (int i = 0; i < rows; ++i) {
        const auto name = u"report %1.txt"_s.arg(i);
        files.append(std::make_shared<core::File>(name, u"/home/a/Documents/Reports/"_s + name,
            false, 1000 * i, base::UTType::plainText()));
    }
    launcher.panel().view().model().showFiles(files, core::ResultType::search);

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
    bench::report("presentPanel to first frame, 30 rows", times);
    return 0;
}
