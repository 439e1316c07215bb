// Draws everything that the launcher can show into PNG files, to be looked at.
//
//   render-states FOLDER [DESKTOP...]

#include "ContactSheet.h"
#include "Gallery.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>

#include <cstdio>

namespace {

constexpr auto scaleVariable = "QT_SCALE_FACTOR";

QList<Gallery::Desktop> desktops()
{
    using enum Appearance::Scheme;
    constexpr auto high = Appearance::Contrast::High;
    const QString oneAndAHalf = u"1.5"_s;
    const QString two = u"2"_s;
    return {
        { .name = u"light"_s },
        { .name = u"dark"_s, .scheme = Dark },
        { .name = u"high-contrast-light"_s, .contrast = high },
        { .name = u"high-contrast-dark"_s, .scheme = Dark, .contrast = high },
        { .name = u"right-to-left"_s, .direction = Qt::RightToLeft },
        { .name = u"font-16"_s, .text = 16 },
        { .name = u"font-20"_s, .scheme = Dark, .text = 20 },
        { .name = u"text-200"_s, .text = 26 },
        { .name = u"text-200-narrow"_s, .scheme = Dark, .size = Stage::narrow, .text = 26 },
        { .name = u"narrow"_s, .size = Stage::narrow },
        { .name = u"wide"_s, .size = { 1920, 1080 } },
        { .name = u"light-150"_s, .scale = oneAndAHalf },
        { .name = u"dark-150"_s, .scheme = Dark, .scale = oneAndAHalf },
        { .name = u"light-200"_s, .scale = two },
        { .name = u"dark-200"_s, .scheme = Dark, .scale = two },
    };
}

void save(const QImage &picture, const QString &file)
{
    constexpr int fastest = 80; // the file is a little larger
    if (!picture.save(file, nullptr, fastest))
        qFatal("%s could not be written.", qPrintable(file));
}

/// Each state on `desktop`, as a file of its own in a folder and together on one sheet.
void take(const QDir &folder, const Gallery::Desktop &desktop)
{
    QElapsedTimer timer;
    timer.start();
    folder.mkpath(desktop.name);
    QList<ContactSheet::Entry> entries;
    for (const Gallery::Shot &shot : Gallery::shots()) {
        const QImage picture = Gallery::picture(shot, desktop);
        save(picture, folder.filePath(desktop.name + u'/' + shot.name + u".png"_s));
        entries.append({ shot.name, picture });
    }
    const qint64 shown = timer.elapsed();
    save(ContactSheet::draw(desktop.name, entries), folder.filePath(desktop.name + u".png"_s));
    std::printf("%s %lld ms, sheet %lld ms\n", qPrintable(desktop.name), shown, timer.elapsed() - shown);
}

int takeAll(const QDir &folder, const QStringList &names)
{
    for (const Gallery::Desktop &desktop : desktops()) {
        if (desktop.scale == qEnvironmentVariable(scaleVariable)
            && (names.isEmpty() || names.contains(desktop.name)))
            take(folder, desktop);
    }
    return 0;
}

/// Starts one process for each scale, as Qt reads the scale only once.
int startAll(const QStringList &arguments)
{
    const QStringList names = arguments.mid(2);
    QStringList known;
    QStringList scales;
    for (const Gallery::Desktop &desktop : desktops()) {
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
        process.start(arguments.first(), arguments.mid(1));
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
    if (arguments.size() < 2 || !QDir().mkpath(arguments.at(1))) {
        std::fputs("render-states FOLDER [DESKTOP...]\n"
                   "Draws everything that the launcher can show into PNG files.\n",
                   stderr);
        return 2;
    }
    if (qEnvironmentVariableIsSet(scaleVariable))
        return takeAll(QDir(arguments.at(1)), arguments.mid(2));
    arguments.first() = QCoreApplication::applicationFilePath();
    return startAll(arguments);
}
