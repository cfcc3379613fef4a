#include "input/osterly.h"

#include <QCoreApplication>
#include <QString>
#include <QTimer>
#include <cstdio>

namespace {

constexpr int kPens = 4;
constexpr int kConfigDelay_ms = 2000; // a board that is plugged in takes that long to listen

void write(const QString& text) {
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

} // namespace

Osterly::Osterly(QObject* parent) : QObject(parent), hardware(new TavelHardware(this)) {
    connect(hardware, SIGNAL(pnpEvent()), this, SLOT(in_pnp_event()));
    // The hardware has no such signal, which the toolkit will say. Boards are announced by their
    // number alone, on purpose.
    // clang-format off
    connect(hardware, SIGNAL(deviceEnumerated(int,int)), this, SLOT(in_device_enumerated(int,int)));
    // clang-format on
    connect(hardware, SIGNAL(deviceEnumCount(int)), this, SLOT(in_device_enum_count(int)));
    connect(hardware, SIGNAL(penEvent(const TavelHardware::PenEvent&)), this,
            SLOT(in_pen_event(const TavelHardware::PenEvent&)));
    connect(hardware, SIGNAL(touchEvent(const TavelHardware::TouchEvent&)), this,
            SLOT(in_touch_event(const TavelHardware::TouchEvent&)));
    connect(hardware, SIGNAL(eraseEvent(const TavelHardware::EraseEvent&)), this,
            SLOT(in_erase_event(const TavelHardware::EraseEvent&)));
    hardware->startFlowControl();
    hardware->init();
    configureHardware(false);
}

Osterly::~Osterly() {
    configureHardware(true);
    hardware->uninit();
    // A timer that is still pending fires at nobody. The application has it to the end.
    if (config_timer != nullptr)
        config_timer->setParent(QCoreApplication::instance());
}

void Osterly::configureHardware(bool off) {
    for (int i = 0; i < kPens; ++i) {
        // The hardware mode counts pens from 0 and the report mode from 1: on purpose.
        const auto pen = static_cast<unsigned char>(i);
        hardware->setPenHardwareMode(pen, TavelHardware::PenHardwareMode::Standard);
        const bool on = !off && !pen_disabled[i];
        hardware->setPenReportMode(static_cast<unsigned char>(pen + 1),
                                   on ? TavelHardware::PenReportMode::On
                                      : TavelHardware::PenReportMode::Off);
    }
    hardware->setTouchReportMode(!off && !touch_disabled ? TavelHardware::TouchReportMode::On
                                                         : TavelHardware::TouchReportMode::Off);
    hardware->setEraseReportMode(!off && !erase_disabled ? TavelHardware::EraseReportMode::On
                                                         : TavelHardware::EraseReportMode::Off);
}

void Osterly::in_pnp_event() {
    write(QStringLiteral("PnP event.\n"));
}

void Osterly::in_device_enumerated(int maxPens, int maxTouch) {
    write(QStringLiteral("Found device that supports up to %1 pens & %2 touches.\n")
              .arg(maxPens)
              .arg(maxTouch));
}

void Osterly::in_device_enum_count(int count) {
    write(QStringLiteral("Enumerated %1 devices.\n").arg(count));
    delete config_timer;
    config_timer = new QTimer;
    config_timer->setSingleShot(true);
    config_timer->setTimerType(Qt::PreciseTimer); // else up to a tenth of a second too early
    config_timer->setInterval(kConfigDelay_ms);
    connect(config_timer, &QTimer::timeout, this, &Osterly::in_config_delay_timeout);
    config_timer->start();
}

void Osterly::in_config_delay_timeout() {
    configureHardware(false);
    delete config_timer;
    config_timer = nullptr;
}
