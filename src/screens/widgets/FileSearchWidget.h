// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "screens/FileSearchView.h"
#include "screens/widgets/SearchField.h"
#include "ui/widgets/Spinner.h"
#include "ui/widgets/SymbolButton.h"
#include "ui/widgets/Theme.h"

#include <QLabel>
#include <QStackedWidget>

namespace vellumhound::screens {

/// Shows FileSearchView: the symbol or back button, the field, and the slot for a spinner or the
/// clear button.
class FileSearchWidget final : public QWidget {
    Q_OBJECT

public:
    /// All outlive the widget.
    FileSearchWidget(FileSearchView &view, core::FileBrowserModel &model,
        keyboard::FocusState &focus, QWidget *parent = nullptr);

    SearchField &field() { return *_field; }
    void setTheme(const ui::Theme &theme);

private:
    void render();
    void writeText();
    void placeCaret();
    void describeForScreenReader();

    FileSearchView &_view;
    core::FileBrowserModel &_model;
    keyboard::FocusState &_focus;
    ui::Theme _theme;
    SearchRowDescription _shown;
    QStackedWidget *_leading;
    QLabel *_symbol;
    ui::SymbolButton *_backButton;
    SearchField *_field;
    QStackedWidget *_trailing;
    ui::Spinner *_spinner;
    ui::SymbolButton *_clearButton;
    QWidget *_emptySlot;
};

}  // namespace vellumhound::screens
