#include "tools/trace/summary.h"

std::string kindName(ContactKind kind) {
    switch (kind) {
    case ContactKind::Pen:
        return "pen";
    case ContactKind::Touch:
        return "touch";
    default:
        return "eraser";
    }
}

std::string contactName(ContactKind kind, int number) {
    return kindName(kind) + std::to_string(number);
}
