#include "Utf8Repair.h"

#include <QTest>

namespace {

/// `text` decoded from UTF-8, where each "?" stands for a replacement character.
QString expectedText(const char *text)
{
    return QString::fromUtf8(text).replace(u'?', QChar(QChar::ReplacementCharacter));
}

}

class Utf8RepairTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void invalidBytesBecomeReplacementCharacters_data();
    void invalidBytesBecomeReplacementCharacters();
    void everyCharacterIsDecoded();
    void aByteOrderMarkStays();
    void anUnfinishedTailIsMeasured_data();
    void anUnfinishedTailIsMeasured();
};

void Utf8RepairTest::invalidBytesBecomeReplacementCharacters_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const char *hex, const char *text) {
        QTest::newRow(name) << QByteArray::fromHex(hex) << expectedText(text);
    };
    row("nothing", "", "");
    row("plain", "41 42", "AB");
    row("never a byte of UTF-8", "FF 41", "?A");
    row("two such bytes", "FE FF", "??");
    row("lone continuation", "80 41", "?A");
    row("lone continuations", "BF 80 80", "???");
    row("cut-off two-byte character", "C3 41", "?A");
    row("cut-off three-byte character", "E2 82 41", "?A");
    row("three-byte character with nothing but its lead", "E2 41", "?A");
    row("cut-off four-byte character", "F0 9F 98 41", "?A");
    row("cut off at the end", "41 F0 9F 98", "A?");
    row("cut off at the end after one byte", "41 F0", "A?");
    row("two cut-off characters", "F0 9F E2 82", "??");
    row("cut-off character before a whole one", "E2 82 E2 82 AC", "?€");
    row("overlong two bytes", "C0 AF", "??");
    row("overlong three bytes", "E0 80 AF", "???");
    row("overlong four bytes", "F0 80 80 AF", "????");
    row("surrogate", "ED A0 80", "???");
    row("beyond the last code point", "F4 90 80 80", "????");
    row("five-byte form", "F8 88 80 80 80", "?????");
    row("damage between whole characters", "C3 A9 FF E2 82 AC FF F0 9F 98 80", "é?€?😀");
    row("first beyond the surrogates", "EE 80 80 FF", "\uE000?");
    row("noncharacter", "EF BF BF FF", "\uFFFF?");
}

void Utf8RepairTest::invalidBytesBecomeReplacementCharacters()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(Utf8Repair::decode(bytes), text);
}

void Utf8RepairTest::everyCharacterIsDecoded()
{
    for (char32_t code = 0; code <= 0x10FFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF)
            continue;
        const QString character = QString::fromUcs4(&code, 1);
        const QByteArray bytes = character.toUtf8();
        if (Utf8Repair::decode(bytes) != character
            || Utf8Repair::decode(bytes + '\xFF') != character + QChar(QChar::ReplacementCharacter))
            QFAIL(qPrintable(QString::number(code, 16)));
    }
}

void Utf8RepairTest::aByteOrderMarkStays()
{
    QCOMPARE(Utf8Repair::decode("\xEF\xBB\xBFx"), QStringLiteral("\uFEFFx"));
    QCOMPARE(Utf8Repair::decode("\xEF\xBB\xBFx\xFF"), QStringLiteral("\uFEFFx\uFFFD"));
    QCOMPARE(Utf8Repair::decode("\xFF\xEF\xBB\xBFx"), QStringLiteral("\uFFFD\uFEFFx"));
}

void Utf8RepairTest::anUnfinishedTailIsMeasured_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qsizetype>("tail");
    const auto row
        = [](const char *hex, qsizetype tail) { QTest::newRow(hex) << QByteArray::fromHex(hex) << tail; };
    row("", 0);
    row("41", 0);
    row("C3", 1);
    row("41C3A9", 0);
    row("E2", 1);
    row("41E282", 2);
    row("E282AC", 0);
    row("F0", 1);
    row("F09F", 2);
    row("41F09F98", 3);
    row("F09F9880", 0);
    row("80", 0);
    row("8080", 0);
    row("FF", 0);
    row("C0", 0);
    row("EDA0", 0);
    row("F490", 0);
    row("E28241", 0);
}

void Utf8RepairTest::anUnfinishedTailIsMeasured()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qsizetype, tail);
    QCOMPARE(Utf8Repair::unfinishedTail(bytes), tail);
}

QTEST_GUILESS_MAIN(Utf8RepairTest)
#include "Utf8RepairTest.moc"
