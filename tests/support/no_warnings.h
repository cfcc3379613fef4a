#pragma once

#include <QStringList>
#include <QtGlobal>
#include <mutex>
#include <utility>

/// Gathers what the toolkit warns of, on any thread. A test calls watch() in its initTestCase() and
/// ends its cleanup() with QCOMPARE(no_warnings::taken(), QStringList()).
namespace no_warnings {

inline std::mutex mutex;
inline QStringList gathered;
inline QtMessageHandler next_handler = nullptr;

inline void watch() {
    next_handler = qInstallMessageHandler(
        [](QtMsgType type, const QMessageLogContext& context, const QString& text) {
            if (type == QtWarningMsg || type == QtCriticalMsg) {
                const std::lock_guard<std::mutex> lock(mutex);
                gathered << text;
            }
            next_handler(type, context, text);
        });
}

inline QStringList taken() {
    const std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(gathered, {});
}

} // namespace no_warnings
