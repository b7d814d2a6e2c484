#pragma once

#include "FaultControl.h"
#include "Preload.h"

/** How much of a call a fault concerns. */
enum class Part
{
    Whole,
    Some
};

/** What the driver shares with the process under test; null in every other process. Thread-safe. */
FaultControl* Control();

/** Counts the call, and says whether it is the one that goes wrong. In mode Kill that ends the process. Thread-safe. */
bool IsDue(FaultKind kind, const char* function, Part part = Part::Whole);
