#pragma once

#include <QObject>
#include <QWidget>

/// Keeps a held-down key from pressing the buttons of an area again and again.
///
/// X11 reports a held key as pairs of a release and a press. Qt marks these as auto-repeat only if it sees
/// both events of a pair at once, which it does not always do; but both have the same timestamp, unlike a
/// person's. The keys of the whole application are watched, since the focus may change between the two. The
/// area owns it. Main thread.
class HeldKey final : public QObject {
    Q_OBJECT

public:
    explicit HeldKey(QWidget *area);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *const m_area;
    int m_releasedKey = 0;
    quint64 m_releaseTime = 0; // milliseconds of the display's clock; 0 before the first release
};
