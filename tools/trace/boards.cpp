#include "tools/trace/boards.h"

#include "hardware/configuration.h"

Boards::Boards() {
    m_delay.setSingleShot(true);
    m_delay.setTimerType(Qt::PreciseTimer);
    m_delay.setInterval(kConfigurationDelay_ms);
    connect(&m_delay, &QTimer::timeout, this, &Boards::switchOn);
    connect(&m_hardware, &TavelHardware::pnpEvent, this, [this] { m_found.clear(); });
    connect(&m_hardware, &TavelHardware::deviceEnumerated, this,
            [this](int index, const TavelHardware::DeviceInfo& info) {
                m_found.append({index, info});
            });
    connect(&m_hardware, &TavelHardware::deviceEnumCount, this, [this] {
        if (m_isOn)
            m_delay.start();
    });
}

Boards::~Boards() {
    close();
}

bool Boards::open() {
    m_isOpen = m_hardware.init();
    return m_isOpen;
}

void Boards::switchOn() {
    if (!m_isOn)
        m_delay.start(); // for those that open() has found
    m_isOn = true;
    configure(m_hardware, WantedReports::all());
}

void Boards::close() {
    m_delay.stop();
    if (m_isOn)
        configure(m_hardware, WantedReports::none());
    if (m_isOpen)
        m_hardware.uninit();
    m_isOn = m_isOpen = false;
}
