#include "ContentView.h"

#include "AboutView.h"
#include "AppModel.h"
#include "FailureView.h"
#include "HeaderView.h"
#include "LogView.h"
#include "Measures.h"
#include "PlayArea.h"
#include "PlayButton.h"
#include "ReportDialog.h"
#include "ScrollColumn.h"
#include "SettingsView.h"
#include "TextButton.h"
#include "TextLabel.h"

#include <QHBoxLayout>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr QSize idealSize(600, 720);

/// The spare height goes to the failure until it shows all of its lines. What is left surrounds the action.
constexpr int failureStretch = 1000;
constexpr int actionStretch = 1;

}

ContentView::ContentView(AppModel &model, Preferences &preferences, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_preferences(preferences)
    , m_column(new ScrollColumn(Measures::padding, Measures::blockSpacing))
    , m_failure(new FailureView(model))
    , m_notice(new TextLabel(TextStyle::Callout, Ink::Secondary))
    , m_log(new LogView(model.log))
    , m_refresh(this, [this] { refresh(); })
{
    QVBoxLayout *column = m_column->column();
    column->addWidget(new HeaderView(model));
    column->addWidget(new PlayArea(model), actionStretch);
    // From here on everything stands on the foot of the window, whatever comes and goes above it.
    column->addWidget(m_failure, failureStretch);
    column->addWidget(m_notice);
    column->addWidget(m_log);
    column->addWidget(makeButtonRow());

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_column);

    m_failure->hide();
    m_log->hide();
    m_refresh.watch(m_model);
    refresh();
}

void ContentView::showSettings()
{
    if (m_settings && m_settings->isVisible())
        return;
    m_settings = new SettingsView(m_model, m_preferences, this);
    m_settings->open();
}

void ContentView::showAbout()
{
    if (m_about && m_about->isVisible())
        return;
    m_about = new AboutView(m_model, this);
    m_about->open();
}

void ContentView::saveReport()
{
    if (m_reportDialog && m_reportDialog->isVisible())
        return;
    m_reportDialog = makeReportDialog(this);
    connect(m_reportDialog, &QFileDialog::fileSelected, &m_model, &AppModel::saveReport);
    m_reportDialog->open();
}

void ContentView::addToLogMenu(QAction *action) { m_log->addAction(action); }

QSize ContentView::sizeHint() const { return idealSize; }

void ContentView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // Players start the launcher to play, so Return presses Play.
    if (auto *play = findChild<PlayButton *>(); play && !focusWidget())
        play->setFocus();
}

QWidget *ContentView::makeButtonRow()
{
    m_logButton = new TextButton;
    QPushButton *settings = new TextButton(QStringLiteral("Settings\u2026"));
    QPushButton *about = new TextButton(QStringLiteral("About"));
    connect(m_logButton, &QPushButton::clicked, this, [this] { m_model.showLog = !m_model.showLog.get(); });
    connect(settings, &QPushButton::clicked, this, &ContentView::showSettings);
    connect(about, &QPushButton::clicked, this, &ContentView::showAbout);

    auto *row = new QWidget;
    auto *buttons = new QHBoxLayout(row);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(Measures::neighbourSpacing);
    buttons->addStretch();
    for (QPushButton *button : { m_logButton, settings, about }) {
        button->setAutoDefault(true);
        buttons->addWidget(button);
    }
    buttons->addStretch();
    return row;
}

void ContentView::refresh()
{
    const bool failed = m_model.failureMessage->has_value();
    if (failed != !m_failure->isHidden()) {
        m_failure->setVisible(failed);
        if (failed)
            reveal(m_failure);
    }

    m_notice->display(m_model.notice->value_or(QString()));
    m_notice->setVisible(m_model.notice->has_value());

    const bool showsLog = m_model.showLog;
    m_logButton->setText(showsLog ? QStringLiteral("Hide log") : QStringLiteral("Show log"));
    if (showsLog != !m_log->isHidden()) {
        m_log->setVisible(showsLog);
        if (showsLog)
            reveal(m_logButton); // and with it the log right above
    }
}

void ContentView::reveal(QWidget *view)
{
    // Deferred until the column has laid it out.
    QTimer::singleShot(0, view, [this, view] { m_column->reveal(*view); });
}
