// SPDX-License-Identifier: GPL-3.0-or-later
// The item in the tray of a desktop that draws item and menu by itself: a scripted one, in a
// process of its own.
#include "support/Peer.h"
#include "TrayFixture.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QJsonArray>
#include <QTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using namespace Qt::StringLiterals;
using support::Peer;

namespace {

bool start(Peer &peer)
{
    return peer.start(u"tray.py"_s, {peer.logPath()});
}

/// What the tray wrote down of `what`, in its order.
QList<QJsonObject> noted(const Peer &peer, const QString &what)
{
    QList<QJsonObject> found;
    for (const auto &entry : peer.calls()) {
        if (entry.value("what"_L1).toString() == "error"_L1)
            qWarning("the tray: %s", qPrintable(entry.value("text"_L1).toString()));
        if (entry.value("what"_L1).toString() == what)
            found.append(entry);
    }
    return found;
}

/// Opens the menu as the tray does; its rows.
QJsonArray menuOf(Peer &peer)
{
    const auto before = noted(peer, u"menu"_s).size();
    peer.tell("menu");
    [&] { QTRY_COMPARE(noted(peer, u"menu"_s).size(), before + 1); }();
    const auto menus = noted(peer, u"menu"_s);
    return menus.isEmpty() ? QJsonArray() : menus.constLast().value("rows"_L1).toArray();
}

QStringList textsOf(const QJsonArray &rows)
{
    QStringList texts;
    for (const auto &value : rows) {
        const auto row = value.toObject();
        auto text = row.value("type"_L1).toString() == "separator"_L1
                        ? u"-"_s
                        : row.value("label"_L1).toString();
        if (row.contains("enabled"_L1) && !row.value("enabled"_L1).toBool(true))
            text = u'(' + text + u')';
        texts.append(text);
    }
    return texts;
}

/// The desktop's icon themes for as long as it lives, with our symbolic picture or without.
class IconThemes {
public:
    explicit IconThemes(bool hasPicture)
    {
        const QDir folder(_folder.path());
        folder.mkpath(u"hicolor/symbolic/apps"_s);
        QFile index(folder.filePath(u"hicolor/index.theme"_s));
        if (index.open(QIODevice::WriteOnly)) {
            index.write("[Icon Theme]\nName=hicolor\nDirectories=symbolic/apps\n"
                        "[symbolic/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\n");
        }
        const auto picture = u"org.vellumhound.Vellumhound-symbolic.svg"_s;
        if (hasPicture) {
            QFile::copy(u":/tray/MenubarIcon.svg"_s,
                folder.filePath(u"hicolor/symbolic/apps/"_s + picture));
        }
        QIcon::setThemeSearchPaths({folder.path()});
        QIcon::setThemeName(u"hicolor"_s);
    }
    ~IconThemes()
    {
        QIcon::setThemeSearchPaths(_paths);
        QIcon::setThemeName(_name);
        qunsetenv("XDG_CURRENT_DESKTOP");
    }
    Q_DISABLE_COPY_MOVE(IconThemes)

private:
    QTemporaryDir _folder;
    QStringList _paths = QIcon::themeSearchPaths();
    QString _name = QIcon::themeName();
};

}  // namespace

class tst_TrayItem : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theItemAppearsWithItsPictures()
    {
        Peer tray;
        QVERIFY(start(tray));
        const TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);

        tray.tell("properties");

        QTRY_COMPARE(noted(tray, u"properties"_s).size(), 1);
        const auto properties = noted(tray, u"properties"_s).constFirst();
        QCOMPARE(properties.value("ToolTip"_L1).toArray().at(2).toString(), u"Vellumhound"_s);
        QCOMPARE(properties.value("Status"_L1).toString(), u"Active"_s);
        const auto pictures = properties.value("IconPixmap"_L1).toArray();
        QVERIFY(pictures.contains(QJsonArray({22, 22})));
        QVERIFY(pictures.contains(QJsonArray({44, 44})));
        QVERIFY(fixture.item.isShown());
    }

    void onlyATrayThatColoursPicturesIsGivenTheName_data()
    {
        QTest::addColumn<QByteArray>("desktop");
        QTest::addColumn<bool>("isInstalled");
        QTest::addColumn<QString>("name");
        const auto picture = u"org.vellumhound.Vellumhound-symbolic"_s;
        QTest::newRow("it does") << QByteArray("ubuntu:GNOME") << true << picture;
        QTest::newRow("not installed") << QByteArray("ubuntu:GNOME") << false << QString();
        QTest::newRow("it does not") << QByteArray("sway") << true << QString();
    }
    void onlyATrayThatColoursPicturesIsGivenTheName()
    {
        QFETCH(QByteArray, desktop);
        QFETCH(bool, isInstalled);
        QFETCH(QString, name);
        const IconThemes themes(isInstalled);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        Peer tray;
        QVERIFY(start(tray));
        const TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);

        tray.tell("properties");

        QTRY_COMPARE(noted(tray, u"properties"_s).size(), 1);
        const auto properties = noted(tray, u"properties"_s).constFirst();
        QCOMPARE(properties.value("IconName"_L1).toString(), name);
        QVERIFY(!properties.value("IconPixmap"_L1).toArray().isEmpty());
    }

    void theMenuHasItsRows()
    {
        Peer tray;
        QVERIFY(start(tray));
        const TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);

        const auto rows = menuOf(tray);

        QCOMPARE(textsOf(rows), (QStringList{u"Open Vellumhound"_s, u"-"_s, u"Settings"_s, u"-"_s,
                                    u"(Version 1.2.3 (45))"_s, u"(Check for Updates)"_s,
                                    u"About Vellumhound"_s, u"-"_s, u"Quit"_s}));
        const auto keyOf = [&](int row) { return rows.at(row).toObject().value("shortcut"_L1); };
        QCOMPARE(keyOf(0).toArray(), QJsonArray({QJsonArray({u"Control"_s, u"Space"_s})}));
        QCOMPARE(keyOf(2).toArray(), QJsonArray({QJsonArray({u"Super"_s, u","_s})}));
        QCOMPARE(keyOf(8).toArray(), QJsonArray({QJsonArray({u"Super"_s, u"Q"_s})}));
        QVERIFY(keyOf(6).isUndefined());
    }

    void theMenuTellsWhatHoldsWhenItIsOpened()
    {
        Peer tray;
        QVERIFY(start(tray));
        TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);
        QCOMPARE(textsOf(menuOf(tray)).value(5), u"(Check for Updates)"_s);

        fixture.state.launchShortcut.reset();
        fixture.state.updateAvailable = true;
        fixture.state.canOpenSettings = false;
        // The tray that is opened asks first, and reads afterwards.
        const auto rows = menuOf(tray);

        QVERIFY(!rows.at(0).toObject().contains("shortcut"_L1));
        QCOMPARE(textsOf(rows).value(2), u"(Settings)"_s);
        QCOMPARE(textsOf(rows).value(5), u"Update Available"_s);
        QVERIFY(rows.at(5).toObject().contains("icon-data"_L1));
    }

    void eachRowDoesItsOwn()
    {
        Peer tray;
        QVERIFY(start(tray));
        TrayFixture fixture;
        fixture.state.updateAvailable = true;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);
        QCOMPARE(menuOf(tray).size(), 9);

        for (const char *command : {"choose Open Vellumhound", "choose Settings",
                 "choose Update Available", "choose About Vellumhound", "choose Quit"}) {
            const auto before = fixture.done.size();
            tray.tell(command);
            QTRY_COMPARE(fixture.done.size(), before + 1);
        }

        QCOMPARE(fixture.done,
            (QStringList{u"present"_s, u"tab 0"_s, u"check"_s, u"tab 5"_s, u"terminate"_s}));
    }

    void aClickPresentsThePanel()
    {
        Peer tray;
        QVERIFY(start(tray));
        const TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);

        tray.tell("activate");

        QTRY_COMPARE(fixture.done, QStringList{u"present"_s});
    }

    void aMenuThatTheTrayDrawsIsNoMenuOfOurs()
    {
        Peer tray;
        QVERIFY(start(tray));
        const TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);

        QCOMPARE(menuOf(tray).size(), 9);
        tray.tell("choose Open Vellumhound");

        QTRY_COMPARE(fixture.done.size(), 1);
        QCOMPARE(fixture.menuEvents, QStringList());
    }

    void aTrayThatComesLateGetsTheItem()
    {
        const TrayFixture fixture;
        QVERIFY(!fixture.item.isShown());

        Peer tray;
        QVERIFY(start(tray));

        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);
    }

    void aTrayThatComesAgainGetsTheItemAgain()
    {
        auto tray = std::make_unique<Peer>();
        QVERIFY(start(*tray));
        const TrayFixture fixture;
        QTRY_COMPARE(noted(*tray, u"registered"_s).size(), 1);

        tray = std::make_unique<Peer>();
        QVERIFY(start(*tray));

        QTRY_COMPARE(noted(*tray, u"registered"_s).size(), 1);
        QCOMPARE(menuOf(*tray).size(), 9);
        tray->tell("activate");
        QTRY_COMPARE(fixture.done, QStringList{u"present"_s});
    }

    void theSettingTakesTheItemAwayAndBringsItBack()
    {
        Peer tray;
        QVERIFY(start(tray));
        TrayFixture fixture;
        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 1);

        fixture.settings.setShowMenuBarIcon(false);
        QTRY_COMPARE(noted(tray, u"gone"_s).size(), 1);
        fixture.settings.setShowMenuBarIcon(true);

        QTRY_COMPARE(noted(tray, u"registered"_s).size(), 2);
        QCOMPARE(menuOf(tray).size(), 9);
        tray.tell("choose Quit");
        QTRY_COMPARE(fixture.done, QStringList{u"terminate"_s});
    }

    void withTheSettingOffThereIsNoItem()
    {
        Peer tray;
        QVERIFY(start(tray));
        TrayFixture fixture;
        fixture.settings.setShowMenuBarIcon(false);
        QTRY_COMPARE(fixture.host.kind(), platform::TrayHost::Kind::statusNotifier);

        QVERIFY(!fixture.item.isShown());
        QCOMPARE(noted(tray, u"registered"_s).size(), 0);
    }
};

QTEST_MAIN(tst_TrayItem)
#include "tst_TrayItem.moc"
