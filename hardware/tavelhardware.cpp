#include "hardware/tavelhardware.h"

#include <QGuiApplication>
#include <QMetaType>
#include <QScreen>
#include <new>

namespace {

QRect primaryScreenGeometry() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? QRect() : screen->geometry();
}

/// Registers a plain record as one to be constructed and destroyed. qRegisterMetaType is not asked:
/// it would go by the compiler and call those records that hold no string movable.
template <typename Record>
void registerRecord(const char* name) {
    QMetaType::registerNormalizedType(
        name, [](void* record) { static_cast<Record*>(record)->~Record(); },
        [](void* where, const void* copy) -> void* {
            return copy == nullptr ? new (where) Record()
                                   : new (where) Record(*static_cast<const Record*>(copy));
        },
        sizeof(Record), QMetaType::NeedsConstruction | QMetaType::NeedsDestruction, nullptr);
}

} // namespace

TavelHardware::TavelHardware(QObject* parent) : QObject(parent), m_screen(primaryScreenGeometry()) {
    registerRecord<DeviceInfo>("TavelHardware::DeviceInfo");
    registerRecord<TouchContact>("TavelHardware::TouchContact");
    qRegisterMetaType<TouchEvent>("TavelHardware::TouchEvent");
    registerRecord<TouchStatus>("TavelHardware::TouchStatus");
    registerRecord<PenEvent>("TavelHardware::PenEvent");
    registerRecord<EraseContact>("TavelHardware::EraseContact");
    qRegisterMetaType<EraseEvent>("TavelHardware::EraseEvent");
}
