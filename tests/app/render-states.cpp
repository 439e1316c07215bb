// Draws everything that the launcher can show into PNG files, to be looked at.
//
//   render-states FOLDER

#include "AppDelegate.h"
#include "Stage.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QStyle>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr auto scaleVariable = "QT_SCALE_FACTOR";
const QStringList scales { u"1"_s, u"1.5"_s, u"2"_s };

struct Scheme {
    QString name;
    QPalette palette;
};

QPalette darkPalette()
{
    QPalette palette;
    const QColor ground(0x2a, 0x2b, 0x2e);
    const QColor text(0xee, 0xee, 0xf0);
    palette = QPalette(QColor(0x3a, 0x3b, 0x3f), ground);
    palette.setColor(QPalette::Base, QColor(0x1f, 0x20, 0x23));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x8e, 0xc9));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x4d, 0xa3, 0xff));
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText }) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x80, 0x84));
    }
    return palette;
}

QList<Scheme> schemes()
{
    return { { u"light"_s, QApplication::style()->standardPalette() }, { u"dark"_s, darkPalette() } };
}

QList<QSize> sizes()
{
    // The narrow window and the full screen show nothing new at other scales.
    if (qEnvironmentVariable(scaleVariable) == QLatin1StringView("1"))
        return { { 560, 640 }, { 600, 720 }, { 1920, 1080 } };
    return { { 600, 720 } };
}

class Studio final {
public:
    explicit Studio(const QString &folder)
        : m_folder(folder)
    {
    }

    void take(const QString &scene, const Scheme &scheme, QWidget &window)
    {
        Stage::settle();
        QTest::qWait(40); // the log redraws at its own pace
        QPixmap picture = window.grab();
        if (QWidget *sheet = topSheet()) {
            QPainter painter(&picture);
            const QRect ground(QPoint(0, 0), window.size());
            painter.fillRect(ground, QColor(0, 0, 0, 60));
            const QPixmap onTop = sheet->grab();
            QRect place(QPoint(0, 0), sheet->size());
            place.moveCenter(ground.center());
            painter.drawPixmap(place, onTop);
        }
        const QString name = u"%1-%2-%3x%4@%5.png"_s.arg(scene, scheme.name)
                                 .arg(window.width())
                                 .arg(window.height())
                                 .arg(qEnvironmentVariable(scaleVariable));
        if (!picture.save(QDir(m_folder).filePath(name)))
            qFatal("%s could not be written.", qPrintable(name));
    }

    void takeStates(const Scheme &scheme)
    {
        for (const Samples::Scene &scene : Samples::scenes()) {
            for (const QSize &size : sizes()) {
                Stage stage;
                scene.set(stage.model);
                take(scene.name, scheme, stage.open(size));
            }
        }
    }

    void takeSheets(const Scheme &scheme)
    {
        Stage stage;
        stage.model.info = Samples::game();
        stage.model.state = AppState::ready();
        MainWindow &window = stage.open();

        stage.openAbout();
        take(u"about"_s, scheme, window);
        stage.click(Button::done);

        stage.openSettings();
        take(u"settings"_s, scheme, window);
        stage.click(Button::fullscreen);
        take(u"settings-fullscreen"_s, scheme, window);
        stage.click(Button::removeEverything);
        stage.model.freeableBytes = 187'300'000;
        take(u"remove"_s, scheme, window);
        stage.click(Button::cancel);
        stage.click(Button::done);

        AppDelegate delegate([] {});
        delegate.attach(stage.model, window);
        window.hide();
        window.show();
        stage.model.runner.isRunning = true;
        stage.model.state = AppState::playing();
        window.close();
        take(u"quit"_s, scheme, window);
        stage.click(Button::keepPlaying);
    }

private:
    static QWidget *topSheet() { return QApplication::activeModalWidget(); }

    QString m_folder;
};

int takeAll(const QString &folder)
{
    QApplication::setStyle(u"fusion"_s);
    QFont font = QApplication::font();
    font.setPointSizeF(10); // the default of most desktops
    QApplication::setFont(font);
    Studio studio(folder);
    for (const Scheme &scheme : schemes()) {
        QApplication::setPalette(scheme.palette);
        studio.takeStates(scheme);
        studio.takeSheets(scheme);
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
