#include "Desktop.h"

#include "TestHome.h"

using System = Desktop::System;

namespace {

enum class Mode { Program, Plain };

}

class EngineProgramTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_home = std::make_unique<TestHome>(); }
    void cleanup() { m_home.reset(); }

    void aFolderThatDoesNotExistHoldsNoProgram()
    {
        QCOMPARE(onMacOS(), std::nullopt);
        QCOMPARE(onLinux(), std::nullopt);
    }

    void anEmptyFolderHoldsNoProgram()
    {
        QDir().mkpath(engineFolder());
        QCOMPARE(onMacOS(), std::nullopt);
        QCOMPARE(onLinux(), std::nullopt);
    }

    void aFileInPlaceOfTheFolderHoldsNoProgram()
    {
        m_home->write(QStringLiteral("engine"), "a file");
        QCOMPARE(onMacOS(), std::nullopt);
        QCOMPARE(onLinux(), std::nullopt);
    }

    void theBundlesGodotIsTheProgram()
    {
        put(QStringLiteral("Godot.app/Contents/MacOS/Another"), Mode::Program);
        const QString godot = put(QStringLiteral("Godot.app/Contents/MacOS/Godot"), Mode::Program);
        put(QStringLiteral("Godot.app/Contents/MacOS/Zebra"), Mode::Program);
        QCOMPARE(onMacOS(), godot);
    }

    void aBundleWithOneProgramOfAnotherNameYieldsThat()
    {
        const QString program = put(QStringLiteral("Godot_mono.app/Contents/MacOS/Engine"), Mode::Program);
        QCOMPARE(onMacOS(), program);
    }

    void aBundleWithAnEmptyProgramFolderIsPassedOver()
    {
        QDir().mkpath(engineFolder() + QStringLiteral("/A.app/Contents/MacOS"));
        const QString program = put(QStringLiteral("B.app/Contents/MacOS/Godot"), Mode::Program);
        QDir().mkpath(engineFolder() + QStringLiteral("/C.app/Contents/MacOS"));
        QCOMPARE(onMacOS(), program);
    }

    void aBundleWithoutAProgramFolderIsPassedOver()
    {
        put(QStringLiteral("A.app"), Mode::Program);
        QDir().mkpath(engineFolder() + QStringLiteral("/B.app/Contents"));
        const QString program = put(QStringLiteral("C.app/Contents/MacOS/Godot"), Mode::Program);
        QCOMPARE(onMacOS(), program);
    }

    void aBundleWhoseGodotCannotBeRunIsPassedOver()
    {
        put(QStringLiteral("A.app/Contents/MacOS/Godot"), Mode::Plain);
        QCOMPARE(onMacOS(), std::nullopt);
        const QString program = put(QStringLiteral("B.app/Contents/MacOS/Godot"), Mode::Program);
        QCOMPARE(onMacOS(), program);
    }

    void aFolderCalledGodotIsNoProgram()
    {
        QDir().mkpath(engineFolder() + QStringLiteral("/A.app/Contents/MacOS/Godot"));
        QCOMPARE(onMacOS(), std::nullopt);
    }

    void theBundlesEndingKnowsLetterCase()
    {
        put(QStringLiteral("Godot.APP/Contents/MacOS/Godot"), Mode::Program);
        QCOMPARE(onMacOS(), std::nullopt);
    }

    void whatIsNoBundleIsIgnored()
    {
        put(QStringLiteral("stray/Contents/MacOS/Godot"), Mode::Program);
        put(QStringLiteral("Godot_v4.3-stable_linux.x86_64"), Mode::Program);
        QCOMPARE(onMacOS(), std::nullopt);
        const QString program = put(QStringLiteral("Any Name.app/Contents/MacOS/Godot"), Mode::Program);
        QCOMPARE(onMacOS(), program);
    }

    void onLinuxAPlainBuildIsOneFileAtTheTop()
    {
        const QString program = put(QStringLiteral("Godot_v4.3-stable_linux.x86_64"), Mode::Program);
        QCOMPARE(onLinux(), program);
    }

    void onLinuxADotNetBuildLiesInItsFolder()
    {
        put(QStringLiteral("Godot_v4.3-stable_mono_linux_x86_64/GodotSharp/Api/Release/GodotSharp.dll"),
            Mode::Program);
        const QString program
            = put(QStringLiteral("Godot_v4.3-stable_mono_linux_x86_64/Godot_v4.3-stable_mono_linux.x86_64"),
                  Mode::Program);
        QCOMPARE(onLinux(), program);
    }

    void onLinuxTheOlderLinesNamesAreFoundToo()
    {
        const QString program = put(
            QStringLiteral("Godot_v3.6.3-stable_mono_x11_64/Godot_v3.6.3-stable_mono_x11.64"), Mode::Program);
        QCOMPARE(onLinux(), program);
    }

    void onLinuxWhatCannotBeRunIsPassedOver()
    {
        put(QStringLiteral("Godot_v4.3-stable_linux.x86_64"), Mode::Plain);
        put(QStringLiteral("Godot_v4.3-stable_mono_linux_x86_64/Godot_v4.3.txt"), Mode::Plain);
        QCOMPARE(onLinux(), std::nullopt);
    }

    void onLinuxOtherProgramsAreIgnored()
    {
        put(QStringLiteral("install.sh"), Mode::Program);
        put(QStringLiteral("Godot.app/Contents/MacOS/Godot"), Mode::Program);
        put(QStringLiteral("GodotSharp/Godot_v4"), Mode::Program);
        QCOMPARE(onLinux(), std::nullopt);
    }

private:
    QString engineFolder() const { return m_home->filePath(QStringLiteral("engine")); }

    QString put(const QString &name, Mode mode) const
    {
        const QString file = m_home->write(QStringLiteral("engine/") + name, "#!/bin/sh\n");
        auto permissions = QFile::ReadOwner | QFile::WriteOwner;
        if (mode == Mode::Program)
            permissions |= QFile::ExeOwner;
        QFile::setPermissions(file, permissions);
        return file;
    }

    std::optional<QString> onMacOS() const
    {
        return Desktop::describing(System::MacOS).engineProgram(engineFolder());
    }

    std::optional<QString> onLinux() const
    {
        return Desktop::describing(System::Linux).engineProgram(engineFolder());
    }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(EngineProgramTest)
#include "EngineProgramTest.moc"
