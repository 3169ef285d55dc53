// SPDX-License-Identifier: GPL-3.0-or-later
#include "keyboard/KeyboardShortcuts/widgets/Recorder.h"

#include "keyboard/KeyboardShortcuts/Strings.h"

#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::StringLiterals;

namespace vellumhound::keyboard::KeyboardShortcuts {

namespace {
constexpr int labelText = 13;
}

Recorder::Recorder(const RecorderFields &fields, const RecorderCocoa::Environment &environment,
    const ui::Theme &theme, QWidget *parent)
    : QWidget(parent)
    , _label(new QLabel(this))
    , _control(new RecorderWidget(fields.name, fields.onChange, environment, theme, this))
{
    setObjectName(u"Recorder"_s);
    _label->setObjectName(u"recorderLabel"_s);
    _label->setTextFormat(Qt::PlainText);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(ui::metrics::defaultSpacing);
    layout->addWidget(_label, 1, Qt::AlignVCenter);
    layout->addWidget(_control, 0, Qt::AlignVCenter);
    setTheme(theme);
    setFields(fields);
}

void Recorder::setFields(const RecorderFields &fields)
{
    _label->setText(fields.label);
    _label->setVisible(fields.hasLabel);
    _control->setAccessibleName(
        fields.label.isEmpty() ? localizedString(u"keyboard_shortcut"_s) : fields.label);
    _control->setShortcutName(fields.name);
    _control->setOnChange(fields.onChange);
}

void Recorder::setTheme(const ui::Theme &theme)
{
    _label->setFont(theme.font(labelText));
    _control->setTheme(theme);
}

}  // namespace vellumhound::keyboard::KeyboardShortcuts
