#pragma once

#include "Collection.h"
#include "Facts.h"

namespace DfsReport
{

/** Reads what the items tell, each section by the reader of its title; what none knows is left alone. Thread-safe. */
Facts ReadFacts(const Collection& collection);

} // namespace DfsReport
