// Draws everything that the launcher can show into PNG files, to be looked at.
//
//   render-states FOLDER

#include "Look.h"
#include "Running.h"

#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QStyle>

#include <cstdio>

namespace {

constexpr auto scaleVariable = "QT_SCALE_FACTOR";
const QStringList scales { u"1"_s, u"1.5"_s, u"2"_s };

QPalette darkPalette()
{
    QPalette palette(QColor(0x3a, 0x3b, 0x3f), QColor(0x2a, 0x2b, 0x2e));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x20, 0x23));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x8e, 0xc9));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x4d, 0xa3, 0xff));
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText }) {
        palette.setColor(role, QColor(0xee, 0xee, 0xf0));
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x84));
    }
    return palette;
}

QList<QSize> sizes()
{
    // The narrow window and the full screen show nothing new at other scales.
    if (qEnvironmentVariable(scaleVariable) == QLatin1StringView("1"))
        return { Stage::narrow, Stage::usual, { 1920, 1080 } };
    return { Stage::usual };
}

/// Takes pictures of a window with the sheet that lies over it, if any.
class Studio final {
public:
    /// `schemeName` becomes part of the names of the files in `folder`.
    Studio(const QString &folder, const QString &schemeName)
        : m_folder(folder)
        , m_schemeName(schemeName)
    {
    }

    void take(const QString &scene, QWidget &window) const
    {
        Stage::settle();
        QTest::qWait(40); // the log redraws at its own pace
        QPixmap picture = window.grab();
        if (QWidget *sheet = QApplication::activeModalWidget()) {
            QPainter painter(&picture);
            const QRect ground(QPoint(0, 0), window.size());
            painter.fillRect(ground, QColor(0, 0, 0, 60));
            QRect place(QPoint(0, 0), sheet->size());
            place.moveCenter(ground.center());
            painter.drawPixmap(place, sheet->grab());
        }
        const QString name = u"%1-%2-%3x%4@%5.png"_s.arg(scene, m_schemeName)
                                 .arg(window.width())
                                 .arg(window.height())
                                 .arg(qEnvironmentVariable(scaleVariable));
        if (!picture.save(QDir(m_folder).filePath(name)))
            qFatal("%s could not be written.", qPrintable(name));
    }

    void takeStates() const
    {
        for (const Samples::Scene &scene : Samples::scenes()) {
            for (const QSize &size : sizes()) {
                Stage stage;
                scene.set(stage.model);
                take(scene.name, stage.open(size));
            }
        }
    }

    void takeSheets() const
    {
        Running stage;
        stage.set(stage.model.info, Samples::game());
        stage.show(AppState::ready());

        stage.openAbout();
        take(u"about"_s, stage.window());
        stage.click(Button::done);

        stage.openSettings();
        take(u"settings"_s, stage.window());
        stage.click(Button::fullscreen);
        take(u"settings-fullscreen"_s, stage.window());
        stage.click(Button::removeEverything);
        stage.model.freeableBytes = 187'300'000;
        take(u"remove"_s, stage.window());
        stage.click(Button::cancel);
        stage.click(Button::done);

        stage.model.runner.isRunning = true;
        stage.show(AppState::playing());
        stage.close();
        take(u"quit"_s, stage.window());
        stage.click(Button::keepPlaying);
    }

private:
    const QString m_folder;
    const QString m_schemeName;
};

int takeAll(const QString &folder)
{
    QApplication::setStyle(u"fusion"_s);
    QApplication::setFont(Look::font(10)); // the default of most desktops
    const std::pair<QString, QPalette> schemes[] { { u"light"_s, QApplication::style()->standardPalette() },
                                                   { u"dark"_s, darkPalette() } };
    for (const auto &[name, palette] : schemes) {
        QApplication::setPalette(palette);
        const Studio studio(folder, name);
        studio.takeStates();
        studio.takeSheets();
    }
    return 0;
}

/// Starts one process for each scale, as Qt reads the scale only once.
int startAll(const QString &program, const QString &folder)
{
    for (const QString &scale : scales) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1StringView(scaleVariable), scale);
        process.setProcessEnvironment(environment);
        process.start(program, { folder });
        if (!process.waitForFinished(-1) || process.exitCode() != 0)
            return 1;
    }
    return 0;
}

}

int main(int argc, char *argv[])
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2 || !QDir().mkpath(arguments.at(1))) {
        std::fputs("render-states FOLDER\nDraws everything that the launcher can show into PNG files.\n",
                   stderr);
        return 2;
    }
    if (qEnvironmentVariableIsSet(scaleVariable))
        return takeAll(arguments.at(1));
    return startAll(QCoreApplication::applicationFilePath(), arguments.at(1));
}
