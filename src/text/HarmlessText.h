#pragma once

#include <QString>

/// `text` made safe to show: every control character, direction mark, unpaired surrogate and QTextDocument
/// marker becomes one visible character, so that the length stays the same. Line feeds and tabs are kept.
QString harmlessText(const QString &text);
