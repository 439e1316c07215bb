#include "AppError.h"
#include "BackgroundRemoval.h"
#include "Leftovers.h"
#include "Uninstall.h"

#include "Failure.h"
#include "LauncherFolder.h"
#include "Table.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// Removes `path` as the launcher does.
void remove(const QString &path)
{
    if (path == Paths::root())
        Uninstall::everything();
    else if (path == Paths::tempFolder())
        Leftovers::clear();
    else if (path == Paths::gameFolder())
        Uninstall::game();
    else if (path == Paths::engineFolder())
        Uninstall::engines();
    else
        Uninstall::file(path);
    BackgroundRemoval::wait({});
}

}

class SymlinkGuardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        for (const QString &name :
             { u"save"_s, u"Game/save"_s, u"Engine/save"_s, u"Temp/save"_s, u".imported-4.6"_s })
            m_home->write(u"precious/"_s + name, "1");
        m_before = everythingPrecious();
    }

    void cleanup() { QCOMPARE(everythingPrecious(), m_before); }

    void noLinkIsFollowedWhereverItIsPlanted_data()
    {
        QTest::addColumn<QString>("place");
        QTest::addColumn<QString>("what");
        for (const char *place : { "", "/Temp", "/Engine", "/Game", "/Engine/4.6", "/Game/levels",
                                   "/Game/levels/deep/deeper", "/Temp/A/extract", "/beside" }) {
            for (const char *what : { "", "/Temp", "/Engine", "/Game", "/Game/.imported-4.6" })
                QTest::addRow("link at root%s, root%s removed", place, what)
                    << QString::fromLatin1(place) << QString::fromLatin1(what);
        }
    }

    void noLinkIsFollowedWhereverItIsPlanted()
    {
        QFETCH(QString, place);
        QFETCH(QString, what);
        const QString link = linkToPrecious(place);
        remove(Paths::root() + what);
        if (what.isEmpty())
            QVERIFY(!FileOperations::exists(Paths::root()));
        if (place == what)
            QVERIFY(!FileOperations::exists(link));
    }

    void nothingIsPutThroughALink_data()
    {
        const auto row = table<QString, QString>("place", "name");
        row("the launcher's folder", QString(), u"Vantor Platformer"_s);
        row("scratch", u"/Temp"_s, u"Temp"_s);
        row("engines", u"/Engine"_s, u"Engine"_s);
    }

    void nothingIsPutThroughALink()
    {
        QFETCH(QString, place);
        QFETCH(QString, name);
        linkToPrecious(place);
        QCOMPARE(failureOf<AppError>(Paths::newTempDir),
                 u"The folder “%1” is a symbolic link, which the launcher does not download through: please "
                 "choose “Remove everything”, which removes only the link, and play again."_s.arg(name));
        remove(Paths::root());
        QVERIFY(!FileOperations::exists(Paths::root()));
        QVERIFY(FileOperations::exists(Paths::newTempDir()));
    }

private:
    QString linkToPrecious(const QString &place) const
    {
        return m_home->link(Paths::root() + place, m_home->filePath(u"precious"_s));
    }

    QStringList everythingPrecious() const { return m_home->tree(u"precious"_s); }

    std::optional<TestHome> m_home;
    QStringList m_before;
};

QTEST_GUILESS_MAIN(SymlinkGuardTest)
#include "SymlinkGuardTest.moc"
