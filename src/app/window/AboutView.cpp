#include "AboutView.h"

#include "AppModel.h"
#include "CodeHost.h"
#include "LinkButton.h"
#include "TextLabel.h"

#include <QVBoxLayout>

namespace {

constexpr int spacing = 10;

}

AboutView::AboutView(AppModel &model, QWidget *parent)
    : Sheet(QStringLiteral("About"), spacing, parent)
    , m_model(model)
    , m_credit(new TextLabel(TextStyle::Body))
    , m_refresh(this, [this] { refresh(); })
{
    auto *title = new TextLabel(TextStyle::Title2);
    title->display(QStringLiteral("About"));
    column()->addWidget(title);
    column()->addWidget(m_credit);

    const auto add = [this](TextStyle style, Ink ink, const QString &text) {
        auto *label = new TextLabel(style, ink);
        label->display(text);
        column()->addWidget(label);
    };
    add(TextStyle::Body, Ink::Primary,
        QStringLiteral("The game belongs to its author; this app only downloads and starts it."));
    add(TextStyle::Callout, Ink::Primary, QStringLiteral("Based on Kestrelwood/Vantor, MIT License."));
    if (const QUrl page = CodeHost::url(QStringLiteral("/Kestrelwood/Vantor"));
        page.isValid() && !page.isRelative()) {
        auto *link = new LinkButton(page);
        connect(link, &QPushButton::clicked, this, [this, page] {
            expectNotice();
            m_model.browse(page);
        });
        column()->addWidget(link, 0, Qt::AlignLeft);
    }
    addDivider();
    add(TextStyle::Caption, Ink::Secondary,
        QStringLiteral(
            "Made with the Godot Engine, MIT License, by Juan Linietsky, Ariel Manzur and the Godot contributors."));
    add(TextStyle::Caption, Ink::Secondary,
        QStringLiteral("Nothing is sent anywhere except the downloads from %1.")
            .arg(CodeHost::address().host()));
    addDoneRow();
    showNoticesOf(model);

    m_refresh.watch(m_model);
    refresh();
}

void AboutView::refresh()
{
    const std::optional<ProjectInfo> &info = m_model.info;
    m_credit->display(QStringLiteral("Game by ") + (info ? info->author : QStringLiteral("its author"))
                      + QStringLiteral(". Licence: ")
                      + (info ? info->licenseName : QStringLiteral("see the repository")));
}
