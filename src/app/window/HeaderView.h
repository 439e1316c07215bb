#pragma once

#include "RefreshOnce.h"

#include <QWidget>

class AppModel;
class QVBoxLayout;
class TextLabel;

/// The banner, the title, and what is known about the game. The model outlives it.
class HeaderView final : public QWidget {
    Q_OBJECT

public:
    explicit HeaderView(AppModel &model, QWidget *parent = nullptr);

private:
    QWidget *makeFacts();
    void refresh();
    void showControls(const QStringList &controls);

    AppModel &m_model;
    TextLabel *m_introduction = nullptr;
    QWidget *m_facts = nullptr;
    TextLabel *m_blurb = nullptr;
    TextLabel *m_licence = nullptr;
    QVBoxLayout *m_controls = nullptr;
    QList<TextLabel *> m_controlLines;
    RefreshOnce m_refresh;
};
