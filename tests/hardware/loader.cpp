#include "loader.h"

#include <dlfcn.h>

Loader s_loader;

QStringList Loader::takeLog() {
    QStringList taken;
    taken.swap(log);
    return taken;
}

QStringList Loader::takeDriverCalls() {
    QStringList calls;
    for (const QString& entry : takeLog()) {
        if (entry.startsWith(QStringLiteral("tavel"))) {
            calls.append(entry);
        }
    }
    return calls;
}

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names for what it wraps
extern "C" {

void* __real_dlopen(const char* name, int flags);
void* __real_dlsym(void* library, const char* name);
int __real_dlclose(void* library);
char* __real_dlerror();

int standin_called(const char* call) {
    s_loader.log.append(QString::fromLatin1(call));
    return s_loader.driverResult;
}

void* __wrap_dlopen(const char* name, int flags) {
    s_loader.log.append(QStringLiteral("dlopen(%1, %2)")
                            .arg(QString::fromLatin1(name), flags == RTLD_NOW
                                                                ? QStringLiteral("RTLD_NOW")
                                                                : QString::number(flags)));
    s_loader.opened = __real_dlopen(
        s_loader.instead.isEmpty() ? name : s_loader.instead.toLocal8Bit().constData(), flags);
    return s_loader.opened;
}

void* __wrap_dlsym(void* library, const char* name) {
    const QString symbol = QString::fromLatin1(name);
    s_loader.log.append(QStringLiteral("dlsym(%1)").arg(symbol));
    s_loader.foreignHandle |= library != s_loader.opened;
    return s_loader.hidden.contains(symbol) ? nullptr : __real_dlsym(library, name);
}

int __wrap_dlclose(void* library) {
    s_loader.log.append(QStringLiteral("dlclose"));
    s_loader.foreignHandle |= library != s_loader.opened;
    return __real_dlclose(library);
}

char* __wrap_dlerror() {
    char* const message = __real_dlerror();
    s_loader.lastError = QString::fromLocal8Bit(message);
    return message;
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

bool isInMemory(const QString& path) {
    void* const library = __real_dlopen(path.toLocal8Bit().constData(), RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) {
        __real_dlclose(library); // the look has taken a reference
    }
    return library != nullptr;
}
