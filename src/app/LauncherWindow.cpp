// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/LauncherWindow.h"

#include "base/widgets/Symbols.h"

#include <QApplication>
#include <QFontInfo>
#include <QScreen>

namespace vellumhound::app {

namespace {

ui::Theme themeOf(const platform::Appearance &appearance)
{
    const auto accent = appearance.accent ? base::toQColor(*appearance.accent) : QColor();
    auto theme = appearance.isDark ? ui::Theme::dark(accent) : ui::Theme::light(accent);
    const auto *screen = QGuiApplication::primaryScreen();
    theme.textScale = ui::textScaleOf(
        QFontInfo(QApplication::font()).pointSizeF(), screen ? screen->logicalDotsPerInchY() : 96);
    return theme;
}

}  // namespace

LauncherWindow::LauncherWindow(const QString &identifier, Services &services,
    shell::VellumhoundAppDelegate &appDelegate, std::function<bool()> isOnboardingDone)
    : _services(services)
    , _appDelegate(appDelegate)
    , _view({.appDelegate = appDelegate,
          .finderManager = services.finderManager,
          .settings = services.settings,
          .userDefaults = services.userDefaults,
          .fileSearchService = services.fileSearchService,
          .moc = services.store->container().viewContext(),
          .fileSystem = services.fileSystem,
          .background = services.background,
          .keyboardMonitor = services.keyboardMonitor,
          .notificationCenter = services.notificationCenter,
          .queue = services.queue,
          .timer = services.timer,
          .workspace = services.workspace,
          .clock = services.clock,
          .isOnboardingDone = isOnboardingDone})
    , _content(new shell::LauncherWidget(_view, services.keyEquivalents))
    , _panel(std::make_unique<shell::FloatingPanel>(_content, surroundings(isOnboardingDone)))
{
    _panel->setObjectName(identifier);
    _services.keyFilter.watch(_panel.get());
    _services.workspace.setAcceptedHandler([this](bool isAccepted) {
        if (isAccepted)
            giveUpKey();
    });
    QObject::connect(
        _content, &shell::LauncherWidget::escapeNotTaken, _panel.get(), [this] { giveUpKey(); });
    QObject::connect(_panel.get(), &shell::FloatingPanel::blurChanged, _panel.get(),
        [this] { setAppearance(_appearance); });
    _view.appear();
}

LauncherWindow::~LauncherWindow()
{
    _services.workspace.setAcceptedHandler({});
}

shell::PanelSurroundings LauncherWindow::surroundings(std::function<bool()> isOnboardingDone)
{
    return {_services.notificationCenter, _services.queue, _services.timer, _services.previewPanel,
        [this] { _services.previewPanelManager.clearPreview(); },
        [this](bool isPaused) { _services.keyboardMonitor.setMonitoringPaused(isPaused); },
        std::move(isOnboardingDone), [this] { _appDelegate.applicationDidResignActive(); }};
}

preview::PreviewPanelManager &LauncherWindow::previewPanelManager()
{
    return _services.previewPanelManager;
}

void LauncherWindow::makeKeyAndOrderFront()
{
    // A menu of ours keeps the keyboard as long as it is open.
    while (auto *menu = QApplication::activePopupWidget())
        menu->close();
    // Somebody is about to search.
    _services.fileIndex.prepare();
    _panel->makeKeyAndOrderFront();
}

void LauncherWindow::setAppearance(const platform::Appearance &appearance)
{
    _appearance = appearance;
    auto theme = themeOf(appearance);
    if (_panel->isBlurred())
        theme = theme.overBlur();
    _palette.set(theme.palette());
    _content->setTheme(theme);
    _panel->setTheme(theme);
}

}  // namespace vellumhound::app
