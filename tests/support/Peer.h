// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QTemporaryDir>

namespace vellumhound::support {

/// A scripted program on the session bus, in a process of its own; ends with this object.
class Peer {
public:
    Peer() = default;
    ~Peer() { stop(); }
    Q_DISABLE_COPY_MOVE(Peer)

    /// Starts one of the scripts in support/peers; true once it says that it is ready.
    bool start(const QString &script, const QStringList &arguments)
    {
        _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _process.start(QStringLiteral("/usr/bin/python3"),
            QStringList{QStringLiteral(PEERS_FOLDER "/") + script} + arguments);
        // What the script has to say comes in one piece, but not with the first wake-up always.
        while (!_process.canReadLine()) {
            if (!_process.waitForReadyRead()) {
                qWarning("the script said nothing: %s", qPrintable(_process.errorString()));
                return false;
            }
        }
        return _process.readLine() == "ready\n";
    }
    /// Starts the recorder under `name`.
    bool record(const QString &name, const QString &mode = QStringLiteral("answer"))
    {
        return start(QStringLiteral("recorder.py"), {name, logPath(), mode});
    }
    QString logPath() const { return _folder.filePath(QStringLiteral("log")); }
    /// What reached the recorder so far.
    QList<QJsonObject> calls() const
    {
        QList<QJsonObject> result;
        QFile file(logPath());
        if (!file.open(QIODevice::ReadOnly))
            return result;
        for (const auto &line : file.readAll().split('\n')) {
            if (!line.isEmpty())
                result.append(QJsonDocument::fromJson(line).object());
        }
        return result;
    }
    void stop()
    {
        _process.kill();
        _process.waitForFinished();
    }
    /// Writes a line to the script's standard input.
    void tell(const QByteArray &line) { _process.write(line + '\n'); }

private:
    QTemporaryDir _folder;
    QProcess _process;
};

}  // namespace vellumhound::support
