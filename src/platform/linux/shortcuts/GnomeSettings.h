// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <memory>

typedef struct _GSettings GSettings;
typedef struct _GSettingsSchema GSettingsSchema;

namespace vellumhound::platform {

/// One group of GNOME's settings, if its schema is installed. GSettings ends the program when it is
/// asked for a schema or key that is not there, or for a value of another type; this asks first.
/// Main thread.
class GnomeSettings {
public:
    /// `path` is needed where the schema has none of its own.
    explicit GnomeSettings(const char *schema, const QString &path = {});
    ~GnomeSettings();
    Q_DISABLE_COPY_MOVE(GnomeSettings)

    bool isPresent() const { return _settings != nullptr; }
    QStringList keys() const;
    /// Of a key that holds texts or one text; empty for any other.
    QStringList texts(const QString &key) const;
    /// What the key is for, in the user's language; empty if the schema does not say.
    QString summary(const QString &key) const;

    /// False for a key that is not there, may not be written or is of another type. Takes effect
    /// with the next settle().
    bool setText(const QString &key, const QString &value);
    bool setTexts(const QString &key, const QStringList &value);
    /// Back to what the schema says.
    void reset(const QString &key);
    /// Waits until what was set is stored.
    static void settle();

private:
    bool isOfType(const QString &key, const char *type) const;
    bool isWritable(const QString &key, const char *type) const;

    struct Unref {
        void operator()(GSettingsSchema *schema) const;
        void operator()(GSettings *settings) const;
    };
    std::unique_ptr<GSettingsSchema, Unref> _schema;
    std::unique_ptr<GSettings, Unref> _settings;
};

}  // namespace vellumhound::platform
