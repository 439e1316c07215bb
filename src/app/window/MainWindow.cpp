#include "MainWindow.h"

#include "AppModel.h"
#include "ContentView.h"
#include "CoveredWindow.h"
#include "Desktop.h"
#include "LogText.h"
#include "Sheet.h"

#include <QAction>
#include <QDialog>
#include <QMenuBar>
#include <QScreen>

namespace {

constexpr QSize smallestSize(560, 640);

}

MainWindow::MainWindow(AppModel &model, Preferences &preferences)
    : m_content(new ContentView(model, preferences))
{
    setWindowTitle(QStringLiteral("2D Platformer"));
    setCentralWidget(m_content);
    // On a screen smaller than that the content scrolls.
    setMinimumSize(smallestSize.boundedTo(screen()->availableSize()));
    resize(m_content->sizeHint().boundedTo(screen()->availableSize()));

    m_about = makeAction(QStringLiteral("About 2D Platformer"), {});
    m_settings
        = makeAction(QStringLiteral("Settings\u2026"),
                     { QKeySequence(QKeySequence::Preferences), QKeySequence(Qt::CTRL | Qt::Key_Comma) });
    m_saveReport = makeAction(QStringLiteral("Save a report\u2026"), {});
    m_content->addToLogMenu(m_saveReport);
    m_close = makeAction(QStringLiteral("Close"), QKeySequence::keyBindings(QKeySequence::Close));
    m_quit = makeAction(QStringLiteral("Quit"),
                        { QKeySequence(QKeySequence::Quit), QKeySequence(Qt::CTRL | Qt::Key_Q) });
    m_copy = makeAction(QStringLiteral("Copy"), QKeySequence::keyBindings(QKeySequence::Copy));
    const auto connectUncovered = [this](const QAction *action, void (ContentView::*verb)()) {
        connect(action, &QAction::triggered, this, [this, verb] {
            if (!Sheet::topOf(*this))
                (m_content->*verb)();
        });
    };
    connectUncovered(m_about, &ContentView::showAbout);
    connectUncovered(m_settings, &ContentView::showSettings);
    connectUncovered(m_saveReport, &ContentView::saveReport);
    connect(m_close, &QAction::triggered, this, &QWidget::close);
    connect(m_quit, &QAction::triggered, this, &QWidget::close);
    connect(m_copy, &QAction::triggered, this, [this, &model] {
        const Sheet *sheet = Sheet::topOf(*this);
        const QWidget &front = sheet ? static_cast<const QWidget &>(*sheet) : *this;
        if (LogText *text = LogText::withSelection(front))
            text->copy();
        else if (!sheet && model.failureMessage->has_value())
            model.copyFailure();
    });

    if (Desktop::current().system == Desktop::System::MacOS)
        addMenus();
    new CoveredWindow(this);
}

void MainWindow::addWaysOut(QDialog &dialog)
{
    if (const auto *window = qobject_cast<MainWindow *>(dialog.parentWidget()->window()))
        dialog.addActions({ window->m_close, window->m_quit });
    else
        dialog.addActions(dialog.parentWidget()->window()->actions());
}

QAction *MainWindow::makeAction(const QString &text, const QList<QKeySequence> &shortcuts)
{
    auto *action = new QAction(text, this);
    QList<QKeySequence> distinct;
    for (const QKeySequence &shortcut : shortcuts) {
        if (!shortcut.isEmpty() && !distinct.contains(shortcut))
            distinct.append(shortcut);
    }
    action->setShortcuts(distinct);
    addAction(action);
    return action;
}

void MainWindow::addMenus()
{
    m_about->setMenuRole(QAction::AboutRole);
    m_settings->setMenuRole(QAction::PreferencesRole);
    m_quit->setMenuRole(QAction::QuitRole);

    QMenu *file = menuBar()->addMenu(QStringLiteral("File"));
    file->addActions({ m_about, m_settings, m_saveReport, m_close, m_quit });
    QMenu *edit = menuBar()->addMenu(QStringLiteral("Edit"));
    edit->addAction(m_copy);
}
