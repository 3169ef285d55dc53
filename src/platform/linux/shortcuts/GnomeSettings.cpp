// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/GnomeSettings.h"

#include <gio/gio.h>
#include <vector>

namespace vellumhound::platform {

namespace {

GSettingsSchema *schemaNamed(const char *name)
{
    auto *source = g_settings_schema_source_get_default();
    return source ? g_settings_schema_source_lookup(source, name, TRUE) : nullptr;
}

QStringList listOf(char **texts)
{
    QStringList list;
    for (char **text = texts; text && *text; ++text)
        list.append(QString::fromUtf8(*text));
    g_strfreev(texts);
    return list;
}

struct UnrefKey {
    void operator()(GSettingsSchemaKey *key) const { g_settings_schema_key_unref(key); }
};
using Key = std::unique_ptr<GSettingsSchemaKey, UnrefKey>;

Key keyOf(GSettingsSchema *schema, const QString &name)
{
    const auto bytes = name.toUtf8();
    const bool isThere = schema && g_settings_schema_has_key(schema, bytes.constData());
    return Key(isThere ? g_settings_schema_get_key(schema, bytes.constData()) : nullptr);
}

}  // namespace

void GnomeSettings::Unref::operator()(GSettingsSchema *schema) const
{
    g_settings_schema_unref(schema);
}
void GnomeSettings::Unref::operator()(GSettings *settings) const
{
    g_object_unref(settings);
}

GnomeSettings::GnomeSettings(const char *schema, const QString &path)
    : _schema(schemaNamed(schema))
{
    // A schema without a path of its own must be given one, and one that has its own no other.
    const bool hasPath = _schema && g_settings_schema_get_path(_schema.get());
    if (!_schema || hasPath == !path.isEmpty())
        return;
    const bool isPath = path.isEmpty() || (path.startsWith(u'/') && path.endsWith(u'/') &&
                                              !path.contains(QStringLiteral("//")));
    if (!isPath)
        return;
    const auto bytes = path.toUtf8();
    _settings.reset(
        g_settings_new_full(_schema.get(), nullptr, path.isEmpty() ? nullptr : bytes.constData()));
}

GnomeSettings::~GnomeSettings() = default;

QStringList GnomeSettings::keys() const
{
    return isPresent() ? listOf(g_settings_schema_list_keys(_schema.get())) : QStringList();
}

bool GnomeSettings::isOfType(const QString &key, const char *type) const
{
    const auto schemaKey = keyOf(_schema.get(), key);
    return isPresent() && schemaKey &&
           g_variant_type_equal(
               g_settings_schema_key_get_value_type(schemaKey.get()), G_VARIANT_TYPE(type));
}

QStringList GnomeSettings::texts(const QString &key) const
{
    const auto name = key.toUtf8();
    if (isOfType(key, "as"))
        return listOf(g_settings_get_strv(_settings.get(), name.constData()));
    if (!isOfType(key, "s"))
        return {};
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_settings_get_string(_settings.get(), name.constData()), g_free);
    return {QString::fromUtf8(text.get())};
}

QString GnomeSettings::summary(const QString &key) const
{
    const auto schemaKey = keyOf(_schema.get(), key);
    return schemaKey ? QString::fromUtf8(g_settings_schema_key_get_summary(schemaKey.get()))
                     : QString();
}

bool GnomeSettings::isWritable(const QString &key, const char *type) const
{
    return isOfType(key, type) && g_settings_is_writable(_settings.get(), key.toUtf8().constData());
}

bool GnomeSettings::setText(const QString &key, const QString &value)
{
    return isWritable(key, "s") && g_settings_set_string(_settings.get(), key.toUtf8().constData(),
                                       value.toUtf8().constData());
}

bool GnomeSettings::setTexts(const QString &key, const QStringList &value)
{
    if (!isWritable(key, "as"))
        return false;
    QList<QByteArray> bytes;
    for (const auto &text : value)
        bytes.append(text.toUtf8());
    std::vector<const char *> pointers;
    for (const auto &text : std::as_const(bytes))
        pointers.push_back(text.constData());
    pointers.push_back(nullptr);
    return g_settings_set_strv(_settings.get(), key.toUtf8().constData(), pointers.data());
}

void GnomeSettings::reset(const QString &key)
{
    if (isPresent() && keyOf(_schema.get(), key))
        g_settings_reset(_settings.get(), key.toUtf8().constData());
}

void GnomeSettings::settle()
{
    g_settings_sync();
}

}  // namespace vellumhound::platform
