#pragma once

#include <QSize>

class QImage;
class QPainter;

/// The patterns against which strokes are judged, the values of StrokesView::m_test_mode.
enum TestCard {
    WhiteCard = 0,
    GridCard = 1,
    ColorsCard = 2,
    ShapesCard = 3,
    BlackCard = 4,
    VerticalBarsCard = 5,
    HorizontalBarsCard = 6,
    HelpCard = 7,
};

/// Draws a card over the whole image. `view` is the part of the image that is seen: some patterns
/// are laid out in it, others fill the image. An unknown card is white; a null image stays as it
/// is.
void draw_test_card(QImage& image, QSize view, int card);

/// The size in pixels that shows the help card's text whole.
QSize help_card_size();

/// Draws one target mark around (x, y), a circle with a cross of half its diameter, in whole pixels
/// and with the painter's pen and brush.
void target(QPainter& painter, float x, float y, float diameter);
