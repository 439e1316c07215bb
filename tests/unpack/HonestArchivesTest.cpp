#include "TestHome.h"
#include "Unpacker.h"
#include "ZipBuilder.h"

#include <QDirIterator>
#include <QMap>
#include <QRandomGenerator>
#include <QStandardPaths>

namespace {

/// A folder tree to compare: each path with its kind, its execute bit, and its content or link target.
using Tree = QMap<QString, QByteArray>;

enum class Links { Kept, Followed };

Tree treeOf(const QString &folder, Links links = Links::Kept)
{
    Tree tree;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo info(entries.next());
        const QString name = QDir(folder).relativeFilePath(info.filePath());
        QByteArray what;
        if (info.isSymLink() && links == Links::Kept) {
            what
                = "link to " + QFile::encodeName(info.symLinkTarget()).replace(QFile::encodeName(folder), "");
        } else if (info.isDir()) {
            what = "folder";
        } else {
            QFile file(info.filePath());
            if (!file.open(QIODevice::ReadOnly))
                qFatal("%s could not be read.", qPrintable(info.filePath()));
            what = (info.isExecutable() ? "program " : "file ") + file.readAll();
        }
        tree.insert(name, what);
    }
    return tree;
}

}

/// Archives made by common tools. Each must unpack to exactly what was packed.
class HonestArchivesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TestHome>();
        m_home->write(QStringLiteral("tree/wrap/project.godot"), "config_version=5\n");
        m_home->write(QStringLiteral("tree/wrap/.hidden/file"), "hidden");
        m_home->write(QStringLiteral("tree/wrap/empty"), QByteArray());
        m_home->write(QStringLiteral("tree/wrap/Ünï cödé/ä 🎮.txt"), "unicode");
        m_home->write(QStringLiteral("tree/wrap/text"),
                      QByteArray("some text that packs well\n").repeated(20000));
        QByteArray noise(300'000, '\0');
        for (char &byte : noise)
            byte = static_cast<char>(QRandomGenerator::global()->generate());
        m_home->write(QStringLiteral("tree/wrap/noise"), noise);
        const QString program = m_home->write(QStringLiteral("tree/wrap/run"), "#!/bin/sh\n");
        QFile::setPermissions(
            program, QFile::permissions(program) | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
        QDir().mkpath(m_home->filePath(QStringLiteral("tree/wrap/nothing in here")));
        QFile::link(QStringLiteral("../run"), m_home->filePath(QStringLiteral("tree/wrap/.hidden/link")));
    }
    void cleanup() { m_home.reset(); }

    void everyToolsArchiveComesOutAsItWentIn_data()
    {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QString>("command");
        const auto row = [](const char *name, const char *tool, const char *command) {
            QTest::newRow(name) << QString::fromLatin1(tool) << QString::fromUtf8(command);
        };
        row("zip to a file", "zip", "zip -qry ../archive.zip wrap");
        row("zip to a pipe", "zip", "zip -qry - wrap | cat > ../archive.zip");
        row("zip to a pipe, without links", "zip",
            "rm wrap/.hidden/link && zip -qry - wrap | cat > ../archive.zip");
        row("zip without packing", "zip", "zip -qry0 ../archive.zip wrap");
        row("zip packing hard", "zip", "zip -qry9 ../archive.zip wrap");
        row("zip with large records", "zip", "zip -qry -fz ../archive.zip wrap");
        row("zip that knows UTF-8", "zip", "LC_ALL=C.UTF-8 zip -qry ../archive.zip wrap");
        row("zip that knows no UTF-8", "zip", "LC_ALL=C zip -qry ../archive.zip wrap");
        row("zip with a comment", "zip", "echo a comment | zip -qryz ../archive.zip wrap");
        row("zip without folders' own entries", "zip",
            "zip -qryD ../archive.zip wrap && zip -qr ../archive.zip "
            "'wrap/nothing in here'");
        row("bsdtar to a file", "bsdtar", "LC_ALL=C.UTF-8 bsdtar --format zip -cf ../archive.zip wrap");
        row("bsdtar to a pipe", "bsdtar",
            "LC_ALL=C.UTF-8 bsdtar --format zip -cf - wrap | cat > ../archive.zip");
        row("bsdtar without packing", "bsdtar",
            "LC_ALL=C.UTF-8 bsdtar --format zip --options zip:compression=store -cf ../archive.zip wrap");
    }

    void everyToolsArchiveComesOutAsItWentIn()
    {
        QFETCH(QString, tool);
        QFETCH(QString, command);
        if (isMissing(tool))
            QSKIP(qPrintable(tool + QStringLiteral(" is not installed here.")));
        const QString complaint = complaintOf(command, QStringLiteral("tree"));
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        unpack();
        QCOMPARE(treeOf(m_home->filePath(QStringLiteral("out"))),
                 treeOf(m_home->filePath(QStringLiteral("tree"))));
    }

    void aBranchArchiveComesOutInItsWrapperFolder_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("packed") << QString();
        QTest::newRow("not packed") << QStringLiteral("-0");
        QTest::newRow("packed hard") << QStringLiteral("-9");
    }

    void aBranchArchiveComesOutInItsWrapperFolder()
    {
        QFETCH(QString, options);
        if (isMissing(QStringLiteral("git")))
            QSKIP("git is not installed here.");
        // Git stores no empty folders.
        QDir().rmdir(m_home->filePath(QStringLiteral("tree/wrap/nothing in here")));
        const QString complaint = complaintOf(
            QStringLiteral(
                "git init -q . && git add -A && git -c user.name=a -c user.email=a@example.org commit -qm x "
                "&& git archive --format=zip %1 --prefix=wrap/ HEAD > ../../archive.zip && rm -rf .git")
                .arg(options),
            QStringLiteral("tree/wrap"));
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        unpack();
        QCOMPARE(treeOf(m_home->filePath(QStringLiteral("out"))),
                 treeOf(m_home->filePath(QStringLiteral("tree"))));
    }

    void anEnginesArchiveComesOutAsItWentIn_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("command");
        const auto row = [](const char *name, const QStringList &files, const char *command) {
            QTest::newRow(name) << files << QString::fromLatin1(command);
        };
        row("one program", { QStringLiteral("Godot_v4.3-stable_linux.x86_64") },
            "zip -q -9 ../archive.zip Godot_v4.3-stable_linux.x86_64");
        const QString net = QStringLiteral("Godot_v4.3-stable_mono_linux_x86_64/");
        row(".NET",
            { net + QStringLiteral("Godot_v4.3-stable_mono_linux.x86_64"),
              net + QStringLiteral("GodotSharp/Api/Release/GodotSharp.dll") },
            "zip -r -q -9 ../archive.zip Godot_v4.3-stable_mono_linux_x86_64");
        const QString bundle = QStringLiteral("Godot_mono.app/Contents/");
        row("a bundle with a framework's links",
            { bundle + QStringLiteral("MacOS/Godot"), bundle + QStringLiteral("Info.plist"),
              bundle + QStringLiteral("Frameworks/F.framework/Versions/A/Resources/Info.plist") },
            "cd Godot_mono.app/Contents/Frameworks/F.framework && ln -s A Versions/Current && "
            "ln -s Versions/Current/Resources Resources && cd ../../../.. && "
            "zip -q -9 -r -y ../archive.zip Godot_mono.app");
    }

    void anEnginesArchiveComesOutAsItWentIn()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, command);
        if (isMissing(QStringLiteral("zip")))
            QSKIP("zip is not installed here.");
        for (const QString &name : files) {
            const QString file
                = m_home->write(QStringLiteral("engine/") + name, "a program " + name.toUtf8());
            QFile::setPermissions(
                file, QFile::permissions(file) | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
        }
        const QString complaint = complaintOf(command, QStringLiteral("engine"));
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        unpack();
        QCOMPARE(treeOf(m_home->filePath(QStringLiteral("out"))),
                 treeOf(m_home->filePath(QStringLiteral("engine"))));
    }

    void aJavaArchiveComesOutWithItsLinksFollowed_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("packed") << QStringLiteral("cfM");
        QTest::newRow("not packed") << QStringLiteral("c0fM");
    }

    void aJavaArchiveComesOutWithItsLinksFollowed()
    {
        QFETCH(QString, options);
        if (isMissing(QStringLiteral("jar")))
            QSKIP("jar is not installed here.");
        const QString complaint = complaintOf(
            QStringLiteral("LC_ALL=C.UTF-8 jar %1 ../archive.zip wrap").arg(options), QStringLiteral("tree"));
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        unpack();
        // jar stores no execute bits.
        Tree expected = treeOf(m_home->filePath(QStringLiteral("tree")), Links::Followed);
        for (QByteArray &what : expected) {
            if (what.startsWith("program "))
                what.replace(0, 7, "file");
        }
        QCOMPARE(treeOf(m_home->filePath(QStringLiteral("out"))), expected);
    }

    void pythonsArchivesComeOutAsTheyWentIn_data()
    {
        QTest::addColumn<QString>("script");
        const auto row
            = [](const char *name, const char *script) { QTest::newRow(name) << QString::fromUtf8(script); };
        row("packed", "with zipfile.ZipFile('../archive.zip', 'w', zipfile.ZIP_DEFLATED) as z: fill(z)");
        row("not packed", "with zipfile.ZipFile('../archive.zip', 'w') as z: fill(z)");
        row("with a comment",
            "with zipfile.ZipFile('../archive.zip', 'w') as z:\n fill(z)\n z.comment = b'c' * 40");
        row("with the longest comment that is found",
            "with zipfile.ZipFile('../archive.zip', 'w') as z:\n fill(z)\n"
            " z.comment = b'c' * 16000");
        row("with large records",
            "with zipfile.ZipFile('../archive.zip', 'w', zipfile.ZIP_DEFLATED) as z:\n"
            " for name in names():\n"
            "  i = zipfile.ZipInfo.from_file(name)\n"
            "  i.compress_type = zipfile.ZIP_DEFLATED\n"
            "  if i.is_dir(): z.write(name)\n"
            "  else:\n"
            "   with z.open(i, 'w', force_zip64=True) as f: f.write(open(name, 'rb').read())");
        row("to a pipe", "with zipfile.ZipFile(Pipe(), 'w', zipfile.ZIP_DEFLATED) as z: fill(z)");
        row("to a pipe with large records",
            "with zipfile.ZipFile(Pipe(), 'w', zipfile.ZIP_DEFLATED) as z:\n"
            " for name in names():\n"
            "  i = zipfile.ZipInfo.from_file(name)\n"
            "  i.compress_type = zipfile.ZIP_DEFLATED\n"
            "  if i.is_dir(): z.write(name)\n"
            "  else:\n"
            "   with z.open(i, 'w', force_zip64=True) as f: f.write(open(name, 'rb').read())");
    }

    void pythonsArchivesComeOutAsTheyWentIn()
    {
        QFETCH(QString, script);
        if (isMissing(QStringLiteral("python3")))
            QSKIP("python3 is not installed here.");
        QFile::remove(m_home->filePath(QStringLiteral("tree/wrap/.hidden/link"))); // Python follows links
        const char *const helpers = "import io, os, zipfile\n"
                                    "def names():\n"
                                    " for folder, folders, files in os.walk('wrap'):\n"
                                    "  yield folder\n"
                                    "  for file in files: yield os.path.join(folder, file)\n"
                                    "def fill(z):\n"
                                    " for name in names(): z.write(name)\n"
                                    "class Pipe(io.RawIOBase):\n"
                                    " def __init__(self): self.file = open('../archive.zip', 'wb')\n"
                                    " def writable(self): return True\n"
                                    " def write(self, data): return self.file.write(data)\n"
                                    " def flush(self): self.file.flush()\n";
        m_home->write(QStringLiteral("script.py"), helpers + script.toUtf8() + "\n");
        const QString complaint
            = complaintOf(QStringLiteral("python3 -X utf8 ../script.py"), QStringLiteral("tree"));
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        unpack();
        QCOMPARE(treeOf(m_home->filePath(QStringLiteral("out"))),
                 treeOf(m_home->filePath(QStringLiteral("tree"))));
    }

    void moreMembersThanThePlainRecordsCount()
    {
        if (isMissing(QStringLiteral("python3")))
            QSKIP("python3 is not installed here.");
        m_home->write(QStringLiteral("script.py"),
                      "import zipfile\n"
                      "with zipfile.ZipFile('../archive.zip', 'w') as z:\n"
                      " for i in range(66000): z.writestr('d/%d' % i, b'')\n");
        const QString complaint = complaintOf(QStringLiteral("python3 ../script.py"), QStringLiteral("tree"));
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        unpack();
        QCOMPARE(QDir(m_home->filePath(QStringLiteral("out/d"))).count(), 66000U + 2);
    }

    void anArchiveWithoutMembersIsUnpacked()
    {
        m_home->write(QStringLiteral("archive.zip"), ZipBuilder().bytes());
        unpack();
        QVERIFY(QDir(m_home->filePath(QStringLiteral("out"))).isEmpty());
    }

    void aToolThatFailsIsNamedAndItsRowSkipped_data()
    {
        QTest::addColumn<QString>("row");
        QTest::newRow("alone") << QStringLiteral("zip to a file");
        QTest::newRow("before a pipe") << QStringLiteral("zip to a pipe");
        QTest::newRow("behind one") << QStringLiteral("zip with a comment");
    }

    void aToolThatFailsIsNamedAndItsRowSkipped()
    {
        QFETCH(QString, row);
        const QString standIn = m_home->write(QStringLiteral("bin/zip"),
                                              "#!/bin/sh\necho this zip does not work >&2\nexit 5\n");
        QFile::setPermissions(standIn, QFile::permissions(standIn) | QFile::ExeOwner);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("PATH"),
                           m_home->filePath(QStringLiteral("bin:"))
                               + environment.value(QStringLiteral("PATH")));
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
                      { QStringLiteral("everyToolsArchiveComesOutAsItWentIn:") + row });
        QVERIFY(process.waitForFinished());
        const QString output = QString::fromLocal8Bit(process.readAllStandardOutput());
        QVERIFY2(output.contains(QStringLiteral("0 failed, 1 skipped")), qPrintable(output));
        QVERIFY2(output.contains(QStringLiteral("this zip does not work")), qPrintable(output));
        QCOMPARE(process.exitCode(), 0);
    }

private:
    static bool isMissing(const QString &tool) { return QStandardPaths::findExecutable(tool).isEmpty(); }

    /// Makes an archive with common tools. Returns an empty string, or their output if one of them failed,
    /// even in the middle of a pipe.
    QString complaintOf(const QString &command, const QString &folder) const
    {
        QProcess process;
        process.setWorkingDirectory(m_home->filePath(folder));
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral("/bin/bash"),
                      { QStringLiteral("-e"), QStringLiteral("-o"), QStringLiteral("pipefail"),
                        QStringLiteral("-c"), command });
        const bool hasEnded = process.waitForFinished();
        if (hasEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
            return {};
        const QString output = QString::fromLocal8Bit(process.readAll()).simplified();
        return QStringLiteral("\u201c%1\u201d failed here: %2")
            .arg(command, hasEnded && !output.isEmpty() ? output : process.errorString());
    }

    void unpack() const
    {
        const Unpacker result = Unpacker::unpack(m_home->filePath(QStringLiteral("archive.zip")),
                                                 m_home->filePath(QStringLiteral("out")));
        QCOMPARE(result.problems, QString());
        QCOMPARE(result.status, 0);
    }

    std::unique_ptr<TestHome> m_home;
};

QTEST_GUILESS_MAIN(HonestArchivesTest)
#include "HonestArchivesTest.moc"
