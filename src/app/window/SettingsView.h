#pragma once

#include "RefreshOnce.h"
#include "Sheet.h"

#include <QPointer>

class AppModel;
class Preferences;
class SegmentedChoice;
class QComboBox;
class QGridLayout;
class QLabel;
class QPushButton;
class Question;

/// The sheet with the game's window settings and the maintenance of the downloads. A preference is stored as
/// soon as it is chosen. The model and the preferences outlive it.
class SettingsView final : public Sheet {
    Q_OBJECT

public:
    SettingsView(AppModel &model, Preferences &preferences, QWidget *parent);

protected:
    void arrange(int width) override;

private:
    void addWindowChoices();
    void placeWindowChoices(bool sideBySide);
    void fillSizes();
    void addMaintenance();
    void closeAnd(void (AppModel::*verb)());
    void confirmRemove();
    void refresh();

    AppModel &m_model;
    Preferences &m_preferences;
    QGridLayout *m_choices = nullptr;
    QLabel *m_windowLabel = nullptr;
    SegmentedChoice *m_window = nullptr;
    QLabel *m_sizeLabel = nullptr;
    QComboBox *m_size = nullptr;
    bool m_isSideBySide = true;
    QPushButton *m_update = nullptr;
    QPushButton *m_reinstall = nullptr;
    QPushButton *m_remove = nullptr;
    QPointer<Question> m_question;
    RefreshOnce m_refresh;
};
