#include "SettingsView.h"

#include "AppModel.h"
#include "FileSizeText.h"
#include "HarmlessText.h"
#include "LauncherStyle.h"
#include "Preferences.h"
#include "Question.h"
#include "SegmentedChoice.h"
#include "StateFace.h"
#include "TextButton.h"
#include "TextLabel.h"

#include <QComboBox>
#include <QGridLayout>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace {

constexpr int spacing = 14;
constexpr int fullscreenEntry = 1;
/// Keeps the combo box at its usual width, however long a stored size is.
constexpr int charactersOfSize = 14;

/// Between a choice's label and the choice.
constexpr int labelGap = 12;
constexpr int labelWidth = 92;

/// The launcher's style draws such a button so that nobody takes it for a harmless one.
void markAsDestructive(QPushButton &button) { button.setProperty(LauncherStyle::destructiveProperty, true); }

/// A combo box that ignores the mouse wheel, which scrolls the sheet instead.
class CalmChoice final : public QComboBox {
protected:
    void wheelEvent(QWheelEvent *event) override { event->ignore(); }
};

}

SettingsView::SettingsView(AppModel &model, Preferences &preferences, QWidget *parent)
    : Sheet(QStringLiteral("Settings"), spacing, parent)
    , m_model(model)
    , m_preferences(preferences)
    , m_refresh(this, [this] { refresh(); })
{
    auto *title = new TextLabel(TextStyle::Title);
    title->display(QStringLiteral("Settings"));
    column()->addWidget(title);
    addWindowChoices();
    addDivider();
    addMaintenance();
    addDoneRow();
    showNoticesOf(model);

    m_refresh.watch(m_model);
    m_refresh.watch(m_model.runner);
    refresh();
}

void SettingsView::addWindowChoices()
{
    const bool fullscreen = m_preferences.fullscreen();
    m_window = new SegmentedChoice({ QStringLiteral("Windowed"), QStringLiteral("Fullscreen") },
                                   fullscreen ? fullscreenEntry : 0);
    m_window->setAccessibleName(QStringLiteral("Window"));
    connect(m_window, &SegmentedChoice::chosen, this, [this](int entry) {
        m_preferences.setFullscreen(entry == fullscreenEntry);
        m_size->setEnabled(entry != fullscreenEntry);
    });

    m_size = new CalmChoice;
    m_size->setAccessibleName(QStringLiteral("Window size"));
    m_size->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_size->setMinimumContentsLength(charactersOfSize);
    m_size->setEnabled(!fullscreen);
    fillSizes();
    connect(m_size, &QComboBox::activated, this,
            [this](int entry) { m_preferences.setResolution(m_size->itemData(entry).toString()); });

    auto *windowLabel = new TextLabel(TextStyle::Body);
    windowLabel->display(QStringLiteral("Window"));
    auto *sizeLabel = new TextLabel(TextStyle::Body);
    sizeLabel->display(QStringLiteral("Window size"));
    sizeLabel->setBuddy(m_size);
    m_windowLabel = windowLabel;
    m_sizeLabel = sizeLabel;

    m_choices = new QGridLayout;
    m_choices->setHorizontalSpacing(labelGap);
    m_choices->setColumnMinimumWidth(0, labelWidth);
    m_choices->setVerticalSpacing(spacing);
    m_choices->setColumnStretch(1, 1);
    placeWindowChoices(true);
    column()->addLayout(m_choices);
}

void SettingsView::placeWindowChoices(bool sideBySide)
{
    m_isSideBySide = sideBySide;
    int row = 0;
    for (const auto &[label, choice] :
         { std::pair<QWidget *, QWidget *>(m_windowLabel, m_window), { m_sizeLabel, m_size } }) {
        m_choices->removeWidget(label);
        m_choices->removeWidget(choice);
        if (sideBySide) {
            m_choices->addWidget(label, row, 0, Qt::AlignVCenter);
            m_choices->addWidget(choice, row, 1);
            ++row;
        } else {
            m_choices->addWidget(label, row, 0, 1, 2);
            m_choices->addWidget(choice, row + 1, 0, 1, 2);
            row += 2;
        }
    }
}

void SettingsView::arrange(int width)
{
    Sheet::arrange(width);
    const int labels
        = std::max({ labelWidth, m_windowLabel->sizeHint().width(), m_sizeLabel->sizeHint().width() });
    const int choices = std::max(m_window->minimumSizeHint().width(), m_size->minimumSizeHint().width());
    const bool fits = labels + labelGap + choices <= width;
    if (fits != m_isSideBySide)
        placeWindowChoices(fits);
}

void SettingsView::fillSizes()
{
    m_size->addItem(QStringLiteral("Game default"), QStringLiteral("default"));
    for (const QString &size :
         { QStringLiteral("1280x720"), QStringLiteral("1600x900"), QStringLiteral("1920x1080") })
        m_size->addItem(size, size);

    // A stored size that is not in the list is the player's own and stays until another one is chosen.
    const QString stored = m_preferences.resolution();
    if (m_size->findData(stored) < 0)
        m_size->addItem(harmlessText(stored), stored);
    m_size->setCurrentIndex(m_size->findData(stored));
}

void SettingsView::addMaintenance()
{
    m_update = new TextButton(QStringLiteral("Update the game"));
    m_reinstall = new TextButton(QStringLiteral("Reinstall"));
    connect(m_update, &QPushButton::clicked, this, [this] { closeAnd(&AppModel::updateGame); });
    connect(m_reinstall, &QPushButton::clicked, this, [this] { closeAnd(&AppModel::reinstall); });
    addButtons({ m_update, m_reinstall });

    auto *note = new TextLabel(TextStyle::Caption, Ink::Secondary);
    note->display(QStringLiteral(
        "Updating downloads the game again. Your save files are kept (they live in Godot's own folder)."));
    column()->addWidget(note);

    auto *reveal = new TextButton(QStringLiteral("Reveal in Finder"));
    auto *saves = new TextButton(QStringLiteral("Show saves"));
    connect(reveal, &QPushButton::clicked, this, [this] {
        expectNotice();
        m_model.revealInFinder();
    });
    connect(saves, &QPushButton::clicked, this, [this] {
        expectNotice();
        m_model.showSaves();
    });
    addButtons({ reveal, saves });

    m_remove = new TextButton(QStringLiteral("Remove everything\u2026"));
    markAsDestructive(*m_remove);
    connect(m_remove, &QPushButton::clicked, this, &SettingsView::confirmRemove);
    addButtons({ m_remove });
}

void SettingsView::closeAnd(void (AppModel::*verb)())
{
    AppModel &model = m_model;
    accept();
    (model.*verb)();
}

void SettingsView::confirmRemove()
{
    m_model.computeFreeableSize();
    m_question = new Question(
        { .title = QStringLiteral("Remove the game and the engine?"),
          .message = QStringLiteral("This deletes the downloaded game and engine. Save files are kept."),
          .accepting = QString(),
          .rejecting = QStringLiteral("Cancel") },
        Question::Default::Reject, this);
    markAsDestructive(*m_question->accepting());
    connect(m_question, &QDialog::accepted, this, [this] {
        m_model.removeEverything();
        accept();
    });
    refresh();
    m_question->open();
}

void SettingsView::refresh()
{
    const MaintenanceFace face = maintenanceFace(m_model.runner.isRunning, m_model.isWorking());
    m_update->setEnabled(face.canReplace);
    m_reinstall->setEnabled(face.canReplace);
    m_remove->setEnabled(face.canRemove);
    if (m_question) {
        QPushButton *remove = m_question->accepting();
        remove->setText(QStringLiteral("Remove (frees %1)").arg(fileSizeText(m_model.freeableBytes)));
        remove->setEnabled(face.canRemove);
    }
}
