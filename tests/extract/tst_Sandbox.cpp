// SPDX-License-Identifier: GPL-3.0-or-later
#include <QFile>
#include <QMap>
#include <QObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

class tst_Sandbox final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatReadingDoesNotNeedIsRefused();
};

namespace {

/// What the probe said: attempt and error number.
QMap<QByteArray, int> answersOfProbe(const QString &folder)
{
    QProcess probe;
    probe.setStandardInputFile(folder + QStringLiteral("/there"));
    probe.start(QStringLiteral(CONFINED_PROBE), {folder});
    probe.waitForFinished(-1);
    QMap<QByteArray, int> answers;
    for (const auto &line : probe.readAllStandardError().split('\n')) {
        const auto colon = line.lastIndexOf(':');
        if (colon > 0)
            answers[line.left(colon)] = line.mid(colon + 2).toInt();
    }
    return answers;
}

}  // namespace

void tst_Sandbox::whatReadingDoesNotNeedIsRefused()
{
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("there")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("content");
    file.close();

    const auto answers = answersOfProbe(folder.path());

    for (const auto *name : {"open for writing", "create", "create without a name", "truncate",
             "unlink", "rename", "write to standard output", "memory file", "fork", "clone", "exec",
             "trace", "signal another", "become dumpable", "set a limit", "socket",
             "internet socket", "executable memory", "io_uring", "bpf", "mount"})
        QVERIFY2(answers.value(name, 0) == EPERM, name);
    // Without landlock the files that anybody may read stay readable: nothing can carry them out.
    if (answers.contains("has landlock")) {
        QCOMPARE(answers.value("read another file", 0), EACCES);
        QCOMPARE(answers.value("list a folder", 0), EACCES);
    }
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    QCOMPARE(answers.value("four gigabytes", 0), ENOMEM);
#endif
    for (const auto *name : {"allowed: memory", "allowed: read a file that is open"})
        QVERIFY2(answers.value(name, -1) == 0, name);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), "content");
}

QTEST_GUILESS_MAIN(tst_Sandbox)
#include "tst_Sandbox.moc"
