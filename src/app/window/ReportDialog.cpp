#include "ReportDialog.h"

#include "Desktop.h"
#include "MainWindow.h"

#include <QDate>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString usualFolder()
{
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    return QFileInfo(documents).isDir() ? documents : Desktop::homeFolder();
}

}

QFileDialog *makeReportDialog(QWidget *parent)
{
    auto *dialog = new QFileDialog(parent, QStringLiteral("Save a report"), usualFolder());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setNameFilters({ QStringLiteral("Text files (*.txt)"), QStringLiteral("All files (*)") });
    dialog->setDefaultSuffix(QStringLiteral("txt"));
    // Without this a desktop may offer places in the network that have no path.
    dialog->setSupportedSchemes({ QStringLiteral("file") });
    dialog->selectFile(
        QStringLiteral("Vantor report %1.txt").arg(QDate::currentDate().toString(Qt::ISODate)));
    MainWindow::addWaysOut(*dialog);
    return dialog;
}
