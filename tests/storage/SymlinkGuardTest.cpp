#include "AppError.h"
#include "BackgroundRemoval.h"
#include "Leftovers.h"
#include "Uninstall.h"

#include "Failure.h"
#include "LauncherFolder.h"
#include "Table.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using Removal = std::function<void()>;

class SymlinkGuardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        for (const QString &name :
             { u"save"_s, u"Game/save"_s, u"Engine/save"_s, u"Temp/save"_s, u".imported-4.6"_s })
            m_home->write(u"precious/"_s + name, "1");
        m_before = m_home->tree(u"precious"_s);
    }

    void cleanup() { QCOMPARE(m_home->tree(u"precious"_s), m_before); }

    void noLinkIsFollowedWhereverItIsPlanted_data()
    {
        const QList<std::pair<QString, Removal>> removals {
            { QString(), Uninstall::everything },
            { u"/Temp"_s, [] { Leftovers::clear(); } },
            { u"/Engine"_s, Uninstall::engines },
            { u"/Game"_s, Uninstall::game },
            { u"/Game/.imported-4.6"_s,
              [] { Uninstall::file(LauncherFolder::path(u"Game/.imported-4.6"_s)); } },
        };
        const auto row = table<QString, QString, Removal>("place", "what", "remove");
        for (const QString &place :
             { QString(), u"/Temp"_s, u"/Engine"_s, u"/Game"_s, u"/Engine/4.6"_s, u"/Game/levels"_s,
               u"/Game/levels/deep/deeper"_s, u"/Temp/A/extract"_s, u"/beside"_s }) {
            for (const auto &[what, remove] : removals)
                row(qPrintable(u"link at root%1, root%2 removed"_s.arg(place, what)), place, what, remove);
        }
    }

    void noLinkIsFollowedWhereverItIsPlanted()
    {
        QFETCH(QString, place);
        QFETCH(QString, what);
        QFETCH(Removal, remove);
        const QString link = linkToPrecious(place);
        remove();
        BackgroundRemoval::wait({});
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
        Uninstall::everything();
        BackgroundRemoval::wait({});
        QVERIFY(!FileOperations::exists(Paths::root()));
        QVERIFY(FileOperations::exists(Paths::newTempDir()));
    }

private:
    QString linkToPrecious(const QString &place) const
    {
        return m_home->link(Paths::root() + place, m_home->filePath(u"precious"_s));
    }

    std::optional<TestHome> m_home;
    QStringList m_before;
};

QTEST_GUILESS_MAIN(SymlinkGuardTest)
#include "SymlinkGuardTest.moc"
