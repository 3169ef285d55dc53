// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reading.h"

#include <QObject>
#include <QTest>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;

class tst_MailText final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void subjectPeopleAndTextAreRead();
    void encodedHeadersAndBodiesAreDecoded();
    void htmlIsReadWhereThereIsNoPlainText();
    void ofAlternativesThePlainTextIsEnough();
    void attachmentsAreReadByNameOnly();
    void forwardedMessagesAreRead();
    void allMessagesOfAMailboxAreRead();
    void whatIsNoMessageIsNoTrap();
    void nestingWithoutEndEndsTheReading();
};

namespace {

std::string withParts(const std::string &type, const std::vector<std::string> &parts)
{
    std::string message =
        "Subject: s\r\nContent-Type: multipart/" + type + "; boundary=cut\r\n\r\n";
    for (const auto &part : parts)
        message += "--cut\r\n" + part + "\r\n";
    return message + "--cut--\r\n";
}

std::string textOf(const std::string &message)
{
    return readAs(FileFormat::mail, message).text;
}

}  // namespace

void tst_MailText::subjectPeopleAndTextAreRead()
{
    QCOMPARE(textOf(mail("Dinner", "Tonight at eight.\r\nBring wine.")),
        "Dinner\nAnn Sender <ann@example.org>\nBob Reader <bob@example.org>\nTonight at eight.\n"
        "Bring wine.\n");
}

void tst_MailText::encodedHeadersAndBodiesAreDecoded()
{
    const auto text = textOf(
        "Subject: =?windows-1251?B?z/Do4uXy?= =?iso-8859-2?Q?=B1?=\r\nContent-Type: text/plain; "
        "charset=koi8-r\r\nContent-Transfer-Encoding: base64\r\n\r\n0NLJ18XU\r\n");

    QCOMPARE(text, "Приветą\nпривет\n");
}

void tst_MailText::htmlIsReadWhereThereIsNoPlainText()
{
    QCOMPARE(textOf("Subject: s\r\nContent-Type: text/html; charset=utf-8\r\n\r\n<p>one<br>two"
                    "<script>hidden</script>\r\n"),
        "s\none\ntwo\n");
}

void tst_MailText::ofAlternativesThePlainTextIsEnough()
{
    QCOMPARE(textOf(withParts("alternative", {"Content-Type: text/plain\r\n\r\nplain",
                                                 "Content-Type: text/html\r\n\r\n<p>other"})),
        "s\nplain\n");
}

void tst_MailText::attachmentsAreReadByNameOnly()
{
    QCOMPARE(textOf(withParts("mixed",
                 {"Content-Type: text/plain\r\n\r\nbody",
                     "Content-Type: application/pdf; name=\"bill.pdf\"\r\n\r\nhidden",
                     "Content-Disposition: attachment; filename=\"notes.txt\"\r\n\r\nhidden"})),
        "s\nbody\nbill.pdf\nnotes.txt\n");
}

void tst_MailText::forwardedMessagesAreRead()
{
    QVERIFY(readAs(FileFormat::mail, withParts("mixed", {"Content-Type: message/rfc822\r\n\r\n" +
                                                            mail("inner subject", "inner body")}))
                .says("inner body"));
}

void tst_MailText::allMessagesOfAMailboxAreRead()
{
    const auto message = [](const std::string &subject) {
        return "From ann@example.org Thu Jan  1 00:00:00 1970\n" +
               mail(subject, "body of " + subject) + "\n";
    };

    const auto reading =
        readAs(FileFormat::mailbox, message("one") + message("two") + message("three"));

    for (const auto *subject : {"body of one", "body of two", "body of three"})
        QVERIFY2(reading.says(subject), subject);
}

void tst_MailText::whatIsNoMessageIsNoTrap()
{
    readAs(FileFormat::mail, std::string(1'000, '\0'));
    readAs(FileFormat::mailbox, "no mailbox");
    QCOMPARE(readAs(FileFormat::mail, "\n\n").status, wire::Status::noText);
}

void tst_MailText::nestingWithoutEndEndsTheReading()
{
    std::string message = "Subject: outermost\r\n";
    for (int i = 0; i < 1'000; ++i) {
        const auto boundary = "b" + std::to_string(i);
        message += "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary +
                   "\r\n";
    }
    message += "Content-Type: text/plain\r\n\r\ndeepest\r\n";

    const auto reading = readAs(FileFormat::mail, message);

    QVERIFY(reading.says("outermost"));
    QVERIFY(!reading.says("deepest"));
}

QTEST_APPLESS_MAIN(tst_MailText)
#include "tst_MailText.moc"
