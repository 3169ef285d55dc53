// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/GioWorkspace.h"

#include "base/NativePath.h"
#include "platform/linux/FileManagerReveal.h"

#include <QPointer>

namespace vellumhound::platform {

GioWorkspace::GioWorkspace(base::Background &background, base::Timer &timer, QDBusConnection bus,
    ApplicationEntryName applicationName)
    : _background(background)
    , _timer(timer)
    , _bus(std::move(bus))
    , _applicationName(std::move(applicationName))
    , _accepted([](bool) {})
    , _opened([](const QString &) {})
{
}

void GioWorkspace::setAcceptedHandler(std::function<void(bool)> handler)
{
    _accepted = handler ? std::move(handler) : [](bool) {};
}

void GioWorkspace::setOpenedHandler(std::function<void(const QString &)> handler)
{
    _opened = std::move(handler);
}

void GioWorkspace::setTokenSource(std::function<QByteArray()> source)
{
    _tokenSource = std::move(source);
}

void GioWorkspace::setOwnVariables(const QByteArrayList &names)
{
    _ownVariables = names;
}

LaunchOptions GioWorkspace::options() const
{
    return {_tokenSource ? _tokenSource() : QByteArray(), _ownVariables};
}

template <class T> void GioWorkspace::run(std::function<T()> work, std::function<void(T)> block)
{
    _background.run<T>(
        std::move(work), [guard = QPointer<GioWorkspace>(this), block = std::move(block)](T value) {
            if (guard)
                block(std::move(value));
        });
}

void GioWorkspace::openURL(const QString &path)
{
    run<bool>(
        [path, launchOptions = options(), applicationName = _applicationName] {
            return applicationName && applicationName(path)
                       ? launchDesktopEntry(path, launchOptions)
                       : launchDefaultApplication(path, launchOptions);
        },
        [this, path](bool isAccepted) {
            if (isAccepted)
                _opened(path);
            _accepted(isAccepted);
        });
}

void GioWorkspace::selectFile(const QString &path, const QString &inFolder)
{
    const auto folder = inFolder.isEmpty() ? base::deletingLastPathComponent(path) : inFolder;
    run<QString>(defaultFileManagerId,
        [this, path, folder, launchOptions = options()](
            const QString &fileManagerId) { reveal(path, folder, fileManagerId, launchOptions); });
}

void GioWorkspace::reveal(const QString &path, const QString &folder, const QString &fileManagerId,
    const LaunchOptions &launchOptions)
{
    const auto openFolder = [this, folder, launchOptions](std::function<void(bool)> opened) {
        run<bool>(
            [folder, launchOptions] { return launchDefaultApplication(folder, launchOptions); },
            std::move(opened));
    };
    const FileManagerReveal::Request request{
        fileUri(path), fileManagerId, QString::fromUtf8(launchOptions.activationToken)};
    auto *asking = new FileManagerReveal(_bus, _timer, request, openFolder, this);
    asking->start([this, asking](bool isAccepted) {
        asking->deleteLater();
        _accepted(isAccepted);
    });
}

}  // namespace vellumhound::platform
