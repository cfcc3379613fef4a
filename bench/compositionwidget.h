#pragma once

#include <QApplication>
#include <QImage>
#include <QPaintEvent>
#include <QPainter>
#include <QWidget>

/// Composes two images, of the kinds that a strokes view's layers are, rectangle by rectangle, and
/// does nothing else.
class CompositionWidget : public QWidget {
public:
    explicit CompositionWidget(QSize size)
        : m_card(size, QImage::Format_RGB32), m_strokes(size, QImage::Format_ARGB32_Premultiplied) {
        m_card.fill(Qt::white);
        m_strokes.fill(Qt::transparent);
        setAttribute(Qt::WA_OpaquePaintEvent);
        resize(size);
        show();
        repaint();
        QApplication::processEvents();
    }

    QImage m_card;
    QImage m_strokes;

protected:
    void paintEvent(QPaintEvent* event) override {
        QPainter painter(this);
        for (const QRect& rect : event->region()) {
            painter.drawImage(rect.topLeft(), m_card, rect);
            painter.drawImage(rect.topLeft(), m_strokes, rect);
        }
    }
};
