#pragma once

#include <QMessageBox>

/// A question over `parent`'s window, with its title said in the question itself too. The caller adds the
/// buttons and opens it; `parent` owns it, and it deletes itself once it is answered.
QMessageBox *makeQuestion(QWidget *parent, const QString &title, const QString &message);
