#pragma once

#include <QStringList>

/// Whether these warnings are what the toolkit has to say when a KestruneDialog is made: of the one
/// connection of its input source that is refused on purpose. Debug builds tell its place too.
inline bool are_dialog_warnings(const QStringList& warnings) {
    return warnings.size() == 1 &&
           warnings[0].startsWith(QLatin1String("QObject::connect: No such signal "
                                                "TavelHardware::deviceEnumerated(int,int)"));
}
