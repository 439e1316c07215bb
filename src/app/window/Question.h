#pragma once

#include <QMessageBox>

/// Makes a window-modal question over `parent`'s window that repeats `title` in its text. The caller adds the
/// buttons and opens it. `parent` owns it; it deletes itself once answered.
QMessageBox *makeQuestion(QWidget *parent, const QString &title, const QString &message);
