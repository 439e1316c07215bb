#include "SpacedLayout.h"

#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

SpacedLayout::SpacedLayout(QTextDocument *document)
    : QPlainTextDocumentLayout(document)
{
}

void SpacedLayout::setLineHeight(double height) { m_lineHeight = height; }

double SpacedLayout::heightOf(const QTextLine &line) const { return std::max(m_lineHeight, line.height()); }

QRectF SpacedLayout::blockBoundingRect(const QTextBlock &block) const
{
    // Lays the block out, if it is not. Whatever draws or measures a block asks for its bounds first.
    QRectF bounds = QPlainTextDocumentLayout::blockBoundingRect(block);
    if (bounds.isNull())
        return bounds;
    const QTextLayout *layout = block.layout();
    double top = 0;
    for (int index = 0; index < layout->lineCount(); ++index) {
        QTextLine line = layout->lineAt(index);
        const double height = heightOf(line);
        // On whole pixels, as letters are.
        line.setPosition({ line.x(), top + std::floor((height - line.height()) / 2) });
        top += height;
    }
    bounds.setHeight(top);
    return bounds;
}
