// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessibleWidget>

namespace vellumhound::keyboard::KeyboardShortcuts {

class RecorderWidget;

/// What a screen reader hears of a recorder: a field whose text is the shortcut and whose
/// description says the shortcut in words and what the field waits for. Owned by the toolkit.
class RecorderAccessible final : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit RecorderAccessible(RecorderWidget *widget);
    /// From now on the toolkit finds it for each recorder. A second call changes nothing.
    static void install();
    /// Tells a screen reader that text or description have changed from `oldText`.
    static void announce(RecorderWidget *widget, const QString &oldText);

    void *interface_cast(QAccessible::InterfaceType type) override;
    QString text(QAccessible::Text text) const override;
    QAccessible::State state() const override;
    QStringList actionNames() const override;
    void doAction(const QString &actionName) override;

    void selection(int index, int *startOffset, int *endOffset) const override;
    int selectionCount() const override { return 0; }
    void addSelection(int, int) override {}
    void removeSelection(int) override {}
    void setSelection(int, int, int) override {}
    int cursorPosition() const override { return 0; }
    void setCursorPosition(int) override {}
    QString text(int startOffset, int endOffset) const override;
    int characterCount() const override;
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int, int) override {}
    QString attributes(int offset, int *startOffset, int *endOffset) const override;

private:
    const RecorderWidget &recorder() const;
};

/// The signs of the modifiers as words that can be spoken: "⌃⇧K" is "Ctrl+Shift+K".
QString spokenShortcut(const QString &text);

}  // namespace vellumhound::keyboard::KeyboardShortcuts
