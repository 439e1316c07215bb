#pragma once

#include "CodeHost.h"
#include "EngineSpec.h"
#include "HttpServer.h"
#include "ZipBuilder.h"

#include <QCryptographicHash>

#include <memory>

/// A code host whose replies a test sets (404 where it sets none), used by the code under test for as long as
/// this object lives. Main thread.
class ScriptedHost final {
public:
    explicit ScriptedHost(std::unique_ptr<HttpServer> host = std::make_unique<HttpServer>())
        : server(std::move(host))
    {
        CodeHost::setAddress(server->address());
    }
    ~ScriptedHost() { CodeHost::setAddress(CodeHost::official()); }
    ScriptedHost(const ScriptedHost &) = delete;
    ScriptedHost &operator=(const ScriptedHost &) = delete;

    static EngineSpec engine() { return { 4, QStringLiteral("4.6"), false }; }
    static QString gamePath() { return QStringLiteral("/Kestrelwood/Vantor/archive/refs/heads/master.zip"); }
    static QString listPath() { return enginePath(QStringLiteral("SHA512-SUMS.txt")); }
    static QString enginePath() { return enginePath(engine().fileName()); }

    static QByteArray project()
    {
        return "config_version=5\nconfig/name=\"Hill Run\"\nconfig/features=PackedStringArray(\"4.6\")\n";
    }

    /// A game archive whose import pass runs the shell script `import`, with `others` as further entries.
    static QByteArray gameArchive(const QByteArray &import = "mkdir -p .godot\n",
                                  const QList<ZipEntry> &others = {})
    {
        ZipBuilder archive { ZipEntry::folder("Vantor-master/"),
                             ZipEntry::file("Vantor-master/project.godot", project()),
                             ZipEntry::file("Vantor-master/import.sh", import),
                             ZipEntry::file("Vantor-master/play.sh", "exec sleep 60\n") };
        archive.entries += others;
        return archive.bytes();
    }

    /// The archive of the wanted engine build: `program` as its program, `others` as further entries.
    static QByteArray engineArchive(const QByteArray &program, const QList<ZipEntry> &others = {})
    {
        ZipBuilder archive { ZipEntry::program(engine().fileName().chopped(4).toUtf8(), program) };
        archive.entries += others;
        return archive.bytes();
    }

    /// The checksum list that matches `archive`.
    static QByteArray listFor(const QByteArray &archive)
    {
        return QCryptographicHash::hash(archive, QCryptographicHash::Sha512).toHex() + "  "
            + engine().fileName().toUtf8() + "\n";
    }

    /// Serves a valid game, checksum list and engine. `program` is the content of the engine's program.
    void serveGood(const QByteArray &program)
    {
        const QByteArray archive = engineArchive(program);
        server->serve(gamePath(), gameArchive());
        server->serve(listPath(), listFor(archive));
        server->serve(enginePath(), archive);
    }

    const std::unique_ptr<HttpServer> server;

private:
    static QString enginePath(const QString &file)
    {
        return QStringLiteral("/godotengine/godot-builds/releases/download/4.6-stable/") + file;
    }
};
