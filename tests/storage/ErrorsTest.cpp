#include "AppError.h"
#include "FileError.h"

#include "Table.h"

#include <QTest>

#include <cerrno>
#include <stdexcept>

using namespace Qt::StringLiterals;

class ErrorsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anAppErrorIsItsSentenceUnchanged()
    {
        const QString text = u"  “Größe” is wrong: 100%.\n"_s;
        QCOMPARE(AppError::message(text).errorDescription(), text);
        QCOMPARE(QString::fromUtf8(AppError::message(text).what()), text);
    }

    void anAppErrorCanBeCopied()
    {
        const AppError first = AppError::message(u"One."_s);
        AppError second = AppError::message(u"Two."_s);
        second = first;
        QCOMPARE(AppError(second).errorDescription(), u"One."_s);
    }

    void aFileErrorNamesTheFileAndTheReason_data()
    {
        const auto row = table<QString, QString, int, QString>("path", "action", "code", "sentence");
        row("a file", u"/somewhere/game.zip"_s, u"moved"_s, ENOSPC,
            u"“game.zip” could not be moved: No space left on device."_s);
        row("a folder written with slashes at its end", u"/somewhere/Game//"_s, u"created"_s, EACCES,
            u"“Game” could not be created: Permission denied."_s);
        row("the top of the file system", u"/"_s, u"removed"_s, EACCES,
            u"“/” could not be removed: Permission denied."_s);
        row("a name with placeholders", u"/%2/%3%1"_s, u"moved"_s, EACCES,
            u"“%3%1” could not be moved: Permission denied."_s);
    }

    void aFileErrorNamesTheFileAndTheReason()
    {
        QFETCH(QString, path);
        QFETCH(QString, action);
        QFETCH(int, code);
        const FileError error(path, action, code);
        QTEST(error.errorDescription(), "sentence");
        QTEST(QString::fromUtf8(error.what()), "sentence");
        QTEST(error.code(), "code");
    }

    void aFolderInWhichNoneCanBeCreatedIsNamedByItsWholePath()
    {
        const auto error = FileError::noNewFolderIn(u"/a/file"_s, ENOTDIR);
        QCOMPARE(error.errorDescription(), u"A folder could not be created in “/a/file”: Not a directory."_s);
        QCOMPARE(error.code(), ENOTDIR);
    }

    void thePlayerReadsTheSentenceOfAnErrorOrThePlatformsDescription()
    {
        QCOMPARE(userFacingDescription(AppError::message(u"Nothing here."_s)), u"Nothing here."_s);
        const FileError error(u"/a/Temp"_s, u"created"_s, EACCES);
        QCOMPARE(userFacingDescription(error), error.errorDescription());
        QCOMPARE(userFacingDescription(std::runtime_error("Größe")), u"Größe"_s);
    }
};

QTEST_GUILESS_MAIN(ErrorsTest)
#include "ErrorsTest.moc"
