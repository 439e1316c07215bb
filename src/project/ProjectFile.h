#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <limits>

/// What the launcher reads from the text of a project.godot, in UTF-8.
struct ProjectFile {
    QString name = QStringLiteral("Vantor");
    qint64 configVersion = 0;
    QStringList features;
    QString mainScene;

    /// Looks for keys line by line, whatever their section; a later line overrides an earlier one. Never
    /// fails.
    static ProjectFile parse(QByteArrayView text);
};

/// The texts between pairs of double quotes in `line`, in order, at most `most` of them. Backslashes are not
/// special; an unclosed quote is ignored.
QStringList quoted(QByteArrayView line, qsizetype most = std::numeric_limits<qsizetype>::max());
