// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to read the folder rules, as each search does.
#include "settings/SettingsRecords.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

using namespace vellumhound::settings;

namespace {

/// Every second rule turns around what the one above it says.
PathRules someRules(int count)
{
    PathRules rules;
    for (int i = 0; i < count; ++i) {
        const auto folder = QStringLiteral("/home/somebody/projects/number %1").arg(i / 2);
        rules.append(i % 2 == 0 ? PathRule{folder, true}
                                : PathRule{folder + QStringLiteral("/build"), false});
    }
    return sortedPathRules(rules);
}

QByteArray withoutDerivedLists(const QByteArray &json)
{
    return json.left(json.indexOf(",\"queryScopes\"")) + '}';
}

void measure(const char *what, int count, const QByteArray &json)
{
    constexpr int rounds = 201;
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        if (!SearchFiltersSettingsData::decoded(json))
            std::abort();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    std::printf("%4d rules, %-28s median %8.3f ms, p95 %8.3f ms\n", count, what,
        times[times.size() / 2], times[times.size() * 95 / 100]);
}

}  // namespace

int main()
{
    for (const int count : {5, 300}) {
        const auto json = SearchFiltersSettingsData(someRules(count)).encoded().value();
        measure("stored whole", count, json);
        measure("without the derived lists", count, withoutDerivedLists(json));
    }
}
