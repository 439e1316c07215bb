#include "LauncherStyle.h"

#include "Contrast.h"
#include "Drawing.h"
#include "FocusRing.h"
#include "Measures.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QFocusFrame>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPushButton>
#include <QStyleOptionButton>
#include <QToolTip>

#include <algorithm>

namespace {

QPalette paletteOf(const Tokens &tokens)
{
    QPalette palette(tokens.ink, tokens.window, tokens.sheet, tokens.window, tokens.secondary, tokens.ink,
                     tokens.sheet, tokens.sheet, tokens.window);
    palette.setColor(QPalette::Button, Contrast::over(tokens.control, tokens.window));
    palette.setColor(QPalette::Highlight, tokens.accent);
    palette.setColor(QPalette::HighlightedText, tokens.onAccent);
    palette.setColor(QPalette::Link, tokens.link);
    palette.setColor(QPalette::PlaceholderText, tokens.secondary);
    palette.setColor(QPalette::ToolTipBase, tokens.sheet);
    palette.setColor(QPalette::ToolTipText, tokens.ink);
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, tokens.disabled);
    return palette;
}

/// Between the edge of a choice, its text and its arrows.
constexpr int choicePadding = 10;
constexpr int arrowsWidth = 10;
/// Above and below the text of a control, and of an entry in a menu.
constexpr int controlAir = 6;
constexpr int entryAir = 5;
constexpr int separatorHeight = 9;
constexpr int shortcutGap = 24;
constexpr int toolTipPadding = 6;

constexpr QFont::Weight prominentWeight = QFont::DemiBold;

template <typename Option> const Option *as(const QStyleOption *option)
{
    return qstyleoption_cast<const Option *>(option);
}

bool isInDialog(const QWidget &widget)
{
    for (const QWidget *parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (qobject_cast<const QDialog *>(parent))
            return true;
    }
    return false;
}

/// Whether Return may ever press the button from elsewhere. Outside of dialogs, one that takes Return only
/// while it has the focus calls itself the default one then.
bool mayBeProminent(const QStyleOptionButton &option, const QWidget *widget)
{
    if (!(option.features & (QStyleOptionButton::DefaultButton | QStyleOptionButton::AutoDefaultButton)))
        return false;
    const auto *button = qobject_cast<const QPushButton *>(widget);
    return !button || !button->autoDefault() || isInDialog(*button);
}

bool isProminent(const QStyleOptionButton &option, const QWidget *widget)
{
    return (option.features & QStyleOptionButton::DefaultButton) && mayBeProminent(option, widget);
}

bool isDestructive(const QWidget *widget)
{
    return widget && widget->property(LauncherStyle::destructiveProperty).toBool();
}

/// The list of a choice.
bool isChoiceList(const QWidget *widget) { return widget && widget->inherits("QComboBoxPrivateContainer"); }

int controlHeight(int textHeight) { return std::max(Measures::buttonHeight, textHeight + 2 * controlAir); }

QSize buttonSize(const QStyleOptionButton &option, QSize contents, const QWidget *widget)
{
    if (mayBeProminent(option, widget)) {
        // Wide enough for it, so that nothing moves when the button becomes the default one.
        QFont font = widget ? widget->font() : QApplication::font();
        const int plain = QFontMetrics(font).horizontalAdvance(option.text);
        font.setWeight(prominentWeight);
        contents.rwidth() += std::max(0, QFontMetrics(font).horizontalAdvance(option.text) - plain);
    }
    const int width = contents.width() + 2 * (Measures::buttonPadding + Measures::hairline);
    const int iconHeight = option.icon.isNull() ? 0 : option.iconSize.height();
    return { std::max(Measures::buttonWidth, width),
             controlHeight(std::max(option.fontMetrics.height(), iconHeight)) };
}

QSize menuItemSize(const QStyleOptionMenuItem &item, bool hasIcon, const QSize &contents)
{
    if (item.menuItemType == QStyleOptionMenuItem::Separator)
        return { contents.width(), separatorHeight };
    const QString label = item.text.section(u'\t', 0, 0);
    const QFontMetrics metrics(item.font);
    int width = metrics.size(Qt::TextSingleLine | Qt::TextShowMnemonic, label).width();
    width += 2 * (Measures::menuPadding + Measures::entryPadding);
    if (item.menuHasCheckableItems || item.checkType != QStyleOptionMenuItem::NotCheckable)
        width += Measures::tickWidth + Measures::menuPadding;
    if (hasIcon)
        width += metrics.height() + Measures::menuPadding;
    if (item.text.contains(u'\t'))
        width += shortcutGap;
    return { width, metrics.height() + 2 * entryAir };
}

/// In a menu the launcher's entries speak for themselves; in a list of folders the icons tell something.
bool showsIcon(const QStyleOptionMenuItem &item, const QWidget *widget)
{
    return !item.icon.isNull() && !qobject_cast<const QMenu *>(widget);
}

QRect choicePart(const QStyleOptionComboBox &option, QStyle::SubControl part)
{
    QRect rect = option.rect;
    if (part == QStyle::SC_ComboBoxArrow)
        rect.setLeft(rect.right() + 1 - choicePadding - arrowsWidth);
    else if (part == QStyle::SC_ComboBoxEditField)
        // The text itself begins a pixel further in.
        rect.adjust(choicePadding - 1, 0, -(choicePadding + arrowsWidth + choicePadding - 1), 0);
    if (part == QStyle::SC_ComboBoxArrow)
        rect.setWidth(arrowsWidth);
    return QStyle::visualRect(option.direction, option.rect, rect);
}

QRect scrollBarPart(const QStyleOptionSlider &option, QStyle::SubControl part)
{
    const bool isHorizontal = option.orientation == Qt::Horizontal;
    const int length = isHorizontal ? option.rect.width() : option.rect.height();
    const int thickness = isHorizontal ? option.rect.height() : option.rect.width();
    const qint64 steps = static_cast<qint64>(option.maximum) - option.minimum;
    int slider = length;
    if (steps > 0) {
        const qint64 share
            = static_cast<qint64>(option.pageStep) * length / (steps + std::max(1, option.pageStep));
        slider = std::clamp(static_cast<int>(share), std::min(length, Measures::shortestThumb), length);
    }
    const int begin = QStyle::sliderPositionFromValue(option.minimum, option.maximum, option.sliderPosition,
                                                      length - slider, option.upsideDown);
    const auto along = [&](int from, int size) {
        return isHorizontal ? QRect(option.rect.left() + from, option.rect.top(), size, thickness)
                            : QRect(option.rect.left(), option.rect.top() + from, thickness, size);
    };
    QRect rect;
    switch (part) {
    case QStyle::SC_ScrollBarGroove:
        rect = option.rect;
        break;
    case QStyle::SC_ScrollBarSlider:
        rect = along(begin, slider);
        break;
    case QStyle::SC_ScrollBarSubPage:
        rect = along(0, begin);
        break;
    case QStyle::SC_ScrollBarAddPage:
        rect = along(begin + slider, length - begin - slider);
        break;
    default: // There are no arrows.
        return {};
    }
    return QStyle::visualRect(option.direction, option.rect, rect);
}

QRegion roundedRegion(const QRect &rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return QRegion(path.toFillPolygon().toPolygon());
}

}

LauncherStyle::LauncherStyle(const Appearance &appearance)
    : QProxyStyle(QStringLiteral("fusion"))
    , m_tokens(Tokens::of(appearance))
{
}

LauncherStyle::~LauncherStyle() = default;

void LauncherStyle::setAppearance(const Appearance &appearance)
{
    if (appearance == m_tokens.appearance)
        return;
    m_tokens = Tokens::of(appearance);
    if (QApplication::style() != this)
        return;
    installPalettes();
    // Colours that no palette has, and measures, may have changed as well.
    const auto widgets = QApplication::allWidgets();
    for (QWidget *widget : widgets)
        widget->update();
}

QPalette LauncherStyle::standardPalette() const { return paletteOf(m_tokens); }

void LauncherStyle::polish(QPalette &palette)
{
    // Qt calls this with the palette of the desktop's theme whenever that may have changed. Whatever a theme
    // leaves open is ours.
    const QPalette ours = standardPalette();
    const auto differs = [&palette](const QPalette &other) {
        const auto roles = { QPalette::Window, QPalette::WindowText, QPalette::Highlight };
        return std::any_of(roles.begin(), roles.end(), [&](QPalette::ColorRole role) {
            return palette.color(QPalette::Active, role) != other.color(QPalette::Active, role);
        });
    };
    if (!m_isInstalling && differs(ours) && differs(m_desktopPalette)) {
        m_desktopPalette = palette;
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT desktopPaletteChanged(m_desktopPalette); }, Qt::QueuedConnection);
    }
    palette = ours;
}

void LauncherStyle::polish(QApplication *application)
{
    QProxyStyle::polish(application);
    installPalettes();
    m_focusRing = std::make_unique<FocusRing>();
}

void LauncherStyle::installPalettes()
{
    // Qt has them polished too, and they are nobody's choice.
    m_isInstalling = true;
    QPalette palette = standardPalette();
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
    // The list of a choice fills its rows with the background of a menu, over the panel that we paint.
    palette.setColor(QPalette::Window, Qt::transparent);
    QApplication::setPalette(palette, "QMenu");
    m_isInstalling = false;
}

void LauncherStyle::unpolish(QApplication *application)
{
    m_focusRing.reset();
    QProxyStyle::unpolish(application);
}

void LauncherStyle::polish(QWidget *widget)
{
    QProxyStyle::polish(widget);
    // Where their rounded corners leave something out, what is behind shows.
    if (qobject_cast<QMenu *>(widget) || isChoiceList(widget) || widget->inherits("QTipLabel"))
        widget->setAttribute(Qt::WA_TranslucentBackground);
    if (auto *list = qobject_cast<QAbstractItemView *>(widget); list && isChoiceList(list->parentWidget()))
        list->viewport()->setAutoFillBackground(false);
}

void LauncherStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                                  const QWidget *widget) const
{
    switch (element) {
    case PE_PanelButtonCommand:
        if (const auto *button = as<QStyleOptionButton>(option)) {
            Drawing::button(*painter, option->rect,
                            { .emphasis = isProminent(*button, widget) ? Drawing::Emphasis::Prominent
                                                                       : Drawing::Emphasis::Plain,
                              .isEnabled = bool(option->state & State_Enabled),
                              .isHovered = bool(option->state & State_MouseOver),
                              .isPressed = bool(option->state & (State_Sunken | State_On)) },
                            m_tokens);
            return;
        }
        break;
    case PE_FrameDefaultButton:
    case PE_PanelScrollAreaCorner:
    case PE_FrameMenu:
        return;
    case PE_FrameFocusRect:
        // The focus ring shows it, but not for an entry of a list.
        if (!qobject_cast<const QAbstractItemView *>(widget))
            return;
        break;
    case PE_PanelMenu:
        Drawing::menu(*painter, option->rect, m_tokens);
        return;
    case PE_PanelTipLabel:
        Drawing::panel(*painter, option->rect, Measures::wellRadius, m_tokens.sheet, m_tokens.divider);
        return;
    default:
        break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void LauncherStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                                const QWidget *widget) const
{
    switch (element) {
    case CE_PushButtonLabel:
        if (const auto *button = as<QStyleOptionButton>(option)) {
            drawButtonLabel(*button, *painter, widget);
            return;
        }
        break;
    case CE_MenuItem:
        if (const auto *item = as<QStyleOptionMenuItem>(option)) {
            Drawing::menuItem(*painter, *item, showsIcon(*item, widget), m_tokens);
            return;
        }
        break;
    case CE_MenuEmptyArea:
    case CE_MenuHMargin:
    case CE_MenuVMargin:
    case CE_ProgressBarLabel:
        return;
    case CE_ProgressBar:
        if (const auto *bar = as<QStyleOptionProgressBar>(option); bar && (bar->state & State_Horizontal)) {
            drawProgressBar(*bar, *painter, widget);
            return;
        }
        break;
    case CE_FocusFrame:
        if (const auto *frame = qobject_cast<const QFocusFrame *>(widget); frame && frame->widget()) {
            Drawing::focusRing(*painter, option->rect, FocusRing::radiusOf(*frame->widget()), m_tokens);
            return;
        }
        break;
    default:
        break;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void LauncherStyle::drawButtonLabel(const QStyleOptionButton &option, QPainter &painter,
                                    const QWidget *widget) const
{
    QStyleOptionButton label = option;
    const bool isEnabled = option.state & State_Enabled;
    painter.save();
    // On a desktop that reads from the right an ellipsis would move to the front.
    painter.setLayoutDirection(label.text.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    if (isProminent(option, widget)) {
        QFont font = painter.font();
        font.setWeight(prominentWeight);
        painter.setFont(font);
        label.palette.setColor(QPalette::ButtonText, m_tokens.onAccent);
    } else if (isDestructive(widget)) {
        label.palette.setColor(QPalette::ButtonText, m_tokens.failure);
        if (!isEnabled)
            painter.setOpacity(painter.opacity() * Measures::disabledOpacity);
    }
    QProxyStyle::drawControl(CE_PushButtonLabel, &label, &painter, widget);
    painter.restore();
}

void LauncherStyle::drawProgressBar(const QStyleOptionProgressBar &option, QPainter &painter,
                                    const QWidget *widget) const
{
    constexpr double still = -1;
    double phase = still;
    const bool isBusy = option.minimum == option.maximum;
    if (isBusy && m_tokens.appearance.motion == Appearance::Motion::Full)
        phase = m_busyBars.phase(widget);
    Drawing::progressBar(painter, option, phase, m_tokens);
}

void LauncherStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                       QPainter *painter, const QWidget *widget) const
{
    if (const auto *choice = as<QStyleOptionComboBox>(option);
        choice && control == CC_ComboBox && !choice->editable) {
        Drawing::choice(*painter, *choice, choicePart(*choice, SC_ComboBoxArrow), m_tokens);
        return;
    }
    if (const auto *bar = as<QStyleOptionSlider>(option); bar && control == CC_ScrollBar) {
        Drawing::scrollThumb(*painter, *bar, scrollBarPart(*bar, SC_ScrollBarSlider), m_tokens);
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect LauncherStyle::subElementRect(SubElement element, const QStyleOption *option,
                                    const QWidget *widget) const
{
    switch (element) {
    case SE_ProgressBarGroove:
    case SE_ProgressBarContents:
        return option->rect;
    case SE_ProgressBarLabel:
        return {};
    default:
        return QProxyStyle::subElementRect(element, option, widget);
    }
}

QRect LauncherStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                    SubControl part, const QWidget *widget) const
{
    if (const auto *choice = as<QStyleOptionComboBox>(option);
        choice && control == CC_ComboBox && !choice->editable)
        return choicePart(*choice, part);
    if (const auto *bar = as<QStyleOptionSlider>(option); bar && control == CC_ScrollBar)
        return scrollBarPart(*bar, part);
    return QProxyStyle::subControlRect(control, option, part, widget);
}

QSize LauncherStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &contents,
                                      const QWidget *widget) const
{
    switch (type) {
    case CT_PushButton:
        if (const auto *button = as<QStyleOptionButton>(option))
            return buttonSize(*button, contents, widget);
        break;
    case CT_ComboBox:
        if (const auto *choice = as<QStyleOptionComboBox>(option); choice && !choice->editable)
            return { contents.width() + 3 * choicePadding + arrowsWidth,
                     controlHeight(choice->fontMetrics.height()) };
        break;
    case CT_MenuItem:
        if (const auto *item = as<QStyleOptionMenuItem>(option))
            return menuItemSize(*item, showsIcon(*item, widget), contents);
        break;
    case CT_ProgressBar:
        if (const auto *bar = as<QStyleOptionProgressBar>(option); bar && (bar->state & State_Horizontal))
            return { contents.width(), Measures::barHeight };
        break;
    default:
        break;
    }
    return QProxyStyle::sizeFromContents(type, option, contents, widget);
}

int LauncherStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent:
        return Measures::scrollBarTarget;
    case PM_ScrollBarSliderMin:
        return Measures::shortestThumb;
    case PM_ScrollView_ScrollBarSpacing:
    case PM_MenuPanelWidth:
    case PM_MenuHMargin:
        return 0;
    case PM_MenuVMargin:
        return Measures::menuPadding;
    case PM_ToolTipLabelFrameWidth:
        return toolTipPadding;
    case PM_FocusFrameHMargin:
    case PM_FocusFrameVMargin:
        return Measures::focusGap + Measures::focusRing;
    case PM_LayoutHorizontalSpacing:
    case PM_LayoutVerticalSpacing:
        return Measures::neighbourSpacing;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int LauncherStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                             QStyleHintReturn *answer) const
{
    switch (hint) {
    case SH_Widget_Animation_Duration:
        return m_tokens.appearance.motion == Appearance::Motion::Full ? Measures::longestMotion : 0;
    case SH_Widget_Animate:
        return m_tokens.appearance.motion == Appearance::Motion::Full;
    case SH_FocusFrame_AboveWidget:
        return true;
    case SH_FocusFrame_Mask:
    case SH_DialogButtonBox_ButtonsHaveIcons:
        return false;
    case SH_Menu_Mask:
    case SH_ToolTip_Mask:
        // Without a compositor the corners would be black. A choice does not paint a list with a mask.
        if (auto *mask = qstyleoption_cast<QStyleHintReturnMask *>(answer);
            mask && option && !isChoiceList(widget)) {
            mask->region = roundedRegion(option->rect,
                                         hint == SH_Menu_Mask ? Measures::menuRadius : Measures::wellRadius);
            return true;
        }
        return false;
    default:
        return QProxyStyle::styleHint(hint, option, widget, answer);
    }
}
