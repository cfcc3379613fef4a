#include "drivers/tap/realdriver.h"

#include "drivers/entrypoints.h"
#include "drivers/environment.h"

#include <dlfcn.h>

namespace {

constexpr char kDriver[] = "KESTRUNE_TAP_DRIVER";

void* openDriver() {
    const std::string path = fromEnvironment(kDriver);
    if (path.empty()) {
        complain("tap", std::string(kDriver) + " is not set: there is no driver");
        return nullptr;
    }
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* const message = dlerror();
        complain("tap", message == nullptr ? path : message);
    } else if (dlsym(library, "tavelAttach") == reinterpret_cast<void*>(tavelAttach)) {
        complain("tap", std::string(kDriver) + " is the tap itself: " + path);
        dlclose(library);
        return nullptr;
    }
    return library;
}

} // namespace

RealDriver::RealDriver() : library(openDriver()) {
    if (library == nullptr)
        return;
#define TAVEL_LOOK_UP(name) name = reinterpret_cast<decltype(name)>(dlsym(library, "tavel" #name));
    TAVEL_ENTRY_POINTS(TAVEL_LOOK_UP)
#undef TAVEL_LOOK_UP
}
