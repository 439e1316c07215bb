// Draws everything that the launcher can show into PNG files, to be looked at.
//
//   render-states FOLDER [DESKTOP...]
//   render-states --docs FOLDER

#include "ContactSheet.h"
#include "Gallery.h"
#include "Likeness.h"
#include "WindowFrame.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>

#include <cstdio>

namespace {

constexpr auto scaleVariable = "QT_SCALE_FACTOR";

/// A picture in the documents.
struct Illustration {
    QString name;
    QString shot;
    QString desktop;
};
QList<Illustration> illustrations()
{
    return {
        { u"ready"_s, u"ready"_s, u"light-200"_s },
        { u"not-downloaded"_s, u"not-downloaded"_s, u"light"_s },
        { u"downloading"_s, u"downloading"_s, u"dark"_s },
        { u"playing"_s, u"playing"_s, u"light"_s },
        { u"failure-long"_s, u"failure-long"_s, u"light"_s },
        { u"log-full"_s, u"log-full"_s, u"dark"_s },
        { u"settings"_s, u"settings"_s, u"dark"_s },
        { u"about"_s, u"about"_s, u"light"_s },
        { u"remove"_s, u"remove"_s, u"light"_s },
        { u"quit"_s, u"quit"_s, u"dark"_s },
        { u"high-contrast"_s, u"ready"_s, u"high-contrast-dark"_s },
        { u"large-text"_s, u"ready"_s, u"text-200"_s },
    };
}

/// `quality` is Qt's: of a PNG file, it decides only how long the compression may take.
void save(const QImage &picture, const QString &file, int quality)
{
    if (!picture.save(file, nullptr, quality))
        qFatal("%s could not be written.", qPrintable(file));
}

/// Each state on `desktop`, as a file of its own in a folder and together on one sheet.
void take(const QDir &folder, const Gallery::Desktop &desktop)
{
    constexpr int fastest = 80; // the files are a little larger
    QElapsedTimer timer;
    timer.start();
    folder.mkpath(desktop.name);
    QList<ContactSheet::Entry> entries;
    for (const Gallery::Shot &shot : Gallery::shots()) {
        const QImage picture = Gallery::picture(shot, desktop);
        save(picture, folder.filePath(desktop.name + u'/' + shot.name + u".png"_s), fastest);
        entries.append({ shot.name, picture });
    }
    const qint64 shown = timer.elapsed();
    save(ContactSheet::draw(desktop.name, entries), folder.filePath(desktop.name + u".png"_s), fastest);
    std::printf("%s %lld ms, sheet %lld ms\n", qPrintable(desktop.name), shown, timer.elapsed() - shown);
}

int takeAll(const QDir &folder, const QStringList &names)
{
    for (const Gallery::Desktop &desktop : Gallery::desktops()) {
        if (desktop.scale == qEnvironmentVariable(scaleVariable)
            && (names.isEmpty() || names.contains(desktop.name)))
            take(folder, desktop);
    }
    return 0;
}

int illustrate(const QDir &folder)
{
    constexpr int smallest = 0;
    for (const auto &[name, shot, desktopName] : illustrations()) {
        const Gallery::Desktop desktop = Gallery::desktop(desktopName);
        if (desktop.scale != qEnvironmentVariable(scaleVariable))
            continue;
        const QImage content = Gallery::picture(Gallery::shot(shot), desktop);
        const bool isDark = desktop.scheme == Appearance::Scheme::Dark;
        save(WindowFrame::around(content, u"2D Platformer"_s, isDark), folder.filePath(name + u".png"_s),
             smallest);
    }
    folder.mkpath(u"reference"_s);
    for (const auto &[shot, desktopName] : Gallery::references()) {
        const Gallery::Desktop desktop = Gallery::desktop(desktopName);
        if (desktop.scale == qEnvironmentVariable(scaleVariable))
            save(Likeness::summary(Gallery::picture(Gallery::shot(shot), desktop)),
                 folder.filePath(u"reference/%1-%2.png"_s.arg(shot, desktopName)), smallest);
    }
    return 0;
}

QStringList desktopsOfIllustrations()
{
    QStringList names;
    for (const Illustration &illustration : illustrations())
        names << illustration.desktop;
    return names;
}

/// Starts this program once for each scale of the named desktops, or of all: Qt reads the scale only once.
int startAll(const QStringList &commandLine, const QStringList &names)
{
    QStringList known;
    QStringList scales;
    for (const Gallery::Desktop &desktop : Gallery::desktops()) {
        known << desktop.name;
        if ((names.isEmpty() || names.contains(desktop.name)) && !scales.contains(desktop.scale))
            scales << desktop.scale;
    }
    for (const QString &name : names) {
        if (!known.contains(name)) {
            std::fprintf(stderr, "There is no desktop \"%s\", but: %s\n", qPrintable(name),
                         qPrintable(known.join(u", "_s)));
            return 2;
        }
    }
    for (const QString &scale : scales) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1StringView(scaleVariable), scale);
        process.setProcessEnvironment(environment);
        process.start(commandLine.first(), commandLine.mid(1));
        if (!process.waitForFinished(-1) || process.exitCode() != 0)
            return 1;
    }
    return 0;
}

/// Leaves out what the off-screen platform says about each window.
void print(QtMsgType, const QMessageLogContext &, const QString &message)
{
    if (!message.startsWith(u"This plugin does not support"_s))
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

}

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(print);
    QApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    const bool isForDocuments = arguments.value(1) == u"--docs"_s;
    const QString folder = arguments.value(isForDocuments ? 2 : 1);
    if (folder.isEmpty() || !QDir().mkpath(folder)) {
        std::fputs("render-states FOLDER [DESKTOP...]\n"
                   "render-states --docs FOLDER\n"
                   "Draws everything that the launcher can show into PNG files.\n",
                   stderr);
        return 2;
    }
    if (!qEnvironmentVariableIsSet(scaleVariable)) {
        arguments.first() = QCoreApplication::applicationFilePath();
        return startAll(arguments, isForDocuments ? desktopsOfIllustrations() : arguments.mid(2));
    }
    return isForDocuments ? illustrate(QDir(folder)) : takeAll(QDir(folder), arguments.mid(2));
}
