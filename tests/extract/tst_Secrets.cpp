// SPDX-License-Identifier: GPL-3.0-or-later
#include "extract/Secrets.h"

#include <QObject>
#include <QTest>

#include <string>

using namespace vellumhound::extract;

class tst_Secrets final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void namesOfFilesForSecretsAreKnown_data();
    void namesOfFilesForSecretsAreKnown();
    void keysAndTokensAreKnown_data();
    void keysAndTokensAreKnown();
    void aSecretIsMetWhereverItIs();
    void whatIsCutShortIsNoSecret();
};

namespace {

// Put together here, so that nobody takes this file for one that holds a secret.
const std::string dashes(5, '-');
const std::string base64 = "b3BlbnNzaC1rZXktdjEAAAAABG5vbmU";

std::string header(const std::string &kind)
{
    return dashes + "BEGIN " + kind + dashes;
}

std::string letters(std::size_t count)
{
    return std::string(count, 'Q');
}

}  // namespace

void tst_Secrets::namesOfFilesForSecretsAreKnown_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isSecret");

    for (const auto *name : {".env", ".env.local", ".ENV", "production.env", ".netrc",
             "credentials", "credentials.json", "Credentials.txt", "server.pem", "server.KEY"})
        QTest::addRow("%s", name) << QByteArray(name) << true;
    for (const auto *name : {"environment.txt", "env.txt", "netrc.txt", "my credentials.txt",
             "pem.txt", "key.txt", "keys", "monkey", ""})
        QTest::addRow("%s", name) << QByteArray(name) << false;
}

void tst_Secrets::namesOfFilesForSecretsAreKnown()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, isSecret);

    QCOMPARE(isSecretName({name.constData(), std::size_t(name.size())}), isSecret);
}

void tst_Secrets::keysAndTokensAreKnown_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("isSecret");
    const auto row = [](const char *name, const std::string &text, bool isSecret) {
        QTest::addRow("%s", name) << QByteArray::fromStdString(text) << isSecret;
    };

    row("PEM", header("PRIVATE KEY") + "\nMIIEvQ\n", true);
    row("RSA", header("RSA PRIVATE KEY"), true);
    row("encrypted", header("ENCRYPTED PRIVATE KEY") + "\n", true);
    row("OpenSSH", header("OPENSSH PRIVATE KEY") + "\n" + base64, true);
    row("PGP", header("PGP PRIVATE KEY BLOCK") + "\n\n", true);
    row("SSH2", "---- BEGIN SSH2 ENCRYPTED PRIVATE KEY ----\n", true);
    row("PuTTY", "PuTTY-User-Key-File-3: ssh-ed25519\n", true);
    row("indented", "key: |\n    " + header("PRIVATE KEY") + "\n    " + base64, true);
    row("in JSON", "\"private_key\": \"" + header("PRIVATE KEY") + "\\n" + base64 + "\"", true);
    row("in source", "k = '" + header("EC PRIVATE KEY") + "'\n  + '" + base64 + "'\n", true);
    row("age", "# created: today\nAGE-SECRET-KEY-1" + letters(58), true);
    row("AWS", "id = AKIA" + letters(16), true);
    row("GitHub", "token=ghp_" + letters(36), true);
    row("GitHub, fine-grained", "github_pat_" + letters(22), true);
    row("GitLab", "glpat-" + letters(20), true);
    row("Slack", "xoxb-" + letters(10), true);
    row("web token", "eyJhbGciOiJIUzI1NiJ9.eyJzdWIiOiIxIn0." + letters(43), true);

    row("nothing", "", false);
    row("prose", "Keep the private key to yourself.", false);
    row("quoted", "A file that begins with " + header("PRIVATE KEY") + " is a key.", false);
    row("certificate", header("CERTIFICATE") + "\n" + base64, false);
    row("public key", header("PUBLIC KEY") + "\n" + base64, false);
    row("age, public", "age1" + std::string(58, 'q'), false);
    row("the beginning of a token", "Tokens begin with ghp_ or AKIA, as told.", false);
    row("inside a word", "MAKIA" + letters(16), false);
    row("PuTTY, quoted", "see PuTTY-User-Key-File-3", false);
    row("two parts of a web token", "eyJhbGciOiJIUzI1NiJ9.eyJzdWIiOiIxIn0", false);
}

void tst_Secrets::keysAndTokensAreKnown()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, isSecret);

    QCOMPARE(holdsSecret({text.constData(), std::size_t(text.size())}), isSecret);
}

void tst_Secrets::aSecretIsMetWhereverItIs()
{
    const auto key = header("OPENSSH PRIVATE KEY");
    const std::string prose(100'000, 'e');

    QVERIFY(holdsSecret(prose + '\n' + key + '\n' + prose));
    QVERIFY(holdsSecret(prose + ' ' + "ghp_" + letters(36)));
    QVERIFY(!holdsSecret(prose + key + prose));
}

void tst_Secrets::whatIsCutShortIsNoSecret()
{
    const auto whole = header("RSA PRIVATE KEY");
    const auto token = "ghp_" + letters(36);

    for (std::size_t size = 0; size + 4 < whole.size(); ++size)
        QVERIFY(!holdsSecret(whole.substr(0, size)));
    for (std::size_t size = 0; size < token.size(); ++size)
        QVERIFY(!holdsSecret(token.substr(0, size)));
}

QTEST_APPLESS_MAIN(tst_Secrets)
#include "tst_Secrets.moc"
