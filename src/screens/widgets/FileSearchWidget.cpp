// SPDX-License-Identifier: GPL-3.0-or-later
#include "screens/widgets/FileSearchWidget.h"

#include "base/NativePath.h"
#include "base/widgets/Symbols.h"

#include <QHBoxLayout>

namespace vellumhound::screens {

namespace metrics = ui::metrics;
using keyboard::FocusArea;
using namespace Qt::StringLiterals;

namespace {

QStackedWidget *makeSlot(QWidget *parent, std::initializer_list<QWidget *> pages)
{
    auto *slot = new QStackedWidget(parent);
    slot->setFixedSize(metrics::searchSymbol, metrics::searchSymbol);
    for (auto *page : pages)
        slot->addWidget(page);
    return slot;
}

}  // namespace

FileSearchWidget::FileSearchWidget(FileSearchView &view, core::FileBrowserModel &model,
    keyboard::FocusState &focus, QWidget *parent)
    : QWidget(parent)
    , _view(view)
    , _model(model)
    , _focus(focus)
    , _symbol(new QLabel(this))
    , _backButton(new ui::SymbolButton(u"arrowshape.backward.fill"_s, u"Back"_s, this))
    , _field(new SearchField(this))
    , _spinner(new ui::Spinner(this))
    , _clearButton(new ui::SymbolButton(u"xmark.circle.fill"_s, u"Clear search"_s, this))
    , _emptySlot(new QWidget(this))
{
    setObjectName(u"FileSearchView"_s);
    _backButton->setObjectName(u"backButton"_s);
    _clearButton->setObjectName(u"clearButton"_s);
    _leading = makeSlot(this, {_symbol, _backButton});
    _trailing = makeSlot(this, {_emptySlot, _spinner, _clearButton});

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(metrics::defaultPadding, 0, metrics::defaultPadding, 0);
    layout->setSpacing(metrics::defaultSpacing);
    layout->addWidget(_leading);
    layout->addWidget(_field, 1);
    layout->addWidget(_trailing);
    setFixedHeight(metrics::searchRowHeight);

    connect(_backButton, &QAbstractButton::clicked, this, [this] { _model.goBack(); });
    connect(_clearButton, &QAbstractButton::clicked, this, [this] { _view.clear(); });

    connect(_field, &QLineEdit::textEdited, &_model, &core::FileBrowserModel::setSearchText);
    connect(_field, &SearchField::compositionEnded, this, &FileSearchWidget::writeText);
    connect(
        _field, &SearchField::focusedByMouse, this, [this] { _focus.setArea(FocusArea::search); });
    connect(&_focus, &keyboard::FocusState::areaWritten, this, &FileSearchWidget::placeCaret);

    connect(&_model, &core::FileBrowserModel::searchTextChanged, this, [this] {
        writeText();
        render();
    });
    connect(&_model, &core::FileBrowserModel::searchStatusChanged, this, &FileSearchWidget::render);
    connect(&_model, &core::FileBrowserModel::resultTypeChanged, this, &FileSearchWidget::render);
    connect(&_model, &core::FileBrowserModel::rootChanged, this, &FileSearchWidget::render);
    connect(&_model, &core::FileBrowserModel::filesChanged, this, &FileSearchWidget::render);
    connect(&_model, &core::FileBrowserModel::selectedFileChanged, this,
        &FileSearchWidget::describeForScreenReader);
    render();
}

void FileSearchWidget::setTheme(const ui::Theme &theme)
{
    _theme = theme;
    _field->setFont(theme.font(metrics::searchText));
    auto palette = _field->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, theme.primaryText);
    palette.setColor(QPalette::PlaceholderText, theme.placeholderText);
    _field->setPalette(palette);
    _spinner->setColor(theme.secondaryText);
    _backButton->setColors(theme.secondaryText, theme.primaryText);
    _clearButton->setColors(theme.tertiaryText, theme.secondaryText);
    _shown = {};
    render();
}

void FileSearchWidget::render()
{
    const auto description = _view.description();
    describeForScreenReader();
    if (description == _shown)
        return;
    _shown = description;
    _field->setPlaceholderText(description.placeholder);
    if (description.leading == SearchRowLeading::resultTypeSymbol) {
        _symbol->setPixmap(base::symbolPixmap(description.leadingSymbol, metrics::searchSymbol,
            devicePixelRatioF(), _theme.secondaryText));
        _leading->setCurrentWidget(_symbol);
    } else {
        _leading->setCurrentWidget(_backButton);
    }
    switch (description.trailing) {
    case SearchRowTrailing::spinner:
        _trailing->setCurrentWidget(_spinner);
        break;
    case SearchRowTrailing::clearButton:
        _trailing->setCurrentWidget(_clearButton);
        break;
    case SearchRowTrailing::nothing:
        _trailing->setCurrentWidget(_emptySlot);
        break;
    }
}

void FileSearchWidget::writeText()
{
    if (_field->isComposing() || _field->text() == _model.searchText())
        return;
    _field->setText(_model.searchText());
    _field->setCursorPosition(int(_field->text().size()));
}

void FileSearchWidget::placeCaret()
{
    if (_focus.area() != FocusArea::search)
        return;
    if (_model.selectSearchText()) {
        _field->selectAll();
    } else {
        _field->deselect();
        _field->setCursorPosition(int(_field->text().size()));
    }
}

void FileSearchWidget::describeForScreenReader()
{
    QString text;
    if (_model.searchStatus().isResults()) {
        const auto count = _model.files().size();
        text = count == 1 ? u"1 result"_s : u"%1 results"_s.arg(count);
        if (count > 0)
            text += u", first: "_s + base::printablePath(_model.files().first()->fileName);
    }
    if (text != _field->accessibleDescription())
        _field->setAccessibleDescription(text);
}

}  // namespace vellumhound::screens
