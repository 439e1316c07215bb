#pragma once

#include "Sheet.h"

/// A sheet that asks one question with two answers. The first answer accepts it; the second one rejects it,
/// as Escape does. Closes before it tells the answer.
class Question final : public Sheet {
    Q_OBJECT

public:
    struct Texts {
        QString title;
        QString message;
        QString accepting;
        QString rejecting;
    };
    enum class Default { Accept, Reject };

    /// Return gives the answer `byDefault`.
    Question(const Texts &texts, Default byDefault, QWidget *parent);

    QPushButton *accepting() const { return m_accepting; }
    QPushButton *rejecting() const { return m_rejecting; }

private:
    QPushButton *m_accepting = nullptr;
    QPushButton *m_rejecting = nullptr;
};
