#pragma once

#include <QImage>
#include <QSize>
#include <memory>

/// An image of 32 bits a pixel, for a layer; its pixels are not set. The memory of a large one is
/// asked for in huge pages, without which a layer of a whole screen costs thousands of page faults
/// and each paint's rectangles, which are spread over it, as many misses. \return a null image
/// where the size has no pixels or there is no memory
std::unique_ptr<QImage> new_layer(QSize size, QImage::Format format);
