// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "keyboard/KeyboardShortcuts/widgets/RecorderWidget.h"

#include <QWidget>

class QLabel;

namespace vellumhound::keyboard::KeyboardShortcuts {

/// What a Recorder is made of.
struct RecorderFields {
    Name name;
    RecorderCocoa::ChangeHandler onChange;  ///< may be empty
    bool hasLabel = false;  ///< the label is seen; without it a screen reader still says it
    QString label;
};

/// The recorder as screens place it: the field beside an optional label. Main thread.
class Recorder final : public QWidget {
    Q_OBJECT

public:
    Recorder(const RecorderFields &fields, const RecorderCocoa::Environment &environment,
        const ui::Theme &theme, QWidget *parent = nullptr);

    /// Shows other fields in the same control.
    void setFields(const RecorderFields &fields);
    void setTheme(const ui::Theme &theme);

    RecorderWidget &control() const { return *_control; }

private:
    QLabel *_label;
    RecorderWidget *_control;
};

}  // namespace vellumhound::keyboard::KeyboardShortcuts
