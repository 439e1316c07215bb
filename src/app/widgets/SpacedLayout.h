#pragma once

#include <QPlainTextDocumentLayout>

/// The layout of a plain text whose lines are further apart than their font asks for, which Qt's own cannot
/// do. The document, whose margin must be 0, owns it. Main thread.
class SpacedLayout final : public QPlainTextDocumentLayout {
    Q_OBJECT

public:
    explicit SpacedLayout(QTextDocument *document);

    /// The least height of a line, in device-independent pixels. What its letters do not need is shared out
    /// above and below them.
    void setLineHeight(double height);
    double heightOf(const QTextLine &line) const;

    QRectF blockBoundingRect(const QTextBlock &block) const override;

private:
    double m_lineHeight = 0;
};
