#include "Contrast.h"
#include "Gallery.h"
#include "LogText.h"
#include "Panel.h"
#include "PlayButton.h"
#include "SegmentedChoice.h"
#include "StateDot.h"
#include "Table.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QHash>
#include <QMap>
#include <QMenu>
#include <QProgressBar>
#include <QScrollBar>
#include <QSet>

namespace {

/// The smallest contrasts that everyone can see.
struct Least {
    double text = 4.5;
    /// What tells something without words.
    double mark = 3;
    /// Where a control or a box begins.
    double edge = 1.3;
};
constexpr Least normal;
constexpr Least high { 7, 3, 3 };

/// How many pixels of the ground are visible between a control and its focus ring.
constexpr int gap = 2;
/// What belongs to a control's edge rather than to its text.
constexpr int border = 4;

/// Measures what is on the screen, and lists what cannot be seen well enough. The banner's figure is an
/// ornament: it says nothing that the title does not.
class Inspection final {
public:
    explicit Inspection(QWidget &front, const Least &least)
        : m_front(front)
        , m_least(least)
        , m_picture(grab())
    {
    }

    /// The texts of the buttons alone: for a look at them while they are pressed.
    QMap<QString, QString> faultsOfButtons()
    {
        for (const QAbstractButton *button : seen<QAbstractButton>())
            expectText(areaOf(*button).adjusted(border, border, -border, -border), button->text());
        return m_faults;
    }

    QMap<QString, QString> faultsOfFocus()
    {
        expectFocusRing();
        return m_faults;
    }

    /// The problems, and how large each is.
    QMap<QString, QString> faults()
    {
        for (const TextLabel *label : seen<TextLabel>())
            expectText(*label, label->text());
        for (const QAbstractButton *button : seen<QAbstractButton>())
            expectButton(*button);
        for (const QComboBox *choice : seen<QComboBox>())
            expectChoice(*choice);
        for (const SegmentedChoice *choice : seen<SegmentedChoice>())
            expectSegments(*choice);
        for (const LogText *text : seen<LogText>())
            expectText(*text->viewport(), u"the lines"_s);
        for (const Panel *panel : seen<Panel>())
            expectEdge(*panel, u"a panel"_s);
        for (const StateDot *dot : seen<StateDot>())
            expectMark(areaOf(*dot), u"the dot"_s);
        for (const QProgressBar *bar : seen<QProgressBar>())
            expectMark(areaOf(*bar), u"the bar's filling"_s);
        for (const QScrollBar *bar : seen<QScrollBar>())
            expectScrollBar(*bar);
        for (const QAbstractItemView *list : seen<QAbstractItemView>())
            expectEntries(*list);
        if (const auto *menu = qobject_cast<const QMenu *>(&m_front))
            expectActions(*menu);
        expectFocusRing();
        return m_faults;
    }

private:
    QImage grab() const { return m_front.window()->grab().toImage().convertToFormat(QImage::Format_RGB32); }

    /// What the player can see and use.
    template <typename View> QList<View *> seen() const
    {
        QList<View *> views = m_front.findChildren<View *>();
        views.removeIf([this](const View *view) {
            return !view->isVisible() || !view->isEnabled() || areaOf(*view).height() < 8;
        });
        return views;
    }

    /// The part of `widget` that is not scrolled away.
    QRect areaOf(const QWidget &widget) const
    {
        return widget.visibleRegion().boundingRect().translated(widget.mapTo(m_front.window(), QPoint(0, 0)));
    }

    QColor at(const QPoint &place) const { return m_picture.pixelColor(place); }

    /// How many pixels of `area` have which colour.
    QHash<QRgb, int> coloursOf(const QRect &area) const
    {
        QHash<QRgb, int> counts;
        const QRect within = area & m_picture.rect();
        for (int y = within.top(); y <= within.bottom(); ++y) {
            for (int x = within.left(); x <= within.right(); ++x)
                ++counts[m_picture.pixel(x, y)];
        }
        return counts;
    }

    static QColor mostFrequent(const QHash<QRgb, int> &colours)
    {
        const auto most = std::max_element(colours.cbegin(), colours.cend());
        return most == colours.cend() ? QColor() : QColor(most.key());
    }
    QColor groundOf(const QRect &area) const { return mostFrequent(coloursOf(area)); }

    static double contrastWith(const QColor &ground, const QHash<QRgb, int> &colours)
    {
        double most = 1;
        for (auto colour = colours.cbegin(); colour != colours.cend(); ++colour)
            most = std::max(most, Contrast::between(QColor(colour.key()), ground));
        return most;
    }

    /// The contrast between the ground of `area` and what stands out most from it.
    double contrastIn(const QRect &area) const
    {
        const auto colours = coloursOf(area);
        return contrastWith(mostFrequent(colours), colours);
    }

    void expect(double contrast, double least, const QString &what)
    {
        if (contrast < least)
            m_faults[what] = u"%1 of %2"_s.arg(contrast, 0, 'f', 3).arg(least);
    }
    void expectText(const QRect &area, const QString &what)
    {
        if (!what.isEmpty())
            expect(contrastIn(area), m_least.text, u'"' + what.left(30) + u'"');
    }
    void expectText(const QWidget &widget, const QString &what) { expectText(areaOf(widget), what); }
    void expectMark(const QRect &area, const QString &what) { expect(contrastIn(area), m_least.mark, what); }

    /// Some pixels on each side of `widget` against what is beside it.
    void expectEdge(const QWidget &widget, const QString &what)
    {
        const QRect visible = areaOf(widget);
        const QRect area(widget.mapTo(m_front.window(), QPoint(0, 0)), widget.size());
        const QPoint middle = visible.center();
        const std::pair<QPoint, QPoint> sidesAndInwards[] { { { area.left(), middle.y() }, { 1, 0 } },
                                                            { { area.right(), middle.y() }, { -1, 0 } },
                                                            { { middle.x(), area.top() }, { 0, 1 } },
                                                            { { middle.x(), area.bottom() }, { 0, -1 } } };
        double faintest = Contrast::between(Qt::white, Qt::black);
        for (const auto &[side, inwards] : sidesAndInwards) {
            const QPoint beside = side - gap * inwards;
            if (!visible.contains(side) || !m_picture.rect().contains(beside))
                continue;
            double most = 1;
            for (int depth = 0; depth < 3; ++depth)
                most = std::max(most, Contrast::between(at(side + depth * inwards), at(beside)));
            faintest = std::min(faintest, most);
        }
        expect(faintest, m_least.edge, u"the edge of "_s + what);
    }

    void expectButton(const QAbstractButton &button)
    {
        const QRect inside = areaOf(button).adjusted(border, border, -border, -border);
        const QString name = u'"' + button.text() + u'"';
        if (button.inherits("LinkButton")) {
            expectText(button, button.text());
            return;
        }
        if (button.text() == Button::play || button.text() == Button::stop) {
            // A symbol, and the text after it.
            const auto [symbol, text] = cutAtWidestGap(inside);
            expectMark(symbol, u"the symbol of "_s + name);
            expectText(text, button.text());
        } else {
            expectText(inside, button.text());
        }
        if (qobject_cast<const QPushButton *>(&button))
            expectEdge(button, name);
    }

    /// Splits `area` at the widest of its empty parts that is not at a side.
    std::pair<QRect, QRect> cutAtWidestGap(const QRect &area) const
    {
        const QColor ground = groundOf(area);
        int begin = area.left();
        int end = area.left();
        int last = -1;
        for (int x = area.left(); x <= area.right(); ++x) {
            if (contrastWith(ground, coloursOf(QRect(x, area.top(), 1, area.height()))) < 1.3)
                continue;
            if (last >= 0 && x - last > end - begin) {
                begin = last;
                end = x;
            }
            last = x;
        }
        return { QRect(area.topLeft(), QPoint(begin, area.bottom())),
                 QRect(QPoint(end, area.top()), area.bottomRight()) };
    }

    void expectChoice(const QComboBox &choice)
    {
        constexpr int arrows = 30;
        QRect inside = areaOf(choice).adjusted(border, border, -border, -border);
        QRect arrow = inside;
        if (choice.layoutDirection() == Qt::LeftToRight) {
            arrow.setLeft(inside.right() - arrows);
            inside.setRight(arrow.left());
        } else {
            arrow.setRight(inside.left() + arrows);
            inside.setLeft(arrow.right());
        }
        expectText(inside, choice.currentText());
        expectMark(arrow, u"the choice's arrow"_s);
        expectEdge(choice, u"the choice"_s);
    }

    void expectSegments(const SegmentedChoice &choice)
    {
        expectEdge(choice, u"the segments"_s);
        QList<QColor> grounds;
        for (const QAbstractButton *segment : choice.findChildren<QAbstractButton *>())
            grounds << groundOf(areaOf(*segment));
        expect(Contrast::between(grounds.first(), grounds.last()), m_least.mark, u"the chosen segment"_s);
    }

    void expectEntries(const QAbstractItemView &list)
    {
        const QPoint origin = list.viewport()->mapTo(m_front.window(), QPoint(0, 0));
        for (int row = 0; row < list.model()->rowCount(); ++row) {
            const QModelIndex entry = list.model()->index(row, 0);
            expectText(list.visualRect(entry).adjusted(border, border, -border, -border).translated(origin),
                       entry.data().toString());
        }
    }

    void expectActions(const QMenu &menu)
    {
        for (QAction *action : menu.actions()) {
            if (action->isEnabled() && !action->isSeparator())
                expectText(menu.actionGeometry(action).adjusted(border, 2, -border, -2), action->text());
        }
    }

    void expectScrollBar(const QScrollBar &bar)
    {
        if (bar.minimum() < bar.maximum())
            expectMark(areaOf(bar), u"a scroll bar's thumb"_s);
    }

    /// What the focus adds around its control.
    void expectFocusRing()
    {
        QWidget *focus = m_front.window()->focusWidget();
        if (!focus || !m_front.isAncestorOf(focus) || m_front.windowType() == Qt::Popup)
            return;
        focus->clearFocus();
        const QImage without = grab();
        // As the keyboard brings it: the mouse shows no ring.
        focus->setFocus(Qt::TabFocusReason);
        const QImage with = grab();
        const QRect control = areaOf(*focus);
        const QRect around = control.adjusted(-6, -6, 6, 6) & with.rect();
        QHash<QRgb, int> ring;
        QHash<QRgb, int> ground;
        for (int y = around.top(); y <= around.bottom(); ++y) {
            for (int x = around.left(); x <= around.right(); ++x) {
                if (control.contains(x, y) || with.pixel(x, y) == without.pixel(x, y))
                    continue;
                ++ring[with.pixel(x, y)];
                ++ground[without.pixel(x, y)];
            }
        }
        expect(Contrast::between(mostFrequent(ring), mostFrequent(ground)), m_least.mark,
               u"the focus ring of "_s + QLatin1StringView(focus->metaObject()->className()));
    }

    QWidget &m_front;
    const Least m_least;
    const QImage m_picture;
    QMap<QString, QString> m_faults;
};

/// Collects the same problem of many desktops in one line.
class Problems final {
public:
    void add(const QString &where, const QMap<QString, QString> &faults)
    {
        for (auto fault = faults.cbegin(); fault != faults.cend(); ++fault)
            m_places[fault.key()] << fault.value() + u" ("_s + where + u')';
    }
    QString text() const
    {
        QStringList lines;
        for (auto problem = m_places.cbegin(); problem != m_places.cend(); ++problem)
            lines << u"%1: %2 on %3 desktops"_s.arg(problem.key(), problem.value().first())
                         .arg(problem.value().size());
        return lines.join(u'\n');
    }

private:
    QMap<QString, QStringList> m_places;
};

enum class Touch { Hover, Press };

/// Lets all buttons look as under the pointer while this object exists.
class Touched final {
public:
    explicit Touched(const QWidget &front, Touch touch)
        : m_buttons(front.findChildren<QAbstractButton *>())
        , m_touch(touch)
    {
        change(true);
    }
    ~Touched() { change(false); }
    Q_DISABLE_COPY_MOVE(Touched)

private:
    void change(bool isTouched) const
    {
        for (QAbstractButton *button : m_buttons) {
            button->setAttribute(Qt::WA_UnderMouse, isTouched);
            if (m_touch == Touch::Press)
                button->setDown(isTouched);
        }
    }

    const QList<QAbstractButton *> m_buttons;
    const Touch m_touch;
};

/// What a desktop may offer, and two at the ends.
QList<QColor> accents()
{
    return { QColor(),
             QColor(0x35, 0x84, 0xe4),
             QColor(0x21, 0x90, 0xa4),
             QColor(0x3a, 0x94, 0x4a),
             QColor(0xc8, 0x88, 0x00),
             QColor(0xed, 0x5b, 0x00),
             QColor(0xe6, 0x2d, 0x42),
             QColor(0xd5, 0x61, 0x99),
             QColor(0x91, 0x41, 0xac),
             QColor(0x6f, 0x83, 0x96),
             QColor(0xf4, 0xec, 0xff),
             QColor(0x12, 0x12, 0x1c) };
}

using Look = std::function<void(const QString &where, QWidget &front, const Least &least)>;

/// Calls `look` with what the player sees, light and dark, with high contrast and without.
void onEachDesktop(Running &stage, const QColor &accent, const Look &look)
{
    for (const auto scheme : { Appearance::Scheme::Light, Appearance::Scheme::Dark }) {
        for (const auto contrast : { Appearance::Contrast::Normal, Appearance::Contrast::High }) {
            Gallery::apply({ .scheme = scheme, .contrast = contrast, .accent = accent });
            QCoreApplication::processEvents();
            const bool isHigh = contrast == Appearance::Contrast::High;
            QWidget *popup = QApplication::activePopupWidget();
            look(u"%1%2, %3 accent"_s.arg(scheme == Appearance::Scheme::Dark ? u"dark"_s : u"light"_s,
                                          isHigh ? u", high contrast"_s : QString(),
                                          accent.isValid() ? accent.name() : u"own"_s),
                 popup ? *popup : *stage.front(), isHigh ? high : normal);
        }
    }
}

}

/// Measured in pixels, so that nothing is forgotten that lies between a colour and the eye.
class VisibleContrastTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everythingCanBeSeen_data()
    {
        const auto row = table<Gallery::Shot>("shot");
        for (const QString &name :
             { u"not-downloaded"_s, u"downloading"_s, u"setting-up"_s, u"ready-wordy"_s, u"playing"_s,
               u"needs-something"_s, u"failure-short"_s, u"failure-log"_s, u"log-full"_s, u"about"_s,
               u"settings"_s, u"settings-fullscreen"_s, u"settings-notice"_s, u"settings-sizes"_s,
               u"remove"_s, u"log-menu"_s, u"quit"_s })
            row(qPrintable(name), Gallery::shot(name));
    }

    void everythingCanBeSeen()
    {
        QFETCH(const Gallery::Shot, shot);
        Problems problems;
        Gallery::show(shot, {}, [&problems](Running &stage) {
            for (const QColor &accent : accents())
                onEachDesktop(stage, accent, [&](const QString &where, QWidget &front, const Least &least) {
                    problems.add(where, Inspection(front, least).faults());
                    for (const Touch touch : { Touch::Hover, Touch::Press }) {
                        const Touched touched(front, touch);
                        problems.add(where + (touch == Touch::Hover ? u", hovered"_s : u", pressed"_s),
                                     Inspection(front, least).faultsOfButtons());
                    }
                });
        });
        QCOMPARE(problems.text(), QString());
    }

    void theFocusCanBeSeenOnEveryControl_data()
    {
        const auto row = table<Gallery::Shot>("shot");
        for (const QString &name :
             { u"failure-log"_s, u"downloading"_s, u"about"_s, u"settings"_s, u"quit"_s })
            row(qPrintable(name), Gallery::shot(name));
    }

    void theFocusCanBeSeenOnEveryControl()
    {
        QFETCH(const Gallery::Shot, shot);
        Problems problems;
        Gallery::show(shot, {}, [&problems](Running &stage) {
            QSet<QWidget *> seen;
            while (!seen.contains(QApplication::focusWidget())) {
                seen << QApplication::focusWidget();
                onEachDesktop(stage, {}, [&](const QString &where, QWidget &front, const Least &least) {
                    problems.add(where, Inspection(front, least).faultsOfFocus());
                });
                stage.press(Qt::Key_Tab);
            }
            QCOMPARE_GE(seen.size(), 2);
        });
        QCOMPARE(problems.text(), QString());
    }
};

QTEST_MAIN(FreshForEach<VisibleContrastTest>)
#include "VisibleContrastTest.moc"
