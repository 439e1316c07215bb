#pragma once

#include "CodeHost.h"
#include "HttpServer.h"
#include "Player.h"
#include "RepoDownloader.h"
#include "ZipBuilder.h"

#include <QCryptographicHash>

/// A code host for a player, whose replies a test sets: a valid game, checksum list and engine unless it sets
/// others. The code under test uses it until the player is destroyed. Main thread.
class ScriptedHost final {
public:
    explicit ScriptedHost(const Player &player)
        : engineProgram(player.home.read(player.engine))
    {
        CodeHost::setAddress(server.address());
        serveGame(gameArchive());
        serveEngine(engineArchive());
    }

    static EngineSpec engine() { return { 4, QStringLiteral("4.6"), false }; }
    static QString gamePath() { return RepoDownloader::zipURL().path(); }
    static QString listPath() { return QUrl(engine().baseURL()).path() + QStringLiteral("SHA512-SUMS.txt"); }
    static QString enginePath() { return QUrl(engine().baseURL()).path() + engine().fileName(); }

    static QByteArray project()
    {
        return "config_version=5\nconfig/name=\"Hill Run\"\nconfig/features=PackedStringArray(\"4.6\")\n";
    }

    /// A game archive whose import pass runs the shell script `import`, with `others` as further entries.
    static QByteArray gameArchive(const QList<ZipEntry> &others = {},
                                  const QByteArray &import = "mkdir -p .godot\n",
                                  const QByteArray &projectFile = project())
    {
        ZipBuilder archive { ZipEntry::folder("Vantor-master/"),
                             ZipEntry::file("Vantor-master/project.godot", projectFile),
                             ZipEntry::file("Vantor-master/import.sh", import),
                             ZipEntry::file("Vantor-master/play.sh", "echo playing; exec sleep 60\n") };
        archive.entries += others;
        return archive.bytes();
    }

    /// The archive of the wanted engine build, with `others` as further entries.
    QByteArray engineArchive(const QList<ZipEntry> &others = {}) const
    {
        ZipBuilder archive { ZipEntry::program(engine().fileName().chopped(4).toUtf8(), engineProgram) };
        archive.entries += others;
        return archive.bytes();
    }

    /// The checksum list that matches `archive`.
    static QByteArray listFor(const QByteArray &archive)
    {
        return QCryptographicHash::hash(archive, QCryptographicHash::Sha512).toHex() + "  "
            + engine().fileName().toUtf8() + "\n";
    }

    void serveGame(const QByteArray &archive) { server.serve(gamePath(), archive); }

    /// Serves `archive` as the engine, and the list that matches it.
    void serveEngine(const QByteArray &archive)
    {
        server.serve(listPath(), listFor(archive));
        server.serve(enginePath(), archive);
    }

    HttpServer server;

private:
    const QByteArray engineProgram;
};

/// A player whose code host a test scripts.
struct Scene {
    Player player;
    ScriptedHost host { player };
};
