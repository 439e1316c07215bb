#include "DirectorySize.h"

#include "OrdinaryUser.h"
#include "TestHome.h"

#include <QTest>

#include <sys/stat.h>

class DirectorySizeTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aMissingFolderIsZero();
    void anEmptyFolderIsZero();
    void aFileInPlaceOfAFolderIsZero();
    void aOneByteFileCountsItsBlocks();
    void aSparseFileCountsWhatItTakes();
    void hiddenFilesAndBundlesCount();
    void aLinkToALargeFileAddsNothing();
    void aLinkToAFolderIsNotFollowed();
    void pipesAddNothingAndDoNotBlock();
    void aHardLinkCountsEachTimeItIsMet();
    void aFolderNamedByALinkIsSized();
    void namesThatAreNotUtf8Count();
    void aVeryDeepTreeIsWalkedToItsEnd();
    void aFolderThatIsShutAddsNothingAndTheRestCounts_data();
    void aFolderThatIsShutAddsNothingAndTheRestCounts();

private:
    static qint64 blocksOf(const QString &path)
    {
        struct stat status = {};
        return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_blocks * 512 : -1;
    }
};

void DirectorySizeTest::aMissingFolderIsZero()
{
    const TestHome home;
    QCOMPARE(directorySize(home.filePath(QStringLiteral("nothing"))), 0);
    QCOMPARE(directorySize(QString()), 0);
}

void DirectorySizeTest::anEmptyFolderIsZero()
{
    const TestHome home;
    QCOMPARE(directorySize(home.path()), 0);
}

void DirectorySizeTest::aFileInPlaceOfAFolderIsZero()
{
    const TestHome home;
    QCOMPARE(directorySize(home.write(QStringLiteral("file"), "content")), 0);
}

void DirectorySizeTest::aOneByteFileCountsItsBlocks()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("one"), "1");
    QCOMPARE(directorySize(home.path()), blocksOf(file));
    QVERIFY(directorySize(home.path()) > 1);
}

void DirectorySizeTest::aSparseFileCountsWhatItTakes()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("sparse"), "1");
    QVERIFY(QFile::resize(file, 1'000'000'000));
    QCOMPARE(directorySize(home.path()), blocksOf(file));
    QVERIFY(directorySize(home.path()) < 1'000'000);
}

void DirectorySizeTest::hiddenFilesAndBundlesCount()
{
    const TestHome home;
    const QByteArray content(10'000, 'x');
    const QString hidden = home.write(QStringLiteral(".imported-4.3"), content);
    const QString inHidden = home.write(QStringLiteral(".godot/imported/a.ctex"), content);
    const QString inBundle = home.write(QStringLiteral("Godot.app/Contents/MacOS/Godot"), content);
    QCOMPARE(directorySize(home.path()), blocksOf(hidden) + blocksOf(inHidden) + blocksOf(inBundle));
}

void DirectorySizeTest::aLinkToALargeFileAddsNothing()
{
    const TestHome home;
    const TestHome elsewhere;
    const QString large = elsewhere.write(QStringLiteral("large"), QByteArray(1'000'000, 'x'));
    QVERIFY(QFile::link(large, home.filePath(QStringLiteral("link"))));
    QCOMPARE(directorySize(home.path()), 0);
}

void DirectorySizeTest::aLinkToAFolderIsNotFollowed()
{
    const TestHome home;
    const TestHome elsewhere;
    elsewhere.write(QStringLiteral("large"), QByteArray(1'000'000, 'x'));
    QVERIFY(QFile::link(elsewhere.path(), home.filePath(QStringLiteral("away"))));
    QVERIFY(QFile::link(QStringLiteral("."), home.filePath(QStringLiteral("round"))));
    QCOMPARE(directorySize(home.path()), 0);
}

void DirectorySizeTest::pipesAddNothingAndDoNotBlock()
{
    const TestHome home;
    QCOMPARE(mkfifo(QFile::encodeName(home.filePath(QStringLiteral("pipe"))).constData(), 0600), 0);
    QCOMPARE(directorySize(home.path()), 0);
}

void DirectorySizeTest::aHardLinkCountsEachTimeItIsMet()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("a"), QByteArray(10'000, 'x'));
    QCOMPARE(::link(QFile::encodeName(file).constData(),
                    QFile::encodeName(home.filePath(QStringLiteral("b"))).constData()),
             0);
    QCOMPARE(directorySize(home.path()), 2 * blocksOf(file));
}

void DirectorySizeTest::aFolderNamedByALinkIsSized()
{
    const TestHome home;
    const QString file = home.write(QStringLiteral("real/a"), QByteArray(10'000, 'x'));
    QVERIFY(QFile::link(home.filePath(QStringLiteral("real")), home.filePath(QStringLiteral("link"))));
    QCOMPARE(directorySize(home.filePath(QStringLiteral("link"))), blocksOf(file));
}

void DirectorySizeTest::namesThatAreNotUtf8Count()
{
    const TestHome home;
    const QByteArray base = QFile::encodeName(home.path());
    const QByteArray folder = base + "/caf\xE9";
    if (::mkdir(folder.constData(), 0700) != 0)
        QSKIP("This file system takes only names in UTF-8.");
    const QString plain = home.write(QStringLiteral("plain"), QByteArray(10'000, 'x'));
    QCOMPARE(::rename(QFile::encodeName(plain).constData(), (folder + "/\xFF\xFE").constData()), 0);
    QVERIFY(directorySize(home.path()) >= 10'000);
    // QTemporaryDir removes only names in UTF-8.
    QCOMPARE(::unlink((folder + "/\xFF\xFE").constData()), 0);
    QCOMPARE(::rmdir(folder.constData()), 0);
}

void DirectorySizeTest::aVeryDeepTreeIsWalkedToItsEnd()
{
    const TestHome home;
    QString deep;
    for (int i = 0; i < 500; ++i)
        deep += QStringLiteral("d/");
    const QString file = home.write(deep + QStringLiteral("file"), "1");
    const QString beside = home.write(QStringLiteral("d/beside"), "1");
    QCOMPARE(directorySize(home.path()), blocksOf(file) + blocksOf(beside));
}

void DirectorySizeTest::aFolderThatIsShutAddsNothingAndTheRestCounts_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("neither listed nor searched") << 0;
    QTest::newRow("listed, but not searched") << 0444;
    QTest::newRow("searched, but not listed") << 0311;
}

void DirectorySizeTest::aFolderThatIsShutAddsNothingAndTheRestCounts()
{
    QFETCH(int, mode);
    const TestHome home;
    QCOMPARE(::chmod(QFile::encodeName(home.path()).constData(), 0755), 0);
    // One in each of two folders, so that in any order of listing something follows one of them.
    qint64 open = 0;
    qint64 shut = 0;
    const QList<QByteArray> folders { QFile::encodeName(home.filePath(QStringLiteral("a/shut"))),
                                      QFile::encodeName(home.filePath(QStringLiteral("b/shut"))) };
    for (const QString &name : { QStringLiteral("a"), QStringLiteral("b") }) {
        open += blocksOf(home.write(name + QStringLiteral("/file"), QByteArray(10'000, 'x')));
        shut += blocksOf(home.write(name + QStringLiteral("/shut/file"), QByteArray(10'000, 'x')));
    }
    for (const QByteArray &folder : folders)
        QCOMPARE(::chmod(folder.constData(), static_cast<mode_t>(mode)), 0);
    const QString root = home.path();
    const bool asExpected = OrdinaryUser::run([&] { return directorySize(root) == open; });
    for (const QByteArray &folder : folders)
        QCOMPARE(::chmod(folder.constData(), 0700), 0);
    QVERIFY(asExpected);
    QCOMPARE(directorySize(root), open + shut);
}

QTEST_GUILESS_MAIN(DirectorySizeTest)
#include "DirectorySizeTest.moc"
