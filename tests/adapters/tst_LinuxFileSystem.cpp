// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/NativePath.h"
#include "platform/linux/LinuxFileSystem.h"

#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using base::UTType;
using platform::LinuxFileSystem;

namespace {

/// A folder of its own for each test, filled by system calls as names may be of any bytes.
class Tree {
public:
    QString path(const QString &name = {}) const
    {
        return base::appendingPathComponent(_folder.path(), name);
    }
    QByteArray bytes(const QByteArray &name) const
    {
        return base::pathToBytes(_folder.path()) + '/' + name;
    }
    bool file(const QByteArray &name, const QByteArray &content = {}) const
    {
        const int fd = ::open(bytes(name).constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        if (fd < 0)
            return false;
        const bool isWritten =
            ::write(fd, content.constData(), std::size_t(content.size())) == content.size();
        return ::close(fd) == 0 && isWritten;
    }
    bool folder(const QByteArray &name) const
    {
        return ::mkdir(bytes(name).constData(), 0755) == 0;
    }
    bool link(const QByteArray &target, const QByteArray &name) const
    {
        return ::symlink(target.constData(), bytes(name).constData()) == 0;
    }

private:
    QTemporaryDir _folder;
};

QStringList namesOf(const QList<platform::DirectoryEntry> &entries)
{
    QStringList names;
    for (const auto &entry : entries)
        names.append(entry.attributes.name);
    return names;
}

LinuxFileSystem withoutApplications()
{
    return LinuxFileSystem({});
}

}  // namespace

class tst_LinuxFileSystem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFileHasNameSizeAndType()
    {
        const Tree tree;
        QVERIFY(tree.file("report.pdf", "12345"));

        const auto found = withoutApplications().attributes(tree.path(u"report.pdf"_s));

        QVERIFY(found);
        QCOMPARE(found.value().name, u"report.pdf"_s);
        QCOMPARE(found.value().fileSize, std::optional<std::int64_t>(5));
        QCOMPARE(found.value().contentType, std::optional(UTType::pdf()));
        QVERIFY(!found.value().isDirectory);
        QVERIFY(!found.value().isHidden);
    }

    void aFolderHasNoSize()
    {
        const Tree tree;
        QVERIFY(tree.folder("photos.pdf"));

        const auto found = withoutApplications().attributes(tree.path(u"photos.pdf"_s));

        QVERIFY(found);
        QVERIFY(found.value().isDirectory);
        QVERIFY(!found.value().fileSize);
        QCOMPARE(found.value().contentType, std::optional(UTType::folder()));
    }

    void aTrailingSlashDoesNotBelongToTheName()
    {
        const Tree tree;
        QVERIFY(tree.folder("a"));

        QCOMPARE(withoutApplications().attributes(tree.path(u"a/"_s)).value().name, u"a"_s);
        QCOMPARE(withoutApplications().attributes(u"/"_s).value().name, u"/"_s);
    }

    void aHiddenFileIsKnownByItsDot()
    {
        const Tree tree;
        QVERIFY(tree.file(".profile"));

        QVERIFY(withoutApplications().attributes(tree.path(u".profile"_s)).value().isHidden);
    }

    void aLinkTakesKindTypeAndSizeOfItsTarget()
    {
        const Tree tree;
        QVERIFY(tree.file("target.pdf", "123"));
        QVERIFY(tree.folder("folder"));
        QVERIFY(tree.link("target.pdf", "near"));
        QVERIFY(tree.link("near", "far"));
        QVERIFY(tree.link("folder", "place"));
        const auto fileSystem = withoutApplications();

        const auto far = fileSystem.attributes(tree.path(u"far"_s));
        const auto place = fileSystem.attributes(tree.path(u"place"_s));

        QCOMPARE(far.value().name, u"far"_s);
        QCOMPARE(far.value().fileSize, std::optional<std::int64_t>(3));
        QCOMPARE(far.value().contentType, std::optional(UTType::pdf()));
        QVERIFY(place.value().isDirectory);
        QVERIFY(!place.value().fileSize);
    }

    void aBrokenLinkIsALinkWithoutASize()
    {
        const Tree tree;
        QVERIFY(tree.link("nowhere.pdf", "broken"));
        const auto fileSystem = withoutApplications();

        const auto found = fileSystem.attributes(tree.path(u"broken"_s));

        QVERIFY(found);
        QCOMPARE(found.value().contentType, std::optional(UTType::symlink()));
        QVERIFY(!found.value().fileSize);
        QVERIFY(!fileSystem.exists(tree.path(u"broken"_s)));
    }

    void linksInACircleAreBrokenOnes()
    {
        const Tree tree;
        QVERIFY(tree.link("b", "a"));
        QVERIFY(tree.link("a", "b"));
        const auto fileSystem = withoutApplications();

        const auto listing = fileSystem.contentsOfDirectory(tree.path());

        QCOMPARE(namesOf(listing.value()), (QStringList{u"a"_s, u"b"_s}));
        QCOMPARE(listing.value()[0].attributes.contentType, std::optional(UTType::symlink()));
        QVERIFY(!fileSystem.contentsOfDirectory(tree.path(u"a"_s)));
    }

    void aFolderThatHoldsALinkToItselfIsListed()
    {
        const Tree tree;
        QVERIFY(tree.link(".", "self"));

        const auto listing = withoutApplications().contentsOfDirectory(tree.path(u"self/self"_s));

        QCOMPARE(namesOf(listing.value()), QStringList{u"self"_s});
        QCOMPARE(listing.value()[0].path, tree.path(u"self/self/self"_s));
    }

    void specialFilesAreListedAndNeverOpened()
    {
        const Tree tree;
        QCOMPARE(::mkfifo(tree.bytes("pipe.pdf").constData(), 0600), 0);

        const auto listing = withoutApplications().contentsOfDirectory(tree.path());

        QCOMPARE(namesOf(listing.value()), QStringList{u"pipe.pdf"_s});
        QVERIFY(!listing.value()[0].attributes.contentType);
        QVERIFY(!listing.value()[0].attributes.isDirectory);
    }

    void aPipeIsNoFolder()
    {
        const Tree tree;
        QCOMPARE(::mkfifo(tree.bytes("pipe").constData(), 0600), 0);

        QVERIFY(!withoutApplications().contentsOfDirectory(tree.path(u"pipe"_s)));
    }

    void whatIsNotThereIsAnError()
    {
        const Tree tree;
        const auto fileSystem = withoutApplications();

        QVERIFY(!fileSystem.exists(tree.path(u"none"_s)));
        QCOMPARE(fileSystem.attributes(tree.path(u"none"_s)).error().description,
            u"No such file or directory"_s);
        QVERIFY(!fileSystem.contentsOfDirectory(tree.path(u"none"_s)));
        QVERIFY(!fileSystem.exists({}));
        QVERIFY(!fileSystem.attributes({}));
    }

    void aFileHasNoContents()
    {
        const Tree tree;
        QVERIFY(tree.file("file"));

        QCOMPARE(
            withoutApplications().contentsOfDirectory(tree.path(u"file"_s)).error().description,
            u"Not a directory"_s);
    }

    void anUnreadableFolderIsAnError()
    {
        // Permissions do not keep the administrator out, so the question is asked as somebody else.
        const Tree tree;
        QVERIFY(tree.folder("closed"));
        QCOMPARE(::chmod(tree.bytes("closed").constData(), 0), 0);
        const bool isAdministrator = ::geteuid() == 0;
        const uid_t nobody = 65534;
        if (isAdministrator) {
            QCOMPARE(::chmod(tree.bytes("").constData(), 0755), 0);
            QCOMPARE(::seteuid(nobody), 0);
        }

        const auto listing = withoutApplications().contentsOfDirectory(tree.path(u"closed"_s));

        if (isAdministrator)
            QCOMPARE(::seteuid(0), 0);
        QCOMPARE(::chmod(tree.bytes("closed").constData(), 0755), 0);
        QVERIFY(!listing);
        QCOMPARE(listing.error().description, u"Permission denied"_s);
    }

    void entriesComeAsPeopleSortThemAndWithoutHiddenOnes()
    {
        const Tree tree;
        for (const auto *name : {"file10", "File2", "file1", ".hidden", "Zebra", "apple"})
            QVERIFY(tree.file(name));
        QVERIFY(tree.folder(".git"));

        const auto listing = withoutApplications().contentsOfDirectory(tree.path());

        QCOMPARE(namesOf(listing.value()),
            (QStringList{u"apple"_s, u"file1"_s, u"File2"_s, u"file10"_s, u"Zebra"_s}));
    }

    void anEmptyFolderHasNoEntries()
    {
        const Tree tree;

        const auto listing = withoutApplications().contentsOfDirectory(tree.path());

        QVERIFY(listing);
        QVERIFY(listing.value().isEmpty());
    }

    void namesOfAnyBytesMakeTheRoundTrip()
    {
        const Tree tree;
        QVERIFY(tree.file("caf\xe9.txt", "1"));
        QVERIFY(tree.file("two\nlines", "12"));
        QVERIFY(tree.folder("\xff\xfe"));
        QVERIFY(tree.file("\xff\xfe/inside"));
        const auto fileSystem = withoutApplications();

        const auto listing = fileSystem.contentsOfDirectory(tree.path());

        QCOMPARE(listing.value().size(), 3);
        for (const auto &entry : listing.value()) {
            QVERIFY(fileSystem.exists(entry.path));
            QCOMPARE(fileSystem.attributes(entry.path).value(), entry.attributes);
            if (entry.attributes.isDirectory)
                QCOMPARE(fileSystem.contentsOfDirectory(entry.path).value().size(), 1);
        }
    }

    void anApplicationHasItsTypeAndItsLocalisedName()
    {
        const Tree tree;
        QVERIFY(tree.file("org.example.Zoo.desktop"));
        QVERIFY(tree.file("other.desktop"));
        QVERIFY(tree.file("note.txt"));
        const LinuxFileSystem fileSystem([&](const QString &path) -> std::optional<QString> {
            if (path == tree.path(u"org.example.Zoo.desktop"_s))
                return u"An Animal Park"_s;
            return std::nullopt;
        });

        const auto listing = fileSystem.contentsOfDirectory(tree.path());

        QCOMPARE(namesOf(listing.value()),
            (QStringList{u"An Animal Park"_s, u"note.txt"_s, u"other.desktop"_s}));
        QCOMPARE(listing.value()[0].path, tree.path(u"org.example.Zoo.desktop"_s));
        QCOMPARE(listing.value()[0].attributes.contentType, std::optional(UTType::application()));
        QVERIFY(listing.value()[2].attributes.contentType != std::optional(UTType::application()));
        QCOMPARE(fileSystem.attributes(tree.path(u"org.example.Zoo.desktop"_s)).value().name,
            u"An Animal Park"_s);
    }

    void aFolderOfAHundredThousandIsListedWhole()
    {
        const Tree tree;
        for (int i = 0; i < 100'000; ++i)
            QVERIFY(tree.file("entry" + QByteArray::number(i) + ".txt"));

        const auto listing = withoutApplications().contentsOfDirectory(tree.path());

        QCOMPARE(listing.value().size(), 100'000);
        QCOMPARE(listing.value()[1].attributes.name, u"entry1.txt"_s);
        QCOMPARE(listing.value()[99'999].attributes.name, u"entry99999.txt"_s);
    }

    void entriesThatVanishWhileTheyAreReadAreLeftOut()
    {
        const Tree tree;
        for (int i = 0; i < 2000; ++i)
            QVERIFY(tree.file("passing" + QByteArray::number(i)));
        QVERIFY(tree.file("staying"));
        std::atomic<bool> isGone = false;
        std::thread remover([&] {
            for (int i = 0; i < 2000; ++i)
                ::unlink(tree.bytes("passing" + QByteArray::number(i)).constData());
            isGone = true;
        });
        const auto fileSystem = withoutApplications();

        bool isAlwaysListed = true;
        bool hasAlwaysTheOneThatStays = true;
        while (!isGone) {
            const auto listing = fileSystem.contentsOfDirectory(tree.path());
            isAlwaysListed = isAlwaysListed && listing;
            hasAlwaysTheOneThatStays = hasAlwaysTheOneThatStays && listing &&
                                       namesOf(listing.value()).contains(u"staying"_s);
        }
        remover.join();

        QVERIFY(isAlwaysListed);
        QVERIFY(hasAlwaysTheOneThatStays);
        QCOMPARE(namesOf(fileSystem.contentsOfDirectory(tree.path()).value()),
            QStringList{u"staying"_s});
    }
};

QTEST_GUILESS_MAIN(tst_LinuxFileSystem)
#include "tst_LinuxFileSystem.moc"
