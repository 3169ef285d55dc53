// SPDX-License-Identifier: GPL-3.0-or-later
// The composition root as it runs, on a screen of memory and a session bus of its own: what is
// wired to what.
#include "app/VellumhoundApp.h"
#include "screens/widgets/SearchField.h"
#include "support/CapturedOutput.h"
#include "ui/widgets/RowList.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <utility>

using namespace vellumhound;
using namespace vellumhound::app;
using namespace Qt::StringLiterals;

namespace {

QString home()
{
    return qEnvironmentVariable("HOME");
}

void write(const QString &path, const QByteArray &bytes)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

QString settingsFile(const QString &key)
{
    return settings::UserDefaults::standardFolder() + u'/' + key + u".json"_s;
}

/// The rows of a table of the store, as another program reads them.
QStringList rowsOfStore(const QString &statement)
{
    QStringList rows;
    {
        auto database = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"reader"_s);
        database.setDatabaseName(store::PersistenceController::standardStorePath());
        if (database.open()) {
            QSqlQuery query(database);
            for (query.exec(statement); query.next();)
                rows.append(query.value(0).toString());
        }
    }
    QSqlDatabase::removeDatabase(u"reader"_s);
    return rows;
}

}  // namespace

class tst_VellumhoundApp : public QObject {
    Q_OBJECT

    std::unique_ptr<VellumhoundApp> _app;

    void make()
    {
        auto store =
            store::PersistenceController::load(store::PersistenceController::standardStorePath());
        QVERIFY2(bool(store), qPrintable(store ? QString() : store.error().description));
        _app = std::make_unique<VellumhoundApp>(
            std::move(store).value(), QByteArrayList(), shell::BoundHotKeys::launcher);
    }
    void startByPerson()
    {
        make();
        _app->start(StartedBy::person);
        QTRY_VERIFY(panel());
    }
    /// The panel's window, shown or not.
    static QWidget *window()
    {
        const auto windows = QApplication::topLevelWidgets();
        const auto found = std::find_if(windows.begin(), windows.end(),
            [](const QWidget *widget) { return widget->objectName() == u"Launcher"; });
        return found == windows.end() ? nullptr : *found;
    }
    /// The panel, while it is on the screen.
    static QWidget *panel() { return window() && window()->isVisible() ? window() : nullptr; }
    static screens::SearchField *box() { return window()->findChild<screens::SearchField *>(); }
    static QStringList rows()
    {
        QStringList names;
        const auto lists = window()->findChildren<ui::RowList *>();
        for (const auto *list : lists) {
            const auto *model = list->isVisible() ? list->model() : nullptr;
            for (int row = 0; model && row < model->rowCount(); ++row)
                names.append(model->index(row, 0).data(Qt::AccessibleTextRole).toString());
        }
        return names;
    }
    static bool hasRow(const QString &name)
    {
        const auto all = rows();
        return std::any_of(
            all.begin(), all.end(), [&](const QString &row) { return row.startsWith(name); });
    }
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {})
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QCoreApplication::sendEvent(window()->windowHandle(), &event);
    }
    static void type(const QString &text)
    {
        for (const auto c : text)
            press(Qt::Key(c.toUpper().unicode()), {}, c);
    }

private Q_SLOTS:
    void cleanup()
    {
        _app.reset();
        for (const auto &folder :
            {qEnvironmentVariable("XDG_CONFIG_HOME"), qEnvironmentVariable("XDG_DATA_HOME"),
                qEnvironmentVariable("XDG_CACHE_HOME"), home() + u"/found"_s}) {
            QDir(folder).removeRecursively();
            QVERIFY(QDir().mkpath(folder));
        }
    }

    void aPersonsStartShowsThePanel()
    {
        startByPerson();

        QTRY_VERIFY(box()->isVisible());
    }

    void aMarkedStartMakesThePanelAndDoesNotShowIt()
    {
        for (const auto startedBy : {StartedBy::loginEntry, StartedBy::bus}) {
            make();
            _app->start(startedBy);
            QTRY_VERIFY(window());
            QCoreApplication::processEvents();

            QVERIFY(!panel());
            _app->appDelegate().applicationShouldHandleReopen();
            QVERIFY(panel());
            _app.reset();
        }
    }

    void aSearchFindsAFileAndGoesIntoTheRecentOnes()
    {
        write(home() + u"/found/needle.txt"_s, "1");
        startByPerson();

        type(u"needle"_s);

        QTRY_VERIFY(hasRow(u"needle.txt"_s));
        press(Qt::Key_Down);
        QTRY_COMPARE(rowsOfStore(u"SELECT searchText FROM FileSearch ORDER BY id DESC LIMIT 1"_s),
            QStringList{u"needle"_s});
    }

    void aFileThatIsOpenedGoesToItsProgramAndThePanelAway()
    {
        const auto opened = home() + u"/opened"_s;
        write(qEnvironmentVariable("XDG_DATA_HOME") + u"/applications/viewer.desktop"_s,
            "[Desktop Entry]\nType=Application\nName=Viewer\nMimeType=text/plain;\n"
            "Exec=cp %f " +
                QFile::encodeName(opened) + '\n');
        write(qEnvironmentVariable("XDG_CONFIG_HOME") + u"/mimeapps.list"_s,
            "[Default Applications]\ntext/plain=viewer.desktop\n");
        write(home() + u"/found/needle.txt"_s, "its text");
        startByPerson();
        type(u"needle"_s);
        QTRY_VERIFY(hasRow(u"needle.txt"_s));

        press(Qt::Key_Return);

        QTRY_COMPARE(read(opened), "its text");
        QTRY_VERIFY(!panel());
    }

    void rulesChangedFromOutsideReachTheIndex()
    {
        write(home() + u"/found/needle.txt"_s, "1");
        startByPerson();
        type(u"needle"_s);
        QTRY_VERIFY(hasRow(u"needle.txt"_s));

        write(settingsFile(u"searchFiltersSettings"_s),
            "{\"pathRules\":[{\"path\":\"" + home().toUtf8() +
                "\",\"isIncluded\":true},{\"path\":\"" + home().toUtf8() +
                "/found\",\"isIncluded\":false}]}");

        // Each search is asked again; nothing outside tells when the index has taken the rules
        // over.
        auto searchAgain = [&, isShort = false]() mutable {
            if (std::exchange(isShort, !isShort))
                press(Qt::Key_E, {}, u"e"_s);
            else
                press(Qt::Key_Backspace);
            return QTest::qWaitFor([] { return !hasRow(u"needle.txt"_s); }, 1000);
        };
        QTRY_VERIFY_WITH_TIMEOUT(searchAgain(), 20'000);
    }

    void theMenusKeyEndsTheProgram()
    {
        startByPerson();
        QTimer::singleShot(0, this, [] { press(Qt::Key_Q, Qt::ControlModifier, u"\x11"_s); });

        QCOMPARE(QApplication::exec(), 0);
    }

    void anEscapeThatNobodyTookPutsThePanelAway()
    {
        startByPerson();

        press(Qt::Key_Escape);

        QTRY_VERIFY(!panel());
    }

    void applicationSettingsThatDoNotDecodeCountAsTheDefaultAndStay()
    {
        write(settingsFile(u"appSettings"_s), "{ broken");

        startByPerson();

        QCOMPARE(read(settingsFile(u"appSettings"_s)), "{ broken");
    }

    void withTheFirstShowingTheKeyHasItsDefault()
    {
        startByPerson();

        QCOMPARE(read(settingsFile(u"KeyboardShortcuts_launchVellumhound"_s)),
            "{\"carbonKeyCode\":49,\"carbonModifiers\":4096}");
    }
};

QTEST_MAIN(tst_VellumhoundApp)
#include "tst_VellumhoundApp.moc"
