#include "FileError.h"

#include <QFileInfo>
#include <QtGlobal>

namespace {

QString nameOf(const QString &path)
{
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(u'/'))
        trimmed.chop(1);
    const QString name = QFileInfo(trimmed).fileName();
    return name.isEmpty() ? trimmed : name;
}

}

FileError::FileError(const QString &path, const QString &action, int code)
    : m_description(
        QStringLiteral("“%1” could not be %2: %3.").arg(nameOf(path), action, qt_error_string(code)))
    , m_utf8(m_description.toUtf8())
    , m_code(code)
{
}
