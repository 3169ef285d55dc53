// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Timer.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

class QDBusMessage;
class QDBusPendingCallWatcher;

namespace vellumhound::platform {

/// Asks for one file to be shown, selected, in a file manager: the user's own if it runs or can be
/// started by its name; else that one after it has been started; else whichever answers to the
/// common name; else the folder is opened. It ends within five seconds, or when the folder is open,
/// calls `finished` once and is then without effect.
///
/// Main thread; nothing here waits.
class FileManagerReveal final : public QObject {
    Q_OBJECT

public:
    struct Request {
        QString uri;            ///< of the file
        QString fileManagerId;  ///< desktop entry that opens folders; may be empty
        QString startupId;      ///< may be empty
    };
    /// Opens the parent folder with the user's file manager and tells whether that was accepted.
    using OpenFolder = std::function<void(std::function<void(bool)>)>;

    FileManagerReveal(QDBusConnection bus, base::Timer &timer, Request request,
        OpenFolder openFolder, QObject *parent = nullptr);
    ~FileManagerReveal() override;

    /// Once. `finished` may be called before this returns, and may delete this later.
    void start(std::function<void(bool isAccepted)> finished);

private Q_SLOTS:
    void onNameOwnerChanged(const QString &name, const QString &before, const QString &now);

private:
    using NamesHandler = void (FileManagerReveal::*)(const QStringList &);

    void askBus(const QString &method, NamesHandler handler);
    void onRunning(const QStringList &names);
    void onActivatable(const QStringList &names);
    void startDefault();
    void askNext();
    void ask(const QString &busName);
    void onAnswer(const QString &busName, const QDBusMessage &answer);
    void onTimeUp();
    void giveUp();
    void finish(bool isAccepted);

    QDBusConnection _bus;
    base::Timer &_timer;
    const Request _request;
    OpenFolder _openFolder;
    std::function<void(bool)> _finished;
    QString _ownName;         // bus name of the user's file manager, or its beginning
    QStringList _running;     // names on the bus
    QStringList _candidates;  // names still to be asked, in order
    bool _isStartingDefault = false;
    bool _hasOpenedFolder = false;
    std::unique_ptr<base::Timer::Wait> _limit;
    std::unique_ptr<base::Timer::Wait> _retry;
};

}  // namespace vellumhound::platform
