#include "Desktop.h"

#include "OrdinaryUser.h"
#include "Table.h"
#include "TestHome.h"

using namespace Qt::StringLiterals;
using System = Desktop::System;

class ApplicationSupportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<TestHome>(); }
    void cleanup() { m_home.reset(); }

    void onMacOSItIsInTheLibrary()
    {
        QCOMPARE(folders(System::MacOS), QStringList(m_home->filePath(u"Library/Application Support"_s)));
    }

    void onLinuxItIsTheDataHome() { QCOMPARE(folders(System::Linux), QStringList(m_home->dataHome())); }

    void onLinuxWithoutAnAbsoluteDataHomeItIsTheUsualPlaceInTheHome_data()
    {
        const auto row = table<QByteArray>("value");
        row("not set", {});
        row("empty", "");
        row("relative", "data");
        row("home sign", "~/data");
    }

    void onLinuxWithoutAnAbsoluteDataHomeItIsTheUsualPlaceInTheHome()
    {
        QFETCH(QByteArray, value);
        if (value.isNull())
            qunsetenv("XDG_DATA_HOME");
        else
            qputenv("XDG_DATA_HOME", value);
        QCOMPARE(folders(System::Linux), QStringList(m_home->filePath(u".local/share"_s)));
    }

    void withoutANamedHomeItIsTheAccountsOwn()
    {
        qunsetenv("HOME");
        qunsetenv("XDG_DATA_HOME");
        const QStringList onLinux = folders(System::Linux);
        QCOMPARE(onLinux.size(), 1);
        QVERIFY(onLinux.first().startsWith(u'/'));
        QVERIFY(onLinux.first().size() > u"/.local/share"_s.size());
        QVERIFY(onLinux.first().endsWith(u"/.local/share"_s));
    }

    void withoutANamedHomeAndWithoutAnAccountThereIsNothing()
    {
        qunsetenv("HOME");
        qunsetenv("XDG_DATA_HOME");
        constexpr uid_t unknownUser = 3'000'000'000;
        if (!OrdinaryUser::isNeeded())
            QSKIP("Only the superuser can become somebody without an account.");
        QVERIFY(OrdinaryUser::run(
            [] { return folders(System::Linux).isEmpty() && folders(System::MacOS).isEmpty(); },
            unknownUser));
    }

    void theEnginesFolderIsCalledGodotInTheLetterCaseThatIsThere_data()
    {
        const auto row = table<QStringList, QString>("entries", "onLinux"); // a slash ends a folder's name
        row("no such folder", { u"other programs/"_s }, u"Godot"_s);
        row("another letter case", { u"GODOT/"_s }, u"GODOT"_s);
        row("the engine's own spelling", { u"godot/"_s }, u"godot"_s);
        row("the engine's own spelling and another", { u"GODOT/"_s, u"godot/"_s }, u"godot"_s);
        row("the engine's own spelling and Godot", { u"godot/"_s, u"Godot/"_s }, u"Godot"_s);
        row("a file called Godot", { u"Godot"_s, u"godot/"_s }, u"godot"_s);
    }

    void theEnginesFolderIsCalledGodotInTheLetterCaseThatIsThere()
    {
        QFETCH(QStringList, entries);
        QFETCH(QString, onLinux);
        const QDir dataHome(m_home->dataHome());
        for (const QString &entry : entries) {
            if (entry.endsWith(u'/'))
                QVERIFY(dataHome.mkpath(entry));
            else
                m_home->write(u"data/"_s + entry, "a file");
        }
        const auto folder = [&dataHome](System system) {
            return Desktop::describing(system).engineDataFolder(dataHome.path());
        };
        QCOMPARE(folder(System::Linux), dataHome.filePath(onLinux));
        QCOMPARE(folder(System::MacOS), dataHome.filePath(u"Godot"_s));
    }

private:
    static QStringList folders(System system)
    {
        return Desktop::describing(system).applicationSupportFolders();
    }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(ApplicationSupportTest)
#include "ApplicationSupportTest.moc"
