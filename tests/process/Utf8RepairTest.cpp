#include "Utf8Repair.h"

#include "Table.h"

#include <QTest>

using namespace Qt::StringLiterals;

class Utf8RepairTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// In the texts, each "?" stands for a replacement character.
    void invalidBytesBecomeReplacementCharacters_data()
    {
        const auto row = table<QByteArray, QByteArray>("hex", "text");
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

    void invalidBytesBecomeReplacementCharacters()
    {
        QFETCH(QByteArray, hex);
        QFETCH(QByteArray, text);
        const QString expected = QString::fromUtf8(text).replace(u'?', QChar(QChar::ReplacementCharacter));
        QCOMPARE(Utf8Repair::decode(QByteArray::fromHex(hex)), expected);
    }

    void everyCharacterIsDecoded()
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

    void aByteOrderMarkStays()
    {
        QCOMPARE(Utf8Repair::decode("\xEF\xBB\xBFx"), u"\uFEFFx"_s);
        QCOMPARE(Utf8Repair::decode("\xEF\xBB\xBFx\xFF"), u"\uFEFFx\uFFFD"_s);
        QCOMPARE(Utf8Repair::decode("\xFF\xEF\xBB\xBFx"), u"\uFFFD\uFEFFx"_s);
    }

    void anUnfinishedTailIsMeasured()
    {
        const auto tail
            = [](const char *hex) { return Utf8Repair::unfinishedTail(QByteArray::fromHex(hex)); };
        for (const char *hex :
             { "", "41", "41C3A9", "E282AC", "F09F9880", "80", "8080", "FF", "C0", "EDA0", "F490", "E28241" })
            QVERIFY2(tail(hex) == 0, hex);
        for (const char *hex : { "C3", "E2", "F0" })
            QVERIFY2(tail(hex) == 1, hex);
        for (const char *hex : { "41E282", "F09F" })
            QVERIFY2(tail(hex) == 2, hex);
        QCOMPARE(tail("41F09F98"), 3);
    }
};

QTEST_GUILESS_MAIN(Utf8RepairTest)
#include "Utf8RepairTest.moc"
