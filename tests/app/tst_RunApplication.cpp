// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/RunApplication.h"

#include <QProcess>
#include <QTest>

#include <cstdio>
#include <cstring>

using namespace vellumhound;
using namespace Qt::StringLiterals;

namespace {

/// Stands for all that main() would destroy while a worker that was left behind uses it.
struct Static {
    ~Static() { std::fputs("destroyed\n", stderr); }
};

[[noreturn]] void endInAnotherProcess()
{
    static const Static something;
    std::fputs("written", stdout);
    app::endProcess(3);
}

}  // namespace

class tst_RunApplication : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theEndDestroysNothingThatAWorkerMayStillUse()
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {u"--end"_s});
        QVERIFY(process.waitForFinished());

        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 3);
        QCOMPARE(process.readAllStandardOutput(), "written");
        QCOMPARE(process.readAllStandardError(), "");
    }
};

int main(int argc, char **argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--end") == 0)
        endInAnotherProcess();
    QCoreApplication application(argc, argv);
    tst_RunApplication test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_RunApplication.moc"
