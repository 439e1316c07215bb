#pragma once

#include <QWidget>

#include <optional>

class QProgressBar;
class QPushButton;
class TextLabel;

/// What an action is doing and how far it has got, with a Cancel button. Passive: it shows what it is given.
class ProgressBlock final : public QWidget {
    Q_OBJECT

public:
    explicit ProgressBlock(QWidget *parent = nullptr);

    /// `fraction` is from 0 to 1; without a value the progress is indeterminate.
    void display(const QString &step, std::optional<double> fraction, const QString &detail);
    /// Says how long it will take, where the player asks for it: with the pointer, or a screen reader. Empty
    /// when that is unknown.
    void displayRemainingTime(const QString &text);
    /// Tells screen readers which step has begun.
    void announceStep();

Q_SIGNALS:
    void cancelPressed();

private:
    TextLabel *m_step = nullptr;
    QProgressBar *m_bar = nullptr;
    TextLabel *m_detail = nullptr;
};
