#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

/// Between the code under test and the dynamic loader, whose functions the linker wraps for this
/// program: everything is written down, in one log with what the stand-in library sees.
struct Loader {
    QString instead;            ///< the path to open in the place of the driver; empty: as asked
    QSet<QString> hidden;       ///< names that no lookup finds
    int driverResult = 0;       ///< what every entry point returns
    QStringList log;            ///< "dlopen(name, flags)", "dlsym(name)", "tavelLock()", "dlclose"
    QString lastError;          ///< what dlerror last told
    void* opened = nullptr;     ///< the handle of the last dlopen
    bool foreignHandle = false; ///< a handle was used that was not the last dlopen's

    /// What the log says of the driver's entry points, in order; takes the whole log.
    QStringList takeDriverCalls();
    QStringList takeLog();
};

extern Loader s_loader;

/// Whether the library of this path is loaded in the process.
bool isInMemory(const QString& path);
