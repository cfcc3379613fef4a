#pragma once

#include <QBrush>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QVector>

/// A device that keeps each path that is drawn on it, with what it is drawn.
class PathRecorder : public QPaintDevice {
public:
    struct Drawn {
        QPainterPath path;
        QPen pen;
        QBrush brush;
    };

    QPaintEngine* paintEngine() const override { return &m_engine; }
    QVector<Drawn> const& drawn() const { return m_engine.m_drawn; }

protected:
    int metric(PaintDeviceMetric metric) const override {
        return metric == PdmDevicePixelRatio || metric == PdmDevicePixelRatioScaled ? 1 : 100;
    }

private:
    class Engine : public QPaintEngine {
    public:
        Engine() : QPaintEngine(AllFeatures) {}
        bool begin(QPaintDevice*) override { return true; }
        bool end() override { return true; }
        void updateState(const QPaintEngineState&) override {}
        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}
        void drawPath(const QPainterPath& path) override {
            m_drawn.push_back({path, painter()->pen(), painter()->brush()});
        }
        Type type() const override { return User; }

        QVector<Drawn> m_drawn;
    };

    mutable Engine m_engine;
};
