#pragma once

#include "Simulation.h"

#include <iosfwd>
#include <vector>

namespace Fleet
{
/** One panel: a scenario and what came of it. */
struct Panel
{
    Scenario scenario;
    Outcome outcome;
};

/**
 * Draws the panels below each other as one SVG image: arrivals in a second over time, the busiest second of each minute
 * and the mean, beside what the cloud can serve. The vertical axis is logarithmic.
 */
void Draw(std::ostream& stream, const Setting& setting, const std::vector<Panel>& panels);
} // namespace Fleet
