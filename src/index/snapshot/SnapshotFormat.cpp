// SPDX-License-Identifier: GPL-3.0-or-later
#include "index/snapshot/SnapshotFormat.h"

#include "base/Crc32c.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>

#include <algorithm>
#include <cstddef>
#include <span>
#include <unistd.h>

namespace vellumhound::index {

std::uint32_t SnapshotHeader::ownChecksum() const
{
    return base::crc32c(
        std::as_bytes(std::span(this, 1)).first(offsetof(SnapshotHeader, checksum)));
}

SnapshotLayout::SnapshotLayout(const SnapshotHeader &header)
{
    constexpr std::uint64_t number = sizeof(std::uint32_t);
    const auto set = [this](SnapshotSection section, std::uint64_t count, std::uint64_t each) {
        bytes[std::size_t(section)] = count * each;
    };
    using enum SnapshotSection;
    const std::uint64_t records = header.records;
    const std::uint64_t folders = header.folders;
    const std::uint64_t originals = header.originals;
    set(closedBefore, header.namesEnd / NameBlock::groupBytes + 1, number);
    set(starts, records / NameBlock::sampleEvery + 1, number);
    set(originalRecords, originals, number);
    set(originalStarts, originals + 1, number);
    set(firstRecords, folders + 1, number);
    set(folderRecords, folders, number);
    set(parents, folders, number);
    set(subtreeEnds, folders, number);
    // Its length depends on how many folders are roots; there is room for all.
    set(byRecord, folders, number);
    set(folderTimes, folders, sizeof(std::int64_t));
    set(trees, header.treesBytes, 1);
    set(names, std::uint64_t(header.namesEnd) + NameBlock::padding, 1);
    set(traits, records + 1, sizeof(Traits));
    set(changeTimes, records + 1, number);
    set(originalBytes, header.originalBytes, 1);

    const auto aligned = [](std::uint64_t at) {
        return (at + alignment - 1) / alignment * alignment;
    };
    fileBytes = aligned(sizeof(SnapshotHeader));
    for (std::size_t section = 0; section < snapshotSections; ++section) {
        offsets[section] = fileBytes;
        fileBytes = aligned(fileBytes + bytes[section]);
    }
}

std::array<char, 16> snapshotOwner()
{
    QByteArray machine;
    for (const auto *path : {"/etc/machine-id", "/var/lib/dbus/machine-id"}) {
        QFile file(QString::fromLatin1(path));
        if (machine.isEmpty() && file.open(QIODevice::ReadOnly))
            machine = file.read(64).trimmed();
    }
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QByteArrayLiteral("vellumhound names "));
    hash.addData(machine);
    hash.addData(QByteArray::number(quint64(::geteuid())));
    const auto result = hash.result();
    std::array<char, 16> owner{};
    std::copy_n(result.begin(), owner.size(), owner.begin());
    return owner;
}

}  // namespace vellumhound::index
