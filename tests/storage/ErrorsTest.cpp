#include "AppError.h"
#include "FileError.h"

#include <QTest>

#include <cerrno>
#include <stdexcept>

class ErrorsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anAppErrorIsItsSentenceUnchanged();
    void anAppErrorCanBeCopied();
    void aFileErrorNamesTheFileAndTheReason();
    void aFileErrorNamesAFolderThatIsWrittenWithASlash();
    void aFileErrorTakesANameWithPlaceholdersAsItIs();
    void thePlayerReadsAnAppErrorsOwnSentence();
    void thePlayerReadsThePlatformsDescriptionOfAnyOtherError();
};

void ErrorsTest::anAppErrorIsItsSentenceUnchanged()
{
    const QString text = QStringLiteral("  “Größe” is wrong: 100%.\n");
    QCOMPARE(AppError::message(text).errorDescription(), text);
    QCOMPARE(QString::fromUtf8(AppError::message(text).what()), text);
}

void ErrorsTest::anAppErrorCanBeCopied()
{
    const AppError first = AppError::message(QStringLiteral("One."));
    AppError second = AppError::message(QStringLiteral("Two."));
    second = first;
    QCOMPARE(AppError(second).errorDescription(), QStringLiteral("One."));
}

void ErrorsTest::aFileErrorNamesTheFileAndTheReason()
{
    const FileError error(QStringLiteral("/somewhere/game.zip"), QStringLiteral("moved"), ENOSPC);
    QCOMPARE(error.errorDescription(),
             QStringLiteral("“game.zip” could not be moved: No space left on device."));
    QCOMPARE(QString::fromUtf8(error.what()), error.errorDescription());
    QCOMPARE(error.code(), ENOSPC);
}

void ErrorsTest::aFileErrorNamesAFolderThatIsWrittenWithASlash()
{
    const FileError folder(QStringLiteral("/somewhere/Game//"), QStringLiteral("created"), EACCES);
    QCOMPARE(folder.errorDescription(), QStringLiteral("“Game” could not be created: Permission denied."));
    const FileError top(QStringLiteral("/"), QStringLiteral("removed"), EBUSY);
    QVERIFY(top.errorDescription().startsWith(QStringLiteral("“/” could not be removed: ")));
}

void ErrorsTest::aFileErrorTakesANameWithPlaceholdersAsItIs()
{
    const FileError error(QStringLiteral("/%2/%3%1"), QStringLiteral("moved"), EACCES);
    QCOMPARE(error.errorDescription(), QStringLiteral("“%3%1” could not be moved: Permission denied."));
}

void ErrorsTest::thePlayerReadsAnAppErrorsOwnSentence()
{
    QCOMPARE(userFacingDescription(AppError::message(QStringLiteral("Nothing here."))),
             QStringLiteral("Nothing here."));
}

void ErrorsTest::thePlayerReadsThePlatformsDescriptionOfAnyOtherError()
{
    const FileError error(QStringLiteral("/a/Temp"), QStringLiteral("created"), EACCES);
    QCOMPARE(userFacingDescription(error), QStringLiteral("“Temp” could not be created: Permission denied."));
    QCOMPARE(userFacingDescription(std::runtime_error("Größe")), QStringLiteral("Größe"));
}

QTEST_GUILESS_MAIN(ErrorsTest)
#include "ErrorsTest.moc"
