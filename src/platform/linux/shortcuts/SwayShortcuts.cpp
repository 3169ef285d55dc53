// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/shortcuts/SwayShortcuts.h"

#include "base/NativePath.h"
#include "platform/linux/keyboard/ShortcutText.h"

#include <QMap>
#include <QSet>

#include <algorithm>
#include <glob.h>

namespace vellumhound::platform {

namespace {

using namespace Qt::StringLiterals;

constexpr int mostFiles = 64;
constexpr int mostLines = 50'000;
constexpr int mostVariables = 300;
/// A value may hold other values; without an end to it few lines could grow beyond all memory.
constexpr qsizetype longestLine = 4'000;
constexpr qsizetype longestHolder = 60;
constexpr qsizetype deepestBlock = 8;

/// The first word of the text, taken off it. Quoted text is one word.
QString takeWord(QString &text)
{
    text = text.trimmed();
    qsizetype end = 0;
    QChar quote;
    for (; end < text.size(); ++end) {
        const auto c = text[end];
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c.isSpace()) {
            break;
        }
    }
    auto word = text.first(end);
    text = text.sliced(end).trimmed();
    if (word.size() >= 2 && word.front() == word.back() &&
        (word.front() == u'"' || word.front() == u'\''))
        word = word.sliced(1, word.size() - 2);
    return word;
}

class Reader {
public:
    Reader(const SwayConfiguration &configuration, const KeyCharacters &characters)
        : _configuration(configuration)
        , _characters(characters)
    {
    }

    QList<SystemShortcut> read()
    {
        _filesRead.insert(_configuration.path);
        readText(_configuration.text, _configuration.path);
        QList<SystemShortcut> found;
        for (auto it = _bindings.cbegin(); it != _bindings.cend(); ++it) {
            if (!it->contains("vellumhound"_L1, Qt::CaseInsensitive))
                found.append({it.key().first, it.key().second, true, holderOf(*it)});
        }
        return found;
    }

private:
    QString holderOf(QString command) const
    {
        command = command.simplified();
        if (command.size() > longestHolder)
            command = command.first(longestHolder - 1) + u'…';
        return command.isEmpty() ? _configuration.desktop
                                 : _configuration.desktop + u": "_s + command;
    }

    void readText(const QByteArray &bytes, const QString &path)
    {
        const auto text = QString::fromUtf8(bytes);
        const auto lines = QStringView(text).split(u'\n');
        const auto blocksBefore = _blocks.size();
        QString line;
        for (const auto &part : lines) {
            if (++_linesRead > mostLines)
                return;
            line += part.trimmed();
            // A backslash at its end joins a line to the next one.
            if (line.endsWith(u'\\') && line.size() < longestLine) {
                line.chop(1);
                continue;
            }
            readLine(line, path);
            line.clear();
        }
        // A file that leaves a block open does not reach into the next one.
        _blocks.resize(std::min(blocksBefore, _blocks.size()));
    }

    void readLine(QString line, const QString &path)
    {
        if (line.isEmpty() || line.startsWith(u'#') || line.size() > longestLine)
            return;
        if (line == u"}"_s) {
            if (!_blocks.isEmpty())
                _blocks.removeLast();
            return;
        }
        if (line.endsWith(u'{')) {
            line.chop(1);
            _blocks.append(line.trimmed());
            return;
        }
        // What stands before the brace stands before each line in it.
        if (_blocks.size() > deepestBlock)
            return;
        line = (QStringList(_blocks) << line).join(u' ');
        if (line.size() <= longestLine)
            execute(line, path);
    }

    void execute(QString line, const QString &path)
    {
        const auto command = takeWord(line).toLower();
        if (command == "set"_L1)
            setVariable(line);
        else if (command == "set_from_resource"_L1)
            setFromResource(line);
        else if (command == "include"_L1)
            include(withVariables(line), path);
        else if (command == "mode"_L1)
            executeInMode(line, path);
        else if (command == "bindsym"_L1 || command == "bindcode"_L1)
            bind(line, command == "bindcode"_L1, true);
        else if (command == "unbindsym"_L1 || command == "unbindcode"_L1)
            bind(line, command == "unbindcode"_L1, false);
    }

    /// The keys of any other mode than the usual one are free until it is entered.
    void executeInMode(QString line, const QString &path)
    {
        while (line.startsWith("--"_L1))
            takeWord(line);
        if (withVariables(takeWord(line)) == "default"_L1)
            execute(line, path);
    }

    void setVariable(QString line)
    {
        const auto name = takeWord(line);
        const auto value = withVariables(line);
        if (name.startsWith(u'$') && name.size() > 1 && value.size() <= longestLine &&
            _variables.size() < mostVariables)
            _variables.insert(name, value);
    }

    /// What the resource says is not known; the value given beside it is as good a guess as any.
    void setFromResource(QString line)
    {
        const auto name = takeWord(line);
        takeWord(line);
        setVariable(name + u' ' + line);
    }

    /// The longest name that fits counts: $model is not $mod followed by "el".
    QString withVariables(const QString &text) const
    {
        QString result;
        for (qsizetype i = 0; i < text.size() && result.size() <= longestLine;) {
            QString best;
            for (auto it = _variables.cbegin(); text[i] == u'$' && it != _variables.cend(); ++it) {
                if (it.key().size() > best.size() &&
                    QStringView(text).sliced(i).startsWith(it.key()))
                    best = it.key();
            }
            result += best.isEmpty() ? QString(text[i]) : _variables.value(best);
            i += std::max<qsizetype>(best.size(), 1);
        }
        return result;
    }

    void include(QString pattern, const QString &from)
    {
        pattern = takeWord(pattern);
        if (pattern.isEmpty() || !_configuration.expand || !_configuration.read)
            return;
        if (!pattern.startsWith(u'/') && !pattern.startsWith(u'~'))
            pattern = base::appendingPathComponent(base::deletingLastPathComponent(from), pattern);
        const auto paths = _configuration.expand(pattern);
        for (const auto &path : paths) {
            if (_filesRead.contains(path) || _filesRead.size() > mostFiles)
                continue;
            _filesRead.insert(path);
            if (const auto text = _configuration.read(path))
                readText(*text, path);
        }
    }

    void bind(QString line, bool isByCode, bool isBound)
    {
        line = withVariables(line);
        while (line.startsWith("--"_L1))
            takeWord(line);
        const auto keys = takeWord(line);
        const auto combination =
            isByCode ? ShortcutText::fromSwayCode(keys) : ShortcutText::fromSway(keys, _characters);
        if (!combination)
            return;
        const std::pair key(combination->keyCode, combination->modifiers);
        if (isBound)
            _bindings.insert(key, line);
        else
            _bindings.remove(key);
    }

    const SwayConfiguration &_configuration;
    const KeyCharacters &_characters;
    QMap<QString, QString> _variables;  // by name with its dollar sign
    QStringList _blocks;                // what stands before the braces that are open
    QSet<QString> _filesRead;
    int _linesRead = 0;
    QMap<std::pair<int, int>, QString> _bindings;  // key code and modifiers to command
};

}  // namespace

QList<SystemShortcut> swayShortcuts(
    const SwayConfiguration &configuration, const KeyCharacters &characters)
{
    return Reader(configuration, characters).read();
}

QStringList expandedPaths(const QString &pattern)
{
    const auto bytes = base::pathToBytes(base::expandTilde(pattern));
    glob_t found = {};
    QStringList paths;
    if (::glob(bytes.constData(), GLOB_NOSORT, nullptr, &found) == 0) {
        for (std::size_t i = 0; i < found.gl_pathc && paths.size() < mostFiles; ++i)
            paths.append(base::pathFromBytes(found.gl_pathv[i]));
    }
    ::globfree(&found);
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace vellumhound::platform
