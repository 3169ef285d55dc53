// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/MountReaders.h"

#include <QObject>
#include <QSemaphore>
#include <QTest>

#include <future>

using namespace vellumhound::index;
using namespace std::chrono_literals;

class tst_MountReaders final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachMountThatMayHangHasOneReader();
    void whatAReaderHasDoneIsTaken();
    void aMountThatTakesTooLongHangsUntilItAnswers();
};

namespace {

const Mount disk{"/", "/", "8:1", "ext4"};
const Mount share{"/share", "/", "0:50", "nfs4"};
const Mount other{"/other", "/", "0:51", "fuse.sshfs"};

IndexRoot rootAt(const std::string &path)
{
    IndexRoot root;
    root.path = path;
    root.folder = 0;
    return root;
}

}  // namespace

void tst_MountReaders::eachMountThatMayHangHasOneReader()
{
    MountReaders readers([] {}, 10s);

    readers.assign(
        {disk, share, other}, {rootAt("/home"), rootAt("/share/a"), rootAt("/share/b/c")});

    QCOMPARE(readers.slowMounts(), (std::vector<Mount>{share, other}));
    QVERIFY(!readers.readerOf(0));
    QVERIFY(readers.readerOf(1));
    QCOMPARE(readers.readerOf(1), readers.readerOf(2));
    QCOMPARE(readers.readerOf(1)->mountPoint(), std::string("/share"));
    QVERIFY(!readers.readerOf(3));

    const auto *reader = readers.readerOf(1);
    readers.assign({disk, share}, {rootAt("/share/a"), rootAt("/other")});
    QCOMPARE(readers.readerOf(0), reader);
    QVERIFY(!readers.readerOf(1));
}

void tst_MountReaders::whatAReaderHasDoneIsTaken()
{
    QSemaphore wakings;
    MountReaders readers([&] { wakings.release(); }, 10s);
    readers.assign({disk, share}, {rootAt("/share")});
    const MountReaders::Clock::time_point now{1h};
    QVERIFY(!readers.due());

    bool isTaken = false;
    readers.readerOf(0)->post([&]() -> Worker::Completion { return [&] { isTaken = true; }; }, now);
    QCOMPARE(readers.due(), std::optional(now + 10s));
    wakings.acquire();
    for (const auto &completion : readers.takeDone(now))
        completion();

    QVERIFY(isTaken);
    QVERIFY(!readers.due());
}

void tst_MountReaders::aMountThatTakesTooLongHangsUntilItAnswers()
{
    QSemaphore begun;
    QSemaphore wakings;
    std::promise<void> answer;
    MountReaders readers([&] { wakings.release(); }, 10s);
    readers.assign({disk, share}, {rootAt("/share")});
    const MountReaders::Clock::time_point now{1h};
    readers.readerOf(0)->post(
        [&begun, answered = answer.get_future().share()]() -> Worker::Completion {
            begun.release();
            answered.wait();
            return [] {};
        },
        now);
    begun.acquire();
    QVERIFY(readers.giveUpHung(now + 9s).empty());
    QVERIFY(readers.hung().empty());

    QTest::ignoreMessage(QtWarningMsg,
        "the file system at \"/share\" does not answer; what is known of it stays as it is");
    const auto gaveUp = readers.giveUpHung(now + 10s);
    QCOMPARE(gaveUp, std::vector<const MountReader *>{readers.readerOf(0)});
    QVERIFY(readers.hung().contains("/share"));
    QVERIFY(readers.readerOf(0)->isHung());

    answer.set_value();
    wakings.acquire();
    QVERIFY(!readers.readerOf(0)->isHung());
    QVERIFY(readers.takeDone(now + 11s).empty());
    QVERIFY(readers.giveUpHung(now + 11s).empty());
    QVERIFY(readers.hung().empty());
}

QTEST_APPLESS_MAIN(tst_MountReaders)
#include "tst_MountReaders.moc"
