#pragma once

#include "app/kestrunedialog.h"
#include "tests/app/given_screen.h"

#include <QObject>
#include <QPoint>
#include <memory>
#include <optional>
#include <vector>

/// The base of the tests of the dialog's routing. Every function runs once for each kind of contact
/// that the test's initTestCase_data() has a row of, in a new dialog of 400x300 at (100, 50) on a
/// screen of 1000x1000. The dialog has the keyboard.
class RoutingFixture : public QObject {
    Q_OBJECT

public:
    using Controls = Osterly::Controls;
    using Contacts = std::vector<Controls>;

    enum Kind { Pen, Touch, Erase };

private slots:
    void initTestCase();
    void init();
    void cleanup();

protected:
    /// Rows for initTestCase_data(): all kinds, or those of which one report has many contacts.
    static void add_kinds();
    static void add_batch_kinds();

    static constexpr QPoint kInside{200, 100};       ///< global; (100, 50) of the dialog
    static constexpr QPoint kOutside{900, 900};      ///< global; on the screen
    static constexpr QPoint kOnOtherWidget{110, 60}; ///< global; see other_widget()

    /// A report of a contact at a pixel of the screen.
    static Controls contact_at(int id, QPoint global, int buttons = 1);

    /// Has the input source report contacts of the row's kind and returns what the dialog made of
    /// its records.
    Controls send(Controls record) { return send_as(m_kind, record); }
    Contacts send(Contacts records) { return send_as(m_kind, std::move(records)); }
    Controls send_as(Kind kind, Controls record) { return send_as(kind, Contacts{record}).at(0); }
    Contacts send_as(Kind kind, Contacts records);

    KestruneDialog::WidgetMap& bindings() { return bindings(m_kind); }
    KestruneDialog::WidgetMap& bindings(Kind kind);
    KestruneDialog::BatchMap& batches() { return batches(m_kind); }
    KestruneDialog::BatchMap& batches(Kind kind);
    bool is_bound(int id) { return bindings().at(id) != nullptr; }

    void place_dialog(QRect geometry);
    /// A child of the dialog in its top left corner, above the strokes view.
    std::unique_ptr<QWidget> other_widget();

    Kind m_kind = Pen;
    std::unique_ptr<KestruneDialog> m_dialog;
    std::optional<GivenScreen> m_screen;

    /// A call that the strokes view got. No contact is on an item, so each call leaves the view.
    struct Delivery {
        Kind kind;
        Contacts contacts;
    };
    std::vector<Delivery> m_delivered;
    Controls last() const { return m_delivered.back().contacts.back(); }
};
