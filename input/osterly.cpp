#include "input/osterly.h"

#include "hardware/configuration.h"

#include <QCoreApplication>
#include <QString>
#include <QTimer>
#include <cstdio>

namespace {

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
    WantedReports wanted = WantedReports::none();
    if (!off) {
        int pen = 0;
        for (bool& isWanted : wanted.pens)
            isWanted = !pen_disabled[pen++];
        wanted.touches = !touch_disabled;
        wanted.erasers = !erase_disabled;
    }
    configure(*hardware, wanted);
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
    config_timer->setInterval(kConfigurationDelay_ms);
    connect(config_timer, &QTimer::timeout, this, &Osterly::in_config_delay_timeout);
    config_timer->start();
}

void Osterly::in_config_delay_timeout() {
    configureHardware(false);
    delete config_timer;
    config_timer = nullptr;
}
