// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/UTType.h"

namespace vellumhound::base {

using namespace Qt::StringLiterals;

namespace {

/// The constants are asked for in inner loops, so each keeps what is found here.
UTType declared(const QString &identifier)
{
    const auto type = UTType::fromIdentifier(identifier);
    Q_ASSERT(type);
    return *type;
}

}  // namespace

UTType UTType::item()
{
    static const UTType type = declared(u"public.item"_s);
    return type;
}

UTType UTType::data()
{
    static const UTType type = declared(u"public.data"_s);
    return type;
}

UTType UTType::folder()
{
    static const UTType type = declared(u"public.folder"_s);
    return type;
}

UTType UTType::directory()
{
    static const UTType type = declared(u"public.directory"_s);
    return type;
}

UTType UTType::symlink()
{
    static const UTType type = declared(u"public.symlink"_s);
    return type;
}

UTType UTType::fileURL()
{
    static const UTType type = declared(u"public.file-url"_s);
    return type;
}

UTType UTType::content()
{
    static const UTType type = declared(u"public.content"_s);
    return type;
}

UTType UTType::text()
{
    static const UTType type = declared(u"public.text"_s);
    return type;
}

UTType UTType::plainText()
{
    static const UTType type = declared(u"public.plain-text"_s);
    return type;
}

UTType UTType::image()
{
    static const UTType type = declared(u"public.image"_s);
    return type;
}

UTType UTType::audio()
{
    static const UTType type = declared(u"public.audio"_s);
    return type;
}

UTType UTType::movie()
{
    static const UTType type = declared(u"public.movie"_s);
    return type;
}

UTType UTType::application()
{
    static const UTType type = declared(u"com.apple.application"_s);
    return type;
}

UTType UTType::pdf()
{
    static const UTType type = declared(u"com.adobe.pdf"_s);
    return type;
}

UTType UTType::archive()
{
    static const UTType type = declared(u"public.archive"_s);
    return type;
}

UTType UTType::spreadsheet()
{
    static const UTType type = declared(u"public.spreadsheet"_s);
    return type;
}

UTType UTType::presentation()
{
    static const UTType type = declared(u"public.presentation"_s);
    return type;
}

UTType UTType::sourceCode()
{
    static const UTType type = declared(u"public.source-code"_s);
    return type;
}

UTType UTType::json()
{
    static const UTType type = declared(u"public.json"_s);
    return type;
}

UTType UTType::html()
{
    static const UTType type = declared(u"public.html"_s);
    return type;
}

UTType UTType::xml()
{
    static const UTType type = declared(u"public.xml"_s);
    return type;
}

UTType UTType::font()
{
    static const UTType type = declared(u"public.font"_s);
    return type;
}

UTType UTType::threeDContent()
{
    static const UTType type = declared(u"public.3d-content"_s);
    return type;
}

UTType UTType::database()
{
    static const UTType type = declared(u"public.database"_s);
    return type;
}

UTType UTType::emailMessage()
{
    static const UTType type = declared(u"public.email-message"_s);
    return type;
}

}  // namespace vellumhound::base
