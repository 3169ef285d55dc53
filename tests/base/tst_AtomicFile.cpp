// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace vellumhound::base;
using namespace Qt::StringLiterals;

class tst_AtomicFile : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> _place;

    QString path() const { return _place->filePath(u"file"_s); }
    std::string name() const { return path().toStdString(); }
    QByteArray bytes() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }
    QStringList entries() const { return QDir(_place->path()).entryList(QDir::Files); }
    void put(const QByteArray &content, const QString &file) const
    {
        QFile written(_place->filePath(file));
        QVERIFY(written.open(QIODevice::WriteOnly));
        QCOMPARE(written.write(content), content.size());
    }

private Q_SLOTS:
    void init() { _place = std::make_unique<QTemporaryDir>(); }

    void whatIsWrittenIsThereAfterTheCommitAndNotBefore()
    {
        put("old", u"file"_s);
        AtomicFile file(name());

        file.write("ne");
        file.write("w");
        QCOMPARE(file.size(), 3U);
        QCOMPARE(bytes(), "old");

        QVERIFY(bool(file.commit()));
        QCOMPARE(bytes(), "new");
        QCOMPARE(entries(), QStringList{u"file"_s});
    }

    void bytesBeyondTheBufferKeepTheirOrder()
    {
        const QByteArray part(100'000, 'x');
        QByteArray whole;
        AtomicFile file(name());
        for (int i = 0; i < 9; ++i) {
            const auto numbered = QByteArray::number(i) + part;
            file.write(numbered.toStdString());
            whole += numbered;
        }
        file.writeAt(100'001, "Z");
        whole[100'001] = 'Z';

        QVERIFY(bool(file.commit()));

        QCOMPARE(bytes(), whole);
    }

    void withoutACommitNothingIsLeft()
    {
        put("old", u"file"_s);
        {
            AtomicFile file(name());
            file.write("new");
        }

        QCOMPARE(bytes(), "old");
        QCOMPARE(entries(), QStringList{u"file"_s});
    }

    void onlyItsOwnerMayReadIt()
    {
        AtomicFile file(name());
        QVERIFY(bool(file.commit()));

        struct stat status {};
        QCOMPARE(::stat(name().c_str(), &status), 0);
        QCOMPARE(status.st_mode & 0777U, 0600U);
    }

    void whatAnEarlierTryLeftIsReplaced()
    {
        put("left behind by a crash", u"file.new"_s);
        AtomicFile file(name());
        file.write("new");

        QVERIFY(bool(file.commit()));

        QCOMPARE(bytes(), "new");
        QCOMPARE(entries(), QStringList{u"file"_s});
    }

    void aLinkInTheWayIsNotFollowed()
    {
        put("victim", u"victim"_s);
        QVERIFY(QFile::link(_place->filePath(u"victim"_s), path() + u".new"_s));
        AtomicFile file(name());
        file.write("new");

        QVERIFY(file.hasFailed());
        QVERIFY(!file.commit());
        QVERIFY(!QFile::exists(path()));
        QFile victim(_place->filePath(u"victim"_s));
        QVERIFY(victim.open(QIODevice::ReadOnly));
        QCOMPARE(victim.readAll(), "victim");
    }

    void aFullDiskLeavesTheOldFileAndNothingElse()
    {
        put("old", u"file"_s);
        rlimit before{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
        const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit few{1000, before.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &few), 0);
        QString reason;
        {
            AtomicFile file(name());
            file.write(std::string(2000, 'x'));
            if (const auto committed = file.commit(); !committed)
                reason = committed.error().description;
        }
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
        std::signal(SIGXFSZ, ignored);

        QCOMPARE(reason, u"File too large"_s);
        QCOMPARE(bytes(), "old");
        QCOMPARE(entries(), QStringList{u"file"_s});
    }
};

QTEST_GUILESS_MAIN(tst_AtomicFile)
#include "tst_AtomicFile.moc"
