// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/live/IndexStatus.h"

#include "base/NativePath.h"

#include <QLocale>

namespace vellumhound::index {

using namespace Qt::StringLiterals;
using Activity = IndexStatus::Activity;

namespace {

const QLocale &english()
{
    static const QLocale locale(QLocale::English, QLocale::UnitedStates);
    return locale;
}

/// "1 folder", "1,200 folders".
QString counted(std::uint64_t count, const QString &one, const QString &many)
{
    return english().toString(qulonglong(count)) + u' ' + (count == 1 ? one : many);
}

QString folders(std::uint64_t count)
{
    return counted(count, u"folder"_s, u"folders"_s);
}

QString size(std::uint64_t bytes)
{
    return english().formattedDataSize(qint64(bytes), 1, QLocale::DataSizeSIFormat);
}

QString quoted(const QString &path)
{
    return u'“' + base::printablePath(path) + u'”';
}

QString ago(std::chrono::system_clock::duration since)
{
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(since).count();
    constexpr auto minutesPerHour = 60;
    constexpr auto minutesPerDay = 24 * minutesPerHour;
    if (minutes < 1)
        return u"just now"_s;
    if (minutes < minutesPerHour)
        return counted(std::uint64_t(minutes), u"minute ago"_s, u"minutes ago"_s);
    if (minutes < minutesPerDay)
        return counted(std::uint64_t(minutes / minutesPerHour), u"hour ago"_s, u"hours ago"_s);
    return counted(std::uint64_t(minutes / minutesPerDay), u"day ago"_s, u"days ago"_s);
}

QString sentenceOf(const Activity &activity)
{
    const auto at = activity.place.isEmpty() ? QString() : u" in "_s + quoted(activity.place);
    switch (activity.kind) {
    case Activity::Kind::crawling:
        return activity.place.isEmpty()
                   ? u"Folders are read for the first time."_s
                   : quoted(activity.place) + u" is read for the first time."_s;
    case Activity::Kind::verifying:
        return u"What was known from last time is compared with the disk"_s + at + u'.';
    case Activity::Kind::checking:
        return u"Folders are checked for changes"_s + at + u'.';
    case Activity::Kind::compacting:
        return u"The tables are put in order."_s;
    case Activity::Kind::readingTimes:
        return u"The times of files are read"_s + at + u'.';
    case Activity::Kind::readingTexts:
        return u"The texts of files are read"_s + at + u'.';
    case Activity::Kind::savingSnapshot:
        return u"The index is saved."_s;
    }
    return {};
}

QString wordOf(Activity::Kind kind)
{
    switch (kind) {
    case Activity::Kind::crawling:
        return u"crawling"_s;
    case Activity::Kind::verifying:
        return u"verifying"_s;
    case Activity::Kind::checking:
        return u"checking"_s;
    case Activity::Kind::compacting:
        return u"compacting"_s;
    case Activity::Kind::readingTimes:
        return u"reading times"_s;
    case Activity::Kind::readingTexts:
        return u"reading texts"_s;
    case Activity::Kind::savingSnapshot:
        return u"saving"_s;
    }
    return {};
}

void describeFolders(const IndexStatus &status, QStringList &lines)
{
    if (status.liveFolders > 0)
        lines += folders(status.liveFolders) + u" followed live."_s;
    if (status.sweptFolders > 0)
        lines += folders(status.sweptFolders) + u" checked from time to time."_s;
    if (status.backedOffFolders > 0)
        lines += folders(status.backedOffFolders) +
                 (status.backedOffFolders == 1 ? u" changes"_s : u" change"_s) +
                 u" all the time and"_s + (status.backedOffFolders == 1 ? u" is"_s : u" are"_s) +
                 u" read at growing intervals."_s;
    if (status.isWatchLimitReached)
        lines += u"No more folders can be followed live: the system's limit of watches is spent, "
                 "or half of it, which is left to other programs."_s;
    if (status.isFull)
        lines += u"The index has reached its limit and takes in no further folders."_s;
}

void describeMounts(const IndexStatus &status, QStringList &lines)
{
    for (const auto &point : status.hungMounts)
        lines += quoted(point) + u" does not answer and is left alone until it does."_s;
    for (const auto &mount : status.skippedMounts)
        lines += quoted(mount.point) + u" is not searched: it holds a file system of type "_s +
                 base::printablePath(mount.type) + u'.';
}

void describeTexts(const IndexStatus::Texts &texts, QStringList &lines)
{
    if (!texts.isOn)
        return;
    lines += u"The text of "_s + counted(texts.documents, u"file"_s, u"files"_s) +
             u" can be searched, in "_s + size(texts.bytes) + u" on the disk."_s;
    if (texts.waiting > 0)
        lines += counted(texts.waiting, u"file waits"_s, u"files wait"_s) + u" to be read."_s;
    if (texts.isFull)
        lines += u"The index of texts has reached its limit and takes in no further files."_s;
}

}  // namespace

QStringList sentencesOf(const IndexStatus &status, std::chrono::system_clock::time_point now)
{
    QStringList lines{counted(status.names, u"name"_s, u"names"_s) + u" in the index, in "_s +
                      size(status.memoryBytes) + u" of memory."_s};
    describeFolders(status, lines);
    if (status.lastCheck)
        lines += u"Last check of all folders: "_s + ago(now - *status.lastCheck) + u'.';
    for (const auto &activity : status.activities)
        lines += sentenceOf(activity);
    if (status.rest == IndexStatus::Rest::machineIsBusy)
        lines += u"Work in the background rests because the machine is busy."_s;
    if (status.rest == IndexStatus::Rest::powerIsSaved)
        lines += u"Work in the background rests to save power."_s;
    describeMounts(status, lines);
    describeTexts(status.texts, lines);
    return lines;
}

QString logLineOf(const IndexStatus &status)
{
    QStringList parts{QString::number(status.names) + u" names"_s,
        size(status.memoryBytes) + u" of memory"_s,
        QString::number(status.liveFolders) + u" live"_s};
    const auto note = [&](std::uint64_t count, const QString &what) {
        if (count > 0)
            parts += QString::number(count) + u' ' + what;
    };
    note(status.sweptFolders, u"swept"_s);
    note(status.backedOffFolders, u"backed off"_s);
    note(std::uint64_t(status.hungMounts.size()), u"hung mounts"_s);
    note(status.skippedMounts.size(), u"skipped mounts"_s);
    if (status.isWatchLimitReached)
        parts += u"watches spent"_s;
    if (status.isFull)
        parts += u"full"_s;
    for (const auto &activity : status.activities)
        parts += wordOf(activity.kind);
    if (status.rest != IndexStatus::Rest::none)
        parts += status.rest == IndexStatus::Rest::powerIsSaved ? u"resting to save power"_s
                                                                : u"resting, machine busy"_s;
    if (status.texts.isOn) {
        parts +=
            QString::number(status.texts.documents) + u" texts in "_s + size(status.texts.bytes);
        note(status.texts.waiting, u"texts waiting"_s);
        if (status.texts.isFull)
            parts += u"texts full"_s;
    }
    return parts.join(u", "_s);
}

}  // namespace vellumhound::index
