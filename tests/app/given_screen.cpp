#include "tests/app/given_screen.h"

#include <QDesktopWidget>
#include <QScreen>
#include <QWidget>

namespace {

QRect s_geometry;
QRect s_available;

} // namespace

GivenScreen::GivenScreen(QRect geometry) : GivenScreen(geometry, geometry) {}

GivenScreen::GivenScreen(QRect geometry, QRect available) {
    s_geometry = geometry;
    s_available = available;
}

GivenScreen::~GivenScreen() {
    s_geometry = s_available = QRect();
}

void GivenScreen::move(QRect geometry) {
    s_geometry = s_available = geometry;
}

// The program's own definitions come before those of the toolkit's library.

const QRect QDesktopWidget::screenGeometry(const QWidget* widget) const {
    return s_geometry.isNull() ? widget->screen()->geometry() : s_geometry;
}

const QRect QDesktopWidget::availableGeometry(const QWidget* widget) const {
    return s_available.isNull() ? widget->screen()->availableGeometry() : s_available;
}
