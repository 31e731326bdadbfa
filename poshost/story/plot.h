#pragma once

#include <QString>

#include "poshost/story/summary.h"

namespace poshost {

/// Draws the checks of each hour by their outcomes into an SVG file, by gnuplot. Throws FatalError when
/// gnuplot is not installed or fails, when there is nothing to draw, and when the file cannot be written.
void plot(const Summary& summary, const QString& file);

}  // namespace poshost
