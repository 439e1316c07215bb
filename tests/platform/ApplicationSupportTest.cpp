#include "Desktop.h"

#include "OrdinaryUser.h"
#include "TestHome.h"

using System = Desktop::System;

class ApplicationSupportTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<TestHome>(); }
    void cleanup() { m_home.reset(); }

    void onMacOSItIsInTheLibrary()
    {
        QCOMPARE(folders(System::MacOS),
                 QStringList(m_home->filePath(QStringLiteral("Library/Application Support"))));
    }

    void onLinuxItIsTheDataHome() { QCOMPARE(folders(System::Linux), QStringList(m_home->dataHome())); }

    void onLinuxWithoutADataHomeItIsTheUsualPlaceInTheHome()
    {
        qunsetenv("XDG_DATA_HOME");
        QCOMPARE(folders(System::Linux), QStringList(m_home->filePath(QStringLiteral(".local/share"))));
    }

    void onLinuxADataHomeThatIsNotAbsoluteIsPassedOver_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("relative") << QByteArray("data");
        QTest::newRow("home sign") << QByteArray("~/data");
    }

    void onLinuxADataHomeThatIsNotAbsoluteIsPassedOver()
    {
        QFETCH(QByteArray, value);
        qputenv("XDG_DATA_HOME", value);
        QCOMPARE(folders(System::Linux), QStringList(m_home->filePath(QStringLiteral(".local/share"))));
    }

    void withoutANamedHomeItIsTheAccountsOwn()
    {
        qunsetenv("HOME");
        qunsetenv("XDG_DATA_HOME");
        const QStringList onLinux = folders(System::Linux);
        QCOMPARE(onLinux.size(), 1);
        QVERIFY(onLinux.first().startsWith(QLatin1Char('/')));
        QVERIFY(onLinux.first().size() > QStringLiteral("/.local/share").size());
        QVERIFY(onLinux.first().endsWith(QStringLiteral("/.local/share")));
    }

    void withoutANamedHomeAndWithoutAnAccountThereIsNone()
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

    void theEnginesFolderIsCalledGodotWhenThereIsNone()
    {
        QDir().mkpath(inDataHome(QStringLiteral("other programs")));
        QCOMPARE(engineFolder(System::Linux), inDataHome(QStringLiteral("Godot")));
        QCOMPARE(engineFolder(System::MacOS), inDataHome(QStringLiteral("Godot")));
    }

    void onLinuxTheEnginesFolderIsTheOneThatDiffersInCaseOnly()
    {
        QDir().mkpath(inDataHome(QStringLiteral("godot")));
        QCOMPARE(engineFolder(System::Linux), inDataHome(QStringLiteral("godot")));
    }

    void onLinuxTheEnginesOwnSpellingGoesBeforeAnother()
    {
        QDir().mkpath(inDataHome(QStringLiteral("GODOT")));
        QCOMPARE(engineFolder(System::Linux), inDataHome(QStringLiteral("GODOT")));
        QDir().mkpath(inDataHome(QStringLiteral("godot")));
        QCOMPARE(engineFolder(System::Linux), inDataHome(QStringLiteral("godot")));
    }

    void onLinuxAFolderCalledGodotGoesBeforeOneInOtherCase()
    {
        QDir().mkpath(inDataHome(QStringLiteral("godot")));
        QDir().mkpath(inDataHome(QStringLiteral("Godot")));
        QCOMPARE(engineFolder(System::Linux), inDataHome(QStringLiteral("Godot")));
    }

    void onLinuxAFileIsNoEnginesFolder()
    {
        m_home->write(QStringLiteral("data/Godot"), "a file");
        QDir().mkpath(inDataHome(QStringLiteral("godot")));
        QCOMPARE(engineFolder(System::Linux), inDataHome(QStringLiteral("godot")));
    }

    void onMacOSTheEnginesFolderIsAlwaysCalledGodot()
    {
        QDir().mkpath(inDataHome(QStringLiteral("godot")));
        QCOMPARE(engineFolder(System::MacOS), inDataHome(QStringLiteral("Godot")));
    }

private:
    static QStringList folders(System system)
    {
        return Desktop::describing(system).applicationSupportFolders();
    }
    QString engineFolder(System system) const
    {
        return Desktop::describing(system).engineDataFolder(m_home->dataHome());
    }
    QString inDataHome(const QString &name) const { return m_home->dataHome() + QLatin1Char('/') + name; }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(ApplicationSupportTest)
#include "ApplicationSupportTest.moc"
