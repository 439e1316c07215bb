#include "Sheet.h"

#include "AppModel.h"
#include "Fade.h"
#include "MainWindow.h"
#include "Measures.h"
#include "ScrollColumn.h"
#include "SteadyButton.h"
#include "TextLabel.h"
#include "Tokens.h"
#include "Veil.h"

#include <QAccessible>
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace {

using Measures::padding;

/// What scrolls ends this far below the sheet's upper edge, clear of its round corners.
constexpr int topInset = 8;
/// Below the last of what scrolls, so that the ring around the focus is not cut off.
constexpr int roomForRing = Measures::focusGap + Measures::focusRing;
/// How much of the screen's height a sheet with a window of its own may take before it scrolls.
constexpr double shareOfScreen = 0.9;
/// A notice with less room than that stands above the buttons, not beside them.
constexpr int charactersOfNotice = 20;

class Divider final : public QWidget {
public:
    Divider() { setFixedHeight(Measures::hairline); }

protected:
    void paintEvent(QPaintEvent *) override { QPainter(this).fillRect(rect(), Tokens::of(*this).divider); }
};

/// The veil for a sheet of the launcher's window. Null where the parent is in a dialog that has a window of
/// its own and may be the desktop's: nothing can be put into that.
Veil *veilFor(const QWidget &parent)
{
    QWidget &window = *parent.window();
    return qobject_cast<QDialog *>(&window) ? nullptr : new Veil(window);
}

/// The veils of a window that are in use, the lowest first.
QList<Veil *> veilsOf(const QWidget &window)
{
    QList<Veil *> veils = window.findChildren<Veil *>(QString(), Qt::FindDirectChildrenOnly);
    veils.removeIf([](const Veil *veil) { return veil->isHidden(); });
    return veils;
}

bool takesFocus(const QWidget &widget)
{
    return widget.isVisible() && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus);
}

/// `widget`, or where it cannot take the focus any more, the nearest one that can: what took its place.
QWidget *nearestTo(QWidget *widget)
{
    for (QWidget *area = widget; area; area = area->parentWidget()) {
        if (takesFocus(*area))
            return area;
        if (!area->isVisible())
            continue;
        const auto parts = area->findChildren<QWidget *>();
        const auto part
            = std::find_if(parts.begin(), parts.end(), [](const QWidget *each) { return takesFocus(*each); });
        if (part != parts.end())
            return *part;
    }
    return nullptr;
}

int widthOf(const QBoxLayout &row)
{
    int width = 0;
    for (int index = 0; index < row.count(); ++index) {
        if (const auto *button = qobject_cast<QPushButton *>(row.itemAt(index)->widget()))
            width += button->sizeHint().width() + (index > 0 ? row.spacing() : 0);
    }
    return width;
}

}

Sheet::Sheet(const QString &title, int spacing, QWidget *parent)
    : QDialog(parent)
    , m_veil(veilFor(*parent))
    , m_column(new ScrollColumn(padding, spacing))
    , m_foot(new QVBoxLayout)
    , m_lastRow(new QBoxLayout(QBoxLayout::RightToLeft))
    , m_notice(new TextLabel(TextStyle::Callout, Ink::Secondary))
    , m_noticeRefresh(this, [this] { refreshNotice(); })
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    setAccessibleName(title);
    if (m_veil) {
        // A part of its window, in which Tab goes around. It would otherwise appear together with the veil.
        QDialog::setVisible(false);
        setParent(m_veil, Qt::SubWindow);
    } else {
        setWindowModality(Qt::WindowModal);
        MainWindow::addWaysOut(*this);
    }

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, topInset, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_column, 1);
    column()->setContentsMargins(padding, padding - topInset, padding, roomForRing);
    m_foot->setContentsMargins(padding, spacing - roomForRing, padding, padding);
    m_foot->addLayout(m_lastRow);
    // QFocusFrame leaves out the children of a sub-window, but not theirs.
    auto *foot = new QWidget;
    foot->setLayout(m_foot);
    layout->addWidget(foot);
    m_notice->hide();
}

Sheet::~Sheet()
{
    qApp->disconnect(this);
    hide(); // while it still is a sheet
    if (m_veil)
        m_veil->deleteLater();
}

Sheet *Sheet::topOf(const QWidget &window)
{
    const QList<Veil *> veils = veilsOf(window);
    return veils.isEmpty() ? nullptr : veils.last()->sheet();
}

Sheet *Sheet::below(const Sheet &sheet)
{
    const QList<Veil *> veils = veilsOf(*sheet.window());
    const auto index = veils.indexOf(sheet.m_veil.data());
    return index > 0 ? veils.at(index - 1)->sheet() : nullptr;
}

QVBoxLayout *Sheet::column() const { return m_column->column(); }

void Sheet::addDivider() { column()->addWidget(new Divider); }

void Sheet::addButtons(const QList<QPushButton *> &buttons)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(Measures::neighbourSpacing);
    for (QPushButton *button : buttons) {
        button->setAutoDefault(false);
        row->addWidget(button, 0, Qt::AlignLeft);
    }
    row->addStretch();
    column()->addLayout(row);
    m_buttonRows.append(row);
}

void Sheet::addLastRow(const QList<QPushButton *> &buttons, QPushButton *byDefault)
{
    m_lastRow->setSpacing(Measures::neighbourSpacing);
    // At the top, so that a notice beside them moves none.
    for (QPushButton *button : buttons)
        m_lastRow->addWidget(button, 0, Qt::AlignRight | Qt::AlignTop);
    m_lastRow->addWidget(m_notice, 1, Qt::AlignVCenter);
    m_lastRow->addStretch();
    m_lastButtons = buttons;
    m_default = byDefault;
    chooseDefault(m_default);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget *, QWidget *now) { chooseDefault(now); });
}

/// QDialog does this only where it is a window.
void Sheet::chooseDefault(const QWidget *focused)
{
    const bool isLast = std::find(m_lastButtons.begin(), m_lastButtons.end(), focused) != m_lastButtons.end();
    for (QPushButton *button : std::as_const(m_lastButtons))
        button->setDefault(button == (isLast ? focused : m_default));
}

void Sheet::addDoneRow()
{
    auto *done = new SteadyButton(QStringLiteral("Done"));
    connect(done, &QPushButton::clicked, this, &QDialog::accept);
    addLastRow({ done }, done);
}

void Sheet::showNoticesOf(const AppModel &model)
{
    m_noticeSource = &model;
    m_noticeBefore = model.notice;
    m_noticeRefresh.watch(model);
}

void Sheet::expectNotice()
{
    m_expectsNotice = true;
    m_noticeRefresh.schedule();
}

void Sheet::refreshNotice()
{
    const std::optional<QString> &notice = m_noticeSource->notice;
    m_notice->display(notice.value_or(QString()));
    m_notice->setVisible(notice && (m_expectsNotice || notice != m_noticeBefore));
}

void Sheet::arrange(int width)
{
    for (QBoxLayout *row : std::as_const(m_buttonRows))
        row->setDirection(widthOf(*row) <= width ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    const int notice = m_notice->isHidden() ? 0 : charactersOfNotice * fontMetrics().averageCharWidth();
    m_lastRow->setDirection(widthOf(*m_lastRow) + notice <= width ? QBoxLayout::RightToLeft
                                                                  : QBoxLayout::BottomToTop);
}

int Sheet::heightFor(int width)
{
    // The column may have to share its width with a scroll bar.
    arrange(width - 2 * padding - style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    return topInset + m_column->heightFor(width) + footHeightFor(width);
}

int Sheet::footHeightFor(int width) const
{
    return m_foot->hasHeightForWidth() ? m_foot->heightForWidth(width) : m_foot->sizeHint().height();
}

void Sheet::fit()
{
    if (m_veil) {
        if (!m_veil->isHidden())
            m_veil->place();
        return;
    }
    const int tallest = static_cast<int>(screen()->availableGeometry().height() * shareOfScreen);
    setFixedSize(usualWidth, std::min(heightFor(usualWidth), tallest));
}

void Sheet::setVisible(bool visible)
{
    const bool changes = m_veil && visible == isHidden();
    if (changes && visible)
        appear();
    else if (changes)
        disappear();
    else
        QDialog::setVisible(visible);
}

void Sheet::appear()
{
    m_focusBefore = window()->focusWidget();
    Fade::from(*window());
    m_veil->spread(*this);
    // QDialog would tell the widget with the focus, below the veil, that it got it, where the window is not
    // active.
    QWidget::setVisible(true);
    QAccessibleEvent start(this, QAccessible::DialogStart);
    QAccessible::updateAccessibility(&start);
    if (m_default)
        m_default->setFocus();
}

void Sheet::disappear()
{
    Fade::from(*window());
    // First, or some other button would get the focus for a moment, and a screen reader would announce it.
    giveFocusBack();
    QDialog::setVisible(false);
    m_veil->hide();
}

void Sheet::giveFocusBack()
{
    const QWidget *focused = window()->focusWidget();
    if (!focused || !isAncestorOf(focused))
        return;
    if (QWidget *next = nearestTo(m_focusBefore))
        next->setFocus();
}

bool Sheet::event(QEvent *event)
{
    const bool handled = QDialog::event(event);
    // A text or the size of the desktop's font has changed.
    if (event->type() == QEvent::LayoutRequest || event->type() == QEvent::Polish)
        fit();
    return handled;
}

void Sheet::paintEvent(QPaintEvent *)
{
    const Tokens &tokens = Tokens::of(*this);
    QPainter painter(this);
    if (m_veil) {
        constexpr double half = Measures::hairline / 2.0;
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(tokens.sheet);
        painter.setPen(Qt::NoPen);
        painter.drawRoundedRect(rect(), Measures::sheetRadius, Measures::sheetRadius);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(tokens.divider, Measures::hairline));
        painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half),
                                Measures::sheetRadius - half, Measures::sheetRadius - half);
        painter.setRenderHint(QPainter::Antialiasing, false);
    } else {
        painter.fillRect(rect(), tokens.sheet);
    }
    if (m_column->verticalScrollBar()->maximum() > 0)
        painter.fillRect(0, m_column->geometry().bottom() + 1, width(), Measures::hairline, tokens.divider);
}
