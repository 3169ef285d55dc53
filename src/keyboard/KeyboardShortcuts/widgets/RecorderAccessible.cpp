// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/widgets/RecorderAccessible.h"

#include "keyboard/KeyboardShortcuts/widgets/RecorderWidget.h"

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {

QAccessibleInterface *interfaceOf(const QString &, QObject *object)
{
    auto *recorder = qobject_cast<RecorderWidget *>(object);
    return recorder ? new RecorderAccessible(recorder) : nullptr;
}

struct Word {
    char16_t sign;
    const char *english;
};
constexpr Word words[] = {{u'⌃', QT_TRANSLATE_NOOP("KeyboardShortcuts", "Ctrl")},
    {u'⌥', QT_TRANSLATE_NOOP("KeyboardShortcuts", "Alt")},
    {u'⇧', QT_TRANSLATE_NOOP("KeyboardShortcuts", "Shift")},
    {u'⌘', QT_TRANSLATE_NOOP("KeyboardShortcuts", "Super")}};

}  // namespace

QString spokenShortcut(const QString &text)
{
    QStringList parts;
    qsizetype at = 0;
    for (; at < text.size(); ++at) {
        const auto *word = std::find_if(std::begin(words), std::end(words),
            [&](const Word &candidate) { return text[at] == candidate.sign; });
        if (word == std::end(words))
            break;
        parts.append(QCoreApplication::translate("KeyboardShortcuts", word->english));
    }
    parts.append(text.mid(at));
    return parts.join(u'+');
}

RecorderAccessible::RecorderAccessible(RecorderWidget *widget)
    : QAccessibleWidget(widget, QAccessible::EditableText)
{
}

void RecorderAccessible::install()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory(interfaceOf);
        return true;
    }();
    Q_UNUSED(isInstalled)
}

void RecorderAccessible::announce(RecorderWidget *widget, const QString &oldText)
{
    if (!QAccessible::isActive())
        return;
    const auto newText = widget->text();
    if (newText != oldText) {
        QAccessibleTextUpdateEvent change(widget, 0, oldText, newText);
        QAccessible::updateAccessibility(&change);
    }
    QAccessibleEvent description(widget, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&description);
}

const RecorderWidget &RecorderAccessible::recorder() const
{
    return *static_cast<const RecorderWidget *>(widget());
}

void *RecorderAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QString RecorderAccessible::text(QAccessible::Text text) const
{
    auto shown = recorder().text();
    if (text == QAccessible::Value)
        return shown;
    if (text != QAccessible::Description)
        return QAccessibleWidget::text(text);
    const auto prompt = recorder().placeholder();
    return shown.isEmpty() ? prompt : spokenShortcut(shown) + u". "_s + prompt;
}

QAccessible::State RecorderAccessible::state() const
{
    auto state = QAccessibleWidget::state();
    state.focusable = recorder().isEnabled();
    return state;
}

QStringList RecorderAccessible::actionNames() const
{
    return {setFocusAction()};
}

void RecorderAccessible::doAction(const QString &actionName)
{
    if (actionName == setFocusAction() && widget()->isEnabled())
        widget()->setFocus(Qt::OtherFocusReason);
}

void RecorderAccessible::selection(int, int *startOffset, int *endOffset) const
{
    *startOffset = 0;
    *endOffset = 0;
}

QString RecorderAccessible::text(int startOffset, int endOffset) const
{
    return recorder().text().mid(startOffset, endOffset - startOffset);
}

int RecorderAccessible::characterCount() const
{
    return int(recorder().text().size());
}

/// The text is one word to the eye.
QRect RecorderAccessible::characterRect(int) const
{
    return rect();
}

int RecorderAccessible::offsetAtPoint(const QPoint &point) const
{
    return rect().contains(point) ? 0 : -1;
}

QString RecorderAccessible::attributes(int, int *startOffset, int *endOffset) const
{
    *startOffset = 0;
    *endOffset = characterCount();
    return {};
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
