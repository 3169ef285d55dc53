// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <chrono>
#include <functional>

namespace vellumhound::platform {

/// One shortcut as the portal writes it: an id of ours and what is told about it.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};
QDBusArgument &operator<<(QDBusArgument &argument, const PortalShortcut &shortcut);
const QDBusArgument &operator>>(const QDBusArgument &argument, PortalShortcut &shortcut);

/// One session of the portal for global shortcuts: made, given its shortcuts once, and then heard
/// until it ends. Nothing here waits; whatever the portal sends may be wrong, late or missing.
///
/// Main thread. Made for one run of the portal: the owner drops it when that run ends, with
/// deleteLater where a call of the observer is on the stack.
class PortalSession final : public QObject {
    Q_OBJECT

public:
    enum class Failure {
        cancelled,           ///< by the user
        refused,             ///< the portal could not or would not
        unknownApplication,  ///< it does not know what program we are
        broken,              ///< no answer, or the session ended: another one may fare better
    };

    /// What the portal has bound, by the ids: the keys in its words, empty if it names none.
    struct Bound {
        QString id;
        QString trigger;
    };

    /// Called from the event loop. After a failure nothing else comes.
    class Observer {
    public:
        virtual ~Observer() = default;
        virtual void sessionBound(const QList<Bound> &shortcuts) = 0;
        virtual void sessionFailed(Failure failure) = 0;
        virtual void shortcutsChanged(const QList<Bound> &shortcuts) = 0;
        virtual void shortcutActivated(const QString &id, const QVariantMap &options) = 0;
        virtual void shortcutDeactivated(const QString &id) = 0;
    };

    /// `portal` is the unique bus name of its run. `observer` outlives this object or is let go by
    /// close(). `answerLimit` is how long a step may take that needs no person.
    PortalSession(QDBusConnection bus, QString portal, Observer &observer,
        std::chrono::milliseconds answerLimit);
    /// Ends the session at the portal, without waiting for it.
    ~PortalSession() override;

    /// Once: makes the session and asks for these shortcuts.
    void bind(const QList<PortalShortcut> &shortcuts);
    /// Still without a final answer.
    bool isPending() const { return _step != Step::bound && _step != Step::over; }
    /// Lets the observer go and ends the session; `done` is called when the portal says that it has
    /// ended, or after the limit.
    void close(std::function<void()> done);
    /// The portal's run is over: there is nobody to be told.
    void abandon();

private Q_SLOTS:
    void onResponse(const QDBusMessage &message);
    void onClosed(const QDBusMessage &message);
    void onActivated(const QDBusMessage &message);
    void onDeactivated(const QDBusMessage &message);
    void onShortcutsChanged(const QDBusMessage &message);

private:
    enum class Step { creating, binding, listing, bound, over };

    /// A call whose answer comes by a signal of an object of its own.
    struct Request {
        QString expectedPath;
        QString path;  // as the portal returned it; empty before
    };

    void subscribe();
    void ask(Step step, QDBusMessage message, QVariantMap options);
    void onCallFinished(const QString &expectedPath, const QDBusMessage &reply);
    void onCallFailed(const QString &error);
    void take(const QDBusMessage &response);
    void takeSession(uint code, const QVariantMap &results);
    void takeBound(uint code, const QVariantMap &results);
    void takeListed(uint code, const QVariantMap &results);
    void askForBinding();
    void askForList();
    void tellBound(const QList<Bound> &shortcuts);
    void fail(Failure failure);
    void sendClose(const QString &path, const QString &interface);
    bool isOurs(const QDBusMessage &message) const;

    QDBusConnection _bus;
    QString _portal;
    Observer *_observer;
    std::chrono::milliseconds _answerLimit;
    QTimer _limit;
    Step _step = Step::creating;
    QList<PortalShortcut> _shortcuts;
    Request _request;
    QList<QDBusMessage> _early;  // responses that came before the path they answer was known
    QString _path;               // of the session; empty before there is one
    std::function<void()> _closed;
};

}  // namespace vellumhound::platform

Q_DECLARE_METATYPE(vellumhound::platform::PortalShortcut)
