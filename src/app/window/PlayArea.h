#pragma once

#include "RefreshOnce.h"
#include "RemainingTime.h"
#include "StateFace.h"

#include <QHash>
#include <QWidget>

class AppModel;
class PlayButton;
class ProgressBlock;
class StateDot;
class TextLabel;

/// The launcher's state and the one action that goes with it: Play, progress with Cancel, or Stop. Stands in
/// the middle of its place, which can be of any size. The model outlives it.
class PlayArea final : public QWidget {
    Q_OBJECT

public:
    explicit PlayArea(AppModel &model, QWidget *parent = nullptr);

private:
    QWidget *makeStatusLine();
    QWidget *makePlayPage();
    QWidget *makeProgressPage();
    QWidget *makeStopPage();
    void refresh();
    void display(const StateFace &face);
    void show(StateFace::Action action);
    void follow(const QString &step);
    void stop();

    AppModel &m_model;
    StateDot *m_dot = nullptr;
    TextLabel *m_label = nullptr;
    TextLabel *m_needs = nullptr;
    QHash<StateFace::Action, QWidget *> m_pages;
    QWidget *m_page = nullptr;
    TextLabel *m_hint = nullptr;
    ProgressBlock *m_progress = nullptr;
    /// The step that was last announced; empty while none runs.
    QString m_step;
    RemainingTime m_remaining;
    RefreshOnce m_refresh;
};
