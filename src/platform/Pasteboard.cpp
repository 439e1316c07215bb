#include "Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

Pasteboard::~Pasteboard() = default;

void DesktopPasteboard::setText(const QString &text) { QGuiApplication::clipboard()->setText(text); }
