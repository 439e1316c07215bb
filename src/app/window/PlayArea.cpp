#include "PlayArea.h"

#include "AppModel.h"
#include "HeldKey.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "StateDot.h"
#include "StopButton.h"
#include "TextLabel.h"

#include <QHBoxLayout>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

int page(StateFace::Action action) { return static_cast<int>(action); }

}

PlayArea::PlayArea(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_needs(new TextLabel(TextStyle::Body, Ink::Failure))
    , m_action(new QStackedWidget)
    , m_refresh(this, [this] { refresh(); })
{
    m_needs->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_action->insertWidget(page(StateFace::Action::Play), makePlayPage());
    m_action->insertWidget(page(StateFace::Action::Progress), makeProgressPage());
    m_action->insertWidget(page(StateFace::Action::Stop), makeStopPage());

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);
    column->addWidget(makeStatusLine());
    column->addWidget(m_needs);
    column->addWidget(m_action);

    new HeldKey(this);
    m_refresh.watch(m_model);
    m_refresh.watch(m_model.runner);
    refresh();
}

QWidget *PlayArea::makeStatusLine()
{
    m_dot = new StateDot;
    m_label = new TextLabel(TextStyle::Headline);
    auto *line = new QWidget;
    auto *row = new QHBoxLayout(line);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addStretch();
    row->addWidget(m_dot, 0, Qt::AlignVCenter);
    row->addWidget(m_label, 0, Qt::AlignVCenter);
    row->addStretch();
    return line;
}

QWidget *PlayArea::makePlayPage()
{
    auto *play = new PlayButton;
    connect(play, &QPushButton::clicked, this, [this] { m_model.play(); });
    m_hint = new TextLabel(TextStyle::Caption, Ink::Secondary);
    m_hint->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_hint->display(
        QStringLiteral("Downloads the game and the Godot engine once, about 60 MB. Nothing to type."));

    auto *widget = new QWidget;
    auto *column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    column->addWidget(play, 0, Qt::AlignHCenter);
    column->addWidget(m_hint);
    column->addStretch();
    return widget;
}

QWidget *PlayArea::makeProgressPage()
{
    m_progress = new ProgressBlock;
    connect(m_progress, &ProgressBlock::cancelPressed, this, [this] { m_model.cancel(); });
    auto *widget = new QWidget;
    auto *row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_progress);
    return widget;
}

QWidget *PlayArea::makeStopPage()
{
    auto *button = new StopButton;
    connect(button, &QPushButton::clicked, this, &PlayArea::stop);

    auto *widget = new QWidget;
    auto *column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(button, 0, Qt::AlignHCenter);
    column->addStretch();
    return widget;
}

void PlayArea::refresh()
{
    const StateFace face = stateFace(m_model.state, m_model.failureMessage->has_value());
    m_dot->display(face.dot);
    m_label->display(face.label);
    m_needs->display(face.needsText);
    m_needs->setVisible(!face.needsText.isEmpty());
    m_hint->setVisible(face.showsHint);
    m_progress->display(m_model.stepText, m_model.progress, m_model.progressDetail);
    show(face.action);
    follow(face.action == StateFace::Action::Play ? QString() : m_model.stepText.get());
}

/// Announces a new step, and measures how long the running one will take.
void PlayArea::follow(const QString &step)
{
    const bool isNew = step != m_step;
    m_step = step;
    if (isNew)
        m_remaining = RemainingTime();
    m_remaining.update(RemainingTime::Clock::now(), m_model.progress);
    m_progress->displayRemainingTime(m_remaining.text());
    if (isNew && !step.isEmpty())
        m_progress->announceStep();
}

void PlayArea::show(StateFace::Action action)
{
    QWidget *before = m_action->currentWidget();
    QWidget *after = m_action->widget(page(action));
    const QWidget *focused = window()->focusWidget();
    if (after != before && focused && before->isAncestorOf(focused)) {
        // Move the focus directly. If the old button is hidden first, some other button gets the focus for a
        // moment and a screen reader announces it.
        after->setGeometry(before->geometry());
        after->show();
        after->findChild<QPushButton *>()->setFocus();
    }
    m_action->setCurrentWidget(after);
}

void PlayArea::stop()
{
    switch (stopTarget(m_model.runner.isRunning)) {
    case StopTarget::Game:
        m_model.runner.stop();
        break;
    case StopTarget::Start:
        m_model.cancel();
        break;
    }
}
