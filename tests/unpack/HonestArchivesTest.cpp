#include "Table.h"
#include "Unpacker.h"

#include <QMap>
#include <QRandomGenerator>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

/// What Python packs with: pack() writes the archive, with large records or to a pipe if asked.
const QByteArray packing = R"(
import io, os, zipfile
from zipfile import ZIP_DEFLATED, ZIP_STORED

class Pipe(io.RawIOBase):
    def __init__(self): self.file = open('../archive.zip', 'wb')
    def writable(self): return True
    def write(self, data): return self.file.write(data)
    def flush(self): self.file.flush()

def names():
    for folder, folders, files in os.walk('wrap'):
        yield folder
        for file in files: yield os.path.join(folder, file)

def pack(method=ZIP_DEFLATED, to='../archive.zip', comment=b'', large=False):
    with zipfile.ZipFile(to, 'w', method) as archive:
        archive.comment = comment
        for name in names():
            if not large or os.path.isdir(name):
                archive.write(name)
                continue
            info = zipfile.ZipInfo.from_file(name)
            info.compress_type = method
            with archive.open(info, 'w', force_zip64=True) as member: member.write(open(name, 'rb').read())
)";

}

/// Archives made by common tools. Each must unpack to exactly what was packed.
class HonestArchivesTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_unpacker.emplace();
        const TestHome &home = m_unpacker->home();
        home.write(u"packing.py"_s, packing);
        home.write(u"tree/wrap/project.godot"_s, "config_version=5\n");
        home.write(u"tree/wrap/.hidden/file"_s, "hidden");
        home.link(u"tree/wrap/.hidden/link"_s, u"../run"_s);
        home.write(u"tree/wrap/empty"_s, QByteArray());
        home.write(u"tree/wrap/Ünï cödé/ä 🎮.txt"_s, "unicode");
        home.write(u"tree/wrap/text"_s, QByteArray("some text that packs well\n").repeated(20000));
        QByteArray noise(300'000, '\0');
        for (char &byte : noise)
            byte = static_cast<char>(QRandomGenerator::global()->generate());
        home.write(u"tree/wrap/noise"_s, noise);
        makeProgram(u"tree/wrap/run"_s, "#!/bin/sh\n");
        QDir().mkpath(home.filePath(u"tree/wrap/nothing in here"_s));
    }

    void everyToolsArchiveComesOutAsItWentIn_data()
    {
        const auto row = table<QString, QString>("tool", "command");
        const auto zip = [row](const char *name, const QString &command) { row(name, u"zip"_s, command); };
        zip("zip to a file", u"zip -qry ../archive.zip wrap"_s);
        zip("zip to a pipe", u"zip -qry - wrap | cat > ../archive.zip"_s);
        zip("zip to a pipe, without links",
            u"rm wrap/.hidden/link && zip -qry - wrap | cat > ../archive.zip"_s);
        zip("zip without packing", u"zip -qry0 ../archive.zip wrap"_s);
        zip("zip packing hard", u"zip -qry9 ../archive.zip wrap"_s);
        zip("zip with large records", u"zip -qry -fz ../archive.zip wrap"_s);
        zip("zip that knows UTF-8", u"LC_ALL=C.UTF-8 zip -qry ../archive.zip wrap"_s);
        zip("zip that knows no UTF-8", u"LC_ALL=C zip -qry ../archive.zip wrap"_s);
        zip("zip with a comment", u"echo a comment | zip -qryz ../archive.zip wrap"_s);
        zip("zip without folders' own entries",
            u"zip -qryD ../archive.zip wrap && zip -qr ../archive.zip 'wrap/nothing in here'"_s);

        const auto bsdtar = [row](const char *name, const QString &arguments) {
            row(name, u"bsdtar"_s, u"LC_ALL=C.UTF-8 bsdtar --format zip "_s + arguments);
        };
        bsdtar("bsdtar to a file", u"-cf ../archive.zip wrap"_s);
        bsdtar("bsdtar to a pipe", u"-cf - wrap | cat > ../archive.zip"_s);
        bsdtar("bsdtar without packing", u"--options zip:compression=store -cf ../archive.zip wrap"_s);

        const auto branch = [row](const char *name, const char *options) {
            // Git stores no empty folders.
            row(name, u"git"_s,
                u"cd wrap && rmdir 'nothing in here' && git init -q . && git add -A && git -c user.name=a "
                "-c user.email=a@example.org commit -qm x && git archive --format=zip %1 --prefix=wrap/ HEAD "
                "> ../../archive.zip && rm -rf .git"_s.arg(QLatin1String(options)));
        };
        branch("a branch", "");
        branch("a branch, not packed", "-0");
        branch("a branch, packed hard", "-9");

        const auto jar = [row](const char *name, const char *options) {
            // It follows links and stores no execute bits.
            row(name, u"jar"_s,
                u"LC_ALL=C.UTF-8 jar %1 ../archive.zip wrap && chmod -x wrap/run && rm wrap/.hidden/link "
                "&& cp wrap/run wrap/.hidden/link"_s.arg(QLatin1String(options)));
        };
        jar("a Java archive", "cfM");
        jar("a Java archive, not packed", "c0fM");

        const auto python = [row](const char *name, const char *call) {
            // It follows links.
            row(name, u"python3"_s,
                u"rm wrap/.hidden/link && PYTHONPATH=.. python3 -B -X utf8 -c 'from packing import *; %1'"_s
                    .arg(QLatin1String(call)));
        };
        python("Python", "pack()");
        python("Python, not packed", "pack(ZIP_STORED)");
        python("Python with a comment", "pack(ZIP_STORED, comment=b\"c\" * 40)");
        python("Python with the longest comment that is found", "pack(ZIP_STORED, comment=b\"c\" * 16000)");
        python("Python with large records", "pack(large=True)");
        python("Python to a pipe", "pack(to=Pipe())");
        python("Python to a pipe with large records", "pack(to=Pipe(), large=True)");
    }

    void everyToolsArchiveComesOutAsItWentIn()
    {
        QFETCH(QString, tool);
        QFETCH(QString, command);
        expectTheSame(tool, command, u"tree"_s);
    }

    void anEnginesArchiveComesOutAsItWentIn_data()
    {
        const auto row = table<QStringList, QString>("files", "command");
        row("one program", { u"Godot_v4.3-stable_linux.x86_64"_s },
            u"zip -q -9 ../archive.zip Godot_v4.3-stable_linux.x86_64"_s);
        const QString net = u"Godot_v4.3-stable_mono_linux_x86_64/"_s;
        row(".NET",
            { net + u"Godot_v4.3-stable_mono_linux.x86_64"_s,
              net + u"GodotSharp/Api/Release/GodotSharp.dll"_s },
            u"zip -r -q -9 ../archive.zip Godot_v4.3-stable_mono_linux_x86_64"_s);
        const QString bundle = u"Godot_mono.app/Contents/"_s;
        row("a bundle with a framework's links",
            { bundle + u"MacOS/Godot"_s, bundle + u"Info.plist"_s,
              bundle + u"Frameworks/F.framework/Versions/A/Resources/Info.plist"_s },
            u"cd Godot_mono.app/Contents/Frameworks/F.framework && ln -s A Versions/Current && "
            "ln -s Versions/Current/Resources Resources && cd ../../../.. && "
            "zip -q -9 -r -y ../archive.zip Godot_mono.app"_s);
    }

    void anEnginesArchiveComesOutAsItWentIn()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, command);
        for (const QString &name : files)
            makeProgram(u"engine/"_s + name, "a program " + name.toUtf8());
        expectTheSame(u"zip"_s, command, u"engine"_s);
    }

    void moreMembersThanThePlainRecordsCount()
    {
        const QString complaint = complaintOf(
            u"python3"_s,
            u"python3 -c 'import zipfile\nwith zipfile.ZipFile(\"../archive.zip\", \"w\") as z:\n"
            " for i in range(66000): z.writestr(\"d/%d\" % i, b\"\")'"_s,
            u"tree"_s);
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        QCOMPARE(Unpacker::run(m_unpacker->unpacking()), success);
        QCOMPARE(QDir(m_unpacker->unpacked(u"d"_s)).count(), 66000U + 2);
    }

    void anArchiveWithoutMembersIsUnpacked()
    {
        QCOMPARE(m_unpacker->unpack({}), success);
        QVERIFY(m_unpacker->leftNothing());
    }

    void aToolThatFailsIsNamedAndItsRowSkipped()
    {
        makeProgram(u"bin/zip"_s, "#!/bin/sh\necho this zip does not work >&2\nexit 5\n");
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, m_unpacker->home().filePath(u"bin:"_s) + environment.value(u"PATH"_s));
        // Alone, before a pipe, and behind one.
        for (const QString &row : { u"zip to a file"_s, u"zip to a pipe"_s, u"zip with a comment"_s }) {
            QProcess process;
            process.setProcessEnvironment(environment);
            process.start(QCoreApplication::applicationFilePath(),
                          { u"everyToolsArchiveComesOutAsItWentIn:"_s + row });
            QVERIFY(process.waitForFinished());
            const QByteArray output = process.readAllStandardOutput();
            QVERIFY2(output.contains("0 failed, 1 skipped"), output.constData());
            QVERIFY2(output.contains("this zip does not work"), output.constData());
            QCOMPARE(process.exitCode(), 0);
        }
    }

private:
    void makeProgram(const QString &name, const QByteArray &content) const
    {
        m_unpacker->home().write(name, content);
        m_unpacker->home().setMode(name, 0755);
    }

    /// Makes an archive with a common tool. Returns an empty string, or the output if a command failed, even
    /// in the middle of a pipe.
    QString complaintOf(const QString &tool, const QString &command, const QString &folder) const
    {
        if (QStandardPaths::findExecutable(tool).isEmpty())
            return tool + u" is not installed here."_s;
        QProcess process;
        process.setWorkingDirectory(m_unpacker->home().filePath(folder));
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(u"/bin/bash"_s, { u"-e"_s, u"-o"_s, u"pipefail"_s, u"-c"_s, command });
        const bool hasEnded = process.waitForFinished();
        if (hasEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
            return {};
        const QString output = QString::fromLocal8Bit(process.readAll()).simplified();
        return u"“%1” failed here: %2"_s.arg(command,
                                             hasEnded && !output.isEmpty() ? output : process.errorString());
    }

    /// Packs what is in `source`, and expects the same to come out.
    void expectTheSame(const QString &tool, const QString &command, const QString &source) const
    {
        const QString complaint = complaintOf(tool, command, source);
        if (!complaint.isEmpty())
            QSKIP(qPrintable(complaint));
        QCOMPARE(Unpacker::run(m_unpacker->unpacking()), success);
        QCOMPARE(treeOf(m_unpacker->folder()), treeOf(m_unpacker->home().filePath(source)));
    }

    /// Each path below the folder with its kind, its execute bit, and its content or link target.
    QMap<QString, QByteArray> treeOf(const QString &folder) const
    {
        QMap<QString, QByteArray> tree;
        for (const QString &path : m_unpacker->home().tree(folder)) {
            const QFileInfo info(folder + u'/' + path);
            if (info.isSymLink())
                tree[path] = "link to " + QFile::encodeName(info.symLinkTarget().remove(folder));
            else if (info.isDir())
                tree[path] = "folder";
            else
                tree[path]
                    = (info.isExecutable() ? "program " : "file ") + m_unpacker->home().read(info.filePath());
        }
        return tree;
    }

    std::optional<Unpacker> m_unpacker;
};

QTEST_GUILESS_MAIN(HonestArchivesTest)
#include "HonestArchivesTest.moc"
