// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/activation/SingleInstance.h"

#include "platform/linux/activation/Activation.h"
#include "platform/linux/activation/ApplicationInterface.h"
#include "platform/Logging.h"

#include <gio/gio.h>
#include <memory>
#include <utility>

namespace vellumhound::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr char busName[] = "org.vellumhound.Vellumhound";
constexpr char objectPath[] = "/org/vellumhound/Vellumhound";
constexpr char interfaceName[] = "org.freedesktop.Application";
constexpr int patienceMs = 3000;

struct Release {
    void operator()(GDBusConnection *connection) const { g_object_unref(connection); }
    void operator()(GVariant *value) const { g_variant_unref(value); }
    void operator()(char *text) const { g_free(text); }
};
template <class T> using Owned = std::unique_ptr<T, Release>;

void addFromEnvironment(GVariantBuilder *data, const char *key, const char *variable)
{
    if (const char *value = g_getenv(variable); value && *value)
        g_variant_builder_add(data, "{sv}", key, g_variant_new_string(value));
}

}  // namespace

bool SingleInstance::handOver()
{
    // Not by QtDBus: a session bus used there under a passing application object stays deaf under
    // the real one. The connection is a private one, gone when this returns.
    const Owned<char> address(
        g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (!address)
        return false;
    const Owned<GDBusConnection> connection(g_dbus_connection_new_for_address_sync(address.get(),
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
    if (!connection)
        return false;

    GVariantBuilder data;
    g_variant_builder_init(&data, G_VARIANT_TYPE_VARDICT);
    addFromEnvironment(&data, "activation-token", "XDG_ACTIVATION_TOKEN");
    addFromEnvironment(&data, "desktop-startup-id", "DESKTOP_STARTUP_ID");
    const Owned<GVariant> answer(g_dbus_connection_call_sync(connection.get(), busName, objectPath,
        interfaceName, "Activate", g_variant_new("(a{sv})", &data), nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, patienceMs, nullptr, nullptr));
    g_dbus_connection_close_sync(connection.get(), nullptr, nullptr);
    return answer != nullptr;
}

SingleInstance::SingleInstance(Handlers handlers)
    : _handlers(std::move(handlers))
{
}

SingleInstance::~SingleInstance() = default;

SingleInstance::Claim SingleInstance::claim(QDBusConnection bus)
{
    if (!bus.isConnected()) {
        qCWarning(logPlatform) << "no session bus: a second start will not find this one";
        return Claim::withoutBus;
    }
    // The object stands before the name is owned, or an early caller would find nothing there.
    auto *interface = new ApplicationInterface(_handlers, this);
    if (!bus.registerObject(
            QString::fromLatin1(objectPath), interface, QDBusConnection::ExportScriptableSlots)) {
        qCWarning(logPlatform) << "the application's object could not be put on the session bus";
        return Claim::withoutBus;
    }
    if (bus.registerService(QString::fromLatin1(busName))) {
        // No message of the bus: the connection itself says it.
        bus.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
            u"Disconnected"_s, this, SLOT(noticeEndOfBus()));
        return Claim::won;
    }
    delete interface;
    return Claim::lost;
}

/// A connection that is gone stays gone; what needs none goes on, the keys of an X11 session too.
void SingleInstance::noticeEndOfBus() const
{
    qCWarning(logPlatform)
        << "the session bus has ended: a second start will not find this one, and what "
           "the desktop tells over the bus is not heard until the next start";
}

ApplicationInterface::ApplicationInterface(
    const SingleInstance::Handlers &handlers, QObject *parent)
    : QObject(parent)
    , _handlers(handlers)
{
}

void ApplicationInterface::Activate(const QVariantMap &platformData)
{
    takeOverActivation(platformData);
    if (_handlers.activate)
        _handlers.activate();
}

void ApplicationInterface::Open(const QStringList &uris, const QVariantMap &platformData)
{
    takeOverActivation(platformData);
    if (_handlers.open)
        _handlers.open(uris);
}

void ApplicationInterface::ActivateAction(
    const QString &name, const QVariantList &, const QVariantMap &platformData)
{
    const std::pair<QString, std::function<void()>> actions[] = {
        {u"browse-windows"_s, _handlers.browseWindows},
        {u"selected-files"_s, _handlers.selectedFiles}, {u"settings"_s, _handlers.settings},
        {u"quit"_s, _handlers.quit}};
    for (const auto &[known, handler] : actions) {
        if (known != name || !handler)
            continue;
        takeOverActivation(platformData);
        handler();
        return;
    }
}

}  // namespace vellumhound::platform
