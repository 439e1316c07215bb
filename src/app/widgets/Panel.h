#pragma once

#include <QWidget>

/// A ground with rounded corners and a hairline around it, painted over whatever is behind it.
class Panel final : public QWidget {
    Q_OBJECT

public:
    enum class Kind {
        /// Log lines stand in it.
        Well,
        /// A failure stands in it, and the well with its lines.
        Failure,
    };

    explicit Panel(Kind kind, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const Kind m_kind;
};
