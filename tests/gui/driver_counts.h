#pragma once

#include <QFile>
#include <QString>
#include <algorithm>
#include <array>
#include <cstring>

/// How many callbacks the simulated driver has made, as it keeps it in a file.
struct DriverCounts {
    enum { Pens, Touches, Erasers, Others, Notices, Kinds };

    /// All 0 where there is no such file yet.
    explicit DriverCounts(const QString& path) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const QByteArray bytes = file.readAll();
        std::memcpy(of.data(), bytes.constData(),
                    std::min(sizeof of, static_cast<std::size_t>(bytes.size())));
    }

    std::array<quint64, Kinds> of = {};
};
