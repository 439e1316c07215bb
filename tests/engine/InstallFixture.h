#pragma once

#include "CodeHost.h"
#include "DescribedError.h"
#include "Desktop.h"
#include "EngineManager.h"
#include "LogStore.h"
#include "Paths.h"
#include "ShellScript.h"
#include "Tasks.h"
#include "TestHome.h"
#include "ZipBuilder.h"
#include "http/HttpServer.h"

#include <QCryptographicHash>

/// What tests of EngineManager::install share: a home and a code host of the test's own, from which Godot 4.3
/// for Linux is installed unless the test says otherwise. Main thread.
class InstallFixture {
protected:
    // Lines of the log.
    const QString downloading = QStringLiteral("Downloading Godot 4.3 from ");
    const QString checking = QStringLiteral("Checking the download against the official SHA-512 checksum");
    const QString matches = QStringLiteral("Checksum matches");
    /// A sentence for the player.
    const QString doesNotMatch = QStringLiteral(
        "The Godot download did not match its official checksum, so it was thrown away. Please try again.");

    static constexpr const char *programName = "Godot_v4.3-stable_linux.x86_64";

    void begin()
    {
        m_home = std::make_unique<TestHome>();
        m_server = std::make_unique<HttpServer>();
        m_log = std::make_unique<LogStore>();
        m_engines = std::make_unique<EngineManager>();
        m_stop = std::stop_source();
        m_progress = 0;
        m_spec = { 4, QStringLiteral("4.3"), false };
        CodeHost::setAddress(m_server->address());
        use(Desktop::System::Linux);
        serve(linuxBuild());
    }

    void end()
    {
        m_engines.reset();
        m_log.reset();
        m_server.reset();
        m_home.reset();
        Desktop::use(std::nullopt);
        CodeHost::setAddress(CodeHost::official());
    }

    static ZipBuilder linuxBuild(const QByteArray &content = "#!/bin/sh\n")
    {
        return { ZipEntry::program(programName, content) };
    }

    QString archivePath() const { return QUrl(m_spec.baseURL() + m_spec.fileName()).path(); }
    QString listPath() const { return QUrl(m_spec.baseURL() + QStringLiteral("SHA512-SUMS.txt")).path(); }

    static QByteArray sha512(const QByteArray &bytes)
    {
        return QCryptographicHash::hash(bytes, QCryptographicHash::Sha512).toHex();
    }

    /// Serves `build` as the archive, and the list with its checksum.
    void serve(const ZipBuilder &build) const
    {
        const QByteArray archive = build.bytes();
        serve(archive, sha512(archive) + "  " + m_spec.fileName().toUtf8() + "\n");
    }

    void serve(const QByteArray &archive, const QByteArray &list) const
    {
        m_server->serve(archivePath(), archive);
        m_server->serve(listPath(), list);
    }

    /// Behaves as on `system`, with our unpack program, and with `quarantineScript` as the quarantine tool.
    Desktop use(Desktop::System system, const QByteArray &quarantineScript = "exit 0") const
    {
        Desktop desktop = Desktop::describing(system);
        desktop.processor = Desktop::Processor::X86_64;
        desktop.unpackTool = QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-unpack");
        if (system == Desktop::System::MacOS)
            desktop.quarantineTool = shellScript(*m_home, QStringLiteral("xattr"), quarantineScript);
        Desktop::use(desktop);
        return desktop;
    }

    /// Runs `commands` in place of the unpack program, which "UNPACK" in them runs.
    void useUnpackScript(QByteArray commands) const
    {
        Desktop desktop = use(Desktop::System::Linux);
        commands.replace("UNPACK", "'" + QFile::encodeName(desktop.unpackTool) + "' \"$@\"");
        desktop.unpackTool = shellScript(*m_home, QStringLiteral("unpack"), commands);
        Desktop::use(desktop);
    }

    QCoro::Task<QString> start()
    {
        const auto onProgress = [this](DownloadProgress) { ++m_progress; };
        return m_engines->install(m_spec, m_log.get(), onProgress, m_stop.get_token());
    }

    QString install() { return Tasks::finish(start()); }

    /// The sentence that `task` fails with, empty when it does not fail.
    static QString failureOf(QCoro::Task<QString> task)
    {
        try {
            Tasks::finish(std::move(task));
        } catch (const DescribedError &error) {
            return error.errorDescription();
        }
        return {};
    }

    QString failure() { return failureOf(start()); }

    QStringList log() const { return m_log->lines; }

    QString target() const { return EngineManager::folder(m_spec); }
    QByteArray installedProgram() const
    {
        return m_home->read(target() + u'/' + QLatin1StringView(programName));
    }

    void nothingIsLeftInTemp() const { QCOMPARE(m_home->list(Paths::tempFolder()), QStringList()); }

    void nothingIsInstalled() const
    {
        nothingIsLeftInTemp();
        QVERIFY(!QFileInfo::exists(target()));
    }

    EngineSpec m_spec;
    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<LogStore> m_log;
    std::unique_ptr<EngineManager> m_engines;
    std::stop_source m_stop;
    std::atomic<int> m_progress = 0;
};
