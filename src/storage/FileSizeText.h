#pragma once

#include <QString>

/// A size as the desktop's file browser writes it: decimal units, 1 kB = 1000 bytes ("12.3 MB").
QString fileSizeText(qint64 bytes);
