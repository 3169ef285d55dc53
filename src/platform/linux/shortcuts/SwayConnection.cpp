// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/SwayConnection.h"

#include "base/NativePath.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

constexpr char magicText[] = {'i', '3', '-', 'i', 'p', 'c'};
constexpr std::uint32_t getVersion = 7;
constexpr std::uint32_t getConfig = 9;
constexpr std::uint32_t largestAnswer = 2'000'000;

/// What goes before each message; both numbers in the byte order of the machine.
struct Head {
    char magic[sizeof magicText];
    std::uint32_t sizeBytes;
    std::uint32_t type;
} __attribute__((packed));
static_assert(sizeof(Head) == 14);

/// One conversation, all of which has to end within its time limit.
class Conversation {
public:
    explicit Conversation(std::chrono::milliseconds timeLimit)
        : _descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
        , _timeLimit(timeLimit)
    {
        _elapsed.start();
    }
    ~Conversation()
    {
        if (_descriptor >= 0)
            ::close(_descriptor);
    }
    Q_DISABLE_COPY_MOVE(Conversation)

    bool connectTo(const QString &path)
    {
        const auto bytes = base::pathToBytes(path);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        if (_descriptor < 0 || bytes.isEmpty() ||
            std::size_t(bytes.size()) >= sizeof address.sun_path)
            return false;
        std::memcpy(address.sun_path, bytes.constData(), std::size_t(bytes.size()));
        // A full queue of callers is told at once, not waited for.
        return ::connect(
                   _descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    }

    std::optional<QJsonObject> ask(std::uint32_t type)
    {
        Head head = {};
        std::memcpy(head.magic, magicText, sizeof head.magic);
        head.type = type;
        if (!send(QByteArray(reinterpret_cast<const char *>(&head), sizeof head)))
            return std::nullopt;
        const auto answer = receive(sizeof head);
        if (!answer)
            return std::nullopt;
        std::memcpy(&head, answer->constData(), sizeof head);
        if (std::memcmp(head.magic, magicText, sizeof head.magic) != 0 || head.type != type ||
            head.sizeBytes > largestAnswer)
            return std::nullopt;
        const auto body = receive(head.sizeBytes);
        if (!body)
            return std::nullopt;
        const auto document = QJsonDocument::fromJson(*body);
        return document.isObject() ? std::optional(document.object()) : std::nullopt;
    }

private:
    bool waitFor(short events) const
    {
        for (;;) {
            const auto left = _timeLimit.count() - _elapsed.elapsed();
            pollfd wanted = {_descriptor, events, 0};
            const int count = left > 0 ? ::poll(&wanted, 1, int(left)) : 0;
            if (count > 0)
                return true;
            if (count == 0 || errno != EINTR)
                return false;
        }
    }

    bool send(const QByteArray &bytes) const
    {
        // Few bytes: they fit into the socket's buffer or nobody listens.
        return waitFor(POLLOUT) && ::send(_descriptor, bytes.constData(), std::size_t(bytes.size()),
                                       MSG_NOSIGNAL) == bytes.size();
    }

    std::optional<QByteArray> receive(std::size_t sizeBytes) const
    {
        QByteArray bytes(qsizetype(sizeBytes), Qt::Uninitialized);
        std::size_t done = 0;
        while (done < sizeBytes) {
            if (!waitFor(POLLIN))
                return std::nullopt;
            const auto count = ::recv(_descriptor, bytes.data() + done, sizeBytes - done, 0);
            if (count > 0)
                done += std::size_t(count);
            else if (count == 0 || (errno != EINTR && errno != EAGAIN))
                return std::nullopt;
        }
        return bytes;
    }

    int _descriptor;
    std::chrono::milliseconds _timeLimit;
    QElapsedTimer _elapsed;
};

}  // namespace

std::optional<RunningConfiguration> runningConfiguration(
    const QString &socketPath, std::chrono::milliseconds timeLimit)
{
    Conversation conversation(timeLimit);
    if (!conversation.connectTo(socketPath))
        return std::nullopt;
    const auto config = conversation.ask(getConfig);
    if (!config || !config->value("config"_L1).isString())
        return std::nullopt;
    RunningConfiguration running;
    running.text = config->value("config"_L1).toString().toUtf8();
    if (const auto version = conversation.ask(getVersion))
        running.path = version->value("loaded_config_file_name"_L1).toString();
    return running;
}

}  // namespace vellumhound::platform
