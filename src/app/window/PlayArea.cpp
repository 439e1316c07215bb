#include "PlayArea.h"

#include "AppModel.h"
#include "CrossFade.h"
#include "HeldKey.h"
#include "Measures.h"
#include "PlayButton.h"
#include "ProgressBlock.h"
#include "StateDot.h"
#include "StopButton.h"
#include "TextLabel.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>

namespace {

/// Between the state and a button, and between Play and its hint.
constexpr int spacing = 10;
/// Between the state and texts.
constexpr int textSpacing = 6;

}

PlayArea::PlayArea(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_needs(new TextLabel(TextStyle::Body, Ink::Failure))
    , m_refresh(this, [this] { refresh(); })
{
    m_needs->setAlignment(Qt::AlignHCenter | Qt::AlignTop);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(textSpacing);
    column->addStretch();
    column->addWidget(makeStatusLine());
    column->addWidget(m_needs);
    m_pages = { { StateFace::Action::Play, makePlayPage() },
                { StateFace::Action::Progress, makeProgressPage() },
                { StateFace::Action::Stop, makeStopPage() } };
    for (QWidget *page : std::as_const(m_pages)) {
        page->hide();
        column->addWidget(page);
    }
    column->addStretch();

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
    row->setSpacing(Measures::neighbourSpacing);
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
    column->setContentsMargins(0, spacing - textSpacing, 0, 0);
    column->setSpacing(spacing);
    column->addWidget(play, 0, Qt::AlignHCenter);
    column->addWidget(m_hint);
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
    column->setContentsMargins(0, spacing - textSpacing, 0, 0);
    column->addWidget(button, 0, Qt::AlignHCenter);
    return widget;
}

void PlayArea::refresh()
{
    const StateFace face = stateFace(m_model.state, m_model.failureMessage->has_value());
    if (!m_page || m_page == m_pages.value(face.action))
        display(face);
    else
        CrossFade::during(*this, [&] { display(face); });
}

void PlayArea::display(const StateFace &face)
{
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
    QWidget *before = std::exchange(m_page, m_pages.value(action));
    if (m_page == before)
        return;
    const QWidget *focused = window()->focusWidget();
    const bool hadFocus = focused && before && before->isAncestorOf(focused);
    if (before)
        m_page->setGeometry(before->geometry());
    m_page->show();
    // Move the focus directly. If the old button is hidden first, some other button gets the focus for a
    // moment and a screen reader announces it.
    if (hadFocus)
        m_page->findChild<QPushButton *>()->setFocus();
    if (before)
        before->hide();
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
