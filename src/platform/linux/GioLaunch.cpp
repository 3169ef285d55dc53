// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/GioLaunch.h"

#include "base/NativePath.h"
#include "platform/Logging.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <memory>
#include <unistd.h>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

struct Release {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T> using Object = std::unique_ptr<T, Release>;

struct FreeMemory {
    void operator()(gpointer memory) const { g_free(memory); }
};
using Text = std::unique_ptr<char, FreeMemory>;

/// Keeps the reason of a failed call until it has been logged.
class Failure {
public:
    Failure() = default;
    ~Failure() { g_clear_error(&_error); }
    Q_DISABLE_COPY_MOVE(Failure)
    GError **place() { return &_error; }
    QString text() const { return _error ? QString::fromUtf8(_error->message) : u"unknown"_s; }

private:
    GError *_error = nullptr;
};

/// A launch context that hands out the token we were given: the only way by which one reaches a
/// program that is started over the bus.
struct TokenContext {
    GAppLaunchContext parent;
    char *token;  // null for none
};
struct TokenContextClass {
    GAppLaunchContextClass parent;
};

char *tokenOf(GAppLaunchContext *context, GAppInfo *, GList *)
{
    return g_strdup(reinterpret_cast<TokenContext *>(context)->token);
}

void finalizeTokenContext(GObject *object)
{
    auto *context = reinterpret_cast<TokenContext *>(object);
    g_free(context->token);
    auto *parentClass =
        static_cast<GObjectClass *>(g_type_class_peek(g_type_parent(G_OBJECT_TYPE(object))));
    parentClass->finalize(object);
}

void initTokenContextClass(gpointer typeClass, gpointer)
{
    static_cast<GAppLaunchContextClass *>(typeClass)->get_startup_notify_id = tokenOf;
    static_cast<GObjectClass *>(typeClass)->finalize = finalizeTokenContext;
}

GType tokenContextType()
{
    static const GType type = g_type_register_static_simple(g_app_launch_context_get_type(),
        "VellumhoundTokenContext", sizeof(TokenContextClass), initTokenContextClass,
        sizeof(TokenContext), nullptr, GTypeFlags(0));
    return type;
}

Object<GAppLaunchContext> makeContext(const LaunchOptions &options)
{
    auto *object = static_cast<TokenContext *>(g_object_new(tokenContextType(), nullptr));
    Object<GAppLaunchContext> context(&object->parent);
    for (const auto &variable : options.ownVariables)
        g_app_launch_context_unsetenv(context.get(), variable.constData());
    for (const char *variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        if (options.activationToken.isEmpty())
            g_app_launch_context_unsetenv(context.get(), variable);
        else
            g_app_launch_context_setenv(
                context.get(), variable, options.activationToken.constData());
    }
    if (!options.activationToken.isEmpty())
        object->token = g_strdup(options.activationToken.constData());
    return context;
}

/// Runs in the child, between fork and exec.
void leaveOurSession(gpointer)
{
    ::setsid();
}

bool launch(GDesktopAppInfo *application, GList *uris, const LaunchOptions &options)
{
    const auto context = makeContext(options);
    constexpr auto flags =
        GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    Failure failure;
    if (g_desktop_app_info_launch_uris_as_manager(application, uris, context.get(), flags,
            leaveOurSession, nullptr, nullptr, nullptr, failure.place()))
        return true;
    qCWarning(logPlatform) << "an application was not started";
    qCDebug(logPlatform).noquote() << failure.text();
    return false;
}

Object<GAppInfo> defaultApplicationOf(GFile *file)
{
    Failure failure;
    const Object<GFileInfo> info(g_file_query_info(file, G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
        G_FILE_QUERY_INFO_NONE, nullptr, failure.place()));
    const char *type = info ? g_file_info_get_content_type(info.get()) : nullptr;
    if (!type) {
        qCWarning(logPlatform) << "the type of a file could not be read";
        qCDebug(logPlatform).noquote() << failure.text();
        return {};
    }
    Object<GAppInfo> application(g_app_info_get_default_for_type(type, FALSE));
    if (!application)
        qCWarning(logPlatform) << "no application opens files of type" << type;
    return application;
}

}  // namespace

bool launchDefaultApplication(const QString &path, const LaunchOptions &options)
{
    const auto bytes = base::pathToBytes(path);
    const Object<GFile> file(g_file_new_for_path(bytes.constData()));
    const auto application = defaultApplicationOf(file.get());
    if (!application || !G_IS_DESKTOP_APP_INFO(application.get()))
        return false;
    const Text uri(g_file_get_uri(file.get()));
    GList uris{uri.get(), nullptr, nullptr};
    return launch(G_DESKTOP_APP_INFO(application.get()), &uris, options);
}

bool launchDesktopEntry(const QString &path, const LaunchOptions &options)
{
    const Object<GDesktopAppInfo> application(
        g_desktop_app_info_new_from_filename(base::pathToBytes(path).constData()));
    if (!application) {
        qCWarning(logPlatform) << "a desktop entry cannot be used, or its program is not there";
        return false;
    }
    return launch(application.get(), nullptr, options);
}

QString defaultFileManagerId()
{
    const Object<GAppInfo> application(g_app_info_get_default_for_type("inode/directory", FALSE));
    return application ? QString::fromUtf8(g_app_info_get_id(application.get())) : QString();
}

QString fileUri(const QString &path)
{
    const Text uri(g_filename_to_uri(base::pathToBytes(path).constData(), nullptr, nullptr));
    return QString::fromLatin1(uri.get());
}

}  // namespace vellumhound::platform
