#include "Question.h"

#include "MainWindow.h"
#include "TypeScale.h"

#include <QLabel>

QMessageBox *makeQuestion(QWidget *parent, const QString &title, const QString &message)
{
    auto *question = new QMessageBox(parent);
    question->setAttribute(Qt::WA_DeleteOnClose);
    question->setWindowModality(Qt::WindowModal);
    question->setIcon(QMessageBox::Warning);
    question->setWindowTitle(title);
    question->setText(title);
    question->setInformativeText(message);
    const auto labels = question->findChildren<QLabel *>();
    for (QLabel *label : labels) {
        if (label->text() == title)
            label->setFont(TypeScale::font(TextStyle::Headline));
    }
    MainWindow::addWaysOut(*question);
    return question;
}
