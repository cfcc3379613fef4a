#pragma once

#include <QApplication>
#include <optional>

/// The application of a benchmark that needs widgets, without a display.
class OffscreenApplication {
public:
    OffscreenApplication() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        m_application.emplace(m_argc, m_argv);
    }

private:
    int m_argc = 1;
    char m_name[6] = "bench";
    char* m_argv[2] = {m_name, nullptr};
    std::optional<QApplication> m_application;
};
