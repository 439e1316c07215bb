#pragma once

#include "LogText.h"
#include "Running.h"

#include <QComboBox>
#include <QContextMenuEvent>
#include <QMenu>
#include <QPainter>

/// Everything that the window can show, with its sheets, on every desktop that matters: for the pictures, and
/// for the tests that read them. Nothing moves in them.
namespace Gallery {

/// What a player chose for the desktop and the window.
struct Desktop {
    QString name = {};
    Appearance::Scheme scheme = Appearance::Scheme::Light;
    Appearance::Contrast contrast = Appearance::Contrast::Normal;
    QSize size = Stage::usual;
    /// The height of the desktop's own text, in device-independent pixels.
    int text = 13;
    Qt::LayoutDirection direction = Qt::LeftToRight;
    /// How many pixels make up a device-independent one. The environment decides, before the program starts.
    QString scale = u"1"_s;
    QColor accent = {};
};

/// The ones that pictures are taken of.
inline QList<Desktop> desktops()
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

inline Desktop desktop(const QString &name)
{
    for (const Desktop &desktop : desktops()) {
        if (desktop.name == name)
            return desktop;
    }
    throw std::runtime_error("There is no desktop named " + name.toStdString());
}

inline LauncherStyle &style()
{
    auto *style = qobject_cast<LauncherStyle *>(QApplication::style());
    if (!style) {
        style = new LauncherStyle(Appearance());
        QApplication::setStyle(style);
    }
    return *style;
}

/// Changes the desktop for the windows that are open, and for those to come.
inline void apply(const Desktop &desktop)
{
    style().setAppearance({ .scheme = desktop.scheme,
                            .contrast = desktop.contrast,
                            .motion = Appearance::Motion::Reduced,
                            .accent = desktop.accent });
    QFont font = QApplication::font();
    font.setPixelSize(desktop.text);
    if (font != QApplication::font())
        QApplication::setFont(font);
    if (desktop.direction != QGuiApplication::layoutDirection())
        QGuiApplication::setLayoutDirection(desktop.direction);
}

/// One thing that the window can show.
struct Shot {
    QString name;
    std::function<void(Running &)> show;
};

inline QList<Shot> shots()
{
    QList<Shot> all;
    for (const Samples::Scene &scene : Samples::scenes())
        all.append({ scene.name, [scene](Running &stage) {
                        scene.set(stage.model);
                        Stage::settle();
                    } });
    const auto add = [&all](const QString &name, const std::function<void(Running &)> &show) {
        all.append({ name, [show](Running &stage) {
                        stage.set(stage.model.info, Samples::game());
                        stage.show(AppState::ready());
                        show(stage);
                    } });
    };
    add(u"about"_s, [](Running &stage) { stage.openAbout(); });
    add(u"settings"_s, [](Running &stage) { stage.openSettings(); });
    add(u"settings-fullscreen"_s, [](Running &stage) {
        stage.openSettings();
        stage.click(Button::fullscreen);
    });
    add(u"settings-notice"_s, [](Running &stage) {
        stage.openSettings();
        stage.set(stage.model.notice, Samples::noSaves);
    });
    add(u"settings-sizes"_s, [](Running &stage) {
        stage.openSettings();
        Stage::visible<QComboBox>(*stage.front())->showPopup();
        Stage::settle();
    });
    add(u"remove"_s, [](Running &stage) {
        stage.openSettings();
        stage.click(Button::removeEverything);
        stage.set(stage.model.freeableBytes, 187'300'000);
    });
    add(u"log-menu"_s, [](Running &stage) {
        stage.model.log.lines = Samples::lines(30);
        stage.set(stage.model.showLog, true);
        auto *text = stage.visible<LogText>();
        text->selectAll();
        const QPoint middle = text->viewport()->rect().center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, middle, text->viewport()->mapToGlobal(middle));
        QCoreApplication::sendEvent(text->viewport(), &event);
        Stage::settle();
        if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget()))
            menu->setActiveAction(menu->actions().first());
    });
    add(u"quit"_s, [](Running &stage) {
        stage.model.runner.isRunning = true;
        stage.show(AppState::playing());
        stage.close();
    });
    return all;
}

inline Shot shot(const QString &name)
{
    for (const Shot &shot : shots()) {
        if (shot.name == name)
            return shot;
    }
    throw std::runtime_error("There is no picture named " + name.toStdString());
}

/// What is stored, to notice when it looks different: the name of a shot and that of a desktop.
inline QList<std::pair<QString, QString>> references()
{
    QList<std::pair<QString, QString>> all;
    const auto add = [&all](const QString &desktop, const QStringList &shots) {
        for (const QString &shot : shots)
            all.append({ shot, desktop });
    };
    add(u"light"_s,
        { u"not-downloaded"_s, u"downloading"_s, u"setting-up"_s, u"ready-wordy"_s, u"playing"_s,
          u"needs-something"_s, u"failure-short"_s, u"failure-log"_s, u"log-full"_s, u"about"_s,
          u"settings-fullscreen"_s, u"settings-notice"_s, u"settings-sizes"_s, u"remove"_s, u"quit"_s });
    add(u"dark"_s, { u"downloading"_s, u"playing"_s, u"failure-long"_s, u"settings"_s });
    add(u"high-contrast-light"_s, { u"failure-long"_s, u"settings"_s });
    add(u"right-to-left"_s, { u"downloading"_s, u"playing"_s, u"settings"_s });
    add(u"text-200-narrow"_s, { u"settings"_s });
    return all;
}

/// The window as the player sees it, with an open menu or list.
inline QImage picture(Running &stage)
{
    QPixmap picture = stage.window().grab();
    if (QWidget *popup = QApplication::activePopupWidget()) {
        QPainter painter(&picture);
        painter.drawPixmap(stage.window().mapFromGlobal(popup->mapToGlobal(QPoint(0, 0))), popup->grab());
    }
    return picture.toImage();
}

/// Calls `look` with a window that shows `shot` on `desktop`.
inline void show(const Shot &shot, const Desktop &desktop, const std::function<void(Running &)> &look)
{
    apply(desktop);
    Running stage;
    stage.window().resize(desktop.size);
    // Only an active window shows its focus. The off-screen platform does not notice that this one was
    // hidden, and thus would not make it active again.
    QApplication::setActiveWindow(&stage.window());
    Stage::settle();
    shot.show(stage);
    look(stage);
}

inline QImage picture(const Shot &shot, const Desktop &desktop)
{
    QImage result;
    show(shot, desktop, [&result](Running &stage) { result = picture(stage); });
    return result;
}

}
