#pragma once

#include <QFontMetrics>
#include <QImage>
#include <QList>
#include <QPainter>
#include <QString>

#include <algorithm>

/// Many pictures side by side on one, each with its name.
namespace ContactSheet {

struct Entry {
    QString name;
    QImage picture;
};

/// `entries` are of one size and one scale, and there is at least one.
inline QImage draw(const QString &title, const QList<Entry> &entries)
{
    constexpr int columns = 6;
    constexpr int gap = 24;
    constexpr int captionHeight = 28;
    constexpr double widest = 720; // a whole screen is shown smaller
    const QColor ground(0xc9, 0xcc, 0xd2);

    const double scale = entries.first().picture.devicePixelRatio();
    const QSizeF whole = entries.first().picture.deviceIndependentSize();
    const QSize cell = (whole * std::min(1.0, widest / whole.width())).toSize();
    const int rows = (static_cast<int>(entries.size()) + columns - 1) / columns;
    const QSize step = cell + QSize(gap, captionHeight + gap);

    const QSize size(columns * step.width() + gap, rows * step.height() + captionHeight + gap);
    QImage sheet(size * scale, QImage::Format_RGB32);
    sheet.setDevicePixelRatio(scale);
    sheet.fill(ground);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QFont font;
    font.setPixelSize(15);
    painter.setFont(font);
    painter.setPen(Qt::black);
    const auto write = [&](const QPoint &place, const QString &text) {
        painter.drawText(QRect(place, QSize(cell.width(), captionHeight)), Qt::AlignVCenter, text);
    };
    write({ gap, gap / 2 }, title);
    for (int index = 0; index < entries.size(); ++index) {
        const QPoint place(gap + index % columns * step.width(),
                           captionHeight + gap + index / columns * step.height());
        write(place, entries.at(index).name);
        painter.drawImage(QRect(place + QPoint(0, captionHeight), cell), entries.at(index).picture);
    }
    return sheet;
}

}
