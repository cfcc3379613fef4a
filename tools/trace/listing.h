#pragma once

#include "tools/trace/boards.h"

#include <string>

class QJsonObject;

/// The boards and what they support, one a line.
std::string listText(const QList<Boards::Board>& boards);
/// The same.
QJsonObject toJson(const QList<Boards::Board>& boards);
