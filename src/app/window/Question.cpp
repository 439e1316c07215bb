#include "Question.h"

#include "SteadyButton.h"
#include "TextLabel.h"

#include <QVBoxLayout>

namespace {

constexpr int spacing = 10;
/// More between the message and the answers than between the title and the message.
constexpr int aboveAnswers = 20;

}

Question::Question(const Texts &texts, Default byDefault, QWidget *parent)
    : Sheet(texts.title, spacing, parent)
    , m_accepting(new SteadyButton(texts.accepting))
    , m_rejecting(new SteadyButton(texts.rejecting))
{
    setAccessibleDescription(texts.message);
    auto *title = new TextLabel(TextStyle::Title2);
    title->display(texts.title);
    column()->addWidget(title);
    auto *message = new TextLabel(TextStyle::Body);
    message->display(texts.message);
    column()->addWidget(message);
    column()->addSpacing(aboveAnswers - spacing);

    connect(m_accepting, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_rejecting, &QPushButton::clicked, this, &QDialog::reject);
    addLastRow({ m_accepting, m_rejecting }, byDefault == Default::Accept ? m_accepting : m_rejecting);
}
