// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QWindow;

namespace vellumhound::keyboard::KeyboardShortcuts {

/// A place on the screen or in the control, in device-independent pixels.
struct RecorderPoint {
    double x = 0;
    double y = 0;
};

/// What is told when a shortcut is not simply taken.
struct RecorderAlert {
    /// Answers of the first and the second button.
    static constexpr int firstButton = 1000;
    static constexpr int secondButton = 1001;

    QString message;
    QString informativeText;  ///< may be empty
    QStringList buttons;      ///< the first one is the usual answer, and that of Escape

    bool operator==(const RecorderAlert &) const = default;
};

/// The field that RecorderCocoa needs of the toolkit: what it shows, where it stands, and the
/// keyboard's focus. Has no rules. Main thread; outlives its RecorderCocoa.
class RecorderView {
public:
    /// Ends an observation when its last copy goes.
    using ObserverToken = std::shared_ptr<void>;

    virtual ~RecorderView() = default;

    virtual QString stringValue() const = 0;
    /// Without a call of controlTextDidChange.
    virtual void setStringValue(const QString &value) = 0;
    virtual void setPlaceholder(const QString &placeholder) = 0;
    /// The button that clears the field, inside it.
    virtual void setCancelButton(bool isInstalled) = 0;
    /// As a click on it: the field is emptied and controlTextDidChange called.
    virtual void clickCancelButton() = 0;
    virtual void setInsertionPointVisible(bool isVisible) = 0;

    /// The control's size.
    virtual RecorderPoint extent() const = 0;
    virtual RecorderPoint fromScreen(RecorderPoint point) const = 0;

    /// Whether the toolkit would give the control the focus at all.
    virtual bool acceptsFirstResponder() const = 0;
    /// Gives the control the focus; becomeFirstResponder follows, at the latest when its window has
    /// the keyboard. Without effect while it has the focus.
    virtual void makeFirstResponder() = 0;
    /// Takes the focus from the control and gives it to nobody; controlTextDidEndEditing comes in
    /// the same call.
    virtual void blur() = 0;
    /// After RecorderCocoa::canBecomeKey has changed.
    virtual void canBecomeKeyDidChange(bool canBecomeKey) = 0;

    /// The window that the control is in at this moment, as the window system has it; null without
    /// one.
    virtual QWindow *nativeWindow() const = 0;
    /// Of that window.
    virtual ObserverToken observeWindowDidResignKey(std::function<void()> handler) = 0;
    virtual ObserverToken observeWindowDidBecomeKey(std::function<void()> handler) = 0;

    /// Shows the alert and waits for its answer, as a sheet where the control has a window. The
    /// control may be gone when it returns.
    virtual int runAlert(const RecorderAlert &alert) = 0;
    virtual void beep() = 0;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
