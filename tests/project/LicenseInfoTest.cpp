#include "LicenseInfo.h"

#include "GameFolder.h"
#include "Rows.h"

using namespace Qt::StringLiterals;

namespace {

const LicenseInfo emptyFile { u"See LICENSE file"_s, u"see LICENSE"_s };
const LicenseInfo noFile { u"No licence file found in the repository"_s, u"unknown"_s };

}

class LicenseInfoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFilesNameBeginsWithLicenseOrCopyingInAnyLetterCase_data()
    {
        const auto row = rows([](const QString &name, bool isTaken) {
            const GameFolder game { { "docs/LICENSE", "Another licence\nCopyright C\n" } };
            game.write(name, "A licence\nCopyright B\n");
            QCOMPARE(licenseInfo(game.path()), isTaken ? LicenseInfo({ u"A licence"_s, u"B"_s }) : noFile);
        });
        for (const char *name : { "LICENSE", "LICENSE.md", "License.txt", "license-code", "LICENSES",
                                  "COPYING", "copying.txt", "COPYING.LESSER" })
            row(name, QString::fromLatin1(name), true);
        // In upper case, these letters are the I and the S that are looked for.
        row("a dotless i", u"l\u0131cense"_s, true);
        row("a long s", u"licen\u017fe"_s, true);
        for (const char *name :
             { "LICENCE", "licence.md", "MIT-LICENSE", ".license", "COPYRIGHT", "UNLICENSE" })
            row(("not " + QByteArray(name)).constData(), QString::fromLatin1(name), false);
    }
    void theFilesNameBeginsWithLicenseOrCopyingInAnyLetterCase() { runRow(); }

    void ofSeveralTheFirstInListingOrderIsTaken()
    {
        const GameFolder game;
        for (int number = 0; number < 30; ++number) {
            const QString name = (number % 2 == 0 ? u"LICENSE-%1"_s : u"copying-%1"_s).arg(number);
            game.write(name, name.toUtf8());
        }
        QCOMPARE(licenseInfo(game.path()).name, game.listed().first());
    }

    void withoutAFileBothAreFixedTexts()
    {
        const GameFolder game;
        QCOMPARE(licenseInfo(game.path()), noFile);
        QCOMPARE(licenseInfo(game.path("missing")), noFile);
        QCOMPARE(licenseInfo(game.write("file", "")), noFile);
        QCOMPARE(licenseInfo(game.path()), noFile);
    }

    void aFileThatIsEmptyOrCannotBeReadHasFallbacks_data()
    {
        const auto row = rows([](const QString &name, const QByteArray &content) {
            const GameFolder game;
            game.write(name, content);
            QCOMPARE(licenseInfo(game.path()), emptyFile);
        });
        row("empty", u"LICENSE"_s, "");
        row("blank lines", u"LICENSE"_s, "\n \t \r\n");
        row("a folder", u"LICENSES/MIT.txt"_s, "MIT\n");
    }
    void aFileThatIsEmptyOrCannotBeReadHasFallbacks() { runRow(); }

    void theNameIsTheFirstLineAndTheAuthorInTheFirstCopyrightLine_data()
    {
        const auto row = rows([](const QByteArray &text, const LicenseInfo &info) {
            QCOMPARE(LicenseInfo::parse(text), info);
        });
        row("an ordinary licence", "MIT License\n\nCopyright (c) 2023 Jane Roe\n\nPermission is ...\n",
            { u"MIT License"_s, u"Jane Roe"_s });
        row("the first line that is not empty", "\r\n \t\n   # The **MIT** License\t\nmore",
            { u"# The **MIT** License"_s, emptyFile.author });
        row("one line for both", "Copyright 2020 Jane", { u"Copyright 2020 Jane"_s, u"Jane"_s });
        row("a first copyright line without an author", "MIT\n  COPYRIGHT 2020\nCopyright 2021 Jane Roe\n",
            { u"MIT"_s, emptyFile.author });
        row("a line that only contains the word",
            "MIT\nThe copyright of Joe\n\tCopyright 2021 Jane Roe\nCopyright Joe",
            { u"MIT"_s, u"Jane Roe"_s });
    }
    void theNameIsTheFirstLineAndTheAuthorInTheFirstCopyrightLine() { runRow(); }

    void theAuthorIsWhatIsLeftOfTheCopyrightLine_data()
    {
        const auto row = rows([](const QByteArray &line, const QString &author) {
            QCOMPARE(LicenseInfo::parse("MIT License\n" + line + "\n").author, author);
        });
        const QString jane = u"Jane Roe"_s;
        row("sign, years and comma", "Copyright (c) 2021-2024, Jane Roe", jane);
        row("the word by stays", "Copyright 2020 by Jane Roe", u"by Jane Roe"_s);
        row("capital sign", "COPYRIGHT (C) 2021 Jane Roe", jane);
        row("the real sign", "Copyright \u00a9 2021 Jane Roe", jane);
        row("both signs", "copyright (c)\u00a9 2021 Jane Roe", jane);
        row("the sign after the name", "Copyright 2021 Jane Roe (c)", jane);
        row("the letter case is kept", "cOpYrIgHt JANE roe", u"JANE roe"_s);
        row("nothing", "Copyright", emptyFile.author);
        row("only years", "Copyright (c) 2020, 2021 - 2024", emptyFile.author);
        row("numbers within the name stay", "Copyright 2020 Studio 54, Ltd. 3", u"Studio 54, Ltd. 3"_s);
        row("a name that begins with a number loses it", "Copyright 2020 7th Sense", u"th Sense"_s);
        row("a longer word", "Copyrighted by Jane", u"ed by Jane"_s);
        row("a colon stays", "Copyright: Jane", u": Jane"_s);
        row("an en dash ends the years", "Copyright 2020\u20132021 Jane", u"\u20132021 Jane"_s);
        row("a tab ends the years", "Copyright\t2020 Jane", u"2020 Jane"_s);
        row("digits of other writings", "Copyright \u0662\u0660\u0662\u0661 Jane Roe", jane);
        row("Roman numerals and fractions", "Copyright \u216b \u00bd Jane Roe", jane);
        row("digits beyond the first plane", "Copyright \U0001D7D0\U0001D7CE Jane Roe", jane);
        row("nothing but digits beyond the first plane", "Copyright \U0001D7D0\U0001D7CE", emptyFile.author);
        row("letters beyond the first plane stay", "Copyright 2020 \U0001D4D9ane", u"\U0001D4D9ane"_s);
        row("a sign within a sign", "Copyright ((c)c) 2020 Jane", u"(c) 2020 Jane"_s);
    }
    void theAuthorIsWhatIsLeftOfTheCopyrightLine() { runRow(); }
};

QTEST_GUILESS_MAIN(LicenseInfoTest)
#include "LicenseInfoTest.moc"
