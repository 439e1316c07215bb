#include "ChecksumList.h"

#include "TextFile.h"

std::optional<QString> ChecksumList::hash(const QString &list, const QString &fileName)
{
    const QStringList lines = TextFile::lines(list);
    for (QString line : lines) {
        const QStringList pieces = line.replace(u'\t', u' ').split(u' ', Qt::SkipEmptyParts);
        if (pieces.size() < 2)
            continue;
        QString name = pieces.last();
        if (name.remove(u'*') == fileName)
            return pieces.first();
    }
    return std::nullopt;
}
