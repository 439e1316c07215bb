#pragma once

#include "RefreshOnce.h"

#include <QPointer>
#include <QWidget>

class AboutView;
class AppModel;
class FailureView;
class LogView;
class Preferences;
class QFileDialog;
class QPushButton;
class ScrollColumn;
class SettingsView;
class TextLabel;

/// Everything in the launcher's one window, from the banner down to the row of buttons, and the two sheets.
/// The model and the preferences outlive it.
class ContentView final : public QWidget {
    Q_OBJECT

public:
    ContentView(AppModel &model, Preferences &preferences, QWidget *parent = nullptr);

    /// Opens the sheet. Does nothing if it is already open.
    void showSettings();
    void showAbout();
    /// Asks where to save a report. Does nothing if it is asking already.
    void saveReport();

    /// Adds `action` to the log's context menu.
    void addToLogMenu(QAction *action);

    QSize sizeHint() const override;

protected:
    void showEvent(QShowEvent *event) override;

private:
    QWidget *makeButtonRow();
    void refresh();
    void reveal(QWidget *view);

    AppModel &m_model;
    Preferences &m_preferences;
    ScrollColumn *m_column = nullptr;
    FailureView *m_failure = nullptr;
    TextLabel *m_notice = nullptr;
    LogView *m_log = nullptr;
    QPushButton *m_logButton = nullptr;
    QPointer<SettingsView> m_settings;
    QPointer<AboutView> m_about;
    QPointer<QFileDialog> m_reportDialog;
    RefreshOnce m_refresh;
};
