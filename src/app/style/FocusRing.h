#pragma once

#include <QFocusFrame>
#include <QObject>
#include <QPointer>

/// The ring around the widget that has the focus, unless the mouse brought it there. It lies outside of the
/// widget, over its neighbours' gaps, moves and scrolls with it and disappears with it. A widget whose
/// corners have a radius of their own says so in its dynamic property "focusRadius", a double in points. Main
/// thread.
class FocusRing final : public QObject {
    Q_OBJECT

public:
    FocusRing();
    ~FocusRing() override;

    /// The name of the property.
    static constexpr auto radiusProperty = "focusRadius";
    /// The radius of the corners of `widget`.
    static double radiusOf(const QWidget &widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow(QWidget *widget, Qt::FocusReason reason);

    /// Belongs to whatever shows it, and may be destroyed with that.
    QPointer<QFocusFrame> m_frame;
    /// What the mouse gave the focus to last, and nothing else took it since.
    QPointer<QWidget> m_chosenByMouse;
};
