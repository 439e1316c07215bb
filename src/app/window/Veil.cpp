#include "Veil.h"

#include "Measures.h"
#include "Sheet.h"
#include "Tokens.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include <algorithm>

namespace {

/// How far the shadow reaches beyond the sheet, how far below it lies, and its darkness at the sheet's lower
/// edge compared with its middle, which nobody sees.
constexpr int shadowReach = 48;
constexpr int shadowOffset = 18;
constexpr float shadowShare = 0.75F;
/// Between two of the outlines that the shadow is made of.
constexpr int shadowStep = 2;

/// Paints one outline within the other, each a little darker, which costs less than to blur one.
void paintShadow(QPainter &painter, const QRectF &sheet, const QColor &colour)
{
    constexpr int outlines = (shadowReach + shadowOffset) / shadowStep;
    QColor share = colour;
    for (int outline = 0; outline < outlines; ++outline) {
        // The closer to the sheet, the steeper.
        const float steepness = 2 * static_cast<float>(outline + 1) / (outlines * (outlines + 1));
        share.setAlphaF(colour.alphaF() * shadowShare * steepness);
        painter.setBrush(share);
        const double distance = shadowReach - outline * shadowStep;
        const double radius = Measures::sheetRadius + distance;
        painter.drawRoundedRect(
            sheet.translated(0, shadowOffset).adjusted(-distance, -distance, distance, distance), radius,
            radius);
    }
}

}

Veil::Veil(QWidget &window)
    : QWidget(&window)
{
    setAttribute(Qt::WA_NoMousePropagation);
    hide();
    window.installEventFilter(this);
}

Veil::~Veil()
{
    // Not by QWidget's destructor: the sheet still needs its veil.
    delete findChild<Sheet *>(QString(), Qt::FindDirectChildrenOnly);
}

void Veil::spread(Sheet &sheet)
{
    m_sheet = &sheet;
    cover();
    raise();
    show();
}

void Veil::cover()
{
    setGeometry(parentWidget()->rect());
    m_top.reset();
    place();
}

void Veil::place()
{
    constexpr int margin = Measures::padding;
    const QRect room = rect().adjusted(margin, margin, -margin, -margin);
    const int width = std::min(Sheet::usualWidth, room.width());
    QRect wanted(QPoint(0, 0), QSize(width, std::min(m_sheet->heightFor(width), room.height())));
    wanted.moveCenter(room.center());
    if (m_top)
        wanted.moveTop(std::clamp(*m_top, room.top(), room.bottom() + 1 - wanted.height()));
    else
        m_top = wanted.top();
    if (wanted == m_sheet->geometry())
        return;
    m_sheet->setGeometry(wanted);
    update(); // the shadow
}

bool Veil::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && watched == parent() && isVisible())
        cover();
    return QWidget::eventFilter(watched, event);
}

void Veil::paintEvent(QPaintEvent *)
{
    const Tokens &tokens = Tokens::of(*this);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tokens.veil);
    if (const Sheet *below = Sheet::below(*m_sheet))
        painter.drawRoundedRect(below->geometry(), Measures::sheetRadius, Measures::sheetRadius);
    else
        painter.drawRect(rect());
    paintShadow(painter, m_sheet->geometry(), tokens.shadow);
}

void Veil::wheelEvent(QWheelEvent *event) { event->accept(); }
