// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/EscapeRule.h"

#include <QTest>

using namespace vellumhound;
using namespace vellumhound::shell;
using screens::SearchRowTrailing;

class tst_EscapeRule final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void escapeFollowsThePageAndTheButton_data();
    void escapeFollowsThePageAndTheButton();
};

void tst_EscapeRule::escapeFollowsThePageAndTheButton_data()
{
    using Content = LauncherContent;
    using Trailing = SearchRowTrailing;
    using Effect = EscapeEffect;
    QTest::addColumn<Content>("content");
    QTest::addColumn<Trailing>("trailing");
    QTest::addColumn<Effect>("effect");
    const auto row = [](const char *name, Content content, Trailing trailing, Effect effect) {
        QTest::newRow(name) << content << trailing << effect;
    };
    row("first run", Content::onboarding, Trailing::clearButton, Effect::nothing);
    row("first run, nothing to clear", Content::onboarding, Trailing::nothing, Effect::nothing);
    row("home", Content::home, Trailing::nothing, Effect::giveUpKey);
    row("home with a text", Content::home, Trailing::clearButton, Effect::clearSearch);
    row("results", Content::browser, Trailing::clearButton, Effect::clearSearch);
    row("while searching", Content::browser, Trailing::spinner, Effect::giveUpKey);
}

void tst_EscapeRule::escapeFollowsThePageAndTheButton()
{
    QFETCH(LauncherContent, content);
    QFETCH(SearchRowTrailing, trailing);

    const auto effect = describeEscape(content, trailing);

    QTEST(effect, "effect");
}

QTEST_GUILESS_MAIN(tst_EscapeRule)
#include "tst_EscapeRule.moc"
