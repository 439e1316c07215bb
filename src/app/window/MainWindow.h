#pragma once

#include <QMainWindow>

class AppModel;
class ContentView;
class QDialog;
class Preferences;

/// The launcher's one window: its title, its size limits, the usual shortcuts and, where the desktop has one,
/// the menu bar. The model and the preferences outlive it.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    MainWindow(AppModel &model, Preferences &preferences);

    /// Makes the Close and Quit shortcuts work in `dialog`, a window of its own, too. `dialog` must have a
    /// parent.
    static void addWaysOut(QDialog &dialog);

private:
    QAction *makeAction(const QString &text, const QList<QKeySequence> &shortcuts);
    void addMenus();

    ContentView *m_content = nullptr;
    QAction *m_about = nullptr;
    QAction *m_settings = nullptr;
    QAction *m_saveReport = nullptr;
    QAction *m_close = nullptr;
    QAction *m_quit = nullptr;
    QAction *m_copy = nullptr;
};
