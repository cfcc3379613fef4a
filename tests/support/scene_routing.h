#pragma once

#include "scene/itemview.h"
#include "tests/support/scene_items.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>
#include <utility>
#include <vector>

/// A view whose deliveries, to its items and out of it, stand in the order in which they were made.
struct Scene {
    Scene() {
        const auto log = [this](const char* signal, Contacts const& contacts) {
            m_deliveries.push_back({signal, contacts});
        };
        QObject::connect(&m_view, &ItemView::out_pen_event,
                         [log](Controls const& c) { log("out.pen", {c}); });
        QObject::connect(&m_view, &ItemView::out_touch_event,
                         [log](Contacts const& v) { log("out.touch", v); });
        QObject::connect(&m_view, &ItemView::out_erase_event,
                         [log](Contacts const& v) { log("out.erase", v); });
    }

    /// An item of 20x20 local pixels.
    std::shared_ptr<ProbeItem> add(const char* name, QPointF pos, float angle = 0.0F,
                                   float scale = 1.0F) {
        const auto item = std::make_shared<ProbeItem>(box(0, 0, 20, 20), pos, angle, scale);
        item->m_name = name;
        item->m_deliveries = &m_deliveries;
        item->set_outline(item->m_shape);
        m_view.add_item(item);
        return item;
    }

    /// What was delivered since the last call: "receiver: record; record".
    QStringList taken() {
        QStringList lines;
        for (Delivery const& delivery : std::exchange(m_deliveries, {}))
            lines << QString::fromLatin1(delivery.receiver) + QStringLiteral(": ") +
                         text(delivery.contacts).join(QStringLiteral("; "));
        return lines;
    }

    std::vector<Delivery> m_deliveries; // outlives what writes there
    ItemView m_view{0};
};

inline QString line(const char* receiver, Contacts const& contacts) {
    return QLatin1String(receiver) + QStringLiteral(": ") +
           text(contacts).join(QStringLiteral("; "));
}
