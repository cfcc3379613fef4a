#pragma once

#include <QByteArray>
#include <vector>

/// Raw reports of a board, of contacts that are down. Positions and sizes are in board units.
namespace raw {

struct Point {
    int x;
    int y;
};

QByteArray pen(int id, Point at);
/// The contacts have the ids from 0 on.
QByteArray touches(const std::vector<Point>& contacts, int size);
QByteArray erasers(const std::vector<Point>& contacts, int width, int height);

} // namespace raw
