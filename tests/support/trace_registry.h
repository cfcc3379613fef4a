#pragma once

#include "trace/vcd.h"

#include <string>
#include <vector>

/// The trace is the process's and is never emptied: what a test function starts from.
inline void forget_trace() {
    Vcd::m_id_to_name_map.clear();
    Vcd::m_name_to_id_map.clear();
    Vcd::m_id_to_changes_map.clear();
    Vcd::m_next_id = Vcd::kFirstId;
}

/// The values of a signal one after the other, none where there is no such signal.
inline std::vector<double> traced_values(const std::string& name) {
    std::vector<double> values;
    const auto id = Vcd::m_name_to_id_map.find(name);
    if (id != Vcd::m_name_to_id_map.end()) {
        for (const Vcd::change& change : Vcd::m_id_to_changes_map[id->second])
            values.push_back(change.value);
    }
    return values;
}

inline std::vector<std::string> traced_names() {
    std::vector<std::string> names;
    for (const auto& [id, name] : Vcd::m_id_to_name_map)
        names.push_back(name);
    return names;
}
