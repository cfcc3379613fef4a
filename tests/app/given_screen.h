#pragma once

#include <QRect>

/// The screen that the widgets of this test program are on, in place of the platform's only one,
/// which is at the origin. Both rectangles in global pixels. Back to the platform's at the end of
/// the scope. For programs that link given_screen.cpp: it takes the place of the toolkit's
/// QDesktopWidget::screenGeometry() and availableGeometry() of a widget.
class GivenScreen {
public:
    explicit GivenScreen(QRect geometry);
    GivenScreen(QRect geometry, QRect available);
    ~GivenScreen();
    GivenScreen(const GivenScreen&) = delete;
    GivenScreen& operator=(const GivenScreen&) = delete;

    void move(QRect geometry); ///< all of it available
};
