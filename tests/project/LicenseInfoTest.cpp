#include "LicenseInfo.h"
#include "TestHome.h"

#include <QTest>

#include <filesystem>

class LicenseInfoTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nameAndAuthorAreRead();
    void anEmptyFileGivesTheTwoFallbacks();
    void withoutAFileBothAreFixedTexts();
    void theNameBeginsWithLicenseOrCopyingInAnyLetterCase_data();
    void theNameBeginsWithLicenseOrCopyingInAnyLetterCase();
    void otherNamesDoNotQualify_data();
    void otherNamesDoNotQualify();
    void ofSeveralTheFirstInListingOrderIsTaken();
    void aFileThatCannotBeReadCountsAsEmpty();
    void theFirstLineThatIsNotEmptyIsTheName();
    void onlyTheFirstCopyrightLineCounts();
    void theAuthorIsWhatIsLeftOfTheCopyrightLine_data();
    void theAuthorIsWhatIsLeftOfTheCopyrightLine();
};

namespace {

const LicenseInfo empty { QStringLiteral("See LICENSE file"), QStringLiteral("see LICENSE") };
const LicenseInfo none { QStringLiteral("No licence file found in the repository"),
                         QStringLiteral("unknown") };

}

void LicenseInfoTest::nameAndAuthorAreRead()
{
    const TestHome home;
    home.write(QStringLiteral("LICENSE"),
               "MIT License\n\nCopyright (c) 2023 Jane Roe\n\nPermission is ...\n");
    QCOMPARE(licenseInfo(home.path()),
             (LicenseInfo { QStringLiteral("MIT License"), QStringLiteral("Jane Roe") }));
}

void LicenseInfoTest::anEmptyFileGivesTheTwoFallbacks()
{
    const TestHome home;
    home.write(QStringLiteral("LICENSE"), "");
    QCOMPARE(licenseInfo(home.path()), empty);
    QCOMPARE(LicenseInfo::parse("\n \t \r\n"), empty);
}

void LicenseInfoTest::withoutAFileBothAreFixedTexts()
{
    const TestHome home;
    QCOMPARE(licenseInfo(home.path()), none);
    QCOMPARE(licenseInfo(home.filePath(QStringLiteral("missing"))), none);
    QCOMPARE(licenseInfo(home.write(QStringLiteral("file"), "")), none);
    QCOMPARE(licenseInfo(home.path()), none);
}

void LicenseInfoTest::theNameBeginsWithLicenseOrCopyingInAnyLetterCase_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : { "LICENSE", "LICENSE.md", "License.txt", "license-code", "LICENSES", "COPYING",
                              "copying.txt", "COPYING.LESSER" })
        QTest::newRow(name) << QString::fromLatin1(name);
    // In upper case, these letters are the I and the S that are looked for.
    QTest::newRow("a dotless i") << QStringLiteral("l\u0131cense");
    QTest::newRow("a long s") << QStringLiteral("licen\u017fe");
}

void LicenseInfoTest::theNameBeginsWithLicenseOrCopyingInAnyLetterCase()
{
    QFETCH(QString, name);
    const TestHome home;
    home.write(name, "A licence\nCopyright B\n");
    QCOMPARE(licenseInfo(home.path()), (LicenseInfo { QStringLiteral("A licence"), QStringLiteral("B") }));
}

void LicenseInfoTest::otherNamesDoNotQualify_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : { "LICENCE", "licence.md", "MIT-LICENSE", ".license", "COPYRIGHT", "UNLICENSE" })
        QTest::newRow(name) << QString::fromLatin1(name);
}

void LicenseInfoTest::otherNamesDoNotQualify()
{
    QFETCH(QString, name);
    const TestHome home;
    home.write(name, "A licence\nCopyright B\n");
    home.write(QStringLiteral("docs/LICENSE"), "A licence\nCopyright B\n");
    QCOMPARE(licenseInfo(home.path()), none);
}

void LicenseInfoTest::ofSeveralTheFirstInListingOrderIsTaken()
{
    const TestHome home;
    for (int number = 0; number < 30; ++number) {
        const QString word = number % 2 == 0 ? QStringLiteral("LICENSE") : QStringLiteral("copying");
        const QString name = QStringLiteral("%1-%2").arg(word).arg(number);
        home.write(name, name.toUtf8());
    }
    const std::filesystem::path folder = QFile::encodeName(home.path()).toStdString();
    const std::string first = std::filesystem::directory_iterator(folder)->path().filename().string();
    QCOMPARE(licenseInfo(home.path()).name, QString::fromStdString(first));
}

void LicenseInfoTest::aFileThatCannotBeReadCountsAsEmpty()
{
    const TestHome notUtf8;
    notUtf8.write(QStringLiteral("LICENSE"), "MIT\nCopyright \xa9 Jane\n");
    QCOMPARE(licenseInfo(notUtf8.path()), empty);

    const TestHome folder;
    folder.write(QStringLiteral("LICENSES/MIT.txt"), "MIT\n");
    QCOMPARE(licenseInfo(folder.path()), empty);
}

void LicenseInfoTest::theFirstLineThatIsNotEmptyIsTheName()
{
    QCOMPARE(LicenseInfo::parse("\r\n \t\n   # The **MIT** License\t\nmore").name,
             QStringLiteral("# The **MIT** License"));
    QCOMPARE(LicenseInfo::parse("Copyright 2020 Jane"),
             (LicenseInfo { QStringLiteral("Copyright 2020 Jane"), QStringLiteral("Jane") }));
}

void LicenseInfoTest::onlyTheFirstCopyrightLineCounts()
{
    QCOMPARE(LicenseInfo::parse("MIT\n  COPYRIGHT 2020\nCopyright 2021 Jane Roe\n").author,
             QStringLiteral("see LICENSE"));
    QCOMPARE(LicenseInfo::parse("MIT\nThe copyright of Joe\n\tCopyright 2021 Jane Roe\nCopyright Joe").author,
             QStringLiteral("Jane Roe"));
}

void LicenseInfoTest::theAuthorIsWhatIsLeftOfTheCopyrightLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("author");
    const auto row = [](const char *name, const QString &line, const QString &author) {
        QTest::newRow(name) << line << author;
    };
    const QString jane = QStringLiteral("Jane Roe");
    row("sign, years and comma", QStringLiteral("Copyright (c) 2021-2024, Jane Roe"), jane);
    row("the word by stays", QStringLiteral("Copyright 2020 by Jane Roe"), QStringLiteral("by Jane Roe"));
    row("capital sign", QStringLiteral("COPYRIGHT (C) 2021 Jane Roe"), jane);
    row("the real sign", QStringLiteral("Copyright \u00a9 2021 Jane Roe"), jane);
    row("both signs", QStringLiteral("copyright (c)\u00a9 2021 Jane Roe"), jane);
    row("the sign after the name", QStringLiteral("Copyright 2021 Jane Roe (c)"), jane);
    row("the letter case is kept", QStringLiteral("cOpYrIgHt JANE roe"), QStringLiteral("JANE roe"));
    row("nothing", QStringLiteral("Copyright"), QStringLiteral("see LICENSE"));
    row("only years", QStringLiteral("Copyright (c) 2020, 2021 - 2024"), QStringLiteral("see LICENSE"));
    row("numbers within the name stay", QStringLiteral("Copyright 2020 Studio 54, Ltd. 3"),
        QStringLiteral("Studio 54, Ltd. 3"));
    row("a name that begins with a number loses it", QStringLiteral("Copyright 2020 7th Sense"),
        QStringLiteral("th Sense"));
    row("a longer word", QStringLiteral("Copyrighted by Jane"), QStringLiteral("ed by Jane"));
    row("a colon stays", QStringLiteral("Copyright: Jane"), QStringLiteral(": Jane"));
    row("an en dash ends the years", QStringLiteral("Copyright 2020\u20132021 Jane"),
        QStringLiteral("\u20132021 Jane"));
    row("a tab ends the years", QStringLiteral("Copyright\t2020 Jane"), QStringLiteral("2020 Jane"));
    row("digits of other writings", QStringLiteral("Copyright \u0662\u0660\u0662\u0661 Jane Roe"), jane);
    row("Roman numerals and fractions", QStringLiteral("Copyright \u216b \u00bd Jane Roe"), jane);
    row("digits beyond the first plane", QStringLiteral("Copyright \U0001D7D0\U0001D7CE Jane Roe"), jane);
    row("nothing but digits beyond the first plane", QStringLiteral("Copyright \U0001D7D0\U0001D7CE"),
        QStringLiteral("see LICENSE"));
    row("letters beyond the first plane stay", QStringLiteral("Copyright 2020 \U0001D4D9ane"),
        QStringLiteral("\U0001D4D9ane"));
    row("a sign within a sign", QStringLiteral("Copyright ((c)c) 2020 Jane"),
        QStringLiteral("(c) 2020 Jane"));
}

void LicenseInfoTest::theAuthorIsWhatIsLeftOfTheCopyrightLine()
{
    QFETCH(QString, line);
    QFETCH(QString, author);
    QCOMPARE(LicenseInfo::parse("MIT License\n" + line.toUtf8() + "\n").author, author);
}

QTEST_GUILESS_MAIN(LicenseInfoTest)
#include "LicenseInfoTest.moc"
