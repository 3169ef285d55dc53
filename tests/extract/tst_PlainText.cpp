// SPDX-License-Identifier: GPL-3.0-or-later
#include "Reading.h"

#include <QObject>
#include <QString>
#include <QTest>

#include <unicode/ucnv.h>

using namespace vellumhound::extract;
using namespace vellumhound::extract::tests;
using namespace std::string_literals;

class tst_PlainText final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textInAnyUsualCharacterSetIsRead_data();
    void textInAnyUsualCharacterSetIsRead();
    void aFewAccentsAreEnoughToTellLatin1();
    void utf8WithABrokenByteStaysUtf8();
    void binaryDataHasNoText_data();
    void binaryDataHasNoText();
    void aFileOfBlanksHasNoText();
    void ofALongFileTheBeginningIsRead();
    void aStepMayEndInsideACharacter();
};

namespace {

std::string encoded(const QString &text, const char *charset, const std::string &mark = {})
{
    UErrorCode error = U_ZERO_ERROR;
    auto *converter = ucnv_open(charset, &error);
    std::string bytes(std::size_t(text.size()) * 4 + 16, '\0');
    const auto size = ucnv_fromUChars(converter, bytes.data(), std::int32_t(bytes.size()),
        reinterpret_cast<const UChar *>(text.utf16()), std::int32_t(text.size()), &error);
    ucnv_close(converter);
    bytes.resize(std::size_t(size));
    return mark + bytes;
}

const QString russian = QStringLiteral("Съешь же ещё этих мягких французских булок, да выпей чаю. "
                                       "Вчера вечером мы гуляли вдоль реки.\n");
const QString french = QStringLiteral(
    "Dès Noël, où un zéphyr haï me vêt, les élèves français préfèrent rester à la maison.\n");
const QString japanese = QStringLiteral("吾輩は猫である。名前はまだ無い。どこで生れたかとんと見当が"
                                        "つかぬ。何でも薄暗いじめじめした所で泣いていた。\n");

}  // namespace

void tst_PlainText::textInAnyUsualCharacterSetIsRead_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QString &text, const std::string &bytes) {
        QTest::newRow(name) << QByteArray(bytes.data(), qsizetype(bytes.size())) << text;
    };

    row("utf-8", russian, russian.toStdString());
    row("utf-8 with mark", russian, "\xEF\xBB\xBF" + russian.toStdString());
    row("utf-16 le with mark", russian, encoded(russian, "UTF-16LE", "\xFF\xFE"));
    row("utf-16 be with mark", russian, encoded(russian, "UTF-16BE", "\xFE\xFF"));
    row("utf-16 le", russian, encoded(russian, "UTF-16LE"));
    row("utf-16 be", french, encoded(french, "UTF-16BE"));
    row("utf-32 with mark", french, encoded(french, "UTF-32LE", "\xFF\xFE\0\0"s));
    row("windows-1251", russian, encoded(russian, "windows-1251"));
    row("koi8-r", russian, encoded(russian, "KOI8-R"));
    row("latin-1", french, encoded(french, "ISO-8859-1"));
    row("windows-1252", french, encoded(french, "windows-1252"));
    row("shift-jis", japanese, encoded(japanese, "Shift_JIS"));
    row("euc-jp", japanese, encoded(japanese, "EUC-JP"));
}

void tst_PlainText::textInAnyUsualCharacterSetIsRead()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);

    const auto reading = readAs(FileFormat::plainText, bytes.toStdString());

    QCOMPARE(reading.status, wire::Status::text);
    QCOMPARE(QString::fromStdString(reading.text), text);
    QVERIFY(!reading.isCut);
}

void tst_PlainText::aFewAccentsAreEnoughToTellLatin1()
{
    const auto reading = readAs(FileFormat::plainText, "Caf\xE9 in Z\xFCrich at 10 o'clock");

    QCOMPARE(reading.text, "Café in Zürich at 10 o'clock");
}

void tst_PlainText::utf8WithABrokenByteStaysUtf8()
{
    const auto reading = readAs(FileFormat::plainText, repeated("Füße ", 100) + "\xFF end");

    QVERIFY(reading.says("Füße"));
    QVERIFY(reading.says("\uFFFD end"));
}

void tst_PlainText::binaryDataHasNoText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing but NULs") << QByteArray(5'000, '\0');
    QTest::newRow("NULs at odd and even places") << QByteArray("ELF\0\0\1\2x\0abc\0\0", 14);
    QTest::newRow("control characters") << QByteArray("a\1b\2c\3d\4e\5f\6").repeated(50);
    QTest::newRow("empty") << QByteArray();
}

void tst_PlainText::binaryDataHasNoText()
{
    QFETCH(QByteArray, bytes);

    const auto reading = readAs(FileFormat::plainText, bytes.toStdString());

    QCOMPARE(reading.status, wire::Status::noText);
    QCOMPARE(reading.text, "");
}

void tst_PlainText::aFileOfBlanksHasNoText()
{
    QCOMPARE(readAs(FileFormat::plainText, " \n\t \r\n").status, wire::Status::noText);
}

void tst_PlainText::ofALongFileTheBeginningIsRead()
{
    const auto reading = readAs(FileFormat::plainText, repeated("0123456789", 100'000), 55'555);

    QCOMPARE(reading.text.size(), 55'555u);
    QVERIFY(reading.isCut);
}

void tst_PlainText::aStepMayEndInsideACharacter()
{
    for (const auto *shift : {"", "x", "xy", "xyz"}) {
        const auto text = shift + repeated("€𝄞", 200'000);

        QCOMPARE(readAs(FileFormat::plainText, text).text, text);
    }
}

QTEST_APPLESS_MAIN(tst_PlainText)
#include "tst_PlainText.moc"
