#include "HeaderView.h"

#include "AppModel.h"
#include "Banner.h"
#include "Measures.h"
#include "TextLabel.h"

#include <QVBoxLayout>

namespace {

/// Narrower than between the window's blocks, since the facts belong to the title and the title to the
/// picture.
constexpr int partSpacing = 12;
constexpr int titleSpacing = 4;

}

HeaderView::HeaderView(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_introduction(new TextLabel(TextStyle::Body, Ink::Secondary))
    , m_refresh(this, [this] { refresh(); })
{
    auto *title = new TextLabel(TextStyle::LargeTitle);
    title->display(QStringLiteral("2D Platformer"));
    m_introduction->display(QStringLiteral(
        "A small 2D platformer made with Godot. The game and its details are read from the repository after the first download."));
    m_facts = makeFacts();

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new Banner);
    column->addSpacing(partSpacing);
    column->addWidget(title);
    column->addSpacing(titleSpacing);
    column->addWidget(m_facts);
    column->addWidget(m_introduction);

    m_refresh.watch(m_model);
    refresh();
}

QWidget *HeaderView::makeFacts()
{
    m_blurb = new TextLabel(TextStyle::Body);
    m_licence = new TextLabel(TextStyle::Caption, Ink::Secondary);
    auto *heading = new TextLabel(TextStyle::Headline);
    heading->display(QStringLiteral("Controls"));

    auto *block = new QWidget;
    m_controls = new QVBoxLayout(block);
    m_controls->setContentsMargins(0, partSpacing - Measures::lineSpacing, 0, 0);
    m_controls->setSpacing(Measures::lineSpacing);
    m_controls->addWidget(heading);

    auto *facts = new QWidget;
    auto *column = new QVBoxLayout(facts);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(Measures::lineSpacing);
    column->addWidget(m_blurb);
    column->addWidget(m_licence);
    column->addWidget(block);
    return facts;
}

void HeaderView::refresh()
{
    const std::optional<ProjectInfo> &info = m_model.info;
    m_introduction->setVisible(!info);
    m_facts->setVisible(info.has_value());
    if (!info)
        return;
    m_blurb->display(info->blurb);
    m_licence->display(QStringLiteral("Licence: ") + info->licenseName);
    showControls(info->controls);
}

void HeaderView::showControls(const QStringList &controls)
{
    while (m_controlLines.size() > controls.size())
        delete m_controlLines.takeLast();
    while (m_controlLines.size() < controls.size()) {
        m_controlLines.append(new TextLabel(TextStyle::Callout));
        m_controls->addWidget(m_controlLines.last());
    }
    for (qsizetype line = 0; line < controls.size(); ++line)
        m_controlLines.at(line)->display(controls.at(line));
}
