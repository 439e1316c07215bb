#pragma once

#include "MainWindow.h"
#include "MeasuredModel.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

/// The launcher's window, open on its model in the state `ready`, which the script has set up.
class MeasuredWindow final {
public:
    MeasuredWindow()
    {
        m_window.show();
        if (!QTest::qWaitForWindowExposed(&m_window) || model().state->kind() != AppState::Case::Ready)
            qFatal("The window is not ready.");
        settle();
    }

    AppModel &model() { return m_measured.model; }
    MainWindow &window() { return m_window; }

    /// Waits half a second, so that pending events are handled.
    static void settle() { QTest::qWait(500); }

private:
    MeasuredModel m_measured;
    MainWindow m_window { m_measured.model, m_measured.preferences };
};
