#pragma once

#include "RefreshOnce.h"
#include "Sheet.h"

class AppModel;
class TextLabel;

/// The sheet that says whose game it is and what the launcher does and does not do. The model outlives it.
class AboutView final : public Sheet {
    Q_OBJECT

public:
    AboutView(AppModel &model, QWidget *parent);

private:
    void refresh();

    AppModel &m_model;
    TextLabel *m_credit = nullptr;
    RefreshOnce m_refresh;
};
