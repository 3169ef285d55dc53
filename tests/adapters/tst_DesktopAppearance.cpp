// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/DesktopAppearance.h"
#include "support/Peer.h"
#include "ui/widgets/Theme.h"
#include "ui/widgets/WidgetPalette.h"

#include <QApplication>
#include <QPalette>
#include <QTest>

using namespace vellumhound;
using namespace Qt::StringLiterals;
using platform::Appearance;
using platform::DesktopAppearance;
using support::Peer;

namespace {

const auto common = u"org.freedesktop.appearance"_s;
const auto gnome = u"org.gnome.desktop.interface"_s;

QPalette paletteOf(QColor window, QColor text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

}  // namespace

class tst_DesktopAppearance : public QObject {
    Q_OBJECT

private:
    QList<Appearance> _seen;

    std::function<void(const Appearance &)> note()
    {
        return [this](const Appearance &appearance) { _seen.append(appearance); };
    }

private Q_SLOTS:
    void init()
    {
        QGuiApplication::setPalette(paletteOf(Qt::white, Qt::black));
        _seen.clear();
    }

    void thePortalTellsDarkAccentAndMotion()
    {
        Peer portal;
        QVERIFY(portal.start(u"settings_portal.py"_s,
            {common, u"color-scheme"_s, u"u:1"_s, common, u"accent-color"_s, u"c:0.5,0.25,1"_s,
                gnome, u"enable-animations"_s, u"b:0"_s}));

        DesktopAppearance appearance(QDBusConnection::sessionBus(), note());

        QTRY_COMPARE(_seen.size(), 1);
        QVERIFY(appearance.current().isDark);
        QCOMPARE(appearance.current().accent, std::optional(base::Color{0.5, 0.25, 1, 1}));
        QVERIFY(appearance.current().isMotionReduced);
    }

    void aChangeIsFollowed()
    {
        Peer portal;
        QVERIFY(portal.start(u"settings_portal.py"_s, {common, u"color-scheme"_s, u"u:1"_s}));
        DesktopAppearance appearance(QDBusConnection::sessionBus(), note());
        QTRY_COMPARE(_seen.size(), 1);

        portal.tell("org.freedesktop.appearance color-scheme u:2");
        QTRY_COMPARE(_seen.size(), 2);
        QVERIFY(!_seen.last().isDark);
        portal.tell("org.freedesktop.appearance accent-color c:0,1,0");
        QTRY_COMPARE(_seen.size(), 3);
        QCOMPARE(_seen.last().accent, std::optional(base::Color{0, 1, 0, 1}));
        portal.tell("org.freedesktop.appearance reduced-motion u:1");

        QTRY_COMPARE(_seen.size(), 4);
        QVERIFY(_seen.last().isMotionReduced);
    }

    void aColourOutsideTheRangeIsNone()
    {
        Peer portal;
        QVERIFY(portal.start(u"settings_portal.py"_s,
            {common, u"accent-color"_s, u"c:-1,0,0"_s, common, u"color-scheme"_s, u"u:1"_s}));

        DesktopAppearance appearance(QDBusConnection::sessionBus(), note());

        QTRY_COMPARE(_seen.size(), 1);
        QVERIFY(!appearance.current().accent);
    }

    void withoutAPreferenceThePaletteDecides()
    {
        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));
        Peer portal;
        QVERIFY(portal.start(u"settings_portal.py"_s,
            {common, u"color-scheme"_s, u"u:0"_s, gnome, u"enable-animations"_s, u"b:0"_s}));

        DesktopAppearance appearance(QDBusConnection::sessionBus(), note());

        QTRY_COMPARE(_seen.size(), 1);
        QVERIFY(appearance.current().isDark);
    }

    void withoutAPortalThePaletteIsFollowed()
    {
        DesktopAppearance appearance(QDBusConnection::sessionBus(), note());
        QVERIFY(!appearance.current().isDark);

        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));

        QTRY_COMPARE(_seen.size(), 1);
        QVERIFY(_seen.last().isDark);
    }

    void backToNoPreferenceIsLightAgainAlthoughOursIsDark()
    {
        Peer portal;
        QVERIFY(portal.start(u"settings_portal.py"_s, {common, u"color-scheme"_s, u"u:1"_s}));
        ui::WidgetPalette ours;
        DesktopAppearance appearance(QDBusConnection::sessionBus(), [&](const Appearance &now) {
            _seen.append(now);
            ours.set((now.isDark ? ui::Theme::dark() : ui::Theme::light()).palette());
        });
        QTRY_COMPARE(_seen.size(), 1);
        QVERIFY(_seen.last().isDark);

        portal.tell("org.freedesktop.appearance color-scheme u:0");

        QTRY_COMPARE(_seen.size(), 2);
        QVERIFY(!_seen.last().isDark);
    }

    void aSwitchOfTheDesktopsPaletteIsFollowedBothWaysAlthoughOursIsShown()
    {
        ui::WidgetPalette ours;
        DesktopAppearance appearance(QDBusConnection::sessionBus(), [&](const Appearance &now) {
            _seen.append(now);
            ours.set((now.isDark ? ui::Theme::dark() : ui::Theme::light()).palette());
        });

        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));
        QTRY_COMPARE(_seen.size(), 1);
        QGuiApplication::setPalette(paletteOf(Qt::white, Qt::black));

        QTRY_COMPARE(_seen.size(), 2);
        QVERIFY(!_seen.last().isDark);
    }

    void withoutABusThePaletteDecides()
    {
        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));

        DesktopAppearance appearance(QDBusConnection(u"no such connection"_s), note());

        QVERIFY(appearance.current().isDark);
        QVERIFY(!appearance.current().accent);
        QVERIFY(!appearance.current().isMotionReduced);
    }
};

QTEST_MAIN(tst_DesktopAppearance)
#include "tst_DesktopAppearance.moc"
