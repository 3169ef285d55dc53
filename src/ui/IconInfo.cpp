// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/IconInfo.h"

#include <QHash>

#include <array>
#include <utility>
#include <vector>

namespace vellumhound::ui {

using base::UTType;
using namespace Qt::StringLiterals;

namespace {

/// In the order of `FileKind`.
const std::array<IconInfo, 24> &iconInfos()
{
    static const std::array<IconInfo, 24> infos = {{
        {u"folder.fill"_s, {0.4, 0.7, 1.0}},
        {u"doc.text.fill"_s, {0.0, 0.478, 1.0}},
        {u"photo.fill"_s, {0.3, 0.6, 1.0}},
        {u"music.note"_s, {1.0, 0.4, 0.4}},
        {u"film.fill"_s, {0.6, 0.4, 0.8}},
        {u"app.square.fill"_s, {0.4, 0.8, 0.4}},
        {u"doc"_s, {0.5, 0.5, 0.5}},
        {u"doc.fill.badge.plus"_s, {1.0, 0.4, 0.4}},
        {u"doc.zipper"_s, {0.8, 0.4, 0.0}},
        {u"chart.bar.doc.horizontal"_s, {0.0, 0.6, 0.0}},
        {u"chart.bar.doc.horizontal.fill"_s, {1.0, 0.4, 0.2}},
        {u"doc.richtext"_s, {0.0, 0.6, 0.8}},
        {u"chevron.left.forwardslash.chevron.right"_s, {0.4, 0.4, 0.4}},
        {u"curlybraces"_s, {0.4, 0.4, 0.8}},
        {u"globe"_s, {0.8, 0.4, 0.0}},
        {u"chevron.left.forwardslash.chevron.right"_s, {0.6, 0.2, 0.8}},
        {u"textformat"_s, {0.8, 0.2, 0.4}},
        {u"cube.fill"_s, {0.2, 0.6, 0.8}},
        {u"cylinder.split.1x2"_s, {0.4, 0.2, 0.8}},
        // The two office programs wear the chart symbols of the general kinds the other way round.
        {u"chart.bar.doc.horizontal.fill"_s, {0.0, 0.6, 0.0}},
        {u"chart.bar.doc.horizontal"_s, {1.0, 0.4, 0.2}},
        {u"envelope"_s, {0.0, 0.478, 1.0}},
        {u"book.fill"_s, {1.0, 0.7, 0.2}},
        {u"doc.fill"_s, {0.6, 0.6, 0.6}},
    }};
    return infos;
}

/// The types that are matched by equality. The first entry for a type holds.
QHash<UTType, FileKind> exactKinds()
{
    QHash<UTType, FileKind> kinds;
    const auto add = [&kinds](const std::optional<UTType> &type, FileKind kind) {
        if (type && !kinds.contains(*type))
            kinds.insert(*type, kind);
    };
    const auto identifier = [](const QString &text) { return UTType::fromIdentifier(text); };
    const auto extension = [](const QString &text) {
        return UTType::fromFilenameExtension(text, UTType::data());
    };
    add(UTType::plainText(), FileKind::text);
    add(UTType::text(), FileKind::text);
    add(UTType::image(), FileKind::image);
    add(extension(u"svg"_s), FileKind::image);
    add(UTType::audio(), FileKind::audio);
    add(UTType::movie(), FileKind::movie);
    add(UTType::application(), FileKind::application);
    add(UTType::data(), FileKind::plainData);
    add(UTType::pdf(), FileKind::pdf);
    add(UTType::archive(), FileKind::archive);
    add(UTType::spreadsheet(), FileKind::spreadsheet);
    add(UTType::presentation(), FileKind::presentation);
    add(UTType::content(), FileKind::richDocument);
    add(UTType::sourceCode(), FileKind::sourceCode);
    add(UTType::json(), FileKind::json);
    add(UTType::html(), FileKind::html);
    add(UTType::xml(), FileKind::xml);
    add(UTType::font(), FileKind::font);
    add(UTType::threeDContent(), FileKind::threeD);
    add(UTType::database(), FileKind::database);
    add(identifier(u"com.microsoft.word.doc"_s), FileKind::richDocument);
    add(identifier(u"org.openxmlformats.wordprocessingml.document"_s), FileKind::richDocument);
    add(identifier(u"com.microsoft.excel.xls"_s), FileKind::excel);
    add(identifier(u"org.openxmlformats.spreadsheetml.sheet"_s), FileKind::excel);
    add(identifier(u"com.microsoft.powerpoint.ppt"_s), FileKind::powerPoint);
    add(identifier(u"org.openxmlformats.presentationml.presentation"_s), FileKind::powerPoint);
    add(identifier(u"org.matroska.mkv"_s), FileKind::movie);
    add(extension(u"mkv"_s), FileKind::movie);
    add(identifier(u"org.idpf.epub-container"_s), FileKind::book);
    add(extension(u"epub"_s), FileKind::book);
    return kinds;
}

/// For a type that is no exact match: the first class it belongs to.
FileKind widerKind(const UTType &type)
{
    static const std::vector<std::pair<UTType, FileKind>> classes = {
        {UTType::text(), FileKind::text},
        {UTType::image(), FileKind::image},
        {UTType::audio(), FileKind::audio},
        {UTType::movie(), FileKind::movie},
        {UTType::spreadsheet(), FileKind::spreadsheet},
        {UTType::presentation(), FileKind::presentation},
        {UTType::content(), FileKind::richDocument},
        {UTType::emailMessage(), FileKind::email},
    };
    for (const auto &[other, kind] : classes) {
        if (type.conformsTo(other))
            return kind;
    }
    return FileKind::other;
}

}  // namespace

const IconInfo &iconInfo(FileKind kind)
{
    return iconInfos()[std::size_t(kind)];
}

const IconInfo &iconInfo(const std::optional<UTType> &contentType)
{
    static const auto exact = exactKinds();
    if (!contentType)
        return iconInfo(FileKind::other);
    const auto found = exact.constFind(*contentType);
    return iconInfo(found != exact.cend() ? *found : widerKind(*contentType));
}

const IconInfo &iconInfoForFile(bool isDirectory, const std::optional<UTType> &contentType)
{
    return isDirectory ? iconInfo(FileKind::folder) : iconInfo(contentType);
}

}  // namespace vellumhound::ui
