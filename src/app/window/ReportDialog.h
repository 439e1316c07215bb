#pragma once

#include <QFileDialog>

/// Makes a window-modal dialog over `parent`'s window that asks where to save a report. It proposes a name
/// with today's date in the user's folder for documents, or in the home folder if there is none, and asks
/// before it replaces a file. The caller connects fileSelected() and opens it. `parent` owns it; it deletes
/// itself once closed.
QFileDialog *makeReportDialog(QWidget *parent);
