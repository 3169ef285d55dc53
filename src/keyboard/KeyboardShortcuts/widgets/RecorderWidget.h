// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/RecorderCocoa.h"
#include "ui/widgets/Theme.h"

#include <QPointer>
#include <QWidget>

class QAbstractButton;

namespace vellumhound::keyboard::KeyboardShortcuts {

/// The field in which the user presses a new shortcut, as RecorderCocoa has it. Takes the focus by
/// click and Tab, and records as long as it has it; takes no input method, so that a key bound
/// there can be recorded.
///
/// Main thread. What the environment holds outlives it.
class RecorderWidget final : public QWidget, private RecorderView {
    Q_OBJECT

public:
    RecorderWidget(const Name &name, RecorderCocoa::ChangeHandler onChange,
        const RecorderCocoa::Environment &environment, const ui::Theme &theme,
        QWidget *parent = nullptr);
    ~RecorderWidget() override;

    void setShortcutName(const Name &name) { _logic->setShortcutName(name); }
    void setOnChange(RecorderCocoa::ChangeHandler onChange);
    void setTheme(const ui::Theme &theme);
    /// Instead of the desktop's bell.
    void setBell(std::function<void()> bell) { _bell = std::move(bell); }

    bool isRecording() const { return _logic->isRecording(); }
    /// As it is seen; empty without a shortcut.
    QString text() const { return _value; }
    /// What the field asks for, seen while it is empty.
    QString placeholder() const { return _placeholder; }
    QAbstractButton &clearButton() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    class ClearButton;
    using WindowHandler = std::function<void()>;

    QString stringValue() const override { return _value; }
    void setStringValue(const QString &value) override;
    void setPlaceholder(const QString &placeholder) override;
    void setCancelButton(bool isInstalled) override;
    void clickCancelButton() override;
    void setInsertionPointVisible(bool) override {}  // there is none at any time
    RecorderPoint extent() const override;
    RecorderPoint fromScreen(RecorderPoint point) const override;
    bool acceptsFirstResponder() const override { return isEnabled() && isVisible(); }
    void makeFirstResponder() override;
    void blur() override;
    void canBecomeKeyDidChange(bool canBecomeKey) override;
    QWindow *nativeWindow() const override { return window()->windowHandle(); }
    ObserverToken observeWindowDidResignKey(std::function<void()> handler) override;
    ObserverToken observeWindowDidBecomeKey(std::function<void()> handler) override;
    int runAlert(const RecorderAlert &alert) override;
    void beep() override;

    void clear();
    void watchWindow(QWidget *window);
    bool moveFocus(bool isForward);
    void placeClearButton();
    void paintSelection(QPainter &painter, const QRectF &room, const QString &text) const;

    ui::Theme _theme;
    QString _value;
    QString _placeholder;
    ClearButton *_clearButton;
    std::function<void()> _bell;
    QPointer<QWidget> _window;  // whose events are watched
    std::weak_ptr<WindowHandler> _didResignKey;
    std::weak_ptr<WindowHandler> _didBecomeKey;
    bool _isTabAnchor = false;  // the focus went from here to nobody: Tab goes on from here
    std::unique_ptr<RecorderCocoa> _logic;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
