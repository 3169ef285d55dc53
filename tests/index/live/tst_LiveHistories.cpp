// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/LiveBench.h"
#include "index/live/LossySource.h"

#include <QObject>
#include <QTest>

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <unistd.h>

using namespace vellumhound;
using namespace vellumhound::index;
using namespace vellumhound::tests;

class tst_LiveHistories final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anyMixtureOfChangesEndsInWhatIsOnTheDisk_data();
    void anyMixtureOfChangesEndsInWhatIsOnTheDisk();
};

namespace {

/// In what two sets of paths differ, for a message.
QString difference(const std::set<std::string> &found, const std::set<std::string> &real)
{
    std::string text;
    for (const auto &path : found)
        text += real.contains(path) ? "" : " +" + path;
    for (const auto &path : real)
        text += found.contains(path) ? "" : " -" + path;
    return QString::fromStdString(text);
}

/// Changes of all kinds below a tree, many of them moves of folders with something in them.
class Disorder {
public:
    Disorder(const TemporaryTree &tree, std::mt19937 &random)
        : _tree(tree)
        , _random(random)
    {
    }
    void changeSomething() const
    {
        switch (_random() % 12) {
        case 0:
        case 1:
            _tree.folder(somewhere());
            break;
        case 2:
        case 3:
        case 4:
            touch(somewhere());
            break;
        case 5:
        case 6:
            _tree.move(somewhere(), somewhere());
            break;
        case 7: {
            // A chain, with a newcomer at the first place.
            const auto first = somewhere();
            const auto second = somewhere();
            _tree.move(first, second);
            _tree.folder(first);
            _tree.move(second, somewhere());
            break;
        }
        case 8: {
            const auto place = somewhere();
            _tree.move(place, ".aside");
            _tree.move(somewhere(), place);
            _tree.move(".aside", somewhere());
            break;
        }
        case 9:
            _tree.removeAll(somewhere());
            break;
        case 10:
            exchange(somewhere(), somewhere());
            break;
        default:
            _tree.folder(somewhere() + "/in/ner");
            touch(somewhere() + "/in/ner/file");
        }
    }

private:
    /// Up to three folders deep; now and then at a place that is not looked at.
    std::string somewhere() const
    {
        std::string path = _random() % 12 == 0 ? ".out/" : "";
        for (auto depth = _random() % 3; depth > 0; --depth)
            path += std::string(1, char('a' + _random() % 3)) + '/';
        return path + std::string(1, char('a' + _random() % 4));
    }
    void touch(const std::string &relative) const
    {
        ::close(::open(_tree.path(relative).c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
    }
    void exchange(const std::string &one, const std::string &other) const
    {
        ::renameat2(AT_FDCWD, _tree.path(one).c_str(), AT_FDCWD, _tree.path(other).c_str(),
            RENAME_EXCHANGE);
    }

    const TemporaryTree &_tree;
    std::mt19937 &_random;
};

}  // namespace

void tst_LiveHistories::anyMixtureOfChangesEndsInWhatIsOnTheDisk_data()
{
    QTest::addColumn<unsigned>("seed");
    bool isNumber = false;
    const auto wanted = qEnvironmentVariableIntValue("VELLUMHOUND_TEST_SEEDS", &isNumber);
    const unsigned last = isNumber ? unsigned(wanted) : 60;
    for (unsigned seed = 1; seed <= last; ++seed)
        QTest::addRow("seed %u", seed) << seed;
}

void tst_LiveHistories::anyMixtureOfChangesEndsInWhatIsOnTheDisk()
{
    QFETCH(unsigned, seed);
    std::mt19937 random(seed);
    const TemporaryTree tree;
    const Disorder disorder(tree, random);
    auto options = seed % 2 == 0 ? alwaysCompacting() : neverCompacting();
    const bool isShortOfWatches = seed % 5 == 0;
    Bench<LossySource> bench(options, isShortOfWatches ? 12 : 100'000);
    std::size_t told = 0;
    if (seed % 3 == 0)
        bench.live.onFileChanged = [&told](const FileChange &) { ++told; };
    bench.include(tree);

    for (int round = 0; round < 400; ++round) {
        disorder.changeSomething();
        if (random() % 240 == 0)
            bench.source.losesChanges = true;
        // Changes come in the middle of whatever the index is doing.
        for (auto steps = random() % 3; steps > 0; --steps)
            random() % 2 == 0 ? bench.worker.step() : bench.live.step();
    }
    bench.settle();
    bench.sweepAll();

    QCOMPARE(difference(bench.paths(tree), onDisk(tree)), QString());
    QCOMPARE(bench.live.nameCount(), std::uint64_t(onDisk(tree).size()));

    // Every folder must be known under its own watch, too.
    for (const auto &path : onDisk(tree)) {
        if (std::filesystem::is_directory(tree.path(path)))
            tree.file(path + "/last");
    }
    bench.settle();
    bench.sweepAll();
    QCOMPARE(difference(bench.paths(tree), onDisk(tree)), QString());
}

QTEST_GUILESS_MAIN(tst_LiveHistories)
#include "tst_LiveHistories.moc"
