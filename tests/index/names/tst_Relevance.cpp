// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Fold.h"
#include "index/names/IndexWriter.h"
#include "index/names/NameSearch.h"
#include "index/names/UseTable.h"

#include <QFile>
#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

using namespace vellumhound;
using namespace vellumhound::index;

namespace {

constexpr std::uint32_t now = 1'795'262'400;  // 2026-11-21 12:00 UTC
const std::string home = "/home/u";

QStringList linesOf(const QString &name)
{
    QFile file(QStringLiteral(RELEVANCE_FOLDER) + u'/' + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("%s cannot be read", qPrintable(file.fileName()));
    QStringList lines;
    for (const auto &line : QString::fromUtf8(file.readAll()).split(u'\n')) {
        if (!line.isEmpty() && !line.startsWith(u'#'))
            lines += line;
    }
    return lines;
}

/// "3d" in seconds.
std::uint32_t secondsOf(const QString &age)
{
    static const std::map<char16_t, std::uint32_t> units{
        {u'm', 60}, {u'h', 3600}, {u'd', 86'400}, {u'w', 7 * 86'400}, {u'y', 365 * 86'400}};
    return age.chopped(1).toUInt() * units.at(age.back().unicode());
}

/// All paths that "a{1..3}/{x,y}" stands for.
QStringList expanded(const QString &pattern)
{
    static const QRegularExpression braces(QStringLiteral(R"(\{([^}]*)\})"));
    const auto match = braces.match(pattern);
    if (!match.hasMatch())
        return {pattern};
    QStringList words;
    const auto inner = match.captured(1);
    if (const auto dots = inner.indexOf(QStringLiteral("..")); dots >= 0) {
        const auto first = inner.left(dots);
        for (int i = first.toInt(); i <= inner.mid(dots + 2).toInt(); ++i)
            words += QString::number(i).rightJustified(first.size(), u'0');
    } else {
        words = inner.split(u',');
    }
    QStringList all;
    for (const auto &word : words) {
        all +=
            expanded(pattern.left(match.capturedStart()) + word + pattern.mid(match.capturedEnd()));
    }
    return all;
}

struct Entry {
    std::uint32_t time = 0;
    bool isFolder = false;
};

/// The tables of a home folder that is told line by line.
class Home {
public:
    Home()
        : _writer(_published)
    {
        ApplicationTable applications;
        UseTable uses;
        for (const auto &line : linesOf(QStringLiteral("home.txt"))) {
            const auto words = line.split(u' ');
            const auto rest = line.mid(line.indexOf(u' ') + 1);
            if (words.first() == u"app") {
                const auto file = words.last().toStdString();
                const auto name = rest.chopped(words.last().size() + 1).toStdString();
                applications.push_back(
                    {"/usr/share/applications/" + file, file, name, base::fold(name)});
            } else if (words.first() == u"use") {
                const auto path = rest.mid(rest.indexOf(u' ') + 1).toStdString();
                const auto full = path.starts_with("app:")
                                      ? "/usr/share/applications/" + path.substr(4)
                                      : home + '/' + path;
                uses.lastUses[full] = now - secondsOf(words.at(1));
            } else {
                for (const auto &path : expanded(rest))
                    note(path.toStdString(), now - secondsOf(words.first()));
            }
        }
        const auto root = _writer.addRoot(home);
        _folders[""] = _writer.view().roots[root].folder;
        for (const auto &[path, entry] : _entries)
            add(path, entry);
        _writer.setRootCrawled(root);
        _writer.setApplications(std::move(applications));
        _writer.publish();
        _used = std::make_unique<UsedRecords>(std::make_shared<const UseTable>(uses));
        _used->follow(_writer.view(), _writer.view().tail->mark());
    }

    /// The first rows, as the query list names them.
    QStringList firstRows(const QString &query) const
    {
        const auto &view = _writer.view();
        ResolvedScopes scopes(view, {{home}, true, false});
        SearchRequest request;
        request.recency = Recency(now);
        request.used = _used.get();
        const auto answer = searchNames(
            view, scopes, {Needle(query.toStdString())}, {true, {}, view.tail->mark()}, request);
        QStringList rows;
        for (const auto &key : answer.best) {
            const auto record = key.record();
            const auto text =
                isApplicationRecord(record)
                    ? "app:" + (*view.applications)[record - firstApplicationRecord].fileName
                    : view.pathOf(record).substr(home.size() + 1);
            rows += QString::fromStdString(text);
        }
        return rows.mid(0, 5);
    }

private:
    /// An entry, with the folders above it, which are as new as what is newest in them.
    void note(std::string path, std::uint32_t time)
    {
        bool isFolder = path.ends_with('/');
        if (isFolder)
            path.pop_back();
        for (;;) {
            auto &entry = _entries[path];
            entry.time = std::max(entry.time, time);
            entry.isFolder = entry.isFolder || isFolder;
            const auto slash = path.rfind('/');
            if (slash == std::string::npos)
                return;
            path.resize(slash);
            isFolder = true;
        }
    }

    void add(const std::string &path, const Entry &entry)
    {
        const auto slash = path.rfind('/');
        const auto parent = slash == std::string::npos ? std::string() : path.substr(0, slash);
        const auto name = slash == std::string::npos ? path : path.substr(slash + 1);
        const auto record = _writer.add(
            _folders.at(parent), name, entry.isFolder ? EntryKind::folder : EntryKind::file);
        _writer.setChangeTime(record, entry.time);
        if (entry.isFolder)
            _folders[path] = _writer.addFolder(record);
    }

    PublishedView _published;
    IndexWriter _writer;
    std::map<std::string, Entry> _entries;  // a folder stands before what is in it
    std::map<std::string, FolderId> _folders;
    std::unique_ptr<UsedRecords> _used;
};

}  // namespace

class tst_Relevance final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatWasMeantStandsInTheFirstRows();
};

void tst_Relevance::whatWasMeantStandsInTheFirstRows()
{
    const Home homeFolder;
    int all = 0;
    int first = 0;
    int firstFive = 0;

    for (const auto &line : linesOf(QStringLiteral("queries.txt"))) {
        const auto parts = line.split(QStringLiteral(" => "));
        const auto meant = parts.at(1).split(QStringLiteral(" | "));
        const auto rows = homeFolder.firstRows(parts.at(0));
        const auto place = std::find_if(
            rows.begin(), rows.end(), [&](const auto &row) { return meant.contains(row); });
        ++all;
        first += place == rows.begin() && place != rows.end();
        firstFive += place != rows.end();
        if (place == rows.end() || place != rows.begin())
            qInfo().noquote() << parts.at(0) << "gives" << rows.join(QStringLiteral(" · "));
    }

    qInfo("of %d queries %d in the first row, %d in the first five", all, first, firstFive);
    // What was measured last; it may only grow.
    QVERIFY(first * 105 >= 102 * all);
    QVERIFY(firstFive * 105 >= 104 * all);
}

QTEST_APPLESS_MAIN(tst_Relevance)
#include "tst_Relevance.moc"
